// Being stopped: by the user (Esc, Ctrl-C, Ctrl-Break, closing the console), or by a swap file that
// can no longer be read or written.
#pragma once

namespace apps::q32tool {

void watch_for_interrupts();

// As if the user asked: for a process whose starter does.
void request_cancel();

// Whether the user has asked to stop.
bool is_cancelled();

// Throws Cancelled once the user has asked to stop. Loops over rows call it (through Progress).
void stop_if_cancelled();

} // namespace apps::q32tool
