// Clipping of a rectangle that goes from an overlay to a destination.
#include "merge/placement.h"

namespace q32::merge {
namespace {

constexpr Placement missed = {Outcome::misses_overlay, {}, {}};
constexpr Placement nothing = {Outcome::nothing_left, {}, {}};

// One axis: a stretch of the overlay and where it begins in the destination.
struct Stretch {
    int begin, end;
    int target;

    bool is_inside_out() const { return begin > end; }
};

// The stretch begins in the destination as far from the caller's place as it has been cut off. What
// begins before the destination loses what lies there. No image reaches beyond the range of int.
Stretch placed_stretch(int begin, int end, int wanted_begin, int wanted_target) {
    const int64_t target = int64_t(wanted_target) + begin - wanted_begin;
    if (target < 0)
        return {cut_to_int(begin - target), end, 0};
    return {begin, end, cut_to_int(target)};
}

} // namespace

Placement place(const Area &rectangle, const Area &overlay, int x, int y) {
    const Area part = intersect(rectangle, overlay);
    if (part.is_empty())
        return missed;
    const Stretch across = placed_stretch(part.left, part.right, rectangle.left, x);
    const Stretch down = placed_stretch(part.top, part.bottom, rectangle.top, y);
    // A side of length 0 is left for the cut to find, which calls it nothing as well. Required: a
    // call that stops between the two shows the difference.
    if (across.is_inside_out() || down.is_inside_out())
        return nothing;
    const Area left = {across.begin, down.begin, across.end, down.end};
    return {Outcome::placed, left,
            area_of(across.target, down.target, left.width(), left.height())};
}

Placement cut(Placement placement, const Area &destination) {
    if (placement.outcome != Outcome::placed)
        return placement;
    placement.destination = intersect(placement.destination, destination);
    return placement.destination.is_empty() ? nothing : placement;
}

Area landing_part(const Placement &placement) {
    return area_of(placement.overlay.left, placement.overlay.top, placement.destination.width(),
                   placement.destination.height());
}

} // namespace q32::merge
