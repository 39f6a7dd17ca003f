// Which waiting job begins when the current one ends: by priority, owner and place in the table.
#include "tests/queues/dispatch_fixture.h"

namespace q32::test {
namespace {

// Jobs of one step each, so that the order of their numbers tells the order of the jobs.
class DispatchChoice : public DispatchTest {
protected:
    void add_step(uint32_t owner, int number) { EXPECT_EQ(add(steps(owner, number, number)), 1); }

    // The steps made from now on until nothing is left to do.
    Lines steps_of_rest() {
        take_log();
        while (dispatch() != 0)
            EXPECT_LT(log_.size(), 1000u);
        Lines made;
        for (const std::string &line : take_log())
            if (const std::size_t place = line.find(" steps "); place != std::string::npos)
                made.push_back(line.substr(0, place) + ':' + line.substr(place + 7));
        expect_idle();
        return made;
    }
};

TEST_F(DispatchChoice, InTheOrderOfAdding) {
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    add_step(4, 40);
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1"}));
    expect_step(1, {"1 steps 10", "1 ends 0 0 1 1", "2 begins 0 0 1 1"});
    expect_step(1, {"2 steps 20", "2 ends 0 0 1 1", "3 begins 0 0 1 1"});
    expect_step(1, {"3 steps 30", "3 ends 0 0 1 1", "4 begins 0 0 1 1"});
    expect_step(0, {"4 steps 40", "4 ends 0 0 1 1"});
}

// Seventeen jobs: one current, sixteen waiting.
TEST_F(DispatchChoice, SixteenWait) {
    Lines wanted;
    for (int i = 0; i < 17; ++i) {
        add_step(uint32_t(i + 1), i);
        wanted.push_back(std::to_string(i + 1) + ':' + std::to_string(i));
    }
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1"}));
    EXPECT_EQ(steps_of_rest(), wanted);
}

TEST_F(DispatchChoice, TheOwnerWhoseJobHasEndedComesFirst) {
    add_step(1, 10);
    add_step(2, 20);
    add_step(1, 11);
    add_step(3, 30);
    add_step(2, 21);
    add_step(1, 12);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "1:11", "1:12", "2:20", "2:21", "3:30"}));
}

// A place that has become free is taken again: the place counts, not the age.
TEST_F(DispatchChoice, TheFirstInTheTable) {
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    add_step(4, 40);
    EXPECT_EQ(dispatch(), 1); // 2 begins: the first place is free
    add_step(5, 50);
    add_step(6, 60);
    EXPECT_EQ(steps_of_rest(), (Lines{"2:20", "5:50", "3:30", "4:40", "6:60"}));
    // Two places become free in the middle.
    for (uint32_t owner = 1; owner <= 6; ++owner)
        add_step(owner, int(owner));
    EXPECT_EQ(api().d32DeleteQueue(3), 1);
    EXPECT_EQ(api().d32DeleteQueue(5), 1);
    add_step(7, 7);
    add_step(8, 8);
    add_step(9, 9);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:1", "2:2", "7:7", "4:4", "8:8", "6:6", "9:9"}));
}

// --- first service -----------------------------------------------------------------------------

TEST_F(DispatchChoice, FirstServiceForJobsThatWait) {
    add_step(1, 10);
    add_step(1, 11);
    add_step(2, 20);
    add_step(3, 30);
    add_step(2, 21);
    EXPECT_SUCCESS(api().d32SetFirstService(2) == 1);
    EXPECT_EQ(current(), 1u);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "2:20", "2:21", "1:11", "3:30"}));
    api().d32SetFirstService(0);
}

TEST_F(DispatchChoice, FirstServiceForJobsThatCome) {
    EXPECT_SUCCESS(api().d32SetFirstService(3) == 1);
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    add_step(1, 11);
    add_step(3, 31);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "3:30", "3:31", "2:20", "1:11"}));
    // It stays so until another is named.
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "3:30", "2:20"}));
}

// Waiting jobs of the owner before keep their priority; those that it adds from now on have none.
TEST_F(DispatchChoice, FirstServicePassesOn) {
    api().d32SetFirstService(3);
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    EXPECT_SUCCESS(api().d32SetFirstService(4) == 1);
    add_step(3, 31);
    add_step(4, 40);
    add_step(2, 21);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "3:30", "4:40", "2:20", "2:21", "3:31"}));
}

TEST_F(DispatchChoice, FirstServiceForNobody) {
    api().d32SetFirstService(3);
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    EXPECT_SUCCESS(api().d32SetFirstService(0) == 1);
    add_step(3, 31);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "3:30", "3:31", "2:20"}));
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "2:20", "3:30"}));
}

// Within priority 1 the owner whose job has ended comes first as well, but not across priorities.
TEST_F(DispatchChoice, PriorityBeforeOwner) {
    for (uint32_t owner : {5u, 6u, 0u})
        api().d32SetFirstService(owner); // nobody waits: nothing changes
    add_step(1, 10);
    add_step(5, 50);
    add_step(6, 60);
    add_step(1, 11);
    api().d32SetFirstService(5);
    api().d32SetFirstService(6);
    api().d32SetFirstService(0);
    add_step(5, 51);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "5:50", "6:60", "1:11", "5:51"}));
    api().d32SetFirstService(1);
    add_step(1, 10);
    add_step(5, 50);
    add_step(1, 11);
    api().d32SetFirstService(5);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "1:11", "5:50"}));
    api().d32SetFirstService(0);
}

// Jobs that somebody waits for (priority 2) go back to 1 when their owner becomes the first.
TEST_F(DispatchChoice, FirstServiceLowersWhatIsWaitedFor) {
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    api().d32SetFirstService(2);
    take_log();
    when("1 steps 10", [&] { return api().d32SetFirstService(3); });
    EXPECT_EQ(api().d32IsInQueue(3, 1), 1);
    EXPECT_EQ(take_log(), (Lines{"1 steps 10", "1 ends 0 0 1 1", "2 begins 0 0 1 1"}));
    EXPECT_EQ(steps_of_rest(), (Lines{"2:20", "3:30"}));
}

// --- taking out ------------------------------------------------------------------------------

TEST_F(DispatchChoice, DeletingWaitingJobs) {
    add_step(1, 10);
    add_step(2, 20);
    add_step(3, 30);
    add_step(2, 21);
    take_log();
    EXPECT_SUCCESS(api().d32DeleteQueue(2) == 1);
    EXPECT_SUCCESS(api().d32DeleteQueue(9) == 1);
    EXPECT_SILENT_FAILURE(api().d32DeleteQueue(0));
    EXPECT_EQ(take_log(), Lines{});
    EXPECT_EQ(current(), 1u);
    EXPECT_EQ(steps_of_rest(), (Lines{"1:10", "3:30"}));
}

TEST_F(DispatchChoice, DeletingTheCurrentJob) {
    EXPECT_EQ(add(steps(1, 10, 19, {1, 2, 3, 4})), 1);
    add_step(2, 20);
    add_step(1, 11);
    add_step(3, 30);
    api().d32SetFirstService(3);
    EXPECT_EQ(dispatch(), 1);
    take_log();
    EXPECT_SUCCESS(api().d32DeleteQueue(1) == 1);
    EXPECT_EQ(take_log(), (Lines{"1 ends 1 2 3 4", "3 begins 0 0 1 1"}));
    EXPECT_EQ(steps_of_rest(), (Lines{"3:30", "2:20"}));
    EXPECT_EQ(add(tiles(4, {0, 0, 5, 5}, 1, 1)), 1);
    take_log();
    EXPECT_SUCCESS(api().d32DeleteQueue(4) == 1);
    EXPECT_EQ(take_log(), (Lines{"4 ends 0 0 5 5"}));
    expect_idle();
    api().d32SetFirstService(0);
}

} // namespace
} // namespace q32::test
