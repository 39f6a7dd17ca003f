// The calls of merging, pixel by pixel.
#include "tests/models/merging.h"

#include "tests/models/colours.h"

namespace q32::test::model {
namespace {

using Pixel = const std::uint8_t *;

// In percent.
int opacity(const Call &call) {
    return 100 - std::clamp(call.transparency, 0, 100);
}

bool accelerated(const Call &call) {
    return call.mmx && call.bytes == 3;
}

// --- pixels ----------------------------------------------------------------------------------

void blend_in_run(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel overlay) {
    const bool premultiplied = is_premultiplied(call.mode);
    const bool shifts = accelerated(call) && !premultiplied;
    const int p = opacity(call), a = p * 255 / 100;
    int w = a;
    if (mask != nullptr)
        w = p == 100 ? *mask : shifts ? scaled_weight(*mask, a) : percent_weight(*mask, p);
    // Premultiplied by nothing is normal.
    const int mode = premultiplied && mask == nullptr ? 1 : call.mode;
    for (int i = 0; i < call.bytes; ++i)
        pixel[i] = std::uint8_t(blend(shifts ? Rounding::shifted : Rounding::divided, mode,
                                      pixel[i], overlay[i], w, mask ? *mask : 255));
}

void blend_in_rectangle(std::uint8_t *pixel, const Call &call, int m, Pixel overlay) {
    const bool shifts = call.mode == 1 && accelerated(call);
    const int p = opacity(call);
    const int w = p == 100 ? m : shifts ? scaled_weight(m, p * 256 / 100) : percent_weight(m, p);
    for (int i = 0; i < call.bytes; ++i)
        pixel[i] = std::uint8_t(blend(shifts ? Rounding::shifted : Rounding::divided, call.mode,
                                      pixel[i], overlay[i], w, m));
}

// Fields of the normally merged pixel, and that is merged as in a run by the rectangle functions
// too.
void merge_colour(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel overlay) {
    Colour merged = colour_at(pixel);
    blend_in_run(merged.data(), {1, call.bytes, call.transparency, call.mmx}, mask, overlay);
    put(pixel, with_fields(call.mode, colour_at(pixel), merged));
}

void merge_by_luminance(std::uint8_t *pixel, const Call &call, int m, Pixel overlay, bool by_sums) {
    const auto samples = std::size_t(call.bytes);
    if (!overlay_acts(call.mode, by_sums, luminance_sum(pixel, samples),
                      luminance_sum(overlay, samples)))
        return;
    const int w = percent_weight(m, opacity(call));
    for (int i = 0; i < call.bytes; ++i)
        pixel[i] = std::uint8_t(weigh(Rounding::divided, overlay[i], pixel[i], w));
}

void merge_relief(std::uint8_t *pixel, const Call &call, int m, Pixel overlay) {
    const int t = 100 - opacity(call);
    const int strength = t == 100 ? 0 : 127 - 127 * t / 99;
    for (int i = 0; m != 0 && i < call.bytes; ++i)
        pixel[i] = std::uint8_t(relief(pixel[i], overlay[i], strength));
}

void subtract(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel first_mask, Pixel overlay) {
    const int p = opacity(call);
    for (int i = 0; i < call.bytes; ++i)
        pixel[i] = std::uint8_t(
            p == 100 && mask != nullptr
                ? subtract_masked(pixel[i], overlay[i], *mask)
                : subtract_portion(pixel[i], overlay[i], (mask ? *first_mask : 255) * p));
}

// --- in which order --------------------------------------------------------------------------

// What is read before anything of it is written.
enum class Unit {
    sample, // each sample reads what the one before it has written
    pixel,  // whole pixels, where the processor has MMX
    row,    // the modes by colour go through rows of memory of their own
};

Unit unit_of_run(const Call &call) {
    const bool whole_pixels = call.mode == 1 || (call.mode >= 9 && call.mode <= 13);
    return accelerated(call) && whole_pixels ? Unit::pixel : Unit::sample;
}

Unit unit_of_rectangle(const Call &call) {
    if (is_of_colour(call.mode))
        return Unit::row;
    return call.mode == 1 && accelerated(call) ? Unit::pixel : Unit::sample;
}

// merge(pixel, mask, overlay) merges one pixel onto the base, which the pixel holds; a null mask is
// none. What mask and overlay point to may be a copy.
template <class Merge>
void merge_pixel_in_order(std::uint8_t *pixel, Pixel mask, Pixel overlay, std::size_t bytes,
                          Unit unit, Merge merge) {
    const std::uint8_t weight = mask ? *mask : 0;
    std::uint8_t whole[8];
    if (unit == Unit::pixel)
        std::memcpy(whole, overlay, bytes);
    merge(pixel, mask ? &weight : nullptr, unit == Unit::pixel ? whole : overlay);
}

template <class Merge>
void merge_row_in_order(std::uint8_t *row, Pixel mask, Pixel overlay, std::size_t pixels,
                        std::size_t bytes, Unit unit, Merge merge) {
    std::vector<std::uint8_t> made;
    if (unit == Unit::row)
        made.assign(row, row + pixels * bytes);
    std::uint8_t *const to = unit == Unit::row ? made.data() : row;
    for (std::size_t x = 0; x < pixels; ++x)
        merge_pixel_in_order(to + x * bytes, mask ? mask + x : nullptr, overlay + x * bytes, bytes,
                             unit, merge);
    if (unit == Unit::row)
        std::memcpy(row, made.data(), made.size());
}

// Without a mask and transparency these modes are a copy of the overlay, as a whole.
bool copies_overlay(const Call &call, bool masked) {
    const bool takes_overlay = call.mode == 1 || (call.mode >= 9 && call.mode <= 15);
    return takes_overlay && !masked && opacity(call) == 100 && unit_of_run(call) == Unit::sample;
}

// --- rectangles ------------------------------------------------------------------------------

Box common(const Box &a, const Box &b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

bool is_empty(const Box &box) {
    return box.left >= box.right || box.top >= box.bottom;
}

// The pixels of an image that covers a box, from the first that is worked on.
template <class Byte>
RowsOf<Byte> rows_from(Byte *image, const Box &covers, const Box &work, std::int64_t bytes) {
    const std::int64_t stride = (covers.right - covers.left) * bytes;
    return {image + std::ptrdiff_t((work.top - covers.top) * stride +
                                   (work.left - covers.left) * bytes),
            std::ptrdiff_t(stride)};
}

// All boxes are in coordinates of the image; `other` is what is to meet it first.
int merge_boxes(std::uint8_t *image, const Box &image_box, const Box &other, Pixel mask,
                const Box &mask_box, Pixel overlay, const Box &overlay_box, const Call &call) {
    const Box met = common(image_box, other), work = common(met, overlay_box);
    if (is_empty(met))
        return 3;
    if (is_empty(work))
        return 4;
    if (rectangles_have(call))
        merge_rows(rows_from(image, image_box, work, call.bytes),
                   mask ? rows_from(mask, mask_box, work, 1) : RowsToRead{},
                   rows_from(overlay, overlay_box, work, call.bytes),
                   std::size_t(work.right - work.left), std::size_t(work.bottom - work.top), call);
    return 0;
}

} // namespace

bool runs_have(const Call &call, bool masked) {
    return call.mode >= 1 && call.mode <= 16 && (!is_of_colour(call.mode) || call.bytes == 3) &&
           (call.mode != 8 || masked);
}

bool rectangles_have(const Call &call) {
    return call.mode >= 1 && call.mode <= 15 && (!is_of_colour(call.mode) || call.bytes == 3) &&
           call.bytes >= 1;
}

void merge_pixel_of_run(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel first_mask,
                        Pixel overlay) {
    if (is_of_colour(call.mode))
        return merge_colour(pixel, call, mask, overlay);
    if (call.mode == 6 || call.mode == 7)
        return merge_by_luminance(pixel, call, mask ? *mask : 255, overlay, false);
    if (call.mode == 8)
        return merge_relief(pixel, call, *mask, overlay);
    if (call.mode == 16)
        return subtract(pixel, call, mask, first_mask, overlay);
    blend_in_run(pixel, call, mask, overlay);
}

void merge_pixel_of_rectangle(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel overlay) {
    const std::uint8_t full = 255;
    const int m = mask ? *mask : full;
    if (is_of_colour(call.mode)) // saturation and value know no missing mask
        return merge_colour(pixel, call, mask == nullptr && call.mode >= 4 ? &full : mask, overlay);
    if (call.mode == 6 || call.mode == 7)
        return merge_by_luminance(pixel, call, m, overlay, call.mode == 6 && accelerated(call));
    if (call.mode == 8)
        return merge_relief(pixel, call, m, overlay);
    blend_in_rectangle(pixel, call, m, overlay);
}

void merge_rows(const Rows &result, const RowsToRead &mask, const RowsToRead &overlay,
                std::size_t width, std::size_t height, const Call &call) {
    for (std::size_t y = 0; y < height; ++y)
        merge_row_in_order(result.row(y), mask.row(y), overlay.row(y), width,
                           std::size_t(call.bytes), unit_of_rectangle(call),
                           [&](std::uint8_t *pixel, Pixel weight, Pixel over) {
                               merge_pixel_of_rectangle(pixel, call, weight, over);
                           });
}

bool merge_run(std::uint8_t *result, const Call &call, Pixel base, Pixel mask, Pixel overlay,
               std::size_t pixels) {
    const auto bytes = std::size_t(call.bytes);
    if (opacity(call) == 0) {
        std::memmove(result, base, pixels * bytes);
        return true;
    }
    if (!runs_have(call, mask != nullptr))
        return false;

    // The normal merge, both conversions and the fields are done with for the whole run before its
    // first pixel comes back. Otherwise it is only an overlay that is the result which is read as
    // it was before the base comes there.
    std::vector<std::uint8_t> made, overlay_before;
    std::uint8_t *to = result;
    const bool of_colour = is_of_colour(call.mode);
    if (of_colour || overlay == result) {
        overlay_before.assign(overlay, overlay + pixels * bytes);
        overlay = overlay_before.data();
    }
    if (of_colour) {
        made.resize(pixels * bytes);
        to = made.data();
    }
    // The base comes as a whole. Relief has none.
    if (call.mode != 8)
        std::memmove(to, base, pixels * bytes);
    if (copies_overlay(call, mask != nullptr))
        std::memmove(to, overlay, pixels * bytes);
    else
        merge_row_in_order(to, mask, overlay, pixels, bytes, unit_of_run(call),
                           [&](std::uint8_t *pixel, Pixel weight, Pixel over) {
                               const std::uint8_t first = mask ? *mask : 0; // as it is by now
                               merge_pixel_of_run(pixel, call, weight, &first, over);
                           });
    if (of_colour)
        std::memcpy(result, made.data(), made.size());
    return true;
}

int merge_rectangles(std::uint8_t *image, int width, int height, Pixel mask, const Box &mask_box,
                     Pixel overlay, const Box &overlay_box, const Call &call) {
    return merge_boxes(image, {0, 0, width, height}, mask_box, mask, mask_box, overlay, overlay_box,
                       call);
}

int merge_images(std::uint8_t *image, int width, int height, int x, int y, Pixel overlay,
                 Pixel mask, int overlay_width, int overlay_height, const Box &box,
                 const Call &call) {
    const std::int64_t left = x - box.left, top = y - box.top; // of the overlay
    const Box whole{left, top, left + overlay_width, top + overlay_height};
    return merge_boxes(image, {0, 0, width, height}, {x, y, left + box.right, top + box.bottom},
                       mask, whole, overlay, whole, call);
}

} // namespace q32::test::model
