// The end of a row that is no whole vector.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/vectors.h"

#include <cstdint>
#include <cstring>

namespace q32::resample {
namespace {

// The first `count` bytes of a vector, which has as many.
template <class V>
void store_first(uint8_t *to, V v, size_t count) {
    uint8_t bytes[sizeof(V)];
    store(bytes, v);
    const auto both_ends = [&](auto piece) {
        std::memcpy(&piece, bytes, sizeof piece);
        std::memcpy(to, &piece, sizeof piece);
        std::memcpy(&piece, bytes + count - sizeof piece, sizeof piece);
        std::memcpy(to + count - sizeof piece, &piece, sizeof piece);
    };
#ifdef __AVX512VBMI__
    if (count >= sizeof(V32)) {
        store(to, load<V32>(bytes));
        // cppcheck-suppress pointerOutOfBoundsCond
        store(to + count - sizeof(V32), load<V32>(bytes + count - sizeof(V32)));
        return;
    }
#endif
    if (count >= 16) {
        store_16(to, load_16(bytes));
        // cppcheck-suppress pointerOutOfBoundsCond
        store_16(to + count - 16, load_16(bytes + count - 16));
    } else if (count >= 8) {
        store_8(to, load_8(bytes));
        store_8(to + count - 8, load_8(bytes + count - 8));
    } else if (count >= 4) {
        both_ends(std::uint32_t());
    } else if (count >= 2) {
        both_ends(std::uint16_t());
    } else {
        *to = *bytes;
    }
}

} // namespace
} // namespace q32::resample
