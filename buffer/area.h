// Rectangles of pixels: clipping and moving. Coordinates beyond the range of int are cut to it; no
// image reaches there.
#pragma once

#include "buffer/record.h"

#include <algorithm>
#include <limits>

namespace q32::buffer {

struct Area {
    int left, top;
    int right, bottom; // exclusive

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool is_empty() const { return left >= right || top >= bottom; }
    bool operator==(const Area &) const = default;
};

constexpr int saturating_add(int a, int b) {
    using Int = std::numeric_limits<int>;
    int sum = 0;
    if (!__builtin_add_overflow(a, b, &sum))
        return sum;
    return b < 0 ? Int::min() : Int::max();
}

constexpr int saturating_subtract(int a, int b) {
    using Int = std::numeric_limits<int>;
    int difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference))
        return difference;
    return b < 0 ? Int::max() : Int::min();
}

constexpr Area area_of(int x, int y, int width, int height) {
    return {x, y, saturating_add(x, width), saturating_add(y, height)};
}

inline Area area_of(const Record &record) {
    return {0, 0, record.info.width, record.info.height};
}

constexpr Area intersect(const Area &a, const Area &b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

constexpr Area moved(const Area &area, int dx, int dy) {
    return {saturating_add(area.left, dx), saturating_add(area.top, dy),
            saturating_add(area.right, dx), saturating_add(area.bottom, dy)};
}

} // namespace q32::buffer
