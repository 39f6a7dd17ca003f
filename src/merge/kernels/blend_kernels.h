// Blending as plain functions over pointers and counts: a rule says what an overlay sample makes of
// a base sample, a weight how much of that replaces the base. One table for each instruction set.
// Checks no argument, reports nothing; that is the drivers' part.
//
// Every form gives the bytes of its scalar form, for all inputs, lengths and alignments. It reads
// and writes no byte outside its runs. The destination holds the base; it may be the overlay and,
// where pixels have one sample, the mask, from the same address on. Save in the premultiplied
// rules, these may also begin at a higher address: nothing is read after it has been written. The
// destination overlaps nothing in any other way, but for a single pixel that begins inside its own
// overlay, and goes sample by sample. A count of 0 does nothing.
#pragma once

#include "library/process/cpu.h"

#include <cstddef>
#include <cstdint>

namespace q32::merge {

// What an overlay sample s makes of a base sample b: kernels/rules.h.
enum class Rule : std::uint8_t {
    normal,
    difference,
    add,
    subtract,
    multiply,
    screen,
    premultiplied_black,
    premultiplied_white,
};
inline constexpr std::size_t rule_count = 8;

// How a result r is weighed into a base sample b, X being r x w + b x (255 - w):
//   divided   X / 255, truncated
//   shifted   (X >> 8) + (X != 0), and the quotients of multiply and screen are truncated
enum class Rounding : std::uint8_t { divided, shifted };
inline constexpr std::size_t rounding_count = 2;

// weights and mask hold one byte per pixel and may be the same. The mask is what the premultiplied
// rules divide by; the others do not read it. Weight 0 keeps the base, and so does mask 0 in the
// premultiplied rules, whatever the weight.
using MaskedBlend = void(std::uint8_t *destination, const std::uint8_t *overlay,
                         const std::uint8_t *weights, const std::uint8_t *mask, std::size_t pixels);

// One weight for all.
using UniformBlend = void(std::uint8_t *destination, const std::uint8_t *overlay,
                          std::uint8_t weight, std::size_t samples);

// Runs of one length below each other, each so many bytes behind the one before. No row overlaps
// another.
struct MaskedRows {
    std::uint8_t *destination;
    const std::uint8_t *overlay, *weights;
    std::size_t destination_stride, overlay_stride, weights_stride;
    std::size_t pixels, rows;
};
using MaskedRowsBlend = void(const MaskedRows &rows);

struct Blend {
    MaskedBlend *grey;     // pixels of one sample; null when shifted
    MaskedBlend *colour;   // pixels of three
    UniformBlend *uniform; // null for the premultiplied rules: without a mask they are normal

    // Rows of colour; null where a call for each takes no longer.
    MaskedRowsBlend *colour_rows;
};

// Weights of 255 x percent / 100 and the like, from mask bytes. They may replace the mask.
using PercentWeights = void(std::uint8_t *weights, const std::uint8_t *mask, int percent,
                            std::size_t pixels); // m x percent / 100, percent 0 to 100
using ScaledWeights = void(std::uint8_t *weights, const std::uint8_t *mask, std::uint8_t scale,
                           std::size_t pixels); // (m x scale) >> 8

struct BlendKernels {
    Blend blend[rounding_count][rule_count]; // shifted has no premultiplied rules: null
    PercentWeights *percent_weights;
    ScaledWeights *scaled_weights;

    const Blend &operator()(Rounding rounding, Rule rule) const {
        return blend[std::size_t(rounding)][std::size_t(rule)];
    }
};

// One table for each instruction set. The scalar one is the reference and reads like the rules; the
// forms of the others hand runs that are too short for them to the next narrower one.
extern const BlendKernels scalar_blend_kernels, sse2_blend_kernels, sse41_blend_kernels,
    avx2_blend_kernels, avx512_blend_kernels;

// The fastest forms that need no more than this instruction set.
const BlendKernels &blend_kernels(InstructionSet level);

} // namespace q32::merge
