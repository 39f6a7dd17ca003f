// Matching of names, folder by folder, and reading of lists.
#include "file_lists.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/text.h"
#include "standard_streams.h"
#include "whole_files.h"

#include <algorithm>
#include <cwctype>
#include <optional>
#include <string_view>

namespace apps::q32tool {
namespace {

using Find = Owned<FindClose, HANDLE>;

// A class of characters: pattern[at] is its '['. Moves at behind its ']'; none when it has no end,
// and '[' is then a character as others are.
std::optional<bool> in_class(wchar_t character, const std::wstring &pattern, size_t &at) {
    size_t i = at + 1;
    const bool inverted = i < pattern.size() && (pattern[i] == L'!' || pattern[i] == L'^');
    i += inverted;
    const size_t first = i;
    bool found = false;
    for (; i < pattern.size() && (pattern[i] != L']' || i == first); ++i) {
        const wchar_t low = pattern[i];
        wchar_t high = low;
        if (i + 2 < pattern.size() && pattern[i + 1] == L'-' && pattern[i + 2] != L']')
            high = pattern[i += 2];
        found = found || (low <= character && character <= high);
    }
    if (i >= pattern.size())
        return std::nullopt;
    at = i + 1;
    return found != inverted;
}

// Of characters in one case.
bool matches_from(const std::wstring &name, size_t n, const std::wstring &pattern, size_t p) {
    // Where to go on after the last *, which may stand for one character more.
    std::optional<std::pair<size_t, size_t>> again;
    while (true) {
        size_t next = p;
        bool same = false;
        if (p < pattern.size() && pattern[p] == L'*') {
            again = {n, ++p};
            continue;
        }
        if (p < pattern.size() && n < name.size()) {
            const auto listed =
                pattern[p] == L'[' ? in_class(name[n], pattern, next) : std::nullopt;
            same = listed ? *listed : pattern[p] == L'?' || pattern[p] == name[n];
            if (!listed)
                next = p + 1;
        }
        if (same) {
            p = next;
            ++n;
        } else if (p == pattern.size() && n == name.size()) {
            return true;
        } else if (again && again->first < name.size()) {
            n = ++again->first;
            p = again->second;
        } else {
            return false;
        }
    }
}

std::wstring in_one_case(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), std::towlower);
    return text;
}

// Names in a folder that a pattern means, in order.
std::vector<std::wstring> names_in(const std::string &folder, const std::wstring &pattern,
                                   bool folders) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry;
    const std::wstring all = to_wide(native_path(folder.empty() ? "./" : folder) + "*");
    Find find(FindFirstFileW(all.c_str(), &entry));
    if (find.get() == INVALID_HANDLE_VALUE) {
        find.release();
        return names;
    }
    do {
        const std::wstring name = entry.cFileName;
        const bool is_folder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (is_folder == folders && (name[0] != L'.' || pattern[0] == L'.') && name != L"." &&
            name != L".." && matches(name, pattern))
            names.push_back(name);
    } while (FindNextFileW(find.get(), &entry));
    std::sort(names.begin(), names.end(), [](const std::wstring &a, const std::wstring &b) {
        const std::wstring one = in_one_case(a), other = in_one_case(b);
        return one != other ? one < other : a < b;
    });
    return names;
}

// start: a folder with its separator, or nothing; rest: of the pattern.
void add_matches(const std::string &start, const std::string &rest,
                 std::vector<std::string> &found) {
    const size_t end = rest.find_first_of("/\\");
    const std::string part = rest.substr(0, end);
    const bool is_last = end == std::string::npos;
    if (!is_last && !has_wildcards(part)) {
        add_matches(start + rest.substr(0, end + 1), rest.substr(end + 1), found);
    } else if (is_last && !has_wildcards(part)) {
        if (attributes_of(start + part) != INVALID_FILE_ATTRIBUTES)
            found.push_back(start + part);
    } else {
        for (const std::wstring &name : names_in(start, to_wide(part), !is_last)) {
            const std::string path = start + to_utf8(name);
            if (is_last)
                found.push_back(path);
            else
                add_matches(path + rest[end], rest.substr(end + 1), found);
        }
    }
}

std::string text_of_file(const std::string &path) {
    const std::vector<uint8_t> bytes = read_file(path);
    return {bytes.begin(), bytes.end()};
}

std::string as_utf8(std::string bytes) {
    using namespace std::string_view_literals;
    constexpr std::string_view utf8_mark = "\xef\xbb\xbf", utf16_mark = "\xff\xfe";
    if (bytes.starts_with(utf8_mark))
        return bytes.substr(utf8_mark.size());
    if (!bytes.starts_with(utf16_mark))
        return bytes;
    std::wstring wide;
    for (size_t i = utf16_mark.size(); i + 1 < bytes.size(); i += 2)
        wide += static_cast<wchar_t>(static_cast<uint8_t>(bytes[i]) |
                                     static_cast<uint8_t>(bytes[i + 1]) << 8);
    return to_utf8(wide);
}

} // namespace

bool has_wildcards(const std::string &name) {
    return name.find_first_of("*?[") != std::string::npos;
}

bool matches(const std::wstring &name, const std::wstring &pattern) {
    return matches_from(in_one_case(name), 0, in_one_case(pattern), 0);
}

std::vector<std::string> files_meant_by(const std::string &word) {
    if (!has_wildcards(word) || attributes_of(word) != INVALID_FILE_ATTRIBUTES)
        return {word};
    std::vector<std::string> found;
    add_matches("", word, found);
    if (found.empty())
        throw UsageError(word + ": no file has such a name");
    return found;
}

std::vector<std::string> names_in_list(const std::string &path) {
    const std::string text = as_utf8(path == "-" ? all_of_standard_input() : text_of_file(path));
    std::vector<std::string> names;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_of("\r\n", at), text.size());
        if (end > at)
            names.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

} // namespace apps::q32tool
