// The exports that draw colour bars: every bar in bars.h, on either of the two targets.
#include "bars/bars.h"
#include "bars/buffer_target.h"
#include "bars/display_target.h"
#include "bars/failures.h"
#include "geometry/system_rect.h"

namespace q32::bars {
namespace {

// --- drivers -------------------------------------------------------------------------------------

template <typename Bar, typename Target>
bool draw_and_close(const Bar &bar, Target &target) {
    return (target.is_empty() || draw(bar, target)) && target.close();
}

template <typename Bar>
int draw_in_buffer(const Bar &bar, HBUF32 *buffer, Size size, const site::BufferSites &sites) {
    if (buffer == nullptr)
        return 0;
    BufferTarget target(buffer);
    return target.open(size, Bar::bits_per_pixel, sites) && draw_and_close(bar, target);
}

template <typename Bar>
int draw_on_device(const Bar &bar, HDC dc, const RECT *rectangle, const FailureSite &no_work_row) {
    if (dc == nullptr || rectangle == nullptr)
        return 0;
    DisplayTarget target;
    return target.open(dc, as_area(*rectangle), Bar::bits_per_pixel, no_work_row) &&
           draw_and_close(bar, target);
}

// --- what callers say ----------------------------------------------------------------------------

GreyBar grey_bar(int from, int to, int horizontal) {
    return {std::uint8_t(from), std::uint8_t(to), horizontal != 0};
}

Colour colour(COLORREF value) {
    return {GetRValue(value), GetGValue(value), GetBValue(value)};
}

ColourBar colour_bar(COLORREF from, COLORREF to, int horizontal, int rainbow) {
    return {colour(from), colour(to), horizontal != 0, rainbow != 0};
}

} // namespace
} // namespace q32::bars

// --- exports -------------------------------------------------------------------------------------

using namespace q32::bars;

int Q32_CALL q32CreateGrayBarImage(HBUF32 *buffer, int width, int height, int from, int to,
                                   int horizontal) {
    return draw_in_buffer(grey_bar(from, to, horizontal), buffer, {width, height}, site::grey_bar);
}

int Q32_CALL q32CreateHSBBarImage(HBUF32 *buffer, int style, int width, int height) {
    return draw_in_buffer(HueField{style}, buffer, {width, height}, site::hue_field);
}

int Q32_CALL q32CreateColorBarImage(HBUF32 *buffer, int width, int height, COLORREF from,
                                    COLORREF to, int horizontal, int rainbow) {
    return draw_in_buffer(colour_bar(from, to, horizontal, rainbow), buffer, {width, height},
                          site::colour_bar);
}

int Q32_CALL q32RectDrawGrayBar(HDC dc, const RECT *rectangle, int from, int to, int horizontal) {
    return draw_on_device(grey_bar(from, to, horizontal), dc, rectangle, site::no_grey_row);
}

int Q32_CALL q32RectDrawHSBBar(HDC dc, const RECT *rectangle, int style) {
    return draw_on_device(HueField{style}, dc, rectangle, site::no_hue_row);
}

int Q32_CALL q32RectDrawColorBar(HDC dc, const RECT *rectangle, COLORREF from, COLORREF to,
                                 int horizontal, int rainbow) {
    return draw_on_device(colour_bar(from, to, horizontal, rainbow), dc, rectangle,
                          site::no_colour_row);
}
