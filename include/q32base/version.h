/*
 * Q32BASE: the version of these headers, and of the libraries and programs that came with them.
 *
 * The three numbers stand here and nowhere else. The version of a library that has been loaded:
 * loaded_version.h.
 */
#ifndef Q32BASE_VERSION_H
#define Q32BASE_VERSION_H

#define Q32BASE_VERSION_MAJOR 1
#define Q32BASE_VERSION_MINOR 0
#define Q32BASE_VERSION_PATCH 0

/* A version as a number that grows with it: #if Q32BASE_VERSION >= Q32BASE_VERSION_OF(1, 2, 0) */
#define Q32BASE_VERSION_OF(major, minor, patch) (1000000 * (major) + 1000 * (minor) + (patch))

/* The version as a number, 1000000 for 1.0.0, and as a text, "1.0.0". */
#define Q32BASE_VERSION                                                                            \
    Q32BASE_VERSION_OF(Q32BASE_VERSION_MAJOR, Q32BASE_VERSION_MINOR, Q32BASE_VERSION_PATCH)
#define Q32BASE_VERSION_STRING                                                                     \
    Q32BASE_TEXT_OF(Q32BASE_VERSION_MAJOR.Q32BASE_VERSION_MINOR.Q32BASE_VERSION_PATCH)

#define Q32BASE_TEXT_OF(words)       Q32BASE_TEXT_AS_IT_IS(words)
#define Q32BASE_TEXT_AS_IT_IS(words) #words

#endif
