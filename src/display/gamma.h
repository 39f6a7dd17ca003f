// The screen's gamma and the tables made from it, for the whole process.
#pragma once

#include "display/kernels/channel_tables.h"

namespace q32::display {

// In hundredths of an exponent; 180 corrects nothing.
struct Gamma {
    int red = 180, green = 180, blue = 180;
};

// Corrects all that follows: tables, and the palettes of the library.
void set_screen_gamma(const Gamma &gamma);

// The tables alone.
void set_gamma_percent(const GammaPercent &percent);

GammaPercent gamma_percent();

// References may be kept: the tables change with the gamma where they are.
const ScreenTables &corrected_samples();
const ScreenTables &corrected_high_colour_samples();

// Whether samples are what they were once corrected. Cheap: nothing is compared.
bool gamma_corrects_nothing();

} // namespace q32::display
