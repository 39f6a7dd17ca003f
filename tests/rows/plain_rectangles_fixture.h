// What the tests of rectangles of plain images share: the two copies, with and without the MMX
// flag.
#pragma once

#include "tests/rows/row_fixture.h"

namespace q32::test {

class PlainRectangles : public RowTestWithMmxFlag {
protected:
    // The copies always return 1.
    void get(const std::uint8_t *image, int x, int y, int width, int height, int bytes_per_pixel,
             int stride, std::uint8_t *block) {
        EXPECT_EQ(rows().mem32GetMem(image, x, y, width, height, bytes_per_pixel, stride, block),
                  1);
    }
    void merge(std::uint8_t *image, int x, int y, const std::uint8_t *block, int width, int height,
               int bytes_per_pixel, int stride) {
        EXPECT_EQ(rows().mem32MergeMem(image, x, y, block, width, height, bytes_per_pixel, stride),
                  1);
    }
};

} // namespace q32::test
