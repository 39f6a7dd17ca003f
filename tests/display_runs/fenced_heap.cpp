// Blocks that were there before are the real heap's, and are left to it.
#include "tests/display_runs/fenced_heap.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace q32::test {
namespace {

constexpr std::uint8_t unwritten = 0xCD;
constexpr std::size_t alignment = 8;

} // namespace

namespace call = frame::call;

FencedHeap::FencedHeap()
    : allocate_([this](UINT flags, SIZE_T size) { return allocate(flags, size); }),
      lock_([this](HGLOBAL handle) -> LPVOID {
          const auto found = blocks_.find(handle);
          if (found == blocks_.end())
              return call::GlobalLock::real(handle);
          ++found->second.locks;
          return found->second.begin;
      }),
      unlock_([this](HGLOBAL handle) -> BOOL {
          const auto found = blocks_.find(handle);
          if (found == blocks_.end())
              return call::GlobalUnlock::real(handle);
          found->second.locks = std::max(found->second.locks - 1, 0);
          return found->second.locks > 0;
      }),
      free_([this](HGLOBAL handle) { return free(handle); }) {}

FencedHeap::~FencedHeap() {
    EXPECT_EQ(blocks_.size(), 0u);
}

HGLOBAL FencedHeap::allocate(UINT flags, SIZE_T size) {
    auto memory = std::make_unique<FencedMemory>(size + alignment);
    std::fill(memory->begin(), memory->end(), unwritten);
    std::uint8_t *const begin = memory->end() - (size + alignment - 1) / alignment * alignment;
    if ((flags & GMEM_ZEROINIT) != 0)
        std::fill(begin, begin + size, std::uint8_t{0});
    const bool movable = (flags & GMEM_MOVEABLE) != 0;
    const auto handle =
        movable ? reinterpret_cast<HGLOBAL>(last_handle_ += 8) : static_cast<HGLOBAL>(begin);
    blocks_[handle] = {std::move(memory), begin, size, 0};
    return handle;
}

// What lies before and behind the block must be as it was.
HGLOBAL FencedHeap::free(HGLOBAL handle) {
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return call::GlobalFree::real(handle);
    const Block &block = found->second;
    const auto untouched = [](std::uint8_t byte) { return byte == unwritten; };
    EXPECT_TRUE(std::all_of(block.memory->begin(), block.begin, untouched)) << block.size;
    EXPECT_TRUE(std::all_of(block.begin + block.size, block.memory->end(), untouched))
        << block.size;
    blocks_.erase(found);
    return nullptr;
}

} // namespace q32::test
