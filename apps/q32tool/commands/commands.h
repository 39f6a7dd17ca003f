// The table of commands. A new one is a name here, a line in commands.cpp and its definition, in a
// file of its own or beside its kin.
#pragma once

#include "apps/q32tool/arguments.h"

#include <string_view>
#include <vector>

namespace apps::q32tool {

extern const Command info_command, rows_command, convert_command;                    // one picture
extern const Command crop_command, paste_command, fill_command, pattern_command;     // rectangles
extern const Command scale_command, enlarge_command, reduce_command, stream_command; // sizes
extern const Command compose_command, filter_command, colorspace_command, separate_command;
extern const Command show_command, bars_command, bitmap_command, jobs_command;
extern const Command leftovers_command, explain_command, help_command;

// By its name, or another that it has. Throws UsageError.
const Command &command_of(const std::string &name);

// Of the program as a whole.
std::string general_help();

} // namespace apps::q32tool
