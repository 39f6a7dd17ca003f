// How the screen is treated beside its gamma: the switch of dithering on high-colour displays.
// Reading the settings file is display.h's.
#pragma once

namespace q32::display {

// Not 0 is on, as it is until somebody says otherwise. What is open keeps what it was opened with.
int high_colour_dither();

// Returns the switch as it was.
int set_high_colour_dither(int on);

} // namespace q32::display
