// A buffer beside the picture that it must show: the comparison of the two through every entry that
// reads pixels. Knows nothing of sharing.
#pragma once

#include "tests/buffer/buffer_fixture.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

namespace q32::test {

// A buffer and room for what it must show.
inline Picture picture_beside(HBUF32 buffer) {
    return Picture(buffer, geometry_of(buffer));
}
// What it shows, read by one rectangle; geometry: of its origin.
Picture picture_shown_by(HBUF32 buffer, const Geometry &geometry);

// --- comparison ------------------------------------------------------------------------------

// All pixels, by one rectangle.
void expect_image(const Picture &picture);
// There are none: nothing is read, and that is not reported.
void expect_no_image(const Picture &picture);

// All pixels through every entry that reads: rectangles inside and across the border, with and
// without background, rows, spans, locks, cells, and as a source. Leaves access mode 1 and all
// locks as they were. Cells and whole locks give special buffers a block: `without_locks` asks for
// neither.
enum class Through { everything, without_locks };
void expect_read_everywhere(const Picture &picture, Through through = Through::everything);

} // namespace q32::test
