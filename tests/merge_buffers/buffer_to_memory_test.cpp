// i32MergeBufToRam: what it refuses, when nothing is left, and the lock counts that cells outside
// the image leave behind.
#include "tests/frame/edition.h"
#include "tests/merge_buffers/merge_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class BufferToMemory : public MergeTest {
protected:
    // Requests of a 30 x 20 overlay into an image of this size, which must stay as it is, as must
    // the buffers' access modes.
    void expect_untouched(const Request &request, int result, int width = 50, int height = 40) {
        Random random(test_seed(), 1);
        Side overlay(24, 30, 20, random), mask(8, 30, 20, random);
        MemoryBlock image(50 * 40 * 3, MemoryBlock::fence_behind, random);
        image.protect();
        for (HBUF32 weights : {HBUF32(0), HBUF32(mask)}) {
            SCOPED_TRACE(text_of(request));
            forget_reports();
            EXPECT_EQ(merge(image.data(), width, height, 3, weights, overlay, request), result);
            expect_no_report();
            for (const Side *side : {&overlay, &mask}) {
                EXPECT_EQ(side->mode(), Side::no_mode);
                EXPECT_EQ(side->locks(), 0u);
            }
        }
    }
};

TEST_F(BufferToMemory, ByHand) {
    Buffer overlay(8, 4, 3), mask(8, 4, 3);
    Picture from(geometry_of(overlay)), weights(geometry_of(mask));
    for (size_t i = 0; i < 12; ++i) {
        from.image.bytes()[i] = uint8_t(10 * (i + 1));
        weights.image.bytes()[i] = i % 4 == 3 ? 0 : i % 4 == 2 ? 128 : 255;
    }
    store(overlay, from.image);
    store(mask, weights.image);
    Bytes image(30);
    EXPECT_SUCCESS(merge(image.data(), 6, 5, 1, mask, overlay, {3, 0, {1, 1, 3, 3}}));
    EXPECT_SUCCESS(merge(image.data(), 6, 5, 1, 0, overlay, {2, 2, {-1, -1, 9, 9}}));
    EXPECT_SUCCESS(merge(image.data(), 6, 5, 1, 0, overlay, {-3, -1, {0, 0, 4, 3}}));
    const Bytes expected = {80,  0, 0, 60,  35, 0,  //
                            120, 0, 0, 100, 55, 0,  //
                            0,   0, 0, 0,   0,  0,  //
                            0,   0, 0, 10,  20, 30, //
                            0,   0, 0, 50,  60, 70};
    EXPECT_EQ(image, expected);
}

TEST_F(BufferToMemory, NothingLeft) {
    const RECT all{0, 0, 30, 20};
    for (const auto &[x, y] : {std::pair{-30, 0},
                               {-31, 0},
                               {50, 0},
                               {51, 0},
                               {0, -20},
                               {0, -21},
                               {0, 40},
                               {0, 41},
                               {-30, -20},
                               {50, 40},
                               {51, 41},
                               {-31, -21},
                               {INT_MIN, 0},
                               {INT_MAX, 0},
                               {0, INT_MIN},
                               {0, INT_MAX},
                               {INT_MIN, INT_MAX},
                               {INT_MAX, INT_MAX},
                               {INT_MIN, INT_MIN}})
        for (int mode : {1, 4, 0, 16})
            expect_untouched({x, y, all, mode}, 1);
    expect_untouched({45, 0, {-5, 0, 10, 10}}, 1);
    expect_untouched({-15, 0, {-5, 0, 10, 10}}, 1);
    expect_untouched({-16, 0, {-5, 0, 10, 10}}, 1);
    expect_untouched({0, 0, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}}, 1);
}

TEST_F(BufferToMemory, ImagesWithoutPixels) {
    for (int none : {0, -1, -1000, INT_MIN}) {
        expect_untouched({0, 0, {0, 0, 30, 20}}, 1, none, 40);
        expect_untouched({0, 0, {0, 0, 30, 20}}, 1, 50, none);
        expect_untouched({0, 0, {0, 0, 30, 20}}, 1, none, none);
        expect_untouched({-5, -5, {0, 0, 30, 20}}, 1, none, none);
    }
}

TEST_F(BufferToMemory, RectanglesThatMissTheOverlay) {
    const RECT misses[] = {{30, 0, 40, 10}, {-10, 0, 0, 10}, {0, 20, 10, 30}, {0, -10, 10, 0},
                           {10, 5, 10, 9},  {5, 9, 10, 9},   {20, 0, 10, 10}, {0, 10, 10, 5}};
    for (const RECT &rectangle : misses)
        for (int x : {0, -100, 100})
            expect_untouched({x, 0, rectangle}, 0);
}

TEST_F(BufferToMemory, NullPointersAndHandlesThatAreNoBuffers) {
    Random random(test_seed(), 2);
    Side overlay(24, 30, 20, random), mask(8, 30, 20, random);
    HBUF32 dead = 0;
    ASSERT_EQ(api().buf32Alloc(&dead, 24, 30, 20, BUF32_TILED, nullptr), 1);
    ASSERT_EQ(api().buf32Free(dead), 1);
    MemoryBlock image(50 * 40 * 3, MemoryBlock::fence_behind, random);
    image.protect();
    const Request request{0, 0, {0, 0, 30, 20}}, gone{-31, 0, {0, 0, 30, 20}};
    for (HBUF32 weights : {HBUF32(0), HBUF32(mask)}) {
        for (const Request &asked : {request, gone}) {
            EXPECT_SILENT_FAILURE(merge(nullptr, 50, 40, 3, weights, overlay, asked));
            for (HBUF32 none : {HBUF32(0), dead, HBUF32(1), HBUF32(0xFFFFFFFF)})
                EXPECT_SILENT_FAILURE(merge(image.data(), 50, 40, 3, weights, none, asked));
        }
        EXPECT_SILENT_FAILURE(api().i32MergeBufToRam(image.data(), 0, 0, 50, 40, 3, weights,
                                                     overlay, nullptr, MERGE_NORMAL, 0));
    }
    EXPECT_EQ(overlay.mode(), Side::no_mode);
    EXPECT_EQ(mask.mode(), Side::no_mode);
}

TEST_F(BufferToMemory, UnlikeBytesPerPixel) {
    Random random(test_seed(), 3);
    MemoryBlock image(50 * 40 * 8, MemoryBlock::fence_behind, random);
    image.protect();
    for (int bits : {1, 4, 8, 12, 16, 24, 32, 64})
        for (int bytes : {-1, 0, 1, 2, 3, 4, 5, 8, 9, 256 + 3, INT_MAX, INT_MIN}) {
            if (bytes == bits / 8)
                continue;
            SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(bytes) + " bytes");
            Side overlay(bits, 30, 20, random);
            EXPECT_SILENT_FAILURE(
                merge(image.data(), 50, 40, bytes, 0, overlay, {0, 0, {0, 0, 30, 20}}));
            EXPECT_SILENT_FAILURE(
                merge(image.data(), 50, 40, bytes, 0, overlay, {-31, 0, {0, 0, 30, 20}}));
            EXPECT_EQ(overlay.mode(), Side::no_mode);
        }
}

// Pixels under 8 bits have the 0 bytes that are asked for, but no such piece can be merged.
TEST_F(BufferToMemory, PixelsWithoutWholeBytes) {
    Random random(test_seed(), 4);
    MemoryBlock image(50 * 40 * 3, MemoryBlock::fence_behind, random);
    image.protect();
    for (int bits : {1, 2, 4, 7})
        for (bool masked : {false, true})
            for (int mode = 0; mode <= 16; ++mode) {
                Side overlay(bits, 30, 20, random), mask(8, 30, 20, random);
                const HBUF32 weights = masked ? HBUF32(mask) : 0;
                EXPECT_SUCCESS(merge(image.data(), 50, 40, 0, weights, overlay,
                                     {50, 0, {0, 0, 30, 20}, mode}));
                EXPECT_EQ(overlay.mode(), Side::no_mode);
                EXPECT_SILENT_FAILURE(
                    merge(image.data(), 50, 40, 0, weights, overlay, {0, 0, {0, 0, 30, 20}, mode}));
                EXPECT_EQ(overlay.mode(), uint32_t(BUF32_READ));
                EXPECT_EQ(overlay.locks(), 0u);
                EXPECT_EQ(mask.locks(), 0u);
            }
}

TEST_F(BufferToMemory, OtherModesAndTransparencies) {
    Random random(test_seed(), 5);
    Side overlay(24, 30, 20, random), mask(8, 30, 20, random);
    make_mask(mask, random);
    for (Side *weights : {static_cast<Side *>(nullptr), &mask})
        for (int mode : {0, 1, 5, 8, 15, 16, -1, 257, INT_MAX, INT_MIN})
            for (int transparency : {0, 100, -1, 101, INT_MIN, INT_MAX, 356}) {
                Picture image = plain_picture(24, 50, 40, random);
                check_buffer_to_memory(image, weights, overlay,
                                       {7, 9, {0, 0, 30, 20}, mode, transparency},
                                       MemoryBlock::fence_behind);
            }
    Side grey(8, 30, 20, random);
    for (int mode = 2; mode <= 5; ++mode) {
        Picture image = plain_picture(8, 50, 40, random);
        check_buffer_to_memory(image, nullptr, grey, {7, 9, {0, 0, 30, 20}, mode},
                               MemoryBlock::fence_behind);
    }
}

// An image of one row may claim to be as wide as a number can say.
TEST_F(BufferToMemory, TheWidestImage) {
    Random random(test_seed(), 6);
    Side overlay(24, 30, 20, random);
    MemoryBlock image(90, MemoryBlock::fence_behind, random);
    Bytes row(overlay.picture.image.row(4), overlay.picture.image.row(5));
    EXPECT_SUCCESS(merge(image.data(), INT_MAX, 1, 3, 0, overlay, {0, 0, {0, 4, 30, 5}}));
    image.expect(row);
    EXPECT_SUCCESS(merge(image.data(), INT_MAX, INT_MAX, 3, 0, overlay, {0, 0, {0, 5, 30, 6}}));
    image.expect(Bytes(overlay.picture.image.row(5), overlay.picture.image.row(6)));
}

// Rows that no address space reaches: such an image is nobody's.
TEST_F(BufferToMemory, ImagesThatNoMemoryHolds) {
    Random random(test_seed(), 10);
    Side overlay(24, 30, 20, random), mask(8, 30, 20, random);
    MemoryBlock image(90, MemoryBlock::fence_behind, random);
    image.protect();
    // In 64 bits, what reaches beyond 128 terabytes.
    const std::vector<Request> requests = frame::by_edition(
        std::vector{Request{0, 1, {0, 0, 30, 20}}, Request{0, 0, {0, 0, 30, 20}},
                    Request{0, INT_MAX - 1, {0, 0, 30, 20}},
                    Request{INT_MAX - 1, 0, {0, 0, 30, 20}}},
        std::vector{Request{0, INT_MAX - 1, {0, 0, 30, 20}}, Request{0, 21845, {0, 0, 30, 20}},
                    Request{INT_MAX - 1, 21845, {0, 0, 30, 20}}});
    for (HBUF32 weights : {HBUF32(0), HBUF32(mask)})
        for (const Request &request : requests)
            EXPECT_SILENT_FAILURE(
                merge(image.data(), INT_MAX, INT_MAX, 3, weights, overlay, request));
    EXPECT_EQ(overlay.locks() + mask.locks(), 0u);
}

// --- cells outside the image -----------------------------------------------------------------

// Locks of an overlay and a mask of three by three cells before and after.
struct Locks {
    uint32_t overlay_before, mask_before;
    int image_width, image_height; // how much of the overlay lies in the image
    bool masked;
    uint32_t overlay_after, mask_after;
    int too_many;       // unlocks of cells at a count of 0
    bool last_too_many; // the last unlock of the buffer, too
};

void PrintTo(const Locks &locks, std::ostream *out) {
    *out << locks.image_width << " x " << locks.image_height << (locks.masked ? ", mask" : "")
         << ", " << locks.overlay_before << " locks before";
}

class CellsOutsideTheImage : public BufferToMemory, public testing::WithParamInterface<Locks> {};

// Each such cell is unlocked once too often on the overlay when there is a mask, and never on the
// mask.
TEST_P(CellsOutsideTheImage, LockCounts) {
    const Locks locks = GetParam();
    Random random(test_seed(), 7);
    for (Sort sort : {Sort::tiled, Sort::file, Sort::one_colour}) {
        SCOPED_TRACE(name_of(sort));
        Side overlay(sort, 8, 300, 300, random), mask(8, 300, 300, random);
        for (uint32_t i = 0; i < locks.overlay_before; ++i)
            ASSERT_EQ(api().buf32Lock(overlay, BUF32_READ, nullptr), 1);
        for (uint32_t i = 0; i < locks.mask_before; ++i)
            ASSERT_EQ(api().buf32Lock(mask, BUF32_READ, nullptr), 1);
        Picture image = plain_picture(8, locks.image_width, locks.image_height, random);
        MemoryBlock memory(image.image.bytes().size(), MemoryBlock::fence_behind, random);
        memory.set(image.image.bytes());
        const Request request{0, 0, {0, 0, 300, 300}, MERGE_NORMAL, 0};
        model::merge_pictures(
            image, locks.masked ? &mask.picture : nullptr, overlay.picture,
            model::place(request, 300, 300, locks.image_width, locks.image_height),
            call_of(request, 1));

        forget_reports();
        EXPECT_EQ(merge(memory.data(), locks.image_width, locks.image_height, 1,
                        locks.masked ? HBUF32(mask) : 0, overlay, request),
                  1);
        const bool special = sort == Sort::one_colour;
        std::vector<Failure> reports(size_t(locks.too_many),
                                     special ? Failure{5804, 0, 2, 3} : Failure{5804, 0, 3, 2});
        if (locks.last_too_many)
            reports.push_back(special ? Failure{5804, 0, 2, 6} : Failure{5804, 1, 3, 4});
        EXPECT_EQ(frame::reports(), reports);
        forget_reports();
        EXPECT_EQ(overlay.locks(), locks.overlay_after);
        EXPECT_EQ(mask.locks(), locks.mask_after);
        memory.expect(image.image.bytes());
        set_word(overlay, field_lock_count, 0);
        set_word(mask, field_lock_count, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, CellsOutsideTheImage,
    testing::Values(
        // One cell inside, eight outside. The second of them takes the overlay's own lock, the
        // other seven what is not there, and so does the end.
        Locks{0, 0, 100, 100, true, 0, 8, 7, true}, Locks{0, 0, 128, 128, true, 0, 8, 7, true},
        Locks{1, 0, 100, 100, true, 0, 8, 6, true}, Locks{7, 3, 100, 100, true, 0, 11, 0, true},
        Locks{8, 0, 100, 100, true, 0, 8, 0, false}, Locks{20, 2, 100, 100, true, 12, 10, 0, false},
        // Two columns of cells inside, one outside.
        Locks{0, 0, 129, 300, true, 0, 3, 2, true}, Locks{0, 0, 256, 300, true, 0, 3, 2, true},
        Locks{5, 0, 256, 999, true, 2, 3, 0, false},
        // Two bands inside, one outside.
        Locks{0, 0, 300, 256, true, 0, 3, 2, true}, Locks{9, 9, 999, 200, true, 6, 12, 0, false},
        // A single cell outside.
        Locks{0, 0, 257, 300, true, 0, 0, 0, false}, Locks{0, 0, 300, 257, true, 0, 0, 0, false},
        Locks{0, 0, 300, 300, true, 0, 0, 0, false}, Locks{2, 2, 999, 999, true, 2, 2, 0, false},
        // Without a mask nothing of the kind.
        Locks{0, 0, 100, 100, false, 0, 0, 0, false}, Locks{0, 0, 129, 300, false, 0, 0, 0, false},
        Locks{3, 1, 300, 256, false, 3, 1, 0, false}));

// What lies to the left of the image or above it is cut from the rectangle and costs nothing.
TEST_F(BufferToMemory, CellsLeftOfTheImageAndAbove) {
    Random random(test_seed(), 8);
    Side overlay(24, 300, 300, random), mask(8, 300, 300, random);
    make_mask(mask, random);
    for (const auto &[x, y] : {std::pair{-200, 0}, {0, -200}, {-260, -260}, {-128, -256}}) {
        Picture image = plain_picture(24, 300, 300, random);
        check_buffer_to_memory(image, &mask, overlay, {x, y, {0, 0, 300, 300}, 12, 7},
                               random_fence(random));
    }
}

// One cell of a linear overlay is never outside: it always holds the rectangle.
TEST_F(BufferToMemory, TheCellOfALinearOverlay) {
    Random random(test_seed(), 9);
    Side overlay(Sort::linear, 24, 300, 300, random), mask(Sort::linear, 8, 300, 300, random);
    Picture image = plain_picture(24, 60, 50, random);
    check_buffer_to_memory(image, &mask, overlay, {-20, -30, {0, 0, 300, 300}, 1, 7},
                           random_fence(random));
}

} // namespace
} // namespace q32::test
