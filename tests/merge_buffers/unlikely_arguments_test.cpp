// What no program means: masks whose buffers are gone, images that no memory holds. Refused, before
// anything is read or written through them.
#include "tests/merge_buffers/merge_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class UnlikelyArguments : public MergeTest {};

TEST_F(UnlikelyArguments, MasksThatAreNoBuffers) {
    Random random(test_seed(), 1);
    Side overlay(24, 200, 150, random), destination(24, 200, 150, random);
    MemoryBlock image(200 * 150 * 3, MemoryBlock::fence_behind, random);
    image.protect();
    HBUF32 dead = 0;
    ASSERT_EQ(api().buf32Alloc(&dead, 8, 200, 150, BUF32_TILED, nullptr), 1);
    ASSERT_EQ(api().buf32Free(dead), 1);
    const Request all{0, 0, {0, 0, 200, 150}}, none{-200, 0, {0, 0, 200, 150}};
    for (HBUF32 mask : {dead, HBUF32(1), HBUF32(0x12345678), HBUF32(0xFFFFFFFF)}) {
        EXPECT_SILENT_FAILURE(merge(destination, mask, overlay, all));
        EXPECT_SILENT_FAILURE(merge(image.data(), 200, 150, 3, mask, overlay, all));
        EXPECT_EQ(overlay.locks() + destination.locks(), 0u);
        // Masks are not looked at where nothing is left.
        EXPECT_SUCCESS(merge(destination, mask, overlay, none));
        EXPECT_SUCCESS(merge(image.data(), 200, 150, 3, mask, overlay, none));
    }
    destination.expect_picture();
}

// The last row begins 2^61 - 2 pixels of 8 bytes behind the image: 16 bytes before it, if numbers
// of 64 bits wrapped.
TEST_F(UnlikelyArguments, ImagesBeyondNumbersOf64Bits) {
    Random random(test_seed(), 2);
    Side overlay(64, 30, 20, random), mask(8, 30, 20, random);
    MemoryBlock image(30 * 8, MemoryBlock::fence_before, random);
    image.protect();
    for (HBUF32 weights : {HBUF32(0), HBUF32(mask)})
        EXPECT_SILENT_FAILURE(merge(image.data(), (1 << 30) + 1, INT_MAX, 8, weights, overlay,
                                    {0, INT_MAX - 1, {0, 0, 30, 1}}));
    EXPECT_EQ(overlay.locks() + mask.locks(), 0u);
}

} // namespace
} // namespace q32::test
