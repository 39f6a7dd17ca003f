// Failures as the line under the picture tells them: the file's name first, its folder last, and
// both as far as there is room.
#pragma once

#include <functional>
#include <string>

namespace apps::q32view {

struct FailureWords {
    std::string words;  // "bee.png: no such file"
    std::string folder; // of the file; empty: none is to be told

    std::string whole() const; // "bee.png: no such file (in C:\pictures)"
};

// Of a failure that begins with a file's path; others are left as they are.
FailureWords failure_words(const std::string &failure, const std::string &path);

// What fits of them, from the end on less and less: the folder's middle, the folder, the words'
// end, in whose place stands which key shows it.
std::string fitted_words(const FailureWords &failure,
                         const std::function<bool(const std::string &)> &fits);

} // namespace apps::q32view
