// One run of a function from a source row into a destination row that lie where the test wants them
// between fences: the destination's bytes and what lies about them are compared, and the source.
#pragma once

#include "tests/kernels/fenced_block.h"

#include <gtest/gtest.h>

namespace q32::test {

class FencedRun {
public:
    static constexpr std::size_t farthest = 64; // that a place is from its fence

    // run(destination, source) has to write `expected` and nothing else.
    template <class Run>
    testing::AssertionResult gives(View expected, View source, Place to, Place from, Run run) {
        const std::uint8_t *const source_row = source_.hold(source, from);
        start_.assign(expected.size(), canary_ = std::uint8_t(canary_ * 5 + 113));
        run(destination_.hold(start_, to), source_row);
        std::string wrong = destination_.difference(expected);
        if (wrong.empty() && !(wrong = source_.difference(source)).empty())
            wrong = "the source has changed: " + wrong;
        if (wrong.empty())
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << wrong << "; destination " << to << ", source " << from;
    }

private:
    FencedBlock source_{0}, destination_;
    Bytes start_;
    std::uint8_t canary_ = 7; // another one each time
};

} // namespace q32::test
