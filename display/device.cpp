// Detection of the display's colour class, and the gamma tables.
#include "display/device.h"

#include "library/process/owners.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace q32::display {
namespace {

// Corrected value of each channel level.
struct GammaTables {
    std::array<uint8_t, 256> red, green, blue;
};
static_assert(sizeof(GammaTables) == 768);

struct Device {
    DeviceType type = DeviceType::monochrome;
    int bits_per_pixel = 0;
    int planes = 0;
    Gamma gamma_percent{100, 100, 100};
    GammaTables *gamma_tables = nullptr;
    bool high_colour_dither = true;
};

Device device;

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

// A display without a context has no colours: it counts as monochrome.
void detect_type() {
    device.bits_per_pixel = device.planes = 0;
    if (const HDC dc = CreateICA("DISPLAY", nullptr, nullptr, nullptr)) {
        device.bits_per_pixel = GetDeviceCaps(dc, BITSPIXEL);
        device.planes = GetDeviceCaps(dc, PLANES);
        DeleteDC(dc);
    }
    device.type = type_of(device.bits_per_pixel * device.planes);
}

// A gamma exponent of 180 hundredths corrects nothing.
int percent_of(int gamma) {
    return int(gamma * 0.5555555555555556);
}

void fill_gamma_table(std::array<uint8_t, 256> &table, int percent) {
    const double exponent = 100.0 / std::max(percent, 1);
    for (int level = 0; level < 256; ++level)
        table[level] = uint8_t(percent == 100 ? level : 255 * std::pow(level / 255.0, exponent));
}

} // namespace

bool set_up() {
    detect_type();
    device.gamma_tables = global_alloc<GammaTables>(GMEM_FIXED, sizeof(GammaTables));
    if (device.gamma_tables == nullptr)
        return false;
    set_screen_gamma({180, 180, 180});
    return true;
}

void clean_up() {
    if (device.gamma_tables != nullptr)
        GlobalFree(device.gamma_tables);
    device = Device{};
}

void release_colour_management() {}

DeviceType device_type() {
    return device.type;
}

void set_screen_gamma(const Gamma &gamma) {
    device.gamma_percent = {percent_of(gamma.red), percent_of(gamma.green), percent_of(gamma.blue)};
    fill_gamma_table(device.gamma_tables->red, device.gamma_percent.red);
    fill_gamma_table(device.gamma_tables->green, device.gamma_percent.green);
    fill_gamma_table(device.gamma_tables->blue, device.gamma_percent.blue);
}

void set_high_colour_dither(bool on) {
    device.high_colour_dither = on;
}

} // namespace q32::display
