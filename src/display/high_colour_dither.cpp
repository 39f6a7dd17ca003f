// The switch, and the export that turns it.
#include "display/high_colour_dither.h"

#include <q32base/display.h>

#include <utility>

namespace q32::display {
namespace {

constinit int dithering = 1;

} // namespace

int high_colour_dither() {
    return dithering;
}

int set_high_colour_dither(int on) {
    return std::exchange(dithering, on);
}

} // namespace q32::display

int Q32_CALL disp32BeHiColorDither(int on) {
    return q32::display::set_high_colour_dither(on);
}
