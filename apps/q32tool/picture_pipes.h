// Pictures from standard input and to standard output, where a command line says "-". Files in the
// temporary directory stand for them meanwhile, and messages name the streams.
#pragma once

#include "arguments.h"

namespace apps::q32tool {

// Runs the command, with pipes or without. Throws as the command does.
void run_with_pipes(const Command &command, const Arguments &arguments);

// For a process that ends without unwinding.
void remove_piped_files();

} // namespace apps::q32tool
