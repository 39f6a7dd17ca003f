// Pieces of work on runs of plain memory: conversions of rows, whole factors, separation.
#include "tests/workload/work.h"

#include <algorithm>

namespace q32::test {
namespace {

constexpr int most_pixels = 4096;

// One conversion of a row: bits of a pixel on both sides.
struct RowCall {
    int from_bits, to_bits;
    int (*call)(const frame::Api &api, void *to, void *from, int count, Random &random);
};

constexpr RowCall row_calls[] = {
    {1, 8,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32BitToByte(to, from, n);
     }},
    {1, 8,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32BitToByteExt(to, from, n);
     }},
    {8, 1,
     [](const frame::Api &api, void *to, void *from, int n, Random &random) {
         return api.mem32ByteToBit(to, from, n, random.byte());
     }},
    {24, 16,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32_888To555(to, from, n);
     }},
    {24, 16,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32_888To565(to, from, n);
     }},
    {16, 24,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32_555To888(to, from, n);
     }},
    {16, 24,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32_565To888(to, from, n);
     }},
    {24, 24,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         api.RGBToBGR(to, from, n);
         return 1;
     }},
    {8, 8,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32ByteInvert(to, from, n);
     }},
    {32, 32,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32Fill(to, from, 4, n);
     }},
    {24, 24,
     [](const frame::Api &api, void *to, void *from, int n, Random &) {
         return api.mem32Fill(to, from, 3, n);
     }},
};

void map_piece(Random &random, Digest &digest) {
    constexpr int types[] = {MEM32_MAP_8, MEM32_MAP_16, MEM32_MAP_24, MEM32_MAP_48};
    const int type = types[random.below(4)], count = between(random, 1, most_pixels);
    Field from(random, std::size_t(type * count)), to(random, from.size()), table(random, 768);
    digest.add(std::uint32_t(api().mem32Map(to.data(), from.data(), table.data(), type, count)));
    to.into(digest);
    digest.count(std::uint64_t(count));
}

// A rectangle of an image into a block, and the block into another image.
void rectangle_piece(Random &random, Digest &digest) {
    const int pixel = between(random, 0, 6), width = between(random, 1, 90),
              height = between(random, 1, 40);
    const int x = between(random, 0, 40), y = between(random, 0, 9);
    const auto row_bytes = [pixel](int pixels) {
        return pixel == 0 ? (pixels + 7) / 8 : pixels * pixel;
    };
    const int stride = row_bytes(x + width) + between(random, 0, 5);
    Field from(random, std::size_t(stride * (y + height))), to(random, from.size());
    Field block(random, std::size_t(row_bytes(width) * height));
    api().mem32GetMem(from.data(), x, y, width, height, pixel, stride, block.data());
    api().mem32MergeMem(to.data(), x, y, block.data(), width, height, pixel, stride);
    block.into(digest);
    to.into(digest);
    digest.count(2 * std::uint64_t(width) * std::uint64_t(height));
}

std::size_t bytes_of(int bits, int count) {
    return (std::size_t(bits) * std::size_t(count) + 7) / 8;
}

void bit_factor_piece(Random &random, Digest &digest) {
    const int width = between(random, 1, 300), rows = between(random, 1, 12),
              across = between(random, 0, 9), down = between(random, 0, 5);
    Field from(random, bytes_of(1, width) * std::size_t(rows));
    const std::size_t row = bytes_of(1, width * std::max(across, 1));
    Field to(random, row * std::size_t(rows * std::max(down, 1)) + 1);
    if (random.below(2) == 0) {
        digest.add(std::uint32_t(api().mem32BitEnlargeExt(to.data(), from.data(), width, rows,
                                                          unsigned(across), unsigned(down))));
        digest.count(std::uint64_t(width) * std::uint64_t(std::max(across, 1) * rows));
    } else {
        digest.add(std::uint32_t(
            api().mem32BitReduceExt(to.data(), from.data(), width, rows, across, down)));
        digest.count(std::uint64_t(width) * std::uint64_t(rows));
    }
    to.into(digest);
}

void byte_factor_piece(Random &random, Digest &digest) {
    const int width = between(random, 1, 200), rows = between(random, 1, 12),
              across = between(random, 1, 9), down = between(random, 1, 5),
              pixel = between(random, 1, 4), swap = between(random, 0, 1);
    // Room for the end of the last group, which reducing reads whole.
    Field from(random, std::size_t(pixel * width * rows + 3 * across));
    if (random.below(2) == 0) {
        Field to(random, std::size_t(pixel * width * across) * std::size_t(rows * down));
        digest.add(std::uint32_t(
            api().mem32EnlargeExt(to.data(), from.data(), width, rows, across, down, pixel, swap)));
        to.into(digest);
        digest.count(std::uint64_t(width * across) * std::uint64_t(rows * down));
    } else {
        const int columns = (width + across - 1) / across, taken = (rows + down - 1) / down;
        Field to(random, std::size_t(pixel * columns * taken));
        digest.add(std::uint32_t(
            api().mem32ReduceExt(to.data(), from.data(), width, rows, across, down, pixel, swap)));
        to.into(digest);
        digest.count(std::uint64_t(columns) * std::uint64_t(taken));
    }
}

} // namespace

void rows_piece(Random &random, Digest &digest) {
    const std::size_t which = random.below(std::size(row_calls) + 2);
    if (which == std::size(row_calls))
        return map_piece(random, digest);
    if (which > std::size(row_calls))
        return rectangle_piece(random, digest);
    const RowCall &call = row_calls[which];
    const int count = between(random, 1, most_pixels);
    Field from(random, bytes_of(call.from_bits, count)), to(random, bytes_of(call.to_bits, count));
    digest.add(std::uint32_t(call.call(api(), to.data(), from.data(), count, random)));
    to.into(digest);
    digest.count(std::uint64_t(count));
}

void whole_factors_piece(Random &random, Digest &digest) {
    random.below(3) == 0 ? bit_factor_piece(random, digest) : byte_factor_piece(random, digest);
}

void separation_piece(Random &random, Digest &digest) {
    const int count = between(random, 1, most_pixels);
    Field colours(random, std::size_t(3 * count)), inks(random, std::size_t(4 * count));
    Field inks_out(random, inks.size()), colours_out(random, colours.size());
    for (int i = 0; i < count; ++i) {
        api().qfdClrRgbToCmyk(colours.data() + 3 * i, inks_out.data() + 4 * i);
        api().qfdClrCmykToRgb(inks.data() + 4 * i, colours_out.data() + 3 * i);
    }
    inks_out.into(digest);
    colours_out.into(digest);
    digest.count(2 * std::uint64_t(count));
}

} // namespace q32::test
