// The library separates one pixel a call; here its calls become rows of plates.
#include "separating.h"

#include <q32base/separation.h>

namespace apps::q32tool {

void prepare_separation() {
    qfdCalcBGCurve();
}

void separate_row(const PlateRows &plates, const uint8_t *pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        uint8_t inks[plate_count];
        qfdClrRgbToCmyk(pixels + 3 * i, inks);
        for (size_t plate = 0; plate < plate_count; ++plate)
            plates[plate][i] = inks[plate];
    }
}

void recombine_row(uint8_t *pixels, const PlateRows &plates, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint8_t inks[plate_count] = {plates[0][i], plates[1][i], plates[2][i], plates[3][i]};
        qfdClrCmykToRgb(inks, pixels + 3 * i);
    }
}

} // namespace apps::q32tool
