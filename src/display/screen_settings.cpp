// What the settings file says of the screen: gamma and high-colour dithering.
#include "display/display.h"

#include "display/gamma.h"
#include "display/high_colour_dither.h"
#include "library/process/settings_file.h"

namespace q32::display {
namespace {

// Texts of the common library.
constexpr int section_text = 12002;
constexpr int red_gamma_text = 12003;
constexpr int green_gamma_text = 12004;
constexpr int blue_gamma_text = 12005;
constexpr int gamma_switch_text = 12010;
constexpr int high_colour_dither_text = 12011;

} // namespace

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
