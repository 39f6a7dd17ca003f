// One job done by several contenders on the same pixels, turn by turn: measures processor time,
// prints a line of a table, and tells all samples (figures.h). Knows nothing of the libraries that
// take part. Whoever wants less than everything says so in the environment:
//     Q32BASE_BENCH_ROUNDS   samples of each contender
//     Q32BASE_BENCH_JOBS     "job@pixels;job@pixels": no others are held
//     Q32BASE_BENCH_LEAST    an instruction set: of our forms, what it runs, and those above it
#pragma once

#include "bench/peers/figures.h"
#include "library/process/cpu.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace q32::bench {

// Our forms of a conversion, slowest first. A level that has no form of its own is left out.
inline constexpr std::array level_names = {"scalar", "sse2", "sse41", "avx2", "avx512"};

struct Contender {
    std::string name;
    std::function<void()> run; // the whole job, once
};

struct Job {
    std::string name;
    std::size_t pixels;
    std::size_t bytes_written; // by the whole job; what is compared between contenders
    double bytes_moved;        // read and written, for memcpy of the same traffic
    std::array<std::function<void()>, level_names.size()> ours;
    std::vector<Contender> peers;
    std::vector<std::pair<std::string, double>> measured_elsewhere; // nanoseconds for each pixel
};

struct Memory {
    std::span<std::uint8_t> source;
    std::span<std::uint8_t> destination;
};

// Enters our forms of a job: kernels_of(level) picks what an instruction set runs (anything that
// can be compared), call runs what was picked.
template <typename Picked, typename KernelsOf, typename Call>
void enter_ours(Job &job, const Picked &scalar, KernelsOf kernels_of, Call call) {
    const auto enter = [&](std::size_t place, const Picked &kernels) {
        job.ours[place] = [kernels, call] { call(kernels); };
    };
    Picked last = scalar;
    enter(0, last);
    const int best = static_cast<int>(best_instruction_set(nullptr));
    for (int level = 0; level <= best; ++level) {
        const Picked kernels = kernels_of(static_cast<InstructionSet>(level));
        if (kernels != last)
            enter(static_cast<std::size_t>(level) + 1, kernels);
        last = kernels;
    }
}

void print_heading();

// Contenders start from the same contents of both blocks. A peer whose bytes differ from those of
// our scalar form is marked: it does a similar job, not the same one.
void hold(const Job &job, Memory memory);

} // namespace q32::bench
