// Sizes, points and boxes of pixels, free of any system's types, so that what computes with them
// runs anywhere.
#pragma once

#include <algorithm>

namespace apps::q32view {

struct Extent {
    int width = 0;
    int height = 0;

    bool is_empty() const { return width < 1 || height < 1; }
    bool operator==(const Extent &) const = default;
};

struct Place {
    int x = 0;
    int y = 0;

    bool operator==(const Place &) const = default;
};

inline Place operator+(Place a, Place b) {
    return {a.x + b.x, a.y + b.y};
}

inline Place operator-(Place a, Place b) {
    return {a.x - b.x, a.y - b.y};
}

// right and bottom are exclusive.
struct Box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool is_empty() const { return right <= left || bottom <= top; }
    bool operator==(const Box &) const = default;
};

inline Box box_at(Place place, Extent extent) {
    return {place.x, place.y, place.x + extent.width, place.y + extent.height};
}

inline Box common_part(const Box &a, const Box &b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

inline Box moved(const Box &box, Place by) {
    return {box.left + by.x, box.top + by.y, box.right + by.x, box.bottom + by.y};
}

} // namespace apps::q32view
