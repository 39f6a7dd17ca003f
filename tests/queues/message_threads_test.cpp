// Several threads at the message queue at once: nothing is lost, doubled, damaged or overtaken.
#include "tests/frame/random.h"
#include "tests/queues/message_fixture.h"
#include "tests/queues/threads.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace q32::test {
namespace {

constexpr int producers = 4, consumers = 3;
constexpr DWORD least_milliseconds = 1200, most_milliseconds = 20000;
constexpr std::uint32_t enough = 300; // messages of each producer, to show anything
constexpr int most_waiting =
    150; // producers pause above that: the array grows, but not without end
constexpr std::uint32_t largest = 2000;

// The beginning of each message; bytes that follow from the number come behind it.
struct Header {
    std::uint32_t producer, number, size, checksum;
};

std::uint32_t checksum(const std::uint8_t *bytes, std::size_t size) {
    std::uint32_t sum = 1;
    for (std::size_t i = 0; i < size; ++i)
        sum = sum * 31 + bytes[i];
    return sum;
}

// What one thread has seen go wrong; looked at when it has ended.
struct Seen {
    std::vector<std::uint32_t> taken[producers]; // the numbers, in the order of taking
    std::string trouble;
    int refusals = 0;
};

class MessageThreads : public MessageTest {
protected:
    void produce(std::uint32_t producer) {
        Random random{test_seed(), producer};
        Bytes bytes(largest);
        while (!over_) {
            if (added_ - taken_ > most_waiting) {
                Sleep(0);
                continue;
            }
            const auto size = std::uint32_t(sizeof(Header) + random.below(largest - 15));
            const std::uint32_t number = sent_[producer];
            for (std::size_t i = sizeof(Header); i < size; ++i)
                bytes[i] = std::uint8_t(number + i);
            const Header header{producer, number, size,
                                checksum(&bytes[sizeof(Header)], size - sizeof(Header))};
            std::memcpy(bytes.data(), &header, sizeof header);
            ++added_;
            if (api().AddQueue(bytes.data(), size) != 1) {
                ++failed_;
                return;
            }
            ++sent_[producer];
        }
    }

    // Takes until the producers have ended and nothing is left. A thread that accepts only small
    // messages is refused now and then; one of the others takes the message then.
    void consume(Seen &seen, int accepted) {
        const FencedMemory memory(2 * FencedMemory::page);
        while (true) {
            const bool last_look = ended_;
            std::uint8_t *const buffer = memory.end() - accepted - 2;
            const int size = api().GetFromQueue(buffer, accepted);
            if (size == -1)
                ++seen.refusals;
            else if (size > 0)
                note(seen, buffer, std::uint32_t(size), std::uint32_t(accepted));
            else if (last_look)
                return;
            if (size == -1 && last_look)
                return;
            if (size <= 0)
                Sleep(0);
        }
    }

    void note(Seen &seen, const std::uint8_t *bytes, std::uint32_t size, std::uint32_t accepted) {
        ++taken_;
        Header header{};
        if (size >= sizeof header)
            std::memcpy(&header, bytes, sizeof header);
        const bool sound = size >= sizeof header && size <= accepted && header.size == size &&
                           header.producer < producers && bytes[size] == 0 &&
                           bytes[size + 1] == 0 &&
                           header.checksum == checksum(bytes + sizeof header, size - sizeof header);
        if (sound)
            seen.taken[header.producer].push_back(header.number);
        else
            seen.trouble = "a damaged message of " + std::to_string(size) + " bytes";
    }

    // For a while, and longer on a machine that has much else to do.
    void let_them_run(int senders) {
        const DWORD start = GetTickCount();
        const auto all_sent_enough = [&] {
            return std::all_of(sent_, sent_ + senders,
                               [](const auto &sent) { return sent >= enough; });
        };
        do
            Sleep(50);
        while (GetTickCount() - start < least_milliseconds ||
               (!all_sent_enough() && GetTickCount() - start < most_milliseconds));
    }

    std::atomic<bool> over_{false};  // no more messages
    std::atomic<bool> ended_{false}; // the producers have ended
    std::atomic<int> added_{0}, taken_{0}, failed_{0};
    std::atomic<std::uint32_t> sent_[producers] = {};
};

TEST_F(MessageThreads, NothingIsLostDoubledOrOvertaken) {
    const Census before = Census::now();
    ASSERT_EQ(api().CreateQueue(1), 1);
    Seen seen[consumers];
    std::atomic<int> asked{0};
    {
        std::vector<std::unique_ptr<Thread>> takers, senders;
        for (int i = 0; i < consumers; ++i)
            takers.push_back(std::make_unique<Thread>(
                [this, &seen, i] { consume(seen[i], i == 0 ? 500 : int(largest)); }));
        for (std::uint32_t i = 0; i < producers; ++i)
            senders.push_back(std::make_unique<Thread>([this, i] { produce(i); }));
        // One that only asks.
        const Thread asking{[&] {
            while (!over_) {
                const int size = api().GetFromQueue(nullptr, -1);
                const int empty = api().IsQueueEmpty();
                if (size < 0 || size > int(largest) || (empty != 0 && empty != 1))
                    seen[0].trouble += "asked: " + std::to_string(size);
                ++asked;
                Sleep(0);
            }
        }};
        let_them_run(producers);
        over_ = true;
        senders.clear();
        ended_ = true;
    }
    EXPECT_EQ(failed_, 0);
    EXPECT_EQ(api().IsQueueEmpty(), 1);
    EXPECT_EQ(api().DeleteQueue(1), 1);
    EXPECT_EQ(Census::now(), before);

    EXPECT_GT(asked, 0);
    EXPECT_GT(seen[0].refusals, 0);
    for (int producer = 0; producer < producers; ++producer) {
        EXPECT_GE(sent_[producer], enough);
        std::vector<int> times(sent_[producer]);
        for (const Seen &one : seen) {
            const std::vector<std::uint32_t> &numbers = one.taken[producer];
            EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
            for (std::uint32_t number : numbers) {
                ASSERT_LT(number, times.size());
                ++times[number];
            }
        }
        EXPECT_EQ(std::size_t(std::count(times.begin(), times.end(), 1)), times.size());
    }
    for (const Seen &one : seen)
        EXPECT_EQ(one.trouble, "");
}

// Messages that are cleared away while others add and take are counted, each once.
TEST_F(MessageThreads, ClearingMeanwhile) {
    const Census before = Census::now();
    ASSERT_EQ(api().CreateQueue(1), 1);
    Seen seen[2];
    int cleared = 0, clearings = 0;
    {
        std::vector<std::unique_ptr<Thread>> takers, senders;
        for (Seen &one : seen)
            takers.push_back(
                std::make_unique<Thread>([this, &one] { consume(one, int(largest)); }));
        for (std::uint32_t i = 0; i < 2; ++i)
            senders.push_back(std::make_unique<Thread>([this, i] { produce(i); }));
        const Thread clearing{[&] {
            while (!over_) {
                Sleep(1);
                const int count = api().ClearQueue();
                cleared += count;
                taken_ += count;
                clearings += count > 0;
            }
        }};
        let_them_run(2);
        over_ = true;
        senders.clear();
        ended_ = true;
    }
    EXPECT_EQ(failed_, 0);
    EXPECT_EQ(api().IsQueueEmpty(), 1);
    EXPECT_EQ(api().DeleteQueue(1), 1);
    EXPECT_EQ(Census::now(), before);

    EXPECT_GT(clearings, 0);
    std::size_t taken = 0;
    for (const Seen &one : seen) {
        EXPECT_EQ(one.trouble, "");
        for (const std::vector<std::uint32_t> &numbers : one.taken) {
            EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
            EXPECT_EQ(std::adjacent_find(numbers.begin(), numbers.end()), numbers.end());
            taken += numbers.size();
        }
    }
    EXPECT_EQ(taken + std::size_t(cleared), sent_[0] + sent_[1]);
}

} // namespace
} // namespace q32::test
