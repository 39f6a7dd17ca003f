// The message queue call by call: who owns it, what goes in, what comes out.
#include "tests/frame/random.h"
#include "tests/frame/small_memory.h"
#include "tests/queues/message_fixture.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <deque>

namespace q32::test {
namespace {

class MessageQueue : public MessageTest {};

// --- the queue and its owner -----------------------------------------------------------------

TEST_F(MessageQueue, OneAtATime) {
    EXPECT_SUCCESS(api().CreateQueue(7));
    EXPECT_SUCCESS(add({1, 2, 3}));
    for (uint32_t owner : {7u, 8u, 0u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(owner);
        EXPECT_SILENT_FAILURE(api().CreateQueue(owner));
    }
    expect_content({{1, 2, 3}});
    EXPECT_SUCCESS(api().DeleteQueue(7));
    EXPECT_SUCCESS(api().CreateQueue(8));
    expect_content({});
    EXPECT_SUCCESS(api().DeleteQueue(8));
}

TEST_F(MessageQueue, EveryKeyOwns) {
    for (uint32_t owner : {1u, 2u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        EXPECT_SUCCESS(api().CreateQueue(owner));
        EXPECT_SILENT_FAILURE(api().CreateQueue(owner));
        EXPECT_SUCCESS(add({4}));
        EXPECT_SILENT_FAILURE(api().DeleteQueue(owner ^ 1));
        EXPECT_SILENT_FAILURE(api().DeleteQueue(owner ^ 0x80000000));
        EXPECT_SILENT_FAILURE(api().DeleteQueue(0));
        expect_content({{4}});
        EXPECT_SUCCESS(api().DeleteQueue(owner));
        EXPECT_SILENT_FAILURE(api().DeleteQueue(owner));
    }
}

TEST_F(MessageQueue, AWrongKeyLeavesEverything) {
    EXPECT_SUCCESS(api().CreateQueue(1000));
    std::vector<Bytes> messages;
    for (int i = 0; i < 20; ++i) {
        messages.push_back(message(std::size_t(i) * 5, i + 1));
        if (i > 0)
            EXPECT_SUCCESS(add(messages.back()));
    }
    messages.erase(messages.begin());
    const Census before = Census::now();
    for (uint32_t owner : {0u, 999u, 1001u, 0xFFFFFC18u}) {
        SCOPED_TRACE(owner);
        EXPECT_SILENT_FAILURE(api().DeleteQueue(owner));
    }
    EXPECT_EQ(Census::now(), before);
    EXPECT_SILENT_FAILURE(api().CreateQueue(999));
    expect_content(messages);
    EXPECT_SUCCESS(api().DeleteQueue(1000));
}

TEST_F(MessageQueue, DeletingFreesMessages) {
    const Census before = Census::now();
    for (int count : {0, 1, 16, 17, 50}) {
        EXPECT_SUCCESS(api().CreateQueue(5));
        for (int i = 0; i < count; ++i)
            EXPECT_SUCCESS(add(message(100, i)));
        EXPECT_SUCCESS(api().DeleteQueue(5));
        EXPECT_EQ(Census::now(), before) << count;
        EXPECT_EQ(api().IsQueueEmpty(), 1);
    }
}

// --- the owner 0 -------------------------------------------------------------------------------

// A queue of owner 0 works like any other ...
TEST_F(MessageQueue, OfOwnerZero) {
    EXPECT_SUCCESS(api().CreateQueue(0));
    for (int i = 0; i < 40; ++i)
        EXPECT_SUCCESS(add(message(10, i)));
    expect_taken({message(10, 0), message(10, 1)});
    EXPECT_SILENT_FAILURE(api().DeleteQueue(1));
    EXPECT_EQ(api().ClearQueue(), 38);
    EXPECT_SUCCESS(add({1}));
    expect_content({{1}});
    EXPECT_SUCCESS(api().DeleteQueue(0));
    EXPECT_SILENT_FAILURE(add({1}));
}

// ... and counts as none: it is made anew without its messages, by any owner.
TEST_F(MessageQueue, OfOwnerZeroIsMadeAnew) {
    const Census before = Census::now();
    std::vector<std::string> sections;
    const Replaced<call::InitializeCriticalSection> made{[&](LPCRITICAL_SECTION section) {
        sections.push_back("made");
        ::InitializeCriticalSection(section);
    }};
    const Replaced<call::DeleteCriticalSection> deleted{[&](LPCRITICAL_SECTION section) {
        sections.push_back("deleted");
        ::DeleteCriticalSection(section);
    }};
    EXPECT_SUCCESS(api().CreateQueue(0));
    const Census empty = Census::now();
    EXPECT_EQ(empty.global_blocks, before.global_blocks + 1);
    EXPECT_EQ(empty.critical_sections, before.critical_sections + 1);
    EXPECT_EQ(sections, (std::vector<std::string>{"made"}));
    for (uint32_t owner : {0u, 0u, 9u}) {
        for (int i = 0; i < 20; ++i)
            EXPECT_SUCCESS(add(message(10, i)));
        EXPECT_EQ(api().IsQueueEmpty(), 0);
        sections.clear();
        EXPECT_SUCCESS(api().CreateQueue(owner));
        EXPECT_EQ(sections, (std::vector<std::string>{"deleted", "made"}));
        EXPECT_EQ(Census::now(), empty);
        expect_content({});
        EXPECT_EQ(api().ClearQueue(), 0);
    }
    EXPECT_SILENT_FAILURE(api().CreateQueue(0));
    EXPECT_SILENT_FAILURE(api().DeleteQueue(0));
    sections.clear();
    EXPECT_SUCCESS(api().DeleteQueue(9));
    EXPECT_EQ(sections, (std::vector<std::string>{"deleted"}));
    EXPECT_EQ(Census::now(), before);
}

// --- without a queue -----------------------------------------------------------------------------

TEST_F(MessageQueue, WithoutAQueueNothingHappens) {
    const Census before = Census::now();
    const auto expect_nothing = [&] {
        std::uint8_t buffer[8] = {9, 9, 9, 9, 9, 9, 9, 9};
        EXPECT_SILENT_FAILURE(add({1, 2, 3}));
        EXPECT_SILENT_FAILURE(api().AddQueue(nullptr, 0));
        EXPECT_SILENT_FAILURE(api().AddQueue(nullptr, 3));
        for (int size : {-1, 0, 6, -2, INT_MIN, INT_MAX}) {
            SCOPED_TRACE(size);
            EXPECT_SILENT_FAILURE(api().GetFromQueue(buffer, size));
        }
        EXPECT_EQ(std::count(buffer, buffer + 8, 9), 8);
        EXPECT_SILENT_FAILURE(api().GetFromQueue(nullptr, -1));
        EXPECT_SILENT_FAILURE(api().GetFromQueue(nullptr, 6));
        EXPECT_SILENT_FAILURE(api().ClearQueue());
        EXPECT_SUCCESS(api().IsQueueEmpty() == 1);
        EXPECT_SILENT_FAILURE(api().DeleteQueue(1));
        EXPECT_SUCCESS(api().DeleteQueue(0) == 1);
        EXPECT_EQ(Census::now(), before);
    };
    expect_nothing();
    EXPECT_SUCCESS(api().CreateQueue(1));
    EXPECT_SUCCESS(add({1}));
    EXPECT_SUCCESS(api().DeleteQueue(1));
    expect_nothing();
}

// --- getting -------------------------------------------------------------------------------------

TEST_F(MessageQueue, AskingTooLittleAndExactlyEnough) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    const Bytes ten{10, 20, 30, 40, 50, 60, 70, 80, 90, 100};
    EXPECT_SUCCESS(add(ten));
    for (int round = 0; round < 3; ++round) {
        EXPECT_SUCCESS(api().GetFromQueue(nullptr, -1) == 10);
        Bytes buffer(32, 0xA5);
        EXPECT_SUCCESS(api().GetFromQueue(buffer.data(), -1) == 10);
        EXPECT_SUCCESS(api().GetFromQueue(buffer.data(), 9) == -1);
        EXPECT_SUCCESS(api().GetFromQueue(buffer.data(), 0) == -1);
        EXPECT_EQ(buffer, Bytes(32, 0xA5));
        EXPECT_EQ(api().IsQueueEmpty(), 0);
    }
    const FencedMemory memory(FencedMemory::page);
    std::uint8_t *const buffer = memory.end() - 12;
    std::memset(memory.begin(), 0xA5, memory.size());
    EXPECT_SUCCESS(api().GetFromQueue(buffer, 10) == 10);
    EXPECT_EQ(Bytes(buffer, buffer + 12), (Bytes{10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 0, 0}));
    EXPECT_EQ(std::count(memory.begin(), buffer, 0xA5), buffer - memory.begin());
    EXPECT_EQ(api().IsQueueEmpty(), 1);
    EXPECT_SILENT_FAILURE(api().GetFromQueue(buffer, 10));
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// A larger buffer receives no more than the message and its two zeros.
TEST_F(MessageQueue, MoreThanEnough) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    for (int size : {10, 11, 12, 13, 1000, INT_MAX}) {
        EXPECT_SUCCESS(add(message(10, size)));
        Bytes buffer(64, 0xA5), wanted = message(10, size);
        wanted.resize(12, 0);
        wanted.resize(64, 0xA5);
        EXPECT_SUCCESS(api().GetFromQueue(buffer.data(), size) == 10);
        EXPECT_EQ(buffer, wanted) << size;
    }
    expect_content({});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// -1 asks; any other size below 0 is too small for every message.
TEST_F(MessageQueue, SizesBelowMinusOne) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    for (int size : {0, 1, 10}) {
        EXPECT_SUCCESS(add(message(std::size_t(size), 1)));
        Bytes buffer(32, 0xA5);
        for (int too_small : {-2, -3, -10, INT_MIN, INT_MIN + 1}) {
            SCOPED_TRACE(too_small);
            EXPECT_SUCCESS(api().GetFromQueue(buffer.data(), too_small) == -1);
        }
        EXPECT_EQ(buffer, Bytes(32, 0xA5));
        EXPECT_EQ(api().GetFromQueue(nullptr, -1), size);
        expect_content({message(std::size_t(size), 1)});
    }
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// Whether there is a buffer matters only where bytes would be copied: what is asked, and what is
// too large, is answered all the same.
TEST_F(MessageQueue, NoBuffer) {
    EXPECT_SILENT_FAILURE(api().GetFromQueue(nullptr, 3));
    EXPECT_SUCCESS(api().CreateQueue(1));
    for (int size : {-1, 0, 3, INT_MAX, -2, INT_MIN})
        EXPECT_SILENT_FAILURE(api().GetFromQueue(nullptr, size)); // no message
    EXPECT_SUCCESS(add({1, 2, 3}));
    EXPECT_SUCCESS(add({4}));
    std::uint8_t buffer[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    for (int round = 0; round < 2; ++round) {
        EXPECT_SUCCESS(api().GetFromQueue(nullptr, -1) == 3);
        for (int too_small : {0, 1, 2, -2, -3, -100, INT_MIN, INT_MIN + 1}) {
            SCOPED_TRACE(too_small);
            EXPECT_SUCCESS(api().GetFromQueue(nullptr, too_small) == -1);
            EXPECT_SUCCESS(api().GetFromQueue(buffer, too_small) == -1);
        }
        for (int enough : {3, 4, 5, 100, INT_MAX}) {
            SCOPED_TRACE(enough);
            EXPECT_SILENT_FAILURE(api().GetFromQueue(nullptr, enough));
        }
    }
    EXPECT_EQ(std::count(buffer, buffer + 8, 9), 8);
    expect_content({{1, 2, 3}, {4}});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// Of a message without bytes the two zeros would be copied.
TEST_F(MessageQueue, NoBufferForNoBytes) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    EXPECT_SUCCESS(api().AddQueue(nullptr, 0));
    EXPECT_SUCCESS(add({7}));
    for (int size : {0, 1, INT_MAX, -1})
        EXPECT_SILENT_FAILURE(api().GetFromQueue(nullptr, size));
    for (int too_small : {-2, INT_MIN})
        EXPECT_SUCCESS(api().GetFromQueue(nullptr, too_small) == -1);
    expect_content({{}, {7}});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// --- adding --------------------------------------------------------------------------------------

TEST_F(MessageQueue, FirstInFirstOut) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    std::vector<Bytes> messages;
    for (int i = 0; i < 100; ++i) {
        messages.push_back(message(std::size_t(1 + i * 37 % 90), i));
        EXPECT_SUCCESS(add(messages.back()));
    }
    expect_content(messages);
    // Also while messages come and go: three in, two out.
    std::deque<Bytes> waiting;
    for (int i = 0; i < 60; ++i) {
        for (int k = 0; k < 3; ++k) {
            waiting.push_back(message(std::size_t(1 + (i * 3 + k) % 20), i * 3 + k));
            EXPECT_SUCCESS(add(waiting.back()));
        }
        expect_taken({waiting[0], waiting[1]});
        waiting.erase(waiting.begin(), waiting.begin() + 2);
    }
    expect_content({waiting.begin(), waiting.end()});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

TEST_F(MessageQueue, MessagesAreCopies) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    Bytes bytes{1, 2, 3, 4};
    EXPECT_SUCCESS(add(bytes));
    bytes = {5, 6, 7, 8};
    EXPECT_SUCCESS(add(bytes));
    bytes = {9, 9, 9, 9};
    expect_content({{1, 2, 3, 4}, {5, 6, 7, 8}});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// The bytes are read from where they lie and no further: they may end at an inaccessible page.
TEST_F(MessageQueue, OfEverySize) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    const FencedMemory memory(0x110000);
    std::vector<std::size_t> sizes{511, 512, 4091, 4092, 4093, 4096, 65535, 65536, 0x100001};
    for (std::size_t size = 1; size <= 260; ++size)
        sizes.push_back(size);
    for (std::size_t size : sizes) {
        const Bytes bytes = message(size, int(size));
        std::copy(bytes.begin(), bytes.end(), memory.end() - size);
        EXPECT_SUCCESS(api().AddQueue(memory.end() - size, uint32_t(size)));
        EXPECT_EQ(api().GetFromQueue(nullptr, -1), int(size));
        std::uint8_t small[2];
        EXPECT_EQ(api().GetFromQueue(small, int(size) - 1 == 0 ? 0 : int(size) - 1), -1);
        expect_content({bytes});
    }
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// What lies in a message does not matter, zeros included.
TEST_F(MessageQueue, OfAnyBytes) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    Bytes all(256);
    for (int i = 0; i < 256; ++i)
        all[std::size_t(i)] = std::uint8_t(i);
    EXPECT_SUCCESS(add(all));
    EXPECT_SUCCESS(add(Bytes(300, 0)));
    EXPECT_SUCCESS(add(Bytes(300, 255)));
    expect_content({all, Bytes(300, 0), Bytes(300, 255)});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// A message without bytes is one: it waits for its turn, and getting it writes two zeros.
TEST_F(MessageQueue, WithoutBytes) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    const std::uint8_t none = 5;
    EXPECT_SUCCESS(api().AddQueue(nullptr, 0));
    EXPECT_SUCCESS(api().AddQueue(&none, 0));
    EXPECT_SUCCESS(add({7}));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(api().IsQueueEmpty(), 0);
        EXPECT_EQ(api().GetFromQueue(nullptr, -1), 0);
        std::uint8_t buffer[4] = {9, 9, 9, 9};
        EXPECT_EQ(api().GetFromQueue(buffer, 0), 0);
        EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{0, 0, 9, 9}));
    }
    expect_content({{7}});
    EXPECT_SUCCESS(api().AddQueue(nullptr, 0));
    EXPECT_EQ(api().ClearQueue(), 1);
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

TEST_F(MessageQueue, WithoutData) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    const Census before = Census::now();
    for (uint32_t size : {1u, 2u, 100u, 0x7FFFFFFFu, 0xFFFFFFFBu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        EXPECT_SILENT_FAILURE(api().AddQueue(nullptr, size));
    }
    EXPECT_EQ(Census::now(), before);
    expect_content({});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// Four bytes more than the size must be had; sizes for which that is no 32-bit number are refused
// like those for which there is no memory.
TEST_F(MessageQueue, TooLarge) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    EXPECT_SUCCESS(add({1}));
    const Census before = Census::now();
    const frame::SmallMemory small;
    // Behind memory: copies of what is there would wreck the process, which then ends with 0.
    const FencedMemory memory{FencedMemory::page};
    const std::uint8_t *const bytes = memory.end() + 64;
    for (uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFDu, 0xFFFFFFFCu, 0xFFFFFFFBu,
                          0xFFFFFFF0u, 0xC0000000u, 0x80000000u}) {
        EXPECT_SILENT_FAILURE(api().AddQueue(bytes, size));
        EXPECT_EQ(Census::now(), before) << size;
    }
    expect_content({{1}});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// --- clearing --------------------------------------------------------------------------------

TEST_F(MessageQueue, ClearingTellsHowMany) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    const Census empty = Census::now();
    EXPECT_SILENT_FAILURE(api().ClearQueue());
    for (int count : {1, 2, 15, 16, 17, 32, 33, 100}) {
        for (int i = 0; i < count; ++i)
            EXPECT_SUCCESS(add(message(std::size_t(i), i)));
        EXPECT_EQ(api().IsQueueEmpty(), 0);
        EXPECT_SUCCESS(api().ClearQueue() == count);
        EXPECT_EQ(Census::now(), empty);
        EXPECT_SILENT_FAILURE(api().ClearQueue());
        expect_content({});
    }
    // Only what is left counts, and the queue goes on.
    for (int i = 0; i < 10; ++i)
        EXPECT_SUCCESS(add(message(5, i)));
    expect_taken({message(5, 0), message(5, 1), message(5, 2)});
    EXPECT_SUCCESS(api().ClearQueue() == 7);
    EXPECT_SUCCESS(add({1, 2}));
    expect_content({{1, 2}});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// --- the lock --------------------------------------------------------------------------------

// Everything but IsQueueEmpty goes in and out of the queue's own critical section, once.
TEST_F(MessageQueue, CallsEnterTheQueuesOwnLock) {
    LPCRITICAL_SECTION own = nullptr;
    int entered = 0, left = 0;
    const Replaced<call::InitializeCriticalSection> made{[&](LPCRITICAL_SECTION section) {
        own = section;
        ::InitializeCriticalSection(section);
    }};
    const Replaced<call::EnterCriticalSection> enter{[&](LPCRITICAL_SECTION section) {
        entered += section == own ? 1 : 100;
        ::EnterCriticalSection(section);
    }};
    const Replaced<call::LeaveCriticalSection> leave{[&](LPCRITICAL_SECTION section) {
        left += section == own ? 1 : 100;
        ::LeaveCriticalSection(section);
    }};
    EXPECT_EQ(api().CreateQueue(1), 1);
    ASSERT_NE(own, nullptr);
    const auto times = [&](auto operation) {
        entered = left = 0;
        operation();
        EXPECT_EQ(left, entered);
        return entered;
    };
    std::uint8_t buffer[100];
    EXPECT_EQ(times([&] { EXPECT_EQ(add({1, 2, 3}), 1); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().GetFromQueue(buffer, -1), 3); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().GetFromQueue(buffer, 2), -1); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().IsQueueEmpty(), 0); }), 0);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().GetFromQueue(buffer, 3), 3); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().GetFromQueue(buffer, 3), 0); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().IsQueueEmpty(), 1); }), 0);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().ClearQueue(), 0); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(add({1}), 1); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().ClearQueue(), 1); }), 1);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().DeleteQueue(2), 0); }), 0);
    EXPECT_EQ(times([&] { EXPECT_EQ(api().DeleteQueue(1), 1); }), 1);
}

// --- random calls ----------------------------------------------------------------------------

// Sequences of calls, on the queue and on a plain list.
TEST_F(MessageQueue, RandomCalls) {
    const Census before = Census::now();
    random_cases(300, [&](Random &random, std::uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const uint32_t owner = uint32_t(random.below(3));
        EXPECT_EQ(api().CreateQueue(owner), 1);
        std::deque<Bytes> waiting;
        const std::size_t inclination = 20 + random.below(60); // of 100 calls, to add
        for (int i = 0; i < 200 && !HasFailure(); ++i) {
            if (random.below(100) < inclination) {
                waiting.push_back(message(random.below(70), i));
                EXPECT_EQ(add(waiting.back()), 1);
            } else if (random.below(60) == 0) {
                EXPECT_EQ(api().ClearQueue(), int(waiting.size()));
                waiting.clear();
            } else {
                Bytes buffer(100, 0xA5), wanted = buffer;
                const int size = int(random.below(80)) - 3;
                std::uint8_t *const given = random.below(5) == 0 ? nullptr : buffer.data();
                int result = 0;
                if (!waiting.empty()) {
                    const int oldest = int(waiting.front().size());
                    if (size == -1) {
                        result = oldest;
                    } else if (size < oldest) {
                        result = -1;
                    } else if (given != nullptr) {
                        result = oldest;
                        std::copy(waiting.front().begin(), waiting.front().end(), wanted.begin());
                        wanted[std::size_t(oldest)] = wanted[std::size_t(oldest) + 1] = 0;
                        waiting.pop_front();
                    }
                }
                EXPECT_EQ(api().GetFromQueue(given, size), result)
                    << "size " << size << (given == nullptr ? ", no buffer" : "");
                EXPECT_EQ(buffer, wanted);
            }
            EXPECT_EQ(api().IsQueueEmpty(), waiting.empty() ? 1 : 0);
        }
        if (random.below(2) == 0 && !waiting.empty())
            expect_content({waiting.begin(), waiting.end()});
        EXPECT_EQ(api().DeleteQueue(owner), 1);
        EXPECT_EQ(Census::now(), before);
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
