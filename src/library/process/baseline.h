// For files that run before the processor has been looked at, or on every processor: compiled for a
// better one, they would use it in plain code too, and the program would die on an older one.
#pragma once

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline."
#endif
