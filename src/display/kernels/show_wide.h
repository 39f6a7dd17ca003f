// The wide forms, by instruction set. A name says kernel and set; the chooser puts them in tables,
// and a form hands runs that are too short for it to the next narrower one.
#pragma once

#include "display/kernels/show_kernels.h"

namespace q32::display {

ColoursOfIndices colours_of_indices_sse2, colours_of_indices_sse41, colours_of_indices_avx2,
    colours_of_indices_avx512;
GreyLevels grey_levels_sse2, grey_levels_avx2;
BitsOfGreys bits_of_greys_sse2, bits_of_greys_sse41, bits_of_greys_avx2, bits_of_greys_avx512;
CubeIndices cube_indices_sse2, cube_indices_sse41, cube_indices_avx2, cube_indices_avx512;
Planes planes_sse2, planes_sse41, planes_avx2, planes_avx512;
Correction correct_sse2, correct_avx2, correct_avx512;
HighColour high_colour_sse2, high_colour_avx2, high_colour_avx512;
PlainHighColour plain_high_colour_sse2, plain_high_colour_sse41, plain_high_colour_avx2,
    plain_high_colour_avx512;

} // namespace q32::display
