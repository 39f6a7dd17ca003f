// Colour separation as the DLL exports it, a pixel a call, and as q32tool makes rows of it, beside
// memcpy of the same traffic.
#include "apps/q32tool/separating.h"
#include "bench/buffers/printing.h"
#include "bench/timing.h"

#include <q32base.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using namespace q32::bench;
using apps::q32tool::PlateRows;

constexpr std::size_t pixels = 4096;
constexpr double budget = 1; // seconds of a measurement

std::vector<std::uint8_t> colours() {
    std::vector<std::uint8_t> memory(pixels * 3);
    unsigned state = 1;
    for (std::uint8_t &byte : memory) {
        state = state * 1664525u + 1013904223u;
        byte = std::uint8_t(state >> 24);
    }
    return memory;
}

void print_time(const char *what, const PairedTime &time) {
    print(what, time.job * 1e9 / double(pixels), "ns/pixel", "memcpy", time.ratio());
}

} // namespace

int main() {
    std::printf("Rows of %zu pixels; the least of many samples taken in turns\n\n", pixels);
    apps::q32tool::prepare_separation();
    std::vector<std::uint8_t> rgb = colours(), cmyk(pixels * 4), copy(pixels * 4);
    const PlateRows plates = {cmyk.data(), &cmyk[pixels], &cmyk[2 * pixels], &cmyk[3 * pixels]};
    const auto memory = [&] { std::memcpy(copy.data(), cmyk.data(), pixels * 7 / 2); };

    print_time("qfdClrRgbToCmyk, each pixel", time_paired(
                                                  [&] {
                                                      for (std::size_t i = 0; i < pixels; ++i)
                                                          qfdClrRgbToCmyk(&rgb[3 * i],
                                                                          &cmyk[4 * i]);
                                                  },
                                                  memory, budget));
    print_time("qfdClrCmykToRgb, each pixel", time_paired(
                                                  [&] {
                                                      for (std::size_t i = 0; i < pixels; ++i)
                                                          qfdClrCmykToRgb(&cmyk[4 * i],
                                                                          &rgb[3 * i]);
                                                  },
                                                  memory, budget));
    rgb = colours();
    print_time("rows of pixels to plates",
               time_paired([&] { apps::q32tool::separate_row(plates, rgb.data(), pixels); }, memory,
                           budget));
    print_time("rows of plates to pixels",
               time_paired([&] { apps::q32tool::recombine_row(rgb.data(), plates, pixels); },
                           memory, budget));
    return 0;
}
