// Positions, as the rules state them.
#include "resample/kernels/positions.h"

namespace q32::resample {

void table_positions(std::int32_t *, std::int32_t *, FractionBits, int, int) {}
void cell_positions(std::int32_t *, std::int32_t *, int, int) {}
void nearest_cell_positions(std::int32_t *, int, int) {}

} // namespace q32::resample
