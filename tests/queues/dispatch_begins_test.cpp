// Callbacks that call the dispatch queue while their job begins. One that has waited is still in
// the table then, and has its own end rectangle there, but never begins again: it leaves the table
// when the callback has returned.
#include "tests/queues/dispatch_fixture.h"

namespace q32::test {
namespace {

class DispatchBegins : public DispatchTest {
protected:
    // Enters the result of a call from a callback into the log.
    int note(const std::string &what, int result) {
        log_.push_back(what + ": " + std::to_string(result));
        return 1;
    }
    int set_end(uint32_t owner, const RECT &rectangle, const RECT &end) {
        return api().d32SetEndDispatchRect(owner, &rectangle, &end);
    }
    int delete_jobs(uint32_t owner) { return api().d32DeleteQueue(owner); }

    static constexpr RECT present{1, 2, 3, 4}, changed{9, 9, 9, 9}, again{10, 10, 10, 10};
    // A job of one step is current, one of owner 2 with numbers 2 to `last` waits in the first
    // place, and does this when it begins.
    void wait_to_begin(int last, std::function<int()> there) {
        EXPECT_EQ(add(steps(1, 1, 1)), 1);
        EXPECT_EQ(add(steps(2, 2, last, present)), 1);
        take_log();
        when("2 begins 1 2 3 4", std::move(there));
    }
};

// --- jobs that begin at once ---------------------------------------------------------------------

TEST_F(DispatchBegins, AStepMadeAtOnce) {
    when("1 begins 0 0 1 1", [&] { return note("dispatch", dispatch()); });
    EXPECT_SUCCESS(add(steps(1, 1, 3)));
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1", "1 steps 1", "dispatch: 1"}));
    expect_rest({"1 steps 2", "1 steps 3", "1 ends 0 0 1 1"});
}

TEST_F(DispatchBegins, AllStepsMadeAtOnce) {
    when("1 begins 0 0 1 1", [&] {
        EXPECT_EQ(dispatch(), 1);
        return note("dispatch", dispatch());
    });
    EXPECT_SUCCESS(add(tiles(1, {0, 0, 2, 1}, 1, 1)));
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1", "1 steps 0 0 1 1", "1 steps 1 0 2 1",
                                 "1 ends 0 0 2 1", "dispatch: 0"}));
    expect_idle();
}

TEST_F(DispatchBegins, DeletedAtOnce) {
    when("1 begins 0 0 1 1", [&] { return note("delete", delete_jobs(1)); });
    EXPECT_SUCCESS(add(steps(1, 1, 3)));
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1", "1 ends 0 0 1 1", "delete: 1"}));
    expect_idle();
}

TEST_F(DispatchBegins, AddedAtOnce) {
    when("1 begins 0 0 1 1", [&] {
        note("add", add(steps(2, 2, 2)));
        note("add", add(steps(1, 3, 3)));
        return 1;
    });
    EXPECT_SUCCESS(add(steps(1, 1, 1)));
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1", "add: 1", "add: 1"}));
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 3", "1 ends 0 0 1 1",
                 "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchBegins, ReplacedAtOnce) {
    when("1 begins 1 1 2 2", [&] {
        return note("replace", add(steps(1, 7, 8, {5, 6, 7, 8}), replace));
    });
    EXPECT_SUCCESS(add(steps(1, 1, 3, {1, 1, 2, 2})));
    EXPECT_EQ(take_log(),
              (Lines{"1 begins 1 1 2 2", "1 ends 1 1 2 2", "1 begins 5 6 7 8", "replace: 1"}));
    expect_rest({"1 steps 7", "1 steps 8", "1 ends 5 6 7 8"});
}

// It has never been in the table: it is there once, and its end rectangle stays as it is set.
TEST_F(DispatchBegins, QuestionsAtOnce) {
    when("2 begins 1 2 3 4", [&] {
        EXPECT_EQ(current(), 2u);
        EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4"}));
        EXPECT_EQ(api().d32IsInQueue(2, 0), 1);
        EXPECT_EQ(set_end(2, present, again), 1);
        EXPECT_EQ(set_end(2, present, changed), 0);
        return 1;
    });
    EXPECT_EQ(add(steps(2, 2, 2, present)), 1);
    expect_rest({"2 begins 1 2 3 4", "2 steps 2", "2 ends 10 10 10 10"});
}

// --- what is to be seen of a job that has waited -----------------------------------------------

TEST_F(DispatchBegins, TheJobIsStillInTheTable) {
    wait_to_begin(2, [&] {
        EXPECT_EQ(current(), 2u);
        EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4", "1 2 3 4", "5 6 7 8"}));
        EXPECT_EQ(api().d32IsInQueue(1, 0), 0);
        EXPECT_EQ(api().d32IsInQueue(2, 0), 1);
        EXPECT_EQ(api().d32IsInQueue(3, 0), 1);
        return 1;
    });
    add(steps(3, 4, 4));
    add(steps(2, 3, 3, {5, 6, 7, 8}));
    when("2 steps 2", [&] {
        EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4", "5 6 7 8"}));
        return 1;
    });
    when("2 begins 5 6 7 8", [&] {
        EXPECT_EQ(current_rectangles(), (Lines{"5 6 7 8", "5 6 7 8"}));
        return 1;
    });
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 1 2 3 4",
                 "2 begins 5 6 7 8", "2 steps 3", "2 ends 5 6 7 8", "3 begins 0 0 1 1", "3 steps 4",
                 "3 ends 0 0 1 1"});
}

// Its place among the waiting jobs of its owner is the one that it has in the table.
TEST_F(DispatchBegins, InTheOrderOfTheTable) {
    api().d32SetFirstService(2);
    add(steps(1, 1, 1));
    add(steps(9, 9, 9));
    add(steps(2, 3, 3, {5, 6, 7, 8})); // second place, priority 1
    api().d32SetFirstService(0);
    EXPECT_EQ(delete_jobs(9), 1);
    add(steps(2, 2, 2, present)); // first place, priority 0
    take_log();
    when("2 begins 5 6 7 8", [&] {
        EXPECT_EQ(current_rectangles(), (Lines{"5 6 7 8", "1 2 3 4", "5 6 7 8"}));
        return 1;
    });
    when("2 steps 3", [&] {
        EXPECT_EQ(current_rectangles(), (Lines{"5 6 7 8", "1 2 3 4"}));
        return 1;
    });
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 5 6 7 8", "2 steps 3", "2 ends 5 6 7 8",
                 "2 begins 1 2 3 4", "2 steps 2", "2 ends 1 2 3 4"});
}

// So it is whatever made the job begin.
TEST_F(DispatchBegins, AfterDeletionAndReplacementToo) {
    const auto twice_there = [&] {
        EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4", "1 2 3 4"}));
        EXPECT_EQ(set_end(2, present, again), 1);
        return 1;
    };
    wait_to_begin(2, twice_there);
    EXPECT_EQ(delete_jobs(1), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "2 begins 1 2 3 4"}));
    EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4"}));
    expect_rest({"2 steps 2", "2 ends 1 2 3 4"});
    wait_to_begin(2, twice_there);
    EXPECT_EQ(add(tiles(1, {3, 3, 3, 3}, 1, 1), replace), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "2 begins 1 2 3 4"}));
    EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4"}));
    expect_rest({"2 steps 2", "2 ends 1 2 3 4"});
}

// --- the end rectangle of a job that has waited ------------------------------------------------

// What is set there is the current job's, and gives way to the waiting one's.
TEST_F(DispatchBegins, TheEndRectangleOfTheTableCounts) {
    wait_to_begin(2, [&] {
        EXPECT_EQ(set_end(2, present, again), 1);
        return 1;
    });
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 1 2 3 4"});
    // The one that has been set while it waited.
    wait_to_begin(2, [&] {
        EXPECT_EQ(set_end(2, present, again), 1); // the current job's: the rectangle it began with
        EXPECT_EQ(set_end(2, present, again), 0);
        return 1;
    });
    EXPECT_EQ(set_end(2, present, changed), 1);
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 9 9 9 9"});
}

// The same rectangle once more, or the one of before, finds the job in the table.
TEST_F(DispatchBegins, TheEndRectangleInTheTableIsSetThere) {
    wait_to_begin(2, [&] {
        EXPECT_EQ(set_end(2, present, again), 1);
        EXPECT_EQ(set_end(2, present, changed), 1);
        EXPECT_EQ(set_end(2, present, {7, 7, 7, 7}), 0);
        return 1;
    });
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 9 9 9 9"});
    wait_to_begin(2, [&] {
        EXPECT_EQ(set_end(2, changed, again), 1);
        return 1;
    });
    EXPECT_EQ(set_end(2, present, changed), 1);
    expect_rest(
        {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 10 10 10 10"});
    // When the callback has returned it is the job's.
    wait_to_begin(2, [] { return 1; });
    EXPECT_EQ(set_end(2, present, changed), 1);
    when("2 steps 2", [&] {
        EXPECT_EQ(set_end(2, present, again), 0);
        EXPECT_EQ(set_end(2, changed, again), 1);
        return 1;
    });
    expect_rest(
        {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 10 10 10 10"});
}

// Current job, its place in the table, the other places: one after another.
TEST_F(DispatchBegins, EndRectanglesOneAfterAnother) {
    wait_to_begin(2, [&] {
        EXPECT_EQ(set_end(2, present, {20, 0, 0, 0}), 1);
        EXPECT_EQ(set_end(2, present, {21, 0, 0, 0}), 1);
        EXPECT_EQ(set_end(2, present, {22, 0, 0, 0}), 1);
        EXPECT_EQ(set_end(2, present, {23, 0, 0, 0}), 0);
        return 1;
    });
    add(steps(3, 3, 3, present));
    add(steps(2, 4, 4, present));
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 ends 21 0 0 0",
                 "2 begins 1 2 3 4", "2 steps 4", "2 ends 22 0 0 0", "3 begins 1 2 3 4",
                 "3 steps 3", "3 ends 1 2 3 4"});
}

// --- jobs added there ----------------------------------------------------------------------------

// The place of the job that begins is not free yet.
TEST_F(DispatchBegins, AddedBehindTheOthers) {
    wait_to_begin(2, [&] {
        note("add", add(steps(4, 4, 4)));
        return note("add", add(steps(2, 5, 5)));
    });
    add(steps(3, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "add: 1", "add: 1"});
    add(steps(6, 6, 6)); // in the first place, which is free now
    expect_rest({"2 steps 2", "2 ends 1 2 3 4", "2 begins 0 0 1 1", "2 steps 5", "2 ends 0 0 1 1",
                 "6 begins 0 0 1 1", "6 steps 6", "6 ends 0 0 1 1", "3 begins 0 0 1 1", "3 steps 3",
                 "3 ends 0 0 1 1", "4 begins 0 0 1 1", "4 steps 4", "4 ends 0 0 1 1"});
}

// Fifteen others and the one that begins: there is no room, and the job is worked off to make some.
TEST_F(DispatchBegins, AddedToATableThatIsStillFull) {
    wait_to_begin(3, [&] {
        note("add", add(steps(30, 7, 7)));
        EXPECT_EQ(api().d32IsInQueue(2, 0), 1); // its place is not free yet
        return 1;
    });
    for (uint32_t owner = 10; owner < 25; ++owner)
        add(steps(owner, 5, 5));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "2 steps 3",
                    "2 ends 1 2 3 4", "10 begins 0 0 1 1", "add: 1"});
    EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
    // The place of 10 is taken, the one of 2 free.
    add(steps(31, 8, 8));
    expect_step(1, {"10 steps 5", "10 ends 0 0 1 1", "31 begins 0 0 1 1"});
    expect_step(1, {"31 steps 8", "31 ends 0 0 1 1", "30 begins 0 0 1 1"});
    for (uint32_t owner = 11; owner < 25; ++owner)
        delete_jobs(owner);
    expect_rest({"30 steps 7", "30 ends 0 0 1 1"});
}

TEST_F(DispatchBegins, AddedToATableWithOnePlaceLeft) {
    wait_to_begin(2, [&] { return note("add", add(steps(30, 7, 7))); });
    for (uint32_t owner = 10; owner < 24; ++owner)
        add(steps(owner, 5, 5));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "add: 1"});
    for (uint32_t owner = 10; owner < 24; ++owner)
        delete_jobs(owner);
    expect_rest(
        {"2 steps 2", "2 ends 1 2 3 4", "30 begins 0 0 1 1", "30 steps 7", "30 ends 0 0 1 1"});
}

// --- jobs deleted there --------------------------------------------------------------------------

// It ends with the rectangle that it began with, and has left the table: it does not begin again.
TEST_F(DispatchBegins, Deleted) {
    wait_to_begin(4, [&] { return note("delete", delete_jobs(2)); });
    EXPECT_EQ(set_end(2, present, changed), 1);
    add(steps(3, 3, 3));
    add(steps(2, 5, 5));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 ends 1 2 3 4",
                    "3 begins 0 0 1 1", "delete: 1"});
    EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
    when("3 steps 3", [&] { return add(steps(4, 1, 1)); });
    when("4 begins 0 0 1 1", [&] { return note("delete", delete_jobs(4)); });
    expect_step(0,
                {"3 steps 3", "3 ends 0 0 1 1", "4 begins 0 0 1 1", "4 ends 0 0 1 1", "delete: 1"});
    expect_idle();
}

// Whoever takes its place in the table keeps it.
TEST_F(DispatchBegins, DeletedAndItsPlaceTaken) {
    wait_to_begin(4, [&] {
        delete_jobs(2);
        note("add", add(steps(5, 5, 5)));
        return note("add", add(steps(6, 6, 6)));
    });
    add(steps(3, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 ends 1 2 3 4",
                    "3 begins 0 0 1 1", "add: 1", "add: 1"});
    expect_rest({"3 steps 3", "3 ends 0 0 1 1", "5 begins 0 0 1 1", "5 steps 5", "5 ends 0 0 1 1",
                 "6 begins 0 0 1 1", "6 steps 6", "6 ends 0 0 1 1"});
    // Also when it is a job of the same owner that begins in place of the deleted one.
    wait_to_begin(4, [&] {
        delete_jobs(2);
        note("add", add(steps(2, 8, 8, {5, 6, 7, 8})));
        return note("add", add(steps(2, 9, 9, present)));
    });
    EXPECT_EQ(set_end(2, present, changed), 1);
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 ends 1 2 3 4",
                    "2 begins 5 6 7 8", "add: 1", "add: 1"});
    expect_rest({"2 steps 8", "2 ends 5 6 7 8", "2 begins 1 2 3 4", "2 steps 9", "2 ends 1 2 3 4"});
}

// --- jobs replaced there -------------------------------------------------------------------------

// The new job keeps its own end rectangle.
TEST_F(DispatchBegins, Replaced) {
    wait_to_begin(4, [&] { return note("replace", add(steps(2, 7, 7, {5, 6, 7, 8}), replace)); });
    EXPECT_EQ(set_end(2, present, changed), 1);
    add(steps(3, 3, 3));
    add(steps(2, 5, 5));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 ends 1 2 3 4",
                    "2 begins 5 6 7 8", "replace: 1"});
    EXPECT_EQ(current_rectangles(), (Lines{"5 6 7 8"}));
    expect_rest({"2 steps 7", "2 ends 5 6 7 8", "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchBegins, ReplacedByNothing) {
    const auto replace_by_nothing = [&] {
        return note("replace", add(tiles(2, {3, 3, 3, 3}, 1, 1), replace));
    };
    wait_to_begin(4, replace_by_nothing);
    add(steps(3, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 ends 1 2 3 4",
                    "3 begins 0 0 1 1", "replace: 1"});
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
    // With nothing to take its place it goes on, and who waits in its place of the table stays.
    wait_to_begin(3, [&] {
        replace_by_nothing();
        EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4"}));
        return note("add", add(steps(5, 5, 5)));
    });
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 ends 1 2 3 4",
                    "replace: 1", "add: 1"});
    expect_rest({"2 steps 2", "2 steps 3", "2 ends 1 2 3 4", "5 begins 0 0 1 1", "5 steps 5",
                 "5 ends 0 0 1 1"});
}

// --- steps made there ----------------------------------------------------------------------------

// As long as the job goes on it leaves the table afterwards like any other.
TEST_F(DispatchBegins, AStepMade) {
    wait_to_begin(4, [&] {
        note("dispatch", dispatch());
        EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4", "1 2 3 4"}));
        return note("dispatch", dispatch());
    });
    EXPECT_EQ(set_end(2, present, changed), 1);
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "dispatch: 1",
                    "2 steps 3", "dispatch: 1"});
    EXPECT_EQ(current_rectangles(), (Lines{"1 2 3 4"}));
    expect_rest({"2 steps 4", "2 ends 9 9 9 9"});
}

// A job that ends there has its place in the table until the callback returns, but is not the next
// one: it ends with the rectangle that it began with.
TEST_F(DispatchBegins, AllStepsMade) {
    wait_to_begin(3, [&] {
        note("dispatch", dispatch());
        note("dispatch", dispatch());
        EXPECT_EQ(api().d32IsInQueue(2, 0), 1);
        return 1;
    });
    EXPECT_EQ(set_end(2, present, changed), 1);
    add(steps(3, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "dispatch: 1",
                    "2 steps 3", "2 ends 1 2 3 4", "3 begins 0 0 1 1", "dispatch: 1"});
    EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
    // With nobody behind it.
    wait_to_begin(3, [&] {
        note("dispatch", dispatch());
        return note("dispatch", dispatch());
    });
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2", "dispatch: 1",
                    "2 steps 3", "2 ends 1 2 3 4", "dispatch: 0"});
    expect_idle();
}

// Callbacks that always make their steps themselves come to an end.
TEST_F(DispatchBegins, AllStepsMadeByAll) {
    reply_ = [&](const Message &message) {
        if (message.message == 16)
            dispatch();
        return 1;
    };
    when("1 begins 0 0 1 1", [] { return 1; });
    add(steps(1, 1, 1));
    for (uint32_t owner = 2; owner <= 4; ++owner)
        add(steps(owner, int(owner), int(owner)));
    expect_rest({"1 begins 0 0 1 1", "1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2",
                 "2 ends 0 0 1 1", "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1",
                 "4 begins 0 0 1 1", "4 steps 4", "4 ends 0 0 1 1"});
}

TEST_F(DispatchBegins, StoppedByAStepMade) {
    wait_to_begin(4, [&] { return note("dispatch", dispatch()); });
    when("2 steps 2", [] { return 0; });
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2",
                    "2 ends 1 2 3 4", "dispatch: 0"});
    expect_idle();
}

// A call that begins a job makes a step of that one or of none.
TEST_F(DispatchBegins, NoStepOfAJobThatCameInPlaceOfTheOneBegun) {
    add(steps(1, 1, 1));
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    take_log();
    when("1 ends 0 0 1 1", [&] { return note("dispatch", dispatch()); });
    when("2 begins 0 0 1 1", [&] { return note("delete", delete_jobs(2)); });
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 ends 0 0 1 1",
                    "3 begins 0 0 1 1", "delete: 1", "dispatch: 1"});
    when("3 ends 0 0 1 1", [&] {
        add(steps(4, 4, 5));
        return note("dispatch", dispatch());
    });
    when("4 begins 0 0 1 1", [&] { return note("dispatch", dispatch()); });
    // Still the one that has begun, further on: it is stepped.
    expect_step(0, {"3 steps 3", "3 ends 0 0 1 1", "4 begins 0 0 1 1", "4 steps 4", "dispatch: 1",
                    "4 steps 5", "4 ends 0 0 1 1", "dispatch: 0"});
    expect_idle();
}

// --- waiting and first service there -----------------------------------------------------------

TEST_F(DispatchBegins, WaitedFor) {
    wait_to_begin(2, [&] { return note("wait", api().d32IsInQueue(2, 1)); });
    add(steps(3, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2",
                    "2 ends 1 2 3 4", "3 begins 0 0 1 1", "wait: 1"});
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchBegins, FirstService) {
    wait_to_begin(2, [&] { return note("first", api().d32SetFirstService(4)); });
    add(steps(3, 3, 3));
    add(steps(4, 4, 4));
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "first: 1", "2 steps 2",
                 "2 ends 1 2 3 4", "4 begins 0 0 1 1", "4 steps 4", "4 ends 0 0 1 1",
                 "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
    // For its own owner: only what waits afterwards is raised.
    wait_to_begin(2, [&] { return note("first", api().d32SetFirstService(2)); });
    add(steps(2, 5, 5));
    add(steps(3, 3, 3));
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "first: 1", "2 steps 2",
                 "2 ends 1 2 3 4", "2 begins 0 0 1 1", "2 steps 5", "2 ends 0 0 1 1",
                 "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
    api().d32SetFirstService(0);
}

// It is another one's turn when the job ends there, and its own is over.
TEST_F(DispatchBegins, FirstServiceBeforeTheJobEnds) {
    wait_to_begin(2, [&] {
        api().d32SetFirstService(4);
        return note("dispatch", dispatch());
    });
    EXPECT_EQ(set_end(2, present, changed), 1);
    add(steps(3, 3, 3));
    add(steps(4, 4, 4));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 1 2 3 4", "2 steps 2",
                    "2 ends 1 2 3 4", "4 begins 0 0 1 1", "dispatch: 1"});
    EXPECT_EQ(api().d32IsInQueue(2, 0), 0);
    expect_rest({"4 steps 4", "4 ends 0 0 1 1", "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
    api().d32SetFirstService(0);
}

} // namespace
} // namespace q32::test
