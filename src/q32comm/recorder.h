// The flight recorder, which only one of the two builds has. In the other these are nothing.
#pragma once

namespace q32::comm {

#if defined(Q32COMM_RECORDER)

// At load. A log that cannot be made is none: the library works all the same.
void open_recorder();
// Any thread, at any time between the two.
void record_report(const char *text, int message, int severity, int library, int module, int point);
// At unload, or when the process ends: then only the end is noted.
void close_recorder(bool process_ends);

#else

inline void open_recorder() {}
inline void record_report(const char *, int, int, int, int, int) {}
inline void close_recorder(bool) {}

#endif

} // namespace q32::comm
