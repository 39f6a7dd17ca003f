// Rectangles of plain memory in plain numbers: what lies where, what a missing mask means, which
// rounding the rectangle functions have, and the ends of the numbers.
#include "tests/merge/rectangle_fixture.h"

namespace q32::test {
namespace {

constexpr RECT one_pixel{0, 0, 1, 1};

class RectangleExamples : public MergeTest {
protected:
    explicit RectangleExamples(bool mmx = false) : MergeTest(mmx) {}

    // One pixel of 3 bytes through both functions, which must agree.
    static Bytes pixel(int mode, const Bytes &base, const Bytes &overlay, int transparency = 0,
                       std::optional<std::uint8_t> mask_byte = std::nullopt) {
        Block image(base), over(overlay), mask(Bytes{mask_byte.value_or(0)});
        const std::uint8_t *const mask_at = mask_byte ? mask.data() : nullptr;
        const int bytes = int(base.size());
        EXPECT_SUCCESS(api().i32MergeEx(image.data(), 1, 1, mask_at, &one_pixel, over.data(),
                                        &one_pixel, bytes, mode, transparency));
        const Bytes made = image.contents();
        image.hold(base);
        EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), 1, 1, bytes, 0, 0, over.data(), mask_at,
                                              1, 1, one_pixel, mode, transparency));
        image.expect(made);
        over.expect(overlay);
        return made;
    }

    // Grey white over black: the weights.
    static int weight(int transparency, std::optional<std::uint8_t> mask_byte) {
        return pixel(1, {0}, {255}, transparency, mask_byte)[0];
    }
    static int weight_in_colour(int transparency, std::optional<std::uint8_t> mask_byte) {
        return pixel(1, {0, 0, 0}, {255, 255, 255}, transparency, mask_byte)[2];
    }
};

class RectangleExamplesWithMmx : public RectangleExamples {
protected:
    RectangleExamplesWithMmx() : RectangleExamples(true) {}
};

class RectangleExamplesEitherWay : public RectangleExamples,
                                   public testing::WithParamInterface<bool> {
protected:
    RectangleExamplesEitherWay() : RectangleExamples(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(Mmx, RectangleExamplesEitherWay, testing::Bool(), mmx_flag_name);

// --- weights ---------------------------------------------------------------------------------

TEST_P(RectangleExamplesEitherWay, WeightsOfGrey) {
    EXPECT_EQ(weight(0, std::nullopt), 255);
    EXPECT_EQ(weight(50, std::nullopt), 127);
    EXPECT_EQ(weight(99, std::nullopt), 2);
    EXPECT_EQ(weight(100, std::nullopt), 0);
    EXPECT_EQ(weight(-5, std::nullopt), 255);
    EXPECT_EQ(weight(250, std::nullopt), 0);
    EXPECT_EQ(weight(50, 128), 64);
    EXPECT_EQ(weight(0, 128), 128);
    EXPECT_EQ(weight(99, 99), 0);
}

TEST_F(RectangleExamples, WeightsOfColour) {
    EXPECT_EQ(weight_in_colour(0, std::nullopt), 255);
    EXPECT_EQ(weight_in_colour(1, std::nullopt), 252);
    EXPECT_EQ(weight_in_colour(50, std::nullopt), 127);
    EXPECT_EQ(weight_in_colour(99, std::nullopt), 2);
    EXPECT_EQ(weight_in_colour(50, 128), 64);
}

// With the scale p x 256 / 100: 253, 128 and 2.
TEST_F(RectangleExamplesWithMmx, WeightsOfColour) {
    EXPECT_EQ(weight_in_colour(0, std::nullopt), 255);
    EXPECT_EQ(weight_in_colour(1, std::nullopt), 252);
    EXPECT_EQ(weight_in_colour(50, std::nullopt), 127);
    EXPECT_EQ(weight_in_colour(99, std::nullopt), 1);
    EXPECT_EQ(weight_in_colour(100, std::nullopt), 0);
    EXPECT_EQ(weight_in_colour(50, 128), 64);
    EXPECT_EQ(weight_in_colour(0, 128), 128);
    EXPECT_EQ(weight_in_colour(99, 127), 0);
    EXPECT_EQ(weight_in_colour(99, 128), 1);
    EXPECT_EQ(weight_in_colour(1, 1), 0);
}

TEST_F(RectangleExamplesWithMmx, SumsAreShiftedInNormalOnly) {
    EXPECT_EQ(pixel(1, {0, 1, 0}, {0, 0, 1}, 0, 128), (Bytes{0, 1, 1}));
    EXPECT_EQ(pixel(10, {0, 1, 0}, {0, 0, 1}, 0, 128), (Bytes{0, 1, 0}));
    EXPECT_EQ(pixel(9, {0, 1, 0}, {0, 0, 1}, 0, 128), (Bytes{0, 1, 0}));
}

// --- what a missing mask means ---------------------------------------------------------------

// Full strength, and no copy of the overlay as in a run.
TEST_P(RectangleExamplesEitherWay, WithoutMaskModesGiveTheirResults) {
    const Bytes base{10, 200, 1}, overlay{200, 100, 127};
    EXPECT_EQ(pixel(1, base, overlay), overlay);
    EXPECT_EQ(pixel(9, base, overlay), (Bytes{190, 100, 126}));
    EXPECT_EQ(pixel(10, base, overlay), (Bytes{210, 255, 128}));
    EXPECT_EQ(pixel(11, base, overlay), (Bytes{190, 0, 126}));
    EXPECT_EQ(pixel(12, base, overlay), (Bytes{8, 78, 1}));
    EXPECT_EQ(pixel(13, base, overlay), (Bytes{202, 222, 127}));
    EXPECT_EQ(pixel(14, base, overlay), overlay);
    EXPECT_EQ(pixel(15, base, overlay), overlay);
}

TEST_P(RectangleExamplesEitherWay, ReliefWithoutMask) {
    EXPECT_EQ(pixel(8, {10, 10, 200}, {255, 0, 128}), (Bytes{137, 0, 200}));
    EXPECT_EQ(pixel(8, {10, 10, 200}, {255, 0, 128}, 0, 0), (Bytes{10, 10, 200}));
    EXPECT_EQ(pixel(8, {10, 10, 200}, {255, 0, 0}, 50, 1), (Bytes{73, 0, 137}));
    EXPECT_EQ(pixel(8, {10, 10, 200}, {255, 0, 0}, 100), (Bytes{10, 10, 200}));
}

// Colour and hue weigh by the transparency alone, saturation and value by a full mask: the MMX
// rounding shows it, 127 against 126.
TEST_F(RectangleExamplesWithMmx, WithoutMaskColourAndHueHaveNone) {
    const Bytes white{255, 255, 255}, red{255, 0, 0}, black{0, 0, 0};
    EXPECT_EQ(pixel(2, white, red, 50), (Bytes{255, 128, 128}));
    EXPECT_EQ(pixel(2, white, red, 50, 255), (Bytes{255, 129, 129}));
    EXPECT_EQ(pixel(5, black, white, 50), (Bytes{126, 126, 126}));
    EXPECT_EQ(pixel(5, black, white, 50, 255), (Bytes{126, 126, 126}));
}

TEST_F(RectangleExamples, WithoutMaskInColourModes) {
    const Bytes white{255, 255, 255}, red{255, 0, 0}, black{0, 0, 0};
    EXPECT_EQ(pixel(2, white, red, 50), (Bytes{255, 128, 128}));
    EXPECT_EQ(pixel(2, white, red, 50, 255), (Bytes{255, 128, 128}));
    EXPECT_EQ(pixel(5, black, white, 50), (Bytes{127, 127, 127}));
}

// --- modes -----------------------------------------------------------------------------------

TEST_P(RectangleExamplesEitherWay, FieldsOfTheMergedPixel) {
    const Bytes base{200, 100, 50}, overlay{30, 60, 90};
    EXPECT_EQ(pixel(2, base, overlay), (Bytes{67, 133, 200}));
    EXPECT_EQ(pixel(3, base, overlay), (Bytes{50, 125, 200}));
    EXPECT_EQ(pixel(4, base, overlay), (Bytes{200, 111, 67}));
    EXPECT_EQ(pixel(5, base, overlay), (Bytes{90, 45, 23}));
}

// Nothing merged, and yet the base goes to HSV and back.
TEST_P(RectangleExamplesEitherWay, ColourModesAtFullTransparency) {
    for (const int mode : {2, 3, 4, 5})
        EXPECT_EQ(pixel(mode, {253, 119, 176}, {1, 2, 3}, 100), (Bytes{253, 119, 177})) << mode;
}

TEST_P(RectangleExamplesEitherWay, OtherModesAtFullTransparency) {
    const Bytes base{253, 119, 176};
    for (const int mode : {1, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15})
        for (const int transparency : {100, 250}) {
            EXPECT_EQ(pixel(mode, base, {1, 200, 3}, transparency), base) << mode;
            EXPECT_EQ(pixel(mode, base, {1, 200, 3}, transparency, 255), base) << mode;
        }
}

TEST_P(RectangleExamplesEitherWay, LuminancesAtLeastOneApart) {
    EXPECT_EQ(pixel(6, {3, 0, 0}, {4, 0, 0}), (Bytes{4, 0, 0}));
    EXPECT_EQ(pixel(6, {4, 0, 0}, {3, 0, 0}), (Bytes{4, 0, 0}));
    EXPECT_EQ(pixel(7, {4, 0, 0}, {3, 0, 0}), (Bytes{3, 0, 0}));
    EXPECT_EQ(pixel(6, {0}, {1}), (Bytes{1}));
    EXPECT_EQ(pixel(6, {5, 5, 5}, {5, 5, 5}), (Bytes{5, 5, 5}));
    EXPECT_EQ(pixel(7, {3, 0, 0}, {1, 0, 0}), (Bytes{3, 0, 0})); // both 0
}

// Lighten alone compares what has not been divided, and divides its blend.
TEST_F(RectangleExamples, LuminancesLessThanOneApart) {
    EXPECT_EQ(pixel(6, {1, 0, 0}, {3, 0, 0}), (Bytes{1, 0, 0}));
    EXPECT_EQ(pixel(6, {0, 0, 0}, {0, 0, 1}), (Bytes{0, 0, 0}));
}

TEST_F(RectangleExamplesWithMmx, LuminancesLessThanOneApart) {
    EXPECT_EQ(pixel(6, {1, 0, 0}, {3, 0, 0}), (Bytes{3, 0, 0}));
    EXPECT_EQ(pixel(6, {0, 0, 0}, {0, 0, 1}), (Bytes{0, 0, 1}));
    EXPECT_EQ(pixel(6, {11, 0, 0}, {0, 0, 30}), (Bytes{11, 0, 0})); // 330 both
    EXPECT_EQ(pixel(6, {0, 0, 0}, {255, 255, 255}, 50), (Bytes{127, 127, 127}));
    EXPECT_EQ(pixel(6, {0, 1, 0}, {1, 0, 100}, 0, 128), (Bytes{0, 0, 50}));
    EXPECT_EQ(pixel(7, {0, 0, 1}, {0, 0, 0}), (Bytes{0, 0, 1}));
}

// --- what lies where -------------------------------------------------------------------------

// An image of 4 x 3 zeros, a mask of two rows that begins left of it, an overlay that ends below.
TEST_P(RectangleExamplesEitherWay, OnlyWhatIsInAllThree) {
    Block image(Bytes(12, 0)), overlay(Bytes{11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22}),
        mask(Bytes{255, 255, 255, 255, 255, 0, 255, 255});
    const RECT mask_at{-1, 1, 3, 3}, overlay_at{1, 1, 4, 5};
    EXPECT_SUCCESS(api().i32MergeEx(image.data(), 4, 3, mask.data(), &mask_at, overlay.data(),
                                    &overlay_at, 1, MERGE_NORMAL, 0));
    image.expect({0, 0, 0, 0,   //
                  0, 11, 12, 0, //
                  0, 14, 15, 0});
    image.hold(Bytes(12, 0));
    mask.hold(Bytes{255, 255, 0, 255, 255, 255, 255, 128});
    EXPECT_SUCCESS(api().i32MergeEx(image.data(), 4, 3, mask.data(), &mask_at, overlay.data(),
                                    &overlay_at, 1, MERGE_NORMAL, 0));
    image.expect({0, 0, 0, 0,  //
                  0, 0, 12, 0, //
                  0, 14, 7, 0});
    image.hold(Bytes(12, 0));
    EXPECT_SUCCESS(api().i32MergeEx(image.data(), 4, 3, nullptr, &mask_at, overlay.data(),
                                    &overlay_at, 1, MERGE_NORMAL, 0));
    image.expect({0, 0, 0, 0,   //
                  0, 11, 12, 0, //
                  0, 14, 15, 0});
}

// The rectangle's corner goes to (x, y); what of it lies outside the image is left out.
TEST_P(RectangleExamplesEitherWay, ImagesIntoImages) {
    const Bytes overlay_bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}; // 3 x 3
    Block image(Bytes(12, 0)), overlay(overlay_bytes);
    const auto place = [&](int x, int y, const RECT &rectangle) {
        image.hold(Bytes(12, 0));
        EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), 4, 3, 1, x, y, overlay.data(), nullptr,
                                              3, 3, rectangle, MERGE_NORMAL, 0));
        return image.contents();
    };
    EXPECT_EQ(place(1, 0, {0, 0, 3, 3}), (Bytes{0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9}));
    EXPECT_EQ(place(1, 0, {1, 1, 3, 3}), (Bytes{0, 5, 6, 0, 0, 8, 9, 0, 0, 0, 0, 0}));
    EXPECT_EQ(place(-1, -1, {0, 0, 3, 3}), (Bytes{5, 6, 0, 0, 8, 9, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(place(3, 2, {0, 0, 3, 3}), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(place(2, 1, {2, 0, 3, 1}), (Bytes{0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0}));
    // A rectangle that is larger than the overlay image: its corner is placed all the same.
    EXPECT_EQ(place(0, 0, {-1, -1, 9, 9}), (Bytes{0, 0, 0, 0, 0, 1, 2, 3, 0, 4, 5, 6}));
    EXPECT_EQ(place(0, 1, {-1, 1, 1, 9}), (Bytes{0, 0, 0, 0, 0, 4, 0, 0, 0, 7, 0, 0}));
}

TEST_P(RectangleExamplesEitherWay, MaskOfAnOverlayImageCoversAllOfIt) {
    Block image(Bytes(4, 0)), overlay(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}),
        mask(Bytes{255, 255, 255, 255, 255, 0, 255, 0, 255});
    EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), 2, 2, 1, 0, 0, overlay.data(), mask.data(),
                                          3, 3, RECT{1, 1, 3, 3}, MERGE_NORMAL, 0));
    image.expect({5, 0, 0, 9});
}

// The image may be the overlay, pixel for pixel.
TEST_P(RectangleExamplesEitherWay, ImageOverItself) {
    const RECT all{0, 0, 3, 2};
    Block image(Bytes{1, 2, 100, 200, 5, 6});
    EXPECT_SUCCESS(
        api().i32MergeEx(image.data(), 3, 2, nullptr, &all, image.data(), &all, 1, MERGE_ADD, 0));
    image.expect({2, 4, 200, 255, 10, 12});
    EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), 3, 2, 1, 0, 0, image.data(), nullptr, 3, 2,
                                          all, MERGE_DIFFERENCE, 0));
    image.expect({0, 0, 0, 0, 0, 0});
}

// --- the ends of the numbers -----------------------------------------------------------------

// The second row, from the third pixel on, of rectangles without end: one row of each is read.
TEST_P(RectangleExamplesEitherWay, RectanglesWithoutEnd) {
    for (const int bytes : {1, 3, 8}) {
        const auto size = std::size_t(bytes);
        Block image(Bytes(8 * size, 1)), overlay(Bytes(2 * size, 9)), mask(Bytes(2, 255));
        const RECT endless{2, 1, INT_MAX, INT_MAX}, all{INT_MIN, INT_MIN, INT_MAX, INT_MAX};
        EXPECT_SUCCESS(api().i32MergeEx(image.data(), 4, 2, mask.data(), &endless, overlay.data(),
                                        &endless, bytes, MERGE_NORMAL, 0));
        Bytes expected(8 * size, 1);
        std::fill(expected.begin() + std::ptrdiff_t(6 * size), expected.end(), std::uint8_t{9});
        image.expect(expected);
        image.hold(Bytes(8 * size, 1));
        EXPECT_SUCCESS(api().i32MergeEx(image.data(), 4, 2, nullptr, &all, overlay.data(), &endless,
                                        bytes, MERGE_NORMAL, 0));
        image.expect(expected);
    }
}

// An image without end, of which the rectangles name the beginning.
TEST_P(RectangleExamplesEitherWay, ImageWithoutEnd) {
    for (const int bytes : {1, 3, 8}) {
        const auto size = std::size_t(bytes);
        Block image(Bytes(2 * size, 1)), overlay(Bytes(2 * size, 9)), mask(Bytes(2, 255));
        const RECT row{0, 0, 2, 1};
        EXPECT_SUCCESS(api().i32MergeEx(image.data(), INT_MAX, INT_MAX, mask.data(), &row,
                                        overlay.data(), &row, bytes, MERGE_NORMAL, 0));
        image.expect(Bytes(2 * size, 9));
        image.hold(Bytes(2 * size, 1));
        EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), INT_MAX, INT_MAX, bytes, 0, 0,
                                              overlay.data(), mask.data(), 2, 1,
                                              RECT{0, 0, INT_MAX, INT_MAX}, MERGE_NORMAL, 0));
        image.expect(Bytes(2 * size, 9));
    }
}

// A rectangle from end to end of the numbers, placed so that it stays where it is.
TEST_P(RectangleExamplesEitherWay, RectangleOfAllThereIs) {
    Block image(Bytes(4, 1)), overlay(Bytes(6, 9));
    EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), 2, 2, 1, INT_MIN, INT_MIN, overlay.data(),
                                          nullptr, 3, 2, RECT{INT_MIN, INT_MIN, INT_MAX, INT_MAX},
                                          MERGE_NORMAL, 0));
    image.expect(Bytes(4, 9));
}

} // namespace
} // namespace q32::test
