// Lists of strings through a pipe, as a batch and its workers exchange them.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace apps::q32tool {

using Message = std::vector<std::string>;

// False, and none, when the other end has gone.
bool send(HANDLE pipe, const Message &message);
std::optional<Message> receive(HANDLE pipe);

} // namespace apps::q32tool
