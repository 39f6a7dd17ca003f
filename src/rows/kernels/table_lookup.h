// A table of 256 bytes looked up for a whole vector of bytes: TableLookup<V>, by what the processor
// has for it. What is looked up, and in which table, is the including file's part.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/operations.h"

namespace q32::rows {
namespace {

template <class V>
class TableLookup;

#ifdef __AVX2__

// A table is sixteen rows of sixteen, and the byte shuffle looks up one row for a whole vector:
// sixteen shuffles and a choice of one. The low four bits of a byte are its place in a row. The
// bits above them choose between rows, the lowest between neighbours, as in a knock-out tournament.
template <>
class TableLookup<V32> {
public:
    explicit TableLookup(const uint8_t *table) : table_(table) {}

    V32 operator()(V32 bytes) const {
        const V32 places = bytes & repeat_u8<V32>(0x7F); // the shuffle wants bit 7 clear
        return look_up<0, 16>(bytes, places);
    }

private:
    // As if the table had only `rows` rows, from row `first` on.
    template <int first, int rows>
    V32 look_up(V32 bytes, V32 places) const {
        if constexpr (rows == 1) {
            return shuffle_u8(repeat_lane<V32>(load_16(table_ + 16 * first)), places);
        } else {
            constexpr int half = rows / 2;
            constexpr int bit_up = half == 8 ? 0 : half == 4 ? 1 : half == 2 ? 2 : 3;
            const V32 lower = look_up<first, half>(bytes, places);
            const V32 upper = look_up<first + half, half>(bytes, places);
            return select_by_top_bits_u8(shift_left_u16<bit_up>(bytes), upper, lower);
        }
    }

    const uint8_t *table_;
};

#endif

#ifdef __AVX512VBMI__

// Two permutations are enough. A permutation takes its entries from two vectors and looks at seven
// bits of the index; the eighth chooses between the halves.
template <>
class TableLookup<V64> {
public:
    explicit TableLookup(const uint8_t *table) {
        for (size_t i = 0; i < 4; ++i)
            quarters_[i] = load<V64>(table + 64 * i);
    }

    V64 operator()(V64 indices) const {
        const V64 low = _mm512_permutex2var_epi8(quarters_[0], indices, quarters_[1]);
        const V64 high = _mm512_permutex2var_epi8(quarters_[2], indices, quarters_[3]);
        return select_by_top_bits_u8(indices, high, low);
    }

private:
    V64 quarters_[4];
};

#endif

} // namespace
} // namespace q32::rows
