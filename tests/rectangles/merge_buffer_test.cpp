// buf32MergeBuf: a rectangle of a buffer to any place of another one. The sizes of the strips in
// which it is copied are strips_test.cpp's.
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class MergeBuffer : public RectangleTest {};

int merge_buffer(HBUF32 source, const Area &area, HBUF32 destination, int x, int y) {
    return api().buf32MergeBuf(source, area.x, area.y, area.width, area.height, destination, x, y);
}

void check_merge_buffer(const Subject &source, const Area &area, Subject &destination, int x,
                        int y) {
    SCOPED_TRACE(text_of(area) + " to (" + std::to_string(x) + ", " + std::to_string(y) + ")");
    destination.picture.merge(source.picture, area, x, y);
    EXPECT_SUCCESS(merge_buffer(source, area, destination, x, y));
}

TEST_F(MergeBuffer, IntoEveryKindFromEveryKind) {
    Random random(test_seed(), 1);
    for (Kind from : writable_kinds) // caller memory is no source of this
        for (Kind into : writable_kinds) {
            SCOPED_TRACE(std::string(name_of(from)) + " into " + name_of(into));
            const int depths[] = {1, 2, 4, 8, 16, 24, 32, 48, 64};
            const int bits = depths[random.below(std::size(depths))];
            Subject source(from, bits, 260, 150, random);
            Subject destination(into, bits, 150, 260, random);
            for (int i = 0; i < 4; ++i) {
                check_merge_buffer(source, random_area(random, 260, 150), destination,
                                   between(random, -160, 160), between(random, -100, 270));
                destination.expect_picture();
            }
            source.expect_picture();
            if (HasFailure())
                return;
        }
}

TEST_F(MergeBuffer, OfAllDepths) {
    Random random(test_seed(), 2);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Subject source(Kind::tiled, bits, 270, 140, random);
        Subject destination(Kind::tiled, bits, 140, 135, random);
        for (int i = 0; i < 20; ++i) {
            check_merge_buffer(source, random_area(random, 270, 140), destination,
                               between(random, -130, 140), between(random, -130, 140));
            destination.expect_picture();
        }
        if (HasFailure())
            return;
    }
}

TEST_F(MergeBuffer, ByHand) {
    Buffer source(8, 4, 3), destination(8, 6, 5);
    Picture from(geometry_of(source)), into(geometry_of(destination));
    for (size_t i = 0; i < 12; ++i)
        from.image.bytes()[i] = uint8_t(i + 1);
    store(source, from.image);
    store(destination, into.image);
    EXPECT_SUCCESS(api().buf32MergeBuf(source, 1, 1, 2, 2, destination, 3, 0));
    EXPECT_SUCCESS(api().buf32MergeBuf(source, -1, -1, 9, 9, destination, 2, 2));
    EXPECT_SUCCESS(api().buf32MergeBuf(source, 0, 0, 4, 3, destination, -3, -1));
    const Bytes expected = {8,  0, 0, 6,  7,  0, //
                            12, 0, 0, 10, 11, 0, //
                            0,  0, 0, 0,  0,  0, //
                            0,  0, 0, 1,  2,  3, //
                            0,  0, 0, 5,  6,  7};
    EXPECT_EQ(read_rows(destination).bytes(), expected);
}

TEST_F(MergeBuffer, NothingLeftIsASuccess) {
    Random random(test_seed(), 3);
    Subject source(Kind::tiled, 8, 300, 200, random);
    Subject destination(Kind::duplicate, 8, 100, 50, random);
    const struct {
        Area area;
        int x, y;
    } cases[] = {
        {{300, 0, 20, 10}, 0, 0},
        {{-20, 0, 20, 10}, 0, 0},
        {{0, 200, 20, 10}, 0, 0},
        {{0, -10, 20, 10}, 0, 0},
        {{0, 0, 0, 10}, 0, 0},
        {{0, 0, 10, 0}, 0, 0},
        {{50, 50, -10, -10}, 0, 0},
        {{0, 0, 20, 10}, 100, 0},
        {{0, 0, 20, 10}, -20, 0},
        {{0, 0, 20, 10}, 0, 50},
        {{0, 0, 20, 10}, 0, -10},
        {{0, 0, 20, 10}, INT_MAX, 0},
        {{0, 0, 20, 10}, INT_MIN, 0},
        {{0, 0, 20, 10}, 0, INT_MAX},
        {{0, 0, 20, 10}, 0, INT_MIN},
        {{299, 199, 20, 10}, INT_MIN, INT_MIN},
        {{-5, -5, INT_MAX, INT_MAX}, INT_MAX, INT_MAX},
        {{-5, -5, INT_MAX, INT_MAX}, INT_MIN, INT_MIN},
        {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, 0, 0},
        {{INT_MAX, INT_MAX, INT_MAX, INT_MAX}, INT_MIN, INT_MIN},
        {{INT_MIN, INT_MIN, INT_MIN, INT_MIN}, INT_MIN, INT_MIN},
        {{-2147483000, 0, INT_MAX, 200}, 0, 0},
        {{-2147483000, 0, INT_MAX, 200}, INT_MAX, INT_MAX},
    };
    for (const auto &[area, x, y] : cases) {
        SCOPED_TRACE(text_of(area) + " to " + std::to_string(x) + ", " + std::to_string(y));
        StripWatch watch;
        EXPECT_SUCCESS(merge_buffer(source, area, destination, x, y));
        EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{});
    }
    EXPECT_EQ(word(destination, field_share_marker), 64u); // nothing was written
    destination.expect_picture();
    source.expect_picture();
}

// The corner of the rectangle is what comes to the destination's place, however far outside it is.
TEST_F(MergeBuffer, OfEndlessRectangles) {
    Random random(test_seed(), 4);
    Subject source(Kind::tiled, 24, 300, 200, random);
    Subject destination(Kind::tiled, 24, 280, 190, random);
    const struct {
        Area area;
        int x, y;
    } cases[] = {
        {{0, 0, INT_MAX, INT_MAX}, 0, 0},
        {{7, 9, INT_MAX, INT_MAX}, 100, 50},
        {{-7, -9, INT_MAX, INT_MAX}, -100, -50},
        {{-2147483000, 0, INT_MAX, 100}, -2147483000, 3},
        {{0, -2147483000, 100, INT_MAX}, 3, -2147483000},
        {{-2147483600, -2147483600, INT_MAX, INT_MAX}, -2147483605, -2147483590},
    };
    for (const auto &[area, x, y] : cases) {
        check_merge_buffer(source, area, destination, x, y);
        destination.expect_picture();
        source.expect_picture();
    }
}

TEST_F(MergeBuffer, OfAnotherDepthIsReported) {
    Random random(test_seed(), 5);
    Subject source(Kind::tiled, 24, 300, 200, random), bits(Kind::linear, 1, 300, 200, random),
        destination(Kind::duplicate, 32, 300, 200, random);
    for (const Subject *into : {&destination, &bits}) {
        EXPECT_REPORT(api().buf32MergeBuf(source, 0, 0, 300, 200, *into, 0, 0), 3200, 1, 4, 18);
        EXPECT_REPORT(api().buf32MergeBuf(source, 5, 5, 10, 10, *into, 7, 7), 3200, 1, 4, 18);
        EXPECT_SUCCESS(api().buf32MergeBuf(source, 5, 5, 10, 10, *into, 300, 7)); // nothing left
        into->expect_picture();
    }
    EXPECT_EQ(word(destination, field_share_marker), 64u);
}

TEST_F(MergeBuffer, WithoutAStripLeavesTheDestination) {
    Random random(test_seed(), 6);
    Subject source(Kind::tiled, 24, 300, 200, random);
    for (Kind kind : writable_kinds) {
        SCOPED_TRACE(name_of(kind));
        Subject destination(kind, 24, 200, 100, random);
        FailingCall strips("GlobalAlloc", 1, FailingCall::from_there_on);
        EXPECT_REPORT(api().buf32MergeBuf(source, 0, 0, 300, 200, destination, 5, 5), 1001, 1, 4,
                      19);
        destination.expect_picture();
    }
}

// All is read before the first pixel is written, as long as one strip holds it.
TEST_F(MergeBuffer, IntoItself) {
    Random random(test_seed(), 7);
    for (Kind kind : {Kind::tiled, Kind::linear, Kind::file, Kind::duplicate, Kind::shared}) {
        for (int bits : {1, 4, 24, 64}) {
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 300, 200));
            Subject subject(kind, bits, 300, 200, random);
            check_merge_buffer(subject, {10, 20, 200, 150}, subject, 15, 23);
            subject.expect_picture();
            check_merge_buffer(subject, {10, 20, 200, 150}, subject, 5, 17);
            subject.expect_picture();
            check_merge_buffer(subject, {0, 0, 300, 200}, subject, 0, 0);
            subject.expect_picture();
        }
    }
}

// Between a source and its duplicate, both ways: who is written gets its own pixels on the way.
TEST_F(MergeBuffer, BetweenTwoThatShare) {
    Random random(test_seed(), 8);
    for (Kind kind : {Kind::duplicate, Kind::shared, Kind::linear_duplicate}) {
        for (int bits : {1, 4, 24, 64}) {
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 300, 200));
            Subject subject(kind, bits, 300, 200, random);
            const Picture shared = subject.picture;
            subject.picture.merge(shared, {10, 20, 200, 150}, 15, 23);
            EXPECT_SUCCESS(merge_buffer(subject.partner(), {10, 20, 200, 150}, subject, 15, 23));
            subject.expect_picture();
        }
    }
}

TEST_F(MergeBuffer, NullsFailInSilence) {
    Buffer buffer(8, 30, 20);
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(0, 0, 0, 10, 10, buffer, 0, 0));
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(buffer, 0, 0, 10, 10, 0, 0, 0));
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(buffer, 99, 0, 10, 10, 0, 0, 0));
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(0, 0, 0, 10, 10, 0, 0, 0));
}

TEST_F(MergeBuffer, KeepsLocksAndModes) {
    Random random(test_seed(), 9);
    Subject source(Kind::tiled, 24, 300, 200, random),
        destination(Kind::tiled, 24, 300, 200, random);
    ASSERT_EQ(api().buf32Lock(source, 77, nullptr), 1);
    ASSERT_EQ(api().buf32Lock(destination, 78, nullptr), 1);
    check_merge_buffer(source, {10, 10, 300, 200}, destination, 3, 3);
    for (HBUF32 buffer : {HBUF32(source), HBUF32(destination)}) {
        EXPECT_EQ(word(buffer, field_lock_count), 1u);
        EXPECT_EQ(word(buffer, field_access_mode), buffer == HBUF32(source) ? 77u : 78u);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

} // namespace
} // namespace q32::test
