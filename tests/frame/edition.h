// What tests have to know of the edition that they run.
#pragma once

#include <cstddef>

namespace q32::frame {

inline constexpr bool is_64_bit = sizeof(void *) == 8;

// A value of one edition or the other.
template <class T, class U>
constexpr auto by_edition(T in_32_bits, U in_64_bits) {
    if constexpr (is_64_bit)
        return in_64_bits;
    else
        return in_32_bits;
}

// The limit that is none: all bits of a size.
inline constexpr std::size_t no_limit = by_edition(0xFFFFFFFFu, 0xFFFFFFFFFFFFFFFFu);

} // namespace q32::frame
