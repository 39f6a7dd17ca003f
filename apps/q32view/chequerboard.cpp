// Squares of eight pixels, counted from the shown picture's corner.
#include "chequerboard.h"

namespace apps::q32view {
namespace {

constexpr int square_side = 8;
constexpr int light = 204, dark = 153; // white and black can be told from both

int grey_at(int x, int y) {
    return (x / square_side + y / square_side) % 2 == 0 ? light : dark;
}

} // namespace

// Enlarging may bring colours to be a little more than their opacity allows.
void lay_over_chequerboard(uint8_t *pixels, const uint8_t *opacity, Size size, Point place) {
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x, ++opacity, pixels += 3) {
            if (*opacity == 255)
                continue;
            const int behind = (grey_at(place.x + x, place.y + y) * (255 - *opacity) + 127) / 255;
            for (int channel = 0; channel < 3; ++channel)
                pixels[channel] = static_cast<uint8_t>(std::min(pixels[channel] + behind, 255));
        }
}

} // namespace apps::q32view
