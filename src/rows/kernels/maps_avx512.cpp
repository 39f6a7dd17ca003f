// Table mapping for AVX-512 with VBMI, 64 bytes at a time.
#include "rows/kernels/map_steps.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

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
