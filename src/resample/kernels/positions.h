// Where destination pixels lie in the source: the three rules for position tables. Sides are at
// least 1; tables have one entry for each destination pixel.
#pragma once

#include <cstdint>

namespace q32::resample {

// Bits of a fraction. Position tables of those who read none have sixteen all the same.
enum class FractionBits : std::uint8_t { none, eight, sixteen };

// Position tables: in single precision; reducing maps end to end.
void table_positions(std::int32_t *index, std::int32_t *fraction, FractionBits bits,
                     int destination, int source);

// Cells that interpolate: in double precision, i / D x S, 16-bit fractions.
void cell_positions(std::int32_t *index, std::int32_t *fraction, int destination, int source);

// Cells that take the nearest pixel: in single precision, rounded by adding 0.5.
void nearest_cell_positions(std::int32_t *index, int destination, int source);

} // namespace q32::resample
