// Points, sizes and rectangles of pixels, for whoever places, clips or moves. No system's types and
// no buffer's: who knows those turns them into these. Coordinates beyond the range of int are cut
// to it; no image reaches there.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace q32 {

constexpr int cut_to_int(std::int64_t coordinate) {
    using Int = std::numeric_limits<int>;
    return int(std::clamp<std::int64_t>(coordinate, Int::min(), Int::max()));
}

constexpr int saturating_subtract(int a, int b) {
    return cut_to_int(std::int64_t(a) - b);
}

struct Point {
    int x = 0, y = 0;

    bool operator==(const Point &) const = default;
};

constexpr Point operator+(Point a, Point b) {
    return {cut_to_int(std::int64_t(a.x) + b.x), cut_to_int(std::int64_t(a.y) + b.y)};
}

constexpr Point operator-(Point a, Point b) {
    return {saturating_subtract(a.x, b.x), saturating_subtract(a.y, b.y)};
}

struct Size {
    int width = 0, height = 0;

    constexpr bool is_empty() const { return width < 1 || height < 1; }
    bool operator==(const Size &) const = default;
};

// A rectangle; empty when its sides are the wrong way round.
struct Area {
    int left = 0, top = 0;
    int right = 0, bottom = 0; // exclusive

    // Of what area_of makes and of what lies in an image; other sides may be longer than int says.
    constexpr int width() const { return right - left; }
    constexpr int height() const { return bottom - top; }
    constexpr Size size() const { return {width(), height()}; }
    constexpr Point corner() const { return {left, top}; }
    constexpr bool is_empty() const { return left >= right || top >= bottom; }
    bool operator==(const Area &) const = default;
};

constexpr Area area_of(int x, int y, int width, int height) {
    return {x, y, cut_to_int(std::int64_t(x) + width), cut_to_int(std::int64_t(y) + height)};
}

constexpr Area area_of(Point corner, Size size) {
    return area_of(corner.x, corner.y, size.width, size.height);
}

constexpr Area intersect(const Area &a, const Area &b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

constexpr bool contains(const Area &outer, const Area &inner) {
    return intersect(outer, inner) == inner;
}

// An area may move by more than its coordinates can say, and be back within them.
constexpr Area moved(const Area &area, std::int64_t dx, std::int64_t dy) {
    return {cut_to_int(area.left + dx), cut_to_int(area.top + dy), cut_to_int(area.right + dx),
            cut_to_int(area.bottom + dy)};
}

constexpr Area moved(const Area &area, Point by) {
    return moved(area, by.x, by.y);
}

} // namespace q32
