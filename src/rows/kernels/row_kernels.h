// The row conversions and copies as plain functions over pointers and counts, one table of them for
// each instruction set. Checks no argument, reports nothing; that is the exports' part.
//
// Every form of a conversion gives the bytes of its scalar form, for all inputs, lengths and
// alignments. It reads no byte outside the source run and writes none outside the destination run.
#pragma once

#include "library/process/cpu.h"
#include "simd/narrower.h"

#include <cstddef>
#include <cstdint>

namespace q32::rows {

// Where destination and source may meet: a conversion whose pixels do not grow may have both at the
// same address. Otherwise the runs must not overlap. A count of 0 is allowed and does nothing.
using Conversion = void(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels);
using BitConversion = void(std::uint8_t *destination, const std::uint8_t *source,
                           std::size_t pixels, std::uint8_t value);
using Mapping = void(std::uint8_t *destination, const std::uint8_t *source,
                     const std::uint8_t *tables, std::size_t pixels);
using Filling = void(std::uint8_t *destination, const std::uint8_t *pattern, std::size_t pixels);
using Exchange = void(std::uint8_t *a, std::uint8_t *b, std::size_t bytes);

// Strides are the bytes from one row to the next; the bytes between rows are not touched.
using RowsCopy = void(std::uint8_t *destination, std::size_t destination_stride,
                      const std::uint8_t *source, std::size_t source_stride, std::size_t row_bytes,
                      std::size_t rows);

// The same for rows of bits. Bit 0 is the highest of a row's first byte; positions may lie beyond
// it. Bits around the destination runs stay as they are. Runs may share a byte, but no bit.
using BitRowsCopy = void(std::uint8_t *destination, std::size_t destination_stride,
                         std::size_t destination_bit, const std::uint8_t *source,
                         std::size_t source_stride, std::size_t source_bit, std::size_t bits,
                         std::size_t rows);

inline constexpr std::size_t max_fill_bytes = 4; // of one pixel

struct RowKernels {
    Filling *fill[max_fill_bytes]; // [bytes per pixel - 1]; the pattern lies outside the run
    Exchange *exchange;            // the blocks are disjoint, or one and the same
    Conversion *invert;            // pixels: bytes

    RowsCopy *copy_rows;
    BitRowsCopy *copy_bit_rows;

    BitConversion *bit_to_byte; // value: what a set bit becomes; a clear bit becomes 0
    BitConversion *byte_to_bit; // value: the threshold; a byte above it becomes a set bit

    // 24-bit pixels are three bytes; 16-bit pixels are little-endian words at any alignment.
    Conversion *rgb888_to_555;
    Conversion *rgb888_to_565;
    Conversion *rgb555_to_888;
    Conversion *rgb565_to_888;
    Conversion *swap_red_blue;

    // Tables of 256 bytes, one for each sample of a pixel, end to end, outside the destination.
    Mapping *map_8;
    Mapping *map_24;
    Mapping *map_16;
    Mapping *map_48;
};

// One table for each instruction set. The scalar one is the reference, where every function reads
// like its rule; the forms of the others hand runs that are too short for them to the next narrower
// one.
extern const RowKernels scalar_row_kernels, sse2_row_kernels, sse41_row_kernels, avx2_row_kernels,
    avx512_row_kernels;

// The fastest forms that need no more than this instruction set.
const RowKernels &row_kernels(InstructionSet level);

// The table of forms that have the names of its entries.
template <class Forms>
constexpr RowKernels row_table() {
    return {
        .fill = {Forms::template fill<1>, Forms::template fill<2>, Forms::template fill<3>,
                 Forms::template fill<4>},
        .exchange = Forms::exchange,
        .invert = Forms::invert,
        .copy_rows = Forms::copy_rows,
        .copy_bit_rows = Forms::copy_bit_rows,
        .bit_to_byte = Forms::bit_to_byte,
        .byte_to_bit = Forms::byte_to_bit,
        .rgb888_to_555 = Forms::rgb888_to_555,
        .rgb888_to_565 = Forms::rgb888_to_565,
        .rgb555_to_888 = Forms::rgb555_to_888,
        .rgb565_to_888 = Forms::rgb565_to_888,
        .swap_red_blue = Forms::swap_red_blue,
        .map_8 = Forms::map_8,
        .map_24 = Forms::map_24,
        .map_16 = Forms::map_16,
        .map_48 = Forms::map_48,
    };
}

namespace {

// The forms of an instruction set that has none of its own, for others to begin with.
template <const RowKernels &narrower>
struct NarrowerRows {
    template <std::size_t bytes_per_pixel>
    static void fill(std::uint8_t *destination, const std::uint8_t *pattern, std::size_t pixels) {
        narrower.fill[bytes_per_pixel - 1](destination, pattern, pixels);
    }
    static constexpr auto exchange = handed_on<narrower, &RowKernels::exchange>;
    static constexpr auto invert = handed_on<narrower, &RowKernels::invert>;
    static constexpr auto copy_rows = handed_on<narrower, &RowKernels::copy_rows>;
    static constexpr auto copy_bit_rows = handed_on<narrower, &RowKernels::copy_bit_rows>;
    static constexpr auto bit_to_byte = handed_on<narrower, &RowKernels::bit_to_byte>;
    static constexpr auto byte_to_bit = handed_on<narrower, &RowKernels::byte_to_bit>;
    static constexpr auto rgb888_to_555 = handed_on<narrower, &RowKernels::rgb888_to_555>;
    static constexpr auto rgb888_to_565 = handed_on<narrower, &RowKernels::rgb888_to_565>;
    static constexpr auto rgb555_to_888 = handed_on<narrower, &RowKernels::rgb555_to_888>;
    static constexpr auto rgb565_to_888 = handed_on<narrower, &RowKernels::rgb565_to_888>;
    static constexpr auto swap_red_blue = handed_on<narrower, &RowKernels::swap_red_blue>;
    static constexpr auto map_8 = handed_on<narrower, &RowKernels::map_8>;
    static constexpr auto map_24 = handed_on<narrower, &RowKernels::map_24>;
    static constexpr auto map_16 = handed_on<narrower, &RowKernels::map_16>;
    static constexpr auto map_48 = handed_on<narrower, &RowKernels::map_48>;
};

} // namespace
} // namespace q32::rows
