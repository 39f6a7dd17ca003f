// Where a picture stands in a window: its zoom, what of it is scrolled into view, and how both
// change. Pure arithmetic; scaling, scroll bars and drawing are the neighbours' parts.
#pragma once

#include "apps/pictures/areas.h"

namespace apps::q32view {

constexpr int least_percent = 1;
constexpr int most_percent = 3200;

// A picture's size at a percentage; a side never falls below one pixel.
Size at_percent(Size picture, int percent);

// As large as a window allows with the picture's proportions, but never enlarged.
Size fitted(Size picture, Size window);

// As wide as a window, but never enlarged.
Size fitted_width(Size picture, int window_width);

// By what a picture's size in the window is chosen.
enum class Sizing {
    window, // as large as fits into it, but never enlarged
    width,  // as wide as the window, but never enlarged
    percent,
};

class ViewState {
public:
    // A new picture is fitted into the window.
    void set_picture(Size picture);
    // The picture is turned (turning.h); what was in the middle of the window stays there.
    void turn(int orientation);
    // The window's size; the picture's top left corner in view stays where it is as far as it can.
    void set_window(Size window);

    Size picture() const { return picture_; }
    Size window() const { return window_; }
    Sizing sizing() const { return sizing_; }

    // The whole picture at the current zoom.
    Size shown() const;
    // The zoom in percent, rounded; 0 without a picture.
    int percent() const;

    void fit();
    void fit_width();
    // anchor: the point of the window under which the picture stays put.
    void zoom_to(int percent, Point anchor);
    void zoom_in(Point anchor);
    void zoom_out(Point anchor);
    Point middle() const { return {window_.width / 2, window_.height / 2}; }

    // The shown picture's point in the window's top left corner, if the picture is larger than the
    // window; 0 in the direction in which it is not.
    Point scroll() const { return scroll_; }
    Point most_scroll() const;
    // Stops at the picture's edges. Returns how far the view has come.
    Point scroll_to(Point scroll);

    // Where the shown picture begins in the window: centred where it is smaller.
    Point origin() const;
    // The part of the window that the picture covers.
    Area covered() const;

private:
    void keep_in_view(Point anchor, Size shown_before, Point origin_before);

    Size picture_;
    Size window_;
    Sizing sizing_ = Sizing::window;
    int percent_ = 100; // when that is what it goes by
    Point scroll_;
};

} // namespace apps::q32view
