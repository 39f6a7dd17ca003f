// Merging as the DLL exports it: images in plain memory and in buffers, beside memcpy of the same
// traffic, and buffers beside plain memory.
//     merge_exports_bench [width]    only pictures of that width
#include "bench/buffers/printing.h"
#include "bench/buffers/priority_calls.h"
#include "bench/timing.h"

#include <q32base.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace q32::bench;

constexpr int pixel_bytes = 3;
constexpr double budget = 0.5; // seconds of a measurement

struct Mode {
    int number;
    const char *name;
};
constexpr Mode modes[] = {
    {MERGE_NORMAL, "normal"},         {MERGE_COLOR, "color"},
    {MERGE_VALUE, "value"},           {MERGE_LIGHTEN, "lighten"},
    {MERGE_DARKEN, "darken"},         {MERGE_RELIEF, "relief"},
    {MERGE_DIFFERENCE, "difference"}, {MERGE_MULTIPLY, "multiply"},
    {MERGE_SCREEN, "screen"},         {MERGE_PREMUL_BLACK, "premultiplied over black"},
};

std::vector<std::uint8_t> noise(std::size_t bytes) {
    std::vector<std::uint8_t> memory(bytes);
    unsigned state = unsigned(bytes);
    for (std::uint8_t &byte : memory) {
        state = state * 1664525u + 1013904223u;
        byte = std::uint8_t(state >> 24);
    }
    return memory;
}

// Base, overlay and mask of one size.
struct Scene {
    int width, height;
    std::vector<std::uint8_t> base = noise(bytes());
    std::vector<std::uint8_t> overlay = noise(bytes());
    std::vector<std::uint8_t> mask = noise(pixels());
    RECT whole = {0, 0, width, height};

    std::size_t pixels() const { return std::size_t(width) * std::size_t(height); }
    std::size_t bytes() const { return pixels() * pixel_bytes; }
    std::string name() const { return std::to_string(width) + " x " + std::to_string(height); }

    // Of the traffic of a merge with a mask: 10 bytes a pixel.
    void copy() {
        std::memcpy(base.data(), overlay.data(), bytes());
        std::memcpy(base.data(), overlay.data(), bytes() * 2 / 3);
    }
    void merge(int mode, int transparency, bool with_mask = true) {
        require(i32MergeEx(base.data(), width, height, with_mask ? mask.data() : nullptr, &whole,
                           overlay.data(), &whole, pixel_bytes, mode, transparency),
                "i32MergeEx");
    }
};

void print_merge(const std::string &what, const Scene &scene, const PairedTime &time,
                 const char *reference) {
    print((scene.name() + " " + what).c_str(), time.job * 1e9 / double(scene.pixels()), "ns/pixel",
          reference, time.ratio());
}

void measure_memory(Scene &scene) {
    const auto copy = [&] { scene.copy(); };
    for (const Mode &mode : modes)
        print_merge(std::string("i32MergeEx, ") + mode.name, scene,
                    time_paired([&] { scene.merge(mode.number, 0); }, copy, budget), "memcpy");
    print_merge("i32MergeEx, normal, 40 percent", scene,
                time_paired([&] { scene.merge(MERGE_NORMAL, 40); }, copy, budget), "memcpy");
    print_merge("i32MergeEx, normal, no mask", scene,
                time_paired([&] { scene.merge(MERGE_NORMAL, 40, false); }, copy, budget), "memcpy");
    print_merge("i32Merge of the whole, normal", scene,
                time_paired(
                    [&] {
                        require(i32Merge(scene.base.data(), scene.base.data(), scene.mask.data(),
                                         scene.overlay.data(), pixel_bytes, int(scene.pixels()),
                                         MERGE_NORMAL, 0),
                                "i32Merge");
                    },
                    copy, budget),
                "memcpy");
}

// The image merged into itself: the left half onto the right one, and all of it to one side.
void measure_overlap(Scene &scene) {
    const auto copy = [&] { scene.copy(); };
    const auto moved = [&](int right, int width) {
        const int from = std::max(-right, 0);
        return time_paired(
            [&, from] {
                require(i32MergeRamToRam(scene.base.data(), scene.width, scene.height, pixel_bytes,
                                         from + right, 0, scene.base.data(), scene.mask.data(),
                                         scene.width, scene.height,
                                         {from, 0, from + width, scene.height}, MERGE_NORMAL, 0),
                        "i32MergeRamToRam");
            },
            copy, budget);
    };
    const int half = scene.width / 2, most = scene.width - 16;
    print_merge("a half onto the other", scene, moved(half, half), "memcpy");
    for (const int pixels : {1, 16, -1})
        print_merge("onto itself, to the right by " + std::to_string(pixels), scene,
                    moved(pixels, most), "memcpy");
}

HBUF32 buffer_of(const Scene &scene, const std::vector<std::uint8_t> &pixels, int bits) {
    HBUF32 buffer = 0;
    require(buf32Alloc(&buffer, bits, scene.width, scene.height, BUF32_TILED, nullptr),
            "buf32Alloc");
    require(buf32MergeMem(buffer, 0, 0, pixels.data(), scene.width, scene.height), "buf32MergeMem");
    return buffer;
}

void measure_buffers(Scene &scene) {
    const HBUF32 base = buffer_of(scene, scene.base, 24);
    const HBUF32 overlay = buffer_of(scene, scene.overlay, 24);
    const HBUF32 mask = buffer_of(scene, scene.mask, 8);
    for (const int mode : {MERGE_NORMAL, MERGE_MULTIPLY}) {
        const auto plain = [&] { scene.merge(mode, 0); };
        const std::string name = mode == MERGE_NORMAL ? ", normal" : ", multiply";
        print_merge("i32MergeBufToBuf" + name, scene,
                    time_paired(
                        [&] {
                            require(
                                i32MergeBufToBuf(base, 0, 0, mask, overlay, &scene.whole, mode, 0),
                                "i32MergeBufToBuf");
                        },
                        plain, budget),
                    "plain memory");
        print_merge("i32MergeBufToRam" + name, scene,
                    time_paired(
                        [&] {
                            require(i32MergeBufToRam(scene.base.data(), 0, 0, scene.width,
                                                     scene.height, pixel_bytes, mask, overlay,
                                                     &scene.whole, mode, 0),
                                    "i32MergeBufToRam");
                        },
                        plain, budget),
                    "plain memory");
    }
    // Shifted by a few pixels, so that cells meet four others.
    for (const int by : {50, 1, 5, 15}) {
        const RECT shifted = {0, 0, scene.width - by, scene.height - by};
        const std::string place = std::to_string(by) + ", " + std::to_string(by);
        print_merge("i32MergeBufToBuf at " + place, scene,
                    time_paired(
                        [&] {
                            require(i32MergeBufToBuf(base, by, by, mask, overlay, &shifted,
                                                     MERGE_NORMAL, 0),
                                    "i32MergeBufToBuf");
                        },
                        [&] { scene.merge(MERGE_NORMAL, 0); }, budget),
                    "plain memory");
    }
    buf32Free(mask);
    buf32Free(overlay);
    buf32Free(base);
}

} // namespace

int main(int argc, char **argv) {
    const int only_width = argc > 1 ? std::atoi(argv[1]) : 0;
    std::printf("Merging through a mask of 8 bits, 24 bits per pixel, without the calls that raise "
                "the thread's\npriority; the least of many samples taken in turns\n\n");
    const NoPriorityCalls without("Q32BASE.DLL");
    require(without.complete(), "taking out the priority calls");
    for (const auto &[width, height] : {std::pair{512, 512}, std::pair{4000, 3000}}) {
        if (only_width != 0 && width != only_width)
            continue;
        Scene scene{width, height};
        measure_memory(scene);
        measure_overlap(scene);
        measure_buffers(scene);
    }
    return 0;
}
