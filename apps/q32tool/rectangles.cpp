// Calls of the library's rectangle functions, counted and timed, with words for their failures.
#include "rectangles.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "timings.h"

#include <q32base/buffers.h>

#include <algorithm>
#include <vector>

namespace apps::q32tool {
namespace {

constexpr char the_rectangle[] = "the rectangle";

std::string size_of(const Canvas &canvas) {
    return "the picture, which is " + size_in_words(canvas.size);
}

// Calls of the library that move a rectangle, or fill a whole buffer.
template <typename Function>
void move_rectangle(const std::string &named, const Function &function) {
    const Timed timed(Part::library);
    ++timings().rectangles;
    if (!function())
        throw library_failure(named, "a rectangle of pixels cannot be moved");
}

template <typename Function>
void fill_whole(const std::string &named, const Function &function) {
    const Timed timed(Part::library);
    ++timings().fills;
    if (!function())
        throw library_failure(named, "the picture cannot be filled");
}

// Rectangles are cut to what is seen before they are handed over: the library would stage the rest,
// too.
void merge(const Image &source, const Area &area, const Canvas &canvas, const Point &at) {
    move_rectangle(canvas.named, [&] {
        return buf32MergeBuf(source.handle(), area.left, area.top, area.width(), area.height(),
                             canvas.buffer, at.x, at.y);
    });
}

// Lays an area of an image over the same area of a canvas, which is as large as the image.
void merge_same(const Image &source, const Area &area, const Canvas &canvas) {
    const Area part = part_on(canvas, area.corner(), area.size(), the_rectangle);
    merge(source, part, canvas, part.corner());
}

// use(tile): with what of a pattern is seen on a canvas. Of a larger one that is not all.
template <typename Use>
auto with_tile(const Image &pattern, const Canvas &canvas, const Use &use) {
    const Size size = {std::min(pattern.width(), canvas.size.width),
                       std::min(pattern.height(), canvas.size.height)};
    std::vector<uint8_t> pixels(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
                                static_cast<size_t>(bits_of(pattern.format()) / 8));
    get_pixels(pattern, area_of({}, size), pixels.data());
    return use(BUF32PATTERN{static_cast<uint16_t>(size.width), static_cast<uint16_t>(size.height),
                            pixels.data()});
}

} // namespace

Canvas canvas_of(const Image &image) {
    return {image.handle(), image.size(), image.named()};
}

Area part_on(const Canvas &canvas, Point at, Size size, const std::string &what) {
    const Area part = intersect(area_of(at, size), canvas.area());
    if (part.is_empty())
        throw Failure(canvas.named,
                      what + " " + in_words(at, size) + " lies outside " + size_of(canvas),
                      "name another --at");
    return part;
}

void check_inside(const Canvas &canvas, const Area &area, const std::string &remedy) {
    if (part_on(canvas, area.corner(), area.size(), the_rectangle) != area)
        throw Failure(canvas.named,
                      the_rectangle + (" " + in_words(area.corner(), area.size())) + " leaves " +
                          size_of(canvas),
                      remedy);
}

void get_pixels(const Canvas &canvas, const Area &area, void *memory) {
    move_rectangle(canvas.named, [&] {
        return buf32GetMem(canvas.buffer, area.left, area.top, area.width(), area.height(), memory);
    });
}

void get_pixels(const Image &image, const Area &area, void *memory) {
    get_pixels(canvas_of(image), area, memory);
}

void get_pixels(const Image &image, const Area &area, void *memory, const void *background) {
    move_rectangle(image.named(), [&] {
        return buf32GetMemWithBC(image.handle(), area.left, area.top, area.width(), area.height(),
                                 memory, background);
    });
}

void put_pixels(const Canvas &canvas, const Area &area, const void *memory) {
    move_rectangle(canvas.named, [&] {
        return buf32MergeMem(canvas.buffer, area.left, area.top, memory, area.width(),
                             area.height());
    });
}

void put_pixels(const Image &image, const Area &area, const void *memory) {
    put_pixels(canvas_of(image), area, memory);
}

void lay_image(const Canvas &canvas, const Image &overlay, const Point &at) {
    const Area part = part_on(canvas, at, overlay.size(), "the overlay of");
    merge(overlay, moved(part, Point{} - at), canvas, part.corner());
}

void lay_colour(const Canvas &canvas, const Colour &colour, const std::optional<Area> &area) {
    if (!area) {
        fill_whole(canvas.named, [&] { return buf32FillOneColor(canvas.buffer, &colour); });
        return;
    }
    const Image source(PixelFormat::rgb, canvas.size, BUF32_ONE_COLOUR, canvas.named, &colour);
    merge_same(source, *area, canvas);
}

Image repeated(const Image &pattern, const Canvas &canvas) {
    return with_tile(pattern, canvas, [&](const BUF32PATTERN &tile) {
        return Image(pattern.format(), canvas.size, BUF32_PATTERN, canvas.named, &tile);
    });
}

void lay_pattern(const Canvas &canvas, const Image &pattern, const std::optional<Area> &area) {
    if (area) {
        merge_same(repeated(pattern, canvas), *area, canvas);
        return;
    }
    with_tile(pattern, canvas, [&](const BUF32PATTERN &tile) {
        fill_whole(canvas.named, [&] { return buf32FillPattern(canvas.buffer, &tile); });
    });
}

} // namespace apps::q32tool
