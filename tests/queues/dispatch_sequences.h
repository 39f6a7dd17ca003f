// Random sequences of calls of a dispatch queue, whose callbacks make calls as well, and what is to
// be seen of them: every message and every result, as lines.
#pragma once

#include "tests/queues/dispatch_model.h"

#include <string>
#include <vector>

namespace q32::test {

class Random;

// One call.
struct Operation {
    enum Kind { add, dispatch, remove, rectangles, is_in_queue, wait, set_end, first_service } kind;
    uint32_t owner;
    RECT rectangle; // of a job, or the one that identifies it
    RECT end;
    bool replace;
    int mode, first, last;
};

struct Sequence {
    std::uint64_t seed;     // of what callbacks do
    std::vector<RECT> pool; // the rectangles that occur
    unsigned calls_percent; // of the callbacks make calls
    unsigned adds_percent;  // of the calls add jobs
    std::vector<Operation> operations;
};

Sequence random_sequence(Random &random, std::uint64_t seed);

// Does it all, takes out what is left, and gives what has been seen: a line for each message, call
// and result, set in by a space for each callback that it came from.
std::vector<std::string> play(const Sequence &sequence, Dispatcher &dispatcher);

} // namespace q32::test
