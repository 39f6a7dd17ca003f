// Failure sites of resampling, in the order of their points: message, severity, module, point.
#pragma once

#include "library/process/failure.h"

namespace q32::resample::site {

// Position tables.
inline constexpr FailureSite destination_not_live{3200, 1, 8, 13};
inline constexpr FailureSite source_not_live{3200, 1, 8, 14};
inline constexpr FailureSite no_size{3200, 1, 8, 14}; // of a call; shares its number
inline constexpr FailureSite side_below_one{3200, 1, 8, 15};
inline constexpr FailureSite no_tables{1001, 1, 8, 16};

// Rows and frames.
inline constexpr FailureSite no_coefficients{1001, 0, 8, 17};
inline constexpr FailureSite no_work_rows{1001, 0, 8, 18};
inline constexpr FailureSite rows_escaped{5200, 2, 8, 19};
inline constexpr FailureSite rows_refused{5808, 2, 8, 20};
inline constexpr FailureSite bit_rows_escaped{5200, 2, 8, 21};
inline constexpr FailureSite bit_rows_refused{5808, 2, 8, 22};
inline constexpr FailureSite begin_refused{5808, 2, 8, 23};
inline constexpr FailureSite begin_refused_ex{5808, 2, 8, 24};

// What can fail in cells, the same for each method at points of its own.
struct CellSites {
    FailureSite format_refused;
    FailureSite no_tables;
    FailureSite cancelled;
    FailureSite no_source_block;
    FailureSite not_fetched;
    FailureSite no_destination_block;
    FailureSite not_written;
};

inline constexpr CellSites nearest_cells{
    {5206, 1, 12, 643}, {1001, 1, 12, 741}, {5200, 2, 12, 687}, {1001, 1, 12, 741},
    {1001, 1, 12, 748}, {1001, 1, 12, 755}, {1001, 1, 12, 844},
};
inline constexpr CellSites bilinear_cells{
    {5206, 1, 12, 918},  {1001, 1, 12, 961},  {5200, 2, 12, 1019}, {1001, 1, 12, 1100},
    {1001, 1, 12, 1107}, {1001, 1, 12, 1114}, {1001, 1, 12, 1551},
};
inline constexpr CellSites bicubic_cells{
    {5206, 1, 12, 1627}, {1001, 1, 12, 1741}, {5200, 2, 12, 1680}, {1001, 1, 12, 1741},
    {1001, 1, 12, 1748}, {1001, 1, 12, 1756}, {1001, 1, 12, 1901},
};

} // namespace q32::resample::site
