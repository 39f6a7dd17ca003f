// What merging makes of pixels, by the rules and nothing else: one pixel at a time, every division
// written out, no clipping arithmetic. Knows no memory: what is refused for its sizes and addresses
// is for the tests to say.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test {

using Bytes = std::vector<std::uint8_t>;

namespace model {

struct Call {
    int mode;
    int bytes;        // of a pixel
    int transparency; // as given
    bool mmx;         // the processor has it
};

// i32Merge. result holds what the result run held; false where the call is refused, with the result
// as it was.
bool merge_run(Bytes &result, const Call &call, const Bytes &base, const Bytes *mask,
               const Bytes &overlay);

// Whether the rectangle functions have the mode for such pixels. Where not, they change nothing.
bool rectangles_have(const Call &call);

// i32MergeEx: gives back the point that is reported, 0 when all three meet.
int merge_rectangles(Bytes &image, int width, int height, const Bytes *mask,
                     const RECT &mask_rectangle, const Bytes &overlay,
                     const RECT &overlay_rectangle, const Call &call);

// i32MergeRamToRam, likewise.
int merge_images(Bytes &image, int width, int height, int x, int y, const Bytes &overlay,
                 const Bytes *mask, int overlay_width, int overlay_height, const RECT &rectangle,
                 const Call &call);

// One pixel, in a mode that exists for it: it holds the base and receives the result. A null mask
// is none; first_mask is that of the run's first pixel. Samples go in order, so that an overlay in
// the same memory is read as they leave it.
void merge_pixel_of_run(std::uint8_t *pixel, const Call &call, const std::uint8_t *mask,
                        const std::uint8_t *first_mask, const std::uint8_t *overlay);
void merge_pixel_of_rectangle(std::uint8_t *pixel, const Call &call, const std::uint8_t *mask,
                              const std::uint8_t *overlay);

// HSV records, hue 32767 for grey.
struct Hsv {
    int hue, saturation, value;
    bool operator==(const Hsv &) const = default;
};
Hsv hsv_of(const std::uint8_t *rgb);
void rgb_of(const Hsv &hsv, std::uint8_t *rgb);

} // namespace model
} // namespace q32::test
