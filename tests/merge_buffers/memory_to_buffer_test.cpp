// i32MergeRamToBuf refuses whatever it could merge into; what it answers depends on the order in
// which it looks at its arguments. Neither pixels nor the mask are read: their addresses here are
// nobody's.
#include "tests/merge_buffers/merge_fixture.h"

#include <climits>

namespace q32::test {
namespace {

const void *nobodys(uintptr_t address) {
    return reinterpret_cast<const void *>(address);
}

class MemoryToBuffer : public MergeTest {
protected:
    // An overlay of 30 x 20 pixels.
    static int merge(HBUF32 destination, const Request &request, int width = 30, int height = 20,
                     const void *mask = nullptr) {
        return api().i32MergeRamToBuf(destination, request.x, request.y, mask, nobodys(16),
                                      &request.rectangle, width, height, request.mode,
                                      request.transparency);
    }

    // The answer for a destination of 50 x 40 pixels, which stays as it is.
    static void expect(int result, int bits, const Request &request) {
        SCOPED_TRACE(std::to_string(bits) + " bits: " + text_of(request));
        Random random(test_seed(), 1);
        Side destination(Sort::duplicate, bits, 50, 40, random);
        for (const void *mask : {nobodys(0), nobodys(32)}) {
            forget_reports();
            EXPECT_EQ(merge(destination, request, 30, 20, mask), result);
            expect_no_report();
        }
        EXPECT_EQ(destination.locks(), 0u);
        EXPECT_EQ(destination.mode(), Side::no_mode);
        EXPECT_EQ(word(destination, field_share_marker), 64u);
        destination.expect_picture();
    }
};

constexpr RECT whole{0, 0, 30, 20};

TEST_F(MemoryToBuffer, WithSomethingLeft) {
    for (int bits : {1, 2, 4, 7, 8, 16, 24, 32, 64})
        for (const auto &[x, y] : {std::pair{0, 0},
                                   {-29, 0},
                                   {49, 0},
                                   {0, -19},
                                   {0, 39},
                                   {-29, -19},
                                   {49, 39},
                                   {10, 10}})
            for (int mode : {1, 2, 0, 16})
                expect(0, bits, {x, y, whole, mode, mode * 100});
}

// At the edge nothing is left, but whole bytes are refused first.
TEST_F(MemoryToBuffer, AtTheEdge) {
    for (const auto &[x, y] : {std::pair{-30, 0},
                               {0, -20},
                               {-30, -20},
                               {50, 0},
                               {0, 40},
                               {50, 40},
                               {51, 0},
                               {0, 41},
                               {51, 41},
                               {-30, 41},
                               {1000, 1000},
                               {INT_MAX, 0},
                               {0, INT_MAX},
                               {INT_MAX, INT_MAX}}) {
        for (int bits : {1, 2, 4, 7})
            expect(1, bits, {x, y, whole});
        for (int bits : {8, 16, 24, 32, 64})
            expect(0, bits, {x, y, whole});
    }
}

// Beyond the left and the upper edge nothing is left before the destination is looked at.
TEST_F(MemoryToBuffer, BeyondTheEdge) {
    for (const auto &[x, y] : {std::pair{-31, 0},
                               {0, -21},
                               {-31, -21},
                               {-31, 50},
                               {100, -21},
                               {-1000, 0},
                               {INT_MIN, 0},
                               {0, INT_MIN},
                               {INT_MIN, INT_MIN},
                               {INT_MAX, INT_MIN}})
        for (int bits : {1, 4, 8, 24, 64})
            expect(1, bits, {x, y, whole});
}

TEST_F(MemoryToBuffer, RectanglesThatReachBeyondTheOverlay) {
    for (int bits : {1, 24}) {
        const bool whole_bytes = bits == 24;
        // The corner of the rectangle goes to the place: five pixels of it are not there.
        expect(0, bits, {44, 0, {-5, 0, 10, 10}});
        expect(whole_bytes ? 0 : 1, bits, {45, 0, {-5, 0, 10, 10}});
        expect(0, bits, {-14, 0, {-5, 0, 10, 10}});
        expect(whole_bytes ? 0 : 1, bits, {-15, 0, {-5, 0, 10, 10}});
        expect(1, bits, {-16, 0, {-5, 0, 10, 10}});
        expect(0, bits, {0, -24, {0, -5, 9, INT_MAX}});
        expect(whole_bytes ? 0 : 1, bits, {0, -25, {0, -5, 9, INT_MAX}});
        expect(1, bits, {0, -26, {0, -5, 9, INT_MAX}});
        expect(0, bits, {-INT_MAX, -INT_MAX, {-INT_MAX, -INT_MAX, 50, 50}});
    }
}

TEST_F(MemoryToBuffer, RectanglesThatMissTheOverlay) {
    for (const RECT &rectangle : {RECT{30, 0, 40, 10},
                                  {-10, 0, 0, 10},
                                  {0, 20, 10, 30},
                                  {0, -10, 10, 0},
                                  {10, 5, 10, 9},
                                  {20, 0, 10, 10},
                                  {0, 10, 10, 5},
                                  {INT_MAX, 0, INT_MIN, 10}})
        for (int bits : {1, 24})
            for (int x : {0, -31, -100, 51})
                expect(0, bits, {x, 0, rectangle});
}

TEST_F(MemoryToBuffer, OverlaysWithoutPixels) {
    Random random(test_seed(), 2);
    for (int bits : {1, 24}) {
        Side destination(bits, 50, 40, random);
        for (int none : {0, -1, INT_MIN})
            for (int x : {0, -31}) {
                EXPECT_SILENT_FAILURE(merge(destination, {x, 0, whole}, none, 20));
                EXPECT_SILENT_FAILURE(merge(destination, {x, 0, whole}, 30, none));
                EXPECT_SILENT_FAILURE(merge(destination, {x, 0, whole}, none, none));
            }
    }
}

TEST_F(MemoryToBuffer, NullArguments) {
    Random random(test_seed(), 3);
    for (int bits : {1, 24}) {
        Side destination(bits, 50, 40, random);
        for (int x : {0, -31, 51}) {
            EXPECT_SILENT_FAILURE(merge(0, {x, 0, whole}));
            EXPECT_SILENT_FAILURE(api().i32MergeRamToBuf(destination, x, 0, nobodys(32), nullptr,
                                                         &whole, 30, 20, MERGE_NORMAL, 0));
            EXPECT_SILENT_FAILURE(api().i32MergeRamToBuf(
                destination, x, 0, nobodys(32), nobodys(16), nullptr, 30, 20, MERGE_NORMAL, 0));
        }
    }
}

// The handle is looked at when the rectangle has something left to the right of the left edge.
TEST_F(MemoryToBuffer, HandlesThatAreNoBuffers) {
    HBUF32 dead = 0;
    ASSERT_EQ(api().buf32Alloc(&dead, 1, 50, 40, BUF32_TILED, nullptr), 1);
    ASSERT_EQ(api().buf32Free(dead), 1);
    for (HBUF32 none : {dead, HBUF32(1), HBUF32(0xFFFFFFFF)}) {
        for (int x : {0, -29, -30, 50, 51, INT_MAX})
            EXPECT_SILENT_FAILURE(merge(none, {x, 0, whole}));
        for (int x : {-31, INT_MIN})
            EXPECT_SUCCESS(merge(none, {x, 0, whole}));
    }
}

TEST_F(MemoryToBuffer, DestinationsOfEverySort) {
    Random random(test_seed(), 4);
    for (Sort sort : all_sorts)
        for (int bits : {1, 8, 24}) {
            SCOPED_TRACE(std::string(name_of(sort)) + ", " + std::to_string(bits) + " bits");
            Side destination(sort, bits, 200, 160, random);
            const auto type = word(destination, field_type);
            EXPECT_SILENT_FAILURE(merge(destination, {0, 0, whole}));
            EXPECT_SUCCESS(merge(destination, {-31, 0, whole}));
            EXPECT_EQ(word(destination, field_type), type);
            EXPECT_EQ(destination.mode(), Side::no_mode);
            EXPECT_EQ(destination.locks(), 0u);
        }
}

TEST_F(MemoryToBuffer, NothingIsAskedOfTheSystem) {
    Random random(test_seed(), 5);
    Side destination(1, 300, 300, random);
    const FailingCall blocks("GlobalAlloc", 0), runtime("malloc", 0),
        priority("SetThreadPriority", 0);
    for (int mode = 0; mode <= 16; ++mode)
        EXPECT_SILENT_FAILURE(merge(destination, {0, 0, whole, mode}));
    EXPECT_EQ(blocks.calls() + runtime.calls() + priority.calls(), 0);
}

} // namespace
} // namespace q32::test
