// The row kernels: fills, copies, conversions and maps.
#include "rows/kernels/row_kernels.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::rows;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_row_kernels, row_kernels);
    return all;
}

std::size_t bytes_of_bits(std::size_t bits) {
    return (bits + 7) / 8;
}

void fill(Input &input) {
    const std::size_t bytes = 1 + input.below(max_fill_bytes), pixels = input.length();
    const std::vector<Place> places{place(input, bytes * pixels), place(input, bytes)};
    compare_forms(
        levels(), [=](const RowKernels &kernels) { return kernels.fill[bytes - 1]; }, places,
        [=](Filling *run, const Blocks &blocks) { run(blocks[0].at(), blocks[1].at(), pixels); });
}

void exchange(Input &input) {
    const std::size_t bytes = input.length();
    const std::size_t other = input.flag() ? 1 : 0; // or one and the same
    const std::vector<Place> places{place(input, bytes), place(input, bytes)};
    compare_forms(
        levels(), [](const RowKernels &kernels) { return kernels.exchange; }, places,
        [=](Exchange *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[other].at(), bytes);
        });
}

struct Pixels {
    Conversion *RowKernels::*kernel;
    std::size_t destination_bytes, source_bytes;
};
constexpr Pixels conversions[] = {
    {&RowKernels::invert, 1, 1},        {&RowKernels::rgb888_to_555, 2, 3},
    {&RowKernels::rgb888_to_565, 2, 3}, {&RowKernels::rgb555_to_888, 3, 2},
    {&RowKernels::rgb565_to_888, 3, 2}, {&RowKernels::swap_red_blue, 3, 3},
};

void convert(Input &input) {
    const Pixels &pixel = conversions[input.below(std::size(conversions))];
    const std::size_t pixels = input.length();
    const bool in_place = pixel.destination_bytes <= pixel.source_bytes && input.flag();
    std::vector<Place> places{place(input, pixel.source_bytes * pixels)};
    if (!in_place)
        places.insert(places.begin(), place(input, pixel.destination_bytes * pixels));
    compare_forms(
        levels(), [&](const RowKernels &kernels) { return kernels.*pixel.kernel; }, places,
        [=](Conversion *run, const Blocks &blocks) {
            run(blocks.front().at(), blocks.back().at(), pixels);
        });
}

void convert_bits(Input &input) {
    const bool to_bits = input.flag();
    const std::size_t pixels = input.length(), bit_bytes = bytes_of_bits(pixels);
    const std::uint8_t value = input.byte();
    const std::vector<Place> places{place(input, to_bits ? bit_bytes : pixels),
                                    place(input, to_bits ? pixels : bit_bytes)};
    compare_forms(
        levels(),
        [=](const RowKernels &kernels) {
            return to_bits ? kernels.byte_to_bit : kernels.bit_to_byte;
        },
        places,
        [=](BitConversion *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[1].at(), pixels, value);
        });
}

struct Samples {
    Mapping *RowKernels::*kernel;
    std::size_t channels, pixel_bytes;
};
constexpr Samples maps[] = {
    {&RowKernels::map_8, 1, 1},
    {&RowKernels::map_24, 3, 3},
    {&RowKernels::map_16, 1, 2},
    {&RowKernels::map_48, 3, 6},
};

void map(Input &input) {
    const Samples &sample = maps[input.below(std::size(maps))];
    const std::size_t pixels = input.length();
    const bool in_place = input.flag();
    std::vector<Place> places{place(input, 256 * sample.channels),
                              place(input, sample.pixel_bytes * pixels)};
    if (!in_place)
        places.push_back(place(input, sample.pixel_bytes * pixels));
    compare_forms(
        levels(), [&](const RowKernels &kernels) { return kernels.*sample.kernel; }, places,
        [=](Mapping *run, const Blocks &blocks) {
            run(blocks.back().at(), blocks[1].at(), blocks[0].at(), pixels);
        });
}

// Rows in a block: from the first byte on, or from its end backwards.
struct Stack {
    std::size_t bytes, first, stride;
};
Stack stack_of(Input &input, std::size_t row_bytes, std::size_t rows, bool may_lie_on_another) {
    const std::size_t kind = input.below(may_lie_on_another ? 3 : 2);
    const std::size_t stride = kind == 2 ? 0 : row_bytes + input.below(100);
    const std::size_t to_last = rows == 0 ? 0 : (rows - 1) * stride;
    const std::size_t bytes = rows == 0 ? 0 : to_last + row_bytes;
    return kind == 1 ? Stack{bytes, to_last, std::size_t(0) - stride} : Stack{bytes, 0, stride};
}

void copy_rows(Input &input) {
    const std::size_t row_bytes = input.length(), rows = input.below(12);
    const Stack to = stack_of(input, row_bytes, rows, false),
                from = stack_of(input, row_bytes, rows, true);
    const std::vector<Place> places{place(input, to.bytes), place(input, from.bytes)};
    compare_forms(
        levels(), [](const RowKernels &kernels) { return kernels.copy_rows; }, places,
        [=](RowsCopy *run, const Blocks &blocks) {
            run(blocks[0].at() + to.first, to.stride, blocks[1].at() + from.first, from.stride,
                row_bytes, rows);
        });
}

void copy_bit_rows(Input &input) {
    const std::size_t bits = input.length(), rows = input.below(12);
    const std::size_t to_bit = input.below(100), from_bit = input.below(100);
    const Stack to = stack_of(input, bytes_of_bits(to_bit + bits), rows, false),
                from = stack_of(input, bytes_of_bits(from_bit + bits), rows, true);
    const std::vector<Place> places{place(input, to.bytes), place(input, from.bytes)};
    compare_forms(
        levels(), [](const RowKernels &kernels) { return kernels.copy_bit_rows; }, places,
        [=](BitRowsCopy *run, const Blocks &blocks) {
            run(blocks[0].at() + to.first, to.stride, to_bit, blocks[1].at() + from.first,
                from.stride, from_bit, bits, rows);
        });
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {fill, exchange,  convert,      convert_bits,
                                             map,  copy_rows, copy_bit_rows};
    Input input(data, size);
    for (int left = runs_of_an_input; left > 0 && !input.is_empty(); --left)
        families[input.below(std::size(families))](input);
    return 0;
}
