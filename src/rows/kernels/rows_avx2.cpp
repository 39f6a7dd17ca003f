// Row conversions for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says
// why).
#include "rows/kernels/lane_steps.h"
#include "rows/kernels/plain_steps.h"
#include "rows/kernels/scalar.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

template <class V>
using NarrowTo555 = NarrowToWords<Rgb555, V>;
template <class V>
using NarrowTo565 = NarrowToWords<Rgb565, V>;
template <class V>
using Widen555 = WidenWords<Rgb555, V>;
template <class V>
using Widen565 = WidenWords<Rgb565, V>;

template <size_t bytes_per_pixel>
void fill_shorter(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    constexpr Filling *by_bytes[] = {fill_1, fill_2, fill_3, fill_4};
    fill_blocks<V16, bytes_per_pixel>(destination, pattern, pixels, by_bytes[bytes_per_pixel - 1]);
}

void exchange_shorter(uint8_t *a, uint8_t *b, size_t bytes) {
    exchange_blocks<V16>(a, b, bytes, exchange);
}

void bit_to_byte_shorter(uint8_t *destination, const uint8_t *source, size_t pixels,
                         uint8_t value) {
    convert_bits<BitToByte<V16>>(destination, source, pixels, value, bit_to_byte, bit_to_byte);
}

} // namespace

void fill_1_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 1>(destination, pattern, pixels, fill_shorter<1>);
}

void fill_2_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 2>(destination, pattern, pixels, fill_shorter<2>);
}

void fill_3_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 3>(destination, pattern, pixels, fill_shorter<3>);
}

void fill_4_avx2(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
    fill_blocks<V32, 4>(destination, pattern, pixels, fill_shorter<4>);
}

void exchange_avx2(uint8_t *a, uint8_t *b, size_t bytes) {
    exchange_blocks<V32>(a, b, bytes, exchange_shorter);
}

void invert_avx2(uint8_t *destination, const uint8_t *source, size_t bytes) {
    convert_run_avx2<Invert>(destination, source, bytes, invert);
}

void bit_to_byte_avx2(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    convert_bits<BitToByte<V32>>(destination, source, pixels, value, bit_to_byte_shorter,
                                 bit_to_byte);
}

void byte_to_bit_avx2(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    convert_bits<ByteToBit<V32>>(destination, source, pixels, value, byte_to_bit, byte_to_bit);
}

void rgb888_to_555_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run_avx2<NarrowTo555>(destination, source, pixels, rgb888_to_555);
}

void rgb888_to_565_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run_avx2<NarrowTo565>(destination, source, pixels, rgb888_to_565);
}

void rgb555_to_888_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run_avx2<Widen555>(destination, source, pixels, rgb555_to_888);
}

void rgb565_to_888_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run_avx2<Widen565>(destination, source, pixels, rgb565_to_888);
}

void swap_red_blue_avx2(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run_avx2<SwapRedBlue>(destination, source, pixels, swap_red_blue);
}

} // namespace q32::rows
