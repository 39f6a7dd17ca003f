// Rows of merging, filters and colour spaces (merge.h).
#include "tests/hostile/world.h"

namespace q32::test {
namespace {

Argument pixel_bytes() {
    return among({1, 3, 3, 3, 2, 4, 5, 8, 9});
}
Argument mode(int last) {
    return in(1, last);
}
Argument transparency() {
    return in(-1, 101);
}

// Often none: a mask must have the cells of the overlay.
Argument mask_buffer() {
    const Argument some = partner(0, 8);
    return {Argument::number, [=](Draw &draw, std::size_t place) -> Drawn {
                return draw.random.below(2) == 0 ? Drawn(0) : some.draw(draw, place);
            }};
}

// Sizes that no pixel has are refused before memory is looked at.
std::int64_t pixel_size(std::int64_t bytes_per_pixel) {
    return bytes_per_pixel < 1 || bytes_per_pixel > 8 ? 0 : bytes_per_pixel;
}
std::int64_t image_bytes(std::int64_t width, std::int64_t height, std::int64_t bytes_per_pixel) {
    return width < 1 || height < 1 ? 0 : width * height * pixel_size(bytes_per_pixel);
}
// At transparency 100 pixels of any size are copied.
std::int64_t run_bytes(const Draw &draw) {
    const std::int64_t pixels = std::max<std::int64_t>(draw[5], 0);
    return draw[7] >= 100 ? pixels * std::max<std::int64_t>(draw[4], 0)
                          : pixels * pixel_size(draw[4]);
}
std::int64_t run_mask(const Draw &draw) {
    return draw[5];
}

std::int64_t filter_pixel(const Draw &draw) {
    const std::int64_t type = draw[3];
    return type == I32_FILTER_NONE || type < 1 || type > 4 ? 0 : type;
}

// A count, and as many ranges behind it; null when there is not so much memory.
Drawn filter(Draw &draw) {
    if (draw.is_hostile() && draw.random.below(2) == 0)
        return 0;
    const auto ranges =
        std::uint32_t(draw.is_hostile() ? any_number(draw.random) : draw.between(0, 5));
    const std::uint64_t size = 4 + std::uint64_t{ranges} * sizeof(I32COLORRANGE);
    if (size > Memory::most_bytes)
        return 0;
    std::uint8_t *const block = draw.memory.take(draw.random, std::size_t(size));
    std::memcpy(block, &ranges, sizeof ranges);
    for (std::uint32_t i = 0; i < 4 * ranges; ++i) {
        const std::int32_t tolerance =
            draw.is_hostile() ? any_number(draw.random) : draw.between(-2, 100);
        std::memcpy(block + 4 + i / 4 * 20 + 4 + i % 4 * 4, &tolerance, sizeof tolerance);
    }
    return word_of(block);
}

std::int64_t converted(const Draw &draw, bool source) {
    constexpr int from[] = {3, 1, 3, 12, 3, 12}, to[] = {1, 3, 12, 3, 12, 3};
    const std::uint32_t conversion = draw.number(3);
    return conversion > 5 || draw[2] < 1 ? 0 : draw[2] * (source ? from : to)[conversion];
}

// Bytes of an overlay of bytes per pixel with rows of (width, height), and of its mask.
Bytes64 image(std::size_t width, std::size_t height, std::size_t bytes_per_pixel) {
    return [=](const Draw &draw) {
        return image_bytes(draw[width], draw[height], draw[bytes_per_pixel]);
    };
}
Bytes64 mask(std::size_t width, std::size_t height) {
    return [=](const Draw &draw) { return image_bytes(draw[width], draw[height], 1); };
}
Bytes64 within(std::size_t rectangle, std::size_t bytes_per_pixel) {
    return [=](const Draw &draw) {
        return draw.area(rectangle) *
               (bytes_per_pixel == 0 ? 1 : pixel_size(draw[bytes_per_pixel]));
    };
}
// Of the bytes per pixel of a buffer.
Bytes64 like_buffer(std::size_t buffer, std::size_t width, std::size_t height) {
    return [=](const Draw &draw) {
        const HeldBuffer *const held = draw.world.find(draw.words[buffer]);
        return image_bytes(draw[width], draw[height],
                           held == nullptr ? 0 : held->info.bytes_per_pixel);
    };
}

const Row rows[] = {
    {"i32ColorFilter",
     {memory([](const Draw &draw) { return std::int64_t{draw.number(4)}; }),
      memory_over(0, [](const Draw &draw) { return std::int64_t{draw.number(4)}; }),
      memory([](const Draw &draw) { return filter_pixel(draw) * std::int64_t{draw.number(4)}; }),
      in(0, 5),
      count(),
      {Argument::record, [](Draw &draw, std::size_t) { return filter(draw); }},
      in(0, 1)}},
    {"i32ColorspaceConvert",
     {memory([](const Draw &draw) { return converted(draw, false); }),
      memory([](const Draw &draw) { return converted(draw, true); }), count(), in(0, 6)},
     8},
    {"i32Merge",
     {memory(run_bytes), memory_over(0, run_bytes), memory_over(0, run_mask),
      memory_over(0, run_bytes), pixel_bytes(), count(), mode(16), transparency()},
     16},
    {"i32MergeBufToBuf",
     {any_buffer(), coordinate(), coordinate(), mask_buffer(), partner(0), rectangle(), mode(15),
      transparency()},
     16},
    {"i32MergeBufToRam",
     {memory([](const Draw &draw) { return image_bytes(draw[3], draw[4], draw[5]); }), coordinate(),
      coordinate(), side(), side(), among({1, 3, 3, 2, 4}), mask_buffer(), partner(0, 24),
      rectangle(), mode(15), transparency()},
     12},
    {"i32MergeEx",
     {memory(image(1, 2, 7)), side(), side(), memory(within(4, 0)), rectangle(),
      memory_over(0, within(6, 7)), rectangle(), pixel_bytes(), mode(15), transparency()},
     12},
    {"i32MergeRamToBuf",
     {buffer(), coordinate(), coordinate(), memory(mask(6, 7)), memory(like_buffer(0, 6, 7)),
      rectangle(), side(), side(), mode(15), transparency()},
     6},
    {"i32MergeRamToRam",
     {memory(image(1, 2, 3)), side(), side(), pixel_bytes(), coordinate(), coordinate(),
      memory_over(0, image(8, 9, 3)), memory(mask(8, 9)), side(), side(), in(-4, 20), in(-4, 20),
      in(10, 80), in(10, 80), mode(15), transparency()},
     12,
     nullptr,
     true,
     nullptr,
     10},
};

} // namespace

std::span<const Row> merge_rows() {
    return rows;
}

} // namespace q32::test
