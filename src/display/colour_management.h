// Colour management of what is shown, as programs have set it.
#pragma once

#include <windows.h>

namespace q32::display {

// Gives a device context the display's profile and matches it to the target, where that is wanted.
// What the system refuses is not tried again until it is set anew.
void apply_colour_management(HDC dc);

// Takes back what is still wanted of the above.
void undo_colour_management(HDC dc);

} // namespace q32::display
