// Row conversions for processors with the byte shuffle, 16 bytes at a time. Bytes become bits
// without it: that is faster.
#include "rows/kernels/lane_steps.h"
#include "rows/kernels/scalar.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

void bit_to_byte_sse41(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    convert_bits<BitToByte<V16>>(destination, source, pixels, value, bit_to_byte, bit_to_byte);
}

void rgb888_to_555_sse41(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, NarrowToWords<Rgb555, V16>{}, rgb888_to_555);
}

void rgb888_to_565_sse41(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, NarrowToWords<Rgb565, V16>{}, rgb888_to_565);
}

void rgb555_to_888_sse41(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, WidenWords<Rgb555, V16>{}, rgb555_to_888);
}

void rgb565_to_888_sse41(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, WidenWords<Rgb565, V16>{}, rgb565_to_888);
}

void swap_red_blue_sse41(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, SwapRedBlue<V16>{}, swap_red_blue);
}

} // namespace q32::rows
