// Captions and pictures in a laboratory's area. What has been drawn is taken out of the context's
// clipping, so that the background can be filled last, without flicker.
#pragma once

#include "apps/q32view/scaled_picture.h"

#include <windows.h>

#include <string>

namespace apps::q32view {

int caption_height();

void draw_caption(HDC dc, const Area &area, const std::string &text);
void fill_background(HDC dc, Size size);
void keep_drawn(HDC dc, const Area &area);

// A picture that is fitted into an area, with grey around it.
class FittedPicture {
public:
    // Draws it through the library, on the display that it acts for. status: of what takes long.
    // Throws Failure, Cancelled.
    void draw(HDC dc, const Area &room, const Picture &picture, StatusBar &status);
    // Before the picture's pixels change, or it goes.
    void forget() { scaled_.forget(); }
    // Where it was drawn.
    const Area &shown() const { return shown_; }

private:
    ScaledPicture scaled_;
    Area shown_;
};

} // namespace apps::q32view
