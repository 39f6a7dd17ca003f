// Who is in the queue, waiting for an owner's jobs, what d32GetCurQueue tells, and end rectangles.
#include "tests/queues/dispatch_fixture.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace q32::test {
namespace {

class DispatchQueries : public DispatchTest {
protected:
    void SetUp() override {
        DispatchTest::SetUp();
        before_ = Census::now();
    }
    void TearDown() override {
        EXPECT_EQ(Census::now(), *before_);
        DispatchTest::TearDown();
    }
    int in_queue(uint32_t owner) { return api().d32IsInQueue(owner, 0); }
    int wait_for(uint32_t owner, int flag = 1) { return api().d32IsInQueue(owner, flag); }
    int set_end(uint32_t owner, const RECT &rectangle, const RECT &end) {
        return api().d32SetEndDispatchRect(owner, &rectangle, &end);
    }

private:
    std::optional<Census> before_;
};

// --- being in the queue ------------------------------------------------------------------------

TEST_F(DispatchQueries, IsInQueue) {
    EXPECT_SILENT_FAILURE(in_queue(1));
    EXPECT_SILENT_FAILURE(wait_for(1));
    EXPECT_SILENT_FAILURE(in_queue(0));
    EXPECT_SILENT_FAILURE(wait_for(0));
    add(steps(1, 1, 2));
    add(steps(2, 1, 1));
    add(steps(2, 2, 2));
    take_log();
    EXPECT_SUCCESS(in_queue(1) == 1);
    EXPECT_SUCCESS(in_queue(2) == 1);
    EXPECT_SILENT_FAILURE(in_queue(3));
    EXPECT_SILENT_FAILURE(in_queue(0));
    EXPECT_EQ(take_log(), Lines{});
    EXPECT_EQ(dispatch(), 1);
    EXPECT_EQ(dispatch(), 1);
    EXPECT_SILENT_FAILURE(in_queue(1));
    EXPECT_SUCCESS(in_queue(2) == 1);
    EXPECT_EQ(dispatch(), 1);
    EXPECT_SUCCESS(in_queue(2) == 1);
    EXPECT_EQ(dispatch(), 0);
    EXPECT_SILENT_FAILURE(in_queue(2));
}

// Asking without waiting leaves all priorities as they are.
TEST_F(DispatchQueries, AskingRaisesNothing) {
    add(steps(1, 1, 1));
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    EXPECT_EQ(in_queue(3), 1);
    expect_rest({"1 begins 0 0 1 1", "1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2",
                 "2 ends 0 0 1 1", "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
}

// --- waiting -----------------------------------------------------------------------------------

TEST_F(DispatchQueries, WaitingForTheCurrentOwner) {
    add(steps(1, 1, 2));
    add(steps(2, 5, 5));
    add(steps(1, 3, 3));
    api().d32SetFirstService(2);
    take_log();
    EXPECT_SUCCESS(wait_for(1) == 1);
    // The waited-for jobs (priority 2) come before those of the first owner (1).
    EXPECT_EQ(take_log(), (Lines{"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "1 begins 0 0 1 1",
                                 "1 steps 3", "1 ends 0 0 1 1", "2 begins 0 0 1 1"}));
    EXPECT_SILENT_FAILURE(in_queue(1));
    expect_rest({"2 steps 5", "2 ends 0 0 1 1"});
    add(steps(1, 1, 2));
    EXPECT_SUCCESS(wait_for(1, INT_MIN) == 1);
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1", "1 steps 1", "1 steps 2", "1 ends 0 0 1 1"}));
    expect_idle();
}

TEST_F(DispatchQueries, WaitingForAnotherFinishesTheRunningJobFirst) {
    add(steps(1, 1, 2));
    add(steps(1, 3, 3));
    add(steps(2, 4, 4));
    add(steps(3, 5, 5));
    add(steps(2, 6, 6));
    api().d32SetFirstService(3);
    take_log();
    EXPECT_SUCCESS(wait_for(2) == 1);
    EXPECT_EQ(take_log(), (Lines{"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "2 begins 0 0 1 1",
                                 "2 steps 4", "2 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 6",
                                 "2 ends 0 0 1 1", "3 begins 0 0 1 1"}));
    expect_rest({"3 steps 5", "3 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 3", "1 ends 0 0 1 1"});
}

TEST_F(DispatchQueries, WaitingForTheLastOwner) {
    add(steps(1, 1, 1));
    add(steps(2, 2, 3));
    take_log();
    EXPECT_SUCCESS(wait_for(2) == 1);
    EXPECT_EQ(take_log(), (Lines{"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2",
                                 "2 steps 3", "2 ends 0 0 1 1"}));
    expect_idle();
}

// For an owner that is not there the wait is the same: until the current owner changes.
TEST_F(DispatchQueries, WaitingForNobody) {
    for (uint32_t owner : {9u, 0u}) {
        add(steps(1, 1, 2));
        add(steps(2, 3, 3));
        add(steps(1, 4, 4));
        take_log();
        EXPECT_SILENT_FAILURE(wait_for(owner));
        EXPECT_EQ(take_log(), (Lines{"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "1 begins 0 0 1 1",
                                     "1 steps 4", "1 ends 0 0 1 1", "2 begins 0 0 1 1"}));
        EXPECT_SILENT_FAILURE(wait_for(owner));
        EXPECT_EQ(take_log(), (Lines{"2 steps 3", "2 ends 0 0 1 1"}));
        expect_idle();
    }
}

// --- the rectangles of the current owner -------------------------------------------------------

TEST_F(DispatchQueries, CurrentRectangles) {
    HGLOBAL block = reinterpret_cast<HGLOBAL>(77);
    EXPECT_SILENT_FAILURE(api().d32GetCurQueue(&block));
    EXPECT_EQ(block, nullptr);

    add(tiles(1, {0, 0, 300, 200}, 100, 100));
    EXPECT_EQ(current_rectangles(), (Lines{"0 0 300 200"}));
    add(tiles(2, {1, 1, 2, 2}, 0, 0));
    add(bands(1, {5, 6, 7, 8}, 0));
    add(steps(1, 1, 9, {10, 11, 12, 13}));
    dispatch();
    EXPECT_EQ(current(), 1u);
    EXPECT_EQ(current_rectangles(), (Lines{"0 0 300 200", "5 6 7 8", "10 11 12 13"}));
    // Their end rectangles are another matter.
    EXPECT_EQ(set_end(1, {0, 0, 300, 200}, {1, 2, 3, 4}), 1);
    EXPECT_EQ(set_end(1, {5, 6, 7, 8}, {1, 2, 3, 4}), 1);
    EXPECT_EQ(current_rectangles(), (Lines{"0 0 300 200", "5 6 7 8", "10 11 12 13"}));
    api().d32DeleteQueue(1);
    EXPECT_EQ(current_rectangles(), (Lines{"1 1 2 2"}));
    dispatch();
    EXPECT_EQ(current_rectangles(), Lines{});
}

TEST_F(DispatchQueries, RectanglesInTheOrderOfTheTable) {
    for (int i = 0; i < 5; ++i)
        add(steps(i % 2 == 0 ? 1u : 2u, 1, 1, {i, 0, 10, 10}));
    EXPECT_EQ(current_rectangles(), (Lines{"0 0 10 10", "2 0 10 10", "4 0 10 10"}));
    api().d32DeleteQueue(2); // the first and third place are free
    for (int i = 5; i < 8; ++i)
        add(steps(1, 1, 1, {i, 0, 10, 10}));
    EXPECT_EQ(current_rectangles(), (Lines{"0 0 10 10", "5 0 10 10", "2 0 10 10", "6 0 10 10",
                                           "4 0 10 10", "7 0 10 10"}));
    dispatch();
    EXPECT_EQ(current_rectangles(),
              (Lines{"5 0 10 10", "2 0 10 10", "6 0 10 10", "4 0 10 10", "7 0 10 10"}));
    api().d32DeleteQueue(1);
}

// A fixed block of 4 + 16 n bytes, zeros before it is filled.
TEST_F(DispatchQueries, TheBlockOfRectangles) {
    struct Block {
        UINT flags;
        SIZE_T bytes;
        bool operator==(const Block &) const = default;
    };
    std::vector<Block> blocks;
    for (int waiting = 0; waiting <= 16; ++waiting)
        add(steps(1, 1, 1, {waiting, 0, 20, 10}));
    {
        const Replaced<call::GlobalAlloc> watch{[&](UINT flags, SIZE_T bytes) {
            blocks.push_back({flags, bytes});
            return ::GlobalAlloc(flags, bytes);
        }};
        EXPECT_EQ(current_rectangles().size(), 17u);
        EXPECT_EQ(current(), 1u); // without a block
        EXPECT_EQ(blocks, (std::vector<Block>{{GMEM_FIXED | GMEM_ZEROINIT, 276}}));
        for (int waiting = 0; waiting < 16; ++waiting)
            dispatch();
        blocks.clear();
        EXPECT_EQ(current_rectangles().size(), 1u);
        EXPECT_EQ(blocks, (std::vector<Block>{{GMEM_FIXED | GMEM_ZEROINIT, 20}}));
        dispatch();
        blocks.clear();
        EXPECT_EQ(current_rectangles(), Lines{});
        EXPECT_EQ(blocks, std::vector<Block>{});
    }
}

TEST_F(DispatchQueries, NoMemoryForTheRectangles) {
    add(steps(1, 1, 1));
    {
        const FailingCall failing{"GlobalAlloc", 1};
        HGLOBAL block = reinterpret_cast<HGLOBAL>(77);
        EXPECT_SUCCESS(api().d32GetCurQueue(&block) == 1u);
        EXPECT_TRUE(failing.happened());
        EXPECT_EQ(block, nullptr);
    }
    EXPECT_EQ(current_rectangles(), (Lines{"0 0 1 1"}));
    api().d32DeleteQueue(1);
}

// Jobs that come while the block is had, as from another thread, are not in it, and none is written
// beyond it.
TEST_F(DispatchQueries, TheTableChangesMeanwhile) {
    add(steps(1, 1, 1));
    add(steps(1, 2, 2, {1, 2, 3, 4}));
    constexpr SIZE_T wanted = 4 + 2 * 16, more = 64;
    bool full = false;
    HGLOBAL block = nullptr;
    {
        const Replaced<call::GlobalAlloc> busy{[&](UINT flags, SIZE_T bytes) {
            if (bytes != wanted)
                return ::GlobalAlloc(flags, bytes);
            const HGLOBAL larger = ::GlobalAlloc(flags, bytes + more);
            std::memset(static_cast<char *>(larger) + bytes, 0x5A, more);
            for (int i = 0; i < 3; ++i)
                add(steps(1, 3, 3, {5, 6, 7, 8}));
            full = true;
            return larger;
        }};
        EXPECT_EQ(api().d32GetCurQueue(&block), 1u);
    }
    ASSERT_TRUE(full);
    const auto *const rects = static_cast<const DispatchRects *>(block);
    EXPECT_EQ(rects->count, 2);
    EXPECT_EQ(text_of(rects->rectangles[0]), "0 0 1 1");
    EXPECT_EQ(text_of(rects->rectangles[1]), "1 2 3 4");
    const char *const behind = static_cast<const char *>(block) + wanted;
    EXPECT_EQ(std::count(behind, behind + more, 0x5A), int(more));
    frame::forget_block(block);
    ::GlobalFree(block);
    api().d32DeleteQueue(1);
}

// --- end rectangles ------------------------------------------------------------------------------

TEST_F(DispatchQueries, TheEndOfTheCurrentJob) {
    add(tiles(1, {0, 0, 2, 1}, 1, 1));
    EXPECT_SUCCESS(set_end(1, {0, 0, 2, 1}, {100, 200, -300, -400}) == 1);
    EXPECT_SILENT_FAILURE(set_end(1, {0, 0, 2, 1}, {5, 5, 5, 5}));
    expect_rest(
        {"1 begins 0 0 1 1", "1 steps 0 0 1 1", "1 steps 1 0 2 1", "1 ends 100 200 -300 -400"});
    add(tiles(1, {0, 0, 2, 1}, 1, 1));
    EXPECT_EQ(set_end(1, {0, 0, 2, 1}, {1, 2, 3, 4}), 1);
    EXPECT_EQ(set_end(1, {1, 2, 3, 4}, {INT_MIN, INT_MAX, 0, 0}), 1);
    EXPECT_SILENT_FAILURE(set_end(1, {1, 2, 3, 4}, {5, 5, 5, 5}));
    take_log();
    EXPECT_EQ(api().d32DeleteQueue(1), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends -2147483648 2147483647 0 0"}));
}

TEST_F(DispatchQueries, AllFourCoordinatesMustAgree) {
    add(tiles(1, {1, 2, 3, 4}, 1, 1));
    add(tiles(1, {11, 12, 13, 14}, 1, 1));
    for (int base : {0, 10})
        for (int bit = 0; bit < 4; ++bit) {
            LONG sides[4] = {base + 1, base + 2, base + 3, base + 4};
            sides[bit] += 1;
            const RECT other{sides[0], sides[1], sides[2], sides[3]};
            EXPECT_SILENT_FAILURE(set_end(1, other, {5, 5, 5, 5}));
        }
    EXPECT_SILENT_FAILURE(set_end(2, {1, 2, 3, 4}, {5, 5, 5, 5}));
    EXPECT_SILENT_FAILURE(set_end(2, {11, 12, 13, 14}, {5, 5, 5, 5}));
    EXPECT_SUCCESS(set_end(1, {1, 2, 3, 4}, {6, 6, 6, 6}));
    EXPECT_SUCCESS(set_end(1, {11, 12, 13, 14}, {7, 7, 7, 7}));
    take_log();
    reply_ = [](const Message &) { return 0; };
    expect_rest({"1 steps 1 2 2 3", "1 ends 6 6 6 6", "1 begins 0 0 1 1", "1 steps 11 12 12 13",
                 "1 ends 7 7 7 7"});
}

// The current job first, then the waiting ones in the order of the table; the owner's only.
TEST_F(DispatchQueries, TheFirstThatAgrees) {
    constexpr RECT same{0, 0, 1, 1};
    add(steps(1, 1, 1));
    add(steps(2, 2, 2));
    add(steps(1, 3, 3));
    add(steps(1, 4, 4));
    EXPECT_SUCCESS(set_end(1, same, {10, 0, 0, 0}));
    EXPECT_SUCCESS(set_end(1, same, {30, 0, 0, 0}));
    EXPECT_SUCCESS(set_end(2, same, {20, 0, 0, 0}));
    EXPECT_SUCCESS(set_end(1, same, {40, 0, 0, 0}));
    EXPECT_SILENT_FAILURE(set_end(1, same, {50, 0, 0, 0}));
    expect_rest({"1 begins 0 0 1 1", "1 steps 1", "1 ends 10 0 0 0", "1 begins 0 0 1 1",
                 "1 steps 3", "1 ends 30 0 0 0", "1 begins 0 0 1 1", "1 steps 4", "1 ends 40 0 0 0",
                 "2 begins 0 0 1 1", "2 steps 2", "2 ends 20 0 0 0"});
}

// A free place of the table, which has no owner, is never found; nor is a job that has ended.
TEST_F(DispatchQueries, NoJobOfThatKind) {
    constexpr RECT same{0, 0, 1, 1}, zero{0, 0, 0, 0};
    EXPECT_SILENT_FAILURE(set_end(1, same, {5, 5, 5, 5}));
    EXPECT_SILENT_FAILURE(set_end(0, zero, {5, 5, 5, 5}));
    add(steps(1, 1, 1));
    add(steps(2, 1, 1));
    EXPECT_SILENT_FAILURE(set_end(0, same, {5, 5, 5, 5}));
    EXPECT_SILENT_FAILURE(set_end(0, zero, {5, 5, 5, 5}));
    EXPECT_SILENT_FAILURE(set_end(3, same, {5, 5, 5, 5}));
    dispatch();
    dispatch();
    for (uint32_t owner : {0u, 1u, 2u}) {
        EXPECT_SILENT_FAILURE(set_end(owner, same, {5, 5, 5, 5}));
        EXPECT_SILENT_FAILURE(set_end(owner, zero, {5, 5, 5, 5}));
    }
}

TEST_F(DispatchQueries, RectanglesThatAreNotThere) {
    constexpr RECT same{0, 0, 1, 1};
    add(steps(1, 1, 1));
    EXPECT_SILENT_FAILURE(api().d32SetEndDispatchRect(1, nullptr, &same));
    EXPECT_SILENT_FAILURE(api().d32SetEndDispatchRect(1, &same, nullptr));
    EXPECT_SILENT_FAILURE(api().d32SetEndDispatchRect(1, nullptr, nullptr));
    expect_rest({"1 begins 0 0 1 1", "1 steps 1", "1 ends 0 0 1 1"});
}

// The tiles are those of the job's rectangle whatever its end rectangle is.
TEST_F(DispatchQueries, TilesDoNotFollowTheEndRectangle) {
    add(bands(2, {0, 0, 9, 9}, 9));
    add(tiles(1, {0, 0, 2, 2}, 2, 1));
    EXPECT_SUCCESS(set_end(1, {0, 0, 2, 2}, {0, 0, 50, 50}));
    take_log();
    expect_rest({"2 steps 0 0 9 9", "2 ends 0 0 9 9", "1 begins 0 0 2 1", "1 steps 0 0 2 1",
                 "1 steps 0 1 2 2", "1 ends 0 0 50 50"});
}

} // namespace
} // namespace q32::test
