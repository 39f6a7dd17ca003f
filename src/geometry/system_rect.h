// Areas as the system's rectangles, and back: the one file of this folder that knows the system.
#pragma once

#include "geometry/area.h"

#include <windows.h>

namespace q32 {

constexpr Area as_area(const RECT &rect) {
    return {int(rect.left), int(rect.top), int(rect.right), int(rect.bottom)};
}

constexpr RECT as_rect(const Area &area) {
    return {area.left, area.top, area.right, area.bottom};
}

} // namespace q32
