// The window inside the window, in which the picture is shown and moved about. What it shows, and
// menus and messages to the user, are the main window's part.
#pragma once

#include "scaled_picture.h"
#include "show_settings.h"
#include "status_bar.h"
#include "view_state.h"
#include "window.h"

#include <windows.h>

#include <exception>
#include <optional>

namespace apps::q32view {

// What the viewer shows: the picture, and how.
struct Show {
    std::optional<Picture> picture;
    ShowSettings settings;
    bool test_card = false; // instead of the picture
};

enum class Zoom { fit, width, actual, in, out };

// Whom a canvas tells.
class CanvasOwner {
public:
    virtual void say_failure(const std::exception &failure) = 0;
    virtual void view_changed() = 0;

protected:
    ~CanvasOwner() = default;
};

class Canvas final : public Window {
public:
    Canvas(const Show &show, StatusBar &status, CanvasOwner &owner)
        : show_(show), status_(status), owner_(owner) {}

    // Throws Failure.
    void create(HWND parent);
    const ViewState &view() const { return view_; }

    // Before the show's picture is replaced or turned, and after that.
    void forget_picture();
    void take_picture();
    void take_turned_picture(int orientation);
    // After its settings have changed.
    void repaint();

    // Without scroll bars and edge, on black: for the whole screen.
    void be_plain(bool plain);

    void zoom(Zoom how);
    void zoom_to(int percent);
    void scroll_to(Point scroll);

    // Of the keyboard and the wheel, which the main window hears of. handle_key: false for other
    // keys.
    bool handle_key(WPARAM key);
    void handle_wheel(int turned, Point on_screen);

private:
    LRESULT handle(UINT message, WPARAM wide, LPARAM param) override;

    void handle_size(Size size);
    void handle_scroll_bar(int bar, int code);
    void handle_button(Point at);
    void handle_drag(Point to);

    void handle_paint();
    void prepare();
    void paint_area(HDC dc, const Area &area);
    void paint_picture(HDC dc, const Area &area);

    void change_view(const ViewState &changed);
    void show_scroll_bars();
    bool has_picture() const { return show_.picture.has_value(); }

    const Show &show_;
    StatusBar &status_;
    CanvasOwner &owner_;
    ViewState view_;
    ScaledPicture scaled_;
    Point drag_from_;   // of the pointer, while the picture is dragged
    Point drag_scroll_; // of the view, then
    int wheel_ = 0;     // turned, but not enough for a step yet
    bool plain_ = false;
};

} // namespace apps::q32view
