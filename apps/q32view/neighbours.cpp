// A folder's names, kept and sorted.
#include "neighbours.h"

#include "apps/pictures/files.h"
#include "apps/pictures/text.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <iterator>

namespace apps::q32view {
namespace {

constexpr std::string_view extensions[] = {"png", "jpg",  "jpeg", "jpe", "jfif", "bmp", "dib",
                                           "tif", "tiff", "gif",  "ico", "jxr",  "wdp", "webp"};

constexpr DWORD no_picture =
    FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

std::vector<std::string> pictures_in(const std::string &folder) {
    std::vector<std::string> names;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW(to_wide(native_path(folder + "*")).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do {
        const std::string name = to_utf8(found.cFileName);
        if ((found.dwFileAttributes & no_picture) == 0 && is_picture_name(name))
            names.push_back(name);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return names;
}

bool is_same_name(const std::string &name, const std::string &other) {
    return CompareStringOrdinal(to_wide(name).c_str(), -1, to_wide(other).c_str(), -1, TRUE) ==
           CSTR_EQUAL;
}

} // namespace

bool is_picture_name(std::string_view name) {
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos)
        return false;
    std::string extension(name.substr(dot + 1));
    CharLowerBuffA(extension.data(), static_cast<DWORD>(extension.size()));
    return std::find(std::begin(extensions), std::end(extensions), extension) !=
           std::end(extensions);
}

std::wstring picture_patterns() {
    std::wstring patterns;
    for (const std::string_view extension : extensions)
        patterns += (patterns.empty() ? L"*." : L";*.") + to_wide(extension);
    return patterns;
}

// Names that count the same, such as 1.png and 01.png, have an order all the same.
bool comes_before(const std::string &name, const std::string &other) {
    const int order = StrCmpLogicalW(to_wide(name).c_str(), to_wide(other).c_str());
    return order != 0 ? order < 0 : name < other;
}

Neighbours::Neighbours(const std::string &path)
    : folder_(path.substr(0, file_name_begin(path))), names_(pictures_in(folder_)) {
    const std::string name = path.substr(folder_.size());
    const auto is_itself = [&name](const std::string &other) { return is_same_name(name, other); };
    if (std::none_of(names_.begin(), names_.end(), is_itself))
        names_.push_back(name);
    std::sort(names_.begin(), names_.end(), comes_before);
    index_ =
        static_cast<size_t>(std::find_if(names_.begin(), names_.end(), is_itself) - names_.begin());
}

std::string Neighbours::at(Step step) const {
    const size_t last = names_.size() - 1;
    size_t index = 0;
    switch (step) {
    case Step::next:
        index = index_ == last ? 0 : index_ + 1;
        break;
    case Step::previous:
        index = index_ == 0 ? last : index_ - 1;
        break;
    case Step::first:
        break;
    case Step::last:
        index = last;
        break;
    }
    return index == index_ ? std::string() : folder_ + names_[index];
}

} // namespace apps::q32view
