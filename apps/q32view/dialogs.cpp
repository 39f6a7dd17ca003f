// Open and save dialogs, with names of any length that Windows knows.
#include "dialogs.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "neighbours.h"

#include <commdlg.h>

#include <string>
#include <vector>

namespace apps::q32view {
namespace {

constexpr size_t name_room = 32768;

using Ask = BOOL(WINAPI *)(OPENFILENAMEW *);

std::string ask(HWND owner, Ask dialog, const wchar_t *filter, const wchar_t *extension,
                DWORD flags) {
    std::vector<wchar_t> name(name_room);
    OPENFILENAMEW request = {};
    request.lStructSize = sizeof request;
    request.hwndOwner = owner;
    request.lpstrFilter = filter;
    request.lpstrFile = name.data();
    request.nMaxFile = static_cast<DWORD>(name.size());
    request.lpstrDefExt = extension;
    request.Flags = flags | OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    if (dialog(&request))
        return to_utf8(name.data());
    if (const DWORD error = CommDlgExtendedError(); error != 0)
        throw Failure("the dialog", "it cannot be shown (error " + std::to_string(error) + ")");
    return {};
}

} // namespace

std::string ask_for_picture(HWND owner) {
    using namespace std::string_literals;
    const std::wstring filter = L"Pictures\0"s + picture_patterns() + L"\0All files\0*.*\0"s;
    return ask(owner, GetOpenFileNameW, filter.c_str(), nullptr, OFN_FILEMUSTEXIST);
}

std::string ask_for_new_file(HWND owner) {
    return ask(owner, GetSaveFileNameW, L"Pictures\0*.png;*.bmp;*.jpg;*.tif\0", L"png",
               OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST);
}

} // namespace apps::q32view
