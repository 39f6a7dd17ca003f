// Speed of the exports that scale plain images by whole factors and copy rectangles of them, with
// an image that stays in the cache and one that does not. Prints the bytes moved per second and the
// ratio to memcpy of the same traffic (half of the bytes read and written). Q32BASE_ISA chooses the
// instruction set.
//
//     plain_images_bench [part of a job's name] [seconds per measurement]
#include "bench/timing.h"

#include <q32base/rows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace q32;
using std::size_t;
using std::uint8_t;

struct Size {
    int width, height;
};
constexpr size_t image_bytes = 100'000'000;
constexpr int outside = 100; // pixels of the image to the right of a rectangle

struct Images {
    std::unique_ptr<uint8_t[]> first{new uint8_t[image_bytes]}, second{new uint8_t[image_bytes]};
};

int row_bytes(int pixels, int bits) {
    return (pixels * bits + 7) / 8;
}

struct Job {
    const char *name;
    int bits;
    int factor;
    void (*run)(uint8_t *a, uint8_t *b, Size size, int stride); // of size in the smaller image
};

// Rectangles begin at column x; their images have pixels on both sides of them.
template <int bytes_per_pixel, int x>
void get(uint8_t *image, uint8_t *block, Size size, int stride) {
    mem32GetMem(image, x, 0, size.width, size.height, bytes_per_pixel, stride, block);
}
template <int bytes_per_pixel, int x>
void merge(uint8_t *image, uint8_t *block, Size size, int stride) {
    mem32MergeMem(image, x, 0, block, size.width, size.height, bytes_per_pixel, stride);
}
template <int factor>
void enlarge_bits(uint8_t *small, uint8_t *large, Size size, int) {
    mem32BitEnlargeExt(large, small, size.width, size.height, factor, factor);
}
template <int factor>
void reduce_bits(uint8_t *small, uint8_t *large, Size size, int) {
    mem32BitReduceExt(small, large, size.width * factor, size.height * factor, factor, factor);
}
template <int bytes_per_pixel, int factor, int swap>
void enlarge(uint8_t *small, uint8_t *large, Size size, int) {
    mem32EnlargeExt(large, small, size.width, size.height, factor, factor, bytes_per_pixel, swap);
}
template <int bytes_per_pixel, int factor, int swap>
void reduce(uint8_t *small, uint8_t *large, Size size, int) {
    mem32ReduceExt(small, large, size.width * factor, size.height * factor, factor, factor,
                   bytes_per_pixel, swap);
}

constexpr Job jobs[] = {
    {"get_1_bit_at_0", 1, 1, get<0, 0>},
    {"get_1_bit_at_5", 1, 1, get<0, 5>},
    {"merge_1_bit_at_0", 1, 1, merge<0, 0>},
    {"merge_1_bit_at_5", 1, 1, merge<0, 5>},
    {"get_8_bits", 8, 1, get<1, 7>},
    {"merge_8_bits", 8, 1, merge<1, 7>},
    {"get_24_bits", 24, 1, get<3, 7>},
    {"merge_24_bits", 24, 1, merge<3, 7>},
    {"enlarge_1_bit_2x2", 1, 2, enlarge_bits<2>},
    {"enlarge_1_bit_4x4", 1, 4, enlarge_bits<4>},
    {"enlarge_8_bits_2x2", 8, 2, enlarge<1, 2, 0>},
    {"enlarge_24_bits_2x2", 24, 2, enlarge<3, 2, 0>},
    {"enlarge_24_bits_swapped_2x2", 24, 2, enlarge<3, 2, 1>},
    {"reduce_1_bit_2x2", 1, 2, reduce_bits<2>},
    {"reduce_8_bits_2x2", 8, 2, reduce<1, 2, 0>},
    {"reduce_24_bits_2x2", 24, 2, reduce<3, 2, 0>},
    {"reduce_24_bits_swapped_2x2", 24, 2, reduce<3, 2, 1>},
};
constexpr Size sizes[] = {{37, 37}, {501, 256}, {3501, 2500}};

// Of a reduction only the rows that it takes are read.
size_t traffic_of(const Job &job, Size size) {
    const size_t small = size_t(row_bytes(size.width, job.bits)) * size_t(size.height);
    if (job.factor == 1)
        return 2 * small;
    const size_t large = size_t(row_bytes(size.width * job.factor, job.bits)) * size_t(size.height);
    const bool enlarges = std::strncmp(job.name, "enlarge", 7) == 0;
    return small + large * size_t(enlarges ? job.factor : 1);
}

void measure(const Job &job, Size size, Images &images, double budget) {
    const int stride = row_bytes(size.width + outside, job.bits);
    const size_t traffic = traffic_of(job, size);
    const bench::PairedTime time = bench::time_paired(
        [&] { job.run(images.first.get(), images.second.get(), size, stride); },
        [&] { std::memcpy(images.second.get(), images.first.get(), traffic / 2); }, budget);
    std::printf("%-28s %6dx%-4d %9.2f %9.4f %8.2f\n", job.name, size.width, size.height,
                double(traffic) / time.job * 1e-9, time.job / size.width / size.height * 1e9,
                time.ratio());
    std::fflush(stdout);
}

} // namespace

int main(int count, char **arguments) {
    const char *const wanted = count > 1 ? arguments[1] : "";
    const double budget = count > 2 ? std::atof(arguments[2]) : 0.05;
    Images images;
    unsigned state = 1;
    for (size_t i = 0; i < image_bytes; ++i) {
        state = state * 1664525u + 1013904223u;
        images.first[i] = images.second[i] = uint8_t(state >> 24);
    }

    std::printf("%-28s %11s %9s %9s %8s\n", "job", "pixels", "GB/s", "ns/pixel", "x memcpy");
    for (const Size size : sizes)
        for (const Job &job : jobs) {
            const size_t large = size_t(size.width) * size_t(size.height) * size_t(job.bits) / 8 *
                                 size_t(job.factor * job.factor);
            if (std::strstr(job.name, wanted) != nullptr && large < image_bytes * 9 / 10)
                measure(job, size, images, budget);
        }
    return 0;
}
