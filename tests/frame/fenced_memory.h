// Memory between two inaccessible pages, so that one byte too far is a crash and not luck. Runs on
// the build machine and on the target; knows nothing of what is tested with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace q32::test {

class FencedMemory {
public:
    static constexpr std::size_t page = 4096;

    // At least `size` accessible bytes, in whole pages.
    explicit FencedMemory(std::size_t size) : size_{(size + page - 1) / page * page} {
#if defined(_WIN32)
        base_ = static_cast<std::uint8_t *>(
            VirtualAlloc(nullptr, size_ + 2 * page, MEM_RESERVE, PAGE_NOACCESS));
        const bool made =
            base_ && VirtualAlloc(base_ + page, size_, MEM_COMMIT, PAGE_READWRITE) != nullptr;
#else
        void *const mapped =
            mmap(nullptr, size_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base_ = static_cast<std::uint8_t *>(mapped);
        const bool made =
            mapped != MAP_FAILED && mprotect(base_ + page, size_, PROT_READ | PROT_WRITE) == 0;
#endif
        if (!made) {
            std::fputs("fenced memory: no memory\n", stderr);
            std::abort();
        }
    }

    ~FencedMemory() {
#if defined(_WIN32)
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, size_ + 2 * page);
#endif
    }

    // From now on all of it is as inaccessible as the pages beside it.
    void close() {
#if defined(_WIN32)
        VirtualFree(begin(), size_, MEM_DECOMMIT);
#else
        mprotect(begin(), size_, PROT_NONE);
#endif
    }

    FencedMemory(const FencedMemory &) = delete;
    FencedMemory &operator=(const FencedMemory &) = delete;

    std::uint8_t *begin() const {
        return base_ + page;
    }
    std::uint8_t *end() const {
        return base_ + page + size_;
    }
    std::size_t size() const {
        return size_;
    }

private:
    std::uint8_t *base_ = nullptr;
    std::size_t size_;
};

} // namespace q32::test
