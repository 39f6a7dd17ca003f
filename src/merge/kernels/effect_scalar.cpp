// The scalar forms of the effects, each as its rule says it. Speed is the wide forms'.
#include "merge/kernels/effect_kernels.h"

#include <algorithm>

namespace q32::merge {
namespace {

using std::size_t;
using std::uint32_t;
using std::uint8_t;

// --- helpers -----------------------------------------------------------------------------------

constexpr uint8_t limit(int value) {
    return uint8_t(std::clamp(value, 0, 255));
}

// --- choosing by luminance ---------------------------------------------------------------------

// Hundred times the luminance.
template <size_t channels>
unsigned weighed_sum(const uint8_t *pixel) {
    if constexpr (channels == 1)
        return pixel[0] * 100u;
    else
        return 30u * pixel[0] + 59u * pixel[1] + 11u * pixel[2];
}

template <size_t channels>
unsigned luminance(const uint8_t *pixel) {
    return weighed_sum<channels>(pixel) / 100;
}

template <Comparison comparison, size_t channels>
bool acts(const uint8_t *base, const uint8_t *overlay) {
    switch (comparison) {
    case Comparison::lighter:
        return luminance<channels>(overlay) > luminance<channels>(base);
    case Comparison::darker:
        return luminance<channels>(overlay) < luminance<channels>(base);
    case Comparison::lighter_by_sums:
        break;
    }
    return weighed_sum<channels>(overlay) > weighed_sum<channels>(base);
}

template <Comparison comparison, size_t channels>
void select(uint8_t *selected, const uint8_t *weights, const uint8_t *base, const uint8_t *overlay,
            size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, base += channels, overlay += channels)
        selected[i] = acts<comparison, channels>(base, overlay) ? weights[i] : uint8_t(0);
}

// --- relief and subtractions -------------------------------------------------------------------

// Both middle greys, 127 and 128, leave the base alone.
uint8_t raise(int base, int overlay, int strength) {
    if (overlay > 127)
        return limit(base + (overlay - 128) * strength / 127);
    return limit(base - (127 - overlay) * strength / 127);
}

template <size_t channels>
void relief(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask, uint8_t strength,
            size_t pixels) {
    for (; pixels > 0; --pixels, destination += channels, overlay += channels) {
        const uint8_t m = *mask++;
        if (m == 0)
            continue;
        for (size_t k = 0; k < channels; ++k)
            destination[k] = raise(destination[k], overlay[k], strength);
    }
}

template <size_t channels>
void subtract_masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask,
                     size_t pixels) {
    for (; pixels > 0; --pixels, destination += channels, overlay += channels) {
        const uint8_t m = *mask++;
        for (size_t k = 0; k < channels; ++k)
            destination[k] = limit(destination[k] - overlay[k] * m / 255);
    }
}

void subtract_portion(uint8_t *destination, const uint8_t *overlay, uint32_t portion,
                      size_t samples) {
    for (size_t i = 0; i < samples; ++i)
        destination[i] = limit(destination[i] - int(overlay[i] * portion / whole_portion));
}

} // namespace

// --- the table ---------------------------------------------------------------------------------

constexpr EffectKernels scalar_effect_kernels = {
    .select = {{select<Comparison::lighter, 1>, select<Comparison::lighter, 3>},
               {select<Comparison::darker, 1>, select<Comparison::darker, 3>},
               {nullptr, select<Comparison::lighter_by_sums, 3>}},
    .relief = {relief<1>, relief<3>},
    .subtract_masked = {subtract_masked<1>, subtract_masked<3>},
    .subtract_portion = subtract_portion,
};

} // namespace q32::merge
