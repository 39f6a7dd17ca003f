// The four targets.
#include "display/runs/targets.h"

#include "display/runs/dib_drawing.h"
#include "display/runs/row_conversions.h"

namespace q32::display {
namespace {

constexpr std::uint64_t strip_bytes = 49152, strip_bytes_of_bits = 24576;

template <int bits>
std::uint64_t dib_row_bytes(std::uint64_t width) {
    return (width * bits + 31) / 32 * 4;
}

// Four rows of bits. A row of the device, whose bits and planes come to four as well, is never
// longer.
std::uint64_t four_plane_row_bytes(std::uint64_t width) {
    return 4 * plane_row_bytes(width);
}

bool make_for_planes(Means &means, HDC dc, int width, std::uint32_t rows, int) {
    return means.bitmap.make_compatible(dc, width, rows);
}

bool make_for_bits(Means &means, HDC dc, int width, std::uint32_t, int strip_rows) {
    return means.bitmap.make_monochrome(dc, width, strip_rows);
}

bool need_none(Means &, HDC, int, std::uint32_t, int) {
    return true;
}

bool draw_planes(const Band &band, const Strip &strip, const Means &means) {
    return means.bitmap.draw(band, strip);
}

bool draw_bits(const Band &band, const Strip &strip, const Means &means) {
    return means.bitmap.draw_black_and_white(band, strip);
}

bool draw_places(const Band &band, const Strip &strip, const Means &means) {
    return draw_indices(band, strip, means.palette, means.force_background);
}

bool draw_samples(const Band &band, const Strip &strip, const Means &) {
    return draw_colours(band, strip);
}

constexpr auto from_start = Strip::Fill::from_start, from_end = Strip::Fill::from_end;

} // namespace

namespace target {

// Rows of device-independent bitmaps lie bottom up, those of the others top down.
// clang-format off
constinit const Target
    planes {four_plane_row_bytes, strip_bytes,         from_start, make_for_planes, draw_planes},
    bits   {plane_row_bytes,      strip_bytes_of_bits, from_start, make_for_bits,   draw_bits},
    indices{dib_row_bytes<8>,     strip_bytes,         from_end,   need_none,       draw_places},
    colours{dib_row_bytes<24>,    strip_bytes,         from_end,   need_none,       draw_samples};
// clang-format on

} // namespace target
} // namespace q32::display
