// Speed of the row conversions: every kernel, every instruction set of this processor, an image
// that stays in the cache and one that does not, row by row as callers do it. Prints the bytes
// moved per second and the ratio to memcpy of the same traffic (half of the bytes read and
// written).
//
//     rows_bench [part of a kernel's name] [seconds per measurement]
#include "bench/timing.h"
#include "library/process/cpu.h"
#include "rows/kernels/row_kernels.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace q32;
using rows::RowKernels;
using std::size_t;
using std::uint8_t;

struct Size {
    size_t width, height;
};
constexpr Size sizes[] = {{512, 512}, {512 * 512, 1}, {4000, 3000}};
constexpr size_t widest_pixel = 6;

// Two images and the tables; contents that no kernel takes a short cut for.
class Scene {
public:
    explicit Scene(Size size)
        : bytes_(size.width * size.height * widest_pixel), memory_(new uint8_t[2 * bytes_ + 64]) {
        unsigned state = 1;
        for (size_t i = 0; i < 2 * bytes_ + 64; ++i)
            memory_[i] = next(state);
        for (uint8_t &entry : tables_)
            entry = next(state);
    }

    uint8_t *destination() { return aligned(); }
    uint8_t *source() { return aligned() + bytes_; }
    const uint8_t *tables() const { return tables_; }

private:
    static uint8_t next(unsigned &state) {
        state = state * 1664525u + 1013904223u;
        return uint8_t(state >> 24);
    }
    uint8_t *aligned() {
        const auto address = reinterpret_cast<std::uintptr_t>(memory_.get());
        return memory_.get() + (64 - address % 64);
    }

    size_t bytes_;
    std::unique_ptr<uint8_t[]> memory_;
    uint8_t tables_[768];
};

// One row of `pixels` pixels: what it reads and writes, and the call.
struct Job {
    const char *name;
    int bits_read, bits_written;       // per pixel
    int destination_bits, source_bits; // per pixel: from row to row
    void (*run)(const RowKernels &kernels, uint8_t *destination, uint8_t *source,
                const uint8_t *tables, size_t pixels);
};

#define ROW_JOB(call)                                                                              \
    [](const RowKernels &k, [[maybe_unused]] uint8_t *d, [[maybe_unused]] uint8_t *s,              \
       [[maybe_unused]] const uint8_t *t, size_t n) { k.call; }

constexpr Job jobs[] = {
    {"fill_1", 0, 8, 8, 0, ROW_JOB(fill[0](d, t, n))},
    {"fill_2", 0, 16, 16, 0, ROW_JOB(fill[1](d, t, n))},
    {"fill_3", 0, 24, 24, 0, ROW_JOB(fill[2](d, t, n))},
    {"fill_4", 0, 32, 32, 0, ROW_JOB(fill[3](d, t, n))},
    {"exchange", 48, 48, 24, 24, ROW_JOB(exchange(d, s, 3 * n))},
    {"invert", 24, 24, 24, 24, ROW_JOB(invert(d, s, 3 * n))},
    {"invert_in_place", 24, 24, 24, 24, ROW_JOB(invert(s, s, 3 * n))},
    {"bit_to_byte", 1, 8, 8, 1, ROW_JOB(bit_to_byte(d, s, n, 255))},
    {"byte_to_bit", 8, 1, 1, 8, ROW_JOB(byte_to_bit(d, s, n, 127))},
    {"rgb888_to_555", 24, 16, 16, 24, ROW_JOB(rgb888_to_555(d, s, n))},
    {"rgb888_to_565", 24, 16, 16, 24, ROW_JOB(rgb888_to_565(d, s, n))},
    {"rgb555_to_888", 16, 24, 24, 16, ROW_JOB(rgb555_to_888(d, s, n))},
    {"rgb565_to_888", 16, 24, 24, 16, ROW_JOB(rgb565_to_888(d, s, n))},
    {"swap_red_blue", 24, 24, 24, 24, ROW_JOB(swap_red_blue(d, s, n))},
    {"swap_in_place", 24, 24, 24, 24, ROW_JOB(swap_red_blue(s, s, n))},
    {"map_8", 8, 8, 8, 8, ROW_JOB(map_8(d, s, t, n))},
    {"map_24", 24, 24, 24, 24, ROW_JOB(map_24(d, s, t, n))},
    {"map_16", 16, 16, 16, 16, ROW_JOB(map_16(d, s, t, n))},
    {"map_48", 48, 48, 48, 48, ROW_JOB(map_48(d, s, t, n))},
};

struct Level {
    const char *name;
    const RowKernels &kernels;
};

void measure(const Job &job, const Level &level, Size size, Scene &scene, double budget) {
    const size_t destination_step = size.width * size_t(job.destination_bits) / 8;
    const size_t source_step = size.width * size_t(job.source_bits) / 8;
    const size_t traffic = size.width * size.height * size_t(job.bits_read + job.bits_written) / 8;

    const auto convert = [&] {
        uint8_t *destination = scene.destination(), *source = scene.source();
        for (size_t y = 0; y < size.height; ++y) {
            job.run(level.kernels, destination, source, scene.tables(), size.width);
            destination += destination_step;
            source += source_step;
        }
    };
    const auto copy = [&] { std::memcpy(scene.destination(), scene.source(), traffic / 2); };

    const bench::PairedTime time = bench::time_paired(convert, copy, budget);
    const double pixels = double(size.width * size.height);
    std::printf("%-16s %-8s %6ux%-4u %9.2f %9.4f %8.2f\n", job.name, level.name,
                unsigned(size.width), unsigned(size.height), double(traffic) / time.job * 1e-9,
                time.job / pixels * 1e9, time.ratio());
    std::fflush(stdout);
}

} // namespace

int main(int count, char **arguments) {
    const char *const wanted = count > 1 ? arguments[1] : "";
    const double budget = count > 2 ? std::atof(arguments[2]) : 0.05;
    const InstructionSet best = best_instruction_set(std::getenv("Q32BASE_ISA"));

    std::printf("%-16s %-8s %11s %9s %9s %8s\n", "kernel", "level", "pixels", "GB/s", "ns/pixel",
                "x memcpy");
    for (const Size size : sizes) {
        Scene scene(size);
        for (const Job &job : jobs) {
            if (std::strstr(job.name, wanted) == nullptr)
                continue;
            measure(job, {"scalar", rows::scalar_row_kernels}, size, scene, budget);
            for (int level = 0; level <= int(best); ++level) {
                const auto set = InstructionSet(level);
                measure(job, {instruction_set_name(set), rows::row_kernels(set)}, size, scene,
                        budget);
            }
        }
    }
    return 0;
}
