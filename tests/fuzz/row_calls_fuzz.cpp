// The exports of rows with any arguments that memory can be found for, at every instruction set.
#include "rows/rows.h"
#include "tests/fuzz/forms.h"
#include "tests/fuzz/system/machine.h"

#include <q32base/rows.h>

#include <functional>

namespace q32::fuzz {
namespace {

// call(blocks) gives the same at every instruction set: what it returns, and all bytes.
void compare_sets(const std::vector<Place> &places,
                  const std::function<int(const Blocks &)> &call) {
    std::vector<Bytes> expected;
    int expected_result = 0;
    for (const InstructionSet set : test::sets_of_this_machine()) {
        chosen_kernels<rows::RowKernels> = &rows::row_kernels(set);
        chosen_kernels<rows::ScalingKernels> = &rows::scaling_kernels(set);
        Blocks blocks;
        for (const Place &place : places)
            blocks.emplace_back(place.content, place.shift);
        const int result = call(blocks);
        std::vector<Bytes> after;
        for (const Block &block : blocks)
            after.push_back(block.content());
        if (expected.empty()) {
            expected = std::move(after);
            expected_result = result;
        } else {
            check(after == expected && result == expected_result,
                  "a call differs with the instruction set");
        }
    }
}

std::size_t room(std::int64_t count) {
    return std::size_t(std::max<std::int64_t>(count, 0));
}
std::int64_t bytes_of_bits(std::int64_t bits) {
    return (bits + 7) / 8;
}

// Counts near and below zero, and what rows are long.
int count_of(Input &input) {
    return input.below(16) == 0 ? std::min(input.any_int(), 300) : int(input.length(900)) - 3;
}
int factor_of(Input &input) {
    return input.below(16) == 0 ? std::min(input.any_int(), 40) : int(input.below(24)) - 2;
}

// --- rectangles of plain images -----------------------------------------------------------------

// An image whose rows go up or down, and a rectangle that may begin before it. Its memory ends with
// the rectangle.
void rectangle(Input &input) {
    const bool merge = input.flag();
    const int bytes = input.between(-1, 5);
    const int x = input.between(-40, 60), y = input.between(0, 20);
    const int width = count_of(input) % 200, height = input.between(-2, 12);
    const std::int64_t columns = std::max(width, 0), rows = std::max(height, 0);
    const auto bytes_of = [bytes](std::int64_t pixels) {
        return bytes == 0 ? bytes_of_bits(pixels) : pixels * std::max(bytes, 0);
    };
    const std::int64_t before = 40 * std::max(1, bytes), pitch = before + bytes_of(100 + columns);
    const bool upwards = input.flag();
    const std::int64_t stride = upwards ? -pitch : pitch;
    const std::int64_t first = upwards ? 32 * pitch + before : before;
    const std::int64_t last_row = upwards ? y : y + rows - 1; // in memory
    const bool is_empty = columns == 0 || rows == 0;
    const std::int64_t end = is_empty ? first : first + last_row * stride + bytes_of(x + columns);
    compare_sets(
        {place(input, room(end)), place(input, room(rows * bytes_of(columns)))},
        [=](const Blocks &blocks) {
            std::uint8_t *const image = blocks[0].at() + first, *const block = blocks[1].at();
            return merge ? mem32MergeMem(image, x, y, block, width, height, bytes, int(stride))
                         : mem32GetMem(image, x, y, width, height, bytes, int(stride), block);
        });
}

// --- whole factors ------------------------------------------------------------------------------

constexpr std::int64_t most_bytes = 200000;

std::int64_t pixel_bytes_of(int bytes) {
    return bytes == 1 || bytes == 3 || bytes == 4 ? bytes : 2;
}

struct Scale {
    int width, rows, horizontal, vertical, bytes, swap;
};
Scale scale_of(Input &input) {
    return {count_of(input),  input.between(-1, 6), factor_of(input),
            factor_of(input), input.between(0, 5),  input.between(0, 1)};
}

void enlarge(Input &input) {
    const Scale s = scale_of(input);
    const std::int64_t width = std::max(1, s.width), horizontal = std::max(1, s.horizontal),
                       vertical = std::max(1, s.vertical), bytes = pixel_bytes_of(s.bytes);
    const std::int64_t rows = std::max(0, s.rows);
    const bool is_row = input.flag();
    const std::int64_t to = bytes * width * horizontal * (is_row ? 1 : rows * vertical),
                       from = bytes * width * (is_row ? 1 : rows);
    if (to > most_bytes)
        return;
    compare_sets({place(input, std::size_t(to)), place(input, std::size_t(from))},
                 [=](const Blocks &blocks) {
                     if (!is_row)
                         return mem32EnlargeExt(blocks[0].at(), blocks[1].at(), s.width, s.rows,
                                                s.horizontal, s.vertical, s.bytes, s.swap);
                     mem32Enlarge(blocks[0].at(), blocks[1].at(), s.width, s.horizontal, s.bytes,
                                  s.swap);
                     return 0;
                 });
}

// Bytes of pixels are read whole groups at a time where red and blue are exchanged.
void reduce(Input &input) {
    const Scale s = scale_of(input);
    const std::int64_t width = std::max(0, s.width), factor = std::max(1, s.horizontal),
                       step = std::max(1, s.vertical), bytes = pixel_bytes_of(s.bytes);
    const std::int64_t rows = std::max(0, s.rows), groups = (width + factor - 1) / factor;
    const bool is_row = input.flag();
    const std::int64_t taken = is_row ? 1 : (rows + step - 1) / step;
    const bool in_groups = s.bytes == 3 && s.swap != 0;
    const std::int64_t behind = in_groups ? (groups * factor - width) * bytes : 0;
    const std::int64_t from = (taken == 0 ? 0 : (taken - 1) * step + 1) * bytes * width + behind;
    if (from > most_bytes)
        return;
    compare_sets(
        {place(input, std::size_t(bytes * groups * taken)), place(input, std::size_t(from))},
        [=](const Blocks &blocks) {
            if (!is_row)
                return mem32ReduceExt(blocks[0].at(), blocks[1].at(), s.width, s.rows, s.horizontal,
                                      s.vertical, s.bytes, s.swap);
            mem32Reduce(blocks[0].at(), blocks[1].at(), s.width, s.horizontal, s.bytes, s.swap);
            return 0;
        });
}

// A byte behind the row may be cleared.
void enlarge_bits(Input &input) {
    const Scale s = scale_of(input);
    const std::int64_t width = std::max(0, s.width), horizontal = std::max(0, s.horizontal),
                       vertical = std::max(1, s.vertical), rows = std::max(0, s.rows);
    const bool is_row = input.flag();
    const std::int64_t row = bytes_of_bits(width * horizontal), from = bytes_of_bits(width);
    const std::int64_t longest = std::max(row, horizontal == 0 ? from : 0) + 1;
    const std::int64_t to = is_row      ? longest
                            : rows == 0 ? 0
                                        : (rows * vertical - 1) * row + longest;
    if (to > most_bytes)
        return;
    compare_sets(
        {place(input, std::size_t(to)), place(input, std::size_t(is_row ? from : from * rows))},
        [=](const Blocks &blocks) {
            const auto across = unsigned(horizontal), down = unsigned(std::max(0, s.vertical));
            if (!is_row)
                return mem32BitEnlargeExt(blocks[0].at(), blocks[1].at(), s.width, s.rows, across,
                                          down);
            mem32BitEnlarge(blocks[0].at(), blocks[1].at(), s.width, across);
            return 0;
        });
}

void reduce_bits(Input &input) {
    const Scale s = scale_of(input);
    const std::int64_t width = std::max(0, s.width), factor = std::max(1, s.horizontal),
                       step = std::max(1, s.vertical), rows = std::max(0, s.rows);
    const bool is_row = input.flag();
    const std::int64_t taken = is_row ? 1 : (rows + step - 1) / step;
    const std::int64_t from = (taken == 0 ? 0 : (taken - 1) * step + 1) * bytes_of_bits(width);
    const std::int64_t to = bytes_of_bits((width + factor - 1) / factor) * taken;
    if (from > most_bytes)
        return;
    compare_sets({place(input, std::size_t(to)), place(input, std::size_t(from))},
                 [=](const Blocks &blocks) {
                     if (!is_row)
                         return mem32BitReduceExt(blocks[0].at(), blocks[1].at(), s.width, s.rows,
                                                  s.horizontal, s.vertical);
                     mem32BitReduce(blocks[0].at(), blocks[1].at(), s.width, s.horizontal);
                     return 0;
                 });
}

// --- conversions --------------------------------------------------------------------------------

struct Conversion {
    int(Q32_CALL *call)(void *, const void *, int);
    std::int64_t destination_bytes, source_bytes;
};
constexpr Conversion conversions[] = {
    {mem32_888To555, 2, 3},
    {mem32_555To888, 3, 2},
    {mem32_888To565, 2, 3},
    {mem32_565To888, 3, 2},
    {[](void *to, const void *from, int count) {
         RGBToBGR(to, from, count);
         return 0;
     },
     3, 3},
};

void convert(Input &input) {
    const Conversion &conversion = conversions[input.below(std::size(conversions))];
    const int count = count_of(input);
    const std::uint8_t kind = input.byte();
    compare_sets({place(input, room(count * conversion.destination_bytes)),
                  place(input, room(count * conversion.source_bytes))},
                 [=](const Blocks &blocks) {
                     const bool has_null = kind < 8 && conversion.call != conversions[4].call;
                     return conversion.call(has_null ? nullptr : blocks[0].at(), blocks[1].at(),
                                            count);
                 });
}

void fill_and_exchange(Input &input) {
    const int count = count_of(input), bytes = input.between(-1, 6), kind = input.between(0, 3);
    machine().mmx = input.flag();
    compare_sets(
        {place(input, room(count) * 4), place(input, room(count) * 4), place(input, room(bytes))},
        [=](const Blocks &blocks) {
            switch (kind) {
            case 0:
                return mem32Exchange(blocks[0].at(), blocks[1].at(), count);
            case 1:
                return mem32ByteInvert(bytes < 0 ? nullptr : blocks[0].at(), blocks[1].at(), count);
            case 2:
                return mem32ByteToBit(blocks[0].at(), blocks[1].at(), count, bytes);
            default:
                return mem32Fill(blocks[0].at(), bytes == 0 ? nullptr : blocks[2].at(), bytes,
                                 count);
            }
        });
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {rectangle,   enlarge, reduce,           enlarge_bits,
                                             reduce_bits, convert, fill_and_exchange};
    Input input(data, size);
    restart_machine();
    for (int left = runs_of_an_input; left > 0 && !input.is_empty(); --left)
        families[input.below(std::size(families))](input);
    return 0;
}
