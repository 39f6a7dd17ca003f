// What the tests of colour filters and colour spaces share: memory of exact size beside an
// inaccessible page, and the check after every test that nothing was reported or left behind.
#pragma once

#include "tests/colours/colour_model.h"
#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/fenced_memory.h"
#include "tests/frame/library.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <span>

namespace q32::test {

using frame::api;
using frame::FailingCall;
using frame::Replaced;

enum class Fence { before, behind };

// Bytes that begin or end at an inaccessible page; what lies beyond the other end is looked after.
class Block {
public:
    explicit Block(size_t bytes, Fence fence = Fence::behind)
        : memory_(std::max<size_t>(bytes, 1)), bytes_(bytes),
          data_(fence == Fence::before ? memory_.begin() : memory_.end() - bytes) {
        std::memset(memory_.begin(), surroundings, memory_.size());
    }
    Block(const Bytes &bytes, Fence fence = Fence::behind) : Block(bytes.size(), fence) {
        set(bytes);
    }

    uint8_t *data() const { return data_; }
    Bytes contents() const { return Bytes(data_, data_ + bytes_); }
    void set(const Bytes &bytes) { std::copy(bytes.begin(), bytes.end(), data_); }
    // Makes any write to the block a crash.
    void protect() {
        DWORD before;
        VirtualProtect(memory_.begin(), memory_.size(), PAGE_READONLY, &before);
    }

    void expect(std::span<const uint8_t> wanted) const {
        ASSERT_EQ(wanted.size(), bytes_);
        const auto [want, found] = std::mismatch(wanted.begin(), wanted.end(), data_);
        if (want != wanted.end()) {
            ADD_FAILURE() << "byte " << want - wanted.begin() << " of " << bytes_ << " is "
                          << int(*found) << ", not " << int(*want);
            return;
        }
        for (const uint8_t *at = memory_.begin(); at < memory_.end(); ++at)
            if ((at < data_ || at >= data_ + bytes_) && *at != surroundings) {
                ADD_FAILURE() << "written outside the block, at its byte " << at - data_;
                return;
            }
    }

private:
    static constexpr uint8_t surroundings = 0xB7;

    FencedMemory memory_;
    size_t bytes_;
    uint8_t *data_;
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
