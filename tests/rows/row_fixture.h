// What the tests of the row conversions share: the library with either setting of the MMX flag, and
// the check after every test that nothing was reported unseen and nothing is left behind.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

// Bytes, and behind them as many of 0xEE as a row of `size` has left.
inline std::vector<std::uint8_t> padded(std::vector<std::uint8_t> bytes, std::size_t size) {
    bytes.resize(size, 0xEE);
    return bytes;
}

class RowTest : public testing::Test {
protected:
    // The flag is read once, when the library starts.
    explicit RowTest(bool mmx = true) {
        frame::reset_comm();
        if (!loaded_with || *loaded_with != mmx) {
            frame::drop_shared_library();
            frame::comm().mmx = mmx;
            loaded_with = mmx;
        }
        frame::shared_library();
        frame::forget_reports();
        before_ = frame::Census::now();
    }

    void TearDown() override {
        expect_no_report();
        EXPECT_EQ(frame::Census::now(), before_);
    }

    // The exports of the library under test.
    static const frame::Api &rows() { return frame::api(); }

    // All reports of this family have severity 0, the library's number and module 7; each is made
    // exactly once. What has been looked at is forgotten.
    static void expect_report(int message, int point) {
        EXPECT_EQ(frame::reports(), (std::vector<frame::Failure>{{message, 0, 7, point}}));
        frame::forget_reports();
    }

    static void expect_no_report() {
        EXPECT_EQ(frame::reports(), std::vector<frame::Failure>{});
        frame::forget_reports();
    }

private:
    static inline std::optional<bool> loaded_with;
    frame::Census before_{};
};

// The test runs twice: with the MMX flag clear and set.
class RowTestWithMmxFlag : public RowTest, public testing::WithParamInterface<bool> {
protected:
    RowTestWithMmxFlag() : RowTest{GetParam()} {}
};

inline std::string mmx_flag_name(const testing::TestParamInfo<bool> &flag) {
    return flag.param ? "set" : "clear";
}

} // namespace q32::test
