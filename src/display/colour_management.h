// Colour management of what is shown, as programs have set it.
#pragma once

#include "library/process/owners.h"

namespace q32::display {

// A device context in which colours are managed. Release takes back what is still wanted of it.
struct ManagedContextTraits {
    using Value = HDC;
    static Value none() { return nullptr; }
    static void release(HDC dc);
};
using ManagedContext = Owner<ManagedContextTraits>;

// Gives a device context the display's profile and matches it to the target, where that is wanted.
// What the system refuses is not tried again until it is set anew.
ManagedContext manage_colours(HDC dc);

} // namespace q32::display
