// As much of the system's header as the fuzzed drivers name, for the build machine. What the
// functions do there is machine.cpp's part.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#define __cdecl
#define __stdcall
#define __declspec(what)
#define CDECL

#define MAX_PATH                     260
#define MAXSIZE_T                    SIZE_MAX
#define INVALID_HANDLE_VALUE         (reinterpret_cast<HANDLE>(std::intptr_t(-1)))
#define INVALID_FILE_ATTRIBUTES      0xFFFFFFFFu
#define FILE_ATTRIBUTE_DIRECTORY     0x10u
#define FILE_ATTRIBUTE_NORMAL        0x80u
#define FILE_FLAG_SEQUENTIAL_SCAN    0x08000000u
#define GENERIC_READ                 0x80000000u
#define GENERIC_WRITE                0x40000000u
#define FILE_SHARE_READ              1u
#define FILE_SHARE_WRITE             2u
#define FILE_SHARE_DELETE            4u
#define CREATE_ALWAYS                2u
#define OPEN_EXISTING                3u
#define OPEN_ALWAYS                  4u
#define FILE_BEGIN                   0u
#define GMEM_FIXED                   0u
#define GMEM_MOVEABLE                2u
#define GMEM_ZEROINIT                0x40u
#define GPTR                         0x40u
#define ERROR_FILE_NOT_FOUND         2u
#define ERROR_PATH_NOT_FOUND         3u
#define ERROR_LOCK_VIOLATION         33u
#define ERROR_DISK_FULL              112u
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_ERROR_RETURN 0x7FFFFFFF
#define BI_RGB                       0
#define BI_RLE8                      1
#define BI_RLE4                      2
#define BI_BITFIELDS                 3
#define BI_JPEG                      4
#define BI_PNG                       5

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using LONGLONG = std::int64_t;
using HRESULT = std::int32_t;
using COLORREF = std::uint32_t;
using SIZE_T = std::size_t;
using WCHAR = wchar_t;
using HANDLE = void *;
using HGLOBAL = void *;
using HMODULE = void *;
using HDC = void *;
using HBITMAP = void *;
using HPALETTE = void *;
using FARPROC = int (*)();

union LARGE_INTEGER {
    LONGLONG QuadPart;
};
struct POINT {
    LONG x, y;
};
struct SIZE {
    LONG cx, cy;
};
struct RECT {
    LONG left, top, right, bottom;
};
struct RGBQUAD {
    BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};
struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth, biHeight;
    WORD biPlanes, biBitCount;
    DWORD biCompression, biSizeImage;
    LONG biXPelsPerMeter, biYPelsPerMeter;
    DWORD biClrUsed, biClrImportant;
};
using BITMAPINFOHEADER = tagBITMAPINFOHEADER;
struct MEMORYSTATUS {
    DWORD dwLength;
    SIZE_T dwTotalPhys;
};
struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes, nFileSizeHigh, nFileSizeLow;
};
struct CRITICAL_SECTION {};
enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard };

// --- memory -------------------------------------------------------------------------------------

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes);
HGLOBAL GlobalReAlloc(HGLOBAL block, SIZE_T bytes, UINT flags);
HGLOBAL GlobalFree(HGLOBAL block);
void *GlobalLock(HGLOBAL block);
BOOL GlobalUnlock(HGLOBAL block);
HGLOBAL GlobalHandle(const void *memory);
void GlobalMemoryStatus(MEMORYSTATUS *status);

// --- files --------------------------------------------------------------------------------------

HANDLE CreateFileA(const char *path, DWORD access, DWORD sharing, void *security, DWORD disposition,
                   DWORD flags, HANDLE like);
HANDLE CreateFileW(const WCHAR *path, DWORD access, DWORD sharing, void *security,
                   DWORD disposition, DWORD flags, HANDLE like);
BOOL CloseHandle(HANDLE file);
BOOL ReadFile(HANDLE file, void *data, DWORD bytes, DWORD *done, void *overlapped);
BOOL WriteFile(HANDLE file, const void *data, DWORD bytes, DWORD *done, void *overlapped);
DWORD SetFilePointer(HANDLE file, LONG low, LONG *high, DWORD from);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER place, LARGE_INTEGER *at, DWORD from);
BOOL SetEndOfFile(HANDLE file);
BOOL FlushFileBuffers(HANDLE file);
BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER *size);
BOOL LockFile(HANDLE file, DWORD low, DWORD high, DWORD count_low, DWORD count_high);
BOOL UnlockFile(HANDLE file, DWORD low, DWORD high, DWORD count_low, DWORD count_high);
BOOL DeleteFileA(const char *path);
UINT GetTempFileNameA(const char *directory, const char *prefix, UINT unique, char *path);
DWORD GetFileAttributesA(const char *path);
DWORD GetFileAttributesW(const WCHAR *path);
BOOL GetFileAttributesExW(const WCHAR *path, GET_FILEEX_INFO_LEVELS level, void *data);
BOOL UnmapViewOfFile(const void *view);

// --- directories and settings -------------------------------------------------------------------

DWORD GetTempPathA(DWORD size, char *path);
UINT GetWindowsDirectoryA(char *path, UINT size);
DWORD GetFullPathNameA(const char *path, DWORD size, char *full, char **name);
DWORD GetEnvironmentVariableA(const char *name, char *value, DWORD size);
BOOL IsDBCSLeadByte(BYTE byte);
BOOL CreateDirectoryA(const char *path, void *security);
DWORD GetCurrentDirectoryW(DWORD size, WCHAR *path);
BOOL SetCurrentDirectoryA(const char *path);
BOOL SetCurrentDirectoryW(const WCHAR *path);
UINT GetPrivateProfileIntA(const char *section, const char *key, int value, const char *file);
DWORD GetPrivateProfileStringA(const char *section, const char *key, const char *otherwise,
                               char *value, DWORD size, const char *file);
BOOL WritePrivateProfileStringA(const char *section, const char *key, const char *value,
                                const char *file);

// --- anything else ------------------------------------------------------------------------------

DWORD GetLastError();
DWORD GetVersion();
void Sleep(DWORD milliseconds);
HANDLE GetCurrentThread();
int GetThreadPriority(HANDLE thread);
BOOL SetThreadPriority(HANDLE thread, int priority);
void InitializeCriticalSection(CRITICAL_SECTION *section);
void DeleteCriticalSection(CRITICAL_SECTION *section);
void EnterCriticalSection(CRITICAL_SECTION *section);
void LeaveCriticalSection(CRITICAL_SECTION *section);
HMODULE GetModuleHandleW(const WCHAR *name);
FARPROC GetProcAddress(HMODULE module, const char *name);
HANDLE GetProcessHeap();
BOOL HeapFree(HANDLE heap, DWORD flags, void *memory);
BOOL DeleteObject(void *object);
BOOL DeleteDC(HDC dc);
