// d32AddQueue: the trial allocation, refusals, replacing, empty rectangles, and a full table.
#include "tests/queues/dispatch_fixture.h"

#include <climits>

namespace q32::test {
namespace {

constexpr RECT unit{0, 0, 1, 1};

class DispatchAdding : public DispatchTest {
protected:
    // As d32AddQueue, with whatever rectangle and description.
    int add_raw(uint32_t owner, const RECT *rectangle, int replacing, int mode,
                const DispatchDesc *description) {
        return api().d32AddQueue(owner, rectangle, replacing, 0, 0, mode, description);
    }
    // Sixteen jobs of one step each wait: owners from `first` on, numbers 100, 101 ...
    void fill_table(uint32_t first) {
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(add(steps(first + uint32_t(i), 100 + i, 100 + i)), 1);
    }
    static int Q32_CALL nothing(int, uint32_t, intptr_t, intptr_t) { return 1; }
};

// --- the trial allocation ----------------------------------------------------------------------

TEST_F(DispatchAdding, TriesWhetherThereIsMemory) {
    struct Block {
        UINT flags;
        SIZE_T bytes;
        bool operator==(const Block &) const = default;
    };
    std::vector<Block> blocks;
    const Census before = Census::now();
    const Replaced<call::GlobalAlloc> watch{[&](UINT flags, SIZE_T bytes) {
        blocks.push_back({flags & GMEM_MOVEABLE, bytes});
        return ::GlobalAlloc(flags, bytes);
    }};
    int begun = 0;
    reply_ = [&](const Message &message) {
        // It has been given back before anything else.
        EXPECT_EQ(Census::now(), before);
        begun += message.message == 16;
        return 1;
    };
    const std::vector<Block> trial{{GMEM_MOVEABLE, 65536}};
    EXPECT_SUCCESS(add(steps(1, 1, 1)));
    EXPECT_EQ(blocks, trial);
    EXPECT_EQ(begun, 1);
    blocks.clear();
    EXPECT_SUCCESS(add(steps(2, 1, 1)));
    EXPECT_EQ(blocks, trial);
    blocks.clear();
    EXPECT_SILENT_FAILURE(add(steps(0, 1, 1))); // refused, and tried before that
    EXPECT_EQ(blocks, trial);
    blocks.clear();
    dispatch();
    dispatch();
    EXPECT_EQ(blocks, std::vector<Block>{});
    EXPECT_EQ(Census::now(), before);
}

TEST_F(DispatchAdding, WithoutMemory) {
    const Census before = Census::now();
    const auto expect_reported = [&](const Job &job, Replace replacing) {
        const FailingCall failing{"GlobalAlloc", 1};
        EXPECT_REPORT(add(job, replacing), 1001, 0, 6, 9);
        EXPECT_TRUE(failing.happened());
    };
    expect_reported(steps(1, 1, 1), keep);
    expect_idle();
    add(steps(1, 1, 2));
    add(steps(1, 3, 3));
    take_log();
    for (const Replace replacing : {keep, replace}) {
        expect_reported(steps(1, 9, 9), replacing);
        expect_reported(steps(2, 9, 9), replacing);
        expect_reported(tiles(1, {0, 0, 0, 0}, 0, 0), replacing);
        expect_reported(steps(0, 9, 9), replacing); // also what would be refused silently
        expect_reported({1, unit, 7}, replacing);
        const FailingCall failing{"GlobalAlloc", 1, FailingCall::from_there_on};
        const DispatchDesc no_callback{};
        EXPECT_REPORT(add_raw(1, &unit, replacing, 2, &no_callback), 1001, 0, 6, 9);
        EXPECT_REPORT(add_raw(1, nullptr, replacing, 2, &no_callback), 1001, 0, 6, 9);
        EXPECT_REPORT(add_raw(1, &unit, replacing, 2, nullptr), 1001, 0, 6, 9);
    }
    frame::forget_reports();
    EXPECT_EQ(take_log(), Lines{});
    expect_rest({"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 3",
                 "1 ends 0 0 1 1"});
    EXPECT_EQ(Census::now(), before);
}

// Steps, deletions and questions need no memory.
TEST_F(DispatchAdding, OnlyAddingNeedsMemory) {
    add(steps(1, 1, 2));
    add(steps(2, 1, 1));
    const FailingCall failing{"GlobalAlloc", 1, FailingCall::from_there_on};
    const FailingCall runtime{"malloc", 1, FailingCall::from_there_on};
    EXPECT_SUCCESS(dispatch());
    EXPECT_SUCCESS(api().d32IsInQueue(1, 1));
    EXPECT_SUCCESS(api().d32SetFirstService(0));
    EXPECT_SUCCESS(current() == 2u);
    EXPECT_SUCCESS(api().d32DeleteQueue(2));
    EXPECT_EQ(failing.calls() + runtime.calls(), 0);
}

// --- refusals ------------------------------------------------------------------------------------

TEST_F(DispatchAdding, WithoutOwnerCallbackRectangleOrDescription) {
    const DispatchDesc sound{0, nothing, 0, 1, 1}, no_callback{0, nullptr, 0, 1, 1};
    for (const int busy : {0, 1}) {
        if (busy == 1)
            add(steps(5, 1, 1));
        take_log();
        for (int replacing : {0, 1})
            for (int mode : {0, 1, 2}) {
                EXPECT_SILENT_FAILURE(add_raw(0, &unit, replacing, mode, &sound));
                EXPECT_SILENT_FAILURE(add_raw(1, &unit, replacing, mode, &no_callback));
                EXPECT_SILENT_FAILURE(add_raw(1, nullptr, replacing, mode, &sound));
                EXPECT_SILENT_FAILURE(add_raw(1, &unit, replacing, mode, nullptr));
                EXPECT_SILENT_FAILURE(add_raw(0, nullptr, replacing, mode, nullptr));
            }
        EXPECT_EQ(take_log(), Lines{});
        EXPECT_EQ(current(), busy == 1 ? 5u : 0u);
    }
    expect_rest({"5 steps 1", "5 ends 0 0 1 1"});
}

TEST_F(DispatchAdding, OtherModes) {
    const DispatchDesc sound{0, nothing, 0, 1, 1};
    for (int mode : {3, 4, -1, 16, INT_MAX, INT_MIN, 0x10000, 0x10001, 0x10002})
        for (int replacing : {0, 1}) {
            SCOPED_TRACE(mode);
            EXPECT_SILENT_FAILURE(add_raw(1, &unit, replacing, mode, &sound));
        }
    expect_idle();
}

TEST_F(DispatchAdding, SizesBelowZero) {
    for (int size : {-1, -128, INT_MIN}) {
        for (const Replace replacing : {keep, replace}) {
            EXPECT_SILENT_FAILURE(add(tiles(1, {0, 0, 9, 9}, size, 1), replacing));
            EXPECT_SILENT_FAILURE(add(tiles(1, {0, 0, 9, 9}, 1, size), replacing));
            EXPECT_SILENT_FAILURE(add(tiles(1, {0, 0, 9, 9}, size, size), replacing));
            EXPECT_SILENT_FAILURE(add(bands(1, {0, 0, 9, 9}, size), replacing));
        }
    }
    expect_idle();
}

constexpr RECT empty_rectangles[] = {{0, 0, 0, 0},
                                     {5, 5, 5, 9},
                                     {5, 5, 9, 5},
                                     {5, 5, 4, 9},
                                     {5, 5, 9, 4},
                                     {5, 5, 4, 4},
                                     {INT_MAX, 0, INT_MIN, 9},
                                     {0, INT_MAX, 9, INT_MIN}};

TEST_F(DispatchAdding, EmptyRectanglesWithoutReplacing) {
    for (const bool busy : {false, true}) {
        if (busy)
            add(steps(5, 1, 1));
        take_log();
        for (const RECT &empty : empty_rectangles) {
            SCOPED_TRACE(text_of(empty));
            EXPECT_SILENT_FAILURE(add(tiles(1, empty, 2, 2)));
            EXPECT_SILENT_FAILURE(add(bands(1, empty, 2)));
            EXPECT_SILENT_FAILURE(add(steps(1, 1, 1, empty)));
            EXPECT_SILENT_FAILURE(add(steps(5, 1, 1, empty)));
        }
        EXPECT_EQ(take_log(), Lines{});
        EXPECT_EQ(api().d32IsInQueue(1, 0), 0);
    }
    expect_rest({"5 steps 1", "5 ends 0 0 1 1"});
}

// What is refused replaces nothing.
TEST_F(DispatchAdding, RefusalsReplaceNothing) {
    add(steps(1, 1, 1));
    add(steps(1, 2, 2));
    add(steps(2, 3, 3));
    take_log();
    const DispatchDesc no_callback{0, nullptr, 0, 1, 1}, sound{0, nothing, 0, 1, 1};
    EXPECT_SILENT_FAILURE(add_raw(1, &unit, 1, 2, &no_callback));
    EXPECT_SILENT_FAILURE(add_raw(2, &unit, 1, 2, &no_callback));
    EXPECT_SILENT_FAILURE(add_raw(2, &unit, 1, 3, &sound));
    EXPECT_SILENT_FAILURE(add_raw(1, nullptr, 1, 0, &sound));
    EXPECT_SILENT_FAILURE(add(tiles(1, {0, 0, 9, 9}, -1, 0), replace));
    EXPECT_SILENT_FAILURE(add(bands(2, {0, 0, 9, 9}, -1), replace));
    EXPECT_EQ(take_log(), Lines{});
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 2", "1 ends 0 0 1 1",
                 "2 begins 0 0 1 1", "2 steps 3", "2 ends 0 0 1 1"});
}

// --- replacing -----------------------------------------------------------------------------------

// The current job ends and the new one begins within the call.
TEST_F(DispatchAdding, ReplacingTheCurrentJob) {
    add(tiles(1, {0, 0, 300, 200}, 0, 0));
    add(steps(1, 1, 1));
    add(steps(2, 2, 2));
    add(steps(1, 3, 3));
    dispatch();
    take_log();
    EXPECT_SUCCESS(add(bands(1, {5, 5, 9, 9}, 2), replace));
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 300 200", "1 begins 0 0 4 2"}));
    EXPECT_EQ(current(), 1u);
    EXPECT_EQ(current_rectangles(), (Lines{"5 5 9 9"}));
    expect_rest({"1 steps 5 5 9 7", "1 steps 5 7 9 9", "1 ends 5 5 9 9", "2 begins 0 0 1 1",
                 "2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchAdding, ReplacingWaitingJobs) {
    add(steps(1, 1, 1));
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    add(steps(2, 4, 4));
    take_log();
    EXPECT_SUCCESS(add(steps(2, 5, 5), replace));
    EXPECT_EQ(take_log(), Lines{});
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 5", "2 ends 0 0 1 1",
                 "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchAdding, ReplacingNothing) {
    EXPECT_SUCCESS(add(steps(1, 1, 1), replace));
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1"}));
    EXPECT_SUCCESS(add(steps(2, 2, 2), replace));
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
    const DispatchDesc description{0, nothing, 0, 1, 1};
    for (int flag : {2, -1, INT_MIN, 0x100}) {
        EXPECT_SUCCESS(add(steps(1, 1, 1)));
        take_log();
        EXPECT_SUCCESS(add_raw(1, &unit, flag, 2, &description));
        EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1"})) << flag;
        EXPECT_EQ(dispatch(), 0);
    }
}

// --- empty rectangles that replace ---------------------------------------------------------------

TEST_F(DispatchAdding, NothingInPlaceOfWaitingJobs) {
    for (const RECT &empty : empty_rectangles) {
        SCOPED_TRACE(text_of(empty));
        EXPECT_SUCCESS(add(tiles(2, empty, 2, 2), replace)); // nothing at all
        EXPECT_SUCCESS(add(bands(2, empty, 2), replace));
        expect_idle();
        add(steps(1, 1, 1));
        add(steps(2, 2, 2));
        add(steps(3, 3, 3));
        add(steps(2, 4, 4));
        take_log();
        EXPECT_SUCCESS(add(tiles(2, empty, 2, 2), replace));
        EXPECT_EQ(take_log(), Lines{});
        EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
        EXPECT_SUCCESS(add(bands(3, empty, 2), replace));
        EXPECT_EQ(api().d32IsInQueue(3, 0), 0);
        expect_rest({"1 steps 1", "1 ends 0 0 1 1"});
    }
}

// With nothing to take its place the job that has been told of its end stays and goes on.
TEST_F(DispatchAdding, NothingInPlaceOfTheCurrentJob) {
    for (const RECT &empty : empty_rectangles) {
        SCOPED_TRACE(text_of(empty));
        add(tiles(1, {0, 0, 3, 1}, 1, 1));
        add(steps(1, 9, 9));
        dispatch();
        take_log();
        EXPECT_SUCCESS(add(tiles(1, empty, 2, 2), replace));
        EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 3 1"}));
        EXPECT_EQ(current(), 1u);
        EXPECT_EQ(current_rectangles(), (Lines{"0 0 3 1"}));
        expect_step(1, {"1 steps 1 0 2 1"});
        EXPECT_SUCCESS(add(bands(1, empty, 2), replace));
        EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 3 1"}));
        expect_step(0, {"1 steps 2 0 3 1", "1 ends 0 0 3 1"});
        expect_idle();
    }
}

// What waits of others takes its place.
TEST_F(DispatchAdding, NothingInPlaceOfTheCurrentJobWhileOthersWait) {
    add(steps(1, 1, 5));
    add(steps(2, 2, 2));
    add(steps(1, 9, 9));
    add(steps(3, 3, 3));
    api().d32SetFirstService(3);
    take_log();
    EXPECT_SUCCESS(add(tiles(1, {4, 4, 4, 4}, 2, 2), replace));
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "3 begins 0 0 1 1"}));
    expect_rest({"3 steps 3", "3 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
    api().d32SetFirstService(0);
}

// Numbered steps need no rectangle.
TEST_F(DispatchAdding, StepsWithAnEmptyRectangle) {
    for (const RECT &empty : empty_rectangles) {
        const std::string sides = text_of(empty);
        EXPECT_SUCCESS(add(steps(1, 1, 1, empty), replace));
        EXPECT_EQ(take_log(), (Lines{"1 begins " + sides}));
        EXPECT_SUCCESS(add(steps(2, 2, 2, empty), replace));
        EXPECT_SUCCESS(add(steps(1, 3, 3, empty), replace));
        EXPECT_EQ(take_log(), (Lines{"1 ends " + sides, "1 begins " + sides}));
        expect_rest(
            {"1 steps 3", "1 ends " + sides, "2 begins " + sides, "2 steps 2", "2 ends " + sides});
    }
}

// --- a full table ------------------------------------------------------------------------------

// The current job is finished; the next one begins and leaves a place for the new job.
TEST_F(DispatchAdding, AFullTable) {
    add(steps(1, 1, 3));
    fill_table(10);
    dispatch();
    take_log();
    EXPECT_SUCCESS(add(steps(2, 7, 7)));
    EXPECT_EQ(take_log(), (Lines{"1 steps 2", "1 steps 3", "1 ends 0 0 1 1", "10 begins 0 0 1 1"}));
    EXPECT_EQ(current(), 10u);
    // The new job has the place that became free, the first.
    expect_step(1, {"10 steps 100", "10 ends 0 0 1 1", "2 begins 0 0 1 1"});
    expect_step(1, {"2 steps 7", "2 ends 0 0 1 1", "11 begins 0 0 1 1"});
    for (uint32_t owner = 11; owner < 26; ++owner)
        EXPECT_EQ(api().d32DeleteQueue(owner), 1);
    expect_idle();
}

// All jobs of the current owner are finished first, before those of the first owner.
TEST_F(DispatchAdding, AFullTableWithJobsOfTheCurrentOwner) {
    add(steps(1, 1, 2));
    for (int i = 0; i < 16; ++i)
        add(steps(i % 4 == 3 ? 1u : 10u + uint32_t(i), 100 + i, 100 + i));
    api().d32SetFirstService(14);
    take_log();
    EXPECT_SUCCESS(add(steps(1, 50, 50)));
    EXPECT_EQ(take_log(),
              (Lines{"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 103",
                     "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 107", "1 ends 0 0 1 1",
                     "1 begins 0 0 1 1", "1 steps 111", "1 ends 0 0 1 1", "1 begins 0 0 1 1",
                     "1 steps 115", "1 ends 0 0 1 1", "14 begins 0 0 1 1"}));
    // The new job lies in the first free place, the fourth.
    for (const char *owner : {"14", "10", "11", "12"}) {
        const std::string number = std::to_string(std::stoi(owner) + 90);
        const std::string next = std::string(owner) == "14"   ? "10"
                                 : std::string(owner) == "10" ? "11"
                                 : std::string(owner) == "11" ? "12"
                                                              : "1";
        expect_step(1, {std::string(owner) + " steps " + number,
                        std::string(owner) + " ends 0 0 1 1", next + " begins 0 0 1 1"});
    }
    expect_step(1, {"1 steps 50", "1 ends 0 0 1 1", "15 begins 0 0 1 1"});
    for (uint32_t owner = 10; owner < 26; ++owner)
        api().d32DeleteQueue(owner);
    api().d32SetFirstService(0);
    expect_idle();
}

// A table full of the current owner's jobs empties, and the new one begins.
TEST_F(DispatchAdding, AFullTableOfOneOwner) {
    for (int i = 0; i < 17; ++i)
        add(steps(1, i, i));
    Lines wanted;
    for (int i = 0; i < 17; ++i) {
        if (i > 0)
            wanted.push_back("1 begins 0 0 1 1");
        wanted.push_back("1 steps " + std::to_string(i));
        wanted.push_back("1 ends 0 0 1 1");
    }
    for (uint32_t owner : {2u, 1u}) {
        take_log();
        wanted.push_back(std::to_string(owner) + " begins 0 0 1 1");
        EXPECT_SUCCESS(add(steps(owner, 50, 50)));
        EXPECT_EQ(take_log(), wanted);
        wanted.pop_back();
        expect_rest({std::to_string(owner) + " steps 50", std::to_string(owner) + " ends 0 0 1 1"});
        for (int i = 0; i < 17; ++i)
            add(steps(1, i, i));
    }
    EXPECT_EQ(api().d32DeleteQueue(1), 1);
}

// Replacing makes room by itself when the owner has a waiting job.
TEST_F(DispatchAdding, AFullTableWithJobsToReplace) {
    add(steps(1, 1, 3));
    fill_table(10);
    take_log();
    EXPECT_SUCCESS(add(steps(12, 50, 50), replace));
    EXPECT_EQ(take_log(), Lines{});
    // And for the current owner no room is needed.
    EXPECT_SUCCESS(add(steps(1, 60, 60), replace));
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "1 begins 0 0 1 1"}));
    expect_step(1, {"1 steps 60", "1 ends 0 0 1 1", "10 begins 0 0 1 1"});
    expect_step(1, {"10 steps 100", "10 ends 0 0 1 1", "11 begins 0 0 1 1"});
    expect_step(1, {"11 steps 101", "11 ends 0 0 1 1", "12 begins 0 0 1 1"});
    expect_step(1, {"12 steps 50", "12 ends 0 0 1 1", "13 begins 0 0 1 1"});
    for (uint32_t owner = 13; owner < 26; ++owner)
        api().d32DeleteQueue(owner);
}

// That an empty rectangle needs no place is found out only after room has been made.
TEST_F(DispatchAdding, AFullTableForNothing) {
    add(steps(1, 1, 2));
    fill_table(10);
    take_log();
    EXPECT_SUCCESS(add(tiles(2, {0, 0, 0, 0}, 1, 1), replace));
    EXPECT_EQ(take_log(), (Lines{"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "10 begins 0 0 1 1"}));
    EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
    for (uint32_t owner = 10; owner < 26; ++owner)
        api().d32DeleteQueue(owner);
    expect_idle();
    for (int i = 0; i < 17; ++i)
        add(steps(1, i, i));
    take_log();
    EXPECT_SUCCESS(add(tiles(2, {0, 0, 0, 0}, 1, 1), replace));
    EXPECT_EQ(take_log().size(), 3u * 17 - 1);
    expect_idle();
}

// Priority 1 for a job of the first owner, also when room had to be made for it.
TEST_F(DispatchAdding, AFullTableAndTheFirstOwner) {
    api().d32SetFirstService(2);
    add(steps(1, 1, 1));
    fill_table(10);
    EXPECT_SUCCESS(add(steps(2, 7, 7)));
    EXPECT_SUCCESS(add(steps(2, 8, 8))); // once more: the table is full again
    take_log();
    EXPECT_EQ(current(), 2u);
    expect_step(1, {"2 steps 7", "2 ends 0 0 1 1", "2 begins 0 0 1 1"});
    expect_step(1, {"2 steps 8", "2 ends 0 0 1 1", "11 begins 0 0 1 1"});
    for (uint32_t owner = 11; owner < 26; ++owner)
        api().d32DeleteQueue(owner);
    api().d32SetFirstService(0);
}

// When even then there is no room the job is refused, also one that needs none: here the owner that
// comes next deletes its job and fills the places that it and the one after it have left.
TEST_F(DispatchAdding, AFullTableThatStaysFull) {
    for (const Job &refused : {steps(2, 7, 7), tiles(2, {0, 0, 0, 0}, 1, 1)}) {
        SCOPED_TRACE(refused.mode);
        add(steps(1, 1, 1));
        fill_table(10);
        take_log();
        when("10 begins 0 0 1 1", [&] {
            EXPECT_EQ(api().d32DeleteQueue(10), 1);
            EXPECT_EQ(add(steps(30, 9, 9)), 1);
            return add(steps(31, 9, 9));
        });
        EXPECT_SILENT_FAILURE(add(refused, replace));
        EXPECT_EQ(take_log(), (Lines{"1 steps 1", "1 ends 0 0 1 1", "10 begins 0 0 1 1",
                                     "10 ends 0 0 1 1", "11 begins 0 0 1 1"}));
        EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
        EXPECT_EQ(api().d32IsInQueue(30, 0), 1);
        EXPECT_EQ(api().d32IsInQueue(31, 0), 1);
        EXPECT_EQ(current(), 11u);
        expect_step(1, {"11 steps 101", "11 ends 0 0 1 1", "30 begins 0 0 1 1"});
        for (uint32_t owner = 12; owner <= 31; ++owner)
            api().d32DeleteQueue(owner);
        expect_idle();
    }
}

} // namespace
} // namespace q32::test
