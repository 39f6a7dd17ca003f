// Life of the error reports' per-thread storage; the exports over it are in q32comm.h.
#pragma once

namespace q32::comm {

// At load; false when the process has no slot of thread-local storage left.
bool open_reports();
// When a thread ends: frees that thread's report.
void forget_thread();
// At unload: frees the reports of all threads, also of those that live on.
void close_reports();

} // namespace q32::comm
