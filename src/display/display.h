// What the start and stop of the library need of the display, and which kernels this process shows
// pictures with.
#pragma once

#include "display/kernels/show_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::display {

inline const ShowKernels &kernels() {
    return *chosen_kernels<ShowKernels>;
}

// Detects the display and makes its palettes, without correction for gamma. False when they cannot
// be had.
bool set_up();

// Gamma and high-colour dithering as the settings file has them.
void read_screen_settings();

// Undoes the above; does nothing when there is nothing to undo.
void clean_up();

// Releases what colour management keeps.
void release_colour_management();

} // namespace q32::display
