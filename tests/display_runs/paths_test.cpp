// Which path a run takes, by depth, device type, palette and option; and what every path makes of
// pixels, literally and as the model has it.
#include "tests/display_runs/run_fixture.h"

#include <numeric>

namespace q32::test {
namespace {

class Paths : public RunTest {
protected:
    // What a run makes of one row at (0, 0); the row is repeated.
    std::vector<std::uint32_t> painted(RunSetup setup, const Bytes &row, int pixels, int rows = 1) {
        prepare(setup);
        setup.right = setup.left + pixels;
        setup.bottom = setup.top + rows;
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32ShowData(run, row.data(), 0, 0, rows, 0));
        end(run);
        const auto flushes = drawn(watch, setup);
        EXPECT_EQ(flushes.size(), 1u);
        return flushes.empty() ? std::vector<std::uint32_t>{} : flushes[0].pixels;
    }
    using Pixels = std::vector<std::uint32_t>;
};

TEST_F(Paths, EveryDepthOnEveryDevice) {
    Random random{test_seed(), 1};
    for (int type = 0; type <= 5; ++type)
        for (int depth : {1, 8, 16, 24})
            for (int entries : {0, 256})
                for (int option : {0, 1, -1}) {
                    RunSetup setup{.type = type, .depth = depth, .left = 3, .top = 5};
                    setup.right = setup.left + 61;
                    setup.bottom = setup.top + 19;
                    if (entries > 0)
                        setup.palette = some_colours(random, entries);
                    setup.option = option;
                    expect_as_model(setup, random);
                }
}

TEST_F(Paths, GammaAndTheSwitch) {
    Random random{test_seed(), 2};
    for (int type = 0; type <= 5; ++type)
        for (int depth : {8, 16, 24})
            for (bool dither : {false, true}) {
                RunSetup setup{.type = type, .depth = depth, .left = -9, .top = -7, .right = 60};
                setup.bottom = setup.top + 9;
                setup.dither = dither;
                setup.gamma = {50, 122, 200};
                expect_as_model(setup, random);
                setup.gamma = {100, 100, 55};
                expect_as_model(setup, random);
            }
}

TEST_F(Paths, EveryWidth) {
    Random random{test_seed(), 3};
    for (int type : {2, 3, 4, 5})
        for (int depth : {1, 8, 16, 24})
            for (int width = 1; width <= 97; ++width) {
                RunSetup setup{.type = type, .depth = depth, .left = width % 11, .top = 1};
                setup.right = setup.left + width;
                setup.bottom = 3;
                expect_as_model(setup, random);
            }
}

// --- literally: 16 colours -------------------------------------------------------------------

// (128, 128, 128) lights all planes where the threshold is at most 128, and none elsewhere.
TEST_F(Paths, MiddleGreyInSixteenColours) {
    const Bytes row(3 * 8, 128);
    const Pixels pixels = painted({.type = 2}, row, 8, 8);
    EXPECT_EQ(std::ranges::count(pixels, 15u), 32);
    EXPECT_EQ(std::ranges::count(pixels, 0u), 32);
    // 4 195 52 243 16 207 64 255 / 131 68 179 116 143 80 191 128
    EXPECT_EQ(Pixels(pixels.begin(), pixels.begin() + 16),
              (Pixels{15, 0, 15, 0, 15, 0, 15, 0, 0, 15, 0, 15, 0, 15, 0, 15}));
}

TEST_F(Paths, PrimariesInSixteenColours) {
    const Bytes row{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 3, 3, 3};
    for (int top : {0, 1, 2, 3, 4, 5, 6, 7})
        EXPECT_EQ(painted({.type = 2, .top = top}, row, 6), (Pixels{9, 10, 12, 15, 0, 0}));
    // Row 0: 4, 195, 52, 243 are reached, and just not.
    EXPECT_EQ(painted({.type = 2}, {4, 3, 0, 195, 0, 194, 51, 52, 0, 242, 0, 243}, 4),
              (Pixels{9, 9, 10, 12}));
}

TEST_F(Paths, GreysAsBits) {
    EXPECT_EQ(painted({.type = 2, .depth = 8}, {4, 194, 52, 242, 15, 207, 64, 254, 3}, 9),
              (Pixels{1, 0, 1, 0, 0, 1, 1, 0, 0}));
}

TEST_F(Paths, PaletteColoursInSixteenColours) {
    RunSetup setup{.type = 2, .depth = 8};
    setup.palette = {{255, 0, 0}, {0, 255, 255}, {3, 3, 3}};
    EXPECT_EQ(painted(setup, {0, 1, 2, 3, 255, 0}, 6), (Pixels{9, 14, 0, 0, 0, 9}));
}

// --- literally: bits -------------------------------------------------------------------------

TEST_F(Paths, BitsAreCopied) {
    for (int type = 0; type <= 5; ++type)
        EXPECT_EQ(painted({.type = type, .depth = 1}, {0xA1, 0x80}, 10),
                  (Pixels{1, 0, 1, 0, 0, 0, 0, 1, 1, 0}));
}

// --- literally: the cube ---------------------------------------------------------------------

TEST_F(Paths, BlackAndWhiteInTheCube) {
    for (int type : {0, 1, 3}) {
        EXPECT_EQ(painted({.type = type}, Bytes(24, 255), 8, 8), Pixels(64, 215));
        EXPECT_EQ(painted({.type = type}, Bytes(24, 0), 8, 8), Pixels(64, 0));
        EXPECT_EQ(painted({.type = type}, Bytes(24, 51), 8, 8), Pixels(64, 36 + 6 + 1));
        EXPECT_EQ(painted({.type = type, .depth = 16}, Bytes(16, 0xFF), 8, 8), Pixels(64, 215));
    }
}

// Row 0: 1 39 10 48 3 41 12 51.
TEST_F(Paths, StepsOfTheCube) {
    EXPECT_EQ(painted({.type = 3}, {1, 0, 0, 38, 38, 39, 0, 61, 0, 48, 99, 51}, 4),
              (Pixels{36, 1, 12, 36 + 12 + 1}));
    // The last but one of all fractions, 50, never reaches 51.
    EXPECT_EQ(painted({.type = 3, .left = 7}, {50, 101, 254}, 1), (Pixels{6 + 4}));
}

// 0 becomes 7, which takes a step at thresholds to 7: 1, 3, 7, 4, 6, 2, 1, 5, 4 of the matrix.
TEST_F(Paths, BlackWordsInTheCube) {
    const Pixels pixels = painted({.type = 3, .depth = 16}, Bytes(16, 0), 8, 8);
    EXPECT_EQ(std::ranges::count(pixels, 43u), 9);
    EXPECT_EQ(std::ranges::count(pixels, 0u), 55);
    EXPECT_EQ(pixels[0], 43u);
    EXPECT_EQ(pixels[4], 43u);
    EXPECT_EQ(pixels[16], 43u);
}

TEST_F(Paths, PaletteColoursInTheCube) {
    RunSetup setup{.type = 3, .depth = 8, .option = 1};
    setup.palette = {{255, 255, 255}, {255, 0, 51}, {1, 0, 0}};
    EXPECT_EQ(painted(setup, {2, 2, 0, 1, 3, 200}, 6), (Pixels{36, 0, 215, 181, 0, 0}));
    setup.option = 0;
    EXPECT_EQ(painted(setup, {2, 2, 0, 1, 3, 200}, 6), (Pixels{2, 2, 0, 1, 3, 200}));
}

TEST_F(Paths, Greys) {
    Bytes all(256);
    std::iota(all.begin(), all.end(), std::uint8_t(0));
    Pixels sixteenths, halves, colours;
    for (unsigned i = 0; i < 256; ++i) {
        sixteenths.push_back(i / 16);
        halves.push_back(i / 2);
        colours.push_back(i * 0x010101);
    }
    for (int type : {0, 1, 3}) {
        EXPECT_EQ(painted({.type = type, .depth = 8, .option = 1}, all, 256), sixteenths);
        EXPECT_EQ(painted({.type = type, .depth = 8, .option = 0}, all, 256), halves);
    }
    for (int option : {0, 1})
        EXPECT_EQ(painted({.type = 4, .depth = 8, .option = option}, all, 256), colours);
}

// --- literally: true and high colour -----------------------------------------------------------

TEST_F(Paths, TrueColour) {
    EXPECT_EQ(painted({.type = 4}, {1, 2, 3, 254, 255, 0}, 2), (Pixels{0x010203, 0xFEFF00}));
    // Blue 1, green 2, red 4; bit 15 is ignored.
    EXPECT_EQ(painted({.type = 4, .depth = 16}, {0x41, 0x10, 0x41, 0x90, 0xFF, 0x7F, 0, 0x80}, 4),
              (Pixels{0x27170F, 0x27170F, 0xFFFFFF, 0x070707}));
    RunSetup setup{.type = 4};
    setup.gamma = {50, 55, 200};
    EXPECT_EQ(painted(setup, {128, 128, 128, 255, 0, 1}, 2),
              (Pixels{unsigned(model::levels_at_50[128]) << 16 | model::levels_at_55[128] << 8 |
                          model::levels_at_200[128],
                      0xFF000F}));
    EXPECT_EQ(model::levels_at_50[128], 64);
}

// 255 becomes 248, and stays so at every place of the matrix; without the switch it is not reduced.
TEST_F(Paths, WhiteInHighColour) {
    EXPECT_EQ(painted({.type = 5}, Bytes(24, 255), 8, 8), Pixels(64, 0xF8F8F8));
    RunSetup off{.type = 5};
    off.dither = false;
    EXPECT_EQ(painted(off, Bytes(24, 255), 8, 8), Pixels(64, 0xF8F8F8));
    EXPECT_EQ(painted({.type = 5}, Bytes(24, 0), 8, 8), Pixels(64, 0));
}

// (v x 248 + 127) / 255: 4 becomes 4, 8 becomes 8, 100 becomes 97, 200 becomes 195.
// Row 0: 1 7 2 8, row 1: 5 3 6 4.
TEST_F(Paths, HighColour) {
    const Bytes row{4, 8, 100, 4, 8, 100, 4, 200, 100, 200, 8, 100};
    EXPECT_EQ(painted({.type = 5}, row, 4, 2), (Pixels{0x080868, 0x000860, 0x08C860, 0xC00860, //
                                                       0x000860, 0x080860, 0x00C060, 0xC00860}));
    RunSetup off{.type = 5};
    off.dither = false;
    EXPECT_EQ(painted(off, row, 4), (Pixels{0x040861, 0x040861, 0x04C361, 0xC30861}));
}

// The switch counts when a run is opened; anything but 0 is on.
TEST_F(Paths, TheSwitchIsReadAtTheStart) {
    const RunSetup setup{.type = 5, .right = 4, .bottom = 1};
    prepare(setup);
    const Bytes row(12, 100);
    GdiWatch watch(dc());
    for (int on : {1, 0, 2, -1, 256}) {
        api().disp32BeHiColorDither(on);
        const HDISPRUN run = open(setup);
        api().disp32BeHiColorDither(!on);
        EXPECT_SUCCESS(api().disp32ShowData(run, row.data(), 0, 0, 1, 0));
        end(run);
        const auto flushes = drawn(watch, setup);
        ASSERT_EQ(flushes.size(), 1u);
        EXPECT_EQ(flushes[0].pixels,
                  on ? (Pixels{0x686868, 0x606060, 0x606060, 0x606060}) : Pixels(4, 0x616161));
    }
}

} // namespace
} // namespace q32::test
