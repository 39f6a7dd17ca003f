// The menu's commands, and the marks beside them.
#include "dialogs.h"
#include "laboratories/laboratories.h"
#include "main_window.h"
#include "resource.h"

#include <q32base/display.h>
#include <q32base/version.h>

#include <iterator>

namespace apps::q32view {
namespace {

constexpr int gammas[] = {100, 140, no_gamma, 220, 260};
static_assert(ID_GAMMA_FIRST + std::size(gammas) - 1 == ID_GAMMA_LAST);
static_assert(ID_DEVICE_FIRST + DISP32_HIGH_COLOUR == ID_DEVICE_LAST);
static_assert(ID_PIXELS_FIRST + static_cast<int>(ShownFormat::bits) == ID_PIXELS_LAST);

constexpr wchar_t keys_text[] = L"Ctrl+O\topen a picture (or drop one here)\n"
                                L"Ctrl+S\tsave what is shown\n"
                                L"Ctrl+T\ttest card\n"
                                L"F\tfit to window\n"
                                L"1\tactual size\n"
                                L"+ and -\tzoom (or turn the wheel)\n"
                                L"arrows, Page Up, Page Down, Home, End\tscroll (or drag)\n"
                                L"Esc\tstop reading or scaling";

constexpr wchar_t about_text[] = L"q32view " Q32BASE_VERSION_STRING "\n\n"
                                 L"Shows pictures as Q32BASE shows them on any display.";

bool is_between(int id, int first, int last) {
    return id >= first && id <= last;
}

void mark(HMENU menu, UINT id, bool on) {
    CheckMenuItem(menu, id, MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
}

void choose(HMENU menu, UINT first, UINT last, int chosen) {
    for (UINT id = first; id <= last; ++id)
        mark(menu, id, static_cast<int>(id) == chosen);
}

int gamma_item(const ShowSettings &settings) {
    for (size_t i = 0; settings.gamma && i < std::size(gammas); ++i)
        if (gammas[i] == *settings.gamma)
            return ID_GAMMA_FIRST + static_cast<int>(i);
    return settings.gamma ? 0 : ID_GAMMA_FILE;
}

} // namespace

void MainWindow::handle_command(int id) {
    switch (id) {
    case ID_OPEN:
        ask_and_open();
        break;
    case ID_SAVE_VIEW:
        ask_and_save();
        break;
    case ID_EXIT:
        DestroyWindow(window_);
        break;
    case ID_FIT:
        canvas_.zoom(Zoom::fit);
        break;
    case ID_ACTUAL:
        canvas_.zoom(Zoom::actual);
        break;
    case ID_ZOOM_IN:
        canvas_.zoom(Zoom::in);
        break;
    case ID_ZOOM_OUT:
        canvas_.zoom(Zoom::out);
        break;
    case ID_KEYS:
        MessageBoxW(window_, keys_text, L"Keys of q32view", MB_OK);
        break;
    case ID_ABOUT:
        MessageBoxW(window_, about_text, L"About q32view", MB_OK);
        break;
    default:
        if (const LaboratoryKind *kind = laboratory_of_command(id); kind != nullptr)
            open_laboratory_of(*kind);
        else
            handle_choice(id);
        break;
    }
}

// All that changes how things are drawn and not where.
void MainWindow::handle_choice(int id) {
    ShowSettings &settings = show_.settings;
    if (id == ID_TEST_CARD)
        show_.test_card = !show_.test_card;
    else if (id == ID_DEVICE_DETECTED)
        settings.device_type.reset();
    else if (is_between(id, ID_DEVICE_FIRST, ID_DEVICE_LAST))
        settings.device_type = id - ID_DEVICE_FIRST;
    else if (id == ID_GAMMA_FILE)
        settings.gamma.reset();
    else if (is_between(id, ID_GAMMA_FIRST, ID_GAMMA_LAST))
        settings.gamma = gammas[id - ID_GAMMA_FIRST];
    else if (id == ID_DITHER)
        settings.high_colour_dither = !is_high_colour_dithered();
    else if (id == ID_PALETTE_OPTION)
        settings.palette_option = !settings.palette_option;
    else if (is_between(id, ID_PIXELS_FIRST, ID_PIXELS_LAST))
        settings.pixels = static_cast<ShownFormat>(id - ID_PIXELS_FIRST);
    else
        return;
    canvas_.repaint();
    status_.say({});
    apply(settings);
    view_changed();
}

void MainWindow::show_choices() {
    const HMENU menu = GetMenu(window_);
    const ShowSettings &settings = show_.settings;
    const bool has_picture = show_.picture.has_value() && !show_.test_card;
    for (const UINT id : {ID_FIT, ID_ACTUAL, ID_ZOOM_IN, ID_ZOOM_OUT})
        EnableMenuItem(menu, id, MF_BYCOMMAND | (has_picture ? MF_ENABLED : MF_GRAYED));
    mark(menu, ID_FIT, has_picture && canvas_.view().is_fitted());
    mark(menu, ID_ACTUAL,
         has_picture && !canvas_.view().is_fitted() && canvas_.view().percent() == 100);
    mark(menu, ID_TEST_CARD, show_.test_card);
    choose(menu, ID_DEVICE_DETECTED, ID_DEVICE_LAST,
           settings.device_type ? ID_DEVICE_FIRST + *settings.device_type : ID_DEVICE_DETECTED);
    choose(menu, ID_GAMMA_FILE, ID_GAMMA_LAST, gamma_item(settings));
    choose(menu, ID_PIXELS_FIRST, ID_PIXELS_LAST,
           ID_PIXELS_FIRST + static_cast<int>(settings.pixels));
    mark(menu, ID_DITHER, is_high_colour_dithered());
    mark(menu, ID_PALETTE_OPTION, settings.palette_option);
}

// With the picture that is shown, if there is one.
void MainWindow::open_laboratory_of(const LaboratoryKind &kind) {
    LaboratoryRequest request;
    if (kind.takes_pictures && show_.picture && !show_.test_card)
        request.pictures = {show_.picture->path};
    request.save_to = options_.save_to;
    open_laboratory(kind, request);
}

void MainWindow::ask_and_open() {
    const std::string path = ask_for_picture(window_);
    if (!path.empty())
        open(path);
}

void MainWindow::ask_and_save() {
    const std::string path =
        options_.save_to.empty() ? ask_for_new_file(window_) : options_.save_to;
    if (path.empty())
        return;
    save_view(path);
    status_.say("saved as " + path);
}

} // namespace apps::q32view
