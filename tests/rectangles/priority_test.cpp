// The rectangle calls run above normal priority, and give the thread its own back however they end.
#include "tests/frame/priority.h"
#include "tests/rectangles/rectangle_fixture.h"

#include <functional>

namespace q32::test {
namespace {

using frame::PriorityWatch;
using frame::thread_priority;
using frame::TouchedBytes;

class Priority : public RectangleTest, public ::testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        RectangleTest::SetUp();
        original_ = thread_priority();
        ::SetThreadPriority(GetCurrentThread(), GetParam());
        ASSERT_EQ(thread_priority(), GetParam());
    }
    void TearDown() override {
        EXPECT_EQ(thread_priority(), GetParam());
        ::SetThreadPriority(GetCurrentThread(), original_);
        RectangleTest::TearDown();
    }

    // The call raises the priority first, never sets anything else in between, and sets it back
    // last.
    void expect_raised(const char *name, bool succeeds, const std::function<int()> &call) {
        SCOPED_TRACE(name);
        const PriorityWatch watch;
        EXPECT_EQ(call() != 0, succeeds);
        forget_reports();
        ASSERT_GE(watch.set().size(), 2u);
        EXPECT_EQ(watch.set().back(), GetParam());
        for (size_t i = 0; i + 1 < watch.set().size(); ++i)
            EXPECT_EQ(watch.set()[i], THREAD_PRIORITY_ABOVE_NORMAL) << i;
        EXPECT_EQ(thread_priority(), GetParam());
    }

private:
    int original_ = 0;
};

TEST_P(Priority, IsRaisedAndGivenBackOnSuccess) {
    Random random(test_seed(), 1);
    for (uint32_t type : {BUF32_TILED, BUF32_ONE_COLOUR, BUF32_LINEAR, BUF32_LINEAR_MEMORY,
                          BUF32_LINEAR_SHRINK, BUF32_TILED_FILE}) {
        for (int bits : {1, 24}) {
            SCOPED_TRACE(std::to_string(type) + ", " + std::to_string(bits) + " bits");
            Buffer buffer(bits, 300, 200, type, some_colour);
            Subject other(Kind::tiled, bits, 300, 200, random);
            uint8_t memory[64] = {};
            HBUF32 got = other, made = 0, duplicate = 0;
            expect_raised("GetMem", true,
                          [&] { return api().buf32GetMem(buffer, 0, 0, 4, 4, memory); });
            expect_raised("GetMemWithBC", true, [&] {
                return api().buf32GetMemWithBC(buffer, -1, -1, 4, 4, memory, some_colour);
            });
            expect_raised("DupBuf", true, [&] { return api().buf32DupBuf(buffer, &duplicate); });
            expect_raised("GetBuf", true,
                          [&] { return api().buf32GetBuf(buffer, 1, 1, 9, 9, &got); });
            expect_raised("GetBuf, new", true,
                          [&] { return api().buf32GetBuf(buffer, 1, 1, 9, 9, &made); });
            expect_raised("MergeBuf", true,
                          [&] { return api().buf32MergeBuf(buffer, 1, 1, 9, 9, other, 3, 3); });
            expect_raised("MergeMem", true,
                          [&] { return api().buf32MergeMem(buffer, 0, 0, memory, 4, 4); });
            expect_raised("FillOneColor", true,
                          [&] { return api().buf32FillOneColor(buffer, some_colour); });
            const BUF32PATTERN pattern{2, 2, memory};
            expect_raised("FillPattern", true,
                          [&] { return api().buf32FillPattern(buffer, &pattern); });
            const Buffer free_made(made), free_duplicate(duplicate);
        }
    }
}

TEST_P(Priority, IsGivenBackOnFailure) {
    Random random(test_seed(), 2);
    for (uint32_t type : {BUF32_TILED, BUF32_ONE_COLOUR, BUF32_LINEAR}) {
        for (int bits : {1, 24}) {
            SCOPED_TRACE(std::to_string(type) + ", " + std::to_string(bits) + " bits");
            Buffer buffer(bits, 300, 200, type, some_colour);
            Subject other(Kind::tiled, bits, 300, 200, random);
            uint8_t memory[64] = {};
            HBUF32 got = other, made = 0;
            expect_raised("GetMem", false,
                          [&] { return api().buf32GetMem(buffer, 300, 0, 4, 4, memory); });
            {
                FailingCall strips("GlobalAlloc", 1, FailingCall::from_there_on);
                expect_raised("GetBuf", false,
                              [&] { return api().buf32GetBuf(buffer, 1, 1, 9, 9, &got); });
                expect_raised("GetBuf, new", false,
                              [&] { return api().buf32GetBuf(buffer, 1, 1, 9, 9, &made); });
                expect_raised("GetBuf, whole", false,
                              [&] { return api().buf32GetBuf(buffer, 0, 0, 300, 200, &made); });
                expect_raised("MergeBuf", false,
                              [&] { return api().buf32MergeBuf(buffer, 1, 1, 9, 9, other, 3, 3); });
                expect_raised("DupBuf", false, [&] { return api().buf32DupBuf(buffer, &made); });
            }
            if (type == BUF32_ONE_COLOUR && bits == 1) {
                FailingCall block("VirtualAlloc", 1, FailingCall::from_there_on);
                expect_raised("GetMemWithBC", false, [&] {
                    return api().buf32GetMemWithBC(buffer, -1, -1, 4, 4, memory, some_colour);
                });
            }
            if (type != BUF32_ONE_COLOUR) {
                FailingCall block("VirtualAlloc", 1, FailingCall::from_there_on);
                const BUF32PATTERN pattern{2, 2, memory};
                expect_raised("FillOneColor", false,
                              [&] { return api().buf32FillOneColor(buffer, some_colour); });
                expect_raised("FillPattern", false,
                              [&] { return api().buf32FillPattern(buffer, &pattern); });
            }
            expect_raised("MergeMem", false,
                          [&] { return api().buf32MergeMem(buffer, 300, 0, memory, 4, 4); });
        }
    }
}

// Arguments that are refused at once: whether the priority was raised does not matter, but it is
// what it was.
TEST_P(Priority, IsTheSameAfterRefusedArguments) {
    Buffer buffer(8, 30, 20);
    uint8_t memory[64] = {};
    HBUF32 handle = 0;
    const std::function<int()> calls[] = {
        [&] { return api().buf32GetMem(buffer, 0, 0, 4, 4, nullptr); },
        [&] { return api().buf32GetMem(0, 0, 0, 4, 4, memory); },
        [&] { return api().buf32MergeMem(buffer, 0, 0, nullptr, 4, 4); },
        [&] { return api().buf32MergeMem(0, 0, 0, memory, 4, 4); },
        [&] { return api().buf32GetMemWithBC(buffer, 0, 0, 4, 4, nullptr, memory); },
        [&] { return api().buf32GetMemWithBC(buffer, 0, 0, 4, 4, memory, nullptr); },
        [&] { return api().buf32GetMemWithBC(0, 0, 0, 4, 4, memory, memory); },
        [&] { return api().buf32GetBuf(0, 0, 0, 4, 4, &handle); },
        [&] { return api().buf32GetBuf(buffer, 0, 0, 4, 4, nullptr); },
        [&] { return api().buf32MergeBuf(0, 0, 0, 4, 4, buffer, 0, 0); },
        [&] { return api().buf32MergeBuf(buffer, 0, 0, 4, 4, 0, 0, 0); },
        [&] { return api().buf32DupBuf(0, &handle); },
        [&] { return api().buf32DupBuf(buffer, nullptr); },
        [&] { return api().buf32FillOneColor(buffer, nullptr); },
        [&] { return api().buf32FillOneColor(0, memory); },
        [&] { return api().buf32FillPattern(buffer, nullptr); },
        [&] { return api().buf32FillPattern(0, reinterpret_cast<BUF32PATTERN *>(memory)); },
    };
    for (size_t i = 0; i < std::size(calls); ++i) {
        EXPECT_EQ(calls[i](), 0) << i;
        EXPECT_EQ(thread_priority(), GetParam()) << i;
    }
    forget_reports();
}

// The bytes themselves are moved at the raised priority.
TEST_P(Priority, IsRaisedWhileBytesAreMoved) {
    TouchedBytes bytes;
    const auto expect_touched = [&](const char *name, int result) {
        EXPECT_EQ(result, 1) << name;
        EXPECT_EQ(bytes.touched(), THREAD_PRIORITY_ABOVE_NORMAL) << name;
        bytes.rearm();
    };
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_ONE_COLOUR}) {
        for (int bits : {1, 24}) {
            SCOPED_TRACE(std::to_string(type) + ", " + std::to_string(bits) + " bits");
            Buffer buffer(bits, 300, 200, type, some_colour);
            expect_touched("GetMem", api().buf32GetMem(buffer, 0, 0, 4, 4, bytes.data()));
            expect_touched("GetMemWithBC",
                           api().buf32GetMemWithBC(buffer, 0, 0, 4, 4, bytes.data(), some_colour));
            expect_touched("MergeMem", api().buf32MergeMem(buffer, 0, 0, bytes.data(), 4, 4));
            expect_touched("FillOneColor", api().buf32FillOneColor(buffer, bytes.data()));
            const BUF32PATTERN pattern{2, 2, bytes.data()};
            expect_touched("FillPattern", api().buf32FillPattern(buffer, &pattern));
        }
    }
}

// As are strips and records got.
TEST_P(Priority, IsRaisedWhileMemoryIsTaken) {
    Buffer source(24, 300, 200), destination(24, 300, 200);
    std::vector<int> seen;
    Replaced<frame::call::GlobalAlloc> watch([&](UINT flags, SIZE_T size) {
        seen.push_back(thread_priority());
        return GlobalAlloc(flags, size);
    });
    const auto expect_seen = [&](const char *name, int result) {
        EXPECT_EQ(result, 1) << name;
        EXPECT_FALSE(seen.empty()) << name;
        for (int value : seen)
            EXPECT_EQ(value, THREAD_PRIORITY_ABOVE_NORMAL) << name;
        seen.clear();
    };
    HBUF32 got = destination, made = 0, duplicate = 0;
    expect_seen("GetBuf", api().buf32GetBuf(source, 1, 1, 9, 9, &got));
    expect_seen("GetBuf, new", api().buf32GetBuf(source, 1, 1, 9, 9, &made));
    expect_seen("MergeBuf", api().buf32MergeBuf(source, 1, 1, 9, 9, destination, 3, 3));
    expect_seen("DupBuf", api().buf32DupBuf(source, &duplicate));
    const Buffer free_made(made), free_duplicate(duplicate);
}

// A system that does not say or set the priority does not stop the work.
TEST_P(Priority, ThatCannotBeHadChangesNothingElse) {
    Random random(test_seed(), 3);
    for (const char *function : {"GetThreadPriority", "SetThreadPriority"}) {
        for (auto extent : {FailingCall::only_there, FailingCall::from_there_on}) {
            SCOPED_TRACE(function);
            Subject source(Kind::tiled, 24, 300, 200, random),
                destination(Kind::tiled, 24, 300, 200, random);
            FailingCall failing(function, 1, extent);
            check_get_memory(source, {-3, 4, 90, 80}, MemoryBlock::fence_behind, random);
            check_merge_memory(source, {-3, 4, 90, 80}, MemoryBlock::fence_behind, random);
            EXPECT_TRUE(failing.happened());
            destination.picture.merge(source.picture, {1, 2, 30, 40}, 5, 6);
            EXPECT_SUCCESS(api().buf32MergeBuf(source, 1, 2, 30, 40, destination, 5, 6));
            destination.expect_picture();
            EXPECT_EQ(thread_priority(), GetParam());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Priority,
                         ::testing::Values(THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_BELOW_NORMAL,
                                           THREAD_PRIORITY_LOWEST, THREAD_PRIORITY_IDLE,
                                           THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST,
                                           THREAD_PRIORITY_TIME_CRITICAL));

} // namespace
} // namespace q32::test
