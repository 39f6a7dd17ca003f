// Merged runs in plain numbers, worked out by hand: every mode, every kind of weight, both
// roundings.
#include "tests/merge/merge_fixture.h"

namespace q32::test {
namespace {

struct Options {
    int transparency = 0;
    std::optional<Bytes> mask = std::nullopt;
};

class RunExamples : public MergeTest {
protected:
    explicit RunExamples(bool mmx = false) : MergeTest(mmx) {}

    // What i32Merge makes of these, the result beginning as nothing known.
    static Bytes merged(int mode, int bytes, const Bytes &base, const Bytes &overlay,
                        const Options &options = {}) {
        Block result(Bytes(base.size(), 0x77)), under(base), over(overlay),
            mask(options.mask.value_or(Bytes{}));
        EXPECT_SUCCESS(api().i32Merge(
            result.data(), under.data(), options.mask ? mask.data() : nullptr, over.data(), bytes,
            int(base.size()) / bytes, unsigned(mode), options.transparency));
        under.expect(base);
        over.expect(overlay);
        return result.contents();
    }

    static Bytes grey(int mode, const Bytes &base, const Bytes &overlay,
                      const Options &options = {}) {
        return merged(mode, 1, base, overlay, options);
    }

    static Bytes colour(int mode, const Bytes &base, const Bytes &overlay,
                        const Options &options = {}) {
        return merged(mode, 3, base, overlay, options);
    }

    // Relief is applied to what the result holds.
    static Bytes relief(const Bytes &held, const Bytes &overlay, const Bytes &mask,
                        int transparency = 0) {
        Block result(held), over(overlay), weights(mask);
        EXPECT_SUCCESS(api().i32Merge(result.data(), nullptr, weights.data(), over.data(), 1,
                                      int(held.size()), MERGE_RELIEF, transparency));
        return result.contents();
    }
};

class RunExamplesWithMmx : public RunExamples {
protected:
    RunExamplesWithMmx() : RunExamples(true) {}
};

class RunExamplesEitherWay : public RunExamples, public testing::WithParamInterface<bool> {
protected:
    RunExamplesEitherWay() : RunExamples(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(Mmx, RunExamplesEitherWay, testing::Bool(), mmx_flag_name);

// --- weights ---------------------------------------------------------------------------------

// White over black shows the weight itself.
TEST_P(RunExamplesEitherWay, WeightWithoutMask) {
    const auto weight = [](int transparency) {
        return grey(1, {0}, {255}, {.transparency = transparency})[0];
    };
    EXPECT_EQ(weight(0), 255);
    EXPECT_EQ(weight(1), 252);
    EXPECT_EQ(weight(37), 160);
    EXPECT_EQ(weight(50), 127);
    EXPECT_EQ(weight(99), 2);
    EXPECT_EQ(weight(100), 0);
    EXPECT_EQ(weight(-5), 255);
    EXPECT_EQ(weight(250), 0);
    EXPECT_EQ(weight(INT_MIN), 255);
    EXPECT_EQ(weight(INT_MAX), 0);
}

TEST_P(RunExamplesEitherWay, WeightUnderMask) {
    const Bytes black(5, 0), white(5, 255), mask{0, 1, 2, 128, 255};
    EXPECT_EQ(grey(1, black, white, {0, mask}), (Bytes{0, 1, 2, 128, 255}));
    EXPECT_EQ(grey(1, black, white, {1, mask}), (Bytes{0, 0, 1, 126, 252}));
    EXPECT_EQ(grey(1, black, white, {50, mask}), (Bytes{0, 0, 1, 64, 127}));
    EXPECT_EQ(grey(1, black, white, {99, mask}), (Bytes{0, 0, 0, 1, 2}));
    EXPECT_EQ(grey(1, black, white, {100, mask}), black);
}

TEST_F(RunExamplesWithMmx, WeightOfColourUnderMask) {
    const auto weight = [](int transparency, std::uint8_t mask) {
        return colour(1, {0, 0, 0}, {255, 255, 255}, {transparency, Bytes{mask}});
    };
    EXPECT_EQ(weight(0, 255), (Bytes{255, 255, 255}));
    EXPECT_EQ(weight(0, 128), (Bytes{128, 128, 128}));
    EXPECT_EQ(weight(0, 1), (Bytes{1, 1, 1}));
    EXPECT_EQ(weight(0, 0), (Bytes{0, 0, 0}));
    EXPECT_EQ(weight(50, 255), (Bytes{126, 126, 126}));
    EXPECT_EQ(weight(50, 128), (Bytes{63, 63, 63}));
    EXPECT_EQ(weight(50, 2), (Bytes{0, 0, 0}));
    EXPECT_EQ(weight(1, 255), (Bytes{251, 251, 251}));
    EXPECT_EQ(weight(99, 255), (Bytes{1, 1, 1}));
    EXPECT_EQ(weight(99, 127), (Bytes{0, 0, 0}));
    EXPECT_EQ(weight(99, 128), (Bytes{1, 1, 1}));
}

TEST_F(RunExamplesWithMmx, WeightOfColourWithoutMask) {
    const auto weight = [](int transparency) {
        return colour(1, {0, 0, 0}, {255, 255, 255}, {.transparency = transparency})[1];
    };
    EXPECT_EQ(weight(0), 255);
    EXPECT_EQ(weight(1), 252);
    EXPECT_EQ(weight(50), 127);
    EXPECT_EQ(weight(99), 2);
    EXPECT_EQ(weight(100), 0);
}

// --- transparency 100 ------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, FullTransparencyCopiesTheBase) {
    const Bytes base{1, 2, 3, 4, 5, 6}, overlay{9, 8, 7, 6, 5, 4};
    for (const int mode : {0, 1, 5, 8, 16, 17, -1}) {
        EXPECT_EQ(merged(mode, 3, base, overlay, {100}), base) << mode;
        EXPECT_EQ(merged(mode, 1, base, overlay, {101}), base) << mode;
    }
    // No size is refused, either.
    EXPECT_EQ(merged(1, 6, base, overlay, {100}), base);
    const Bytes long_base{1, 2, 3, 4, 5, 6, 7, 8, 9}, long_overlay(9, 0);
    EXPECT_EQ(merged(1, 9, long_base, long_overlay, {100}), long_base);
}

TEST_P(RunExamplesEitherWay, FullTransparencyLooksAtNothingElse) {
    const FencedMemory memory(1);
    std::uint8_t *const forbidden = memory.end();
    for (const unsigned mode : {0u, 1u, 2u, 8u, 16u, 17u, ~0u}) {
        EXPECT_SUCCESS(
            api().i32Merge(forbidden, forbidden, forbidden, forbidden, 3, 1000, mode, 100));
        EXPECT_SUCCESS(api().i32Merge(nullptr, nullptr, nullptr, nullptr, 3, 1000, mode, 100));
        Block result(Bytes{7}), base(Bytes{8});
        EXPECT_SUCCESS(
            api().i32Merge(result.data(), base.data(), forbidden, forbidden, 1, 1, mode, 100));
        result.expect({8});
        EXPECT_SUCCESS(
            api().i32Merge(result.data(), base.data(), nullptr, nullptr, 1, 1, mode, 100));
    }
}

// --- normal ----------------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, NormalUnderMaskAndTransparency) {
    EXPECT_EQ(grey(1, {200}, {100}, {50, Bytes{128}}), Bytes{174});
    EXPECT_EQ(grey(1, {200}, {100}, {0, Bytes{64}}), Bytes{174});
    EXPECT_EQ(grey(1, {200}, {100}, {0, Bytes{0}}), Bytes{200});
    EXPECT_EQ(grey(1, {200}, {100}, {0, Bytes{255}}), Bytes{100});
    EXPECT_EQ(grey(1, {200}, {100}, {.transparency = 50}), Bytes{150});
}

TEST_F(RunExamples, NormalInColour) {
    EXPECT_EQ(colour(1, {200, 0, 255}, {100, 255, 255}, {50, Bytes{128}}), (Bytes{174, 64, 255}));
}

TEST_F(RunExamplesWithMmx, NormalInColour) {
    // Weight (128 x 127) >> 8 = 63: 38400 + 6300 = 44700, 16065, 65025.
    EXPECT_EQ(colour(1, {200, 0, 255}, {100, 255, 255}, {50, Bytes{128}}), (Bytes{175, 63, 255}));
    EXPECT_EQ(colour(1, {200, 0, 255}, {100, 255, 0}), (Bytes{100, 255, 0}));
    EXPECT_EQ(colour(1, {200, 0, 255}, {100, 255, 0}, {0, Bytes{0}}), (Bytes{200, 0, 255}));
    // Black over black is the one sum that adds nothing.
    EXPECT_EQ(colour(1, {0, 1, 0}, {0, 0, 1}, {0, Bytes{128}}), (Bytes{0, 1, 1}));
}

// The same sums divided: the two roundings differ in most of them.
TEST_F(RunExamples, SmallSumsInColour) {
    EXPECT_EQ(colour(1, {0, 1, 0}, {0, 0, 1}, {0, Bytes{128}}), (Bytes{0, 0, 0}));
}

TEST_P(RunExamplesEitherWay, EachPixelHasItsMaskByte) {
    EXPECT_EQ(colour(1, {10, 20, 30, 40, 50, 60, 70, 80, 90},
                     {110, 120, 130, 140, 150, 160, 170, 180, 190}, {0, Bytes{255, 0, 255}}),
              (Bytes{110, 120, 130, 40, 50, 60, 170, 180, 190}));
    // Also for the pixels that are left as they are.
    EXPECT_EQ(grey(6, {9, 1, 9, 1}, {5, 5, 5, 5}, {0, Bytes{255, 0, 255, 255}}),
              (Bytes{9, 1, 9, 5}));
}

// --- modes by sample -------------------------------------------------------------------------

// A full mask gives the mode's result; b and s side by side.
TEST_P(RunExamplesEitherWay, ModesUnderAFullMask) {
    const Bytes base{0, 10, 100, 200, 255}, overlay{255, 200, 100, 100, 255}, full(5, 255);
    EXPECT_EQ(grey(9, base, overlay, {0, full}), (Bytes{255, 190, 0, 100, 0}));
    EXPECT_EQ(grey(10, base, overlay, {0, full}), (Bytes{255, 210, 200, 255, 255}));
    EXPECT_EQ(grey(11, base, overlay, {0, full}), (Bytes{255, 190, 0, 0, 0}));
    EXPECT_EQ(grey(12, base, overlay, {0, full}), (Bytes{0, 8, 39, 78, 255}));
    EXPECT_EQ(grey(13, base, overlay, {0, full}), (Bytes{255, 202, 161, 222, 255}));
}

TEST_P(RunExamplesEitherWay, ModesWithoutMaskAndTransparencyAreTheOverlay) {
    const Bytes base{0, 10, 100, 200, 255, 3}, overlay{255, 200, 100, 100, 255, 1};
    for (int mode = 9; mode <= 15; ++mode)
        EXPECT_EQ(grey(mode, base, overlay), overlay) << mode;
    for (const int mode : {1, 14, 15})
        EXPECT_EQ(colour(mode, base, overlay), overlay) << mode;
}

TEST_F(RunExamples, ColourWithoutMaskAndTransparencyIsTheOverlay) {
    const Bytes base{0, 10, 100, 200, 255, 3}, overlay{255, 200, 100, 100, 255, 1};
    for (int mode = 9; mode <= 15; ++mode)
        EXPECT_EQ(colour(mode, base, overlay), overlay) << mode;
}

TEST_F(RunExamplesWithMmx, ColourWithoutMaskAndTransparencyIsTheResult) {
    const Bytes base{0, 10, 100, 200, 255, 1}, overlay{255, 200, 100, 100, 255, 127};
    EXPECT_EQ(colour(9, base, overlay), (Bytes{255, 190, 0, 100, 0, 126}));
    EXPECT_EQ(colour(10, base, overlay), (Bytes{255, 210, 200, 255, 255, 128}));
    EXPECT_EQ(colour(11, base, overlay), (Bytes{255, 190, 0, 0, 0, 126}));
    EXPECT_EQ(colour(12, base, overlay), (Bytes{0, 7, 39, 78, 255, 0}));
    EXPECT_EQ(colour(13, base, overlay), (Bytes{255, 203, 161, 222, 255, 128}));
}

// A remainder of 127 or more is one more.
TEST_P(RunExamplesEitherWay, QuotientsOfMultiplyAndScreen) {
    const Bytes full(6, 255);
    EXPECT_EQ(grey(12, {255, 2, 1, 1, 191, 190}, {255, 128, 127, 126, 2, 2}, {0, full}),
              (Bytes{255, 1, 1, 0, 2, 1}));
    EXPECT_EQ(grey(13, {0, 253, 254, 254, 64, 65}, {0, 127, 128, 129, 253, 253}, {0, full}),
              (Bytes{0, 254, 254, 255, 253, 254}));
}

TEST_F(RunExamples, QuotientsOfMultiplyAndScreenInColour) {
    const Bytes full(2, 255);
    EXPECT_EQ(colour(12, {255, 2, 1, 1, 191, 190}, {255, 128, 127, 126, 2, 2}, {0, full}),
              (Bytes{255, 1, 1, 0, 2, 1}));
    EXPECT_EQ(colour(13, {0, 253, 254, 254, 64, 65}, {0, 127, 128, 129, 253, 253}, {0, full}),
              (Bytes{0, 254, 254, 255, 253, 254}));
}

TEST_F(RunExamplesWithMmx, QuotientsOfMultiplyAndScreenInColour) {
    const Bytes full(2, 255);
    EXPECT_EQ(colour(12, {255, 2, 1, 1, 191, 190}, {255, 128, 127, 126, 2, 2}, {0, full}),
              (Bytes{255, 1, 0, 0, 1, 1}));
    EXPECT_EQ(colour(13, {0, 253, 254, 254, 64, 65}, {0, 127, 128, 129, 253, 253}, {0, full}),
              (Bytes{0, 254, 255, 255, 254, 254}));
}

TEST_P(RunExamplesEitherWay, ResultsAreWeighed) {
    // Difference 60 at weight 127: 60 x 127 + 40 x 128 = 12740.
    EXPECT_EQ(grey(9, {40}, {100}, {.transparency = 50}), Bytes{49});
    // Sum 255 at weight 64: 255 x 64 + 200 x 191 = 54520.
    EXPECT_EQ(grey(10, {200}, {100}, {50, Bytes{128}}), Bytes{213});
}

// --- premultiplied ---------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, PremultipliedOverBlack) {
    // 100 x 255 / 200 = 127: 127 x 200 + 50 x 55 = 28150. 250 comes to more than 255. The mask
    // byte, not the weight, divides: 127 x 100 + 50 x 155 = 20450.
    EXPECT_EQ(grey(14, {50, 50, 0, 50, 50}, {100, 250, 1, 77, 77}, {0, Bytes{200, 200, 1, 0, 255}}),
              (Bytes{110, 210, 1, 50, 77}));
    EXPECT_EQ(grey(14, {50}, {100}, {50, Bytes{200}}), Bytes{80});
    EXPECT_EQ(colour(14, {50, 50, 0}, {100, 250, 0}, {0, Bytes{200}}), (Bytes{110, 210, 0}));
    // A mask byte of which the transparency leaves nothing divides nothing.
    EXPECT_EQ(grey(14, {50}, {100}, {99, Bytes{99}}), Bytes{50});
}

TEST_P(RunExamplesEitherWay, PremultipliedOverWhite) {
    // 100 + 200 - 255 = 45, 45 x 255 / 200 = 57: 57 x 200 + 50 x 55 = 14150. Below white nothing is
    // left: 2750 / 255.
    EXPECT_EQ(
        grey(15, {50, 50, 50, 50, 50}, {100, 50, 255, 55, 77}, {0, Bytes{200, 200, 200, 200, 255}}),
        (Bytes{55, 10, 210, 10, 77}));
    EXPECT_EQ(colour(15, {50, 50, 50}, {100, 50, 255}, {0, Bytes{200}}), (Bytes{55, 10, 210}));
    EXPECT_EQ(grey(15, {50, 50}, {100, 200}, {0, Bytes{0, 1}}), (Bytes{50, 49}));
}

TEST_P(RunExamplesEitherWay, PremultipliedWithoutMaskIsNormal) {
    for (const int mode : {14, 15}) {
        EXPECT_EQ(grey(mode, {50}, {100}, {.transparency = 50}), Bytes{74});
        EXPECT_EQ(colour(mode, {50, 0, 255}, {100, 255, 0}, {.transparency = 50}),
                  (Bytes{74, 127, 128}));
    }
}

// --- colour modes ----------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, FieldsOfTheMergedPixel) {
    // HSV (20, 191, 200) and (210, 170, 90).
    const Bytes base{200, 100, 50}, overlay{30, 60, 90};
    EXPECT_EQ(colour(2, base, overlay), (Bytes{67, 133, 200}));
    EXPECT_EQ(colour(3, base, overlay), (Bytes{50, 125, 200}));
    EXPECT_EQ(colour(4, base, overlay), (Bytes{200, 111, 67}));
    EXPECT_EQ(colour(5, base, overlay), (Bytes{90, 45, 23}));
    for (const int mode : {2, 3, 4, 5})
        EXPECT_EQ(colour(mode, base, overlay, {0, Bytes{0}}), base) << mode;
}

TEST_P(RunExamplesEitherWay, FieldsOfPureColours) {
    const Bytes red{255, 0, 0}, blue{0, 0, 255}, grey_pixel{90, 90, 90};
    EXPECT_EQ(colour(2, red, blue), blue);
    EXPECT_EQ(colour(3, red, blue), blue);
    EXPECT_EQ(colour(4, red, blue), red);
    EXPECT_EQ(colour(5, red, blue), red);
    // Grey has no hue to give and no hue to keep.
    EXPECT_EQ(colour(3, red, grey_pixel), (Bytes{255, 255, 255}));
    EXPECT_EQ(colour(4, grey_pixel, red), grey_pixel);
    EXPECT_EQ(colour(5, red, grey_pixel), (Bytes{90, 0, 0}));
}

// Even what keeps the base takes it to HSV and back, which not every colour survives.
TEST_P(RunExamplesEitherWay, TheBaseGoesThroughHsv) {
    for (const int mode : {2, 3, 4, 5})
        EXPECT_EQ(colour(mode, {253, 119, 176}, {1, 2, 3}, {0, Bytes{0}}), (Bytes{253, 119, 177}));
}

TEST_F(RunExamples, FieldsOfAWeighedPixel) {
    EXPECT_EQ(colour(5, {0, 0, 0}, {255, 255, 255}, {50, Bytes{255}}), (Bytes{127, 127, 127}));
    EXPECT_EQ(colour(2, {255, 255, 255}, {255, 0, 0}, {50, Bytes{255}}), (Bytes{255, 128, 128}));
}

TEST_F(RunExamplesWithMmx, FieldsOfAWeighedPixel) {
    EXPECT_EQ(colour(5, {0, 0, 0}, {255, 255, 255}, {50, Bytes{255}}), (Bytes{126, 126, 126}));
    EXPECT_EQ(colour(2, {255, 255, 255}, {255, 0, 0}, {50, Bytes{255}}), (Bytes{255, 129, 129}));
    EXPECT_EQ(colour(2, {255, 255, 255}, {255, 0, 0}, {.transparency = 50}),
              (Bytes{255, 128, 128}));
}

// --- by luminance ----------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, LightenAndDarken) {
    const Bytes base{100, 100, 100}, overlay{99, 100, 101};
    EXPECT_EQ(grey(6, base, overlay), (Bytes{100, 100, 101}));
    EXPECT_EQ(grey(7, base, overlay), (Bytes{99, 100, 100}));
    // A whole pixel, or nothing of it: luminances 29 and 76.
    EXPECT_EQ(colour(6, {0, 50, 0}, {255, 0, 0}), (Bytes{255, 0, 0}));
    EXPECT_EQ(colour(7, {0, 50, 0}, {255, 0, 0}), (Bytes{0, 50, 0}));
    EXPECT_EQ(colour(6, {255, 0, 0}, {0, 50, 0}), (Bytes{255, 0, 0}));
    EXPECT_EQ(colour(7, {255, 0, 0}, {0, 50, 0}), (Bytes{0, 50, 0}));
    EXPECT_EQ(colour(6, {0, 0, 255}, {100, 0, 0}), (Bytes{100, 0, 0})); // 28 and 30
    EXPECT_EQ(colour(7, {100, 0, 0}, {0, 0, 255}), (Bytes{0, 0, 255}));
    // 0.3 and 0.9 are both 0; 0.9 and 1.2 are not.
    EXPECT_EQ(colour(6, {1, 0, 0}, {3, 0, 0}), (Bytes{1, 0, 0}));
    EXPECT_EQ(colour(7, {3, 0, 0}, {1, 0, 0}), (Bytes{3, 0, 0}));
    EXPECT_EQ(colour(6, {3, 0, 0}, {4, 0, 0}), (Bytes{4, 0, 0}));
    EXPECT_EQ(colour(7, {4, 0, 0}, {3, 0, 0}), (Bytes{3, 0, 0}));
}

TEST_P(RunExamplesEitherWay, LightenAndDarkenAreWeighed) {
    EXPECT_EQ(grey(6, {0, 0, 0}, {255, 255, 255}, {50, Bytes{0, 128, 255}}), (Bytes{0, 64, 127}));
    EXPECT_EQ(grey(6, {0}, {255}, {.transparency = 50}), Bytes{127});
    EXPECT_EQ(grey(7, {255}, {0}, {0, Bytes{64}}), Bytes{191});
    EXPECT_EQ(colour(6, {0, 0, 0}, {255, 255, 255}, {50, Bytes{255}}), (Bytes{127, 127, 127}));
    EXPECT_EQ(colour(7, {200, 200, 200}, {100, 100, 100}, {50, Bytes{128}}),
              (Bytes{174, 174, 174}));
}

// --- relief ----------------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, ReliefMovesByTheDistanceFromMidGrey) {
    const Bytes full(8, 255);
    EXPECT_EQ(
        relief({10, 10, 200, 200, 10, 200, 10, 200}, {255, 0, 255, 0, 128, 127, 129, 126}, full),
        (Bytes{137, 0, 255, 73, 10, 200, 11, 199}));
    EXPECT_EQ(relief({0, 100, 255}, {128, 127, 128}, {255, 255, 255}), (Bytes{0, 100, 255}));
}

TEST_P(RunExamplesEitherWay, StrengthOfRelief) {
    const auto strength = [](int transparency) {
        return relief({0, 255}, {255, 0}, {255, 255}, transparency);
    };
    EXPECT_EQ(strength(0), (Bytes{127, 128}));
    EXPECT_EQ(strength(1), (Bytes{126, 129}));
    EXPECT_EQ(strength(50), (Bytes{63, 192}));
    EXPECT_EQ(strength(98), (Bytes{2, 253}));
    EXPECT_EQ(strength(99), (Bytes{0, 255}));
}

// The mask says where, not how much.
TEST_P(RunExamplesEitherWay, ReliefUnderMask) {
    EXPECT_EQ(relief({10, 10, 10}, {255, 255, 255}, {0, 1, 255}), (Bytes{10, 137, 137}));
    EXPECT_EQ(relief({10, 10, 10}, {255, 255, 255}, {0, 1, 255}, 50), (Bytes{10, 73, 73}));
}

TEST_P(RunExamplesEitherWay, ReliefDoesNotReadTheBase) {
    const FencedMemory memory(1);
    Block result(Bytes{10, 20, 30}), overlay(Bytes{255, 128, 0}), mask(Bytes{9});
    EXPECT_SUCCESS(api().i32Merge(result.data(), memory.end(), mask.data(), overlay.data(), 3, 1,
                                  MERGE_RELIEF, 0));
    result.expect({137, 20, 0});
    overlay.expect({255, 128, 0});
}

// --- mask subtract ---------------------------------------------------------------------------

TEST_P(RunExamplesEitherWay, MaskSubtract) {
    EXPECT_EQ(grey(16, {100, 100, 0}, {30, 130, 1}), (Bytes{70, 0, 0}));
    EXPECT_EQ(colour(16, {100, 100, 0}, {30, 130, 1}), (Bytes{70, 0, 0}));
    // 30 x 128 / 255 = 15.
    EXPECT_EQ(grey(16, {100, 100, 100}, {30, 30, 30}, {0, Bytes{128, 255, 0}}),
              (Bytes{85, 70, 100}));
    EXPECT_EQ(colour(16, {100, 100, 10, 9, 9, 9}, {30, 255, 30, 1, 2, 3}, {0, Bytes{128, 0}}),
              (Bytes{85, 0, 0, 9, 9, 9}));
    EXPECT_EQ(grey(16, {100, 10}, {30, 12}, {.transparency = 10}), (Bytes{73, 0}));
}

// Above transparency 0 the whole run goes by the first mask byte: 30 x 128 x 90 / 25500 = 13.
TEST_P(RunExamplesEitherWay, MaskSubtractByTheFirstMaskByte) {
    EXPECT_EQ(grey(16, {100, 100, 100}, {30, 30, 30}, {10, Bytes{128, 255, 0}}),
              (Bytes{87, 87, 87}));
    EXPECT_EQ(colour(16, {100, 100, 10, 9, 9, 9}, {30, 255, 30, 30, 2, 0}, {10, Bytes{128, 0}}),
              (Bytes{87, 0, 0, 0, 9, 9}));
    EXPECT_EQ(grey(16, {100, 100, 100}, {30, 30, 30}, {10, Bytes{0, 255, 255}}),
              (Bytes{100, 100, 100}));
}

// --- shared memory ---------------------------------------------------------------------------

// An overlay that is the result is read as it was before the call.
TEST_P(RunExamplesEitherWay, OverlayThatIsTheResult) {
    const auto over_itself = [](unsigned mode, const Bytes &base, const Bytes &overlay) {
        Block result(overlay), under(base), mask(Bytes(base.size(), 255));
        EXPECT_SUCCESS(api().i32Merge(result.data(), under.data(), mask.data(), result.data(), 1,
                                      int(base.size()), mode, 0));
        return result.contents();
    };
    EXPECT_EQ(over_itself(MERGE_NORMAL, {1, 2, 3}, {9, 8, 7}), (Bytes{9, 8, 7}));
    EXPECT_EQ(over_itself(MERGE_ADD, {1, 2, 3}, {9, 8, 7}), (Bytes{10, 10, 10}));
    EXPECT_EQ(over_itself(MERGE_SUBTRACT, {1, 2, 30}, {9, 8, 7}), (Bytes{8, 6, 0}));
    EXPECT_EQ(over_itself(MERGE_LIGHTEN, {1, 9, 3}, {9, 8, 7}), (Bytes{9, 9, 7}));
    EXPECT_EQ(over_itself(MERGE_MASK_SUBTRACT, {10, 20, 3}, {9, 8, 7}), (Bytes{1, 12, 0}));
    // Relief: both are what the result holds.
    EXPECT_EQ(over_itself(MERGE_RELIEF, {0, 0, 0}, {129, 126, 255}), (Bytes{130, 125, 255}));
}

} // namespace
} // namespace q32::test
