// Files of a sequence: the pictures of a folder, or those whose names differ in a number only, and
// what their results are called.
#pragma once

#include <string>
#include <vector>

namespace apps::q32tool {

struct FrameFile {
    std::string in;
    std::string out;
};

// in: a folder, whose picture files are taken in the order of their names, or a name with a number
// in it, written as # signs ("shot-####.png": at least so many digits) or as %d, %04d and the like;
// the files are taken in the order of their numbers, gaps allowed.
// out: a folder, where files keep their names, or a name with a number in it if in has one.
// Throws UsageError, and Failure when there is no such file or an output cannot be written.
std::vector<FrameFile> find_frames(const std::string &in, const std::string &out);

} // namespace apps::q32tool
