// The menu's commands, and the marks beside them.
#include "apps/pictures/text.h"
#include "dialogs.h"
#include "main_window.h"
#include "resource.h"
#include "screenshot.h"

#include <q32base/display.h>
#include <q32base/version.h>

#include <iterator>
#include <utility>

namespace apps::q32view {
namespace {

constexpr int gammas[] = {100, 140, no_gamma, 220, 260};
static_assert(ID_GAMMA_FIRST + std::size(gammas) - 1 == ID_GAMMA_LAST);
static_assert(ID_DEVICE_FIRST + DISP32_HIGH_COLOUR == ID_DEVICE_LAST);
static_assert(ID_PIXELS_FIRST + static_cast<int>(ShownFormat::bits) == ID_PIXELS_LAST);

static_assert(ID_STEP_FIRST + static_cast<int>(Step::last) == ID_STEP_LAST);
static_assert(ID_RECENT_FIRST + RecentFiles::most - 1 == ID_RECENT_LAST);

constexpr wchar_t keys_text[] = L"Ctrl+O\topen a picture (or drop one here)\n"
                                L"Space, N, Alt+Right\tnext picture in the folder\n"
                                L"Backspace, P, Alt+Left\tprevious picture\n"
                                L"Ctrl+Home, Ctrl+End\tfirst, last picture\n"
                                L"R, Shift+R\tturn right, left\n"
                                L"H, V\texchange left and right, top and bottom\n"
                                L"F11\tfull screen; Esc ends it\n"
                                L"F\tfit to window\n"
                                L"W\tfit to width\n"
                                L"1, Ctrl+0, Ctrl+1\tactual size\n"
                                L"+ and -\tzoom (or turn the wheel)\n"
                                L"arrows, Page Up, Page Down, Home, End\tscroll (or drag)\n"
                                L"Ctrl+C\tcopy what is shown\n"
                                L"Ctrl+S\tsave what is shown\n"
                                L"Ctrl+T\ttest card\n"
                                L"F2\twhole message of the last failure\n"
                                L"Esc\tstop reading or scaling";

constexpr wchar_t about_text[] = L"q32view " Q32BASE_VERSION_STRING "\n\n"
                                 L"Shows pictures as Q32BASE shows them on any display.";

constexpr std::pair<int, int> turns[] = {
    {ID_TURN_RIGHT, 6}, {ID_TURN_LEFT, 8}, {ID_MIRROR, 2}, {ID_FLIP, 4}};

constexpr std::pair<int, Zoom> zooms[] = {{ID_FIT, Zoom::fit},
                                          {ID_FIT_WIDTH, Zoom::width},
                                          {ID_ACTUAL, Zoom::actual},
                                          {ID_ZOOM_IN, Zoom::in},
                                          {ID_ZOOM_OUT, Zoom::out}};

bool is_between(int id, int first, int last) {
    return id >= first && id <= last;
}

void mark(HMENU menu, UINT id, bool on) {
    CheckMenuItem(menu, id, MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
}

void enable(HMENU menu, int id, bool on) {
    EnableMenuItem(menu, static_cast<UINT>(id), MF_BYCOMMAND | (on ? MF_ENABLED : MF_GRAYED));
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
    if (id != ID_MESSAGE)
        forget_failure();
    if (handle_picture_command(id) || handle_zoom_command(id))
        return;
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
    case ID_COPY:
        copy_view();
        break;
    case ID_FULL_SCREEN:
        toggle_full_screen();
        break;
    case ID_FORGET_RECENT:
        recent_.forget_all();
        break;
    case ID_MESSAGE:
        show_last_failure();
        break;
    case ID_KEYS:
        MessageBoxW(window_, keys_text, L"Keys of q32view", MB_OK);
        break;
    case ID_ABOUT:
        MessageBoxW(window_, about_text, L"About q32view", MB_OK);
        break;
    default:
        handle_choice(id);
        break;
    }
}

// Which picture is shown, and which way up. False for other commands.
bool MainWindow::handle_picture_command(int id) {
    if (is_between(id, ID_STEP_FIRST, ID_STEP_LAST)) {
        go_to(static_cast<Step>(id - ID_STEP_FIRST));
        return true;
    }
    if (is_between(id, ID_RECENT_FIRST, ID_RECENT_LAST)) {
        const std::string path = recent_.at(static_cast<size_t>(id - ID_RECENT_FIRST));
        if (!path.empty())
            try_to_open(path);
        return true;
    }
    for (const auto &[command, orientation] : turns)
        if (command == id) {
            turn_picture(orientation);
            return true;
        }
    return false;
}

bool MainWindow::handle_zoom_command(int id) {
    for (const auto &[command, zoom] : zooms)
        if (command == id) {
            canvas_.zoom(zoom);
            return true;
        }
    return false;
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
    const ViewState &view = canvas_.view();
    for (const auto &[id, zoom] : zooms)
        enable(menu, id, has_picture);
    for (const auto &[id, orientation] : turns)
        enable(menu, id, has_picture);
    for (int id = ID_STEP_FIRST; id <= ID_STEP_LAST; ++id)
        enable(menu, id, !place_.empty());
    enable(menu, ID_COPY, has_picture || show_.test_card);
    enable(menu, ID_MESSAGE, !status_.last_failure().empty());
    mark(menu, ID_FIT, has_picture && view.sizing() == Sizing::window);
    mark(menu, ID_FIT_WIDTH, has_picture && view.sizing() == Sizing::width);
    mark(menu, ID_ACTUAL, has_picture && view.sizing() == Sizing::percent && view.percent() == 100);
    mark(menu, ID_TEST_CARD, show_.test_card);
    choose(menu, ID_DEVICE_DETECTED, ID_DEVICE_LAST,
           settings.device_type ? ID_DEVICE_FIRST + *settings.device_type : ID_DEVICE_DETECTED);
    choose(menu, ID_GAMMA_FILE, ID_GAMMA_LAST, gamma_item(settings));
    choose(menu, ID_PIXELS_FIRST, ID_PIXELS_LAST,
           ID_PIXELS_FIRST + static_cast<int>(settings.pixels));
    mark(menu, ID_DITHER, is_high_colour_dithered());
    mark(menu, ID_PALETTE_OPTION, settings.palette_option);
    show_recent_files();
}

void MainWindow::show_recent_files() {
    constexpr int file_menu = 0, recent_menu = 1;
    recent_.fill(GetSubMenu(GetSubMenu(GetMenu(window_), file_menu), recent_menu), ID_RECENT_FIRST,
                 ID_FORGET_RECENT);
}

void MainWindow::show_last_failure() {
    const std::string failure = status_.last_failure();
    if (!failure.empty())
        MessageBoxW(window_, to_wide(failure).c_str(), L"q32view", MB_ICONWARNING);
}

// Without what is around the picture.
void MainWindow::copy_view() {
    UpdateWindow(canvas_.window());
    const ViewState &view = canvas_.view();
    copy_to_clipboard(canvas_.window(),
                      show_.test_card ? area_of({}, view.window()) : view.covered());
    status_.say("copied");
}

void MainWindow::ask_and_open() {
    const std::string path = ask_for_picture(window_);
    if (!path.empty())
        try_to_open(path);
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
