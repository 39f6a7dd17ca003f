// The switch of dithering with the export that turns it, and the screen's part of the settings
// file.
#include "display/screen_settings.h"

#include "display/display.h"
#include "display/gamma.h"
#include "library/process/settings_file.h"

#include <q32base/display.h>

#include <utility>

namespace q32::display {
namespace {

// Texts of the common library.
constexpr int section_text = 12002;
constexpr int red_gamma_text = 12003;
constexpr int green_gamma_text = 12004;
constexpr int blue_gamma_text = 12005;
constexpr int gamma_switch_text = 12010;
constexpr int high_colour_dither_text = 12011;

constinit int dithering = 1;

} // namespace

int high_colour_dither() {
    return dithering;
}

int set_high_colour_dither(int on) {
    return std::exchange(dithering, on);
}

void read_screen_settings() {
    const SettingsFile file;
    const SettingName section = setting_name(section_text);
    const auto value = [&](int key_text, int default_value) {
        return file.integer(section, setting_name(key_text), default_value);
    };
    const Gamma none{};
    const Gamma gamma{value(red_gamma_text, none.red), value(green_gamma_text, none.green),
                      value(blue_gamma_text, none.blue)};
    set_screen_gamma(value(gamma_switch_text, 1) != 0 ? gamma : none);
    set_high_colour_dither(value(high_colour_dither_text, 1));
}

} // namespace q32::display

int Q32_CALL disp32BeHiColorDither(int on) {
    return q32::display::set_high_colour_dither(on);
}
