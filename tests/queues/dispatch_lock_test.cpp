// The library's lock around the dispatch queue: other threads wait for a callback to return, and
// those that only ask do not.
#include "tests/queues/dispatch_fixture.h"
#include "tests/queues/threads.h"

#include <array>
#include <atomic>
#include <set>

namespace q32::test {
namespace {

class DispatchLock : public DispatchTest {};

constexpr DWORD patience = 10000, while_it_waits = 60; // milliseconds

// A call on another thread while a callback runs does not return until the callback has.
TEST_F(DispatchLock, OthersWaitForACallback) {
    const struct {
        const char *name;
        std::function<int()> call;
        Lines messages; // that come when the callback has returned
    } calls[] = {
        {"dispatch", [&] { return dispatch(); }, {"1 steps 2"}},
        {"add",
         [&] { return add(steps(1, 7, 8), replace); },
         {"1 ends 0 0 1 1", "1 begins 0 0 1 1"}},
        {"delete", [&] { return api().d32DeleteQueue(1); }, {"1 ends 0 0 1 1"}},
    };
    for (const auto &[name, call, messages] : calls) {
        SCOPED_TRACE(name);
        EXPECT_EQ(add(steps(1, 1, 9)), 1);
        take_log();
        std::unique_ptr<Thread> other;
        int result = -1;
        when("1 steps 1", [&] {
            other = std::make_unique<Thread>([&] { result = call(); });
            EXPECT_FALSE(other->ended(while_it_waits));
            // Nobody else has written to the log meanwhile.
            EXPECT_EQ(log_, (Lines{"1 steps 1"}));
            return 1;
        });
        EXPECT_EQ(dispatch(), 1);
        ASSERT_TRUE(other);
        EXPECT_TRUE(other->ended(patience));
        other.reset();
        EXPECT_EQ(result, 1);
        Lines wanted{"1 steps 1"};
        wanted.insert(wanted.end(), messages.begin(), messages.end());
        EXPECT_EQ(take_log(), wanted);
        EXPECT_EQ(api().d32DeleteQueue(1), 1);
    }
}

// So it is for the callbacks of a job's beginning and end.
TEST_F(DispatchLock, AtTheBeginningAndEndToo) {
    std::unique_ptr<Thread> other;
    int result = -1;
    const auto not_now = [&] {
        result = -1;
        other = std::make_unique<Thread>([&] { result = dispatch(); });
        EXPECT_FALSE(other->ended(while_it_waits));
        return 1;
    };
    when("1 begins 0 0 1 1", not_now);
    EXPECT_EQ(add(steps(1, 1, 9)), 1);
    ASSERT_TRUE(other);
    EXPECT_TRUE(other->ended(patience));
    other.reset();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(take_log(), (Lines{"1 begins 0 0 1 1", "1 steps 1"}));
    EXPECT_EQ(add(steps(2, 5, 9)), 1);
    when("1 ends 0 0 1 1", not_now);
    EXPECT_EQ(api().d32DeleteQueue(1), 1);
    ASSERT_TRUE(other);
    EXPECT_TRUE(other->ended(patience));
    other.reset();
    EXPECT_EQ(take_log(), (Lines{"1 ends 0 0 1 1", "2 begins 0 0 1 1", "2 steps 5"}));
}

TEST_F(DispatchLock, QuestionsDoNotWait) {
    EXPECT_EQ(add(steps(1, 1, 2)), 1);
    bool asked = false;
    const RECT present{0, 0, 1, 1};
    when("1 steps 1", [&] {
        HGLOBAL block = nullptr;
        uint32_t owner = 0;
        int in_queue = -1, first = -1, end = -1;
        Thread other{[&] {
            owner = api().d32GetCurQueue(&block);
            in_queue = api().d32IsInQueue(1, 0);
            first = api().d32SetFirstService(0);
            end = api().d32SetEndDispatchRect(1, &present, &present);
        }};
        asked = other.ended(patience);
        EXPECT_TRUE(asked);
        EXPECT_EQ(owner, 1u);
        EXPECT_EQ(in_queue, 1);
        EXPECT_EQ(first, 1);
        EXPECT_EQ(end, 1);
        frame::forget_block(block);
        ::GlobalFree(block);
        return 1;
    });
    EXPECT_EQ(dispatch(), 1);
    EXPECT_TRUE(asked);
}

// Jobs that several threads add and several step: one callback at a time, each message once and in
// its order.
struct Watched {
    int steps, begun, made, ended;
};
constexpr int most_jobs = 20000;
std::array<Watched, most_jobs> watched;
std::atomic<int> inside, disorder;

int Q32_CALL watch(int message, uint32_t owner, intptr_t parameter, intptr_t user_data) {
    if (inside++ != 0)
        ++disorder;
    Watched &job = watched[std::size_t(user_data)];
    const bool in_order = message == D32_BEGIN  ? job.begun++ == 0 && job.made == 0
                          : message == D32_STEP ? job.ended == 0 && ++job.made == int(parameter)
                                                : job.ended++ == 0 && job.made == job.steps;
    if (!in_order || job.begun != 1 || owner != uint32_t(user_data) % 3 + 1)
        ++disorder;
    --inside;
    return 1;
}

TEST_F(DispatchLock, ManyThreads) {
    watched = {};
    inside = disorder = 0;
    std::atomic<int> added{0}, refused{0}, stepped{0};
    std::atomic<bool> over{false};
    {
        std::vector<std::unique_ptr<Thread>> threads;
        for (int i = 0; i < 2; ++i)
            threads.push_back(std::make_unique<Thread>([&] {
                const RECT rectangle{0, 0, 1, 1};
                for (int job = added++; !over && job < most_jobs; job = added++) {
                    watched[std::size_t(job)].steps = job % 7 + 1;
                    const DispatchDesc description{0, watch, job, 1, job % 7 + 1};
                    if (api().d32AddQueue(uint32_t(job % 3 + 1), &rectangle, 0, 0, 0, D32_STEPS,
                                          &description) != 1) {
                        ++refused;
                        watched[std::size_t(job)].steps = 0;
                    }
                }
            }));
        for (int i = 0; i < 3; ++i)
            threads.push_back(std::make_unique<Thread>([&] {
                while (!over)
                    stepped += api().d32DispatchQueue();
            }));
        Sleep(1000);
        over = true;
    }
    while (dispatch() != 0) {
    }
    EXPECT_EQ(disorder, 0);
    EXPECT_EQ(refused, 0);
    EXPECT_GT(stepped, 0);
    EXPECT_GT(added, 100);
    for (const Watched &job : watched) {
        EXPECT_EQ(job.begun, job.steps > 0 ? 1 : 0);
        EXPECT_EQ(job.made, job.steps);
        EXPECT_EQ(job.ended, job.begun);
    }
}

// The lock is the library's own, made when it starts, and is left as often as it is entered.
TEST_F(DispatchLock, IsTheLibrarys) {
    stop();
    std::set<const void *> made;
    std::vector<const void *> entered;
    int depth = 0;
    const Replaced<call::InitializeCriticalSection> make{[&](LPCRITICAL_SECTION section) {
        made.insert(section);
        ::InitializeCriticalSection(section);
    }};
    const Replaced<call::EnterCriticalSection> enter{[&](LPCRITICAL_SECTION section) {
        entered.push_back(section);
        ++depth;
        ::EnterCriticalSection(section);
    }};
    const Replaced<call::LeaveCriticalSection> leave{[&](LPCRITICAL_SECTION section) {
        --depth;
        ::LeaveCriticalSection(section);
    }};
    start();
    ASSERT_EQ(made.size(), 1u);
    int in_callbacks = 0;
    reply_ = [&](const Message &) {
        ++in_callbacks;
        EXPECT_GE(depth, 1);
        return 1;
    };
    const auto expect_locked = [&](auto operation) {
        entered.clear();
        operation();
        EXPECT_FALSE(entered.empty());
        for (const void *section : entered)
            EXPECT_EQ(section, *made.begin());
        EXPECT_EQ(depth, 0);
    };
    expect_locked([&] { EXPECT_EQ(add(steps(1, 1, 2)), 1); });
    expect_locked([&] { EXPECT_EQ(add(steps(2, 1, 2)), 1); });
    expect_locked([&] { EXPECT_EQ(dispatch(), 1); });
    expect_locked([&] { EXPECT_EQ(api().d32IsInQueue(1, 1), 1); });
    expect_locked([&] { EXPECT_EQ(api().d32DeleteQueue(2), 1); });
    EXPECT_EQ(in_callbacks, 6);
    EXPECT_EQ(add(steps(1, 1, 2)), 1);
    entered.clear();
    const RECT present{0, 0, 1, 1};
    EXPECT_EQ(current(), 1u);
    EXPECT_EQ(current_rectangles().size(), 1u);
    EXPECT_EQ(api().d32IsInQueue(1, 0), 1);
    EXPECT_EQ(api().d32SetFirstService(0), 1);
    EXPECT_EQ(api().d32SetEndDispatchRect(1, &present, &present), 1);
    EXPECT_TRUE(entered.empty());
    stop();
    start();
}

} // namespace
} // namespace q32::test
