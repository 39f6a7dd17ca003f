// One line of the buffer benchmarks.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace q32::bench {

inline void print(const char *job, double time, const char *unit, const char *reference,
                  double ratio) {
    std::printf("%-42s %10.3f %-12s", job, time, unit);
    if (reference != nullptr)
        std::printf(" %6.2f x %s", ratio, reference);
    std::printf("\n");
}

inline void require(bool done, const char *what) {
    if (done)
        return;
    std::fprintf(stderr, "bench: %s failed\n", what);
    std::exit(1);
}

} // namespace q32::bench
