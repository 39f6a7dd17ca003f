// Rows on their way from a file into buffers.
#include "picture.h"

#include "apps/pictures/edition.h"
#include "apps/pictures/files.h"
#include "apps/pictures/picture_reader.h"
#include "apps/pictures/turning.h"

#include <q32base/errors.h>
#include <q32base/rows.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace apps::q32view {
namespace {

constexpr size_t band_bytes = 1 << 20;

Buffer buffer_of(Size size, int bits, const std::string &named) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, bits, size.width, size.height, BUF32_TILED, nullptr))
        throw library_failure(named, "no buffer for the picture",
                              last_report().message == Q32_MSG_NO_MEMORY ? room_remedy : "");
    return Buffer(handle);
}

// Rows into a buffer of 8 or 24 bits.
void store(HBUF32 buffer, int first, int count, const std::vector<uint8_t> &rows,
           const std::string &named) {
    int width = 0, pixel_bytes = 0;
    buf32GetWHU(buffer, &width, nullptr, &pixel_bytes);
    if (!buf32MergeMem(buffer, 0, first, rows.data(), width, count))
        throw library_failure(named, "row " + std::to_string(first) + " cannot be stored");
}

uint8_t multiplied(int value, int opacity) {
    return static_cast<uint8_t>((value * opacity + 127) / 255);
}

// Blue, green, red and opacity, as files have them. Returns whether all of it is opaque.
bool separate(const std::vector<uint8_t> &bgra, std::vector<uint8_t> &rgb,
              std::vector<uint8_t> &opacity) {
    bool opaque = true;
    for (size_t i = 0; i < opacity.size(); ++i) {
        const uint8_t *const from = bgra.data() + 4 * i;
        uint8_t *const to = rgb.data() + 3 * i;
        opacity[i] = from[3];
        opaque = opaque && from[3] == 255;
        for (size_t channel = 0; channel < 3; ++channel)
            to[channel] = multiplied(from[2 - channel], from[3]);
    }
    return opaque;
}

// Hands over the bands that make up a picture of so many rows.
template <typename Use>
void for_each_band(Size size, LongWork &work, const Use &use) {
    const int rows = std::max(static_cast<int>(band_bytes / 3) / size.width, 1);
    for (int first = 0; first < size.height; first += rows) {
        const int count = std::min(rows, size.height - first);
        use(first, count, static_cast<size_t>(size.width) * static_cast<size_t>(count));
        work.go_on(first + count, size.height);
    }
}

void read_opaque(PictureReader &reader, Picture &picture, LongWork &work) {
    std::vector<uint8_t> band;
    for_each_band(picture.size, work, [&](int first, int count, size_t pixels) {
        band.resize(pixels * 3);
        reader.read_rows(RowFormat::bgr, first, count, band.data());
        RGBToBGR(band.data(), band.data(), static_cast<int>(pixels));
        store(picture.buffer.get(), first, count, band, picture.name);
    });
}

void read_transparent(PictureReader &reader, Picture &picture, LongWork &work) {
    picture.opacity = buffer_of(picture.size, 8, picture.name);
    std::vector<uint8_t> bgra, rgb, opacity;
    bool opaque = true;
    for_each_band(picture.size, work, [&](int first, int count, size_t pixels) {
        bgra.resize(pixels * 4);
        rgb.resize(pixels * 3);
        opacity.resize(pixels);
        reader.read_rows(RowFormat::bgra, first, count, bgra.data());
        opaque = separate(bgra, rgb, opacity) && opaque;
        store(picture.buffer.get(), first, count, rgb, picture.name);
        store(picture.opacity.get(), first, count, opacity, picture.name);
    });
    if (opaque)
        picture.opacity = Buffer();
}

} // namespace

Picture load_picture(const std::string &path, StatusBar &status, Transparency transparency) {
    const std::string name = path.substr(file_name_begin(path));
    LongWork work(status, "reading " + name);
    PictureReader reader(path);
    Picture picture = {buffer_of(reader.size(), 24, name),
                       reader.size(),
                       path,
                       name,
                       reader.format(),
                       reader.bits()};
    const bool keep = transparency == Transparency::kept && reader.has_transparency();
    (keep ? read_transparent : read_opaque)(reader, picture, work);
    if (const int orientation = reader.facts().orientation; orientation != 1)
        turn(picture, orientation);
    return picture;
}

void turn(Picture &picture, int orientation) {
    Buffer buffer = turned(picture.buffer.get(), orientation, BUF32_TILED, picture.name);
    if (picture.opacity)
        picture.opacity = turned(picture.opacity.get(), orientation, BUF32_TILED, picture.name);
    picture.buffer = std::move(buffer);
    if (exchanges_sides(orientation))
        picture.size = {picture.size.height, picture.size.width};
}

} // namespace apps::q32view
