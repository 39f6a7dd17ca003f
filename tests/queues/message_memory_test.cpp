// The memory of the message queue: what is allocated and how it grows, that no byte outside is
// touched, and every allocation failing in turn.
#include "tests/queues/message_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

using Blocks = std::vector<HeapWatch::Block>;
using Growths = std::vector<HeapWatch::Growth>;

constexpr SIZE_T pointer = sizeof(void *);
constexpr UINT moveable = GMEM_MOVEABLE | GMEM_ZEROINIT, fixed = GMEM_FIXED | GMEM_ZEROINIT;

class MessageMemory : public MessageTest {
protected:
    void add_messages(int first, int count) {
        for (int i = 0; i < count; ++i)
            EXPECT_SUCCESS(add(message(std::size_t(8 + (first + i) % 5), first + i)));
    }
    static std::vector<Bytes> messages(int first, int count) {
        std::vector<Bytes> list;
        for (int i = 0; i < count; ++i)
            list.push_back(message(std::size_t(8 + (first + i) % 5), first + i));
        return list;
    }
};

// --- what is allocated -----------------------------------------------------------------------

TEST_F(MessageMemory, BlocksAreAsLargeAsTheyMustBe) {
    HeapWatch heap;
    EXPECT_SUCCESS(api().CreateQueue(1));
    EXPECT_EQ(heap.allocations(), (Blocks{{moveable, 16 * pointer}}));
    EXPECT_SUCCESS(add(message(10, 1)));
    EXPECT_EQ(heap.allocations(), (Blocks{{fixed, 2 * pointer}, {fixed, 14}}));
    EXPECT_SUCCESS(api().AddQueue(nullptr, 0));
    EXPECT_EQ(heap.allocations(), (Blocks{{fixed, 2 * pointer}, {fixed, 4}}));
    expect_content({message(10, 1), {}});
    EXPECT_SUCCESS(api().DeleteQueue(1));
    EXPECT_EQ(heap.allocations(), Blocks{});
    EXPECT_EQ(heap.growths(), Growths{});
}

// The array holds a pointer for each message, to its size and the address of its bytes with four
// zeros behind them.
TEST_F(MessageMemory, RecordsLieInTheArray) {
    struct Record {
        uint32_t size;
        const std::uint8_t *data;
    };
    HGLOBAL array = nullptr;
    const Replaced<call::GlobalAlloc> watch{[&](UINT flags, SIZE_T bytes) {
        const HGLOBAL block = ::GlobalAlloc(flags, bytes);
        if ((flags & GMEM_MOVEABLE) != 0)
            array = block;
        return block;
    }};
    const auto records = [&] {
        const auto *const locked = static_cast<const Record *const *>(::GlobalLock(array));
        std::vector<const Record *> copy(locked, locked + 16);
        ::GlobalUnlock(array);
        return copy;
    };
    const auto expect_records = [&](const std::vector<Bytes> &wanted) {
        const auto found = records();
        for (std::size_t i = 0; i < found.size(); ++i) {
            if (i >= wanted.size()) {
                EXPECT_EQ(found[i], nullptr) << i;
                continue;
            }
            ASSERT_NE(found[i], nullptr) << i;
            EXPECT_EQ(found[i]->size, wanted[i].size());
            Bytes with_end = wanted[i];
            with_end.insert(with_end.end(), 4, 0);
            EXPECT_EQ(std::memcmp(found[i]->data, with_end.data(), with_end.size()), 0) << i;
        }
    };
    EXPECT_SUCCESS(api().CreateQueue(1));
    expect_records({});
    add_messages(0, 16);
    expect_records(messages(0, 16));
    expect_taken(messages(0, 3));
    expect_records(messages(3, 13));
    EXPECT_EQ(api().ClearQueue(), 13);
    expect_records({});
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// --- growing ---------------------------------------------------------------------------------

TEST_F(MessageMemory, The17thAnd33rdMessageGrowTheArray) {
    HeapWatch heap;
    EXPECT_SUCCESS(api().CreateQueue(1));
    add_messages(0, 16);
    EXPECT_EQ(heap.growths(), Growths{});
    add_messages(16, 1);
    EXPECT_EQ(heap.growths(), (Growths{{32 * pointer, true, true}}));
    add_messages(17, 15);
    EXPECT_EQ(heap.growths(), Growths{});
    add_messages(32, 1);
    EXPECT_EQ(heap.growths(), (Growths{{48 * pointer, true, true}}));
    add_messages(33, 15);
    EXPECT_EQ(heap.growths(), Growths{});
    add_messages(48, 1);
    EXPECT_EQ(heap.growths(), (Growths{{64 * pointer, true, true}}));
    expect_content(messages(0, 49));
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// The array never shrinks: what has been had once is enough for as many messages again.
TEST_F(MessageMemory, TheArrayStays) {
    HeapWatch heap;
    EXPECT_SUCCESS(api().CreateQueue(1));
    add_messages(0, 33);
    EXPECT_EQ(heap.growths().size(), 2u);
    EXPECT_EQ(api().ClearQueue(), 33);
    add_messages(0, 48);
    EXPECT_EQ(heap.growths(), Growths{});
    expect_content(messages(0, 48));
    add_messages(0, 48);
    EXPECT_EQ(heap.growths(), Growths{});
    add_messages(48, 1);
    EXPECT_EQ(heap.growths(), (Growths{{64 * pointer, true, true}}));
    EXPECT_SUCCESS(api().DeleteQueue(1));
    // A new queue begins with 16 again.
    heap.allocations();
    EXPECT_SUCCESS(api().CreateQueue(1));
    EXPECT_EQ(heap.allocations(), (Blocks{{moveable, 16 * pointer}}));
    add_messages(0, 17);
    EXPECT_EQ(heap.growths(), (Growths{{32 * pointer, true, true}}));
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// A queue of owner 0 that is made anew begins with 16 as well.
TEST_F(MessageMemory, AQueueMadeAnewIsSmall) {
    HeapWatch heap;
    EXPECT_SUCCESS(api().CreateQueue(0));
    add_messages(0, 40);
    EXPECT_EQ(heap.growths().size(), 2u);
    EXPECT_SUCCESS(api().CreateQueue(3));
    EXPECT_EQ(heap.allocations().back(), (HeapWatch::Block{moveable, 16 * pointer}));
    add_messages(0, 17);
    EXPECT_EQ(heap.growths(), (Growths{{32 * pointer, true, true}}));
    expect_content(messages(0, 17));
    EXPECT_SUCCESS(api().DeleteQueue(3));
}

// --- not a byte outside ------------------------------------------------------------------------

TEST_F(MessageMemory, NothingOutsideIsTouched) {
    const FencedHeap heap(4);
    const int before = heap.blocks();
    for (int count : {1, 15, 16, 17, 31, 32, 33, 48}) {
        SCOPED_TRACE(count);
        EXPECT_SUCCESS(api().CreateQueue(1));
        EXPECT_EQ(heap.blocks(), before + 1);
        add_messages(0, count);
        EXPECT_EQ(heap.blocks(), before + 1 + 2 * count);
        expect_taken(messages(0, count / 2));
        EXPECT_EQ(heap.blocks(), before + 1 + 2 * (count - count / 2));
        add_messages(count, count / 2); // full again
        expect_content(messages(count / 2, count));
        EXPECT_EQ(heap.blocks(), before + 1);
        add_messages(0, count);
        EXPECT_EQ(api().ClearQueue(), count);
        EXPECT_EQ(heap.blocks(), before + 1);
        add_messages(0, count);
        EXPECT_SUCCESS(api().DeleteQueue(1));
        EXPECT_EQ(heap.blocks(), before);
    }
}

// --- failures --------------------------------------------------------------------------------

TEST_F(MessageMemory, NoArray) {
    const Census before = Census::now();
    for (uint32_t owner : {1u, 0u})
        for (const char *function : {"GlobalAlloc", "GlobalLock"}) {
            const FailingCall failing{function, 1};
            const int result = api().CreateQueue(owner);
            EXPECT_EQ(result, failing.happened() ? 0 : 1);
            if (failing.happened()) {
                EXPECT_EQ(Census::now(), before) << function;
                EXPECT_SILENT_FAILURE(add({1}));
                EXPECT_EQ(api().IsQueueEmpty(), 1);
                EXPECT_SUCCESS(api().DeleteQueue(0));
                EXPECT_SILENT_FAILURE(api().DeleteQueue(1));
            } else {
                EXPECT_SUCCESS(api().DeleteQueue(owner));
            }
        }
    {
        const FailingCall failing{"GlobalAlloc", 1};
        EXPECT_SILENT_FAILURE(api().CreateQueue(1));
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_SUCCESS(api().CreateQueue(2));
    EXPECT_SUCCESS(add({1}));
    expect_content({{1}});
    EXPECT_SUCCESS(api().DeleteQueue(2));
    EXPECT_EQ(Census::now(), before);
}

// Whichever allocation fails, the message is not there, the others are, and nothing is left behind.
TEST_F(MessageMemory, NoMemoryForAMessage) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    for (int waiting : {0, 1, 15, 16, 32}) {
        SCOPED_TRACE(waiting);
        add_messages(0, waiting);
        const Census before = Census::now();
        const auto failures = [&](const char *function) {
            for (int n = 1; n < 20; ++n) {
                SCOPED_TRACE(std::string(function) + " number " + std::to_string(n));
                bool happened = false;
                {
                    const FailingCall failing{function, n};
                    frame::forget_reports();
                    const int result = add(message(20, 99));
                    happened = failing.happened();
                    EXPECT_EQ(result, happened ? 0 : 1);
                }
                expect_no_report();
                if (!happened) {
                    EXPECT_EQ(api().ClearQueue(), waiting + 1);
                    add_messages(0, waiting);
                    EXPECT_EQ(Census::now(), before);
                    return n - 1;
                }
                EXPECT_EQ(Census::now(), before);
                EXPECT_EQ(api().IsQueueEmpty(), waiting == 0 ? 1 : 0);
            }
            return 20;
        };
        // Growing comes first: once grown the array stays large enough.
        EXPECT_EQ(failures("GlobalReAlloc"), waiting == 16 || waiting == 32 ? 1 : 0);
        EXPECT_EQ(failures("GlobalAlloc"), 2);
        EXPECT_LE(failures("GlobalLock"), 2);
        expect_content(messages(0, waiting));
    }
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// A message too many is dropped, and there is room again as soon as one is taken or memory comes.
TEST_F(MessageMemory, NoMemoryToGrow) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    add_messages(0, 16);
    const Census before = Census::now();
    {
        const FailingCall failing{"GlobalReAlloc", 1, FailingCall::from_there_on};
        for (int i = 0; i < 3; ++i) {
            EXPECT_SILENT_FAILURE(add({9, 9}));
            EXPECT_EQ(Census::now(), before);
        }
        EXPECT_EQ(failing.calls(), 3);
        expect_taken(messages(0, 1));
        add_messages(16, 1);
        EXPECT_SILENT_FAILURE(add({9, 9}));
        EXPECT_EQ(failing.calls(), 4);
        EXPECT_EQ(Census::now(), before);
    }
    HeapWatch heap;
    add_messages(17, 1);
    EXPECT_EQ(heap.growths(), (Growths{{32 * pointer, true, true}}));
    expect_content(messages(1, 17));
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// An array that cannot be looked at: nothing is given out, and everything is there afterwards.
TEST_F(MessageMemory, AnArrayThatCannotBeLocked) {
    EXPECT_SUCCESS(api().CreateQueue(1));
    add_messages(0, 5);
    const Census before = Census::now();
    {
        const FailingCall failing{"GlobalLock", 1, FailingCall::from_there_on};
        std::uint8_t buffer[64];
        EXPECT_NO_REPORT(api().GetFromQueue(buffer, 62));
        EXPECT_NO_REPORT(api().GetFromQueue(nullptr, -1));
        EXPECT_SILENT_FAILURE(add({1}));
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_EQ(Census::now(), before);
    expect_content(messages(0, 5));
    EXPECT_SUCCESS(api().DeleteQueue(1));
}

// Nor is anything discarded, and nothing is lost: the queue stays.
TEST_F(MessageMemory, AnArrayThatCannotBeLockedCannotBeFreed) {
    for (uint32_t owner : {1u, 0u}) {
        EXPECT_SUCCESS(api().CreateQueue(owner));
        add_messages(0, 5);
        const Census before = Census::now();
        {
            const FailingCall failing{"GlobalLock", 1, FailingCall::from_there_on};
            EXPECT_SILENT_FAILURE(api().DeleteQueue(owner));
            EXPECT_SILENT_FAILURE(api().CreateQueue(2));
            EXPECT_SILENT_FAILURE(api().ClearQueue());
            EXPECT_EQ(failing.calls(), owner == 0 ? 3 : 2);
        }
        EXPECT_EQ(Census::now(), before);
        expect_content(messages(0, 5));
        EXPECT_SUCCESS(api().DeleteQueue(owner));
    }
}

} // namespace
} // namespace q32::test
