// The switch of dithering on high-colour displays.
#pragma once

namespace q32::display {

// Not 0 is on, as it is until somebody says otherwise. What is open keeps what it was opened with.
int high_colour_dither();

// Returns the switch as it was.
int set_high_colour_dither(int on);

} // namespace q32::display
