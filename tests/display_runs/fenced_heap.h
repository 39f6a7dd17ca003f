// Blocks of the system's heap, for the time of its own life, between inaccessible pages: each ends
// at one but for what alignment needs, and holds no zeros unless they were asked for.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/fenced_memory.h"

#include <map>
#include <memory>

namespace q32::test {

class FencedHeap {
public:
    FencedHeap();
    ~FencedHeap(); // all blocks must be free

private:
    struct Block {
        std::unique_ptr<FencedMemory> memory;
        std::uint8_t *begin;
        std::size_t size;
        int locks;
    };
    HGLOBAL allocate(UINT flags, SIZE_T size);
    HGLOBAL free(HGLOBAL handle);

    std::map<HGLOBAL, Block> blocks_;
    std::uintptr_t last_handle_ = 2; // of a movable block: 6, 14, 22 ... no address of anything

    frame::Replaced<frame::call::GlobalAlloc> allocate_;
    frame::Replaced<frame::call::GlobalLock> lock_;
    frame::Replaced<frame::call::GlobalUnlock> unlock_;
    frame::Replaced<frame::call::GlobalFree> free_;
};

} // namespace q32::test
