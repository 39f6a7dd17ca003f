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

struct BitmapTraits {
    using Value = HBITMAP;
    static Value none() { return nullptr; }
    static void release(Value bitmap) { DeleteObject(bitmap); }
};
using Bitmap = Owner<BitmapTraits>;

// An object in the place of another in a device context, which gets its own back.
struct SelectionTraits {
    struct Value {
        HDC dc;
        HGDIOBJ previous;
        bool operator==(const Value &) const = default;
    };
    static Value none() { return {}; }
    static void release(const Value &selection) { SelectObject(selection.dc, selection.previous); }
};
using Selection = Owner<SelectionTraits>;

// Empty when the context does not take the object.
inline Selection select(HDC dc, HGDIOBJ object) {
    const HGDIOBJ previous = SelectObject(dc, object);
    return previous != nullptr ? Selection({dc, previous}) : Selection();
}

} // namespace q32::display
