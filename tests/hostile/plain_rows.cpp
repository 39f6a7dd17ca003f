// Rows of row conversions, whole factors and plain rectangles (rows.h).
#include "tests/hostile/world.h"

#include "tests/frame/calls.h"

namespace q32::test {
namespace {

std::int64_t at_least_0(std::int64_t number) {
    return std::max<std::int64_t>(number, 0);
}
std::int64_t bytes_of_bits(std::int64_t bits) {
    return (at_least_0(bits) + 7) / 8;
}
// So many of an argument, or bits.
Bytes64 times(std::size_t count, int bytes = 1) {
    return [=](const Draw &draw) { return at_least_0(draw[count]) * bytes; };
}
Bytes64 bits(std::size_t count) {
    return [=](const Draw &draw) { return bytes_of_bits(draw[count]); };
}

std::int64_t pixel_bytes(std::int64_t argument) {
    return argument == 1 || argument == 3 || argument == 4 ? argument : 2;
}
std::int64_t at_least_1(std::int64_t number) {
    return std::max<std::int64_t>(number, 1);
}
std::int64_t groups(std::int64_t count, std::int64_t factor) {
    return (count + at_least_1(factor) - 1) / at_least_1(factor);
}

// --- enlarging -----------------------------------------------------------------------------------

std::int64_t enlarged_row_of_bits(std::int64_t count, std::uint32_t factor) {
    return factor <= 1 ? bytes_of_bits(count) : (at_least_0(count) * std::int64_t{factor} + 7) / 8;
}
// The byte beyond a row, where there is one.
std::int64_t byte_beyond(std::int64_t count, std::uint32_t factor) {
    return factor > 1 && at_least_0(count) * std::int64_t{factor} % 8 == 0 ? 1 : 0;
}
std::int64_t enlarged_bits(const Draw &draw) {
    return enlarged_row_of_bits(draw[2], draw.number(3)) + byte_beyond(draw[2], draw.number(3));
}
// Rows of a factor of 0 have no length: each lies over the one before. The byte beyond a row is the
// first of its copies, if there is any byte in those.
std::int64_t enlarged_bit_block(const Draw &draw) {
    const std::uint32_t horizontal = draw.number(4);
    const std::int64_t vertical = at_least_1(std::int64_t{draw.number(5)});
    if (draw[3] < 1)
        return 0;
    if (horizontal == 0)
        return bytes_of_bits(draw[2]);
    const std::int64_t row = enlarged_row_of_bits(draw[2], horizontal);
    const bool beyond = byte_beyond(draw[2], horizontal) != 0 && (vertical == 1 || row == 0);
    if (row != 0 && draw[3] > std::int64_t(Memory::most_bytes) / row / vertical)
        return std::int64_t(Memory::most_bytes) + 1;
    return draw[3] * vertical * row + beyond;
}
std::int64_t bit_block(const Draw &draw) {
    return at_least_0(draw[3]) * bytes_of_bits(draw[2]);
}
std::int64_t enlarged_row(const Draw &draw) {
    return pixel_bytes(draw[4]) * at_least_1(draw[2]) * at_least_1(draw[3]);
}
std::int64_t enlarged_block(const Draw &draw) {
    std::int64_t size = pixel_bytes(draw[6]) * at_least_0(draw[3]);
    for (const std::size_t factor : {2, 4, 5})
        if (size <= std::int64_t(Memory::most_bytes))
            size *= at_least_1(draw[factor]);
    return size;
}

// --- reducing ------------------------------------------------------------------------------------

// How many rows are taken, and pixels of each.
std::int64_t taken_rows(const Draw &draw) {
    return draw[3] < 1 ? 0 : groups(draw[3], draw[5]);
}
std::int64_t taken_pixels(const Draw &draw) {
    return draw[2] < 1 ? 0 : groups(draw[2], draw[4]);
}
std::int64_t reduced_row(const Draw &draw) {
    return draw[2] < 1 ? 0 : pixel_bytes(draw[4]) * groups(draw[2], draw[3]);
}
std::int64_t row_to_reduce(const Draw &draw) {
    const bool mixed = draw[4] == 3 && draw[5] != 0;
    const std::int64_t pixels =
        mixed && draw[2] > 0 ? groups(draw[2], draw[3]) * at_least_1(draw[3]) : at_least_0(draw[2]);
    return pixel_bytes(draw[4]) * pixels;
}
std::int64_t block_to_reduce(const Draw &draw) {
    const std::int64_t rows = taken_rows(draw), pixel = pixel_bytes(draw[6]),
                       row = pixel * at_least_0(draw[2]);
    if (rows == 0 || draw[2] < 1)
        return 0;
    const bool mixed = draw[6] == 3 && draw[7] != 0;
    const std::int64_t last =
        mixed ? pixel * taken_pixels(draw) * at_least_1(draw[4]) : std::int64_t{0};
    return std::max(draw[3] * row, (rows - 1) * at_least_1(draw[5]) * row + last);
}

// --- rectangles ----------------------------------------------------------------------------------

struct Plain {
    std::int64_t x, y, width, height, bytes_per_pixel, stride;

    bool is_empty() const { return width < 1 || height < 1 || bytes_per_pixel < 0; }
    std::int64_t block() const {
        return is_empty() ? 0
                          : height * (bytes_per_pixel == 0 ? bytes_of_bits(width)
                                                           : width * bytes_per_pixel);
    }
    // The bytes of the image from the lowest to the highest, counted from its first row.
    std::int64_t first() const { return std::min(y * stride, (y + height - 1) * stride) + left(); }
    std::int64_t end() const {
        const std::int64_t bits = x + width;
        const std::int64_t right = bytes_per_pixel == 0 ? (bits + 7) >> 3 : bits * bytes_per_pixel;
        return std::max(y * stride, (y + height - 1) * stride) + right;
    }

private:
    std::int64_t left() const { return bytes_per_pixel == 0 ? x >> 3 : x * bytes_per_pixel; }
};

// The address of an image whose rectangle alone is memory.
Argument image_of(Plain (*plain_of)(const Draw &)) {
    return {Argument::memory, [=](Draw &draw, std::size_t) -> Drawn {
                const Plain plain = plain_of(draw);
                if (plain.is_empty())
                    return word_of(draw.memory.take(draw.random, 0));
                const std::int64_t size = plain.end() - plain.first();
                if (size > std::int64_t(Memory::most_bytes))
                    return std::nullopt;
                return word_of(draw.memory.take(draw.random, std::size_t(size))) -
                       Word(plain.first());
            }};
}

Plain get_mem(const Draw &draw) {
    return {draw[1], draw[2], draw[3], draw[4], draw[5], draw[6]};
}
Plain merge_mem(const Draw &draw) {
    return {draw[1], draw[2], draw[4], draw[5], draw[6], draw[7]};
}

Argument stride() {
    return in(-400, 400);
}

// --- blocks of the heap --------------------------------------------------------------------------

void free_duplicate(Draw &draw, Word result) {
    if (result != 0)
        draw.world.free_bitmap(reinterpret_cast<HGLOBAL>(result));
}

std::int64_t filled(const Draw &draw) {
    return draw[2] < 1 || draw[2] > 4 ? 0 : draw[2] * at_least_0(draw[3]);
}
std::int64_t mapped(const Draw &draw) {
    const std::int64_t type = draw[3];
    return type == 1 || type == 2 || type == 3 || type == 6 ? type * at_least_0(draw[4]) : 0;
}

Argument factor() {
    return in(0, 9);
}

const Row rows[] = {
    {"RGBToBGR", {memory(times(2, 3), Null::refused), memory(times(2, 3), Null::refused), count()}},
    {"mem32BitEnlarge",
     {memory(enlarged_bits, Null::refused), memory(bits(2), Null::refused), count(), factor()}},
    {"mem32BitEnlargeExt",
     {memory(enlarged_bit_block, Null::refused), memory(bit_block, Null::refused), side(), side(),
      factor(), factor()}},
    {"mem32BitReduce",
     {memory(
          [](const Draw &draw) {
              return draw[2] < 1 ? 0 : bytes_of_bits(groups(draw[2], draw[3]));
          },
          Null::refused),
      memory(bits(2), Null::refused), count(), factor()}},
    {"mem32BitReduceExt",
     {memory([](const Draw &draw) { return taken_rows(draw) * bytes_of_bits(taken_pixels(draw)); },
             Null::refused),
      memory(bit_block, Null::refused), side(), side(), factor(), factor()}},
    {"mem32BitToByte", {memory(times(2)), memory(bits(2)), count()}},
    {"mem32BitToByteExt", {memory(times(2)), memory(bits(2)), count()}},
    {"mem32ByteInvert", {memory(times(2)), memory(times(2)), count()}},
    {"mem32ByteToBit", {memory(bits(2)), memory(times(2)), count(), in(0, 255)}},
    {"mem32DuplicateHandle",
     {{Argument::record,
       [](Draw &draw, std::size_t) -> Drawn {
           constexpr Word none[] = {0, 1, 2, 3, 0xFFFFFFFF};
           return draw.is_hostile() ? none[draw.random.below(std::size(none))]
                                    : word_of(draw.world.some_bitmap(draw.random));
       }}},
     2,
     free_duplicate},
    {"mem32Enlarge",
     {memory(enlarged_row, Null::refused),
      memory([](const Draw &draw) { return pixel_bytes(draw[4]) * at_least_1(draw[2]); },
             Null::refused),
      count(), factor(), in(1, 4), in(0, 1)}},
    {"mem32EnlargeExt",
     {memory(enlarged_block, Null::refused),
      memory(
          [](const Draw &draw) {
              return at_least_0(draw[3]) * pixel_bytes(draw[6]) * at_least_1(draw[2]);
          },
          Null::refused),
      side(), side(), factor(), factor(), in(1, 4), in(0, 1)}},
    {"mem32Exchange", {memory(times(2)), memory(times(2)), count()}},
    {"mem32Fill",
     {memory(filled),
      memory([](const Draw &draw) { return draw[2] > 4 ? 0 : at_least_0(draw[2]); }), in(-1, 5),
      count()}},
    {"mem32GetMem",
     {image_of(get_mem), coordinate(), coordinate(), side(), side(), in(0, 4), stride(),
      memory([](const Draw &draw) { return get_mem(draw).block(); }, Null::refused)}},
    {"mem32Map",
     {memory(mapped, Null::refused), memory(mapped, Null::refused),
      memory(
          [](const Draw &draw) { return std::int64_t{draw[3] == 3 || draw[3] == 6 ? 768 : 256}; },
          Null::refused),
      in(0, 7), count()}},
    {"mem32MergeMem",
     {image_of(merge_mem), coordinate(), coordinate(),
      memory([](const Draw &draw) { return merge_mem(draw).block(); }, Null::refused), side(),
      side(), in(0, 4), stride()}},
    {"mem32Reduce",
     {memory(reduced_row, Null::refused), memory(row_to_reduce, Null::refused), count(), factor(),
      in(1, 4), in(0, 1)}},
    {"mem32ReduceExt",
     {memory(
          [](const Draw &draw) {
              return taken_rows(draw) * taken_pixels(draw) * pixel_bytes(draw[6]);
          },
          Null::refused),
      memory(block_to_reduce, Null::refused), side(), side(), factor(), factor(), in(1, 4),
      in(0, 1)}},
    {"mem32_555To888", {memory(times(2, 3)), memory(times(2, 2)), count()}},
    {"mem32_565To888", {memory(times(2, 3)), memory(times(2, 2)), count()}},
    {"mem32_888To555", {memory(times(2, 2)), memory(times(2, 3)), count()}},
    {"mem32_888To565", {memory(times(2, 2)), memory(times(2, 3)), count()}},
};

} // namespace

std::span<const Row> plain_rows() {
    return rows;
}

} // namespace q32::test
