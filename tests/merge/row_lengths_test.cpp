// Rows that reach beyond the largest coordinate: what follows from one row to the next is the row's
// own length, however little of it can be named.
#include "tests/merge/rectangle_fixture.h"

namespace q32::test {
namespace {

class RowLengths : public MergeTestWithMmxFlag {};
INSTANTIATE_TEST_SUITE_P(Mmx, RowLengths, testing::Bool(), mmx_flag_name);

// An image so wide that 2-byte pixel (INT_MAX - 1, 0) lies 4 bytes before pixel (0, 0), once
// addresses have wrapped around, and the next row 2 bytes before this one. The overlay's right edge
// would be at INT_MAX + 15.
TEST_P(RowLengths, OfAnOverlayBeyondTheLastCoordinate) {
    constexpr int pixels = 16;
    for (const bool masked : {false, true}) {
        Block image(Bytes(4, 1)), overlay(Bytes(2 * 2 * pixels, 9)), mask(Bytes(2 * pixels, 0));
        overlay.data()[0] = overlay.data()[1] = 20;
        overlay.data()[2 * pixels] = overlay.data()[2 * pixels + 1] = 30;
        mask.data()[0] = mask.data()[pixels] = 255;
#ifdef _WIN64 // the second row is 4 GB away
        const int rows = 1;
        uint8_t *const first = image.data() + 2 - 2 * ptrdiff_t{INT_MAX - 1};
        const Bytes merged = {1, 1, 20, 20};
#else // and here two bytes before the first
        const int rows = 2;
        uint8_t *const first = image.data() + 6;
        const Bytes merged = {30, 30, 20, 20};
#endif
        EXPECT_SUCCESS(api().i32MergeRamToRam(first, INT_MAX, rows, 2, INT_MAX - 1, 0,
                                              overlay.data(), masked ? mask.data() : nullptr,
                                              pixels, 2, RECT{0, 0, 1, 2}, MERGE_NORMAL, 0));
        image.expect(merged);
    }
}

} // namespace
} // namespace q32::test
