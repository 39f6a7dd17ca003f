// What the tests of position tables and of frames share: a library that has not resampled yet, and
// what it holds after every test: nothing but what it keeps until it is unloaded.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/library.h"
#include "tests/frame/random.h"
#include "tests/models/resampling.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

namespace q32::test {

using frame::api;
using frame::Census;
using frame::FailingCall;
using frame::Failure;
using frame::Replaced;
using Bytes = std::vector<std::uint8_t>;

inline int between(Random &random, int first, int last) {
    return first + int(random.below(std::size_t(last - first + 1)));
}

class ResampleTest : public testing::Test {
protected:
    void SetUp() override {
        frame::drop_shared_library();
        frame::reset_comm();
        frame::shared_library();
        frame::forget_reports();
        before_ = Census::now();
    }
    void TearDown() override {
        Census now = Census::now();
        now.global_blocks -= kept_;
        now.global_locks -= kept_;
        EXPECT_EQ(now, before_) << "and " << kept_ << " locked blocks";
    }

    // Locked blocks that the library keeps from here on.
    void expect_kept(int blocks) {
        kept_ = blocks;
        EXPECT_EQ(Census::now().global_blocks - before_.global_blocks, blocks);
        EXPECT_EQ(Census::now().global_locks - before_.global_locks, blocks);
    }
    int blocks_held() const { return Census::now().global_blocks - before_.global_blocks; }

private:
    Census before_{};
    int kept_ = 0;
};

// The library's allocations of global memory.
class GlobalAllocations {
public:
    struct Block {
        UINT flags;
        SIZE_T bytes;
        HGLOBAL handle;
    };
    const std::vector<Block> &all() const { return all_; }
    // How many of them have so many bytes.
    int of_bytes(SIZE_T bytes) const {
        int count = 0;
        for (const Block &block : all_)
            count += block.bytes == bytes;
        return count;
    }

private:
    std::vector<Block> all_;
    Replaced<frame::call::GlobalAlloc> watch_{[this](UINT flags, SIZE_T bytes) {
        const HGLOBAL handle = ::GlobalAlloc(flags, bytes);
        all_.push_back({flags, bytes, handle});
        return handle;
    }};
};

constexpr SIZE_T coefficient_bytes = 65536;

// Whether the library makes the coefficient table from now on.
class CoefficientTableWatch {
public:
    int made() const { return allocations_.of_bytes(coefficient_bytes); }

private:
    GlobalAllocations allocations_;
};

// One bicubic frame without a record, the shortest way to have the coefficient table built. Leaves
// four tables kept as well.
inline int resample_bicubic_frame() {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = header.biHeight = 2;
    header.biBitCount = 8;
    const std::uint8_t source[] = {0, 100, 9, 9, 0, 100, 9, 9};
    std::uint8_t destination[4] = {1, 1, 1, 1};
    const std::uint8_t expected[] = {0, 53, 100, 105};
    const int done = api().vcResample(0, source, &header, destination, 4, 1, RESAMPLE_BICUBIC);
    EXPECT_TRUE(done == 0 || std::memcmp(destination, expected, 4) == 0);
    return done;
}

} // namespace q32::test
