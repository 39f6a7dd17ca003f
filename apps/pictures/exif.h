// The EXIF data of pictures: a TIFF directory in a block of bytes.
#pragma once

#include "picture_facts.h"

#include <cstdint>
#include <span>
#include <vector>

namespace apps {

// Such a block that says nothing but how the picture is turned.
std::vector<uint8_t> exif_of_orientation(int orientation);

} // namespace apps
