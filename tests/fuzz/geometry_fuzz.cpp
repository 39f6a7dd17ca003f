// Areas with any coordinates, where rectangles land, what overlaps, and the viewer's zoom.
#include "apps/q32view/view_state.h"
#include "geometry/area.h"
#include "merge/overlap.h"
#include "merge/placement.h"
#include "tests/fuzz/input.h"

namespace q32::fuzz {
namespace {

Area any_area(Input &input) {
    return {input.any_int(), input.any_int(), input.any_int(), input.any_int()};
}

// As an image's: from the corner on.
Area any_image(Input &input) {
    return {0, 0, input.between(1, 32000), input.between(1, 32000)};
}

void move_areas(Input &input) {
    const Area area = any_area(input), other = any_area(input);
    const Area both = intersect(area, other);
    if (!both.is_empty())
        check(contains(area, both) && contains(other, both), "what two areas share is in neither");
    check(intersect(other, area) == both, "who is first counts");
    moved(area, input.number<std::int32_t>(), input.number<std::int32_t>());
    const Point by{input.any_int(), input.any_int()};
    const Area there = moved(area, by);
    const Area made = area_of(by, {input.any_int(), input.any_int()});
    check(made.corner() == by && there.left == cut_to_int(std::int64_t(area.left) + by.x),
          "an area goes elsewhere");
    by + area.corner();
    by - area.corner();
}

void place_rectangle(Input &input) {
    using namespace q32::merge;
    const Area rectangle = any_area(input), overlay = any_image(input),
               destination = any_image(input);
    const Placement placed = place(rectangle, overlay, input.any_int(), input.any_int());
    const Placement left = cut(placed, destination);
    if (left.outcome != Outcome::placed)
        return;
    check(contains(overlay, left.overlay), "a part of an overlay is outside of it");
    check(contains(destination, left.destination) && !left.destination.is_empty(),
          "a part lands outside the destination");
    check(contains(left.overlay, landing_part(left)), "more lands than was placed");
}

// Against bytes, one by one.
void overlap(Input &input) {
    using namespace q32::merge;
    const Block memory(4096);
    const auto rows = [&] {
        Rows made{.first = memory.at() + input.below(1000), .row_bytes = 1 + input.below(40)};
        made.stride = made.row_bytes + input.below(20);
        made.count = 1 + input.below(20);
        return made;
    };
    const Rows written = rows(), read = rows();
    if (written == read)
        return;
    std::vector<bool> is_written(memory.size());
    for (std::size_t y = 0; y < written.count; ++y)
        for (std::size_t x = 0; x < written.row_bytes; ++x)
            is_written[std::size_t(written.first - memory.at()) + y * written.stride + x] = true;
    bool meets = false;
    for (std::size_t y = 0; y < read.count; ++y)
        for (std::size_t x = 0; x < read.row_bytes; ++x)
            meets =
                meets || is_written[std::size_t(read.first - memory.at()) + y * read.stride + x];
    check(!meets || overlaps(written, read), "an overlap is not seen");
}

void zoom(Input &input) {
    using namespace apps::q32view;
    const auto size = [&](int least) {
        return Size{input.between(least, 65535), input.between(least, 65535)};
    };
    ViewState view;
    for (std::size_t left = 1 + input.below(30); left > 0; --left) {
        const Point anchor{input.between(0, 65535), input.between(0, 65535)};
        switch (input.below(7)) {
        case 0:
            view.set_picture(size(1));
            break;
        case 1:
            view.set_window(size(0));
            break;
        case 2:
            view.fit();
            break;
        case 3:
            view.zoom_to(input.any_int(), anchor);
            break;
        case 4:
            view.zoom_in(anchor);
            break;
        case 5:
            view.zoom_out(anchor);
            break;
        case 6:
            view.scroll_to({input.any_int(), input.any_int()});
            break;
        }
        const Point most = view.most_scroll(), at = view.scroll();
        check(at.x >= 0 && at.y >= 0 && at.x <= most.x && at.y <= most.y,
              "a view is scrolled out of its picture");
        check(view.picture().is_empty() || !view.shown().is_empty(), "a picture vanishes");
        check(contains(area_of({}, view.window()), view.covered()) || view.covered().is_empty(),
              "a picture covers more than the window");
    }
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {move_areas, place_rectangle, overlap, zoom};
    Input input(data, size);
    families[input.below(std::size(families))](input);
    return 0;
}
