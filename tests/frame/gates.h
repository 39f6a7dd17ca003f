// One gate for each system function that tests count, fail or replace: the function that stands in
// the DLL's import table and calls the real one. A line in the list below is all a function needs.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <type_traits>

namespace q32::frame {

// GATE(DLL, function, result of a failing call, its last error)
#define Q32_GATES(GATE)                                                                            \
    /* memory */                                                                                   \
    GATE(kernel32, GlobalAlloc, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                  \
    GATE(kernel32, GlobalReAlloc, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                \
    GATE(kernel32, GlobalLock, nullptr, ERROR_DISCARDED)                                           \
    GATE(kernel32, GlobalUnlock, 0, ERROR_NOT_LOCKED)                                              \
    GATE(kernel32, GlobalFree, reinterpret_cast<HGLOBAL>(1), ERROR_INVALID_HANDLE)                 \
    GATE(kernel32, GlobalSize, 0, ERROR_INVALID_HANDLE)                                            \
    GATE(kernel32, GlobalFlags, GMEM_INVALID_HANDLE, ERROR_INVALID_HANDLE)                         \
    GATE(kernel32, GlobalHandle, nullptr, ERROR_INVALID_HANDLE)                                    \
    GATE(kernel32, GlobalMemoryStatus, void(), 0)                                                  \
    GATE(kernel32, GlobalMemoryStatusEx, FALSE, ERROR_INVALID_PARAMETER)                           \
    GATE(kernel32, VirtualAlloc, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                 \
    GATE(kernel32, VirtualFree, FALSE, ERROR_INVALID_PARAMETER)                                    \
    GATE(msvcrt, malloc, nullptr, 0)                                                               \
    GATE(msvcrt, calloc, nullptr, 0)                                                               \
    GATE(msvcrt, realloc, nullptr, 0)                                                              \
    GATE(msvcrt, free, void(), 0)                                                                  \
    /* files */                                                                                    \
    GATE(kernel32, CreateFileA, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED)                         \
    GATE(kernel32, CreateFileMappingA, nullptr, ERROR_NOT_ENOUGH_MEMORY)                           \
    GATE(kernel32, MapViewOfFile, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                \
    GATE(kernel32, UnmapViewOfFile, FALSE, ERROR_INVALID_ADDRESS)                                  \
    GATE(kernel32, CloseHandle, FALSE, ERROR_INVALID_HANDLE)                                       \
    GATE(kernel32, ReadFile, FALSE, ERROR_READ_FAULT)                                              \
    GATE(kernel32, WriteFile, FALSE, ERROR_DISK_FULL)                                              \
    GATE(kernel32, SetFilePointer, INVALID_SET_FILE_POINTER, ERROR_SEEK)                           \
    GATE(kernel32, SetEndOfFile, FALSE, ERROR_DISK_FULL)                                           \
    GATE(kernel32, FlushFileBuffers, FALSE, ERROR_WRITE_FAULT)                                     \
    GATE(kernel32, LockFile, FALSE, ERROR_LOCK_VIOLATION)                                          \
    GATE(kernel32, UnlockFile, FALSE, ERROR_NOT_LOCKED)                                            \
    GATE(kernel32, DeleteFileA, FALSE, ERROR_ACCESS_DENIED)                                        \
    GATE(kernel32, GetTempFileNameA, 0, ERROR_PATH_NOT_FOUND)                                      \
    GATE(kernel32, GetTempPathA, 0, ERROR_PATH_NOT_FOUND)                                          \
    GATE(kernel32, GetWindowsDirectoryA, 0, ERROR_PATH_NOT_FOUND)                                  \
    GATE(kernel32, CreateDirectoryA, FALSE, ERROR_ACCESS_DENIED)                                   \
    GATE(kernel32, GetCurrentDirectoryA, 0, ERROR_PATH_NOT_FOUND)                                  \
    GATE(kernel32, SetCurrentDirectoryA, FALSE, ERROR_PATH_NOT_FOUND)                              \
    GATE(kernel32, GetVolumeInformationA, FALSE, ERROR_NOT_READY)                                  \
    GATE(kernel32, GetDiskFreeSpaceA, FALSE, ERROR_NOT_READY)                                      \
    GATE(kernel32, GetPrivateProfileIntA, 0, 0)                                                    \
    GATE(kernel32, GetPrivateProfileStringA, 0, 0)                                                 \
    GATE(kernel32, WritePrivateProfileStringA, FALSE, ERROR_ACCESS_DENIED)                         \
    /* process and threads */                                                                      \
    GATE(kernel32, GetVersion, 0, 0)                                                               \
    GATE(kernel32, GetVersionExA, FALSE, ERROR_INVALID_PARAMETER)                                  \
    GATE(kernel32, GetModuleFileNameA, 0, ERROR_INVALID_HANDLE)                                    \
    GATE(kernel32, InitializeCriticalSection, void(), 0)                                           \
    GATE(kernel32, DeleteCriticalSection, void(), 0)                                               \
    GATE(kernel32, EnterCriticalSection, void(), 0)                                                \
    GATE(kernel32, LeaveCriticalSection, void(), 0)                                                \
    GATE(kernel32, GetThreadPriority, THREAD_PRIORITY_ERROR_RETURN, ERROR_INVALID_HANDLE)          \
    GATE(kernel32, SetThreadPriority, FALSE, ERROR_INVALID_HANDLE)                                 \
    GATE(kernel32, Sleep, void(), 0)                                                               \
    GATE(kernel32, IsBadReadPtr, TRUE, 0)                                                          \
    GATE(kernel32, IsBadWritePtr, TRUE, 0)                                                         \
    /* device contexts and drawing */                                                              \
    GATE(gdi32, CreateDCA, nullptr, ERROR_INVALID_PARAMETER)                                       \
    GATE(gdi32, CreateICA, nullptr, ERROR_INVALID_PARAMETER)                                       \
    GATE(gdi32, CreateCompatibleDC, nullptr, ERROR_INVALID_PARAMETER)                              \
    GATE(gdi32, DeleteDC, FALSE, ERROR_INVALID_HANDLE)                                             \
    GATE(user32, GetDC, nullptr, ERROR_INVALID_PARAMETER)                                          \
    GATE(user32, ReleaseDC, 0, ERROR_INVALID_HANDLE)                                               \
    GATE(gdi32, GetDeviceCaps, 0, ERROR_INVALID_HANDLE)                                            \
    GATE(gdi32, CreateCompatibleBitmap, nullptr, ERROR_NOT_ENOUGH_MEMORY)                          \
    GATE(gdi32, CreateBitmap, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                    \
    GATE(gdi32, CreateDIBSection, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                \
    GATE(gdi32, CreatePalette, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                   \
    GATE(gdi32, CreateSolidBrush, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                \
    GATE(gdi32, DeleteObject, FALSE, ERROR_INVALID_HANDLE)                                         \
    GATE(gdi32, SelectObject, nullptr, ERROR_INVALID_HANDLE)                                       \
    GATE(gdi32, SelectPalette, nullptr, ERROR_INVALID_HANDLE)                                      \
    GATE(gdi32, RealizePalette, GDI_ERROR, ERROR_INVALID_HANDLE)                                   \
    GATE(gdi32, GetObjectA, 0, ERROR_INVALID_HANDLE)                                               \
    GATE(gdi32, GetObjectType, 0, ERROR_INVALID_HANDLE)                                            \
    GATE(gdi32, GetPaletteEntries, 0, ERROR_INVALID_HANDLE)                                        \
    GATE(gdi32, SetPaletteEntries, 0, ERROR_INVALID_HANDLE)                                        \
    GATE(gdi32, SetDIBitsToDevice, 0, ERROR_INVALID_PARAMETER)                                     \
    GATE(gdi32, StretchDIBits, 0, ERROR_INVALID_PARAMETER)                                         \
    GATE(gdi32, BitBlt, FALSE, ERROR_INVALID_HANDLE)                                               \
    GATE(gdi32, SetBitmapBits, 0, ERROR_INVALID_HANDLE)                                            \
    GATE(gdi32, SetBkColor, CLR_INVALID, ERROR_INVALID_HANDLE)                                     \
    GATE(gdi32, SetTextColor, CLR_INVALID, ERROR_INVALID_HANDLE)                                   \
    /* colour management */                                                                        \
    GATE(gdi32, SetICMMode, 0, ERROR_INVALID_HANDLE)                                               \
    GATE(gdi32, ColorMatchToTarget, FALSE, ERROR_INVALID_HANDLE)                                   \
    GATE(gdi32, GetICMProfileA, FALSE, ERROR_INVALID_HANDLE)                                       \
    GATE(gdi32, SetICMProfileA, FALSE, ERROR_INVALID_HANDLE)

// Asked at each call, before it is made: counts it; true lets it fail, with the last error to set.
struct Verdict {
    bool fails;
    DWORD error; // 0: the function's own
};
Verdict pass_gate(const char *function);

// Enters into the census what a call has handed out or taken back. Functions that matter have an
// overload of their own (calls.cpp), found by their Call.
template <class Call, class... ResultAndArguments>
void note(const Call &, const ResultAndArguments &...) {}

template <class Call, class Result, class... Arguments>
struct GateBody {
    using Returned = Result;
    using Body = std::function<Result(Arguments...)>;
    static inline Body body; // replaces the real function when there is one

    static Result pass(Arguments... arguments) {
        const Verdict verdict = pass_gate(Call::name);
        if (verdict.fails) {
            const DWORD error = verdict.error != 0 ? verdict.error : Call::usual_error;
            if (error != 0)
                SetLastError(error);
            return Call::failure();
        }
        if constexpr (std::is_void_v<Result>) {
            Call::body ? Call::body(arguments...) : Call::real(arguments...);
            note(Call{}, arguments...);
        } else {
            const Result result = Call::body ? Call::body(arguments...) : Call::real(arguments...);
            const DWORD error = GetLastError();
            note(Call{}, result, arguments...);
            SetLastError(error);
            return result;
        }
    }
};

template <class Call, class Pointer>
struct GateFor;

template <class Call, class Result, class... Arguments>
struct GateFor<Call, Result(WINAPI *)(Arguments...)> : GateBody<Call, Result, Arguments...> {
    static inline Result(WINAPI *real)(Arguments...) = nullptr;
    static Result WINAPI entry(Arguments... arguments) { return GateFor::pass(arguments...); }
};

#ifndef _WIN64 // which has one convention
template <class Call, class Result, class... Arguments>
struct GateFor<Call, Result(__cdecl *)(Arguments...)> : GateBody<Call, Result, Arguments...> {
    static inline Result(__cdecl *real)(Arguments...) = nullptr;
    static Result __cdecl entry(Arguments... arguments) { return GateFor::pass(arguments...); }
};
#endif

// The compiler says that it drops "cdecl" from types: it is the default, and nothing is lost.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
namespace call {
#define Q32_GATE(dll, function, failure_value, error)                                              \
    struct function : GateFor<function, decltype(&::function)> {                                   \
        static constexpr char library[] = #dll ".dll";                                             \
        static constexpr char name[] = #function;                                                  \
        static constexpr DWORD usual_error = error;                                                \
        static Returned failure() { return failure_value; }                                        \
    };
Q32_GATES(Q32_GATE)
#undef Q32_GATE
} // namespace call
#pragma GCC diagnostic pop

// The gate that stands before `real` in the import table, or null when the function has none.
void *gate_for(const std::string &dll, const std::string &function, void *real);

} // namespace q32::frame
