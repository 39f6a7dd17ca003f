// Owners of what the graphics interface hands out.
#pragma once

#include "library/process/owners.h"

#include <windows.h>

namespace q32::display {

struct DeviceContextTraits {
    using Value = HDC;
    static Value none() { return nullptr; }
    static void release(Value dc) { DeleteDC(dc); }
};
using DeviceContext = Owner<DeviceContextTraits>;

} // namespace q32::display
