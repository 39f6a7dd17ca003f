// A value of the user's part of the registry, with all names in it.
#include "recent_files.h"

#include "apps/pictures/files.h"
#include "apps/pictures/text.h"

#include <algorithm>

namespace apps::q32view {
namespace {

constexpr wchar_t key[] = L"Software\\Q32BASE\\q32view";
constexpr wchar_t value[] = L"RecentFiles";

// Other windows of the program may have changed it.
std::vector<std::wstring> stored_files() {
    DWORD bytes = 0;
    if (RegGetValueW(HKEY_CURRENT_USER, key, value, RRF_RT_REG_MULTI_SZ, nullptr, nullptr,
                     &bytes) != ERROR_SUCCESS)
        return {};
    std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
    bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_CURRENT_USER, key, value, RRF_RT_REG_MULTI_SZ, nullptr, text.data(),
                     &bytes) != ERROR_SUCCESS)
        return {};
    std::vector<std::wstring> files;
    for (const wchar_t *name = text.c_str(); *name != L'\0' && files.size() < RecentFiles::most;
         name += files.back().size() + 1)
        files.emplace_back(name);
    return files;
}

// A list that cannot be kept is no reason to trouble the user.
void store(const std::vector<std::wstring> &files) {
    std::wstring text;
    for (const std::wstring &file : files)
        text += file + L'\0';
    text += L'\0';
    RegSetKeyValueW(HKEY_CURRENT_USER, key, value, REG_MULTI_SZ, text.data(),
                    static_cast<DWORD>(text.size() * sizeof(wchar_t)));
}

std::wstring full_path(const std::string &path) {
    const std::wstring native = to_wide(native_path(path));
    std::wstring full(GetFullPathNameW(native.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(
        GetFullPathNameW(native.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full;
}

bool is_same_path(const std::wstring &path, const std::wstring &other) {
    return CompareStringOrdinal(path.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

// With the number that Alt takes, and each "&" of the name as one.
std::wstring menu_text(const std::wstring &path, size_t number) {
    std::wstring text = number == 10 ? L"1&0  " : L"&" + std::to_wstring(number) + L"  ";
    for (const wchar_t letter : path)
        text += letter == L'&' ? std::wstring(L"&&") : std::wstring(1, letter);
    return text;
}

} // namespace

void RecentFiles::remember(const std::string &path) {
    const std::wstring full = full_path(path);
    if (full.empty())
        return;
    files_ = stored_files();
    files_.erase(std::remove_if(files_.begin(), files_.end(),
                                [&](const auto &file) { return is_same_path(file, full); }),
                 files_.end());
    files_.insert(files_.begin(), full);
    files_.resize(std::min(files_.size(), most));
    store(files_);
}

void RecentFiles::forget_all() {
    files_.clear();
    store(files_);
}

void RecentFiles::fill(HMENU menu, UINT first, UINT forget) {
    while (DeleteMenu(menu, 0, MF_BYPOSITION))
        ;
    files_ = stored_files();
    size_t number = 0;
    for (size_t i = 0; i < files_.size(); ++i)
        if (GetFileAttributesW(files_[i].c_str()) != INVALID_FILE_ATTRIBUTES)
            AppendMenuW(menu, MF_STRING, first + static_cast<UINT>(i),
                        menu_text(files_[i], ++number).c_str());
    if (number == 0) {
        AppendMenuW(menu, MF_STRING | MF_GRAYED, forget, L"None");
        return;
    }
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, forget, L"&Forget these");
}

std::string RecentFiles::at(size_t index) const {
    return index < files_.size() ? to_utf8(files_[index]) : std::string();
}

} // namespace apps::q32view
