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

// A table is sixteen rows of sixteen, and the byte shuffle looks up one row for a whole vector. Its
// index gives nothing when bit 7 is set, so that a row is looked up only where the byte less the
// rows before it is not below 0: rows hold the difference to the one before, and their sum without
// carries is the entry. Both halves of the table take the same seven bits; the eighth chooses.
template <>
class TableLookup<V32> {
public:
    explicit TableLookup(const uint8_t *table) {
#pragma GCC unroll 16
        for (int i = 0; i < 16; ++i) {
            const V16 row = load_16(table + 16 * i);
            store_16(rows_ + 16 * i, i % 8 == 0 ? row : row ^ load_16(table + 16 * (i - 1)));
        }
    }

    V32 operator()(V32 bytes) const {
        const uint8_t *rows = rows_;
        V32 index = bytes & repeat_u8<V32>(0x7F);
        V32 low = row(rows, 0, index), high = row(rows, 8, index);
#pragma GCC unroll 8
        for (int i = 1; i < 8; ++i) {
            // Left alone, the compiler keeps every row twice as wide in memory, and looks up all of
            // them before it adds any: twice the loads and stores, and 1.3 to 1.6 times as long.
            __asm__("" : "+r"(rows), "+x"(low), "+x"(high), "+x"(index));
            index = subtract_u8(index, repeat_u8<V32>(16));
            low ^= row(rows, i, index);
            high ^= row(rows, 8 + i, index);
        }
        return select_by_top_bits_u8(bytes, high, low);
    }

private:
    static V32 row(const uint8_t *rows, int i, V32 index) {
        return shuffle_u8(repeat_lane<V32>(load_16(rows + 16 * i)), index);
    }

    alignas(16) uint8_t rows_[256];
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
