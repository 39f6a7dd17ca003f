// Rows of colour bars (bars.h) and colour separation (separation.h).
#include "tests/hostile/world.h"

namespace q32::test {
namespace {

Argument context() {
    return {Argument::number, [](Draw &draw, std::size_t) -> Drawn {
                return draw.is_hostile() ? 0 : word_of(draw.world.dc());
            }};
}
// Anywhere, inside out and empty, but no larger than somebody would wait for.
Argument place() {
    return record<RECT>([](Draw &draw, RECT &rectangle) {
        constexpr std::int64_t most = 1 << 20;
        rectangle = some_rectangle(draw);
        const auto cut = [&](LONG begin, LONG &end) {
            if (std::int64_t{end} - begin > 1000)
                end = LONG(std::uint32_t(begin) + std::uint32_t(draw.between(0, 1000)));
        };
        if (area_of(rectangle) > most)
            cut(rectangle.left, rectangle.right);
        if (area_of(rectangle) > most)
            cut(rectangle.top, rectangle.bottom);
    });
}
Argument flag() {
    return in(0, 1);
}

const Row rows[] = {
    {"q32CreateColorBarImage",
     {buffer_slot(true), side(), side(), colour(), colour(), flag(), flag()}},
    {"q32CreateGrayBarImage", {buffer_slot(true), side(), side(), in(0, 255), in(0, 255), flag()}},
    {"q32CreateHSBBarImage", {buffer_slot(true), in(0, 5), side(), side()}},
    {"q32RectDrawColorBar", {context(), place(), colour(), colour(), flag(), flag()}},
    {"q32RectDrawGrayBar", {context(), place(), in(0, 255), in(0, 255), flag()}},
    {"q32RectDrawHSBBar", {context(), place(), in(0, 5)}},

    {"qfdCalcBGCurve", {}, 1},
    {"qfdClrCmykToRgb", {bytes(4, Null::refused), bytes(3, Null::refused)}},
    {"qfdClrRgbToCmyk", {bytes(3, Null::refused), bytes(4, Null::refused)}},
};

} // namespace

std::span<const Row> bar_rows() {
    return rows;
}

} // namespace q32::test
