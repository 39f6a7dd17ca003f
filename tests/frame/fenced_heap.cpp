// Blocks are looked up by their handles; the real heap answers for all others.
#include "tests/frame/fenced_heap.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace q32::test {
namespace {

constexpr std::uint8_t unwritten = 0xCD;

} // namespace

namespace call = frame::call;

FencedHeap::~FencedHeap() {
    EXPECT_EQ(blocks(), 0);
}

FencedHeap::Block FencedHeap::fenced(std::size_t size, bool zeros) const {
    auto memory = std::make_unique<FencedMemory>(size + alignment_);
    std::fill(memory->begin(), memory->end(), unwritten);
    std::uint8_t *const begin = memory->end() - (size + alignment_ - 1) / alignment_ * alignment_;
    if (zeros)
        std::fill(begin, begin + size, std::uint8_t{0});
    return {std::move(memory), begin, size, 0};
}

HGLOBAL FencedHeap::keep(Block block, bool moveable) {
    const auto handle =
        moveable ? reinterpret_cast<HGLOBAL>(last_handle_ += 8) : static_cast<HGLOBAL>(block.begin);
    blocks_[handle] = std::move(block);
    return handle;
}

HGLOBAL FencedHeap::grow(HGLOBAL handle, SIZE_T size, UINT flags) {
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return call::GlobalReAlloc::real(handle, size, flags);
    EXPECT_EQ(found->second.locks, 0);
    Block larger = fenced(size, (flags & GMEM_ZEROINIT) != 0);
    std::copy_n(found->second.begin, std::min<std::size_t>(size, found->second.size), larger.begin);
    free(handle);
    return keep(std::move(larger), true);
}

LPVOID FencedHeap::lock(HGLOBAL handle) {
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return call::GlobalLock::real(handle);
    Block &block = found->second;
    if (block.locks++ == 0 && handle != block.begin) {
        Block moved = fenced(block.size, false);
        std::copy_n(block.begin, block.size, moved.begin);
        block.memory = std::move(moved.memory);
        block.begin = moved.begin;
    }
    return block.begin;
}

BOOL FencedHeap::unlock(HGLOBAL handle) {
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return call::GlobalUnlock::real(handle);
    EXPECT_GT(found->second.locks, 0);
    return --found->second.locks > 0;
}

// What lies before and behind the block must be as it was.
HGLOBAL FencedHeap::free(HGLOBAL handle) {
    const auto found = blocks_.find(handle);
    if (found == blocks_.end()) {
        const HGLOBAL refused = call::GlobalFree::real(handle);
        EXPECT_EQ(refused, nullptr) << "no block, or freed before";
        return refused;
    }
    const Block &block = found->second;
    EXPECT_EQ(block.locks, 0);
    const auto untouched = [](std::uint8_t byte) { return byte == unwritten; };
    EXPECT_TRUE(std::all_of(block.memory->begin(), block.begin, untouched)) << block.size;
    EXPECT_TRUE(std::all_of(block.begin + block.size, block.memory->end(), untouched))
        << block.size;
    blocks_.erase(found);
    return nullptr;
}

} // namespace q32::test
