// Speed of the kernel in every form of this processor, beside memcpy of the same traffic: rows that
// are shorter than a step, rows that stay in the cache, and one that does not. Only the ratio means
// something.
//
//     dim_bench [seconds per measurement]
#include "bench/timing.h"
#include "samples/kernel/dim_kernels.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using namespace q32;
using sample::DimKernels;
using std::size_t;
using std::uint8_t;

constexpr size_t row_lengths[] = {7, 31, 512, 12'000'000};

void measure(const char *level, const DimKernels &kernels, size_t samples, double budget) {
    std::vector<uint8_t> source(samples, 99), destination(samples);
    const bench::PairedTime time = bench::time_paired(
        [&] { kernels.dim(destination.data(), source.data(), samples, 10); },
        [&] { std::memcpy(destination.data(), source.data(), samples); }, budget);
    std::printf("%-8s %10u %9.4f %8.2f\n", level, unsigned(samples),
                time.job / double(samples) * 1e9, time.ratio());
}

} // namespace

int main(int count, char **arguments) {
    const double budget = count > 1 ? std::atof(arguments[1]) : 0.05;
    const InstructionSet best = best_instruction_set(std::getenv("Q32BASE_ISA"));

    std::printf("%-8s %10s %9s %8s\n", "level", "samples", "ns/sample", "x memcpy");
    for (const size_t samples : row_lengths) {
        measure("scalar", sample::scalar_dim_kernels, samples, budget);
        for (int level = 0; level <= int(best); ++level) {
            const auto set = InstructionSet(level);
            measure(instruction_set_name(set), sample::dim_kernels(set), samples, budget);
        }
    }
    return 0;
}
