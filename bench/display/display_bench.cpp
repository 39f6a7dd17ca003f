// Speed of what display runs do with rows: every kernel, every instruction set of this processor,
// an image that stays in the cache and one that does not, row by row as runs do it. Prints the
// bytes moved per second and the ratio to memcpy of the same traffic (half of the bytes read and
// written). swap_red_blue is what true-colour displays get where there is no gamma to correct.
//
//     display_bench [part of a kernel's name] [seconds per measurement]
#include "bench/timing.h"
#include "display/kernels/dither_matrices.h"
#include "display/kernels/show_kernels.h"
#include "library/process/cpu.h"
#include "rows/kernels/row_kernels.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace q32;
using display::ShowKernels;
using display::Thresholds;
using std::size_t;
using std::uint8_t;

struct Size {
    size_t width, height;
};
constexpr Size sizes[] = {{512, 512}, {4000, 3000}};
constexpr size_t widest_pixel = 3;

// Two images and the tables; contents that no kernel takes a short cut for.
class Scene {
public:
    explicit Scene(Size size)
        : bytes_(size.width * size.height * widest_pixel), memory_(new uint8_t[2 * bytes_ + 64]) {
        unsigned state = 1;
        for (size_t i = 0; i < 2 * bytes_ + 64; ++i)
            memory_[i] = next(state);
        for (uint8_t &entry : entries_)
            entry = next(state);
    }

    uint8_t *destination() { return aligned(); }
    const uint8_t *source() { return aligned() + bytes_; }
    const display::ColourEntries &entries() const { return entries_; }
    const display::ScreenTables &tables() const { return tables_; }

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
    display::ColourEntries entries_;
    alignas(64) display::ScreenTables tables_ =
        display::screen_tables(display::high_colour_tables(display::gamma_tables({140, 150, 160})));
};

// A row of a matrix, repeated to eight columns.
template <int side>
Thresholds row_of(const display::Matrix<side> &matrix, size_t row) {
    Thresholds thresholds{};
    for (size_t i = 0; i < thresholds.size(); ++i)
        thresholds[i] = matrix[row % side * side + i % side];
    return thresholds;
}

// The rows of a matrix, as often as they make eight.
template <int side>
std::array<Thresholds, 8> rows_of(const display::Matrix<side> &matrix) {
    std::array<Thresholds, 8> result{};
    for (size_t row = 0; row < result.size(); ++row)
        result[row] = row_of<side>(matrix, row);
    return result;
}

const std::array palette_rows = rows_of<8>(display::palette_thresholds);
const std::array sixteen_colour_rows = rows_of<8>(display::sixteen_colour_thresholds);
const std::array high_colour_rows = rows_of<4>(display::high_colour_thresholds);

// A row of an image.
struct Row {
    uint8_t *destination;
    const uint8_t *source;
    size_t pixels, number;
    const Scene &scene;

    const Thresholds &palette() const { return palette_rows[number % 8]; }
    const Thresholds &sixteen() const { return sixteen_colour_rows[number % 8]; }
    const Thresholds &high() const { return high_colour_rows[number % 8]; }
};

// What a row reads and writes, and the call.
struct Job {
    const char *name;
    int bits_read, bits_written; // per pixel
    void (*run)(const ShowKernels &kernels, const rows::RowKernels &row_kernels, const Row &row);
};

#define ROW_JOB(call)                                                                              \
    [](const ShowKernels &k, [[maybe_unused]] const rows::RowKernels &swap, const Row &r) {        \
        (void)k;                                                                                   \
        call;                                                                                      \
    }

constexpr Job jobs[] = {
    {"colours_of_indices", 8, 24,
     ROW_JOB(k.colours_of_indices(r.destination, r.source, r.scene.entries(), r.pixels))},
    {"grey_levels", 8, 8, ROW_JOB(k.grey_levels(r.destination, r.source, 4, r.pixels))},
    {"bits_of_greys", 8, 1,
     ROW_JOB(k.bits_of_greys(r.destination, r.source, r.sixteen(), r.pixels))},
    {"cube_indices", 24, 8,
     ROW_JOB(k.cube_indices(r.destination, r.source, r.palette(), r.pixels))},
    {"planes", 24, 4,
     ROW_JOB(k.planes(r.destination, r.pixels / 8, r.source, r.sixteen(), r.pixels))},
    {"correct", 24, 24, ROW_JOB(k.correct(r.destination, r.source, r.scene.tables(), r.pixels))},
    {"high_colour", 24, 24,
     ROW_JOB(k.high_colour(r.destination, r.source, r.scene.tables(), r.high(), r.pixels))},
    {"plain_high_colour", 24, 24,
     ROW_JOB(k.plain_high_colour(r.destination, r.source, r.high(), r.pixels))},
    {"swap_red_blue", 24, 24, ROW_JOB(swap.swap_red_blue(r.destination, r.source, r.pixels))},
};

struct Level {
    const char *name;
    const ShowKernels &kernels;
    const rows::RowKernels &row_kernels;
};

void measure(const Job &job, const Level &level, Size size, Scene &scene, double budget) {
    const size_t destination_step = size.width * size_t(job.bits_written) / 8;
    const size_t source_step = size.width * size_t(job.bits_read) / 8;
    const size_t traffic = size.height * (destination_step + source_step);

    const auto convert = [&] {
        for (size_t y = 0; y < size.height; ++y)
            job.run(level.kernels, level.row_kernels,
                    {scene.destination() + y * destination_step, scene.source() + y * source_step,
                     size.width, y, scene});
    };
    const auto copy = [&] { std::memcpy(scene.destination(), scene.source(), traffic / 2); };

    const bench::PairedTime time = bench::time_paired(convert, copy, budget);
    const double pixels = double(size.width * size.height);
    std::printf("%-19s %-8s %6ux%-4u %9.2f %9.4f %8.2f\n", job.name, level.name,
                unsigned(size.width), unsigned(size.height), double(traffic) / time.job * 1e-9,
                time.job / pixels * 1e9, time.ratio());
    std::fflush(stdout);
}

} // namespace

int main(int count, char **arguments) {
    const char *const wanted = count > 1 ? arguments[1] : "";
    const double budget = count > 2 ? std::atof(arguments[2]) : 0.05;
    const InstructionSet best = best_instruction_set(std::getenv("Q32BASE_ISA"));

    std::printf("%-19s %-8s %11s %9s %9s %8s\n", "kernel", "level", "pixels", "GB/s", "ns/pixel",
                "x memcpy");
    for (const Size size : sizes) {
        Scene scene(size);
        for (const Job &job : jobs) {
            if (std::strstr(job.name, wanted) == nullptr)
                continue;
            measure(job, {"scalar", display::scalar_show_kernels, rows::scalar_row_kernels}, size,
                    scene, budget);
            for (int level = 0; level <= int(best); ++level) {
                const auto set = InstructionSet(level);
                measure(
                    job,
                    {instruction_set_name(set), display::show_kernels(set), rows::row_kernels(set)},
                    size, scene, budget);
            }
        }
    }
    return 0;
}
