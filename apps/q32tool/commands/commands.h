// The table of commands. A new one is a function here, a line in commands.cpp and a file.
#pragma once

#include "apps/q32tool/arguments.h"

#include <string_view>
#include <vector>

namespace apps::q32tool {

Command bars_command();
Command bitmap_command();
Command colorspace_command();
Command compose_command();
Command convert_command();
Command crop_command();
Command enlarge_command();
Command fill_command();
Command filter_command();
Command help_command();
Command info_command();
Command jobs_command();
Command paste_command();
Command pattern_command();
Command reduce_command();
Command rows_command();
Command scale_command();
Command separate_command();
Command show_command();
Command stream_command();

// In the order of the help.
const std::vector<Command> &commands();

const Command *find_command(std::string_view name);

// Of the program as a whole.
std::string general_help();

} // namespace apps::q32tool
