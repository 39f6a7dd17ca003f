// What the merge tests share: the library with either setting of the MMX flag, pixels that matter,
// fenced memory, and calls checked against the model. After every test nothing may be left behind
// and nothing reported unseen.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/library.h"
#include "tests/frame/random.h"
#include "tests/kernels/fenced_block.h"
#include "tests/models/merging.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace q32::test {

using frame::api;
using frame::Census;
using frame::FailingCall;
using frame::Replaced;

class MergeTest : public testing::Test {
protected:
    // The flag is read once, when the library starts.
    explicit MergeTest(bool mmx = false);
    void TearDown() override;

    bool mmx() const { return mmx_; }

private:
    bool mmx_;
    Census before_{};
};

// The test runs twice: with the MMX flag clear and set.
class MergeTestWithMmxFlag : public MergeTest, public testing::WithParamInterface<bool> {
protected:
    MergeTestWithMmxFlag() : MergeTest{GetParam()} {}
};

inline std::string mmx_flag_name(const testing::TestParamInfo<bool> &flag) {
    return flag.param ? "set" : "clear";
}

inline constexpr int all_transparencies[] = {-5, 0, 1, 10, 37, 50, 99, 100, 250};

using model::all_modes;
using model::is_of_colour;
using model::other_sizes;
using model::rectangle_modes;
using model::usual_sizes;

// --- pixels ----------------------------------------------------------------------------------

inline int between(Random &random, int low, int high) {
    return low + int(random.below(std::size_t(high - low + 1)));
}

// Bytes at random, every third on a boundary of some rule.
Bytes some_bytes(Random &random, std::size_t count);
// Pixels over these: at random, equal, nearly equal, grey. So luminances and fields meet closely.
Bytes pixels_near(Random &random, const Bytes &others, std::size_t bytes);
// Stretches of 0, of 255 and of anything.
Bytes some_mask(Random &random, std::size_t pixels);

using Block = FencedBlock;

// --- runs checked against the model ----------------------------------------------------------

enum class Sharing { nothing, result_and_base, result_and_overlay, base_and_overlay, all };
inline constexpr Sharing all_sharings[] = {Sharing::nothing, Sharing::result_and_base,
                                           Sharing::result_and_overlay, Sharing::base_and_overlay,
                                           Sharing::all};

struct RunCase {
    model::Call call;
    std::size_t pixels;
    bool masked;
    Sharing sharing = Sharing::nothing;
    Place place = {};
};
std::ostream &operator<<(std::ostream &out, const RunCase &run);

struct RunPixels {
    Bytes result, base, mask, overlay;
};
RunPixels some_pixels(Random &random, std::size_t pixels, int bytes);

// Makes such calls in memory that it keeps.
class RunStage {
public:
    // Calls i32Merge with the first of these pixels: every byte of every block, the result and that
    // nothing is reported are as the model says.
    testing::AssertionResult agrees(const RunCase &run, const RunPixels &pixels);

private:
    Block result_, base_, mask_, overlay_;
};

} // namespace q32::test
