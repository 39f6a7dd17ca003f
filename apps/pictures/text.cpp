// Conversions between UTF-8 and UTF-16, and the standard streams.
#include "text.h"

#include "exceptions.h"

#include <windows.h>

#include <cstdlib>
#include <utility>

namespace apps {
namespace {

bool is_console(HANDLE stream) {
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) != 0;
}

std::function<std::string(StandardStream, std::string_view)> change_of_printed;

bool write_to(StandardStream to, std::string_view text) {
    const std::string changed = change_of_printed ? change_of_printed(to, text) : std::string();
    if (change_of_printed)
        text = changed;
    HANDLE stream =
        GetStdHandle(to == StandardStream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD written = 0;
    if (is_console(stream)) {
        const std::wstring characters = to_wide(text);
        return WriteConsoleW(stream, characters.data(), static_cast<DWORD>(characters.size()),
                             &written, nullptr) != 0;
    }
    while (!text.empty() &&
           WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
           written > 0)
        text.remove_prefix(written);
    return text.empty();
}

std::string to_code_page(std::wstring_view wide, UINT code_page, BOOL *lost) {
    const int length = static_cast<int>(wide.size());
    const int needed =
        WideCharToMultiByte(code_page, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(needed), '\0');
    WideCharToMultiByte(code_page, 0, wide.data(), length, bytes.data(), needed, nullptr, lost);
    return bytes;
}

} // namespace

std::wstring to_wide(std::string_view utf8) {
    const int length = static_cast<int>(utf8.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    std::wstring wide(static_cast<size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, wide.data(), needed);
    return wide;
}

std::string to_utf8(std::wstring_view wide) {
    return to_code_page(wide, CP_UTF8, nullptr);
}

bool to_system_code_page(std::string_view utf8, std::string &out) {
    const std::wstring wide = to_wide(utf8);
    // A system whose code page is UTF-8 can say every name, and takes no "lost" argument.
    BOOL lost = FALSE;
    out = to_code_page(wide, CP_ACP, GetACP() == CP_UTF8 ? nullptr : &lost);
    return !lost;
}

std::vector<std::string> command_line_words() {
    std::vector<std::string> words;
    for (int i = 1; i < __argc; ++i)
        words.push_back(to_utf8(__wargv[i]));
    return words;
}

void print(std::string_view text) {
    if (!write_to(StandardStream::output, text))
        throw Failure("standard output", "the answer cannot be written");
}

void print_error(std::string_view text) {
    write_to(StandardStream::error, text);
}

void change_printed(std::function<std::string(StandardStream, std::string_view)> change) {
    change_of_printed = std::move(change);
}

bool error_stream_is_console() {
    return is_console(GetStdHandle(STD_ERROR_HANDLE));
}

} // namespace apps
