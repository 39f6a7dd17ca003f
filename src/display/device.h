// The display device as the library knows it, for the whole process. One painting thread at a time.
#pragma once

#include <q32base/display.h>

namespace q32::display {

// Colour class of the display.
enum class DeviceType {
    monochrome = DISP32_MONOCHROME,
    eight_colours = DISP32_EIGHT_COLOURS,
    sixteen_colours = DISP32_SIXTEEN_COLOURS,
    palette = DISP32_PALETTE,
    true_colour = DISP32_TRUE_COLOUR,
    high_colour = DISP32_HIGH_COLOUR
};

DeviceType device_type();

// As disp32GetDevInfo tells it: of a forced type where one is forced, and with the gamma.
DispDevInfo device_information();

} // namespace q32::display
