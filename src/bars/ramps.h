// Ramps: values and shades, one after another.
#pragma once

#include "bars/hues.h"

#include <cstdint>

namespace q32::bars {

// Samples and degrees, from one to the other in equal steps. Each step is added to what the steps
// before have come to, so that rounding is the same wherever a ramp is read.
//
// Quirk: a ramp ends one step before its end. A grey bar of 256 columns from 0 to 255 ends at 254.
class Ramp {
public:
    Ramp(int from, int to, std::int64_t steps)
        : value_(from), step_((to - from) / static_cast<double>(steps)) {}

    int next() {
        const int value = int(value_ + 0.5);
        value_ += step_;
        return value;
    }

private:
    double value_;
    double step_;
};

inline constexpr int last_hue = 359;

// Which of the two ramps from 0 up to 255, in the first half, while the other is 255. In the second
// half the other ramps down to 0.
enum class Rising { brightness, saturation };

class ShadeRamp {
public:
    ShadeRamp(Rising rising, std::int64_t steps)
        : rising_(rising), left_to_rise_((steps + 1) / 2), up_(0, 255, (steps + 1) / 2),
          down_(255, 0, steps > 1 ? steps / 2 : 1) {}

    Shade next() {
        const bool is_first_half = left_to_rise_ > 0;
        const bool ramps_brightness = (rising_ == Rising::brightness) == is_first_half;
        const auto value = std::uint16_t(is_first_half ? up_.next() : down_.next());
        left_to_rise_ -= is_first_half;
        return ramps_brightness ? Shade{255, value} : Shade{value, 255};
    }

private:
    Rising rising_;
    std::int64_t left_to_rise_;
    Ramp up_, down_;
};

} // namespace q32::bars
