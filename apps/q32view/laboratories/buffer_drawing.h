// The parts of the buffer laboratory's area, drawn.
#pragma once

#include "buffer_experiment.h"
#include "buffer_layout.h"

#include <windows.h>

namespace apps::q32view {

// All of an area of this size, in which nothing has been drawn yet.
void draw_experiment(HDC dc, Size room, const BufferExperiment &experiment);

} // namespace apps::q32view
