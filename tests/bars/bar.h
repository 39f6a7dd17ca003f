// A bar as tests speak of it: one call for all three, into a buffer or onto a device context; the
// picture that it must give, and the numbers of its failures.
#pragma once

#include "tests/bars/bar_model.h"
#include "tests/frame/comm.h"
#include "tests/frame/library.h"

#include <q32base/bars.h>

#include <string>
#include <vector>

namespace q32::test {

struct Bar {
    enum Kind { grey, hues, colour };

    Kind kind = grey;
    COLORREF from = 0, to = 255;
    int horizontal = 1;
    int rainbow = 0;
    int style = 0;

    static Bar of_greys(int from, int to, int horizontal) {
        return {grey, COLORREF(from), COLORREF(to), horizontal};
    }
    static Bar of_colours(COLORREF from, COLORREF to, int horizontal, int rainbow = 0) {
        return {colour, from, to, horizontal, rainbow};
    }
    static Bar of_hues(int style) { return {.kind = hues, .style = style}; }

    int bits() const { return kind == grey ? 8 : 24; }
    int bytes() const { return bits() / 8; }

    int into(const frame::Api &api, HBUF32 *buffer, int width, int height) const {
        switch (kind) {
        case grey:
            return api.q32CreateGrayBarImage(buffer, width, height, int(from), int(to), horizontal);
        case hues:
            return api.q32CreateHSBBarImage(buffer, style, width, height);
        default:
            return api.q32CreateColorBarImage(buffer, width, height, from, to, horizontal, rainbow);
        }
    }

    int onto(const frame::Api &api, HDC dc, const RECT *rectangle) const {
        switch (kind) {
        case grey:
            return api.q32RectDrawGrayBar(dc, rectangle, int(from), int(to), horizontal);
        case hues:
            return api.q32RectDrawHSBBar(dc, rectangle, style);
        default:
            return api.q32RectDrawColorBar(dc, rectangle, from, to, horizontal, rainbow);
        }
    }

    // Rows without gaps; of styles that there are.
    bar_model::Bytes picture(int width, int height) const {
        switch (kind) {
        case grey:
            return bar_model::grey_bar(width, height, int(from), int(to), horizontal != 0);
        case hues:
            return bar_model::hue_field(style, width, height);
        default:
            return bar_model::colour_bar(width, height, from, to, horizontal != 0, rainbow != 0);
        }
    }

    // --- failures
    frame::Failure no_buffer() const {
        return numbered({1001, 1, 8, 1}, {1001, 1, 8, 4}, {1001, 1, 8, 7});
    }
    frame::Failure wrong_pixels() const {
        return numbered({3200, 1, 8, 2}, {3200, 1, 8, 5}, {3200, 1, 8, 8});
    }
    frame::Failure no_row() const {
        return numbered({1001, 1, 8, 3}, {1001, 1, 8, 6}, {1001, 1, 8, 9});
    }
    frame::Failure no_row_to_show() const {
        return numbered({1001, 1, 8, 10}, {1001, 1, 8, 11}, {1001, 1, 8, 12});
    }

private:
    frame::Failure numbered(const frame::Failure &of_grey, const frame::Failure &of_hues,
                            const frame::Failure &of_colour) const {
        return kind == grey ? of_grey : kind == hues ? of_hues : of_colour;
    }
};

// All kinds, directions and styles.
inline std::vector<Bar> every_bar() {
    std::vector<Bar> bars;
    for (const int horizontal : {1, 0}) {
        bars.push_back(Bar::of_greys(0, 255, horizontal));
        bars.push_back(Bar::of_greys(255, 0, horizontal));
        bars.push_back(Bar::of_greys(37, 201, horizontal));
        bars.push_back(Bar::of_colours(0x00FF0010, 0x0020FF08, horizontal));
        bars.push_back(Bar::of_colours(0x00C86432, 0x000A141E, horizontal));
        bars.push_back(Bar::of_colours(0x00123456, 0x00654321, horizontal, 1));
    }
    for (const int style : {1, 2, 3, 4})
        bars.push_back(Bar::of_hues(style));
    return bars;
}

// One of each kind.
inline std::vector<Bar> bar_of_every_kind() {
    return {Bar::of_greys(10, 250, 1), Bar::of_hues(1), Bar::of_colours(0x00000080, 0x00FF7F00, 0)};
}

inline std::string text_of(const Bar &bar) {
    const std::string range = " from " + std::to_string(bar.from) + " to " +
                              std::to_string(bar.to) +
                              (bar.horizontal ? ", horizontal" : ", vertical");
    return bar.kind == Bar::grey   ? "greys" + range
           : bar.kind == Bar::hues ? "hues, style " + std::to_string(bar.style)
           : bar.rainbow           ? "rainbow" + range
                                   : "colours" + range;
}

} // namespace q32::test
