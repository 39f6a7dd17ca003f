// Colour separation, pixel by pixel: the exports and the tables of the process.
#include "separation/kernels/separation_tables.h"

#include <q32base/separation.h>

#include <algorithm>

namespace q32::separation {
namespace {

// No program can change them.
constexpr SeparationSettings settings{
    .black_start = 0, .black_amount = 30, .undercolour_removal = 10, .ink_limit = 350};

// Until they are built there is no black and no limit.
constinit SeparationTables tables{.ink_limit = all_inks};
constinit bool built = false;

struct Inks {
    int cyan, magenta, yellow;

    int common() const { return std::min({cyan, magenta, yellow}); }
    int sum() const { return cyan + magenta + yellow; }
    void add(int amount) {
        cyan += amount;
        magenta += amount;
        yellow += amount;
    }
};

// The excess is taken out of the three inks in thirds, truncated; an ink that has less than its
// third wraps.
void limit(Inks &inks, int black) {
    const int excess = black + inks.sum() - tables.ink_limit;
    if (tables.ink_limit < all_inks && excess > 0)
        inks.add(-(excess / 3));
}

std::uint8_t light_of(int ink) {
    return std::uint8_t(255 - std::clamp(ink, 0, 255));
}

} // namespace
} // namespace q32::separation

using namespace q32::separation;

void Q32_CALL qfdCalcBGCurve(void) {
    if (built)
        return;
    tables = separation_tables(settings);
    built = true;
}

uint8_t *Q32_CALL qfdClrRgbToCmyk(const uint8_t *rgb, uint8_t *cmyk) {
    Inks inks{255 - rgb[0], 255 - rgb[1], 255 - rgb[2]};
    const int black = tables.black[inks.common()];
    inks.add(-tables.removal[black]);
    limit(inks, black);
    cmyk[0] = uint8_t(inks.cyan);
    cmyk[1] = uint8_t(inks.magenta);
    cmyk[2] = uint8_t(inks.yellow);
    cmyk[3] = uint8_t(black);
    return cmyk;
}

// What under-colour removal took out does not come back.
void Q32_CALL qfdClrCmykToRgb(const uint8_t *cmyk, uint8_t *rgb) {
    Inks inks{cmyk[0], cmyk[1], cmyk[2]};
    inks.add(std::max(0, tables.inverse_black[cmyk[3]] - inks.common()));
    rgb[0] = light_of(inks.cyan);
    rgb[1] = light_of(inks.magenta);
    rgb[2] = light_of(inks.yellow);
}
