// The screen's gamma: percentages, tables as corrected palettes show them, and the library's own
// palettes, which follow.
#include "tests/display/display_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class ScreenGamma : public DisplayTest {};

TEST_F(ScreenGamma, CorrectsNothingAtTheStart) {
    start();
    expect_gamma({100, 100, 100});
}

// --- percentages -----------------------------------------------------------------------------

// Truncated toward zero, for negative gammas too.
TEST_F(ScreenGamma, PercentagesAreCut) {
    start();
    const struct {
        int hundredths, percent;
    } cases[] = {{180, 100},
                 {179, 99},
                 {181, 100},
                 {182, 101},
                 {90, 50},
                 {220, 122},
                 {100, 55},
                 {1, 0},
                 {2, 1},
                 {0, 0},
                 {-1, 0},
                 {-2, -1},
                 {-180, -100},
                 {-182, -101},
                 {9, 5},
                 {7, 3},
                 {900000000, 500000000},
                 {INT_MAX, 1193046470},
                 {INT_MIN, -1193046471}};
    for (const auto &[hundredths, percent] : cases) {
        EXPECT_SUCCESS(api().disp32NewScreenGamma(hundredths, 180, 180));
        EXPECT_EQ(gamma(), (Gamma{percent, 100, 100})) << hundredths;
        EXPECT_SUCCESS(api().disp32NewScreenGamma(180, hundredths, 180));
        EXPECT_EQ(gamma(), (Gamma{100, percent, 100})) << hundredths;
        EXPECT_SUCCESS(api().disp32NewScreenGamma(180, 180, hundredths));
        EXPECT_EQ(gamma(), (Gamma{100, 100, percent})) << hundredths;
    }
    for (int hundredths = -400; hundredths <= 1000; ++hundredths) {
        EXPECT_EQ(api().disp32NewScreenGamma(hundredths, hundredths + 1, -hundredths), 1);
        ASSERT_EQ(gamma(),
                  (Gamma{model::gamma_percent(hundredths), model::gamma_percent(hundredths + 1),
                         model::gamma_percent(-hundredths)}));
    }
}

// --- tables ----------------------------------------------------------------------------------

TEST_F(ScreenGamma, TablesOfEveryPercentage) {
    start();
    for (int percent = -7; percent <= 400; percent += percent < 20 ? 1 : 3) {
        SCOPED_TRACE(percent);
        const Gamma gamma{percent, percent + 1, percent + 2};
        set_gamma(gamma);
        ASSERT_EQ(this->gamma(), gamma);
        const Entries wanted = corrected(grey_ramp(256), gamma);
        ASSERT_EQ(tables(), wanted);
    }
}

TEST_F(ScreenGamma, TablesLevelByLevel) {
    start();
    const auto expect_levels = [&](int hundredths, const model::Levels &levels) {
        EXPECT_SUCCESS(api().disp32NewScreenGamma(hundredths, hundredths, hundredths));
        const Entries corrected = tables();
        for (int level = 0; level < 256; ++level)
            ASSERT_EQ(corrected[level], (PaletteEntry{levels[level], levels[level], levels[level]}))
                << level << " at " << hundredths;
    };
    expect_levels(90, model::levels_at_50);
    expect_levels(100, model::levels_at_55);
    expect_levels(220, model::levels_at_122);
    expect_levels(360, model::levels_at_200);
    EXPECT_SUCCESS(api().disp32NewScreenGamma(180, 180, 180));
    EXPECT_EQ(tables(), grey_ramp(256));
    // 90: half the exponent's reciprocal squares.
    EXPECT_SUCCESS(api().disp32NewScreenGamma(90, 180, 180));
    EXPECT_EQ(tables()[128], (PaletteEntry{64, 128, 128}));
    // 181 and 180 share a percentage; 182 does not.
    EXPECT_SUCCESS(api().disp32NewScreenGamma(181, 182, 179));
    expect_gamma({100, 101, 99});
}

// A percentage below 1 is kept as it is and corrects as 1 does.
TEST_F(ScreenGamma, PercentagesBelowOneCountAsOne) {
    start();
    EXPECT_SUCCESS(api().disp32NewScreenGamma(0, -90, INT_MIN));
    expect_gamma({0, -50, -1193046471});
    EXPECT_EQ(tables()[254], (PaletteEntry{172, 172, 172}));
    EXPECT_EQ(tables()[253], (PaletteEntry{116, 116, 116}));
    EXPECT_EQ(tables()[241], (PaletteEntry{0, 0, 0}));
}

TEST_F(ScreenGamma, LargestPercentagesKeepBlackAndWhite) {
    start();
    EXPECT_SUCCESS(api().disp32NewScreenGamma(INT_MAX, INT_MAX, INT_MAX));
    const Entries levels = tables();
    EXPECT_EQ(levels[0], (PaletteEntry{0, 0, 0}));
    for (int level = 1; level < 255; ++level)
        EXPECT_EQ(levels[level], (PaletteEntry{254, 254, 254})) << level;
    EXPECT_EQ(levels[255], (PaletteEntry{255, 255, 255}));
}

TEST_F(ScreenGamma, ReachesPalettesThatAreMadeAfterwards) {
    start();
    set_gamma({50, 100, 200});
    EXPECT_EQ(take_entries(api().disp32CreateGrayPalette(nullptr, 3, 1))[1],
              (PaletteEntry{63, 127, 179}));
    const HPALETTE kept = api().disp32CreateGrayPalette(nullptr, 3, 1);
    set_gamma({100, 100, 100});
    EXPECT_EQ(entries_of(kept)[1], (PaletteEntry{63, 127, 179})); // the caller's stay as they are
    EXPECT_EQ(take_entries(kept).size(), 3u);
    EXPECT_EQ(take_entries(api().disp32CreateGrayPalette(nullptr, 3, 1))[1],
              (PaletteEntry{127, 127, 127}));
}

// --- the library's palettes ------------------------------------------------------------------

class GammaOfLibraryPalettes : public ScreenGamma {
protected:
    void start_as(int type) {
        start();
        if (information().type != type) {
            EXPECT_SUCCESS(api().disp32SetDevType(type));
        }
        EXPECT_EQ(watch.contents(), library_palettes(type));
        watch.look();
    }
    PaletteWatch watch;
    static constexpr Gamma first{55, 122, 200}, second{-1, 300, 99};
};

TEST_F(GammaOfLibraryPalettes, IsWrittenIntoThoseOfPaletteDevices) {
    start_as(DISP32_PALETTE);
    const std::vector<HPALETTE> before = watch.held();
    for (const Gamma &gamma : {first, second, Gamma{}}) {
        set_gamma(gamma);
        EXPECT_EQ(watch.contents(), library_palettes(DISP32_PALETTE, gamma)) << gamma;
        EXPECT_EQ(watch.held(), before);
        EXPECT_EQ(watch.look(), (PaletteWatch::Counts{0, 0, 3}));
    }
}

TEST_F(GammaOfLibraryPalettes, ReplacesThatOfTrueAndHighColourDevices) {
    for (int type : {DISP32_TRUE_COLOUR, DISP32_HIGH_COLOUR}) {
        SCOPED_TRACE(type);
        start_as(type);
        for (const Gamma &gamma : {first, second, Gamma{}}) {
            set_gamma(gamma);
            EXPECT_EQ(watch.contents(), library_palettes(type, gamma)) << gamma;
            const PaletteWatch::Counts counts = watch.look();
            EXPECT_EQ(counts.created, 1);
            EXPECT_EQ(counts.deleted, 1);
        }
        stop();
    }
}

// With so few colours the palettes keep the gamma with which they were made.
TEST_F(GammaOfLibraryPalettes, LeavesThoseOfSmallerDevices) {
    for (int type : {DISP32_MONOCHROME, DISP32_EIGHT_COLOURS, DISP32_SIXTEEN_COLOURS}) {
        SCOPED_TRACE(type);
        start_as(type);
        set_gamma(first);
        EXPECT_EQ(watch.contents(), library_palettes(type));
        EXPECT_EQ(watch.look(), PaletteWatch::Counts{});
        expect_gamma(first);
        watch.look();
        EXPECT_SUCCESS(api().disp32SetDevType(type == 0 ? 1 : 0));
        EXPECT_EQ(watch.contents(), library_palettes(0, first));
        stop();
    }
}

TEST_F(GammaOfLibraryPalettes, StaysWhenTheTypeIsForced) {
    start();
    set_gamma(first);
    for (int type : {3, 4, 5, 0, 1, 2, 3, 5, 4, 99}) {
        SCOPED_TRACE(type);
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        expect_gamma(first);
        EXPECT_EQ(watch.contents(), library_palettes(information().type, first));
    }
}

} // namespace
} // namespace q32::test
