// What a call of the row exports costs when there is little to do: rows of 1 to 512 pixels, in the
// cache, beside a row that is long enough for the call itself not to count. Prints the time of a
// call, what a pixel costs in it, and how many times a pixel of the long row that is. Q32BASE_ISA
// chooses the instruction set.
//
//     short_rows_bench [part of a job's name] [seconds per measurement]
#include "bench/timing.h"

#include <q32base/rows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace q32;
using std::uint8_t;

constexpr int long_row = 2048;
constexpr int lengths[] = {1, 2, 4, 8, 16, 37, 64, 512};

alignas(64) uint8_t a[8 * long_row], b[8 * long_row], tables[768];

struct Job {
    const char *name;
    void (*run)(int pixels);
};

#define ROW_JOB(call) [](int n) { call; }

constexpr Job jobs[] = {
    {"fill_8", ROW_JOB(mem32Fill(a, tables, 1, n))},
    {"fill_16", ROW_JOB(mem32Fill(a, tables, 2, n))},
    {"fill_24", ROW_JOB(mem32Fill(a, tables, 3, n))},
    {"fill_32", ROW_JOB(mem32Fill(a, tables, 4, n))},
    {"exchange", ROW_JOB(mem32Exchange(a, b, n))},
    {"invert", ROW_JOB(mem32ByteInvert(a, b, n))},
    {"bit_to_byte", ROW_JOB(mem32BitToByte(a, b, n))},
    {"byte_to_bit", ROW_JOB(mem32ByteToBit(a, b, n, 127))},
    {"rgb888_to_555", ROW_JOB(mem32_888To555(a, b, n))},
    {"rgb888_to_565", ROW_JOB(mem32_888To565(a, b, n))},
    {"rgb555_to_888", ROW_JOB(mem32_555To888(a, b, n))},
    {"rgb565_to_888", ROW_JOB(mem32_565To888(a, b, n))},
    {"swap_red_blue", ROW_JOB(RGBToBGR(a, b, n))},
    {"map_8", ROW_JOB(mem32Map(a, b, tables, MEM32_MAP_8, n))},
    {"map_16", ROW_JOB(mem32Map(a, b, tables, MEM32_MAP_16, n))},
    {"map_24", ROW_JOB(mem32Map(a, b, tables, MEM32_MAP_24, n))},
    {"map_48", ROW_JOB(mem32Map(a, b, tables, MEM32_MAP_48, n))},
    {"enlarge_1_bit_2", ROW_JOB(mem32BitEnlarge(a, b, n, 2))},
    {"enlarge_1_bit_3", ROW_JOB(mem32BitEnlarge(a, b, n, 3))},
    {"enlarge_1_bit_9", ROW_JOB(mem32BitEnlarge(a, b, n, 9))},
    {"enlarge_1_bit_20", ROW_JOB(mem32BitEnlarge(a, b, n, 20))},
    {"enlarge_8_bits_2", ROW_JOB(mem32Enlarge(a, b, n, 2, 1, 0))},
    {"enlarge_24_bits_2", ROW_JOB(mem32Enlarge(a, b, n, 2, 3, 0))},
    {"enlarge_24_swapped_2", ROW_JOB(mem32Enlarge(a, b, n, 2, 3, 1))},
    {"reduce_1_bit_2", ROW_JOB(mem32BitReduce(a, b, 2 * n, 2))},
    {"reduce_1_bit_5", ROW_JOB(mem32BitReduce(a, b, 5 * n, 5))},
    {"reduce_1_bit_13", ROW_JOB(mem32BitReduce(a, b, 13 * n, 13))},
    {"reduce_8_bits_2", ROW_JOB(mem32Reduce(a, b, 2 * n, 2, 1, 0))},
    {"reduce_24_bits_2", ROW_JOB(mem32Reduce(a, b, 2 * n, 2, 3, 0))},
    {"reduce_24_swapped_2", ROW_JOB(mem32Reduce(a, b, 2 * n, 2, 3, 1))},
};

void measure(const Job &job, int pixels, double budget) {
    const bench::PairedTime time =
        bench::time_paired([&] { job.run(pixels); }, [&] { job.run(long_row); }, budget);
    const double of_long_row = time.reference / long_row;
    std::printf("%-24s %6d %10.2f %10.4f %6.2f\n", job.name, pixels, time.job * 1e9,
                time.job / pixels * 1e9, time.job / pixels / of_long_row);
    std::fflush(stdout);
}

} // namespace

int main(int count, char **arguments) {
    const char *const wanted = count > 1 ? arguments[1] : "";
    const double budget = count > 2 ? std::atof(arguments[2]) : 0.02;
    unsigned state = 1;
    for (auto *bytes : {a, b})
        for (unsigned i = 0; i < sizeof a; ++i) {
            state = state * 1664525u + 1013904223u;
            bytes[i] = uint8_t(state >> 24);
        }
    for (unsigned i = 0; i < sizeof tables; ++i)
        tables[i] = uint8_t(i * 7);

    std::printf("%-24s %6s %10s %10s %6s\n", "job", "pixels", "ns/call", "ns/pixel", "x long");
    for (const Job &job : jobs)
        if (std::strstr(job.name, wanted) != nullptr)
            for (const int pixels : lengths)
                measure(job, pixels, budget);
    return 0;
}
