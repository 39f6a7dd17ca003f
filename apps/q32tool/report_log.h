// Logs of the flight recorder: reading and checking one.
#pragma once

#include <q32comm_log.h>

#include <string>
#include <vector>

namespace apps::q32tool {

struct ReportLog {
    Q32LOGHEADER header;
    std::vector<Q32LOGENTRY> entries; // in the order of their numbers
};

// All texts in it are terminated. It may still be written. Throws Failure for what is no such log.
ReportLog read_report_log(const std::string &path);

} // namespace apps::q32tool
