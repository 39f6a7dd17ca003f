// Being stopped: by the user (Esc, Ctrl-C, Ctrl-Break, closing the console), or by a swap file that
// can no longer be read or written.
#pragma once

#include <string>

namespace q32tool {

void watch_for_interrupts();

// Whether the user has asked to stop.
bool is_cancelled();

// Throws Cancelled once the user has asked to stop. Loops over rows call it (through Progress).
void stop_if_cancelled();

// A file to remove should the process end without unwinding; one at a time, empty: none.
void set_unfinished_file(const std::wstring &path);

} // namespace q32tool
