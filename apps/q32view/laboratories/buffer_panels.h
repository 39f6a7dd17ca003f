// What stands beside the buffers: the script, what the library counts, what it reports.
#pragma once

#include "buffer_canvas.h"

namespace apps::q32view {

void draw_script(const BufferCanvas &canvas, const Area &area, const BufferExperiment &experiment);
void draw_counters(const BufferCanvas &canvas, const Area &area,
                   const BufferExperiment &experiment);
void draw_reports(const BufferCanvas &canvas, const Area &area, const BufferExperiment &experiment);

} // namespace apps::q32view
