// The way that a run's rows take, from the program's pixels to the device.
#pragma once

#include "display/device.h"
#include "display/runs/opening.h"
#include "display/runs/row_conversions.h"
#include "display/runs/source_rows.h"
#include "display/runs/targets.h"

namespace q32::display {

struct Path {
    SourceForm form;
    const Conversion &conversion;
    const Target &target;
    HPALETTE (*palette)(const Opening &opening); // that indices are shown through
};

// Null for depths that there are not.
const Path *path_of(const Opening &opening, DeviceType device);

} // namespace q32::display
