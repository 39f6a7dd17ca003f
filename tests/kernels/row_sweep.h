// The sweep that every row conversion goes through: all lengths, all alignments, both fences, in
// place where allowed, and random rows, each compared with the expected bytes, with the source and
// the destination's surroundings checked as well. Which conversion it is, the caller says.
// A run that crashes says what it was doing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace q32::test {

// One conversion as the sweep sees it.
struct Conversion {
    std::string name;
    // Bytes of a run of that many pixels.
    std::function<std::size_t(std::size_t)> source_bytes;
    std::function<std::size_t(std::size_t)> destination_bytes;
    // The shortest run that is allowed.
    std::size_t shortest;
    // Whether destination and source may begin at the same address.
    bool in_place;
    std::function<void(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels)>
        run;
    std::function<std::vector<std::uint8_t>(const std::vector<std::uint8_t> &source,
                                            std::size_t pixels)>
        expected;
};

// Every length up to three 64-byte vectors of 1-bit pixels and one more is tried.
inline constexpr std::size_t longest_swept = 3 * 512 + 1;

// Each reports at most one failure, with all that is needed to find the case again.
void sweep_lengths_and_alignments(const Conversion &conversion);
void sweep_random_rows(const Conversion &conversion, std::uint64_t cases);

// One run over given source bytes, both blocks ending at a fence.
bool runs_exactly(const Conversion &conversion, const std::vector<std::uint8_t> &source,
                  std::size_t pixels);

} // namespace q32::test
