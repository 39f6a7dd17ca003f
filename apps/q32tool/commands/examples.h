// Command lines that the help of each command shows.
#pragma once

#include <span>
#include <string_view>

namespace apps::q32tool {

// Of a command by its name. Tests run each of them.
std::span<const std::string_view> examples_of(std::string_view command);

} // namespace apps::q32tool
