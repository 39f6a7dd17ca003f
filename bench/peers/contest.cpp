// Measuring and printing. Processor time, not the clock on the wall: other programs on the machine
// do not count, and a library that starts threads pays for them.
#include "bench/peers/contest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string_view>

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
    std::vector<double> samples; // nanoseconds for each pixel

    double best() const { return *std::min_element(samples.begin(), samples.end()); }
};

void measure(std::vector<Runner> &runners, std::size_t pixels) {
    const double scale = 1e9 / static_cast<double>(pixels);
    for (int left = rounds(); left > 0; --left)
        for (Runner &runner : runners)
            runner.samples.push_back(sample(*runner.run, runner.repeats) * scale);
}

bool is_wanted(const Job &job) {
    const char *const wanted = std::getenv("Q32BASE_BENCH_JOBS");
    if (wanted == nullptr)
        return true;
    const std::string job_itself = job.name + "@" + std::to_string(job.pixels);
    for (std::string_view left = wanted; !left.empty();) {
        const std::string_view entry = left.substr(0, left.find(';'));
        if (entry == job_itself)
            return true;
        left.remove_prefix(std::min(entry.size() + 1, left.size()));
    }
    return false;
}

// The place of the first form that is measured.
std::size_t first_form(const Job &job) {
    const char *const least = std::getenv("Q32BASE_BENCH_LEAST");
    const auto *const named =
        std::find(level_names.begin(), level_names.end(), std::string_view(least ? least : ""));
    auto place =
        static_cast<std::size_t>(named != level_names.end() ? named - level_names.begin() : 0);
    while (place > 0 && !job.ours[place])
        --place;
    return place;
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
    tell_level(instruction_set_name(best_instruction_set(nullptr)));
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
    if (!is_wanted(job))
        return;
    const std::vector<std::uint8_t> source(memory.source.begin(), memory.source.end());
    const auto expected = result_of(job.ours[0], job, memory, source);

    std::function<void()> copy = [&, bytes = static_cast<std::size_t>(job.bytes_moved / 2)] {
        std::memcpy(memory.destination.data(), memory.source.data(), bytes);
    };
    std::vector<Runner> runners;
    const auto enter = [&](const std::function<void()> &run) {
        runners.push_back({&run, repeats_for_a_sample(run), {}});
    };
    enter(copy);
    for (std::size_t form = first_form(job); form < job.ours.size(); ++form)
        if (job.ours[form])
            enter(job.ours[form]);
    for (const Contender &peer : job.peers)
        enter(peer.run);
    measure(runners, job.pixels);

    auto next = runners.begin();
    const auto tell = [&](Kind kind, const std::string &name, const char *note) {
        tell_times({job.name, job.pixels, kind, name, note, next->samples});
        return next++->best();
    };
    std::printf("%-18s%11zu", job.name.c_str(), job.pixels);
    print_time(tell(Kind::memcpy, "memcpy", ""));
    double best_of_ours = never;
    for (std::size_t form = 0; form < job.ours.size(); ++form) {
        const bool is_measured = form >= first_form(job) && job.ours[form];
        const double time = is_measured ? tell(Kind::ours, level_names[form], "") : never;
        best_of_ours = std::min(best_of_ours, time);
        print_time(time);
    }

    double best_of_peers = never;
    std::string best_peer;
    for (const Contender &peer : job.peers) {
        const bool same = result_of(peer.run, job, memory, source) == expected;
        const double time = tell(Kind::peer, peer.name, same ? "" : "other bytes");
        if (time < best_of_peers) {
            best_of_peers = time;
            best_peer = peer.name + (same ? "" : " *");
        }
    }
    for (const auto &[name, time] : job.measured_elsewhere) {
        tell_times({job.name, job.pixels, Kind::peer, name, "another process", {time}});
        if (time < best_of_peers) {
            best_of_peers = time;
            best_peer = name + " +";
        }
    }
    print_time(best_of_peers);
    std::printf("  %-26s%10.2f\n", best_peer.c_str(), best_of_ours / best_of_peers);
    std::fflush(stdout);
    std::memcpy(memory.source.data(), source.data(), source.size());
}

} // namespace q32::bench
