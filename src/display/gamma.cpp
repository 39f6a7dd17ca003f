// Gamma: its percentages, its tables, and who follows when it changes.
#include "display/gamma.h"

#include "display/device.h"
#include "display/library_palettes.h"

namespace q32::display {
namespace {

constinit GammaPercent percent;
// Read in sixteens.
alignas(16) constinit ScreenTables corrected{}, high_colour{};
constinit bool corrects_nothing = false;

int percent_of(int gamma) {
    return int(gamma * 0.5555555555555556);
}

} // namespace

void set_screen_gamma(const Gamma &gamma) {
    set_gamma_percent({percent_of(gamma.red), percent_of(gamma.green), percent_of(gamma.blue)});
    // Displays of up to 16 colours keep the palettes that they had. Required: a caller sees
    // pictures there as they were until the device type changes.
    if (device_type() >= DeviceType::palette)
        make_library_palettes(device_type());
}

void set_gamma_percent(const GammaPercent &new_percent) {
    percent = new_percent;
    const ChannelTables tables = gamma_tables(percent);
    corrected = screen_tables(tables);
    high_colour = screen_tables(high_colour_tables(tables));
    corrects_nothing = tables == gamma_tables({});
}

GammaPercent gamma_percent() {
    return percent;
}

const ScreenTables &corrected_samples() {
    return corrected;
}

const ScreenTables &corrected_high_colour_samples() {
    return high_colour;
}

bool gamma_corrects_nothing() {
    return corrects_nothing;
}

} // namespace q32::display

int Q32_CALL disp32NewScreenGamma(int red, int green, int blue) {
    q32::display::set_screen_gamma({red, green, blue});
    return 1;
}
