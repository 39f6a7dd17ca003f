// Text at the edges of the program: inside, all text is UTF-8; Windows is spoken to in UTF-16.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace apps {

std::wstring to_wide(std::string_view utf8);
std::string to_utf8(std::wstring_view wide);

// In the system's code page, for interfaces that take no other; false when a character is missing.
bool to_system_code_page(std::string_view utf8, std::string &out);

// What the program was started with, without its own name.
std::vector<std::string> command_line_words();

// Write text as it stands: UTF-8 bytes, or characters when the stream is a console. print throws
// Failure when not all of the text could be written; what cannot be said on the error stream is
// lost.
void print(std::string_view text);
void print_error(std::string_view text);

// From now on both write what change(stream, text) makes of their text; {}: the text again.
enum class StandardStream { output, error };
void change_printed(std::function<std::string(StandardStream, std::string_view)> change);

bool error_stream_is_console();

} // namespace apps
