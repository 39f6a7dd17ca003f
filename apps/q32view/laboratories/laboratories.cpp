// The table of laboratories, and the way of messages to those that are open.
#include "laboratories.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "apps/q32view/resource.h"
#include "makers.h"

#include <algorithm>

namespace apps::q32view {
namespace {

// A row each: name, title, ID_LABORATORY_FIRST + place, maker.
const LaboratoryKind laboratory_kinds[] = {
    {"merge", "Merge laboratory", ID_LABORATORY_FIRST, make_merge_laboratory},
    {"display", "Display laboratory", ID_LABORATORY_FIRST + 1, make_display_laboratory},
    {"buffer", "Buffer laboratory", ID_LABORATORY_FIRST + 2, make_buffer_laboratory, false},
};

std::vector<std::unique_ptr<Laboratory>> opened;

void forget_closed() {
    std::erase_if(opened, [](const auto &laboratory) { return laboratory->is_closed(); });
}

bool is_save_key(const MSG &message) {
    return message.message == WM_KEYDOWN && message.wParam == 'S' && GetKeyState(VK_CONTROL) < 0;
}

} // namespace

const LaboratoryKind &laboratory_named(const std::string &name) {
    std::string names;
    for (const LaboratoryKind &kind : laboratory_kinds) {
        if (name == kind.name)
            return kind;
        names += (names.empty() ? "" : " or ") + std::string(kind.name);
    }
    throw UsageError("--laboratory " + name + ": " + names + " is wanted");
}

const LaboratoryKind *laboratory_of_command(int command) {
    for (const LaboratoryKind &kind : laboratory_kinds)
        if (kind.command == command)
            return &kind;
    return nullptr;
}

void add_laboratory_menu(HWND window) {
    const HMENU bar = GetMenu(window), menu = CreatePopupMenu();
    for (const LaboratoryKind &kind : laboratory_kinds)
        AppendMenuW(menu, MF_STRING, static_cast<UINT_PTR>(kind.command),
                    to_wide("&" + std::string(kind.title) + "...").c_str());
    InsertMenuW(bar, static_cast<UINT>(GetMenuItemCount(bar) - 1), MF_BYPOSITION | MF_POPUP,
                reinterpret_cast<UINT_PTR>(menu), L"&Laboratories");
    DrawMenuBar(window);
}

Laboratory &open_laboratory(const LaboratoryKind &kind, const LaboratoryRequest &request) {
    forget_closed();
    std::unique_ptr<Laboratory> laboratory = kind.make(kind.title);
    laboratory->open(request);
    opened.push_back(std::move(laboratory));
    return *opened.back();
}

bool take_laboratory_message(MSG &message) {
    const HWND root = message.hwnd != nullptr ? GetAncestor(message.hwnd, GA_ROOT) : nullptr;
    const auto owner = std::find_if(opened.begin(), opened.end(), [root](const auto &laboratory) {
        return !laboratory->is_closed() && laboratory->window() == root;
    });
    if (owner == opened.end())
        return false;
    if (message.message == WM_KEYDOWN && (*owner)->take_key(message.wParam))
        return true;
    if (is_save_key(message))
        SendMessageW(root, WM_COMMAND, ID_SAVE_VIEW, 0);
    else if (!IsDialogMessageW(root, &message)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
}

bool are_laboratories_closed() {
    forget_closed();
    return opened.empty();
}

void close_laboratories() {
    opened.clear();
}

} // namespace apps::q32view
