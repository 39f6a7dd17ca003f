// Callbacks that call the dispatch queue while a job makes a step: every step is made once, a job
// that has been ended there is left alone, and whoever called goes on with what is.
#include "tests/queues/dispatch_fixture.h"

namespace q32::test {
namespace {

class DispatchCallbacks : public DispatchTest {
protected:
    // Enters the result of a call from a callback into the log.
    int note(const std::string &what, int result) {
        log_.push_back(what + ": " + std::to_string(result));
        return 1;
    }
};

// --- while a step is made ----------------------------------------------------------------------

// The step within a step is the next one.
TEST_F(DispatchCallbacks, AStepWithinAStep) {
    when("1 steps 0 0 1 1", [&] { return note("dispatch", dispatch()); });
    when("1 steps 0 1 1 2", [&] {
        note("dispatch", dispatch());
        return note("dispatch", dispatch());
    });
    EXPECT_SUCCESS(add(tiles(1, {0, 0, 3, 2}, 1, 1)));
    take_log();
    expect_step(1, {"1 steps 0 0 1 1", "1 steps 1 0 2 1", "dispatch: 1"});
    expect_step(1, {"1 steps 2 0 3 1"});
    // The last two are made within the one before, which then ends nothing.
    expect_step(0, {"1 steps 0 1 1 2", "1 steps 1 1 2 2", "dispatch: 1", "1 steps 2 1 3 2",
                    "1 ends 0 0 3 2", "dispatch: 0"});
    expect_idle();
}

TEST_F(DispatchCallbacks, StepsWithinSteps) {
    reply_ = [&](const Message &message) {
        if (message.message == 32)
            note("after " + message.text.substr(8), dispatch());
        return 1;
    };
    add(steps(1, 1, 4));
    take_log();
    // At the last one the job ends, and the calls find nothing any more.
    expect_step(0, {"1 steps 1", "1 steps 2", "1 steps 3", "1 steps 4", "1 ends 0 0 1 1",
                    "after 4: 0", "after 3: 0", "after 2: 0", "after 1: 0"});
    expect_idle();
}

// From the last step of a job a step ends it and begins the next.
TEST_F(DispatchCallbacks, AStepWithinTheLastStep) {
    for (const bool others : {false, true}) {
        add(bands(1, {0, 0, 4, 3}, 2));
        if (others)
            add(steps(2, 2, 2));
        dispatch();
        when("1 steps 0 2 4 3", [&] { return note("dispatch", dispatch()); });
        if (others) {
            expect_step(1,
                        {"1 steps 0 2 4 3", "1 ends 0 0 4 3", "2 begins 0 0 1 1", "dispatch: 1"});
            expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
        } else {
            expect_step(0, {"1 steps 0 2 4 3", "1 ends 0 0 4 3", "dispatch: 0"});
            expect_idle();
        }
    }
    // The job that has begun there is not stopped by the reply to the one before.
    add(steps(1, 1, 1));
    add(steps(2, 2, 2));
    take_log();
    when("1 steps 1", [&] {
        note("dispatch", dispatch());
        return 0;
    });
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "dispatch: 1"});
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchCallbacks, StoppedAfterAStepWithin) {
    add(steps(1, 1, 5));
    take_log();
    when("1 steps 2", [&] {
        note("dispatch", dispatch());
        return 0;
    });
    expect_step(1, {"1 steps 1"});
    expect_step(0, {"1 steps 2", "1 steps 3", "dispatch: 1", "1 ends 0 0 1 1"});
    // Stopped by the inner one: the outer has nothing to stop.
    add(steps(1, 1, 5));
    take_log();
    when("1 steps 1", [&] {
        note("dispatch", dispatch());
        return 0;
    });
    when("1 steps 2", [] { return 0; });
    expect_step(0, {"1 steps 1", "1 steps 2", "1 ends 0 0 1 1", "dispatch: 0"});
    expect_idle();
}

TEST_F(DispatchCallbacks, DeletedWithinAStep) {
    for (const int reply : {0, 1}) {
        const auto deleting = [&, reply] {
            note("delete", api().d32DeleteQueue(1));
            return reply;
        };
        add(steps(1, 1, 5));
        add(steps(1, 6, 6));
        take_log();
        when("1 steps 1", deleting);
        expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "delete: 1"});
        expect_idle();
        add(tiles(1, {0, 0, 9, 9}, 1, 1));
        add(tiles(2, {0, 0, 2, 1}, 1, 1));
        take_log();
        when("1 steps 0 0 1 1", deleting);
        expect_step(1, {"1 steps 0 0 1 1", "1 ends 0 0 9 9", "2 begins 0 0 1 1", "delete: 1"});
        expect_rest({"2 steps 0 0 1 1", "2 steps 1 0 2 1", "2 ends 0 0 2 1"});
    }
}

TEST_F(DispatchCallbacks, ReplacedWithinAStep) {
    for (const int reply : {0, 1}) {
        add(steps(1, 1, 5));
        add(steps(2, 2, 2));
        take_log();
        when("1 steps 1", [&] {
            note("replace", add(tiles(1, {0, 0, 2, 1}, 1, 1), replace));
            return reply;
        });
        expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "1 begins 0 0 1 1", "replace: 1"});
        expect_rest({"1 steps 0 0 1 1", "1 steps 1 0 2 1", "1 ends 0 0 2 1", "2 begins 0 0 1 1",
                     "2 steps 2", "2 ends 0 0 1 1"});
    }
}

// With nothing to take its place the job goes on, and ends once more when it is done.
TEST_F(DispatchCallbacks, ReplacedByNothingWithinAStep) {
    const auto nothing = [&](int reply) {
        return [&, reply] {
            note("replace", add(bands(1, {0, 0, 0, 0}, 1), replace));
            return reply;
        };
    };
    add(steps(1, 1, 3));
    take_log();
    when("1 steps 1", nothing(1));
    when("1 steps 3", nothing(1));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "replace: 1"});
    expect_step(1, {"1 steps 2"});
    expect_step(0, {"1 steps 3", "1 ends 0 0 1 1", "replace: 1", "1 ends 0 0 1 1"});
    expect_idle();
    add(steps(1, 1, 3));
    take_log();
    when("1 steps 1", nothing(0));
    expect_step(0, {"1 steps 1", "1 ends 0 0 1 1", "replace: 1", "1 ends 0 0 1 1"});
    expect_idle();
    // When another waits it takes the place.
    add(steps(1, 1, 3));
    add(steps(2, 2, 2));
    take_log();
    when("1 steps 1", nothing(0));
    expect_step(1, {"1 steps 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "replace: 1"});
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchCallbacks, AddedWithinAStep) {
    add(steps(1, 1, 1));
    take_log();
    when("1 steps 1", [&] { return note("add", add(steps(2, 2, 2))); });
    when("2 steps 2", [&] { return note("add", add(steps(2, 3, 3))); });
    expect_rest({"1 steps 1", "add: 1", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 2", "add: 1",
                 "2 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 3", "2 ends 0 0 1 1"});
}

// Room is made by the steps that are left of the job whose step adds.
TEST_F(DispatchCallbacks, AddedToAFullTableWithinAStep) {
    add(steps(1, 1, 3));
    for (uint32_t owner = 10; owner < 26; ++owner)
        add(steps(owner, 5, 5));
    take_log();
    when("1 steps 1", [&] { return note("add", add(steps(2, 2, 2))); });
    expect_step(1, {"1 steps 1", "1 steps 2", "1 steps 3", "1 ends 0 0 1 1", "10 begins 0 0 1 1",
                    "add: 1"});
    expect_step(1, {"10 steps 5", "10 ends 0 0 1 1", "2 begins 0 0 1 1"});
    for (uint32_t owner = 11; owner < 26; ++owner)
        api().d32DeleteQueue(owner);
    take_log();
    expect_rest({"2 steps 2", "2 ends 0 0 1 1"});
}

TEST_F(DispatchCallbacks, WaitingWithinAStep) {
    add(steps(1, 1, 3));
    add(steps(2, 4, 4));
    add(steps(1, 5, 5));
    take_log();
    when("1 steps 1", [&] { return note("wait", api().d32IsInQueue(1, 1)); });
    expect_step(1, {"1 steps 1", "1 steps 2", "1 steps 3", "1 ends 0 0 1 1", "1 begins 0 0 1 1",
                    "1 steps 5", "1 ends 0 0 1 1", "2 begins 0 0 1 1", "wait: 1"});
    // For another: the job that makes the step is finished first.
    when("2 steps 4", [&] { return note("wait", api().d32IsInQueue(3, 1)); });
    add(steps(3, 6, 7));
    expect_step(0, {"2 steps 4", "2 ends 0 0 1 1", "3 begins 0 0 1 1", "3 steps 6", "3 steps 7",
                    "3 ends 0 0 1 1", "wait: 1"});
    expect_idle();
}

TEST_F(DispatchCallbacks, QuestionsWithinAStep) {
    add(tiles(1, {0, 0, 2, 1}, 1, 1));
    add(steps(1, 1, 1, {5, 6, 7, 8}));
    add(steps(2, 2, 2));
    add(steps(3, 3, 3));
    const RECT present{0, 0, 2, 1}, changed{9, 9, 9, 9};
    when("1 steps 1 0 2 1", [&] {
        EXPECT_EQ(current(), 1u);
        EXPECT_EQ(current_rectangles(), (Lines{"0 0 2 1", "5 6 7 8"}));
        EXPECT_EQ(api().d32IsInQueue(2, 0), 1);
        EXPECT_EQ(api().d32IsInQueue(4, 0), 0);
        EXPECT_EQ(api().d32SetEndDispatchRect(1, &present, &changed), 1);
        EXPECT_EQ(api().d32SetFirstService(3), 1);
        return 1;
    });
    expect_rest({"1 begins 0 0 1 1", "1 steps 0 0 1 1", "1 steps 1 0 2 1", "1 ends 9 9 9 9",
                 "3 begins 0 0 1 1", "3 steps 3", "3 ends 0 0 1 1", "1 begins 5 6 7 8", "1 steps 1",
                 "1 ends 5 6 7 8", "2 begins 0 0 1 1", "2 steps 2", "2 ends 0 0 1 1"});
    api().d32SetFirstService(0);
}

} // namespace
} // namespace q32::test
