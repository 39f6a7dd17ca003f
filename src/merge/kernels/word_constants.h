// Words that are the same throughout a vector, as memory whose contents the compiler does not see.
// What it sees it makes anew in every step where registers are short: two instructions for each, on
// the port that shuffles need. From memory it costs none.
//
// The functions are private to the file that includes it, as vectors.h.
#pragma once

#include "simd/vectors.h"

namespace q32::merge {

template <int value>
struct WordConstant {
    alignas(64) static const std::uint16_t words[32];
};

// All there are; word_constants.cpp has them.
extern template struct WordConstant<1>;
extern template struct WordConstant<128>;
extern template struct WordConstant<129>;
extern template struct WordConstant<256>;
extern template struct WordConstant<257>;
extern template struct WordConstant<-32640>;
extern template struct WordConstant<32641>;
extern template struct WordConstant<0xFFFF>;

namespace {

// Below AVX2 there are no such broadcasts, and the compiler may see what it likes.
template <int value, class V>
V kept_u16() {
#ifdef __AVX2__
    return load<V>(WordConstant<value>::words);
#else
    return repeat_u16<V>(value);
#endif
}

// ~v. In 64 bytes with ones from memory: what GCC takes for ~ waits for what its destination held
// before, and a saturating subtraction has one port only.
template <class V>
V inverted(V v) {
    if constexpr (sizeof(V) == 64)
        return v ^ kept_u16<0xFFFF, V>();
    else
        return ~v;
}

} // namespace
} // namespace q32::merge
