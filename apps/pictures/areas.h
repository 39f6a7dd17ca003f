// Points, sizes and rectangles of pixels: the library's, by their own names in both programs.
#pragma once

#include "geometry/area.h"

namespace apps {

using q32::Area;
using q32::area_of;
using q32::Point;
using q32::Size;

} // namespace apps
