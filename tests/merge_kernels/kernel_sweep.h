// The sweep that every merge and colour kernel goes through: many lengths, all alignments, both
// fences, runs that share their memory, and random runs, each compared with the expected bytes,
// with the inputs and the destination's surroundings checked as well. Which kernel it is, the
// caller says. A run that crashes says what it was doing.
#pragma once

#include "tests/frame/random.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<std::uint8_t>;
using Addresses = std::vector<std::uint8_t *>;

// One kernel as the sweep sees it.
struct Call {
    // For each run, the one at whose address it lies: itself, or an earlier one.
    using Sharing = std::vector<std::size_t>;

    std::string name;
    // Bytes of a pixel in each run. The first is the destination's, the others are only read.
    std::vector<std::size_t> pixel_bytes;
    // What the runs hold before the call, the destination's included.
    std::function<std::vector<Bytes>(Random &random, std::size_t pixels)> contents;
    std::function<void(const Addresses &runs, std::size_t pixels)> run;
    // What the destination holds after it.
    std::function<Bytes(const std::vector<Bytes> &runs, std::size_t pixels)> expected;
    // Ways to share memory that are allowed, beside none.
    std::vector<Sharing> sharings;
};

// Contents that need no care: random bytes in every run.
std::vector<Bytes> random_contents(Random &random, const std::vector<std::size_t> &pixel_bytes,
                                   std::size_t pixels);

// Reports at most one failure, with all that is needed to find the case again.
void sweep(const Call &call);

// The first place where two runs differ, or their length.
std::size_t first_difference(const std::uint8_t *a, const std::uint8_t *b, std::size_t bytes);

} // namespace q32::test
