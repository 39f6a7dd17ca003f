// Files by their numbers, and those of folders.
#include "frame_files.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/picture_writer.h"
#include "apps/pictures/text.h"
#include "apps/pictures/wic.h"
#include "numbered_names.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace apps::q32tool {
namespace {

// Names of the files in a folder, in order.
std::vector<std::string> files_in(const std::string &folder) {
    std::vector<std::string> names;
    WIN32_FIND_DATAW found;
    const std::wstring pattern = to_wide(native_path(folder)) + L"\\*";
    HANDLE search = FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        throw Failure(folder, system_words(GetLastError()));
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            names.push_back(to_utf8(found.cFileName));
    } while (FindNextFileW(search, &found));
    FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}

std::string in_folder(const std::string &folder, const std::string &name) {
    const bool ends = folder.ends_with('/') || folder.ends_with('\\');
    return folder + (ends ? "" : "/") + name;
}

std::vector<FrameFile> frames_of_folder(const std::string &in, const std::string &out) {
    if (!is_folder(out))
        throw Failure(out, "this is not a folder",
                      "frames of a folder go into a folder that is there");
    std::vector<FrameFile> frames;
    for (const std::string &name : files_in(in))
        if (format_of_name(name))
            frames.push_back({in_folder(in, name), in_folder(out, name)});
    if (frames.empty())
        throw Failure(in, "the folder holds no .png, .bmp, .jpg or .tif files");
    return frames;
}

std::vector<FrameFile> frames_by_number(const NumberedName &in, const std::string &in_as_given,
                                        const std::string &out) {
    const bool to_folder = is_folder(out);
    const std::optional<NumberedName> out_name = to_folder ? std::nullopt : numbered_name(out);
    if (!to_folder && !out_name)
        throw UsageError("OUT must be a folder that is there, or have a number in its name as IN "
                         "has: '" +
                         out + "'");
    const size_t begin = file_name_begin(in.before);
    const std::string folder = in.before.substr(0, begin);
    const NumberedName name = {in.before.substr(begin), in.digits, in.after};
    std::vector<std::pair<uint64_t, std::string>> found;
    for (const std::string &file : files_in(folder.empty() ? "." : folder))
        if (const auto number = name.number_in(file))
            found.emplace_back(*number, file);
    std::sort(found.begin(), found.end());
    std::vector<FrameFile> frames;
    frames.reserve(found.size());
    for (const auto &[number, file] : found)
        frames.push_back(
            {folder + file, to_folder ? in_folder(out, file) : out_name->with(number)});
    if (frames.empty())
        throw Failure(in_as_given, "there are no files of such names");
    return frames;
}

} // namespace

std::vector<FrameFile> find_frames(const std::string &in, const std::string &out) {
    std::vector<FrameFile> frames;
    if (is_folder(in)) {
        frames = frames_of_folder(in, out);
    } else if (const auto name = numbered_name(in)) {
        frames = frames_by_number(*name, in, out);
    } else {
        throw Failure(in, "this is neither a folder nor a name with a number",
                      "name a folder, or files as in shot-####.png");
    }
    for (const FrameFile &frame : frames)
        check_output(frame.out);
    return frames;
}

} // namespace apps::q32tool
