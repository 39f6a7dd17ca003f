// Sequences of steps: run, and shorten one that shows a difference.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

using Steps = std::vector<uint64_t>; // the seeds of the steps

struct Difference {
    size_t step; // where it showed
    std::string what;
    std::vector<std::string> descriptions; // of the steps up to there
};

// Plays the steps in a fresh world.
std::optional<Difference> play(const Steps &steps);

// A sequence that still shows a difference and has no step that can be left out alone.
Steps shorten(Steps steps);

} // namespace q32::test
