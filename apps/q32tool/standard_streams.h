// Bytes through the standard streams, which a program at their other end may keep waiting: Ctrl-C
// ends the wait.
#pragma once

#include <string>

namespace apps::q32tool {

// All that comes. Throw Failure, also when standard input is a keyboard, and Cancelled.
std::string all_of_standard_input();
void save_standard_input(const std::wstring &path);

// Throws Failure, also when the other end goes away or the stream is a console, and Cancelled.
void send_to_standard_output(const std::wstring &path);
void check_standard_output_takes_pictures();

} // namespace apps::q32tool
