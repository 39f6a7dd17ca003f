// i32MergeBufToBuf by literal examples: what is clipped, what is refused, and when nothing is left.
#include "tests/merge_buffers/merge_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class BufferToBuffer : public MergeTest {
protected:
    // Result and effect of requests of a 30 x 20 overlay into a duplicate of 50 x 40. One that does
    // not get as far as a lock leaves the duplicate's pixels shared and all access modes.
    void expect_untouched(const Request &request, int result) {
        Random random(test_seed(), 1);
        Side overlay(24, 30, 20, random), destination(Sort::duplicate, 24, 50, 40, random);
        Side mask(8, 30, 20, random);
        for (HBUF32 weights : {HBUF32(0), HBUF32(mask)}) {
            SCOPED_TRACE(text_of(request));
            forget_reports();
            EXPECT_EQ(merge(destination, weights, overlay, request), result);
            expect_no_report();
            EXPECT_EQ(word(destination, field_share_marker), 64u);
            for (const Side *side : {&overlay, &destination, &mask}) {
                EXPECT_EQ(side->mode(), Side::no_mode);
                EXPECT_EQ(side->locks(), 0u);
            }
        }
        destination.expect_picture();
    }
};

TEST_F(BufferToBuffer, ByHand) {
    Buffer overlay(8, 4, 3), destination(8, 6, 5), mask(8, 4, 3);
    Picture from(geometry_of(overlay)), weights(geometry_of(mask)), into(geometry_of(destination));
    for (size_t i = 0; i < 12; ++i) {
        from.image.bytes()[i] = uint8_t(10 * (i + 1));
        weights.image.bytes()[i] = i % 4 == 3 ? 0 : i % 4 == 2 ? 128 : 255;
    }
    store(overlay, from.image);
    store(mask, weights.image);
    store(destination, into.image);
    // 60, 70 and 100, 110, the right ones at half their weight.
    EXPECT_SUCCESS(merge(destination, mask, overlay, {3, 0, {1, 1, 3, 3}}));
    EXPECT_SUCCESS(merge(destination, 0, overlay, {2, 2, {-1, -1, 9, 9}}));
    EXPECT_SUCCESS(merge(destination, 0, overlay, {-3, -1, {0, 0, 4, 3}}));
    const Bytes expected = {80,  0, 0, 60,  35, 0,  //
                            120, 0, 0, 100, 55, 0,  //
                            0,   0, 0, 0,   0,  0,  //
                            0,   0, 0, 10,  20, 30, //
                            0,   0, 0, 50,  60, 70};
    EXPECT_EQ(read_rows(destination).bytes(), expected);
}

TEST_F(BufferToBuffer, OneColumnAndOneRowAtTheEdges) {
    Random random(test_seed(), 2);
    Side overlay(24, 30, 20, random);
    for (const auto &[x, y] :
         {std::pair{-29, 0}, {49, 0}, {0, -19}, {0, 39}, {49, 39}, {-29, -19}}) {
        Side destination(24, 50, 40, random);
        Picture expected = destination.picture;
        for (int j = 0; j < 20; ++j)
            for (int i = 0; i < 30; ++i)
                if (expected.holds(x + i, y + j))
                    std::memcpy(model::pixel_of(expected, x + i, y + j),
                                model::pixel_of(overlay.picture, i, j), 3);
        EXPECT_SUCCESS(merge(destination, 0, overlay, {x, y, {0, 0, 30, 20}}));
        EXPECT_NE(expected.image.bytes(), destination.picture.image.bytes());
        expect_rows(destination, expected);
    }
}

TEST_F(BufferToBuffer, NothingLeft) {
    const RECT all{0, 0, 30, 20};
    for (const auto &[x, y] : {std::pair{-30, 0},
                               {-31, 0},
                               {-32, 0},
                               {50, 0},
                               {51, 0},
                               {52, 0},
                               {0, -20},
                               {0, -21},
                               {0, 40},
                               {0, 41},
                               {-30, -20},
                               {-31, 41},
                               {50, 40},
                               {51, 41},
                               {-31, -21},
                               {1000000, 0},
                               {0, -1000000}})
        for (int mode : {1, 4, 0, 16, INT_MIN}) // which is not looked at
            expect_untouched({x, y, all, mode}, 1);
    // The corner of the rectangle goes to the place, even where it lies outside the overlay.
    expect_untouched({45, 0, {-5, 0, 10, 10}}, 1);
    expect_untouched({0, 30, {0, -10, 10, 10}}, 1);
    expect_untouched({-15, 0, {-5, 0, 10, 10}}, 1);
    expect_untouched({-16, 0, {-5, 0, 10, 10}}, 1);
    expect_untouched({-35, 0, {-5, 0, 50, 10}}, 1);
}

TEST_F(BufferToBuffer, TheFirstPixelsThatAreLeft) {
    Random random(test_seed(), 3);
    Side overlay(24, 30, 20, random), destination(24, 50, 40, random);
    const Bytes start = destination.picture.image.bytes();
    for (const Request &request :
         {Request{44, 0, {-5, 0, 10, 10}}, Request{0, 29, {0, -10, 10, 10}},
          Request{-14, 0, {-5, 0, 10, 10}}, Request{-34, 0, {-5, 0, 50, 10}}}) {
        check_buffer_to_buffer(destination, nullptr, overlay, request);
        destination.expect_picture();
    }
    EXPECT_NE(start, destination.picture.image.bytes());
}

TEST_F(BufferToBuffer, RectanglesThatMissTheOverlay) {
    const RECT misses[] = {{30, 0, 40, 10},     {-10, 0, 0, 10},     {0, 20, 10, 30},
                           {0, -10, 10, 0},     {10, 5, 10, 9},      {5, 9, 10, 9},
                           {20, 0, 10, 10},     {0, 10, 10, 5},      {30, 20, 31, 21},
                           {0, 0, 0, 0},        {30, 20, 0, 0},      {INT_MAX, 0, INT_MIN, 10},
                           {30, 0, INT_MAX, 9}, {INT_MIN, 0, 0, 10}, {5, INT_MIN, 9, INT_MIN}};
    for (const RECT &rectangle : misses)
        for (int x : {0, -100, 100}) // where a rectangle that met it would leave nothing
            expect_untouched({x, 0, rectangle}, 0);
}

TEST_F(BufferToBuffer, NullRectangle) {
    Random random(test_seed(), 4);
    Side overlay(24, 30, 20, random), destination(24, 50, 40, random);
    EXPECT_SILENT_FAILURE(
        api().i32MergeBufToBuf(destination, 0, 0, 0, overlay, nullptr, MERGE_NORMAL, 0));
    EXPECT_EQ(destination.mode(), Side::no_mode);
    destination.expect_picture();
}

TEST_F(BufferToBuffer, HandlesThatAreNoBuffers) {
    Random random(test_seed(), 5);
    Side overlay(24, 30, 20, random), destination(24, 50, 40, random), mask(8, 30, 20, random);
    HBUF32 dead = 0;
    ASSERT_EQ(api().buf32Alloc(&dead, 24, 30, 20, BUF32_TILED, nullptr), 1);
    ASSERT_EQ(api().buf32Free(dead), 1);
    const Request request{0, 0, {0, 0, 30, 20}};
    for (HBUF32 none : {HBUF32(0), dead, HBUF32(1), HBUF32(0x12345678), HBUF32(0xFFFFFFFF)}) {
        for (HBUF32 weights : {HBUF32(0), HBUF32(mask)}) {
            EXPECT_SILENT_FAILURE(merge(none, weights, overlay, request));
            EXPECT_SILENT_FAILURE(merge(destination, weights, none, request));
            EXPECT_SILENT_FAILURE(merge(none, weights, none, request));
        }
        // Not even where nothing would be left.
        EXPECT_SILENT_FAILURE(merge(none, 0, overlay, {-31, 0, {0, 0, 30, 20}}));
    }
    for (const Side *side : {&overlay, &destination, &mask}) {
        EXPECT_EQ(side->mode(), Side::no_mode);
        EXPECT_EQ(side->locks(), 0u);
    }
    destination.expect_picture();
}

TEST_F(BufferToBuffer, UnlikeBytesPerPixel) {
    Random random(test_seed(), 6);
    const int depths[] = {1, 2, 4, 7, 8, 15, 16, 24, 32, 64};
    for (int from : depths)
        for (int into : depths) {
            if (from / 8 == into / 8 && into >= 8)
                continue;
            SCOPED_TRACE(std::to_string(from) + " into " + std::to_string(into));
            Side overlay(from, 30, 20, random), destination(into, 50, 40, random);
            EXPECT_SILENT_FAILURE(merge(destination, 0, overlay, {0, 0, {0, 0, 30, 20}}));
            // This comes before what is left of the rectangle.
            EXPECT_SILENT_FAILURE(merge(destination, 0, overlay, {-31, 0, {0, 0, 30, 20}}));
            EXPECT_SILENT_FAILURE(merge(destination, 0, overlay, {51, 41, {0, 0, 30, 20}}));
            EXPECT_EQ(destination.mode(), Side::no_mode);
            EXPECT_EQ(overlay.mode(), Side::no_mode);
            destination.expect_picture();
        }
}

// A mode that does not exist fails as a piece: after the locks, before any pixel.
TEST_F(BufferToBuffer, OtherModes) {
    Random random(test_seed(), 7);
    for (bool masked : {false, true})
        for (int mode : {0, 16, 17, -1, 0x101, 0x10001, INT_MAX, INT_MIN})
            for (int transparency : {0, 100}) {
                Side overlay(24, 30, 20, random), mask(8, 30, 20, random);
                Side destination(Sort::duplicate, 24, 50, 40, random);
                check_buffer_to_buffer(destination, masked ? &mask : nullptr, overlay,
                                       {0, 0, {0, 0, 30, 20}, mode, transparency});
                EXPECT_EQ(destination.mode(), uint32_t(BUF32_WRITE_3));
                EXPECT_EQ(word(destination, field_share_marker), 0u);
                destination.expect_picture();
            }
    for (int mode = 2; mode <= 5; ++mode) {
        Side overlay(8, 30, 20, random), destination(8, 50, 40, random);
        EXPECT_SILENT_FAILURE(merge(destination, 0, overlay, {0, 0, {0, 0, 30, 20}, mode}));
        destination.expect_picture();
    }
}

TEST_F(BufferToBuffer, TransparencyIsPercent) {
    Random random(test_seed(), 8);
    const auto merged = [&](int mode, int transparency) {
        Random same(test_seed(), 9);
        Side overlay(24, 30, 20, same), destination(24, 50, 40, same);
        EXPECT_SUCCESS(merge(destination, 0, overlay, {3, 3, {0, 0, 30, 20}, mode, transparency}));
        return read_rows(destination).bytes();
    };
    for (const int mode : rectangle_modes) {
        SCOPED_TRACE(mode);
        for (int below : {-1, -5, -100, -256, INT_MIN, INT_MIN + 1})
            EXPECT_EQ(merged(mode, below), merged(mode, 0)) << below;
        for (int above : {101, 250, 256, 512, INT_MAX, INT_MAX - 1})
            EXPECT_EQ(merged(mode, above), merged(mode, 100)) << above;
        EXPECT_NE(merged(mode, 0), merged(mode, 100));
    }
}

// Coordinates at the ends of their range.
TEST_F(BufferToBuffer, FarAway) {
    const RECT all{0, 0, 30, 20}, huge{INT_MIN, INT_MIN, INT_MAX, INT_MAX};
    for (int x : {INT_MIN, INT_MIN + 1, INT_MIN + 30, INT_MAX - 30, INT_MAX - 1, INT_MAX})
        for (int y : {INT_MIN, 0, INT_MAX}) {
            expect_untouched({x, y, all}, 1);
            expect_untouched({y, x, all}, 1);
            expect_untouched({x, y, {-10, -10, INT_MAX, INT_MAX}}, 1);
        }
    expect_untouched({0, 0, huge}, 1);
    expect_untouched({INT_MAX, INT_MAX, huge}, 1);
    expect_untouched({0, INT_MAX, {INT_MIN + 1, -5, 30, 20}}, 1);
}

// The rectangle's corner and its place are so far out that the overlay comes to lie in the
// destination again.
TEST_F(BufferToBuffer, FarAwayAndBack) {
    Random random(test_seed(), 10);
    Side overlay(24, 30, 20, random), destination(24, 50, 40, random);
    for (const Request &request : {Request{INT_MIN, INT_MIN, {INT_MIN, INT_MIN, 50, 50}},
                                   Request{-INT_MAX, -INT_MAX, {-INT_MAX, -INT_MAX, 50, 50}},
                                   Request{-INT_MAX + 7, -INT_MAX + 5, {-INT_MAX, -INT_MAX, 9, 9}},
                                   Request{-2000000000, 0, {-2000000000, 0, INT_MAX, INT_MAX}},
                                   Request{-INT_MAX, 3, {-INT_MAX + 9, 3, INT_MAX, 17}}}) {
        const Bytes before = destination.picture.image.bytes();
        check_buffer_to_buffer(destination, nullptr, overlay, request);
        EXPECT_NE(before, destination.picture.image.bytes());
        destination.expect_picture();
        make_mask(destination, random);
    }
}

TEST_F(BufferToBuffer, ThePriorityStays) {
    Random random(test_seed(), 11);
    Side overlay(24, 200, 180, random), destination(24, 200, 180, random),
        mask(8, 200, 180, random);
    const FailingCall set("SetThreadPriority", 0), get("GetThreadPriority", 0);
    for (int mode = 0; mode <= 16; ++mode)
        for (HBUF32 weights : {HBUF32(0), HBUF32(mask)}) {
            EXPECT_EQ(merge(destination, weights, overlay, {0, 0, {0, 0, 200, 180}, mode}),
                      mode >= 1 && mode <= 15 ? 1 : 0);
            Bytes memory(200 * 180 * 3);
            EXPECT_EQ(
                merge(memory.data(), 200, 180, 3, weights, overlay, {0, 0, {0, 0, 200, 180}, mode}),
                mode >= 1 && mode <= 15 ? 1 : 0);
        }
    EXPECT_EQ(set.calls(), 0);
    EXPECT_EQ(get.calls(), 0);
}

} // namespace
} // namespace q32::test
