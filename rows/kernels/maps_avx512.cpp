// Table mapping for AVX-512 with VBMI: two permutations look up a table of 256 bytes for a whole
// vector.
#include "rows/kernels/map_steps.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

// A permutation takes its entries from two vectors and looks at seven bits of the index; the eighth
// chooses between the halves.
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
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(indices), low, high);
    }

private:
    V64 quarters_[4];
};

} // namespace

void map_8_avx512(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                  size_t pixels) {
    run_map<MapBytes<V64>>(destination, source, tables, pixels, map_8_avx2);
}

void map_24_avx512(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                   size_t pixels) {
    run_map<MapThreeBytes<V64>>(destination, source, tables, pixels, map_24_avx2);
}

void map_16_avx512(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                   size_t pixels) {
    run_map<MapWords<V64>>(destination, source, tables, pixels, map_16_avx2);
}

void map_48_avx512(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                   size_t pixels) {
    run_map<MapThreeWords<V64>>(destination, source, tables, pixels, map_48_avx2);
}

} // namespace q32::rows
