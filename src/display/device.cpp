// Detection of the display's colour class, and the class that programs force instead. What depends
// on it is made by library_palettes.cpp; everything else is told the type when it asks.
#include "display/device.h"

#include "display/display.h"
#include "display/gamma.h"
#include "display/gdi_owners.h"
#include "display/library_palettes.h"
#include "display/screen_settings.h"

#include <iterator>

namespace q32::display {
namespace {

// What can be forced and detected.
struct ColourClass {
    DeviceType type = DeviceType::monochrome;
    int bits_per_pixel = 0;
    int planes = 0;
};

// Numbered as the types.
constexpr ColourClass forced_classes[] = {
    {DeviceType::monochrome, 1, 1},      {DeviceType::eight_colours, 4, 1},
    {DeviceType::sixteen_colours, 4, 1}, {DeviceType::palette, 8, 1},
    {DeviceType::true_colour, 24, 1},    {DeviceType::high_colour, 16, 1},
};

struct Device {
    ColourClass colours, detected;
    int width_mm = 0, height_mm = 0;
    int dpi_x = 0, dpi_y = 0;
    int width = 0, height = 0;
};
constinit Device device;

DeviceType type_of(int colour_bits) {
    switch (colour_bits) {
    case 3:
        return DeviceType::eight_colours;
    case 4:
        return DeviceType::sixteen_colours;
    case 8:
        return DeviceType::palette;
    case 16:
        return DeviceType::high_colour;
    default:
        return colour_bits >= 9 ? DeviceType::true_colour : DeviceType::monochrome;
    }
}

// A display without a context has no size and no colours: it counts as monochrome.
Device detect() {
    Device found;
    if (const DeviceContext dc(CreateICA("DISPLAY", nullptr, nullptr, nullptr)); dc) {
        const auto capability = [&dc](int index) { return GetDeviceCaps(dc.get(), index); };
        found.width_mm = capability(HORZSIZE);
        found.height_mm = capability(VERTSIZE);
        found.dpi_x = capability(LOGPIXELSX);
        found.dpi_y = capability(LOGPIXELSY);
        found.width = capability(HORZRES);
        found.height = capability(VERTRES);
        found.detected.bits_per_pixel = capability(BITSPIXEL);
        found.detected.planes = capability(PLANES);
        found.detected.type = type_of(found.detected.bits_per_pixel * found.detected.planes);
    }
    found.colours = found.detected;
    return found;
}

bool detect_and_read_settings() {
    if (!set_up())
        return false;
    read_screen_settings();
    return true;
}

// The palettes of the type before are gone by now, whatever becomes of the new ones.
bool change_to(const ColourClass &colours) {
    device.colours = colours;
    return make_library_palettes(colours.type);
}

} // namespace

bool set_up() {
    device = detect();
    set_gamma_percent({100, 100, 100});
    return make_library_palettes(device.colours.type);
}

void clean_up() {
    delete_library_palettes();
    set_high_colour_dither(1);
    device = Device{};
}

DeviceType device_type() {
    return device.colours.type;
}

DispDevInfo device_information() {
    const GammaPercent percent = gamma_percent();
    return {int(device.colours.type),
            device.width_mm,
            device.height_mm,
            device.dpi_x,
            device.dpi_y,
            device.width,
            device.height,
            device.colours.bits_per_pixel,
            device.colours.planes,
            percent.red,
            percent.green,
            percent.blue};
}

} // namespace q32::display

using namespace q32::display;

int Q32_CALL disp32SetDevType(int type) {
    if (type == int(device_type()))
        return 1;
    delete_library_palettes();
    if (type == DISP32_DETECT)
        return detect_and_read_settings();
    const bool is_type = type >= 0 && type < int(std::size(forced_classes));
    return change_to(is_type ? forced_classes[type] : device.detected);
}

int Q32_CALL disp32GetDevInfo(DispDevInfo *info) {
    if (info == nullptr)
        return 0;
    *info = device_information();
    return 1;
}
