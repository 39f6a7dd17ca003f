// Zoom steps and scrolling. Products of sizes are taken in 64 bits.
#include "view_state.h"

#include "apps/pictures/turning.h"

#include <cstdint>
#include <iterator>

namespace apps::q32view {
namespace {

constexpr int steps[] = {1,   2,   3,   5,   7,   10,  15,   20,   25,   33,
                         50,  67,  75,  90,  100, 110, 125,  150,  175,  200,
                         250, 300, 400, 500, 600, 800, 1200, 1600, 2400, 3200};
static_assert(steps[0] == least_percent && steps[std::size(steps) - 1] == most_percent);

// length x numerator / denominator, rounded, and no less than a pixel.
int scaled_length(int length, int64_t numerator, int64_t denominator) {
    const int64_t scaled = (length * numerator + denominator / 2) / denominator;
    return static_cast<int>(std::clamp<int64_t>(scaled, 1, INT32_MAX));
}

int centred(int length, int room) {
    return length < room ? (room - length) / 2 : 0;
}

// The point of a picture under a point of the window, after the picture has changed its size. Of a
// picture of few pixels in a large window it may lie anywhere.
int under_anchor(int from_origin, int length_before, int length) {
    return q32::cut_to_int(static_cast<int64_t>(from_origin) * length / length_before);
}

// Where a point of a picture of this size lies after the picture has been turned.
Point turned_point(Point at, Size size, int orientation) {
    const bool from_right = orientation == 2 || orientation == 3 || orientation >= 7;
    const bool from_bottom =
        orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const Point there = {from_right ? size.width - at.x : at.x,
                         from_bottom ? size.height - at.y : at.y};
    return exchanges_sides(orientation) ? Point{there.y, there.x} : there;
}

} // namespace

Size at_percent(Size picture, int percent) {
    return {scaled_length(picture.width, percent, 100),
            scaled_length(picture.height, percent, 100)};
}

Size fitted(Size picture, Size window) {
    if (picture.width <= window.width && picture.height <= window.height)
        return picture;
    const Size room = {std::max(window.width, 1), std::max(window.height, 1)};
    if (static_cast<int64_t>(room.width) * picture.height <=
        static_cast<int64_t>(room.height) * picture.width)
        return {room.width,
                std::min(room.height, scaled_length(picture.height, room.width, picture.width))};
    return {std::min(room.width, scaled_length(picture.width, room.height, picture.height)),
            room.height};
}

Size fitted_width(Size picture, int window_width) {
    const int width = std::clamp(window_width, 1, picture.width);
    return {width, scaled_length(picture.height, width, picture.width)};
}

void ViewState::set_picture(Size picture) {
    picture_ = picture;
    fit();
}

void ViewState::turn(int orientation) {
    const Point there = turned_point(middle() - origin(), shown(), orientation);
    if (exchanges_sides(orientation))
        picture_ = {picture_.height, picture_.width};
    scroll_to(there - middle());
}

void ViewState::set_window(Size window) {
    window_ = window;
    scroll_to(scroll_);
}

Size ViewState::shown() const {
    if (picture_.is_empty())
        return {};
    switch (sizing_) {
    case Sizing::window:
        return fitted(picture_, window_);
    case Sizing::width:
        return fitted_width(picture_, window_.width);
    case Sizing::percent:
        break;
    }
    return at_percent(picture_, percent_);
}

// By the longer side, which is rounded the least.
int ViewState::percent() const {
    if (picture_.is_empty())
        return 0;
    if (sizing_ == Sizing::percent)
        return percent_;
    const Size now = shown();
    return picture_.width >= picture_.height ? scaled_length(now.width, 100, picture_.width)
                                             : scaled_length(now.height, 100, picture_.height);
}

void ViewState::fit() {
    sizing_ = Sizing::window;
    scroll_ = {};
}

// From its top on.
void ViewState::fit_width() {
    sizing_ = Sizing::width;
    scroll_ = {};
}

void ViewState::zoom_to(int percent, Point anchor) {
    const Size shown_before = shown();
    const Point origin_before = origin();
    sizing_ = Sizing::percent;
    percent_ = std::clamp(percent, least_percent, most_percent);
    if (!shown_before.is_empty())
        keep_in_view(anchor, shown_before, origin_before);
}

// To the next step. A fitted picture's zoom may lie between two steps; it counts as rounded.
void ViewState::zoom_in(Point anchor) {
    const int *next = std::upper_bound(std::begin(steps), std::end(steps), percent());
    zoom_to(next == std::end(steps) ? most_percent : *next, anchor);
}

void ViewState::zoom_out(Point anchor) {
    const int *next = std::lower_bound(std::begin(steps), std::end(steps), percent());
    zoom_to(next == std::begin(steps) ? least_percent : *(next - 1), anchor);
}

void ViewState::keep_in_view(Point anchor, Size shown_before, Point origin_before) {
    const Point from_origin = anchor - origin_before;
    const Size now = shown();
    const Point there = {under_anchor(from_origin.x, shown_before.width, now.width),
                         under_anchor(from_origin.y, shown_before.height, now.height)};
    scroll_to(there - anchor);
}

Point ViewState::most_scroll() const {
    const Size now = shown();
    return {std::max(now.width - window_.width, 0), std::max(now.height - window_.height, 0)};
}

Point ViewState::scroll_to(Point scroll) {
    const Point before = scroll_, most = most_scroll();
    scroll_ = {std::clamp(scroll.x, 0, most.x), std::clamp(scroll.y, 0, most.y)};
    return scroll_ - before;
}

Point ViewState::origin() const {
    const Size now = shown();
    return {centred(now.width, window_.width) - scroll_.x,
            centred(now.height, window_.height) - scroll_.y};
}

Area ViewState::covered() const {
    return intersect(area_of(origin(), shown()), area_of({}, window_));
}

} // namespace apps::q32view
