// Blending one sample at a time: the reference of every other form.
#include "merge/kernels/blend_table.h"

namespace q32::merge {
namespace {

using std::size_t;
using std::uint8_t;

struct ScalarBlends {
    template <class R, Rounding rounding, size_t samples>
    static void masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights,
                       const uint8_t *mask, size_t pixels) {
        for (size_t i = 0; i < pixels; ++i) {
            const int weight = weights[i];
            if constexpr (Premultiplied<R>) {
                const int m = mask[i];
                for (size_t k = samples * i; m != 0 && k < samples * (i + 1); ++k) {
                    const int r = R::unpremultiplied(overlay[k], m);
                    destination[k] = uint8_t(weighed<rounding>(r, destination[k], weight));
                }
            } else {
                for (size_t k = samples * i; k < samples * (i + 1); ++k) {
                    const int r = R::result(overlay[k], destination[k]);
                    destination[k] = uint8_t(weighed<rounding>(r, destination[k], weight));
                }
            }
        }
    }

    template <class R, Rounding rounding>
    static void uniform(uint8_t *destination, const uint8_t *overlay, uint8_t weight,
                        size_t samples) {
        for (size_t k = 0; k < samples; ++k) {
            const int r = R::result(overlay[k], destination[k]);
            destination[k] = uint8_t(weighed<rounding>(r, destination[k], weight));
        }
    }

    static void percent_weights(uint8_t *weights, const uint8_t *mask, int percent, size_t pixels) {
        for (size_t i = 0; i < pixels; ++i)
            weights[i] = uint8_t(mask[i] * percent / 100);
    }

    static void scaled_weights(uint8_t *weights, const uint8_t *mask, uint8_t scale,
                               size_t pixels) {
        for (size_t i = 0; i < pixels; ++i)
            weights[i] = uint8_t(mask[i] * scale >> 8);
    }
};

} // namespace

constinit const BlendKernels scalar_blend_kernels = blend_table<ScalarBlends>();

} // namespace q32::merge
