// Rows of bars: greys both ways, channels, the colour circle, and hue fields.
#include "test_card.h"

#include "apps/pictures/library_report.h"
#include "geometry/system_rect.h"
#include "painter.h"

#include <q32base/bars.h>

namespace apps::q32view {
namespace {

constexpr COLORREF black = RGB(0, 0, 0), white = RGB(255, 255, 255);
constexpr COLORREF red = RGB(255, 0, 0), green = RGB(0, 255, 0), blue = RGB(0, 0, 255);
constexpr COLORREF cyan = RGB(0, 255, 255), magenta = RGB(255, 0, 255);

constexpr int columns = 4;
constexpr int units = 16; // of the card's height

class Card {
public:
    Card(HDC dc, Size window, const ShowSettings &settings)
        : dc_(dc), window_(window), settings_(settings),
          has_palette_((GetDeviceCaps(dc, RASTERCAPS) & RC_PALETTE) != 0) {}

    // Starts a row of bars that is so many units high.
    void row(int height) {
        top_ = bottom_;
        bottom_ += height;
        column_ = 0;
    }

    // A display with a palette holds one at a time. A palette of greys would take the colours of
    // the other bars away, so grey bars are drawn there as bars of colours.
    void grey(int wide, int from, int to, bool across) {
        if (has_palette_)
            colour(wide, RGB(from, from, from), RGB(to, to, to), across);
        else
            draw(wide, 8, [=](HDC dc, const RECT &area) {
                return q32RectDrawGrayBar(dc, &area, from, to, across);
            });
    }
    void colour(int wide, COLORREF from, COLORREF to, bool across = true) {
        draw(wide, 24, [=](HDC dc, const RECT &area) {
            return q32RectDrawColorBar(dc, &area, from, to, across, FALSE);
        });
    }
    void circle(int wide) {
        draw(wide, 24, [](HDC dc, const RECT &area) {
            return q32RectDrawColorBar(dc, &area, black, black, TRUE, TRUE);
        });
    }
    void hues(int wide, int style) {
        draw(wide, 24,
             [=](HDC dc, const RECT &area) { return q32RectDrawHSBBar(dc, &area, style); });
    }

private:
    // Bars touch: where one ends the next begins, whatever the window's size.
    Area next(int wide) {
        const Area area = {window_.width * column_ / columns, window_.height * top_ / units,
                           window_.width * (column_ + wide) / columns,
                           window_.height * bottom_ / units};
        column_ += wide;
        return area;
    }
    // depth: bits of the pixels that the library makes. bar(dc, area) draws, and says whether it
    // did.
    template <typename Bar>
    void draw(int wide, int depth, const Bar &bar) {
        const Area area = next(wide);
        if (area.is_empty())
            return;
        draw_acted(dc_, area, depth, settings_, [&](HDC dc, const Area &drawn) {
            if (!bar(dc, q32::as_rect(drawn)))
                throw library_failure("the test card", "a bar cannot be drawn");
        });
    }

    HDC dc_;
    Size window_;
    const ShowSettings &settings_;
    bool has_palette_;
    int top_ = 0;
    int bottom_ = 0;
    int column_ = 0;
};

} // namespace

void draw_test_card(HDC dc, Size window, const ShowSettings &settings) {
    Card card(dc, window, settings);
    card.row(1);
    card.grey(4, 0, 255, true);
    card.row(1);
    card.grey(4, 255, 0, true);
    for (const COLORREF primary : {red, green, blue}) {
        card.row(1);
        card.colour(2, black, primary);
        card.colour(2, primary, white);
    }
    card.row(1);
    card.circle(4);
    card.row(5);
    card.hues(2, BAR_HUE_ACROSS);
    card.hues(2, BAR_HUE_ACROSS_BACK);
    card.row(5);
    card.hues(1, BAR_HUE_DOWN);
    card.hues(1, BAR_HUE_DOWN_BACK);
    card.grey(1, 0, 255, false);
    card.colour(1, cyan, magenta, false);
    static_assert(1 + 1 + 3 + 1 + 5 + 5 == units);
}

} // namespace apps::q32view
