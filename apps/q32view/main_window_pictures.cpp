// Which picture the window shows: opened, dropped, the next one in the folder, and turned.
#include "apps/pictures/text.h"
#include "main_window.h"

namespace apps::q32view {

void MainWindow::open(const std::string &path) {
    Picture picture = load_picture(path, status_, Transparency::kept);
    canvas_.forget_picture();
    show_.picture = std::move(picture);
    show_.test_card = false;
    canvas_.take_picture();
    place_ = path;
    show_title();
    forget_failure();
    status_.say({});
    if (options_.screenshot.empty())
        recent_.remember(path);
}

bool MainWindow::try_to_open(const std::string &path) {
    try {
        open(path);
        return true;
    } catch (const std::exception &failure) {
        if (place_.empty())
            place_ = path;
        status_.say_failure(failure_words(failure.what(), path));
        lay_out();
        return false;
    }
}

// "bee.jpg (3 of 12) - q32view"; alone in its folder: "bee.jpg - q32view".
void MainWindow::show_title() {
    const Neighbours neighbours(place_);
    std::string title = show_.picture->name;
    if (neighbours.count() > 1)
        title += " (" + std::to_string(neighbours.number()) + " of " +
                 std::to_string(neighbours.count()) + ")";
    SetWindowTextW(window_, to_wide(title + " - q32view").c_str());
}

// From one that cannot be opened the way goes on to the one behind it.
void MainWindow::go_to(Step step) {
    if (place_.empty())
        return;
    const std::string path = Neighbours(place_).at(step);
    if (path.empty()) {
        status_.say("no other picture there");
        return;
    }
    place_ = path;
    try_to_open(path);
}

void MainWindow::turn_picture(int orientation) {
    if (!show_.picture || show_.test_card)
        return;
    const Busy busy;
    canvas_.forget_picture();
    turn(*show_.picture, orientation);
    canvas_.take_turned_picture(orientation);
}

void MainWindow::take_dropped_file(HDROP drop) {
    std::wstring path(DragQueryFileW(drop, 0, nullptr, 0) + 1, L'\0');
    path.resize(DragQueryFileW(drop, 0, path.data(), static_cast<UINT>(path.size())));
    DragFinish(drop);
    if (!path.empty())
        try_to_open(to_utf8(path));
}

} // namespace apps::q32view
