/*
 * Q32BASE: types and calling convention that all headers share.
 *
 * The interface is flat C for Windows, undecorated, and can be used from C and C++ with any Windows
 * compiler: C89 and later, where the compiler has <stdint.h>, and C++98 and later. Headers may be
 * included in any order, before <windows.h> or after it, with whatever is defined for that (NOGDI,
 * WIN32_LEAN_AND_MEAN, NOMINMAX, STRICT, UNICODE). The library comes in two editions of one name,
 * for 32-bit and for 64-bit programs; these headers describe both.
 *
 * As wide as a pointer: pointers, handles (those of Windows, HBUF32, HDISPRUN), user data of
 * callbacks (uintptr_t, intptr_t), and whatever counts bytes and can go beyond 4 GB there: size_t.
 * Everything else has 32 bits or less in both: coordinates, counts, strides, colours, owners of
 * jobs, limits of a side.
 *
 * The 32-bit edition is cdecl, every integer argument in one 32-bit stack slot (callbacks say where
 * they are stdcall). The 64-bit edition has the one convention that Windows has there; __cdecl and
 * __stdcall mean nothing to it. Same pixels, reports and counters in both, but for what the width
 * of an address decides: how much can be had, and that a size_t counts it.
 */
#ifndef Q32BASE_TYPES_H
#define Q32BASE_TYPES_H

#include <q32base/version.h>
#include <stddef.h>
#include <stdint.h>
#include <windows.h>

/* A package says which edition its libraries are, and stops programs of the other kind. */
#if defined(__has_include)
#if __has_include("q32base-edition.h")
#include "q32base-edition.h"
#endif
#endif

#if defined(Q32BASE_BUILDING)
#define Q32_API
#else
#define Q32_API __declspec(dllimport)
#endif

#define Q32_CALL __cdecl

#ifdef __cplusplus
#define Q32_BEGIN_DECLS extern "C" {
#define Q32_END_DECLS   }
#else
#define Q32_BEGIN_DECLS
#define Q32_END_DECLS
#endif

/*
 * Refuses to compile where a record has not its layout: bytes in the 32-bit edition and in the
 * 64-bit one.
 */
#define Q32_RECORD_BYTES(record, in_32_bits, in_64_bits)                                           \
    typedef char record##_has_its_layout                                                           \
        [sizeof(record) == (sizeof(void *) == 4 ? (in_32_bits) : (in_64_bits)) ? 1 : -1]

/* Library number in every error report of this library. */
#define Q32_LIBRARY_NUMBER 1450

/* Largest width and height of a buffer, in pixels. */
#define Q32_MAX_SIDE 32000

/*
 * Handle of an image buffer: the address of its record; 0 means none. Made by buf32Alloc, given
 * back by buf32Free.
 */
typedef uintptr_t HBUF32;

#endif
