// The library's heap replaced by one whose blocks lie between inaccessible pages (page_heap.h), for
// the time of its own life. Blocks that were there before are the former heap's, and are left to
// it; all others must be free at the end.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/library.h"
#include "tests/frame/page_heap.h"

#include <gtest/gtest.h>

namespace q32::test {

class FencedHeap {
public:
    explicit FencedHeap(std::size_t alignment = 8,
                        frame::PageHeap::Side side = frame::PageHeap::ends_at_a_fence)
        : heap_(beyond(), alignment, side) {}
    ~FencedHeap() { EXPECT_EQ(heap_.blocks(), 0); }
    int blocks() const { return heap_.blocks(); }
    int handed_out() const { return heap_.handed_out(); }

private:
    static frame::PageHeap::Beyond beyond() {
        using namespace frame::call;
        // Whoever has loaded a library found the real ones; another one would start it anew.
        if (GlobalAlloc::real == nullptr)
            frame::shared_library();
        return {GlobalAlloc::real, GlobalReAlloc::real, GlobalLock::real,  GlobalUnlock::real,
                GlobalFree::real,  GlobalSize::real,    GlobalFlags::real, GlobalHandle::real};
    }

    frame::PageHeap heap_;

    frame::Replaced<frame::call::GlobalAlloc> allocate_{
        [this](UINT flags, SIZE_T size) { return heap_.allocate(flags, size); }};
    frame::Replaced<frame::call::GlobalReAlloc> grow_{
        [this](HGLOBAL handle, SIZE_T size, UINT flags) {
            return heap_.grow(handle, size, flags);
        }};
    frame::Replaced<frame::call::GlobalLock> lock_{
        [this](HGLOBAL handle) { return heap_.lock(handle); }};
    frame::Replaced<frame::call::GlobalUnlock> unlock_{
        [this](HGLOBAL handle) { return heap_.unlock(handle); }};
    frame::Replaced<frame::call::GlobalFree> free_{[this](HGLOBAL handle) {
        EXPECT_EQ(heap_.locks(handle), 0);
        return heap_.free(handle);
    }};
    frame::Replaced<frame::call::GlobalSize> size_{
        [this](HGLOBAL handle) { return heap_.size(handle); }};
    frame::Replaced<frame::call::GlobalFlags> flags_{
        [this](HGLOBAL handle) { return heap_.flags(handle); }};
    frame::Replaced<frame::call::GlobalHandle> handle_{
        [this](LPCVOID address) { return heap_.handle(address); }};
};

} // namespace q32::test
