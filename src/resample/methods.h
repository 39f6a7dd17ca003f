// The resampling methods as a table: the kernels of each, and what the paths do differently for it.
// How a path goes over its pixels is the path's own part.
#pragma once

#include "resample/failures.h"
#include "resample/kernels/positions.h"
#include "resample/resample.h"

namespace q32::resample {

// Where the pixels of cells lie in the source. Frames and rows go by position tables instead.
enum class CellPositions : std::uint8_t {
    rounded, // on the nearest pixel, without fractions
    between, // i / D x S, with fractions
};

struct Method {
    int number; // RESAMPLE_ value
    const MethodKernels *ResampleKernels::*kernels;

    // That the kernels read: so do tables of rows and of cells have them. None only where lines are
    // destination rows: what makes rows of lines is given each row's fraction.
    FractionBits fractions;

    // What vcResampleInit makes, and callers' own tables of frames hold: more than the kernels
    // read, where programs count on it.
    FractionBits frame_fractions;

    // Cells, and the points at which their failures are reported.
    CellPositions cell_positions;
    const site::CellSites *cell_sites;

    // 5-5-5 pixels of rows and frames are resampled as 24-bit ones: a caller sees bit 15 cleared.
    bool through_24_bits = false;

    // Makes the coefficient table of the process: a caller sees 1001, 0, 8, 17 without memory.
    bool makes_coefficients = false;

    // The method that cells go by until the coefficient table has been made; 0: this one.
    int cells_without_coefficients = 0;

    // That this process runs.
    const MethodKernels &chosen_kernels() const { return *(resample::kernels().*kernels); }
};

// There is one for every number.
const Method &method_of(int number);
const Method &method_of_cells(const Method &method);

// Reports and returns false when the method makes the coefficient table and there is no memory.
bool make_coefficients(const Method &method);

} // namespace q32::resample
