// Both directions of the curve from its formula.
#include "light.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace apps {
namespace {

constexpr double most_light = 65535;

// stored: 0 to 255, and between.
double light_of(double stored) {
    const double value = stored / 255;
    return most_light * (value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
}

LightCurve make_curve() {
    LightCurve curve = {};
    auto begin = curve.stored.begin();
    for (int stored = 0; stored < 256; ++stored) {
        curve.light[static_cast<size_t>(stored)] =
            static_cast<uint16_t>(std::lround(light_of(stored)));
        // From half the way to the next value on, light is stored as that one.
        const auto next = static_cast<ptrdiff_t>(std::ceil(light_of(stored + 0.5)));
        const auto end =
            curve.stored.begin() + std::min(next, static_cast<ptrdiff_t>(curve.stored.size()));
        std::fill(begin, end, static_cast<uint8_t>(stored));
        begin = end;
    }
    return curve;
}

} // namespace

const LightCurve &light_curve() {
    static const LightCurve curve = make_curve();
    return curve;
}

} // namespace apps
