// The options of commands that take many pictures, and where such a command writes.
#pragma once

#include "arguments.h"

#include <string_view>
#include <vector>

namespace apps::q32tool {

constexpr std::string_view output_option_name = "--output";

// None for a command of one picture.
const std::vector<Option> &batch_options(const Command &command);

// The one of them that names the folder: --to, unless the command has an option --to of its own.
std::string_view folder_option(const Command &command);

// Whether it writes a picture: as its last operand, or where --output says.
bool writes_operand(const Command &command);
bool writes_picture(const Command &command);

} // namespace apps::q32tool
