// A heap whose blocks lie between inaccessible pages: each ends at one but for what alignment needs
// (or begins behind one), is inaccessible for a while after it is freed, and holds no zeros unless
// they were asked for. What moveable blocks hold is elsewhere whenever they are locked, and has
// another handle whenever it grows.
//
// With the environment variable Q32BASE_TEST_HEAP set, all blocks of the library and of the test
// program that uses it come from one such heap.
#pragma once

#include "tests/frame/fenced_memory.h"

#include <windows.h>

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace q32::frame {

class PageHeap {
public:
    enum Side { ends_at_a_fence, begins_at_a_fence };
    // Up to so many bytes and blocks at once; there is address space for no more.
    struct Room {
        std::size_t bytes, blocks;
    };
    // What answers for a handle that is no block of this heap, and for what it has no room for.
    struct Beyond {
        decltype(&::GlobalAlloc) allocate;
        decltype(&::GlobalReAlloc) grow;
        decltype(&::GlobalLock) lock;
        decltype(&::GlobalUnlock) unlock;
        decltype(&::GlobalFree) free;
        decltype(&::GlobalSize) size;
        decltype(&::GlobalFlags) flags;
        decltype(&::GlobalHandle) handle;
    };
    static constexpr Room all_room = {~std::size_t{0}, ~std::size_t{0}};

    PageHeap(const Beyond &beyond, std::size_t alignment, Side side = ends_at_a_fence,
             const Room &room = all_room)
        : beyond_(beyond), alignment_(alignment), side_(side), room_(room) {}

    // As the system's functions of these names.
    HGLOBAL allocate(UINT flags, SIZE_T size);
    HGLOBAL grow(HGLOBAL handle, SIZE_T size, UINT flags);
    LPVOID lock(HGLOBAL handle);
    BOOL unlock(HGLOBAL handle);
    HGLOBAL free(HGLOBAL handle);
    SIZE_T size(HGLOBAL handle);
    UINT flags(HGLOBAL handle);
    HGLOBAL handle(LPCVOID address);

    int locks(HGLOBAL handle); // of a block of this heap
    int blocks() const { return int(blocks_.size()); }
    int handed_out() const { return handed_out_; }

private:
    struct Block {
        std::unique_ptr<test::FencedMemory> memory;
        std::uint8_t *begin = nullptr;
        std::size_t size = 0;
        int locks = 0;
    };
    using Guard = std::lock_guard<std::recursive_mutex>;
    bool has_room(std::size_t size) const;
    Block fenced(std::size_t size, bool zeros) const;
    HGLOBAL keep(Block block, bool moveable);
    void move(Block &block);
    void discard(Block &block);
    void expect_untouched(const Block &block) const;
    void take_away(std::unique_ptr<test::FencedMemory> memory);

    const Beyond beyond_;
    const std::size_t alignment_;
    const Side side_;
    const Room room_;
    std::recursive_mutex guard_;
    std::map<HGLOBAL, Block> blocks_;
    std::size_t bytes_ = 0;
    int handed_out_ = 0;
    std::deque<std::unique_ptr<test::FencedMemory>> taken_away_; // inaccessible; the newest last
};

// What stands for one of the system's functions when Q32BASE_TEST_HEAP is set; null when it is not,
// and for all others.
void *page_heap_function(const std::string &function);

} // namespace q32::frame
