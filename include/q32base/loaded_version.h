/*
 * Q32BASE: the version of a library that has been loaded, as its file says it.
 *
 * Headers and library may be of different releases. Within one major version a later library does
 * all that an earlier one does, so that a program compares once, at its start:
 *
 *     if (q32LoadedVersion() < Q32BASE_VERSION)
 *         the library is older than the headers that this program was compiled with
 *
 * q32base.h does not include this header: it is code of the program's own, as the library exports
 * nothing for it. Threads: any, at any time while the module stays loaded.
 */
#ifndef Q32BASE_LOADED_VERSION_H
#define Q32BASE_LOADED_VERSION_H

#include <q32base/types.h>
#include <q32base/version.h>
#include <string.h>

#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 199901L)
#define Q32_INLINE static inline
#else
#define Q32_INLINE static __inline
#endif

/*
 * The version of a module from its version resource, as a number like Q32BASE_VERSION.
 *
 *   module   of this process, as GetModuleHandle gives it; not one loaded as data
 *
 * Returns 0 for a null module, and for one without a version resource.
 */
Q32_INLINE int q32VersionOfModule(HMODULE module) {
    /* Three words and L"VS_VERSION_INFO"; from a multiple of 4 on, the fixed part, low words first.
     */
    enum { signature = 20, minor = 24, major = 25, patch = 27, words_needed = 28 };
    WORD words[words_needed];
    HRSRC resource;
    HGLOBAL block;

    if (!module)
        return 0;
    resource = FindResourceA(module, "#1", "#16"); /* VS_VERSION_INFO, RT_VERSION */
    if (!resource || SizeofResource(module, resource) < sizeof(words))
        return 0;
    block = LoadResource(module, resource);
    if (!block)
        return 0;
    memcpy(words, LockResource(block), sizeof(words));
    if (words[signature] != 0x04BD || words[signature + 1] != 0xFEEF)
        return 0;
    return Q32BASE_VERSION_OF(words[major], words[minor], words[patch]);
}

/* That of Q32BASE.DLL; 0 when it is not loaded. */
Q32_INLINE int q32LoadedVersion(void) {
    return q32VersionOfModule(GetModuleHandleA("Q32BASE.DLL"));
}

#endif
