// Pieces of work that merge, filter and convert colours in plain memory.
#include "tests/workload/work.h"

#include <cstring>

namespace q32::test {
namespace {

constexpr int most_pixels = 4096;

int some_transparency(Random &random) {
    return random.below(3) == 0 ? 0 : between(random, 0, 100);
}

int some_pixel_bytes(Random &random, int mode) {
    return (mode >= MERGE_COLOR && mode <= MERGE_VALUE) || random.below(3) != 0 ? 3 : 1;
}

void run_piece(Random &random, Digest &digest) {
    const int mode = between(random, MERGE_NORMAL, MERGE_MASK_SUBTRACT);
    const int pixel = some_pixel_bytes(random, mode), count = between(random, 1, most_pixels);
    const auto bytes = std::size_t(pixel * count);
    Field result(random, bytes), base(random, bytes), overlay(random, bytes);
    Field mask(random, std::size_t(count));
    const bool masked = mode == MERGE_RELIEF || random.below(2) == 0;
    digest.add(std::uint32_t(api().i32Merge(result.data(), base.data(),
                                            masked ? mask.data() : nullptr, overlay.data(), pixel,
                                            count, unsigned(mode), some_transparency(random))));
    result.into(digest);
    digest.count(std::uint64_t(count));
}

RECT some_rectangle(Random &random, int width, int height) {
    const int left = between(random, -20, 20), top = between(random, -9, 9);
    return {left, top, left + width, top + height};
}

void rectangles_piece(Random &random, Digest &digest) {
    const int mode = between(random, MERGE_NORMAL, MERGE_PREMUL_WHITE);
    const int pixel = some_pixel_bytes(random, mode);
    const int width = between(random, 1, 120), height = between(random, 1, 40),
              overlay_width = between(random, 1, 120), overlay_height = between(random, 1, 40);
    Field image(random, std::size_t(pixel * width * height));
    Field overlay(random, std::size_t(pixel * overlay_width * overlay_height));
    Field mask(random, std::size_t(overlay_width * overlay_height));
    const void *const masked = random.below(2) == 0 ? nullptr : mask.data();
    const RECT place = some_rectangle(random, overlay_width, overlay_height);
    const int transparency = some_transparency(random);
    const int done =
        random.below(2) == 0
            ? api().i32MergeEx(image.data(), width, height, masked, &place, overlay.data(), &place,
                               pixel, mode, transparency)
            : api().i32MergeRamToRam(image.data(), width, height, pixel, place.left, place.top,
                                     overlay.data(), masked, overlay_width, overlay_height,
                                     {0, 0, overlay_width, overlay_height}, mode, transparency);
    digest.add(std::uint32_t(done));
    image.into(digest);
    digest.count(std::uint64_t(width * height));
}

} // namespace

void merge_piece(Random &random, Digest &digest) {
    random.below(2) == 0 ? run_piece(random, digest) : rectangles_piece(random, digest);
}

void colours_piece(Random &random, Digest &digest) {
    constexpr int from_bytes[] = {3, 1, 3, 12, 3, 12}, to_bytes[] = {1, 3, 12, 3, 12, 3};
    const unsigned conversion = unsigned(random.below(6));
    const int count = between(random, 1, most_pixels);
    Field from(random, std::size_t(from_bytes[conversion] * count)),
        to(random, std::size_t(to_bytes[conversion] * count));
    if (from_bytes[conversion] == 12) // fields within what the records may hold
        for (int i = 0; i < count; ++i) {
            const std::int32_t record[] = {random.below(16) == 0 ? I32_NO_HUE
                                                                 : between(random, 0, 359),
                                           random.byte(), random.byte()};
            std::memcpy(from.data() + 12 * i, record, sizeof record);
        }
    digest.add(
        std::uint32_t(api().i32ColorspaceConvert(to.data(), from.data(), count, conversion)));
    to.into(digest);
    digest.count(std::uint64_t(count));
}

void filter_piece(Random &random, Digest &digest) {
    constexpr int types[] = {I32_FILTER_GREY, I32_FILTER_NONE, I32_FILTER_RGB, I32_FILTER_RGBX};
    const int type = types[random.below(4)], count = between(random, 1, most_pixels);
    const std::size_t ranges = random.below(5);
    std::vector<std::uint8_t> filter(4 + 20 * (ranges + 1));
    const auto number = std::uint32_t(ranges);
    std::memcpy(filter.data(), &number, sizeof number);
    for (std::size_t i = 0; i < ranges; ++i) {
        I32COLORRANGE range;
        for (int k = 0; k < 4; ++k) {
            range.colour[k] = random.byte();
            range.tolerance[k] = between(random, -3, 140);
        }
        std::memcpy(filter.data() + 4 + 20 * i, &range, sizeof range);
    }
    Field source(random, std::size_t(type * count)), mask(random, std::size_t(count)),
        out(random, std::size_t(count));
    const void *const masked = random.below(2) == 0 ? nullptr : mask.data();
    digest.add(std::uint32_t(api().i32ColorFilter(
        out.data(), masked, source.data(), type, unsigned(count),
        reinterpret_cast<const I32COLORFILTER *>(filter.data()), between(random, 0, 1))));
    out.into(digest);
    digest.count(std::uint64_t(count));
}

} // namespace q32::test
