// Logs of the flight recorder in words.
#pragma once

#include "explanations.h"
#include "report_log.h"

#include <string>

namespace apps::q32tool {

std::string in_order(const FailureNumbers &numbers); // "1001, 0, 4, 3"

// The program, a line for each report in the order in which they were made, and the program's end.
std::string in_lines(const ReportLog &log);

} // namespace apps::q32tool
