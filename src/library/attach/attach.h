// Start and stop of the library, each step in its required order.
#pragma once

#include <windows.h>

namespace q32 {

// Starts the library in this process. False refuses the load; whatever had been set up is undone.
bool attach(HMODULE module);

// Stops the library: releases everything that callers have left behind.
void detach();

// Reads the display's colours and reports and shows message 4700 on a 16-colour device, which the
// library cannot serve. False refuses the load.
bool display_is_usable();

} // namespace q32
