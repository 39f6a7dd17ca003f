// The scalar forms: the meaning of each kernel. Wide forms are compared with them and hand runs
// that are too short for one step down to them.
#pragma once

#include "display/kernels/show_kernels.h"

namespace q32::display {

ColoursOfIndices colours_of_indices;
GreyLevels grey_levels;
BitsOfGreys bits_of_greys;
CubeIndices cube_indices;
Planes planes;
Correction correct;
HighColour high_colour;
PlainHighColour plain_high_colour;

} // namespace q32::display
