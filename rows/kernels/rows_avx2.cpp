// Row conversions for AVX2, 32 bytes at a time.
#include "rows/kernels/lane_steps.h"
#include "rows/kernels/plain_steps.h"
#include "rows/kernels/scalar.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

void fill_1_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 1>(destination, pattern, pixels, fill_1_sse2);
}

void fill_2_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 2>(destination, pattern, pixels, fill_2_sse2);
}

void fill_3_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 3>(destination, pattern, pixels, fill_3_sse2);
}

void fill_4_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 4>(destination, pattern, pixels, fill_4_sse2);
}

void exchange_avx2(uint8_t *a, uint8_t *b, size_t bytes) {
    exchange_blocks<V32>(a, b, bytes, exchange_sse2);
}

void invert_avx2(uint8_t *destination, const uint8_t *source, size_t bytes) {
    convert_run(destination, source, bytes, Invert<V32>{}, invert_sse2);
}

void bit_to_byte_avx2(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    convert_bits<BitToByte<V32>>(destination, source, pixels, value, bit_to_byte_sse41,
                                 bit_to_byte);
}

void byte_to_bit_avx2(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    convert_bits<ByteToBit<V32>>(destination, source, pixels, value, byte_to_bit, byte_to_bit);
}

void rgb888_to_555_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, NarrowToWords<Rgb555, V32>{}, rgb888_to_555_sse41);
}

void rgb888_to_565_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, NarrowToWords<Rgb565, V32>{}, rgb888_to_565_sse41);
}

void rgb555_to_888_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, WidenWords<Rgb555, V32>{}, rgb555_to_888_sse41);
}

void rgb565_to_888_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, WidenWords<Rgb565, V32>{}, rgb565_to_888_sse41);
}

void swap_red_blue_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, SwapRedBlue<V32>{}, swap_red_blue_sse41);
}

} // namespace q32::rows
