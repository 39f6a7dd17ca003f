// The message queue and the dispatch queue.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

// --- messages ------------------------------------------------------------------------------------

// The queue with so many messages, for the time of its own life.
class Queue {
public:
    static constexpr uint32_t owner = 7;

    explicit Queue(int messages) {
        EXPECT_SUCCESS(api().CreateQueue(owner));
        for (int i = 0; i < messages; ++i)
            EXPECT_SUCCESS(api().AddQueue(text, sizeof text));
    }
    ~Queue() { EXPECT_SUCCESS(api().DeleteQueue(owner)); }
    Queue(const Queue &) = delete;
    Queue &operator=(const Queue &) = delete;

    static constexpr char text[20] = "some message";
};

// Takes a message out.
Bytes taken() {
    Bytes message(sizeof Queue::text + 2);
    EXPECT_EQ(api().GetFromQueue(message.data(), sizeof Queue::text), int(sizeof Queue::text));
    return message;
}

SCENARIO(CreateQueue, Empty) {
    may_be_silent({"GlobalAlloc"});
    call(Queue::owner);
    EXPECT_SUCCESS(api().AddQueue(Queue::text, sizeof Queue::text));
    see(taken());
    EXPECT_SUCCESS(api().DeleteQueue(Queue::owner));
}

SCENARIO(DeleteQueue, WithMessages) {
    may_be_silent({"GlobalLock"});
    EXPECT_SUCCESS(api().CreateQueue(Queue::owner));
    EXPECT_SUCCESS(api().AddQueue(Queue::text, sizeof Queue::text));
    EXPECT_SUCCESS(api().AddQueue(Queue::text, sizeof Queue::text));
    call(Queue::owner);
}

SCENARIO(AddQueue, First) {
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    const Queue queue(0);
    call(Queue::text, sizeof Queue::text);
    see(taken());
    see(api().IsQueueEmpty());
}

// For which there is no room at first.
SCENARIO(AddQueue, Seventeenth) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "GlobalReAlloc"});
    const Queue queue(16);
    call(Queue::text, sizeof Queue::text);
    see(taken());
}

SCENARIO(GetFromQueue, First) {
    may_be_silent({"GlobalLock"});
    const Queue queue(2);
    Bytes message(sizeof Queue::text + 2);
    gives(sizeof Queue::text, message.data(), sizeof Queue::text);
    see(message);
    see(taken());
}

SCENARIO(ClearQueue, OfThree) {
    may_be_silent({"GlobalLock"});
    const Queue queue(3);
    gives(3);
    see(api().IsQueueEmpty());
}

SCENARIO(IsQueueEmpty, WithMessages) {
    const Queue queue(1);
    gives_or(0, 1);
}

// --- jobs ----------------------------------------------------------------------------------------

std::vector<int> messages; // that callbacks have received

int Q32_CALL go_on(int message, uint32_t, intptr_t, intptr_t) {
    messages.push_back(message);
    return 1;
}

// Two jobs of one owner, one of another, for the time of its own life.
class Jobs {
public:
    static constexpr uint32_t owner = 7, other = 8;

    explicit Jobs(int count) {
        messages.clear();
        for (int i = 0; i < count; ++i)
            EXPECT_SUCCESS(add(i < 2 ? owner : other, i));
    }
    ~Jobs() {
        for (uint32_t each : {owner, other})
            EXPECT_SUCCESS(api().d32DeleteQueue(each));
    }
    Jobs(const Jobs &) = delete;
    Jobs &operator=(const Jobs &) = delete;

    static RECT rectangle(int i) { return {0, 0, 300 + i, 200}; }
    static const DispatchDesc &description() {
        static const DispatchDesc tiles{0, go_on, 0, 128, 128};
        return tiles;
    }
    static int add(uint32_t whose, int i) {
        const RECT all = rectangle(i);
        return api().d32AddQueue(whose, &all, 0, 1, 2, D32_TILES, &description());
    }
    Bytes heard() const { return bytes_at(messages.data(), messages.size() * sizeof(int)); }
};

FIRST_CALL(d32AddQueue, TheFirst) {
    may_report({{1001, 0, 6, 9}});
    const Jobs none(0);
    const RECT all = Jobs::rectangle(0);
    call(Jobs::owner, &all, 0, 1, 2, D32_TILES, &Jobs::description());
    see(none.heard());
}

SCENARIO(d32AddQueue, OneThatWaits) {
    may_report({{1001, 0, 6, 9}});
    const Jobs jobs(1);
    const RECT all = Jobs::rectangle(1);
    call(Jobs::owner, &all, 0, 1, 2, D32_TILES, &Jobs::description());
    see(jobs.heard());
}

SCENARIO(d32DispatchQueue, OneStep) {
    const Jobs jobs(3);
    call();
    see(jobs.heard());
}

SCENARIO(d32DeleteQueue, OfTwoJobs) {
    const Jobs jobs(3);
    call(Jobs::owner);
    see(jobs.heard());
}

SCENARIO(d32GetCurQueue, WithRectangles) {
    may_be_silent({"GlobalAlloc"});
    const Jobs jobs(3);
    HGLOBAL block = nullptr;
    attempt([&] { return api().d32GetCurQueue(&block) == Jobs::owner && block != nullptr; });
    see(bytes_at(block, sizeof(int) + 2 * sizeof(RECT)));
    free_block(block);
}

SCENARIO(d32IsInQueue, AndWaits) {
    const Jobs jobs(3);
    call(Jobs::other, 1);
    see(jobs.heard());
}

SCENARIO(d32SetEndDispatchRect, OfAJobThatWaits) {
    const Jobs jobs(3);
    const RECT is = Jobs::rectangle(1), end{1, 2, 3, 4};
    call(Jobs::owner, &is, &end);
}

SCENARIO(d32SetFirstService, OfTheOther) {
    const Jobs jobs(3);
    call(Jobs::other);
    EXPECT_SUCCESS(api().d32SetFirstService(0));
}

} // namespace
} // namespace q32::test
