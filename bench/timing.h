// Timing of a job next to a reference job: both in turns, so that whatever else the machine does
// meets both, and the minimum of many samples of each. Only their ratio means something.
#pragma once

#include <algorithm>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <time.h>
#endif

namespace q32::bench {

inline double seconds() {
#ifdef _WIN32
    LARGE_INTEGER count, frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return double(count.QuadPart) / double(frequency.QuadPart);
#else
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
#endif
}

// Seconds of one run each.
struct PairedTime {
    double job;
    double reference;

    double ratio() const { return job / reference; }
};

template <class Job>
double time_of(Job &job, int repeats) {
    const double start = seconds();
    for (int i = 0; i < repeats; ++i)
        job();
    return (seconds() - start) / repeats;
}

// A sample is long enough for the clock, so short jobs are repeated within it.
template <class Job>
int repeats_per_sample(Job &job) {
    constexpr double shortest_sample = 200e-6;
    int repeats = 1;
    while (repeats < 1 << 20 && time_of(job, repeats) * repeats < shortest_sample)
        repeats *= 2;
    return repeats;
}

// Whoever runs a program several times gives each run its part of the time.
inline int parts_of_time() {
    const char *const wanted = std::getenv("Q32BASE_BENCH_PARTS");
    return wanted != nullptr ? std::max(std::atoi(wanted), 1) : 1;
}

// Takes samples in turns for about `budget` seconds, at least five of each, or two in a part of the
// time. Warm: each sample's first run is not counted, which finds in the cache what the other one
// has left there.
template <class Job, class Reference>
PairedTime time_paired(Job job, Reference reference, double budget, bool warm = false) {
    const int parts = parts_of_time();
    const int fewest_samples = parts > 1 ? 2 : 5;
    const int job_repeats = repeats_per_sample(job);
    const int reference_repeats = repeats_per_sample(reference);

    PairedTime best{1e9, 1e9};
    const double end = seconds() + budget / parts;
    for (int sample = 0; sample < fewest_samples || seconds() < end; ++sample) {
        if (warm)
            job();
        best.job = std::min(best.job, time_of(job, job_repeats));
        if (warm)
            reference();
        best.reference = std::min(best.reference, time_of(reference, reference_repeats));
    }
    return best;
}

} // namespace q32::bench
