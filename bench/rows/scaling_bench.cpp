// Speed of scaling by whole factors: every kernel, every instruction set of this processor, an
// image that stays in the cache and one that does not, row by row as callers do it. Prints the
// bytes moved per second and the ratio to memcpy of the same traffic (half of the bytes read and
// written). Then, of the image that stays in the cache, the factor up to 40 that costs most.
//
//     scaling_bench [part of a job's name] [seconds per measurement]
#include "bench/timing.h"
#include "library/process/cpu.h"
#include "rows/kernels/scaling_kernels.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

using namespace q32;
using rows::PixelKind;
using rows::RowScaling;
using rows::ScalingKernels;
using std::size_t;
using std::uint8_t;

struct Size {
    size_t width, height;
};
constexpr Size sizes[] = {{512, 256}, {4000, 3000}};
constexpr size_t most_bytes = 160'000'000; // of one image

struct Kind {
    const char *name;
    int bits;
    RowScaling *(*enlarge)(const ScalingKernels &);
    RowScaling *(*reduce)(const ScalingKernels &);
};

#define PIXELS(kind)                                                                               \
    [](const ScalingKernels &k) { return k.enlarge[size_t(PixelKind::kind)]; },                    \
        [](const ScalingKernels &k) { return k.reduce[size_t(PixelKind::kind)]; }

constexpr Kind kinds[] = {
    {"1_bit", 1, [](const ScalingKernels &k) { return k.enlarge_bits; },
     [](const ScalingKernels &k) { return k.reduce_bits; }},
    {"8_bits", 8, PIXELS(one_byte)},
    {"16_bits", 16, PIXELS(two_bytes)},
    {"24_bits", 24, PIXELS(three_bytes)},
    {"32_bits", 32, PIXELS(four_bytes)},
    {"24_bits_swapped", 24, PIXELS(three_bytes_swapped)},
};
constexpr size_t factors[] = {2, 3, 4, 5, 8, 13, 40};
constexpr size_t largest_factor = 40;

// Two images of the same size, with contents that no kernel takes a short cut for.
class Scene {
public:
    Scene() : memory_(new uint8_t[2 * most_bytes]) {
        unsigned state = 1;
        for (size_t i = 0; i < 2 * most_bytes; ++i) {
            state = state * 1664525u + 1013904223u;
            memory_[i] = uint8_t(state >> 24);
        }
    }
    uint8_t *small() { return memory_.get(); }
    uint8_t *large() { return memory_.get() + most_bytes; }

private:
    std::unique_ptr<uint8_t[]> memory_;
};

// A row of `width` small pixels and one of width x factor large ones.
struct Job {
    bool enlarge;
    const Kind &kind;
    size_t factor;
    Size size; // of the smaller image

    size_t small_row() const { return (size.width * size_t(kind.bits) + 7) / 8; }
    size_t large_row() const { return (size.width * factor * size_t(kind.bits) + 7) / 8; }
    size_t traffic() const { return (small_row() + large_row()) * size.height; }

    void run(const ScalingKernels &kernels, Scene &scene) const {
        RowScaling *const scale = enlarge ? kind.enlarge(kernels) : kind.reduce(kernels);
        uint8_t *small = scene.small(), *large = scene.large();
        for (size_t y = 0; y < size.height; ++y, small += small_row(), large += large_row()) {
            if (enlarge)
                scale({large, 0, small, 0, 1, size.width, factor});
            else
                scale({small, 0, large, 0, 1, size.width * factor, factor});
        }
    }
};

bench::PairedTime timed(const Job &job, const ScalingKernels &kernels, Scene &scene,
                        double budget) {
    return bench::time_paired([&] { job.run(kernels, scene); },
                              [&] { std::memcpy(scene.large(), scene.small(), job.traffic() / 2); },
                              budget);
}

void print(const Job &job, const char *name, const char *level, const bench::PairedTime &time) {
    std::printf("%-26s %-8s %6ux%-4u %9.2f %9.4f %8.2f\n", name, level, unsigned(job.size.width),
                unsigned(job.size.height), double(job.traffic()) / time.job * 1e-9,
                time.job / double(job.size.width * job.size.height) * 1e9, time.ratio());
    std::fflush(stdout);
}

template <class Measure>
void each_level(Measure measure) {
    const InstructionSet best = best_instruction_set(std::getenv("Q32BASE_ISA"));
    for (int level = 0; level <= int(best); ++level) {
        const auto set = InstructionSet(level);
        measure(instruction_set_name(set), rows::scaling_kernels(set));
    }
}

std::string name_of(const Job &job) {
    return std::string(job.enlarge ? "enlarge_" : "reduce_") + job.kind.name + "_" +
           std::to_string(job.factor);
}

void measure_levels(const Job &job, const char *wanted, Scene &scene, double budget) {
    const std::string name = name_of(job);
    if (name.find(wanted) == name.npos || job.large_row() * job.size.height > most_bytes)
        return;
    const auto measure = [&](const char *level, const ScalingKernels &kernels) {
        print(job, name.c_str(), level, timed(job, kernels, scene, budget));
    };
    measure("scalar", rows::scalar_scaling_kernels);
    each_level(measure);
}

// What costs most when compared with memcpy. Each factor has a part of the time, and the one that
// is found all of it.
void measure_worst_factor(Job job, const char *wanted, Scene &scene, double budget) {
    job.factor = largest_factor;
    const std::string all = name_of(job) + "_worst_";
    if (all.find(wanted) == all.npos)
        return;
    each_level([&](const char *level, const ScalingKernels &kernels) {
        size_t worst = 0;
        double most = 0;
        for (job.factor = 2; job.factor <= largest_factor; ++job.factor)
            if (const double ratio = timed(job, kernels, scene, budget / 20).ratio();
                ratio > most) {
                most = ratio;
                worst = job.factor;
            }
        job.factor = worst;
        print(job, (all + std::to_string(worst)).c_str(), level,
              timed(job, kernels, scene, budget));
    });
}

} // namespace

int main(int count, char **arguments) {
    const char *const wanted = count > 1 ? arguments[1] : "";
    const double budget = count > 2 ? std::atof(arguments[2]) : 0.05;
    Scene scene;

    std::printf("%-26s %-8s %11s %9s %9s %8s\n", "job", "level", "pixels", "GB/s", "ns/pixel",
                "x memcpy");
    for (const Size size : sizes)
        for (const bool enlarge : {true, false})
            for (const Kind &kind : kinds)
                for (const size_t factor : factors)
                    measure_levels({enlarge, kind, factor, size}, wanted, scene, budget);
    for (const bool enlarge : {true, false})
        for (const Kind &kind : kinds)
            measure_worst_factor({enlarge, kind, largest_factor, sizes[0]}, wanted, scene, budget);
    return 0;
}
