// Blocks are looked up by their handles.
#include "tests/frame/page_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace q32::frame {
namespace {

using test::FencedMemory;

constexpr std::uint8_t unwritten = 0xCD;
constexpr std::size_t most_taken_away = 64;

// Of moveable blocks, in all heaps: 6, 14, 22 ... are no address of anything.
HGLOBAL new_handle() {
    static std::uintptr_t last = 6 - 8;
    static std::mutex guard;
    const std::lock_guard guarded{guard};
    return reinterpret_cast<HGLOBAL>(last += 8);
}

} // namespace

bool PageHeap::has_room(std::size_t size) const {
    return size != 0 && blocks_.size() < room_.blocks && size <= room_.bytes - bytes_;
}

PageHeap::Block PageHeap::fenced(std::size_t size, bool zeros) const {
    auto memory = std::make_unique<FencedMemory>(size + alignment_);
    std::fill(memory->begin(), memory->end(), unwritten);
    std::uint8_t *const begin =
        side_ == begins_at_a_fence
            ? memory->begin()
            : memory->end() - (size + alignment_ - 1) / alignment_ * alignment_;
    if (zeros)
        std::fill(begin, begin + size, std::uint8_t{0});
    return {std::move(memory), begin, size, 0};
}

HGLOBAL PageHeap::keep(Block block, bool moveable) {
    const HGLOBAL handle = moveable ? new_handle() : static_cast<HGLOBAL>(block.begin);
    bytes_ += block.size;
    ++handed_out_;
    blocks_[handle] = std::move(block);
    return handle;
}

void PageHeap::move(Block &block) {
    Block moved = fenced(block.size, false);
    std::copy_n(block.begin, block.size, moved.begin);
    take_away(std::exchange(block.memory, std::move(moved.memory)));
    block.begin = moved.begin;
}

// Nobody's memory any more, and for some time nobody else's.
void PageHeap::take_away(std::unique_ptr<FencedMemory> memory) {
    memory->close();
    taken_away_.push_back(std::move(memory));
    if (taken_away_.size() > most_taken_away)
        taken_away_.pop_front();
}

void PageHeap::expect_untouched(const Block &block) const {
    const auto untouched = [](std::uint8_t byte) { return byte == unwritten; };
    EXPECT_TRUE(std::all_of(block.memory->begin(), block.begin, untouched) &&
                std::all_of(block.begin + block.size, block.memory->end(), untouched))
        << "written beside a block of " << block.size << " bytes";
}

HGLOBAL PageHeap::allocate(UINT flags, SIZE_T size) {
    const Guard guarded{guard_};
    if (!has_room(size) || (flags & GMEM_DISCARDABLE) != 0)
        return beyond_.allocate(flags, size);
    return keep(fenced(size, (flags & GMEM_ZEROINIT) != 0), (flags & GMEM_MOVEABLE) != 0);
}

HGLOBAL PageHeap::grow(HGLOBAL handle, SIZE_T size, UINT flags) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return beyond_.grow(handle, size, flags);
    EXPECT_EQ(found->second.locks, 0);
    if (size == 0) {
        discard(found->second);
        return handle;
    }
    Block larger = fenced(size, (flags & GMEM_ZEROINIT) != 0);
    std::copy_n(found->second.begin, std::min<std::size_t>(size, found->second.size), larger.begin);
    free(handle);
    return keep(std::move(larger), true);
}

LPVOID PageHeap::lock(HGLOBAL handle) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return beyond_.lock(handle);
    Block &block = found->second;
    if (block.memory == nullptr) {
        SetLastError(ERROR_DISCARDED);
        return nullptr;
    }
    if (handle != block.begin && block.locks++ == 0)
        move(block);
    return block.begin;
}

BOOL PageHeap::unlock(HGLOBAL handle) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return beyond_.unlock(handle);
    if (handle == found->second.begin) // a fixed block counts no locks
        return TRUE;
    if (found->second.locks == 0) {
        SetLastError(ERROR_NOT_LOCKED);
        return FALSE;
    }
    SetLastError(NO_ERROR);
    return --found->second.locks > 0;
}

HGLOBAL PageHeap::free(HGLOBAL handle) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    if (found == blocks_.end()) {
        const HGLOBAL refused = beyond_.free(handle);
        EXPECT_EQ(refused, nullptr) << "no block, or freed before";
        return refused;
    }
    discard(found->second);
    blocks_.erase(found);
    return nullptr;
}

// The memory goes, and the handle stays.
void PageHeap::discard(Block &block) {
    if (block.memory == nullptr)
        return;
    expect_untouched(block);
    bytes_ -= block.size;
    take_away(std::move(block.memory));
    block = {};
}

int PageHeap::locks(HGLOBAL handle) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    return found == blocks_.end() ? 0 : found->second.locks;
}

SIZE_T PageHeap::size(HGLOBAL handle) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    return found == blocks_.end() ? beyond_.size(handle) : found->second.size;
}

UINT PageHeap::flags(HGLOBAL handle) {
    const Guard guarded{guard_};
    const auto found = blocks_.find(handle);
    if (found == blocks_.end())
        return beyond_.flags(handle);
    return found->second.memory == nullptr ? GMEM_DISCARDED : UINT(found->second.locks);
}

HGLOBAL PageHeap::handle(LPCVOID address) {
    const Guard guarded{guard_};
    for (const auto &[handle, block] : blocks_)
        if (block.begin == address)
            return handle;
    return beyond_.handle(address);
}

// --- the heap of a whole process ---------------------------------------------------------------

namespace {

// The program's own imports lead here too: what lies beyond is the system's, by its address.
template <class Function>
Function of_system(const char *name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("kernel32.dll"), name)));
}

// Every call of the system that has to do with blocks, and the member that answers it.
#define Q32_HEAP_CALLS(CALL)                                                                       \
    CALL(GlobalAlloc, allocate)                                                                    \
    CALL(GlobalReAlloc, grow)                                                                      \
    CALL(GlobalLock, lock)                                                                         \
    CALL(GlobalUnlock, unlock)                                                                     \
    CALL(GlobalFree, free)                                                                         \
    CALL(GlobalSize, size)                                                                         \
    CALL(GlobalFlags, flags)                                                                       \
    CALL(GlobalHandle, handle)

PageHeap &process_heap() {
#define Q32_BEYOND(function, member) of_system<decltype(&::function)>(#function),
    static const PageHeap::Beyond beyond{Q32_HEAP_CALLS(Q32_BEYOND)};
#undef Q32_BEYOND
    constexpr PageHeap::Room room{200u << 20, 4000};
    static auto *const heap = new PageHeap(beyond, MEMORY_ALLOCATION_ALIGNMENT,
                                           PageHeap::ends_at_a_fence, room); // outlives everything
    return *heap;
}

template <auto member, class Function>
struct OfProcess;

template <auto member, class Result, class... Arguments>
struct OfProcess<member, Result(WINAPI *)(Arguments...)> {
    static Result WINAPI call(Arguments... arguments) {
        return (process_heap().*member)(arguments...);
    }
};

} // namespace

void *page_heap_function(const std::string &function) {
    if (GetEnvironmentVariableA("Q32BASE_TEST_HEAP", nullptr, 0) == 0)
        return nullptr;
#define Q32_CALL(name, member)                                                                     \
    if (function == #name)                                                                         \
        return reinterpret_cast<void *>(&OfProcess<&PageHeap::member, decltype(&::name)>::call);
    Q32_HEAP_CALLS(Q32_CALL)
#undef Q32_CALL
    return nullptr;
}

} // namespace q32::frame
