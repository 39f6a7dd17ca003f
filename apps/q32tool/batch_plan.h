// What a command line of many pictures asks for, looked through before anything is done.
#pragma once

#include "arguments.h"
#include "batch_worker.h"

#include <string>
#include <vector>

namespace apps::q32tool {

struct BatchPlan {
    std::vector<Request> pictures; // each an own one; no two write the same file
    unsigned processes = 1;
    std::string folder;        // to write to; empty: nothing is written
    bool makes_folder = false; // it is not there yet
};

// Whether a command line is one for many pictures.
bool is_batch(const Command &command, const Arguments &arguments);

// Throws UsageError, Failure, Cancelled.
BatchPlan plan_batch(const Command &command, const Arguments &arguments);

} // namespace apps::q32tool
