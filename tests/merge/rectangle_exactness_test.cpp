// i32MergeEx and i32MergeRamToRam against a merge of the whole image, pixel by pixel: every mode
// and rounding, rectangles that lie anywhere, sizes around those of cells and vectors.
#include "tests/merge/rectangle_fixture.h"

namespace q32::test {
namespace {

class MergedRectangles : public MergeTestWithMmxFlag {};
INSTANTIATE_TEST_SUITE_P(Mmx, MergedRectangles, testing::Bool(), mmx_flag_name);

int some_transparency(Random &random) {
    return all_transparencies[random.below(std::size(all_transparencies))];
}

model::Call some_call(Random &random, bool mmx) {
    const int bytes = random.below(8) == 0 ? between(random, 1, 8) : random.below(3) == 0 ? 1 : 3;
    return {between(random, 1, 15), bytes, some_transparency(random), mmx};
}

// A rectangle in or about an image: any two corners, sometimes the wrong way round or empty.
RECT some_rectangle(Random &random, int width, int height) {
    RECT r{between(random, -width / 2 - 2, width), between(random, -height / 2 - 2, height), 0, 0};
    r.right = r.left + between(random, 1, width + 12);
    r.bottom = r.top + between(random, 1, height + 6);
    switch (random.below(24)) {
    case 0:
        std::swap(r.left, r.right);
        break;
    case 1:
        std::swap(r.top, r.bottom);
        break;
    case 2:
        r.right = r.left;
        break;
    case 3:
        r.bottom = r.top;
        break;
    case 4: // all of it
        r = {0, 0, width, height};
        break;
    }
    return r;
}

int extreme(Random &random) {
    constexpr int values[] = {INT_MIN, INT_MIN + 1, INT_MIN / 2, -70000,      -1,     0,
                              1,       70000,       INT_MAX / 2, INT_MAX - 1, INT_MAX};
    return values[random.below(std::size(values))];
}

void make_extreme(Random &random, RECT &r) {
    for (LONG *const side : {&r.left, &r.top, &r.right, &r.bottom})
        if (random.below(2) == 0)
            *side = extreme(random);
}

// --- every mode ------------------------------------------------------------------------------

TEST_P(MergedRectangles, EveryModeWeightAndSize) {
    RectangleStage stage;
    Random random(test_seed(), 1);
    for (const int mode : rectangle_modes)
        for (const int bytes : usual_sizes)
            for (const bool masked : {false, true})
                for (const int transparency : all_transparencies)
                    for (const int width : {1, 2, 15, 33, 127, 128, 129, 257}) {
                        const model::Call call{mode, bytes, transparency, mmx()};
                        // Rows of mask, overlay and image of different lengths, begun aslant.
                        const RECT mask{-3, -1, width + 5, 3}, overlay{-7, -2, width + 1, 4};
                        ASSERT_TRUE(stage.agrees(
                            RectangleCase{call, width, 3, masked, mask, overlay}, random));
                        ASSERT_TRUE(stage.agrees(ImageCase{call,
                                                           width + 4,
                                                           4,
                                                           2,
                                                           -1,
                                                           masked,
                                                           width + 9,
                                                           6,
                                                           {5, 1, width + 5, 5}},
                                                 random));
                    }
}

TEST_P(MergedRectangles, EveryTransparency) {
    RectangleStage stage;
    Random random(test_seed(), 2);
    for (const int mode : rectangle_modes)
        for (const int bytes : usual_sizes)
            for (const bool masked : {false, true})
                for (int transparency = 0; transparency <= 100; ++transparency) {
                    const model::Call call{mode, bytes, transparency, mmx()};
                    ASSERT_TRUE(stage.agrees(
                        RectangleCase{call, 90, 3, masked, {0, 0, 90, 3}, {0, 0, 90, 3}}, random));
                }
}

TEST_P(MergedRectangles, PixelsOfOtherSizes) {
    RectangleStage stage;
    Random random(test_seed(), 3);
    for (const int bytes : other_sizes)
        for (const int mode : rectangle_modes)
            for (const bool masked : {false, true})
                for (const int transparency : {0, 37, 100}) {
                    const model::Call call{mode, bytes, transparency, mmx()};
                    ASSERT_TRUE(stage.agrees(
                        RectangleCase{call, 70, 5, masked, {1, -1, 80, 4}, {-1, 1, 66, 9}},
                        random));
                    ASSERT_TRUE(stage.agrees(
                        ImageCase{call, 70, 5, -2, 1, masked, 67, 8, {3, 2, 66, 7}}, random));
                }
}

// Wider than what is worked on in one piece.
TEST_P(MergedRectangles, WideRows) {
    RectangleStage stage;
    Random random(test_seed(), 4);
    for (const int mode : rectangle_modes)
        for (const int bytes : usual_sizes)
            for (const bool masked : {false, true})
                for (const int width : {2047, 2048, 2049, 5000}) {
                    const model::Call call{mode, bytes, 30, mmx()};
                    ASSERT_TRUE(stage.agrees(
                        RectangleCase{
                            call, width, 2, masked, {0, 0, width + 2, 2}, {-1, 0, width, 2}},
                        random));
                }
}

// --- anywhere --------------------------------------------------------------------------------

TEST_P(MergedRectangles, LyingAnywhere) {
    RectangleStage stage;
    random_cases(4000, [&](Random &random, std::uint64_t number) {
        RectangleCase c{some_call(random, mmx()),
                        between(random, 1, 60),
                        between(random, 1, 12),
                        random.below(2) == 0,
                        {},
                        {}};
        c.mask = some_rectangle(random, c.width, c.height);
        c.overlay = some_rectangle(random, c.width, c.height);
        const auto result = stage.agrees(c, random);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

TEST_P(MergedRectangles, ImagesLyingAnywhere) {
    RectangleStage stage;
    random_cases(4000, [&](Random &random, std::uint64_t number) {
        const int width = between(random, 1, 60), height = between(random, 1, 12);
        const int over_width = between(random, 1, 60), over_height = between(random, 1, 12);
        const ImageCase c{some_call(random, mmx()),
                          width,
                          height,
                          between(random, -width / 2 - 3, width + 1),
                          between(random, -height / 2 - 3, height + 1),
                          random.below(2) == 0,
                          over_width,
                          over_height,
                          some_rectangle(random, over_width, over_height)};
        const auto result = stage.agrees(c, random);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

// Corners at the ends of the numbers: no sum may come round.
TEST_P(MergedRectangles, WithExtremeCorners) {
    RectangleStage stage;
    random_cases(8000, [&](Random &random, std::uint64_t number) {
        RectangleCase c{some_call(random, mmx()),
                        between(random, 1, 9),
                        between(random, 1, 5),
                        random.below(2) == 0,
                        {},
                        {}};
        c.mask = some_rectangle(random, c.width, c.height);
        c.overlay = some_rectangle(random, c.width, c.height);
        make_extreme(random, c.mask);
        make_extreme(random, c.overlay);
        if (random.below(16) == 0)
            c.width = random.below(2) == 0 ? 0 : -c.width;
        if (!RectangleStage::bytes_of(c.overlay, c.width, c.height, 1))
            return true;
        if (!RectangleStage::bytes_of(c.mask, c.width, c.height, 1))
            c.masked = false;
        const auto result = stage.agrees(c, random);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

TEST_P(MergedRectangles, ImagesWithExtremeCorners) {
    RectangleStage stage;
    random_cases(8000, [&](Random &random, std::uint64_t number) {
        ImageCase c{some_call(random, mmx()), between(random, 1, 9),  between(random, 1, 5),
                    between(random, -5, 9),   between(random, -5, 5), random.below(2) == 0,
                    between(random, 1, 9),    between(random, 1, 5),  {}};
        c.rectangle = some_rectangle(random, c.overlay_width, c.overlay_height);
        make_extreme(random, c.rectangle);
        if (random.below(2) == 0)
            c.x = random.below(4) == 0 ? c.rectangle.left : extreme(random);
        if (random.below(2) == 0)
            c.y = random.below(4) == 0 ? c.rectangle.top : extreme(random);
        const auto result = stage.agrees(c, random);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

// --- few columns -----------------------------------------------------------------------------

// Strips of some columns in wider images, as high as is merged in one go and higher, with other
// strides on all sides.
TEST_P(MergedRectangles, OfAFewColumns) {
    RectangleStage stage;
    std::uint64_t number = 0;
    for (int columns = 1; columns <= 17; ++columns)
        for (const int rows : {1, 3, 4, 5, 90, 92, 300, 1366})
            for (const int bytes : {1, 3, 4}) {
                if (rows > 300 && columns > 1)
                    continue;
                Random random{test_seed(), number++};
                const int mode = bytes == 3 ? between(random, 1, 15) : between(random, 6, 15);
                const model::Call call{mode, bytes, some_transparency(random), mmx()};
                const ImageCase c{call,
                                  columns + 5,
                                  rows + 1,
                                  between(random, 0, 5),
                                  1,
                                  random.below(4) != 0,
                                  columns + 2,
                                  rows + 3,
                                  RECT{1, 2, 1 + columns, 2 + rows}};
                ASSERT_TRUE(stage.agrees(c, random)) << c;
            }
}

} // namespace
} // namespace q32::test
