// The strips in which pixels go from buffer to buffer: what is asked of the global heap, how little
// memory is enough, and what a caller sees of the rectangle that is not cut to the destination.
#include "tests/rectangles/rectangle_fixture.h"

namespace q32::test {
namespace {

class Strips : public RectangleTest {};

using Sizes = std::vector<SIZE_T>;

int merge_buffer(HBUF32 source, const Area &area, HBUF32 destination, int x, int y) {
    return api().buf32MergeBuf(source, area.x, area.y, area.width, area.height, destination, x, y);
}

// --- sizes -----------------------------------------------------------------------------------

// What MergeBuf copies ends at the right and bottom of the source's rectangle before it is cut to
// the destination: the strip is larger than what arrives. Required: programs depend on how much
// memory this asks for, and on the failure below.
TEST_F(Strips, OfMergeBufAreNotCutToTheRightAndBottomOfTheDestination) {
    Random random(test_seed(), 1);
    for (Kind kind : {Kind::tiled, Kind::linear, Kind::linear_memory, Kind::linear_shrink,
                      Kind::file, Kind::duplicate}) {
        SCOPED_TRACE(name_of(kind));
        Subject source(kind, 8, 100, 80, random);
        Subject destination(Kind::tiled, 8, 50, 40, random);
        const struct {
            Area area;
            int x, y;
            SIZE_T bytes;
        } cases[] = {
            {{0, 0, 100, 80}, 10, 10, 100 * 80},       // 40 x 30 of it arrive
            {{0, 0, 100, 80}, 0, 0, 100 * 80},         // 50 x 40
            {{5, 6, 50, 40}, -3, -2, 47 * 38},         // cut at the left and top: 3 and 2
            {{-10, -10, 200, 200}, -20, -15, 90 * 75}, // 10 and 5 off the left and top
            {{-10, -10, 60, 50}, -30, -30, 30 * 20},   // 20 off, and cut to the source: 50 x 40
            {{90, 70, 100, 100}, 49, 39, 10 * 10},     // one pixel arrives
            {{20, 30, 7, 5}, 3, 4, 7 * 5},
        };
        for (const auto &[area, x, y, bytes] : cases) {
            SCOPED_TRACE(text_of(area));
            StripWatch watch;
            destination.picture.merge(source.picture, area, x, y);
            EXPECT_SUCCESS(merge_buffer(source, area, destination, x, y));
            EXPECT_EQ(watch.asked(), Sizes{bytes});
            EXPECT_TRUE(watch.all_fixed());
            destination.expect_picture();
        }
    }
}

// One colour takes all four sides after both cuts.
TEST_F(Strips, OfMergeBufFromOneColourAreCutToTheDestination) {
    Random random(test_seed(), 2);
    OneColourSubject source(8, 100, 80);
    Subject destination(Kind::tiled, 8, 50, 40, random);
    const struct {
        Area area;
        int x, y;
        SIZE_T bytes;
    } cases[] = {
        {{0, 0, 100, 80}, 10, 10, 40 * 30}, {{0, 0, 100, 80}, 0, 0, 50 * 40},
        {{5, 6, 50, 40}, -3, -2, 47 * 38},  {{-10, -10, 200, 200}, -20, -15, 50 * 40},
        {{90, 70, 100, 100}, 49, 39, 1},    {{20, 30, 7, 5}, 3, 4, 7 * 5},
    };
    for (const auto &[area, x, y, bytes] : cases) {
        SCOPED_TRACE(text_of(area));
        StripWatch watch;
        destination.picture.merge(source.picture, area, x, y);
        EXPECT_SUCCESS(merge_buffer(source, area, destination, x, y));
        EXPECT_EQ(watch.asked(), Sizes{bytes});
        EXPECT_TRUE(watch.all_fixed());
        destination.expect_picture();
    }
}

TEST_F(Strips, OfGetBufAreCutToTheDestination) {
    Random random(test_seed(), 3);
    Subject tiled(Kind::tiled, 8, 100, 80, random), linear(Kind::linear, 8, 100, 80, random),
        destination(Kind::tiled, 8, 50, 40, random);
    OneColourSubject one_colour(8, 100, 80);
    for (HBUF32 source : {HBUF32(tiled), HBUF32(linear), HBUF32(one_colour)}) {
        const struct {
            Area area;
            SIZE_T bytes;
        } cases[] = {{{10, 10, 100, 80}, 50 * 40},
                     {{60, 50, 100, 80}, 40 * 30},
                     {{-20, -15, 200, 100}, 30 * 25},
                     {{0, 0, 7, 5}, 7 * 5}};
        for (const auto &[area, bytes] : cases) {
            SCOPED_TRACE(text_of(area));
            HBUF32 handle = destination;
            StripWatch watch;
            EXPECT_SUCCESS(
                api().buf32GetBuf(source, area.x, area.y, area.width, area.height, &handle));
            EXPECT_EQ(watch.asked(), Sizes{bytes});
            EXPECT_TRUE(watch.all_fixed());
        }
    }
}

TEST_F(Strips, HaveRowsPackedToTheByteOrWholePixels) {
    Random random(test_seed(), 4);
    const struct {
        int bits;
        SIZE_T row_bytes; // of 77 pixels
    } rows[] = {{1, 10}, {2, 20},  {3, 29},   {4, 39},   {5, 49},   {6, 58},   {7, 68},
                {8, 77}, {12, 77}, {16, 154}, {24, 231}, {32, 308}, {48, 462}, {64, 616}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.bits);
        Subject source(Kind::tiled, row.bits, 100, 80, random),
            destination(Kind::tiled, row.bits, 100, 80, random);
        StripWatch watch;
        EXPECT_SUCCESS(merge_buffer(source, {3, 5, 77, 11}, destination, 9, 2));
        HBUF32 handle = destination;
        EXPECT_SUCCESS(api().buf32GetBuf(source, 3, 5, 77, 11, &handle));
        EXPECT_EQ(watch.asked(), Sizes({row.row_bytes * 11, row.row_bytes * 11}));
    }
}

// --- little memory ---------------------------------------------------------------------------

TEST_F(Strips, AreHalvedDownToOneRow) {
    Random random(test_seed(), 5);
    Subject source(Kind::tiled, 24, 150, 100, random);
    const struct {
        int height;
        std::vector<SIZE_T> rows; // of each strip that is asked for
    } cases[] = {{80, {80, 40, 20, 10, 5, 2, 1}},
                 {81, {81, 40, 20, 10, 5, 2, 1}},
                 {7, {7, 3, 1}},
                 {3, {3, 1}},
                 {2, {2, 1}},
                 {1, {1}},
                 {100, {100, 50, 25, 12, 6, 3, 1}}};
    for (const auto &[height, rows] : cases) {
        for (size_t tries = 1; tries <= rows.size(); ++tries) {
            SCOPED_TRACE(std::to_string(height) + " rows, " + std::to_string(tries) + " tries");
            Subject merged(Kind::tiled, 24, 150, 100, random),
                got(Kind::tiled, 24, 150, 100, random);
            Sizes asked;
            for (size_t i = 0; i < tries; ++i)
                asked.push_back(rows[i] * 93);
            merged.picture.merge(source.picture, {100, 0, 31, height}, 119, 0);
            got.picture.merge(source.picture, {100, 0, 31, height}, 0, 0);
            {
                StripWatch watch(asked.back());
                EXPECT_SUCCESS(merge_buffer(source, {100, 0, 31, height}, merged, 119, 0));
                EXPECT_EQ(watch.asked(), asked);
            }
            {
                StripWatch watch(asked.back());
                HBUF32 handle = got;
                EXPECT_SUCCESS(api().buf32GetBuf(source, 100, 0, 31, height, &handle));
                EXPECT_EQ(watch.asked(), asked);
            }
            merged.expect_picture();
            got.expect_picture();
        }
        // Nor one row.
        SCOPED_TRACE(height);
        Subject destination(Kind::tiled, 24, 150, 100, random);
        Sizes asked;
        for (SIZE_T count : rows)
            asked.push_back(count * 93);
        {
            StripWatch watch(92);
            EXPECT_REPORT(merge_buffer(source, {100, 0, 31, height}, destination, 119, 0), 1001, 1,
                          4, 19);
            EXPECT_EQ(watch.asked(), asked);
        }
        {
            StripWatch watch(92);
            HBUF32 handle = destination;
            EXPECT_REPORT(api().buf32GetBuf(source, 100, 0, 31, height, &handle), 1001, 1, 4, 19);
            EXPECT_EQ(watch.asked(), asked);
            EXPECT_EQ(handle, HBUF32(destination));
        }
        destination.expect_picture();
    }
}

TEST_F(Strips, OfAnyHeightGiveTheSamePixels) {
    Random random(test_seed(), 6);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Subject source(Kind::tiled, bits, 280, 150, random);
        for (int i = 0; i < 12; ++i) {
            Subject destination(i % 2 == 0 ? Kind::tiled : Kind::linear, bits, 290, 300, random);
            // A rectangle that fits: nothing is beyond the bottom of the destination.
            const Area area{between(random, -20, 270), between(random, -20, 140),
                            between(random, 30, 150), between(random, 30, 150)};
            const int x = between(random, -20, 150), y = between(random, -20, 150);
            const auto row_bytes = SIZE_T(block_row_bytes(bits, area.width));
            StripWatch watch(row_bytes * random.below(20) + row_bytes);
            destination.picture.merge(source.picture, area, x, y);
            EXPECT_SUCCESS(merge_buffer(source, area, destination, x, y));
            destination.expect_picture();
        }
        if (HasFailure())
            return;
    }
}

// Strips that lie wholly below the destination have nothing to merge, and that is reported. A
// caller sees a copy that works with plenty of memory and fails with little. Required.
TEST_F(Strips, WhollyBelowTheDestinationFail) {
    Random random(test_seed(), 7);
    for (Kind kind : {Kind::tiled, Kind::linear, Kind::duplicate}) {
        SCOPED_TRACE(name_of(kind));
        Subject source(kind, 8, 100, 80, random);
        const struct {
            SIZE_T limit;
            Sizes asked;
        } cases[] = {{4000, {8000, 4000}},       // rows 10 to 49, and then 50 to 89
                     {2000, {8000, 4000, 2000}}, // 10 to 29, 30 to 49, and then 50 to 69
                     {100, {8000, 4000, 2000, 1000, 500, 200, 100}}};
        for (const auto &[limit, asked] : cases) {
            SCOPED_TRACE(limit);
            Subject destination(Kind::tiled, 8, 50, 40, random);
            StripWatch watch(limit);
            EXPECT_REPORT(merge_buffer(source, {0, 0, 100, 80}, destination, 10, 10), 3200, 1, 3,
                          14);
            EXPECT_EQ(watch.asked(), asked);
            // What lies in the destination has come there before.
            destination.picture.merge(source.picture, {0, 0, 100, 80}, 10, 10);
            destination.expect_picture();
        }
        Subject destination(Kind::tiled, 8, 50, 40, random);
        StripWatch watch(8000);
        destination.picture.merge(source.picture, {0, 0, 100, 80}, 10, 10);
        EXPECT_SUCCESS(merge_buffer(source, {0, 0, 100, 80}, destination, 10, 10));
        destination.expect_picture();
    }
}

// With the whole rectangle in one strip all that lies below the destination is dropped, however
// much it is.
TEST_F(Strips, OfAllRowsReachAsFarBelowTheDestinationAsTheyLike) {
    Random random(test_seed(), 10);
    for (Kind kind : {Kind::tiled, Kind::linear, Kind::linear_duplicate}) {
        Subject source(kind, 64, 300, 400, random);
        Subject destination(Kind::tiled, 64, 50, 40, random);
        for (int y : {-390, -300, -1, 0, 1, 10, 39}) {
            SCOPED_TRACE(std::string(name_of(kind)) + " to row " + std::to_string(y));
            StripWatch watch;
            destination.picture.merge(source.picture, {0, 0, 300, 400}, 3, y);
            EXPECT_SUCCESS(merge_buffer(source, {0, 0, 300, 400}, destination, 3, y));
            EXPECT_EQ(watch.asked(), Sizes{SIZE_T(300 * 8 * (400 + std::min(y, 0)))});
            destination.expect_picture();
        }
    }
}

// Neither GetBuf nor one colour has such strips.
TEST_F(Strips, OfGetBufAndOfOneColourNeverLieBelowTheDestination) {
    Random random(test_seed(), 8);
    Subject source(Kind::tiled, 8, 100, 80, random);
    OneColourSubject one_colour(8, 100, 80);
    Subject destination(Kind::tiled, 8, 50, 40, random);
    HBUF32 handle = destination;
    StripWatch watch(100);
    destination.picture.merge(source.picture, {0, 0, 100, 80}, 0, 0);
    EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 100, 80, &handle));
    destination.expect_picture();
    destination.picture.merge(one_colour.picture, {0, 0, 100, 80}, 10, 10);
    EXPECT_SUCCESS(merge_buffer(one_colour, {0, 0, 100, 80}, destination, 10, 10));
    destination.expect_picture();
}

// A swap file that cannot be had between two strips cannot be: the first strip's write gets it.
TEST_F(Strips, FailWithTheDestinationsFirstWrite) {
    Random random(test_seed(), 9);
    Subject source(Kind::tiled, 8, 300, 200, random);
    Subject destination(Kind::duplicate, 8, 300, 150, random);
    const NoStorage none;
    StripWatch watch(300 * 25);
    EXPECT_REPORT(merge_buffer(source, {0, 0, 300, 150}, destination, 0, 0), 1001, 0, 4, 3);
    HBUF32 handle = destination;
    EXPECT_REPORT(api().buf32GetBuf(source, 0, 10, 300, 150, &handle), 1001, 0, 4, 3);
    EXPECT_EQ(handle, HBUF32(destination));
    EXPECT_EQ(word(destination, field_share_marker), 64u);
    destination.expect_picture();
}

} // namespace
} // namespace q32::test
