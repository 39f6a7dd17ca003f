// A heap for the library whose blocks lie between inaccessible pages: each ends at one but for what
// alignment needs, is inaccessible after it is freed, and holds no zeros unless they were asked
// for. What moveable blocks hold is elsewhere whenever they are locked, and has another handle
// whenever they grow.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/fenced_memory.h"

#include <map>
#include <memory>

namespace q32::test {

// For the time of its own life. Blocks that were there before are the real heap's, and are left to
// it; all others must be free at the end.
class FencedHeap {
public:
    explicit FencedHeap(std::size_t alignment = 8) : alignment_(alignment) {}
    ~FencedHeap();
    int blocks() const { return int(blocks_.size()); }

private:
    struct Block {
        std::unique_ptr<FencedMemory> memory;
        std::uint8_t *begin = nullptr;
        std::size_t size = 0;
        int locks = 0;
    };
    Block fenced(std::size_t size, bool zeros) const;
    HGLOBAL keep(Block block, bool moveable);
    HGLOBAL grow(HGLOBAL handle, SIZE_T size, UINT flags);
    LPVOID lock(HGLOBAL handle);
    BOOL unlock(HGLOBAL handle);
    HGLOBAL free(HGLOBAL handle);

    std::size_t alignment_;
    std::map<HGLOBAL, Block> blocks_;
    std::uintptr_t last_handle_ = 2; // of a moveable block: 6, 14, 22 ... no address of anything

    frame::Replaced<frame::call::GlobalAlloc> allocate_{[this](UINT flags, SIZE_T size) {
        return keep(fenced(size, (flags & GMEM_ZEROINIT) != 0), (flags & GMEM_MOVEABLE) != 0);
    }};
    frame::Replaced<frame::call::GlobalReAlloc> grow_{
        [this](HGLOBAL handle, SIZE_T size, UINT flags) { return grow(handle, size, flags); }};
    frame::Replaced<frame::call::GlobalLock> lock_{[this](HGLOBAL handle) { return lock(handle); }};
    frame::Replaced<frame::call::GlobalUnlock> unlock_{
        [this](HGLOBAL handle) { return unlock(handle); }};
    frame::Replaced<frame::call::GlobalFree> free_{[this](HGLOBAL handle) { return free(handle); }};
};

} // namespace q32::test
