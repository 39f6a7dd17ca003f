// Commands on the pictures that a command line names: one, which may come and go through pipes, or
// many, several at once in processes of their own.
#pragma once

#include "arguments.h"

namespace apps::q32tool {

// Throws as the command does, and Failure when a picture of many failed.
void run_on_pictures(const Command &command, const Arguments &arguments);

} // namespace apps::q32tool
