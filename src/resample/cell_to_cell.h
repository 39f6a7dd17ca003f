// From cells to cells: the way of methods whose destination rows are made of one source row each,
// between buffers whose pixels may be read and written where they lie.
#pragma once

#include "resample/buffer_paths.h"
#include "resample/position_tables.h"

namespace q32::resample {

// Whether a job can go this way. Nobody may call back meanwhile: he could change the buffers, and
// he would see one cell finished before the next is begun.
bool goes_from_cell_to_cell(const BufferJob &job, const Method &method);

// Reports and returns false when there is no memory.
bool resample_from_cell_to_cell(const BufferJob &job, const CellTables &tables,
                                const Method &method);

} // namespace q32::resample
