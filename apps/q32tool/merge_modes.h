// Merge modes by name, as the command line has them.
#pragma once

#include "arguments.h"

#include <string>

namespace apps::q32tool {

// The value of --mode: a name, or a number from 1 to 16; without the option the normal mode. Throws
// UsageError.
int merge_mode_from(const Arguments &arguments);

// All names with their numbers, wrapped into lines for the help.
const std::string &merge_mode_names();

} // namespace apps::q32tool
