// The system functions that the library calls: counted, made to fail, replaced, and what they hand
// out counted. Works on every Library that is loaded. A function that the DLL does not import is
// never called, and its count stays 0.
#pragma once

#include "tests/frame/gates.h"

#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <utility>

namespace q32::frame {

// Counts the library's calls of one function from now on, and lets the n-th fail (counted from 1;
// 0 fails none), or it and all after it. A call that fails is not made: the function's failure
// value is returned (gates.h) with the given last error, or its usual one for error 0. The name
// must be in gates.h; any other ends the program.
class FailingCall {
public:
    enum Extent { only_there, from_there_on };
    explicit FailingCall(const std::string &function, int n = 1, Extent extent = only_there,
                         DWORD error = 0);
    ~FailingCall();
    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;

    int calls() const { return calls_; }
    // Whether any call has been made to fail.
    bool happened() const { return n_ > 0 && calls_ >= n_; }

    // For the gates: whether this call of that function is to fail.
    bool meet(const char *function);
    DWORD error() const { return error_; }

private:
    std::string function_;
    int n_;
    Extent extent_;
    DWORD error_;
    int calls_ = 0;
};

// The calls through which memory and files are had, for tests that let each fail in turn. Those
// that give something back are not among them: nothing can be done about a release that fails.
inline constexpr const char *acquiring_calls[] = {
    "GlobalAlloc",
    "GlobalReAlloc",
    "GlobalLock",
    "malloc",
    "calloc",
    "realloc",
    "VirtualAlloc",
    "GetVolumeInformationA",
    "GetDiskFreeSpaceA",
    "GetTempFileNameA",
    "CreateFileA",
    "SetFilePointer",
    "SetEndOfFile",
    "WriteFile",
    "ReadFile",
    "FlushFileBuffers",
    "CreateFileMappingA",
    "MapViewOfFile",
};

// How often something makes each of them; those that it does not make are left out.
std::map<std::string, int> acquiring_calls_of(const std::function<void()> &action);

// Replaces one function by anything callable for the time of its own life:
//     Replaced<call::GetDeviceCaps> sixteen([](HDC dc, int index) {
//         return index == BITSPIXEL ? 4 : GetDeviceCaps(dc, index);
//     });
// The test's own calls are not affected, so that the replacement can call the real one. The newest
// replacement counts. What it hands out is counted by the census like the real thing.
template <class Call>
class Replaced {
public:
    explicit Replaced(typename Call::Body body) : before_(std::exchange(Call::body, body)) {}
    ~Replaced() { Call::body = before_; }
    Replaced(const Replaced &) = delete;
    Replaced &operator=(const Replaced &) = delete;

private:
    typename Call::Body before_;
};

// What the library holds of the system's at this moment, by its own calls, in all threads.
struct Census {
    int global_blocks;
    int global_locks; // outstanding, of moveable blocks
    int reservations; // of virtual memory
    int runtime_blocks;
    int files;
    int mappings;
    int views;
    int device_contexts;
    int drawing_objects; // palettes, bitmaps, brushes and other things of GDI
    int critical_sections;
    int thread_priority; // of the calling thread
    int files_on_disk;   // in the sandbox

    static Census now();
    bool operator==(const Census &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Census &census);

// A block that the library has allocated and the test frees: call before the test's own GlobalFree.
void forget_block(const void *block);

// For Library, when the DLL is unmapped: nothing of its past counts any more, and files that it has
// left open would stand in the way of the next.
void forget_holdings();

} // namespace q32::frame
