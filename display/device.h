// The display device as the library knows it, for the whole process: its colour class and the
// screen's gamma. One painting thread at a time.
#pragma once

namespace q32::display {

// Colour class of the display.
enum class DeviceType {
    monochrome = 0,
    eight_colours = 1,
    sixteen_colours = 2,
    palette = 3,
    true_colour = 4,
    high_colour = 5
};

// Detects the display. False when its tables cannot be had.
bool set_up();

// Undoes set_up; does nothing when there is nothing to undo.
void clean_up();

// Releases what colour management keeps.
void release_colour_management();

DeviceType device_type();

// Screen gamma in hundredths of an exponent; 180 corrects nothing.
struct Gamma {
    int red = 180, green = 180, blue = 180;
};
void set_screen_gamma(const Gamma &gamma);

// Whether high-colour displays are dithered.
void set_high_colour_dither(bool on);

// Both as the settings file has them.
void read_screen_settings();

} // namespace q32::display
