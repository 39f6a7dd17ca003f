// What merging does beside blending: choosing pixels by luminance, relief, subtraction by mask. As
// blend_kernels.h in all that concerns memory, counts and forms.
#pragma once

#include "library/process/cpu.h"

#include <cstddef>
#include <cstdint>

namespace q32::merge {

// Which pixels act. Luminance is (30 first + 59 second + 11 third) / 100, truncated, or the sample
// itself for pixels of one.
//   lighter           overlay's luminance above the base's
//   darker            below
//   lighter_by_sums   the sums above, before the division by 100
enum class Comparison : std::uint8_t { lighter, darker, lighter_by_sums };
inline constexpr std::size_t comparison_count = 3;

// selected: the pixel's weight where it acts, 0 elsewhere; may be weights.
using Selection = void(std::uint8_t *selected, const std::uint8_t *weights,
                       const std::uint8_t *base, const std::uint8_t *overlay, std::size_t pixels);

// Where the mask byte is not 0:
//   s > 127    min(b + (s - 128) x strength / 127, 255)
//   s <= 127   max(b - (127 - s) x strength / 127, 0)
// strength: 0 to 127.
using Relief = void(std::uint8_t *destination, const std::uint8_t *overlay,
                    const std::uint8_t *mask, std::uint8_t strength, std::size_t pixels);

// max(b - s x m / 255, 0)
using MaskedSubtraction = void(std::uint8_t *destination, const std::uint8_t *overlay,
                               const std::uint8_t *mask, std::size_t pixels);

// max(b - s x portion / 25500, 0)
inline constexpr std::uint32_t whole_portion = 25500;
using PortionSubtraction = void(std::uint8_t *destination, const std::uint8_t *overlay,
                                std::uint32_t portion, std::size_t samples);

// The two pixel sizes: one sample, three samples.
template <typename Kernel>
struct BySize {
    Kernel *grey;
    Kernel *colour;
};

struct EffectKernels {
    BySize<Selection> select[comparison_count]; // grey by sums is null
    BySize<Relief> relief;
    BySize<MaskedSubtraction> subtract_masked;
    PortionSubtraction *subtract_portion;
};

// One table for each instruction set. The scalar one is the reference and reads like the rules; the
// forms of the others hand runs that are too short for them to the next narrower one.
extern const EffectKernels scalar_effect_kernels, sse2_effect_kernels, sse41_effect_kernels,
    avx2_effect_kernels, avx512_effect_kernels;

// The fastest forms that need no more than this instruction set.
const EffectKernels &effect_kernels(InstructionSet level);

} // namespace q32::merge
