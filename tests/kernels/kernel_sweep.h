// The sweeps that kernels, and exports that are little else, go through: many lengths, all
// alignments, both fences, runs that share their memory, and random runs, each compared with the
// expected bytes, with the inputs and the surroundings checked as well. Which kernel it is, the
// caller says. A run that crashes says what it was doing.
#pragma once

#include "tests/frame/random.h"
#include "tests/kernels/fenced_block.h"

#include <functional>
#include <string>
#include <type_traits>

namespace q32::test {

using Addresses = std::vector<std::uint8_t *>;

// Bytes of a run of so many pixels: as a function, or of each.
class RunBytes {
public:
    template <class Function>
    requires std::is_invocable_r_v<std::size_t, Function, std::size_t> RunBytes(Function bytes)
        : bytes_{bytes} {}
    template <class Number>
    requires std::is_integral_v<Number> RunBytes(Number each)
        : bytes_{[=](std::size_t pixels) { return std::size_t(each) * pixels; }} {}

    std::size_t operator()(std::size_t pixels) const { return bytes_(pixels); }

private:
    std::function<std::size_t(std::size_t)> bytes_;
};

// One kernel as the sweeps see it.
struct Call {
    // For each run, the one at whose address it lies: itself, or an earlier one.
    using Sharing = std::vector<std::size_t>;

    std::string name;
    // The first run is the destination, the others are only read.
    std::vector<RunBytes> bytes;
    // What the runs hold before the call, the destination's included; random bytes without it.
    std::function<std::vector<Bytes>(Random &random, std::size_t pixels)> contents;
    std::function<void(const Addresses &runs, std::size_t pixels)> run;
    // What the destination holds after it.
    std::function<Bytes(const std::vector<Bytes> &runs, std::size_t pixels)> expected;
    // Ways to share memory that are allowed, beside none.
    std::vector<Sharing> sharings;
};

// Contents that need no care: random bytes in every run.
std::vector<Bytes> random_contents(Random &random, const std::vector<RunBytes> &bytes,
                                   std::size_t pixels);

// Reports at most one failure, with all that is needed to find the case again.
void sweep(const Call &call);

// --- conversions of rows: one source ---------------------------------------------------------

struct Conversion {
    std::string name;
    RunBytes source_bytes, destination_bytes;
    // Whether destination and source may begin at the same address.
    bool in_place;
    std::function<void(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels)>
        run;
    std::function<Bytes(const Bytes &source, std::size_t pixels)> expected;
    // Of the runs that are allowed.
    std::size_t shortest = 0;
};

// Every length up to three 64-byte vectors of 1-bit pixels and one more is tried.
inline constexpr std::size_t longest_swept = 3 * 512 + 1;

// Each reports at most one failure.
void sweep_lengths_and_alignments(const Conversion &conversion);
void sweep_random_rows(const Conversion &conversion, std::uint64_t cases);

// One run over given source bytes, both blocks ending at a fence.
bool runs_exactly(const Conversion &conversion, const Bytes &source, std::size_t pixels);

} // namespace q32::test
