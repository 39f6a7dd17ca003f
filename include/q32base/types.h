/*
 * Q32BASE: types and calling convention that all headers share.
 *
 * The interface is flat C for 32-bit Windows: cdecl, undecorated, every integer argument in one
 * 32-bit stack slot. It can be used from C and C++ with any Windows compiler.
 */
#ifndef Q32BASE_TYPES_H
#define Q32BASE_TYPES_H

#include <stdint.h>
#include <windows.h>

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
