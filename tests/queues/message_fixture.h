// A test of the message queue: messages as bytes, and the heap as the library uses it.
#pragma once

#include "tests/frame/fenced_heap.h"
#include "tests/library/library_fixture.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <vector>

namespace q32::test {

// `size` bytes, none of them 0, that differ from those of another number.
Bytes message(std::size_t size, int number);

class MessageTest : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        start();
    }

    int add(const Bytes &bytes) { return api().AddQueue(bytes.data(), uint32_t(bytes.size())); }
    // Takes the oldest message out, into memory that ends at an inaccessible page: what has
    // arrived, with its two bytes behind it. Without a message: empty.
    Bytes take_with_end();
    // Takes messages out: exactly these, in this order.
    void expect_taken(const std::vector<Bytes> &messages);
    // The same, and then the queue is empty.
    void expect_content(const std::vector<Bytes> &messages);

private:
    std::map<std::size_t, std::unique_ptr<FencedMemory>> memory_;
};

// The library's calls that get memory of the heap.
class HeapWatch {
public:
    struct Block {
        UINT flags;
        SIZE_T bytes;
        bool operator==(const Block &) const = default;
    };
    struct Growth {
        SIZE_T bytes;
        bool zeroed;   // what is new holds zeros
        bool unlocked; // the block was not locked
        bool operator==(const Growth &) const = default;
    };

    HeapWatch();
    // Since the last look.
    std::vector<Block> allocations() { return std::exchange(allocations_, {}); }
    std::vector<Growth> growths() { return std::exchange(growths_, {}); }

private:
    std::vector<Block> allocations_;
    std::vector<Growth> growths_;
    Replaced<call::GlobalAlloc> allocate_;
    Replaced<call::GlobalReAlloc> grow_;
};

void PrintTo(const HeapWatch::Block &block, std::ostream *stream);
void PrintTo(const HeapWatch::Growth &growth, std::ostream *stream);

} // namespace q32::test
