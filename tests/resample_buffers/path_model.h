// The paths on which buffers are resampled: which one a request takes, and what it makes of the
// pixels. The arithmetic of each method is the kernels' model's.
#pragma once

#include "tests/models/picture.h"

#include <q32base/resample.h>

namespace q32::test::model {

enum class Path {
    bits,
    nearest_rows,
    bilinear_rows,
    bicubic_rows,
    nearest_cells,
    bilinear_cells,
    bicubic_cells,
};
inline constexpr Path all_paths[] = {Path::bits,         Path::nearest_rows,  Path::bilinear_rows,
                                     Path::bicubic_rows, Path::nearest_cells, Path::bilinear_cells,
                                     Path::bicubic_cells};

const char *name_of(Path path);
inline bool is_of_cells(Path path) {
    return path >= Path::nearest_cells;
}

// How a buffer is asked to be resampled: by q32BufferResample (which has neither of the two), or by
// q32BufferResampleEx.
struct Manner {
    bool ex = true;
    int row_path = 0;
    int method = RESAMPLE_NEAREST;
};

// has_coefficients: a bicubic call has made the table of this process.
Path path_of(const Manner &manner, int bits, bool has_coefficients);

// Whether cells go from this depth to that one.
bool cells_take(int source_bits, int destination_bits);

// Resamples a picture as buf32Line shows its rows; only the first so many rows, bands or cells, in
// the destination's cells.
inline constexpr int all_parts = -1;
void resample(Path path, const Picture &source, Picture &destination, const Geometry &cells,
              int parts = all_parts);

// What the callback hears: message and value.
struct Message {
    int message, value;
    bool operator==(const Message &) const = default;
};
std::vector<Message> messages(Path path, const Geometry &cells, int start, int end);

} // namespace q32::test::model
