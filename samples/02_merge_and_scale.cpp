// Load, merge through a mask, scale, save: darkens a picture towards its edges and fits it into 320
// columns.
//
//     02_merge_and_scale [OUTPUT.png [PICTURE]]
//
// What to see: the middle is as it was, where the mask is 0. From there the mask rises to 255, and
// with it the share of what the merge mode gives: here the product of picture and overlay.
#include "common/picture.h"
#include "common/report.h"

#include <q32base.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

// Distances from the middle, squared: 1000 where the ellipse touches an edge.
int distance(int x, int y, q32::BufferSize size) {
    const int across = (2 * x - size.width) * 1000 / size.width;
    const int down = (2 * y - size.height) * 1000 / size.height;
    return (across * across + down * down) / 1000;
}

q32::Buffer make_mask(q32::BufferSize size) {
    q32::Buffer mask = q32::Buffer::allocate(8, size.width, size.height);
    const q32::Lock lock = mask.lock(BUF32_WRITE);
    std::vector<std::uint8_t> row(std::size_t(size.width));
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x)
            row[std::size_t(x)] =
                std::uint8_t(std::clamp((distance(x, y, size) - 400) / 4, 0, 255));
        lock.write_row(y, row);
    }
    return mask;
}

void darken_edges(const q32::Buffer &picture) {
    const std::uint8_t dusk[] = {40, 40, 90};
    const q32::BufferSize size = picture.size();
    // One colour: an overlay as large as the picture that takes no memory.
    const auto overlay = q32::Buffer::of_one_colour(24, size.width, size.height, dusk);
    picture.merge(0, 0, make_mask(size), overlay, {0, 0, size.width, size.height}, MERGE_MULTIPLY);
}

q32::Buffer fit(const q32::Buffer &picture, int width) {
    const q32::BufferSize size = picture.size();
    const int height = std::clamp(size.height * width / size.width, 1, Q32_MAX_SIDE);
    return picture.resample(width, height, RESAMPLE_BICUBIC);
}

} // namespace

int main(int argc, char **argv) try {
    HBUF32 loaded = 0;
    if (!picture_load(&loaded, argc > 2 ? argv[2] : nullptr))
        return end_program("02_merge_and_scale", false);
    const q32::Buffer picture(loaded); // frees it
    darken_edges(picture);
    const q32::Buffer fitted = fit(picture, 320);
    const bool saved = picture_save(fitted.get(), argc > 1 ? argv[1] : "02_merge_and_scale.png");
    return end_program("02_merge_and_scale", saved);
} catch (const q32::Error &error) {
    std::fprintf(stderr, "02_merge_and_scale: %s\n", error.what());
    return 1;
}
