// What a bar needs of a device context: a row to draw in, and a run.
#include "bars/display_target.h"

#include <algorithm>
#include <limits>

namespace q32::bars {
namespace {

constexpr std::int64_t largest_row = std::numeric_limits<int>::max();

} // namespace

bool DisplayTarget::open(HDC dc, const Area &area, int bits_per_pixel,
                         const FailureSite &no_work_row) {
    width_ = std::int64_t(area.right) - area.left;
    height_ = std::int64_t(area.bottom) - area.top;
    const std::int64_t bytes = std::max<std::int64_t>(width_, 0) * (bits_per_pixel / 8);
    if (bytes <= largest_row)
        row_.reset(GlobalAlloc(GMEM_FIXED, SIZE_T(bytes)));
    if (!row_)
        return fail(no_work_row);
    row_bytes_ = int(bytes);
    constexpr int no_option = 0, in_foreground = 0;
    return disp32ShowInit(&run_, dc, bits_per_pixel, area.left, area.top, area.right, area.bottom,
                          nullptr, no_option, in_foreground);
}

} // namespace q32::bars
