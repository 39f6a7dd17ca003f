// What the library holds and counts, and what of it may stay behind when the call that gives it
// back fails.
#pragma once

#include "tests/frame/calls.h"

#include <cstdint>
#include <string>

namespace q32::test {

struct Holdings {
    frame::Census census;
    size_t memory_in_use = 0, mapped_bytes = 0;
    int buffers = 0;

    static Holdings now(bool with_counters); // which the shared library has
};

// Whether all is as before, or as it must be with this function having failed, or one more of a
// kind; each stray thing is a test failure. Tells whether nothing stayed: otherwise what follows
// begins anew.
bool expect_balance(const Holdings &before, const Holdings &after, const std::string &function,
                    const std::string &kept);

// How many stray things there have been; and those rows of the table that have never been needed.
int stray_things();
std::string unneeded_rows();

} // namespace q32::test
