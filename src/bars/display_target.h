// A bar's rows onto a device context, by way of a display run.
#pragma once

#include "geometry/area.h"
#include "library/process/failure.h"
#include "library/process/owners.h"

#include <q32base/display.h>

#include <cstdint>

namespace q32::bars {

class DisplayTarget {
public:
    // Reports the site when there is no memory for a row; a run that cannot be opened is silent.
    bool open(HDC dc, const Area &area, int bits_per_pixel, const FailureSite &no_work_row);
    // Shows what the run still holds. Quirk: not done for a bar of which a row was lost. Its run
    // stays open, and a caller misses the rows that it holds.
    bool close() { return disp32ShowEnd(run_); }

    bool is_empty() const { return width_ <= 0 || height_ <= 0; }
    std::int64_t width() const { return width_; }
    std::int64_t height() const { return height_; }
    std::uint8_t *row() const { return static_cast<std::uint8_t *>(row_.get()); }
    bool put_row() { return disp32ShowData(run_, row(), 0, 0, 1, row_bytes_); }

private:
    GlobalBlock row_;
    HDISPRUN run_ = 0;
    std::int64_t width_ = 0, height_ = 0; // sides may be longer than coordinates can say
    int row_bytes_ = 0;
};

} // namespace q32::bars
