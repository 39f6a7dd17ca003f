// The curve by which stored values stand for light: sRGB's.
#pragma once

#include <array>
#include <cstdint>

namespace apps {

// What means of pixels are means of.
enum class Light {
    as_stored, // the values as they stand
    linear,    // the light that they stand for
};

struct LightCurve {
    // Of each stored value the light, 0 to 65535.
    std::array<uint16_t, 256> light;
    // Of each light the stored value: the nearest one on the curve. What light makes of a stored
    // value comes back as that.
    std::array<uint8_t, 65536> stored;
};

// Made at the first call.
const LightCurve &light_curve();

} // namespace apps
