// Names of many files: wildcards, which not every shell expands, and lists.
#pragma once

#include <string>
#include <vector>

namespace apps::q32tool {

// Whether name is a pattern: *, any characters; ?, one; [a-z], one of these; [!a-z], none of them.
bool has_wildcards(const std::string &name);

// Whether a file's name is one that the pattern means, in capitals or not.
bool matches(const std::wstring &name, const std::wstring &pattern);

// The files that a word of the command line means, in the order of their names: the file of this
// very name if there is one or if it is no pattern. Names with a dot in front are left out unless
// the pattern begins with one. Throws UsageError when there is no such file.
std::vector<std::string> files_meant_by(const std::string &word);

// The lines of a text file that are not empty, each a name as it stands; "-" is standard input.
// UTF-8, or UTF-16 with its mark. Throws Failure, Cancelled.
std::vector<std::string> names_in_list(const std::string &path);

} // namespace apps::q32tool
