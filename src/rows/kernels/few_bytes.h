// A few bytes of memory in a register: whatever is shorter than a vector, without a loop and
// without a copy in memory.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/vectors.h"

#include <cstring>

namespace q32::rows {
namespace {

// From one Number to two of them, by two moves that may overlap.
template <class Number>
class FewBytes {
public:
    explicit FewBytes(size_t bytes)
        : last_(bytes - sizeof(Number)), up_(_mm_cvtsi32_si128(int(8 * last_))) {}

    V16 load(const uint8_t *from) const {
        return number(from) | _mm_sll_epi64(number(from + last_), up_);
    }
    void copy(uint8_t *to, const uint8_t *from) const {
        const V16 begin = number(from), end = number(from + last_);
        put(to, begin);
        put(to + last_, end);
    }
    void store(uint8_t *to, V16 bytes) const {
        put(to, bytes);
        put(to + last_, _mm_srl_epi64(bytes, up_));
    }

private:
    static_assert(sizeof(Number) <= 4);

    static V16 number(const uint8_t *from) {
        Number number;
        std::memcpy(&number, from, sizeof number);
        return _mm_cvtsi32_si128(int(number));
    }
    static void put(uint8_t *to, V16 bytes) {
        const auto number = Number(_mm_cvtsi128_si32(bytes));
        std::memcpy(to, &number, sizeof number);
    }

    size_t last_;
    V16 up_;
};

// 8 to 16 bytes.
template <>
class FewBytes<std::uint64_t> {
public:
    explicit FewBytes(size_t bytes)
        : last_(bytes - 8), begin_(_mm_cvtsi32_si128(int(8 * last_))),
          end_(_mm_cvtsi32_si128(int(64 - 8 * last_))) {}

    V16 load(const uint8_t *from) const {
        return _mm_unpacklo_epi64(load_8(from), _mm_srl_epi64(load_8(from + last_), end_));
    }
    void copy(uint8_t *to, const uint8_t *from) const {
        const V16 begin = load_8(from), end = load_8(from + last_);
        store_8(to, begin);
        store_8(to + last_, end);
    }
    void store(uint8_t *to, V16 bytes) const {
        store_8(to, bytes);
        store_8(to + last_, _mm_srl_epi64(bytes, begin_) |
                                _mm_sll_epi64(_mm_unpackhi_epi64(bytes, bytes), end_));
    }

private:
    size_t last_;
    V16 begin_, end_;
};

// Calls work with what moves so many bytes, 1 to 16. In a function of its own what is loaded would
// come back through memory.
template <class Work>
[[gnu::always_inline]] inline void with_few_bytes(size_t bytes, Work work) {
    if (bytes >= 8)
        work(FewBytes<std::uint64_t>(bytes));
    else if (bytes >= 4)
        work(FewBytes<std::uint32_t>(bytes));
    else if (bytes >= 2)
        work(FewBytes<std::uint16_t>(bytes));
    else
        work(FewBytes<uint8_t>(bytes));
}

inline V16 load_few(const uint8_t *from, size_t bytes) {
    V16 v;
    with_few_bytes(bytes, [&](const auto &few) { v = few.load(from); });
    return v;
}
inline void store_few(uint8_t *to, V16 v, size_t bytes) {
    with_few_bytes(bytes, [&](const auto &few) { few.store(to, v); });
}

inline void copy_few(uint8_t *to, const uint8_t *from, size_t bytes) {
    with_few_bytes(bytes, [&](const auto &few) { few.copy(to, from); });
}

} // namespace
} // namespace q32::rows
