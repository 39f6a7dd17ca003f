// The ways in which TIFF packs the rows of a strip.
#pragma once

#include "output_settings.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace apps {

// As TIFF numbers it.
uint16_t tiff_number_of(TiffPacking packing);

// Whether what is packed are the differences of neighbours, where pixels are not single bits.
bool packs_differences(TiffPacking packing);

// The rows, of row_bytes each, packed.
std::vector<uint8_t> tiff_packed(TiffPacking packing, const std::vector<uint8_t> &rows,
                                 size_t row_bytes);

} // namespace apps
