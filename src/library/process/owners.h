// Owners: each releases what it holds when it goes out of scope, on every path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace q32 {

// One resource and how it is released. Traits give the value that means none and the release.
template <typename Traits>
class Owner {
public:
    using Value = typename Traits::Value;

    Owner() = default;
    explicit Owner(Value value) : value_(value) {}
    Owner(Owner &&other) noexcept : value_(other.release()) {}
    Owner &operator=(Owner &&other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Owner() { reset(); }

    explicit operator bool() const { return value_ != Traits::none(); }
    Value get() const { return value_; }
    Value release() { return std::exchange(value_, Traits::none()); }
    void reset(Value value = Traits::none()) {
        if (const Value old = std::exchange(value_, value); old != Traits::none())
            Traits::release(old);
    }

private:
    Value value_ = Traits::none();
};

// For traits of what is nothing when it is null.
template <typename T>
struct NullIsNone {
    using Value = T;
    static Value none() { return {}; }
};

// --- memory -------------------------------------------------------------------------------------

struct GlobalBlockTraits : NullIsNone<HGLOBAL> {
    static void release(Value block) { GlobalFree(block); }
};
using GlobalBlock = Owner<GlobalBlockTraits>;

// None where there is no memory; in 64 bits, as more may be asked for than can be addressed.
inline GlobalBlock make_global_block(UINT flags, std::uint64_t bytes) {
    return GlobalBlock(bytes <= SIZE_MAX ? GlobalAlloc(flags, SIZE_T(bytes)) : nullptr);
}

// Memory of the global heap as a typed pointer, for owners to take. Null when there is none.
template <typename T>
T *global_alloc(UINT flags, SIZE_T bytes) {
    return static_cast<T *>(static_cast<void *>(GlobalAlloc(flags, bytes)));
}

// A moveable global block's memory for the time of the scope; null when it cannot be locked.
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL block) : block_(block), memory_(GlobalLock(block)) {}
    LockedBlock(const LockedBlock &) = delete;
    LockedBlock &operator=(const LockedBlock &) = delete;
    ~LockedBlock() {
        if (memory_ != nullptr)
            GlobalUnlock(block_);
    }

    void *memory() const { return memory_; }

private:
    HGLOBAL block_;
    void *memory_;
};

// A block of the runtime heap.
struct RuntimeBlockTraits : NullIsNone<void *> {
    static void release(Value block) { std::free(block); }
};
using RuntimeBlock = Owner<RuntimeBlockTraits>;

// --- files --------------------------------------------------------------------------------------

struct FileTraits {
    using Value = HANDLE;
    static Value none() { return INVALID_HANDLE_VALUE; }
    static void release(Value file) { CloseHandle(file); }
};
using File = Owner<FileTraits>;

struct MappingTraits : NullIsNone<HANDLE> {
    static void release(Value mapping) { CloseHandle(mapping); }
};
using Mapping = Owner<MappingTraits>;

struct ViewTraits : NullIsNone<void *> {
    static void release(Value view) { UnmapViewOfFile(view); }
};
using View = Owner<ViewTraits>;

// --- anything else ------------------------------------------------------------------------------

struct CriticalSectionTraits : NullIsNone<CRITICAL_SECTION *> {
    static void release(Value section) { LeaveCriticalSection(section); }
};
using EnteredSection = Owner<CriticalSectionTraits>;

inline EnteredSection enter(CRITICAL_SECTION &section) {
    EnterCriticalSection(&section);
    return EnteredSection(&section);
}

// Calls a function at the end of the scope unless it is dismissed.
template <typename Function>
class ScopeGuard {
public:
    explicit ScopeGuard(Function function) : function_(std::move(function)) {}
    ScopeGuard(const ScopeGuard &) = delete;
    ScopeGuard &operator=(const ScopeGuard &) = delete;
    ~ScopeGuard() {
        if (armed_)
            function_();
    }
    void dismiss() { armed_ = false; }

private:
    Function function_;
    bool armed_ = true;
};

} // namespace q32
