// Merging within one block of memory.
#include "tests/merge/overlap_model.h"

#include <algorithm>

namespace q32::test::model {
namespace {

Bytes copy_of(const Bytes &memory, std::size_t at, std::size_t count) {
    return Bytes(&memory[at], &memory[at] + count);
}

Unit unit_of_run(const Call &call) {
    const bool whole_pixels = call.mode == 1 || (call.mode >= 9 && call.mode <= 13);
    return call.mmx && call.bytes == 3 && whole_pixels ? Unit::pixel : Unit::sample;
}

// Without a mask and transparency these modes are a copy of the overlay, as a whole.
bool copies_overlay(const Call &call, const RunPlaces &at) {
    const bool takes_overlay = call.mode == 1 || (call.mode >= 9 && call.mode <= 15);
    return takes_overlay && !at.mask && call.transparency <= 0 && unit_of_run(call) == Unit::sample;
}

// The normal merge, both conversions and the fields are done with for the whole run before its
// first pixel comes back.
void merge_run_by_colour(Bytes &memory, const Call &call, const RunPlaces &at, std::size_t pixels) {
    const std::size_t size = pixels * std::size_t(call.bytes);
    Bytes made(size), mask;
    if (at.mask)
        mask = copy_of(memory, *at.mask, pixels);
    merge_run(made, call, copy_of(memory, at.base, size), at.mask ? &mask : nullptr,
              copy_of(memory, at.overlay, size));
    std::copy(made.begin(), made.end(), &memory[at.result]);
}

// --- rectangles ------------------------------------------------------------------------------

RECT common(const RECT &a, const RECT &b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

// The pixels of an image that covers a rectangle, from (x, y) on.
Rows rows_from(Bytes &memory, std::size_t at, const RECT &covers, LONG x, LONG y,
               std::size_t bytes) {
    const auto stride = std::size_t(covers.right - covers.left) * bytes;
    const auto offset = std::size_t(y - covers.top) * stride + std::size_t(x - covers.left) * bytes;
    return {&memory[at + offset], std::ptrdiff_t(stride)};
}

// Merges the pixels of `work`; all rectangles are in coordinates of the image.
void merge_work(Bytes &memory, const Call &call, const ImagePlaces &at, const RECT &work,
                const RECT &image, const RECT &mask, const RECT &overlay) {
    if (work.left >= work.right || work.top >= work.bottom || !rectangles_have(call))
        return;
    const auto bytes = std::size_t(call.bytes);
    merge_rows_in_order(
        rows_from(memory, at.image, image, work.left, work.top, bytes),
        at.mask ? rows_from(memory, *at.mask, mask, work.left, work.top, 1) : Rows{},
        rows_from(memory, at.overlay, overlay, work.left, work.top, bytes),
        std::size_t(work.right - work.left), std::size_t(work.bottom - work.top), bytes,
        unit_of_rectangle(call.mode, call.bytes, call.mmx),
        [&call](std::uint8_t *pixel, const std::uint8_t *weight, const std::uint8_t *over) {
            merge_pixel_of_rectangle(pixel, call, weight, over);
        });
}

} // namespace

void merge_run_within(Bytes &memory, const Call &call, const RunPlaces &at, std::size_t pixels) {
    const auto bytes = std::size_t(call.bytes);
    std::uint8_t *const result = &memory[at.result];
    if (call.transparency < 100 && call.mode >= 2 && call.mode <= 5)
        return merge_run_by_colour(memory, call, at, pixels);

    // An overlay that is the result is read as it was before the base comes there.
    Bytes before;
    if (at.overlay == at.result)
        before = copy_of(memory, at.overlay, pixels * bytes);
    const std::uint8_t *const overlay = before.empty() ? &memory[at.overlay] : before.data();

    // The base comes as a whole. Relief has none, but where there is nothing to merge.
    if (call.mode != 8 || call.transparency >= 100)
        std::memmove(result, &memory[at.base], pixels * bytes);
    if (call.transparency >= 100)
        return;
    if (copies_overlay(call, at)) {
        std::memmove(result, overlay, pixels * bytes);
        return;
    }

    const std::uint8_t *const mask = at.mask ? &memory[*at.mask] : nullptr;
    merge_row_in_order(
        result, mask, overlay, pixels, bytes, unit_of_run(call),
        [&](std::uint8_t *pixel, const std::uint8_t *weight, const std::uint8_t *over) {
            const std::uint8_t first = mask ? *mask : 0;
            merge_pixel_of_run(pixel, call, weight, mask ? &first : nullptr, over);
        });
}

void merge_rectangles_within(Bytes &memory, const Call &call, const ImagePlaces &at, int width,
                             int height, const RECT &mask_rectangle,
                             const RECT &overlay_rectangle) {
    const RECT image{0, 0, width, height};
    merge_work(memory, call, at, common(common(image, mask_rectangle), overlay_rectangle), image,
               mask_rectangle, overlay_rectangle);
}

void merge_images_within(Bytes &memory, const Call &call, const ImagePlaces &at, int width,
                         int height, int x, int y, int overlay_width, int overlay_height,
                         const RECT &rectangle) {
    const RECT image{0, 0, width, height};
    const RECT placed{x, y, x + rectangle.right - rectangle.left,
                      y + rectangle.bottom - rectangle.top};
    const LONG left = x - rectangle.left, top = y - rectangle.top;
    const RECT overlay{left, top, left + overlay_width, top + overlay_height};
    merge_work(memory, call, at, common(common(image, placed), overlay), image, overlay, overlay);
}

} // namespace q32::test::model
