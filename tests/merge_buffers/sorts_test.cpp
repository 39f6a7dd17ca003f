// Destinations, overlays and masks of every sort; buffers that are two things at once; and sharers,
// which keep the pixels that they had.
#include "tests/merge_buffers/merge_fixture.h"

namespace q32::test {
namespace {

class Sorts : public MergeTest {};

// One request inside, one that is clipped on all sides.
std::vector<Request> some_requests(Random &random) {
    return {{20, 30, {5, 6, 180, 140}, MERGE_NORMAL, between(random, 0, 99)},
            {-17, -9, {-3, -4, 300, 300}, between(random, 1, 15), between(random, 0, 99)}};
}

TEST_F(Sorts, EveryOverlayIntoEveryDestination) {
    Random random(test_seed(), 1);
    for (Sort from : all_sorts)
        for (Sort into : all_sorts)
            for (const int bits : usual_depths) {
                SCOPED_TRACE(std::string(name_of(from)) + " into " + name_of(into) + ", " +
                             std::to_string(bits) + " bits");
                Side overlay(from, bits, 190, 150, random);
                Side destination(into, bits, 200, 160, random);
                for (const Request &request : some_requests(random))
                    check_buffer_to_buffer(destination, nullptr, overlay, request);
                destination.expect_picture();
                overlay.expect_picture();
                if (HasFailure())
                    return;
            }
}

TEST_F(Sorts, EveryMask) {
    Random random(test_seed(), 2);
    for (Sort sort : all_sorts)
        for (const int bits : usual_depths) {
            SCOPED_TRACE(std::string(name_of(sort)) + ", " + std::to_string(bits) + " bits");
            Side mask(sort, 8, 190, 150, random);
            Side overlay(mask.cells().linear ? Sort::linear : Sort::tiled, bits, 190, 150, random);
            Side destination(bits, 200, 160, random);
            for (const Request &request : some_requests(random))
                check_buffer_to_buffer(destination, &mask, overlay, request);
            destination.expect_picture();
            Picture image = plain_picture(bits, 250, 210, random);
            check_buffer_to_memory(image, &mask, overlay, {40, 50, {5, 6, 180, 140}},
                                   random_fence(random));
            mask.expect_picture();
            overlay.expect_picture();
        }
}

TEST_F(Sorts, EveryOverlayIntoMemory) {
    Random random(test_seed(), 3);
    for (Sort sort : all_sorts)
        for (const int bits : usual_depths)
            for (bool masked : {false, true}) {
                SCOPED_TRACE(std::string(name_of(sort)) + ", " + std::to_string(bits) + " bits");
                Side overlay(sort, bits, 190, 150, random);
                Side mask(overlay.cells().linear ? Sort::linear : Sort::tiled, 8, 190, 150, random);
                make_mask(mask, random);
                for (int mode : {1, 2, 9, 12}) {
                    Picture image = plain_picture(bits, 200, 160, random);
                    check_buffer_to_memory(image, masked ? &mask : nullptr, overlay,
                                           {-20, 10, {0, 0, 190, 150}, mode, mode},
                                           random_fence(random));
                }
                overlay.expect_picture();
            }
}

// With memory at its limit everything over 128 x 128 lies in swap files, private copies too.
TEST_F(Sorts, InSwapFiles) {
    Random random(test_seed(), 4);
    set_memory_limit(1, 0);
    for (Sort sort : {Sort::tiled, Sort::linear, Sort::file, Sort::duplicate, Sort::shared,
                      Sort::one_colour, Sort::pattern}) {
        SCOPED_TRACE(name_of(sort));
        Side overlay(24, 190, 150, random), mask(8, 190, 150, random);
        Side destination(sort, 24, 200, 160, random);
        EXPECT_GT(mapped_bytes(), 0u);
        for (const Request &request : some_requests(random))
            check_buffer_to_buffer(destination, &mask, overlay, request);
        EXPECT_NE(word(destination, field_mapping), 0u);
        destination.expect_picture();
        overlay.expect_picture();
    }
    forget_memory_in_use();
}

// A destination of one colour or of a pattern becomes an ordinary buffer, but only when there is
// something to merge.
TEST_F(Sorts, SpecialDestinationsBecomeOrdinary) {
    Random random(test_seed(), 5);
    for (Sort sort : {Sort::one_colour, Sort::filled, Sort::pattern}) {
        SCOPED_TRACE(name_of(sort));
        Side overlay(24, 190, 150, random), destination(sort, 24, 200, 160, random);
        const auto type = word(destination, field_type);
        check_buffer_to_buffer(destination, nullptr, overlay, {200, 0, {0, 0, 50, 50}});
        EXPECT_EQ(word(destination, field_type), type);
        check_buffer_to_buffer(destination, nullptr, overlay, {199, 0, {0, 0, 50, 50}, 1, 100});
        EXPECT_EQ(word(destination, field_type), BUF32_TILED);
        destination.expect_picture();
    }
}

TEST_F(Sorts, SharersKeepTheirPixels) {
    Random random(test_seed(), 6);
    for (Sort sort : {Sort::duplicate, Sort::shared, Sort::linear_duplicate, Sort::bitmap_duplicate,
                      Sort::bitmap_shared}) {
        SCOPED_TRACE(name_of(sort));
        Side overlay(24, 190, 150, random), destination(sort, 24, 200, 160, random);
        const auto marker = [&] {
            return word(destination, field_share_marker) +
                   word(destination.partner(), field_share_marker);
        };
        // Nothing left: they go on sharing.
        check_buffer_to_buffer(destination, nullptr, overlay, {0, -50, {0, 0, 50, 50}});
        EXPECT_EQ(marker(), 64u);
        // Not even a merge that changes no pixel leaves them so.
        check_buffer_to_buffer(destination, nullptr, overlay, {0, 0, {0, 0, 50, 50}, 1, 100});
        EXPECT_EQ(marker(), 0u);
        check_buffer_to_buffer(destination, nullptr, overlay, {0, 0, {0, 0, 50, 50}});
        destination.expect_picture(); // and its partner's
    }
}

// --- one buffer as two -----------------------------------------------------------------------

TEST_F(Sorts, OntoItselfPixelForPixel) {
    Random random(test_seed(), 7);
    for (Sort sort : all_sorts)
        for (const int bits : usual_depths)
            for (const int mode : rectangle_modes) {
                SCOPED_TRACE(std::string(name_of(sort)) + ", " + std::to_string(bits) + " bits");
                Side both(sort, bits, 190, 150, random);
                check_buffer_to_buffer(both, nullptr, both,
                                       {20, 30, {20, 30, 170, 140}, mode, mode * 3});
                both.expect_picture();
                if (HasFailure())
                    return;
            }
}

TEST_F(Sorts, WithinItself) {
    Random random(test_seed(), 8);
    for (Sort sort : all_sorts)
        for (const int bits : usual_depths) {
            SCOPED_TRACE(std::string(name_of(sort)) + ", " + std::to_string(bits) + " bits");
            Side both(sort, bits, 300, 290, random);
            Side mask(both.cells().linear && sort != Sort::filled ? Sort::linear : Sort::tiled, 8,
                      300, 290, random);
            make_mask(mask, random);
            // To the right, to the left, up and down, between cells that the other part is in.
            const bool masked = sort != Sort::filled; // whose cells change
            check_buffer_to_buffer(both, masked ? &mask : nullptr, both,
                                   {150, 20, {0, 10, 150, 200}});
            check_buffer_to_buffer(both, masked ? &mask : nullptr, both,
                                   {-10, 60, {149, 40, 300, 250}, MERGE_ADD, 20});
            check_buffer_to_buffer(both, nullptr, both, {30, 140, {20, 0, 290, 140}, 13, 1});
            check_buffer_to_buffer(both, nullptr, both, {0, 0, {0, 145, 290, 290}, 4, 60});
            both.expect_picture();
        }
}

TEST_F(Sorts, TheOverlayAsItsOwnMask) {
    Random random(test_seed(), 9);
    for (Sort sort : all_sorts) {
        SCOPED_TRACE(name_of(sort));
        Side both(sort, 8, 190, 150, random), destination(8, 200, 160, random);
        check_buffer_to_buffer(destination, &both, both, {12, 13, {0, 0, 190, 150}, 14, 30});
        destination.expect_picture();
        Picture image = plain_picture(8, 210, 170, random);
        check_buffer_to_memory(image, &both, both, {12, 13, {0, 0, 190, 150}, 1, 30},
                               random_fence(random));
        both.expect_picture();
    }
}

TEST_F(Sorts, AnOverlayThatSharesWithTheDestination) {
    Random random(test_seed(), 10);
    for (bool onto_source : {false, true}) {
        Side first(24, 200, 160, random);
        HBUF32 handle = 0;
        ASSERT_EQ(api().buf32DupBuf(first, &handle), 1);
        const Buffer second(handle);
        Picture expected = first.picture;
        const Request request{30, 20, {0, 0, 150, 130}, MERGE_SCREEN, 10};
        model::merge_pictures(expected, nullptr, first.picture,
                              model::place(request, 200, 160, 200, 160), call_of(request, 3));
        EXPECT_SUCCESS(onto_source ? merge(first, 0, second, request)
                                   : merge(second, 0, first, request));
        expect_rows(onto_source ? HBUF32(first) : HBUF32(second), expected);
        expect_rows(onto_source ? HBUF32(second) : HBUF32(first), first.picture);
    }
}

// Every buffer of a call may be locked before it, and is so after it.
TEST_F(Sorts, LockedBeforehand) {
    Random random(test_seed(), 11);
    Side overlay(24, 190, 150, random), mask(8, 190, 150, random),
        destination(24, 200, 160, random);
    for (Side *side : {&overlay, &mask, &destination})
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(api().buf32Lock(*side, BUF32_READ, nullptr), 1);
    check_buffer_to_buffer(destination, &mask, overlay, {-20, -30, {0, 0, 190, 150}, 5, 30});
    Picture image = plain_picture(24, 190, 150, random);
    check_buffer_to_memory(image, &mask, overlay, {0, 0, {0, 0, 190, 150}},
                           MemoryBlock::fence_behind);
    for (Side *side : {&overlay, &mask, &destination}) {
        EXPECT_EQ(side->locks(), 3u);
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(api().buf32Unlock(*side), 1);
    }
    destination.expect_picture();
}

} // namespace
} // namespace q32::test
