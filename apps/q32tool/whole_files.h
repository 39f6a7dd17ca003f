// Whole files: reading one, and replacing it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

// Throws Failure, also for a file of 2 GB or more.
std::vector<uint8_t> read_file(const std::string &path);

// The file appears, or replaces an older one, when all of it is written. Throws Failure, Cancelled;
// no file is left then.
void write_file(const std::string &path, const std::vector<uint8_t> &bytes);

} // namespace apps::q32tool
