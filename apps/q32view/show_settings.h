// How pictures are to be shown: the display to act as, its gamma, and the pixels that the library
// is given. Applied to the library by show_settings.cpp.
#pragma once

#include <optional>
#include <string>

namespace apps::q32view {

// The format of the pixels that the library is given, whatever the picture's file had.
enum class ShownFormat {
    rgb,     // 24 bits
    rgb555,  // 16 bits
    palette, // 8 bits: indices into a cube of 6 x 6 x 6 colours
    grey,    // 8 bits
    bits,    // 1 bit
};

constexpr int no_gamma = 180;

struct ShowSettings {
    std::optional<int> device_type;         // DISP32_ value; none: the one that is detected
    std::optional<int> gamma;               // hundredths; none: as the settings file has it
    std::optional<bool> high_colour_dither; // none: as the settings file has it
    bool palette_option = false;            // disp32ShowInitEx's, for 8-bit pixels
    ShownFormat pixels = ShownFormat::rgb;
};

// Makes the library act on them. Throws Failure when it cannot make its palettes.
void apply(const ShowSettings &settings);
// Those that it was made to act on last.
const ShowSettings &applied_settings();

// Makes it act on some for a while, and then on those from before.
class ActingOn {
public:
    explicit ActingOn(const ShowSettings &settings);
    ~ActingOn();
    ActingOn(const ActingOn &) = delete;
    ActingOn &operator=(const ActingOn &) = delete;

private:
    ShowSettings before_;
};

// Whether dithering on high-colour displays is on now.
bool is_high_colour_dithered();

// The display that the library acts for now: "true colour, detected".
std::string device_in_words(const ShowSettings &settings);

} // namespace apps::q32view
