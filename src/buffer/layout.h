// Cell layout of a buffer: from its geometry to every derived field of the record.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Computes the cell fields: cells of at most 128 x 128 pixels, or one cell of the whole image.
void compute_cells(Record &record);

// A record with room for its cell addresses takes the place of the given one, which is freed: the
// handle is the new address. Null when there is no memory; the given record is then freed as well.
Record *make_room_for_addresses(Record *record);

// The same after compute_cells.
Record *lay_out(Record *record);

// Points the cell address table at the storage: band by band, left to right. Refuses a one-colour
// record with a report.
bool build_cell_addresses(Record &record);

// The fields of a linear buffer of a changed height.
void set_linear_height(Record &record, int rows);

} // namespace q32::buffer
