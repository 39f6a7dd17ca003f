// The canvas as a window: its messages, scroll bars, and changes of the view.
#include "canvas.h"

#include <windowsx.h>

#include <cstdlib>

namespace apps::q32view {
namespace {

constexpr int line = 32; // pixels that an arrow key scrolls

void show_scroll_bar(HWND window, int bar, int length, int page, int position) {
    const SCROLLINFO info = {.cbSize = sizeof info,
                             .fMask = SIF_ALL | SIF_DISABLENOSCROLL,
                             .nMin = 0,
                             .nMax = std::max(length - 1, 0),
                             .nPage = static_cast<UINT>(page),
                             .nPos = position,
                             .nTrackPos = 0};
    SetScrollInfo(window, bar, &info, TRUE);
}

Point point_of(LPARAM param) {
    return {GET_X_LPARAM(param), GET_Y_LPARAM(param)};
}

} // namespace

void Canvas::create(HWND parent) {
    WNDCLASSW type = {};
    type.style = CS_HREDRAW | CS_VREDRAW;
    type.lpszClassName = L"Q32ViewCanvas";
    make(type, nullptr, WS_CHILD | WS_VISIBLE | WS_HSCROLL | WS_VSCROLL, WS_EX_CLIENTEDGE, parent);
    show_scroll_bars();
}

LRESULT Canvas::handle(UINT message, WPARAM wide, LPARAM param) {
    switch (message) {
    case WM_SIZE:
        handle_size({LOWORD(param), HIWORD(param)});
        return 0;
    case WM_PAINT:
        handle_paint();
        return 0;
    case WM_ERASEBKGND: // WM_PAINT leaves nothing out
        return 1;
    case WM_HSCROLL:
        handle_scroll_bar(SB_HORZ, LOWORD(wide));
        return 0;
    case WM_VSCROLL:
        handle_scroll_bar(SB_VERT, LOWORD(wide));
        return 0;
    case WM_LBUTTONDOWN:
        handle_button(point_of(param));
        return 0;
    case WM_MOUSEMOVE:
        handle_drag(point_of(param));
        return 0;
    case WM_LBUTTONUP:
        if (GetCapture() == window_)
            ReleaseCapture();
        return 0;
    default:
        return DefWindowProcW(window_, message, wide, param);
    }
}

void Canvas::forget_picture() {
    scaled_.forget();
}

void Canvas::take_picture() {
    ViewState fresh;
    fresh.set_window(view_.window());
    if (has_picture())
        fresh.set_picture(show_.picture->size);
    change_view(fresh);
}

void Canvas::take_turned_picture(int orientation) {
    ViewState changed = view_;
    changed.turn(orientation);
    change_view(changed);
}

void Canvas::be_plain(bool plain) {
    plain_ = plain;
    const LONG_PTR style = GetWindowLongPtrW(window_, GWL_EXSTYLE);
    SetWindowLongPtrW(window_, GWL_EXSTYLE,
                      plain ? style & ~LONG_PTR{WS_EX_CLIENTEDGE} : style | WS_EX_CLIENTEDGE);
    ShowScrollBar(window_, SB_BOTH, !plain);
    SetWindowPos(window_, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
    show_scroll_bars();
    repaint();
}

void Canvas::repaint() {
    InvalidateRect(window_, nullptr, FALSE);
}

void Canvas::handle_size(Size size) {
    view_.set_window(size);
    show_scroll_bars();
    repaint();
    owner_.view_changed();
}

void Canvas::change_view(const ViewState &changed) {
    view_ = changed;
    show_scroll_bars();
    repaint();
    owner_.view_changed();
}

void Canvas::show_scroll_bars() {
    if (plain_)
        return;
    const Size shown = view_.shown(), window = view_.window();
    const Point scroll = view_.scroll();
    show_scroll_bar(window_, SB_HORZ, shown.width, window.width, scroll.x);
    show_scroll_bar(window_, SB_VERT, shown.height, window.height, scroll.y);
}

// What is in view already is moved; only what comes into view is drawn.
void Canvas::scroll_to(Point scroll) {
    const Point come = view_.scroll_to(scroll);
    if (come == Point{})
        return;
    if (!show_.test_card)
        ScrollWindowEx(window_, -come.x, -come.y, nullptr, nullptr, nullptr, nullptr,
                       SW_INVALIDATE);
    show_scroll_bars();
    UpdateWindow(window_);
}

void Canvas::handle_scroll_bar(int bar, int code) {
    if (Busy::is_anything())
        return;
    const bool across = bar == SB_HORZ;
    Point to = view_.scroll();
    int &position = across ? to.x : to.y;
    const int page = across ? view_.window().width : view_.window().height;
    SCROLLINFO info = {.cbSize = sizeof info, .fMask = SIF_TRACKPOS};
    switch (code) {
    case SB_LINEUP:
        position -= line;
        break;
    case SB_LINEDOWN:
        position += line;
        break;
    case SB_PAGEUP:
        position -= page;
        break;
    case SB_PAGEDOWN:
        position += page;
        break;
    case SB_TOP:
        position = 0;
        break;
    case SB_BOTTOM:
        position = INT32_MAX;
        break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
        GetScrollInfo(window_, bar, &info);
        position = info.nTrackPos;
        break;
    default:
        return;
    }
    scroll_to(to);
}

bool Canvas::handle_key(WPARAM key) {
    const Size page = view_.window();
    const Point scroll = view_.scroll();
    switch (key) {
    case VK_LEFT:
        scroll_to(scroll - Point{line, 0});
        return true;
    case VK_RIGHT:
        scroll_to(scroll + Point{line, 0});
        return true;
    case VK_UP:
        scroll_to(scroll - Point{0, line});
        return true;
    case VK_DOWN:
        scroll_to(scroll + Point{0, line});
        return true;
    case VK_PRIOR:
        scroll_to(scroll - Point{0, page.height});
        return true;
    case VK_NEXT:
        scroll_to(scroll + Point{0, page.height});
        return true;
    case VK_HOME:
        scroll_to({});
        return true;
    case VK_END:
        scroll_to(view_.most_scroll());
        return true;
    default:
        return false;
    }
}

void Canvas::handle_button(Point at) {
    SetFocus(GetParent(window_));
    if (Busy::is_anything() || view_.most_scroll() == Point{})
        return;
    drag_from_ = at;
    drag_scroll_ = view_.scroll();
    SetCapture(window_);
    SetCursor(LoadCursorW(nullptr, IDC_SIZEALL));
}

void Canvas::handle_drag(Point to) {
    if (GetCapture() == window_ && !Busy::is_anything())
        scroll_to(drag_scroll_ - (to - drag_from_));
}

void Canvas::handle_wheel(int turned, Point on_screen) {
    POINT at = {on_screen.x, on_screen.y};
    ScreenToClient(window_, &at);
    wheel_ += turned;
    ViewState changed = view_;
    for (; std::abs(wheel_) >= WHEEL_DELTA; wheel_ += wheel_ > 0 ? -WHEEL_DELTA : WHEEL_DELTA)
        wheel_ > 0 ? changed.zoom_in({at.x, at.y}) : changed.zoom_out({at.x, at.y});
    if (has_picture())
        change_view(changed);
}

void Canvas::zoom(Zoom how) {
    ViewState changed = view_;
    switch (how) {
    case Zoom::fit:
        changed.fit();
        break;
    case Zoom::width:
        changed.fit_width();
        break;
    case Zoom::actual:
        changed.zoom_to(100, changed.middle());
        break;
    case Zoom::in:
        changed.zoom_in(changed.middle());
        break;
    case Zoom::out:
        changed.zoom_out(changed.middle());
        break;
    }
    if (!has_picture())
        return;
    change_view(changed);
    UpdateWindow(window_); // Esc that comes next is meant for this
}

void Canvas::zoom_to(int percent) {
    ViewState changed = view_;
    changed.zoom_to(percent, changed.middle());
    if (has_picture())
        change_view(changed);
}

} // namespace apps::q32view
