/* What the programs of this folder have in common: they count what is as expected, and say what is
 * not. */
#ifndef CALLERS_EXPECT_H
#define CALLERS_EXPECT_H

#include <stdio.h>

static int expected, met;

#define EXPECT(condition)                                                                          \
    do {                                                                                           \
        ++expected;                                                                                \
        if (condition)                                                                             \
            ++met;                                                                                 \
        else                                                                                       \
            printf("%s:%d: not so: %s\n", __FILE__, __LINE__, #condition);                         \
    } while (0)

static int finish(const char *program) {
    printf("%s: %d of %d as expected\n", program, met, expected);
    return met == expected ? 0 : 1;
}

#endif
