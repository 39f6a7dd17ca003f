// What the library said of its last failure, in words with their numbers.
#pragma once

#include "exceptions.h"

#include <string>

namespace apps {

struct LibraryReport {
    int message; // 0: it said nothing
    int severity;
    int module;
    int point;
    std::string text; // of the message, from the library family's table

    std::string numbers() const; // "(error 5402, module 4, point 71)"
    std::string see_explanation() const;
};

// Of the calling thread.
LibraryReport last_report();

// The failure of a library function: "doing: what the library says (its numbers)", and what a user
// may do: without a remedy, where more is told. Without a report it says so.
Failure library_failure(const std::string &subject, const std::string &doing,
                        const std::string &remedy = {});

} // namespace apps
