// Counting and failing calls at the gates, and the census of what the library holds.
#include "tests/frame/calls.h"

#include "tests/frame/sandbox.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <ostream>
#include <set>

namespace q32::frame {
namespace {

std::mutex guard;
std::vector<FailingCall *> failing_calls;

// What the library has got and not given back. Handles are kept as they are handed out.
struct Holdings {
    std::map<const void *, int> global_blocks; // and the locks of each
    std::set<const void *> reservations;
    std::set<const void *> runtime_blocks;
    std::set<const void *> files;
    std::set<const void *> mappings;
    std::set<const void *> views;
    std::set<const void *> device_contexts;
    std::set<const void *> drawing_objects;
    std::set<const void *> critical_sections;
};
Holdings held;

template <class Set>
void take(Set &set, const void *thing) {
    const std::lock_guard locked{guard};
    if (thing != nullptr)
        set.insert(thing);
}

template <class Set>
void give(Set &set, const void *thing, bool given = true) {
    const std::lock_guard locked{guard};
    if (given)
        set.erase(thing);
}

// The lock count of a fixed block, whose handle is its address, means nothing.
void lock_block(const void *block, const void *address, int change) {
    const std::lock_guard locked{guard};
    const auto found = held.global_blocks.find(block);
    if (found != held.global_blocks.end() && address != block)
        found->second = std::max(found->second + change, 0);
}

} // namespace

// --- notes of the gates ----------------------------------------------------------------------

void note(const call::GlobalAlloc &, HGLOBAL block, UINT, SIZE_T) {
    const std::lock_guard locked{guard};
    if (block != nullptr)
        held.global_blocks.emplace(block, 0);
}
void note(const call::GlobalReAlloc &, HGLOBAL block, HGLOBAL before, SIZE_T, UINT) {
    const std::lock_guard locked{guard};
    if (block == nullptr || block == before)
        return;
    held.global_blocks.erase(before);
    held.global_blocks.emplace(block, 0);
}
void note(const call::GlobalFree &, HGLOBAL left, HGLOBAL block) {
    const std::lock_guard locked{guard};
    if (left == nullptr)
        held.global_blocks.erase(block);
}
void note(const call::GlobalLock &, LPVOID address, HGLOBAL block) {
    if (address != nullptr)
        lock_block(block, address, 1);
}
void note(const call::GlobalUnlock &, BOOL, HGLOBAL block) {
    lock_block(block, nullptr, -1);
}
void note(const call::VirtualAlloc &, LPVOID base, LPVOID, SIZE_T, DWORD kind, DWORD) {
    if ((kind & MEM_RESERVE) != 0)
        take(held.reservations, base);
}
void note(const call::VirtualFree &, BOOL freed, LPVOID base, SIZE_T, DWORD kind) {
    give(held.reservations, base, freed && (kind & MEM_RELEASE) != 0);
}
void note(const call::malloc &, void *block, std::size_t) {
    take(held.runtime_blocks, block);
}
void note(const call::calloc &, void *block, std::size_t, std::size_t) {
    take(held.runtime_blocks, block);
}
void note(const call::realloc &, void *block, void *before, std::size_t size) {
    give(held.runtime_blocks, before, block != nullptr || size == 0);
    take(held.runtime_blocks, block);
}
void note(const call::free &, void *block) {
    give(held.runtime_blocks, block);
}
void note(const call::CreateFileA &, HANDLE file, LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES,
          DWORD, DWORD, HANDLE) {
    take(held.files, file == INVALID_HANDLE_VALUE ? nullptr : file);
}
void note(const call::CreateFileMappingA &, HANDLE mapping, HANDLE, LPSECURITY_ATTRIBUTES, DWORD,
          DWORD, DWORD, LPCSTR) {
    take(held.mappings, mapping);
}
void note(const call::CloseHandle &, BOOL closed, HANDLE handle) {
    give(held.files, handle, closed);
    give(held.mappings, handle, closed);
}
void note(const call::MapViewOfFile &, LPVOID view, HANDLE, DWORD, DWORD, DWORD, SIZE_T) {
    take(held.views, view);
}
void note(const call::UnmapViewOfFile &, BOOL unmapped, LPCVOID view) {
    give(held.views, view, unmapped);
}
void note(const call::CreateDCA &, HDC dc, LPCSTR, LPCSTR, LPCSTR, const DEVMODEA *) {
    take(held.device_contexts, dc);
}
void note(const call::CreateICA &, HDC dc, LPCSTR, LPCSTR, LPCSTR, const DEVMODEA *) {
    take(held.device_contexts, dc);
}
void note(const call::CreateCompatibleDC &, HDC dc, HDC) {
    take(held.device_contexts, dc);
}
void note(const call::DeleteDC &, BOOL deleted, HDC dc) {
    give(held.device_contexts, dc, deleted);
}
void note(const call::GetDC &, HDC dc, HWND) {
    take(held.device_contexts, dc);
}
void note(const call::ReleaseDC &, int released, HWND, HDC dc) {
    give(held.device_contexts, dc, released != 0);
}
void note(const call::CreateCompatibleBitmap &, HBITMAP bitmap, HDC, int, int) {
    take(held.drawing_objects, bitmap);
}
void note(const call::CreateBitmap &, HBITMAP bitmap, int, int, UINT, UINT, const void *) {
    take(held.drawing_objects, bitmap);
}
void note(const call::CreateDIBSection &, HBITMAP bitmap, HDC, const BITMAPINFO *, UINT, void **,
          HANDLE, DWORD) {
    take(held.drawing_objects, bitmap);
}
void note(const call::CreatePalette &, HPALETTE palette, const LOGPALETTE *) {
    take(held.drawing_objects, palette);
}
void note(const call::CreateSolidBrush &, HBRUSH brush, COLORREF) {
    take(held.drawing_objects, brush);
}
void note(const call::DeleteObject &, BOOL deleted, HGDIOBJ object) {
    give(held.drawing_objects, object, deleted);
}
void note(const call::InitializeCriticalSection &, LPCRITICAL_SECTION section) {
    take(held.critical_sections, section);
}
void note(const call::DeleteCriticalSection &, LPCRITICAL_SECTION section) {
    give(held.critical_sections, section);
}

// --- gates -----------------------------------------------------------------------------------

namespace {

template <class Call>
void *open_gate(void *real) {
    Call::real = reinterpret_cast<decltype(Call::real)>(real);
    return reinterpret_cast<void *>(&Call::entry);
}

struct Gate {
    const char *dll;
    const char *function;
    void *(*open)(void *real);
};

constexpr Gate gates[] = {
#define Q32_GATE(dll, function, failure_value, error)                                              \
    {call::function::library, call::function::name, open_gate<call::function>},
    Q32_GATES(Q32_GATE)
#undef Q32_GATE
};

} // namespace

void *gate_for(const std::string &dll, const std::string &function, void *real) {
    for (const Gate &gate : gates)
        if (dll == gate.dll && function == gate.function)
            return gate.open(real);
    return nullptr;
}

Verdict pass_gate(const char *function) {
    const std::lock_guard locked{guard};
    Verdict verdict{false, 0};
    for (FailingCall *const failing : failing_calls)
        if (failing->meet(function))
            verdict = {true, failing->error()};
    return verdict;
}

FailingCall::FailingCall(const std::string &function, int n, Extent extent, DWORD error)
    : function_(function), n_(n), extent_(extent), error_(error) {
    const bool known = std::any_of(std::begin(gates), std::end(gates),
                                   [&](const Gate &gate) { return function == gate.function; });
    if (!known) {
        std::fprintf(stderr, "no gate for %s: add it to tests/frame/gates.h\n", function.c_str());
        std::abort();
    }
    const std::lock_guard locked{guard};
    failing_calls.push_back(this);
}

FailingCall::~FailingCall() {
    const std::lock_guard locked{guard};
    std::erase(failing_calls, this);
}

std::map<std::string, int> acquiring_calls_of(const std::function<void()> &action) {
    std::map<std::string, FailingCall> counters;
    for (const char *call : acquiring_calls)
        counters.try_emplace(call, call, 0);
    action();
    std::map<std::string, int> result;
    for (const auto &[call, counter] : counters)
        if (counter.calls() > 0)
            result[call] = counter.calls();
    return result;
}

bool FailingCall::meet(const char *function) {
    if (function_ != function)
        return false;
    ++calls_;
    return n_ > 0 && (extent_ == only_there ? calls_ == n_ : calls_ >= n_);
}

// --- census ----------------------------------------------------------------------------------

Census Census::now() {
    const int on_disk = static_cast<int>(files_below(sandbox()).size());
    const std::lock_guard locked{guard};
    const auto count = [](const auto &set) { return static_cast<int>(set.size()); };
    int locks = 0;
    for (const auto &[block, block_locks] : held.global_blocks)
        locks += block_locks;
    return {count(held.global_blocks),
            locks,
            count(held.reservations),
            count(held.runtime_blocks),
            count(held.files),
            count(held.mappings),
            count(held.views),
            count(held.device_contexts),
            count(held.drawing_objects),
            count(held.critical_sections),
            GetThreadPriority(GetCurrentThread()),
            on_disk};
}

std::ostream &operator<<(std::ostream &out, const Census &census) {
    return out << "global blocks " << census.global_blocks << ", global locks "
               << census.global_locks << ", reservations " << census.reservations
               << ", runtime blocks " << census.runtime_blocks << ", files " << census.files
               << ", mappings " << census.mappings << ", views " << census.views
               << ", device contexts " << census.device_contexts << ", drawing objects "
               << census.drawing_objects << ", critical sections " << census.critical_sections
               << ", thread priority " << census.thread_priority << ", files on disk "
               << census.files_on_disk;
}

void forget_block(const void *block) {
    const std::lock_guard locked{guard};
    held.global_blocks.erase(block);
}

void forget_holdings() {
    const std::lock_guard locked{guard};
    for (const void *view : held.views)
        UnmapViewOfFile(view);
    for (const auto &handles : {held.mappings, held.files})
        for (const void *handle : handles)
            CloseHandle(const_cast<HANDLE>(handle));
    held = {};
}

} // namespace q32::frame
