// Messages in and out, and the watch on the heap.
#include "tests/queues/message_fixture.h"

#include <algorithm>
#include <cstring>
#include <ostream>

namespace q32::test {

Bytes message(std::size_t size, int number) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = std::uint8_t(1 + (i * 7 + std::size_t(number) * 31) % 255);
    return bytes;
}

// --- taking ----------------------------------------------------------------------------------

Bytes MessageTest::take_with_end() {
    const int size = api().GetFromQueue(nullptr, -1);
    EXPECT_GE(size, 0);
    if (size < 0 || api().IsQueueEmpty())
        return {};
    std::unique_ptr<FencedMemory> &memory = memory_[std::size_t(size) / FencedMemory::page];
    if (memory == nullptr)
        memory = std::make_unique<FencedMemory>((std::size_t(size) / FencedMemory::page + 2) *
                                                FencedMemory::page);
    std::uint8_t *const buffer = memory->end() - size - 2;
    std::memset(buffer - 16, 0xA5, 16 + std::size_t(size) + 2);
    EXPECT_EQ(api().GetFromQueue(buffer, size), size);
    EXPECT_EQ(std::count(buffer - 16, buffer, 0xA5), 16);
    return {buffer, memory->end()};
}

void MessageTest::expect_taken(const std::vector<Bytes> &messages) {
    for (std::size_t i = 0; i < messages.size(); ++i) {
        Bytes with_end = messages[i];
        with_end.insert(with_end.end(), 2, 0);
        const Bytes taken = take_with_end();
        EXPECT_TRUE(taken == with_end) << "message " << i << " of " << messages.size() << ", "
                                       << messages[i].size() << " bytes, got " << taken.size();
    }
}

void MessageTest::expect_content(const std::vector<Bytes> &messages) {
    EXPECT_EQ(api().IsQueueEmpty(), messages.empty() ? 1 : 0);
    expect_taken(messages);
    EXPECT_EQ(api().IsQueueEmpty(), 1);
    std::uint8_t untouched[4] = {9, 9, 9, 9};
    EXPECT_EQ(api().GetFromQueue(untouched, 2), 0);
    EXPECT_EQ(std::count(untouched, untouched + 4, 9), 4);
}

// --- the system's heap -----------------------------------------------------------------------

HeapWatch::HeapWatch()
    : allocate_([this](UINT flags, SIZE_T bytes) {
          allocations_.push_back({flags, bytes});
          return ::GlobalAlloc(flags, bytes);
      }),
      grow_([this](HGLOBAL block, SIZE_T bytes, UINT flags) {
          // Of what the call asks for only the zeros show: GMEM_MODIFY would change no size.
          const bool zeroed = (flags & GMEM_ZEROINIT) != 0 && (flags & GMEM_MODIFY) == 0;
          const bool unlocked = (::GlobalFlags(block) & GMEM_LOCKCOUNT) == 0;
          growths_.push_back({bytes, zeroed, unlocked});
          return ::GlobalReAlloc(block, bytes, flags);
      }) {}

void PrintTo(const HeapWatch::Block &block, std::ostream *stream) {
    *stream << block.bytes << " bytes, flags " << block.flags;
}

void PrintTo(const HeapWatch::Growth &growth, std::ostream *stream) {
    *stream << "to " << growth.bytes << " bytes" << (growth.zeroed ? "" : ", not zeroed")
            << (growth.unlocked ? "" : ", locked");
}

} // namespace q32::test
