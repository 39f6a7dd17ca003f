// Measuring and printing. Processor time, not the clock on the wall: other programs on the machine
// do not count, and a library that starts threads pays for them.
#include "bench/peers/contest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

namespace q32::bench {
namespace {

constexpr double sample_seconds = 0.0005;
constexpr double never = std::numeric_limits<double>::infinity();

int rounds() {
    const char *const wanted = std::getenv("Q32BASE_BENCH_ROUNDS");
    return wanted != nullptr ? std::max(std::atoi(wanted), 1) : 25;
}

double processor_seconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Seconds for one run, from as many as fill a sample.
double sample(const std::function<void()> &run, int repeats) {
    double start = processor_seconds();
    for (int i = 0; i < repeats; ++i)
        run();
    return (processor_seconds() - start) / repeats;
}

int repeats_for_a_sample(const std::function<void()> &run) {
    sample(run, 1);
    return static_cast<int>(std::clamp(sample_seconds / sample(run, 1), 1.0, 10000.0));
}

struct Runner {
    const std::function<void()> *run;
    int repeats;
    double best;
};

void measure(std::vector<Runner> &runners) {
    for (int left = rounds(); left > 0; --left)
        for (Runner &runner : runners)
            runner.best = std::min(runner.best, sample(*runner.run, runner.repeats));
}

std::vector<std::uint8_t> result_of(const std::function<void()> &run, const Job &job, Memory memory,
                                    const std::vector<std::uint8_t> &source) {
    std::memcpy(memory.source.data(), source.data(), source.size());
    std::fill(memory.destination.begin(), memory.destination.end(), std::uint8_t{0x5A});
    run();
    return {memory.destination.begin(),
            memory.destination.begin() + static_cast<std::ptrdiff_t>(job.bytes_written)};
}

void print_time(double nanoseconds) {
    if (nanoseconds == never)
        std::printf("%8s", "");
    else
        std::printf("%8.3f", nanoseconds);
}

} // namespace

void print_heading() {
    std::printf(
        "Nanoseconds of processor time for each pixel, the least of %d samples taken turn by "
        "turn.\nBlank: that instruction set has no form of its own. * bytes differ from "
        "ours; + another process.\n\n",
        rounds());
    std::printf("%-18s%11s%8s", "job", "pixels", "memcpy");
    for (const char *level : level_names)
        std::printf("%8s", level);
    std::printf("%8s  %-26s%10s\n", "peer", "best peer", "ours/peer");
}

void hold(const Job &job, Memory memory) {
    const std::vector<std::uint8_t> source(memory.source.begin(), memory.source.end());
    const auto expected = result_of(job.ours[0], job, memory, source);

    std::function<void()> copy = [&, bytes = static_cast<std::size_t>(job.bytes_moved / 2)] {
        std::memcpy(memory.destination.data(), memory.source.data(), bytes);
    };
    std::vector<Runner> runners;
    const auto enter = [&](const std::function<void()> &run) {
        runners.push_back({&run, repeats_for_a_sample(run), never});
    };
    enter(copy);
    for (const auto &run : job.ours)
        if (run)
            enter(run);
    for (const Contender &peer : job.peers)
        enter(peer.run);
    measure(runners);

    const double scale = 1e9 / static_cast<double>(job.pixels);
    auto next = runners.begin();
    std::printf("%-18s%11zu", job.name.c_str(), job.pixels);
    print_time(next++->best * scale);
    double best_of_ours = never;
    for (const auto &run : job.ours) {
        const double time = run ? next++->best * scale : never;
        best_of_ours = std::min(best_of_ours, time);
        print_time(time);
    }

    double best_of_peers = never;
    std::string best_peer;
    for (const Contender &peer : job.peers) {
        const double time = next++->best * scale;
        if (time < best_of_peers) {
            best_of_peers = time;
            best_peer =
                peer.name + (result_of(peer.run, job, memory, source) == expected ? "" : " *");
        }
    }
    for (const auto &[name, time] : job.measured_elsewhere)
        if (time < best_of_peers) {
            best_of_peers = time;
            best_peer = name + " +";
        }
    print_time(best_of_peers);
    std::printf("  %-26s%10.2f\n", best_peer.c_str(), best_of_ours / best_of_peers);
    std::fflush(stdout);
    std::memcpy(memory.source.data(), source.data(), source.size());
}

} // namespace q32::bench
