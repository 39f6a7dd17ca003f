// The library keeps display, gamma and dithering for the whole process; here they are set together.
#include "show_settings.h"

#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"

#include <q32base/display.h>

#include <algorithm>

namespace apps::q32view {
namespace {

ShowSettings applied;

} // namespace

const ShowSettings &applied_settings() {
    return applied;
}

ActingOn::ActingOn(const ShowSettings &settings) : before_(applied) {
    apply(settings);
}

// The palettes of the display that was acted for could be made before.
ActingOn::~ActingOn() {
    try {
        apply(before_);
    } catch (const std::exception &) {
    }
}

// Detecting reads gamma and dithering from the settings file again: what is chosen comes after.
void apply(const ShowSettings &settings) {
    applied = settings;
    bool made = disp32SetDevType(DISP32_DETECT) != 0;
    if (settings.gamma)
        disp32NewScreenGamma(*settings.gamma, *settings.gamma, *settings.gamma);
    if (settings.device_type)
        made = disp32SetDevType(*settings.device_type) != 0;
    if (settings.high_colour_dither)
        disp32BeHiColorDither(*settings.high_colour_dither);
    if (!made)
        throw Failure(device_in_words(settings), "the palettes of this display cannot be made");
}

bool is_high_colour_dithered() {
    const int now = disp32BeHiColorDither(1);
    disp32BeHiColorDither(now);
    return now != 0;
}

std::string device_in_words(const ShowSettings &settings) {
    DispDevInfo info = {};
    disp32GetDevInfo(&info);
    const size_t type = static_cast<size_t>(info.type);
    std::string words(type < display_types.size() ? display_types[type].name : "unknown display");
    std::replace(words.begin(), words.end(), '-', ' ');
    return words + (settings.device_type ? "" : ", detected");
}

} // namespace apps::q32view
