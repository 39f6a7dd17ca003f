// What --version prints.
#pragma once

#include <string>

namespace apps::q32tool {

// The versions of the program and of both libraries, each in a line.
std::string version_lines();

} // namespace apps::q32tool
