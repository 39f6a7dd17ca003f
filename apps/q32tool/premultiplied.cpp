// Both ways, row by row.
#include "premultiplied.h"

#include "apps/pictures/library_report.h"
#include "timings.h"

#include <vector>

namespace apps::q32tool {
namespace {

void move_row(const Image &image, int y, int mode, std::vector<uint8_t> &row) {
    ++timings().rows_moved;
    if (!buf32Line(image.handle(), y, mode, row.data()))
        throw library_failure(image.named(), "row " + std::to_string(y) + " cannot be moved");
}

// Writes change(colour, opacity) for each colour of a picture into a target, which may be its own.
template <typename Change>
void change_colours(const Image &source, const Image &opacity, const Image &target,
                    const Change &change) {
    const Timed timed(Part::library);
    const size_t width = static_cast<size_t>(source.width());
    const size_t channels = static_cast<size_t>(bits_of(source.format()) / 8);
    std::vector<uint8_t> colours(width * channels), opacities(width);
    const BufferLock source_lock = lock_buffer(source.handle(), BUF32_READ, source.named());
    const BufferLock opacity_lock = lock_buffer(opacity.handle(), BUF32_READ, source.named());
    const BufferLock target_lock = lock_buffer(target.handle(), BUF32_WRITE, source.named());
    for (int y = 0; y < source.height(); ++y) {
        move_row(source, y, BUF32_LINE_READ, colours);
        move_row(opacity, y, BUF32_LINE_READ, opacities);
        for (size_t i = 0; i < colours.size(); ++i)
            colours[i] = change(colours[i], opacities[i / channels]);
        move_row(target, y, BUF32_LINE_WRITE, colours);
    }
}

} // namespace

Image multiplied_colours(const Picture &picture) {
    const Image &colours = picture.image;
    Image result(colours.format(), colours.size(), colours.type(), colours.named());
    change_colours(colours, *picture.opacity, result, multiplied);
    return result;
}

void divide_colours(Picture &picture) {
    change_colours(picture.image, *picture.opacity, picture.image, divided);
}

} // namespace apps::q32tool
