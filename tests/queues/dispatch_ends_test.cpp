// Callbacks that call the dispatch queue while their job ends: it is still current, but never ends
// twice; what is called there begins the next job, and whoever had it end goes on with what is.
#include "tests/queues/dispatch_fixture.h"

namespace q32::test {
namespace {

class DispatchEnds : public DispatchTest {
protected:
    int note(const std::string &what, int result) {
        log_.push_back(what + ": " + std::to_string(result));
        return 1;
    }
    // Job 1 with one step left, and what it does when it ends.
    void begin_job(std::function<int()> at_its_end) {
        EXPECT_EQ(add(steps(1, 1, 1)), 1);
        take_log();
        when("1 ends 0 0 1 1", std::move(at_its_end));
    }
    int delete_own() { return api().d32DeleteQueue(1); }
    int replace_own() { return add(steps(1, 7, 7, {5, 6, 7, 8}), replace); }
    int replace_own_by_nothing() { return add(tiles(1, {3, 3, 3, 3}, 1, 1), replace); }
};

// --- what is to be seen ------------------------------------------------------------------------

TEST_F(DispatchEnds, TheJobIsStillCurrent) {
    const RECT present{0, 0, 1, 1}, changed{9, 9, 9, 9};
    begin_job([&] {
        EXPECT_EQ(current(), 1u);
        EXPECT_EQ(current_rectangles(), (Lines{"0 0 1 1", "5 6 7 8"}));
        EXPECT_EQ(api().d32IsInQueue(1, 0), 1);
        EXPECT_EQ(api().d32IsInQueue(2, 0), 1);
        // Too late for what is being told, which does not change under the callback's hands.
        EXPECT_EQ(api().d32SetEndDispatchRect(1, &present, &changed), 1);
        return 1;
    });
    add(steps(2, 2, 2));
    add(steps(1, 3, 3, {5, 6, 7, 8}));
    expect_rest({"1 steps 1", "1 ends 0 0 1 1", "1 begins 5 6 7 8", "1 steps 3", "1 ends 5 6 7 8",
                 "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
}

// --- at the end of the last step ---------------------------------------------------------------

TEST_F(DispatchEnds, AStepMadeThere) {
    begin_job([&] { return note("dispatch", dispatch()); });
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "dispatch: 0"});
    expect_idle();
    begin_job([&] { return note("dispatch", dispatch()); });
    add(steps(2, 2, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "dispatch: 1"});
    expect_rest({"2 steps 3", "2 ends 0 0 1 1"});
    // The job that has ended is the one whose owner comes first.
    begin_job([&] { return note("dispatch", dispatch()); });
    add(steps(2, 2, 2));
    add(steps(1, 3, 4));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 3", "dispatch: 1"});
    expect_rest({"1 steps 4", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
}

// The step is one of the job that has begun for it, or none.
TEST_F(DispatchEnds, AStepMadeThereOfAJobThatIsGone) {
    begin_job([&] { return note("dispatch", dispatch()); });
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    when("2 begins 0 0 1 1", [&] { return note("delete", api().d32DeleteQueue(2)); });
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 ends 0 0 1 1",
                    "3 begins 0 0 1 1", "delete: 1", "dispatch: 1"});
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, AllStepsMadeThere) {
    begin_job([&] {
        while (dispatch() != 0)
            EXPECT_LT(log_.size(), 100u);
        return 1;
    });
    add(steps(2, 2, 3));
    add(steps(3, 4, 4));
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "2 steps 3",
                    "2 ends 0 0 1 1", "3 begins 0 0 1 1", "3 steps 4", "3 ends 0 0 1 1"});
    expect_idle();
}

TEST_F(DispatchEnds, DeletedThere) {
    begin_job([&] { return note("delete", delete_own()); });
    add(steps(1, 3, 3));
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "delete: 1"});
    expect_idle();
    begin_job([&] { return note("delete", delete_own()); });
    add(steps(2, 2, 2));
    add(steps(1, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "delete: 1"});
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
    // Deleting others changes nothing of the current job's end.
    begin_job([&] { return note("delete", api().d32DeleteQueue(2)); });
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "delete: 1", "3 begins 0 0 1 1"});
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, AddedThere) {
    begin_job([&] { return note("add", add(steps(1, 3, 3))); });
    add(steps(2, 2, 2));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "add: 1", "1 begins 0 0 1 1"});
    expect_rest({"1 steps 3", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
    begin_job([&] { return note("add", add(steps(3, 3, 3), replace)); });
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "add: 1", "3 begins 0 0 1 1"});
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, ReplacedThere) {
    begin_job([&] { return note("replace", replace_own()); });
    add(steps(2, 2, 2));
    add(steps(1, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "1 begins 5 6 7 8", "replace: 1"});
    expect_rest({"1 steps 7", "1 ends 5 6 7 8", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, ReplacedByNothingThere) {
    begin_job([&] { return note("replace", replace_own_by_nothing()); });
    add(steps(1, 3, 3));
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "replace: 1"});
    expect_idle();
    begin_job([&] { return note("replace", replace_own_by_nothing()); });
    add(steps(2, 2, 2));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "replace: 1"});
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
    // Steps are a job even so.
    begin_job([&] { return note("replace", add(steps(1, 7, 7, {3, 3, 3, 3}), replace)); });
    add(steps(2, 2, 2));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "1 begins 3 3 3 3", "replace: 1"});
    expect_rest({"1 steps 7", "1 ends 3 3 3 3", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, WaitedForThere) {
    begin_job([&] { return note("wait", api().d32IsInQueue(1, 1)); });
    add(steps(2, 2, 2));
    add(steps(1, 3, 3));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 3",
                    "1 ends 0 0 1 1", "2 begins 0 0 1 1", "wait: 1"});
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
    begin_job([&] { return note("wait", api().d32IsInQueue(1, 1)); });
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "wait: 1"});
    expect_idle();
}

TEST_F(DispatchEnds, AFullTableThere) {
    begin_job([&] { return note("add", add(steps(2, 2, 2))); });
    for (uint32_t owner = 10; owner < 26; ++owner)
        add(steps(owner, 5, 6));
    // The step that makes room is one of the job that has begun.
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "10 begins 0 0 1 1", "10 steps 5", "add: 1"});
    for (uint32_t owner = 11; owner < 26; ++owner)
        api().d32DeleteQueue(owner);
    expect_rest(
        {"10 steps 6", "10 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
}

// --- at the end by deletion --------------------------------------------------------------------

// Jobs that are added there are not deleted; the next one is chosen with nobody preferred.
TEST_F(DispatchEnds, AddedWhileDeleted) {
    begin_job([&] { return note("add", add(steps(1, 3, 3))); });
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "add: 1", "1 begins 0 0 1 1"}));
    expect_rest({"1 steps 3", "1 ends 0 0 1 1"});
    begin_job([&] { return note("add", add(steps(1, 3, 3))); });
    add(steps(2, 2, 2));
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "add: 1", "2 begins 0 0 1 1"}));
    expect_rest({"2 steps 2", "2 ends 0 0 1 1", "1 begins 0 0 1 1", "1 steps 3", "1 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, AStepMadeWhileDeleted) {
    begin_job([&] { return note("dispatch", dispatch()); });
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "dispatch: 0"}));
    expect_idle();
    begin_job([&] { return note("dispatch", dispatch()); });
    add(steps(2, 2, 3));
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(),
              (Lines{"1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "dispatch: 1"}));
    expect_rest({"2 steps 3", "2 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, DeletedWhileDeleted) {
    begin_job([&] { return note("delete", delete_own()); });
    add(steps(2, 2, 2));
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "2 begins 0 0 1 1", "delete: 1"}));
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
}

// The new job of the owner has nothing to do with the one that is deleted.
TEST_F(DispatchEnds, ReplacedWhileDeleted) {
    begin_job([&] { return note("replace", replace_own()); });
    add(steps(2, 2, 2));
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "1 begins 5 6 7 8", "replace: 1"}));
    expect_rest({"1 steps 7", "1 ends 5 6 7 8", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
    begin_job([&] { return note("replace", replace_own_by_nothing()); });
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "replace: 1"}));
    expect_idle();
}

// --- at the end by replacement -----------------------------------------------------------------

// The new job waits for its turn when another has begun there, and begins when none has.
TEST_F(DispatchEnds, DeletedWhileReplaced) {
    begin_job([&] { return note("delete", delete_own()); });
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "delete: 1", "1 begins 5 6 7 8"}));
    expect_rest({"1 steps 7", "1 ends 5 6 7 8"});
    begin_job([&] { return note("delete", delete_own()); });
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "2 begins 0 0 1 1", "delete: 1"}));
    // In the place that 2 has left, the first.
    expect_rest({"2 steps 2", "2 ends 0 0 1 1", "1 begins 5 6 7 8", "1 steps 7", "1 ends 5 6 7 8",
                 "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1"});
}

TEST_F(DispatchEnds, AStepMadeWhileReplaced) {
    begin_job([&] { return note("dispatch", dispatch()); });
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "dispatch: 0", "1 begins 5 6 7 8"}));
    expect_rest({"1 steps 7", "1 ends 5 6 7 8"});
    begin_job([&] { return note("dispatch", dispatch()); });
    add(steps(2, 2, 3));
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(),
              (Lines{"1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "dispatch: 1"}));
    expect_rest({"2 steps 3", "2 ends 0 0 1 1", "1 begins 5 6 7 8", "1 steps 7", "1 ends 5 6 7 8"});
}

// The inner one takes the place, the outer one waits behind it.
TEST_F(DispatchEnds, ReplacedWhileReplaced) {
    begin_job([&] { return note("replace", add(steps(1, 4, 4, {1, 2, 3, 4}), replace)); });
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "1 begins 1 2 3 4", "replace: 1"}));
    expect_rest({"1 steps 4", "1 ends 1 2 3 4", "1 begins 5 6 7 8", "1 steps 7", "1 ends 5 6 7 8"});
    begin_job([&] { return note("replace", replace_own_by_nothing()); });
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "replace: 1", "1 begins 5 6 7 8"}));
    expect_rest({"1 steps 7", "1 ends 5 6 7 8"});
}

TEST_F(DispatchEnds, AddedWhileReplaced) {
    begin_job([&] { return note("add", add(steps(1, 3, 3))); });
    EXPECT_EQ(replace_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "add: 1", "1 begins 5 6 7 8"}));
    expect_rest({"1 steps 7", "1 ends 5 6 7 8", "1 begins 0 0 1 1", "1 steps 3", "1 ends 0 0 1 1"});
}

// Nothing is to take the place, and the job has gone meanwhile: the queue is idle, or goes on with
// what has begun.
TEST_F(DispatchEnds, DeletedWhileReplacedByNothing) {
    begin_job([&] { return note("delete", delete_own()); });
    EXPECT_EQ(replace_own_by_nothing(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "delete: 1"}));
    expect_idle();
    begin_job([&] { return note("delete", delete_own()); });
    add(steps(2, 2, 2));
    EXPECT_EQ(replace_own_by_nothing(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "2 begins 0 0 1 1", "delete: 1"}));
    EXPECT_EQ(api().d32IsInQueue(1, 0), 0);
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
}

// What has been added meanwhile takes it.
TEST_F(DispatchEnds, AddedWhileReplacedByNothing) {
    begin_job([&] { return note("add", add(steps(3, 3, 3))); });
    EXPECT_EQ(replace_own_by_nothing(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "add: 1", "3 begins 0 0 1 1"}));
    expect_rest({"3 steps 3", "3 ends 0 0 1 1"});
}

// A job that stays when it is replaced by nothing is no longer ending: it ends when it is done.
TEST_F(DispatchEnds, AJobThatStaysEndsAgain) {
    EXPECT_EQ(add(steps(1, 1, 2)), 1);
    EXPECT_EQ(replace_own_by_nothing(), 1);
    take_log();
    when("1 ends 0 0 1 1", [&] { return note("delete", delete_own()); });
    EXPECT_EQ(delete_own(), 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "delete: 1"}));
    expect_idle();
}

} // namespace
} // namespace q32::test
