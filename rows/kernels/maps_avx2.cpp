// Table mapping for AVX2. A table of 256 bytes is sixteen rows of sixteen, and the byte shuffle
// looks up one row for a whole vector: sixteen shuffles, and still twice as fast as one by one.
#include "rows/kernels/map_steps.h"
#include "rows/kernels/scalar.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

// The shuffle gives 0 for negative indices. So an index that goes down by sixteen from row to row
// picks an entry from every row up to its own; when each row is kept as the difference (exclusive
// or) to the row before, what was picked sums up to the entry of its own row. Indices from 128 on
// are negative from the start and go through the upper eight rows the same way.
template <>
class TableLookup<V32> {
public:
    explicit TableLookup(const uint8_t *table) {
        for (size_t row = 0; row < 16; ++row) {
            V16 v = load_16(table + 16 * row);
            if (row % 8 != 0)
                v ^= load_16(table + 16 * row - 16);
            rows_[row] = v;
        }
    }

    V32 operator()(V32 indices) const {
        return half(indices, rows_) ^ half(indices ^ repeat_byte<V32>(0x80), rows_ + 8);
    }

private:
    static V32 half(V32 indices, const V16 *rows) {
        const V32 row_size = repeat_byte<V32>(16);
        V32 found = shuffle(repeat_lane<V32>(rows[0]), indices);
        for (size_t row = 1; row < 8; ++row) {
            indices = _mm256_subs_epi8(indices, row_size);
            found ^= shuffle(repeat_lane<V32>(rows[row]), indices);
        }
        return found;
    }

    V16 rows_[16];
};

} // namespace

void map_8_avx2(uint8_t *destination, const uint8_t *source, const uint8_t *tables, size_t pixels) {
    run_map<MapBytes<V32>>(destination, source, tables, pixels, map_8);
}

void map_24_avx2(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                 size_t pixels) {
    run_map<MapThreeBytes<V32>>(destination, source, tables, pixels, map_24);
}

void map_16_avx2(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                 size_t pixels) {
    run_map<MapWords<V32>>(destination, source, tables, pixels, map_16);
}

void map_48_avx2(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                 size_t pixels) {
    run_map<MapThreeWords<V32>>(destination, source, tables, pixels, map_48);
}

} // namespace q32::rows
