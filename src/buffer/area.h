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

constexpr int cut_to_int(int64_t coordinate) {
    using Int = std::numeric_limits<int>;
    return int(std::clamp<int64_t>(coordinate, Int::min(), Int::max()));
}

constexpr int saturating_subtract(int a, int b) {
    return cut_to_int(int64_t(a) - b);
}

constexpr Area area_of(int x, int y, int width, int height) {
    return {x, y, cut_to_int(int64_t(x) + width), cut_to_int(int64_t(y) + height)};
}

constexpr Area area_of(const RECT &rectangle) {
    return {int(rectangle.left), int(rectangle.top), int(rectangle.right), int(rectangle.bottom)};
}

inline Area area_of(const Record &record) {
    return {0, 0, record.info.width, record.info.height};
}

constexpr Area intersect(const Area &a, const Area &b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

// An area may move by more than its coordinates can say, and be back within them.
constexpr Area moved(const Area &area, int64_t dx, int64_t dy) {
    return {cut_to_int(area.left + dx), cut_to_int(area.top + dy), cut_to_int(area.right + dx),
            cut_to_int(area.bottom + dy)};
}

} // namespace q32::buffer
