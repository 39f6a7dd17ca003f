// Buffers that no file is read for.
#include "built_in_pictures.h"

#include "apps/pictures/library_report.h"

#include <q32base/bars.h>
#include <q32base/merge.h>
#include <q32base/resample.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace apps::q32view {
namespace {

Picture picture_of(int bits, Size size, const std::string &name) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, bits, size.width, size.height, BUF32_TILED, nullptr))
        throw library_failure(name, "no buffer for the picture");
    return {.buffer = Buffer(handle), .size = size, .path = {}, .name = name};
}

// make(y, row) makes each row of a picture.
void fill_rows(const Picture &picture, int row_bytes,
               const std::function<void(int, uint8_t *)> &make) {
    std::vector<uint8_t> row(static_cast<size_t>(row_bytes));
    for (int y = 0; y < picture.size.height; ++y) {
        make(y, row.data());
        if (!buf32MergeMem(picture.buffer.get(), 0, y, row.data(), picture.size.width, 1))
            throw library_failure(picture.name, "its pixels cannot be stored");
    }
}

void read_row(const Picture &picture, int y, uint8_t *row) {
    if (!buf32GetMem(picture.buffer.get(), 0, y, picture.size.width, 1, row))
        throw library_failure(picture.name, "its pixels cannot be read");
}

// From the middle of a side, in squares of its half.
double squared_distance(int position, int length) {
    const double distance = (2.0 * position + 1 - length) / length;
    return distance * distance;
}

} // namespace

Picture hue_field(Size size, int style) {
    const std::string name = "all hues";
    HBUF32 handle = 0;
    if (!q32CreateHSBBarImage(&handle, style, size.width, size.height))
        throw library_failure(name, "the picture cannot be made");
    return {.buffer = Buffer(handle), .size = size, .path = {}, .name = name};
}

Picture round_mask(Size size) {
    constexpr double steepness = 2 * 255; // half of the way to the edge is soft
    Picture mask = picture_of(8, size, "round mask");
    fill_rows(mask, size.width, [size](int y, uint8_t *row) {
        for (int x = 0; x < size.width; ++x) {
            const double left =
                1 - squared_distance(x, size.width) - squared_distance(y, size.height);
            row[x] = static_cast<uint8_t>(std::clamp(left * steepness, 0.0, 255.0));
        }
    });
    return mask;
}

Picture mask_of(const Picture &picture) {
    Picture mask = picture_of(8, picture.size, picture.name);
    std::vector<uint8_t> rgb(static_cast<size_t>(picture.size.width) * 3);
    fill_rows(mask, picture.size.width, [&](int y, uint8_t *row) {
        read_row(picture, y, rgb.data());
        i32ColorspaceConvert(row, rgb.data(), picture.size.width, I32_RGB_TO_GREY);
    });
    return mask;
}

Picture greys_of(const Picture &mask) {
    Picture picture = picture_of(24, mask.size, mask.name);
    const size_t width = static_cast<size_t>(mask.size.width);
    std::vector<uint8_t> greys(width);
    fill_rows(picture, mask.size.width * 3, [&](int y, uint8_t *row) {
        read_row(mask, y, greys.data());
        for (size_t x = 0; x < width; ++x)
            std::fill_n(row + x * 3, 3, greys[x]);
    });
    return picture;
}

Picture stretched(const Picture &picture, Size size) {
    const SIZE wanted = {size.width, size.height};
    HBUF32 handle = 0;
    if (!q32BufferResampleEx(&wanted, picture.buffer.get(), &handle, nullptr, 0, RESAMPLE_BICUBIC))
        throw library_failure(picture.name, "the picture cannot be scaled");
    return {.buffer = Buffer(handle), .size = size, .path = {}, .name = picture.name};
}

} // namespace apps::q32view
