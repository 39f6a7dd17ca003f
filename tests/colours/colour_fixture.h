// What the tests of colour filters and colour spaces share: memory of exact size beside an
// inaccessible page, and the check after every test that nothing was reported or left behind.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/library.h"
#include "tests/frame/random.h"
#include "tests/kernels/fenced_block.h"

#include <gtest/gtest.h>

#include <climits>

namespace q32::test {

using frame::api;
using frame::FailingCall;
using frame::Replaced;

// Bytes that begin or end at an inaccessible page; what lies beyond the other end is looked after.
class Block : public FencedBlock {
public:
    explicit Block(const Bytes &bytes, Place place = {}) : FencedBlock(bytes, place, all_of_it) {}
    explicit Block(size_t bytes, Place place = {}) : Block(Bytes(bytes, 0xB7), place) {}

    void set(const Bytes &bytes) { std::copy(bytes.begin(), bytes.end(), data()); }
};

inline Bytes random_bytes(Random &random, size_t count) {
    Bytes bytes(count);
    random.fill(bytes);
    return bytes;
}

inline int between(Random &random, int least, int most) {
    return least + int(random.below(size_t(most - least) + 1));
}

class ColourTest : public testing::Test {
protected:
    void SetUp() override {
        frame::reset_comm();
        frame::shared_library();
        frame::forget_reports();
        before_ = frame::Census::now();
    }
    void TearDown() override {
        EXPECT_EQ(frame::reports(), std::vector<frame::Failure>{});
        EXPECT_EQ(frame::Census::now(), before_);
    }

private:
    frame::Census before_{};
};

} // namespace q32::test
