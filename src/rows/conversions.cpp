// The exports that convert, fill, swap, invert and map rows: check, call the kernel, report. The
// bytes are the kernels' part.
#include "library/process/bytes.h"
#include "library/process/process.h"
#include "rows/failures.h"
#include "rows/rows.h"

#include <q32base/rows.h>

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// Negative counts pass the checks and do nothing.
bool is_nothing(int count) {
    return count <= 0;
}

// --- drivers ------------------------------------------------------------------------------------

int convert(Conversion *kernel, const FailureSite &bad_arguments, void *destination,
            const void *source, int pixels) {
    if (destination == nullptr || source == nullptr || pixels == 0)
        return fail(bad_arguments);
    if (!is_nothing(pixels))
        kernel(bytes(destination), bytes(source), std::size_t(pixels));
    return 1;
}

int convert_bits(BitConversion *kernel, const FailureSite &bad_arguments, void *destination,
                 const void *source, int pixels, std::uint8_t value) {
    if (destination == nullptr || source == nullptr || pixels == 0)
        return fail(bad_arguments);
    if (!is_nothing(pixels))
        kernel(bytes(destination), bytes(source), std::size_t(pixels), value);
    return 1;
}

int fill(void *destination, const void *pattern, int bytes_per_pixel, int pixels) {
    if (destination == nullptr || bytes_per_pixel > int(max_fill_bytes) || pixels == 0)
        return fail(site::fill_arguments);
    // Nothing to write is no failure, not even without a pattern: callers pass a pixel size of 0.
    if (bytes_per_pixel <= 0 || is_nothing(pixels))
        return 1;
    if (pattern == nullptr)
        return fail(site::fill_arguments);
    kernels().fill[bytes_per_pixel - 1](bytes(destination), bytes(pattern), std::size_t(pixels));
    return 1;
}

// Quirk: the result of a success is whatever the loop was left with. On the wide path that is how
// many bytes were over after steps of eight, on the plain one the byte moved last, the former last
// byte of a. A caller who tests it sees failures where there are none; it stays as programs know
// it.
int exchange_blocks(void *a, void *b, int size) {
    if (a == nullptr || b == nullptr || size == 0)
        return fail(site::exchange_arguments);
    if (is_nothing(size))
        return 1;
    const int last_of_a = bytes(a)[size - 1];
    kernels().exchange(bytes(a), bytes(b), std::size_t(size));
    return mmx_available() ? size % 8 : last_of_a;
}

int invert_bytes(void *destination, void *source, int size) {
    if (source == nullptr || size == 0)
        return fail(site::invert_arguments);
    if (destination == nullptr)
        destination = source;
    return convert(kernels().invert, site::invert_arguments, destination, source, size);
}

// Nothing is checked here, as callers expect of it: null pointers are theirs to avoid.
int map(void *destination, const void *source, const void *tables, int type, int pixels) {
    if (is_nothing(pixels))
        return 1;
    const auto run = [&](Mapping *kernel) {
        kernel(bytes(destination), bytes(source), bytes(tables), std::size_t(pixels));
    };
    switch (type) {
    case MEM32_MAP_8:
        run(kernels().map_8);
        break;
    case MEM32_MAP_16:
        run(kernels().map_16);
        break;
    case MEM32_MAP_24:
        run(kernels().map_24);
        break;
    case MEM32_MAP_48:
        run(kernels().map_48);
        break;
    }
    return 1;
}

} // namespace
} // namespace q32::rows

// --- exports ------------------------------------------------------------------------------------

using q32::bytes;
using namespace q32::rows;

int Q32_CALL mem32Fill(void *destination, const void *pattern, int bytes_per_pixel, int count) {
    return fill(destination, pattern, bytes_per_pixel, count);
}

int Q32_CALL mem32Exchange(void *a, void *b, int size) {
    return exchange_blocks(a, b, size);
}

int Q32_CALL mem32ByteInvert(void *destination, void *source, int size) {
    return invert_bytes(destination, source, size);
}

int Q32_CALL mem32BitToByte(void *destination, const void *source, int count) {
    return convert_bits(kernels().bit_to_byte, site::bit_to_byte_arguments, destination, source,
                        count, 255);
}

int Q32_CALL mem32BitToByteExt(void *destination, const void *source, int count) {
    return convert_bits(kernels().bit_to_byte, site::bit_to_flag_arguments, destination, source,
                        count, 1);
}

int Q32_CALL mem32ByteToBit(void *destination, const void *source, int count, int threshold) {
    return convert_bits(kernels().byte_to_bit, site::byte_to_bit_arguments, destination, source,
                        count, std::uint8_t(threshold));
}

int Q32_CALL mem32_888To555(void *destination, const void *source, int count) {
    return convert(kernels().rgb888_to_555, site::rgb888_to_555_arguments, destination, source,
                   count);
}

int Q32_CALL mem32_555To888(void *destination, const void *source, int count) {
    return convert(kernels().rgb555_to_888, site::rgb555_to_888_arguments, destination, source,
                   count);
}

int Q32_CALL mem32_888To565(void *destination, const void *source, int count) {
    return convert(kernels().rgb888_to_565, site::rgb888_to_565_arguments, destination, source,
                   count);
}

int Q32_CALL mem32_565To888(void *destination, const void *source, int count) {
    return convert(kernels().rgb565_to_888, site::rgb565_to_888_arguments, destination, source,
                   count);
}

void Q32_CALL RGBToBGR(void *destination, const void *source, int count) {
    if (!is_nothing(count))
        kernels().swap_red_blue(bytes(destination), bytes(source), std::size_t(count));
}

int Q32_CALL mem32Map(void *destination, const void *source, const void *table, int type,
                      int count) {
    return map(destination, source, table, type, count);
}
