// Colour spaces as plain functions over pointers and counts: the six conversions, and the merge
// modes that take fields of one HSV pixel over into another. As blend_kernels.h in all that
// concerns memory, counts and forms.
#pragma once

#include "library/process/cpu.h"

#include <cstddef>
#include <cstdint>

namespace q32::merge {

inline constexpr std::int32_t no_hue = 32767;   // hue of grey pixels
inline constexpr std::size_t record_bytes = 12; // of an HSV or HLS pixel: three 32-bit fields

// So many pixels in one run make records that wide forms write past the caches.
inline constexpr std::size_t fewest_pixels_past_caches = fewest_past_caches / record_bytes;

// Destination and source may begin at the same address where pixels do not grow. Records lie at any
// alignment. Fields out of range give some pixel, the same in every form.
using ColourConversion = void(std::uint8_t *destination, const std::uint8_t *source,
                              std::size_t pixels);

// In the order of the conversions' numbers.
enum class ColourChange : std::uint8_t {
    rgb_to_grey,
    grey_to_rgb,
    rgb_to_hsv,
    hsv_to_rgb,
    rgb_to_hls,
    hls_to_rgb,
};
inline constexpr std::size_t colour_change_count = 6;

// In the order of the merge modes 2 to 5.
enum class HsvFields : std::uint8_t { hue_and_saturation, hue, saturation, value };
inline constexpr std::size_t hsv_fields_count = 4;

// RGB pixels throughout. destination: the base with these HSV fields of other; may be either.
using FieldTransfer = void(std::uint8_t *destination, const std::uint8_t *base,
                           const std::uint8_t *other, std::size_t pixels);

struct ColourKernels {
    ColourConversion *convert[colour_change_count];
    FieldTransfer *transfer[hsv_fields_count];
};

// One table for each instruction set. The scalar one is the reference and reads like the rules; the
// forms of the others hand runs that are too short for them to the next narrower one.
extern const ColourKernels scalar_colour_kernels, sse41_colour_kernels, avx2_colour_kernels,
    avx512_colour_kernels;

// The fastest forms that need no more than this instruction set.
const ColourKernels &colour_kernels(InstructionSet level);

} // namespace q32::merge
