// Palettes made and rewritten: grey ramps, colour cubes and the fixed sets of colours.
#include "tests/display/display_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class Palettes : public DisplayTest {
protected:
    void SetUp() override {
        DisplayTest::SetUp();
        start();
    }
    Entries greys(int levels, int with_gamma = 0) {
        return take_entries(api().disp32CreateGrayPalette(nullptr, levels, with_gamma));
    }
    Entries colours(int mode, int entries, int with_gamma = 0) {
        return take_entries(api().disp32CreateColorPalette(nullptr, mode, entries, with_gamma));
    }
    static constexpr Gamma some_gamma{50, 122, 200};
};

// --- greys -----------------------------------------------------------------------------------

TEST_F(Palettes, GreysOfEveryNumberOfLevels) {
    for (int levels = 2; levels <= 256; ++levels)
        ASSERT_EQ(greys(levels), grey_ramp(levels)) << levels;
    const Entries sixteen = greys(16);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(sixteen[i],
                  (PaletteEntry{std::uint8_t(17 * i), std::uint8_t(17 * i), std::uint8_t(17 * i)}));
    EXPECT_EQ(greys(3)[1], (PaletteEntry{127, 127, 127}));
    EXPECT_EQ(greys(128)[126], (PaletteEntry{252, 252, 252}));
}

TEST_F(Palettes, GreysHaveTwoLevelsAtLeastAnd256AtMost) {
    const Entries black_and_white{{0, 0, 0}, {255, 255, 255}};
    for (int levels : {1, 0, -1, -256, INT_MIN})
        EXPECT_EQ(greys(levels), black_and_white) << levels;
    for (int levels : {257, 300, 32768, 65537, INT_MAX})
        EXPECT_EQ(greys(levels), grey_ramp(256)) << levels;
}

TEST_F(Palettes, GreysWithGammaAreCorrectedInEachChannel) {
    set_gamma(some_gamma);
    for (int levels : {2, 16, 128, 256}) {
        EXPECT_EQ(greys(levels, 1), corrected(grey_ramp(levels), some_gamma));
        EXPECT_EQ(greys(levels, -8), corrected(grey_ramp(levels), some_gamma));
        EXPECT_EQ(greys(levels, 0), grey_ramp(levels));
    }
    EXPECT_EQ(greys(16, 1)[8], (PaletteEntry{72, 152, 186})); // 136
}

TEST_F(Palettes, GreysAreWrittenOverThoseThatAreThere) {
    const Entries before = colourful(300);
    for (int levels : {INT_MIN, 2, 16, 256, 1000}) {
        SCOPED_TRACE(levels);
        const OwnPalette palette{before};
        Entries after = before;
        std::ranges::copy(grey_ramp(std::clamp(levels, 2, 256)), after.begin());
        const FailingCall created("CreatePalette", 0);
        EXPECT_EQ(api().disp32CreateGrayPalette(palette.get(), levels, 0), palette.get());
        EXPECT_EQ(palette.entries(), after);
        EXPECT_EQ(created.calls(), 0);
    }
}

TEST_F(Palettes, GreysAreWrittenAsFarAsThePaletteGoes) {
    const OwnPalette palette{colourful(10)};
    EXPECT_EQ(api().disp32CreateGrayPalette(palette.get(), 256, 0), palette.get());
    Entries ramp = grey_ramp(256);
    ramp.resize(10);
    EXPECT_EQ(palette.entries(), ramp);
}

TEST_F(Palettes, AreWrittenOverWithGamma) {
    set_gamma(some_gamma);
    const OwnPalette palette{colourful(256)};
    EXPECT_EQ(api().disp32CreateGrayPalette(palette.get(), 256, 1), palette.get());
    EXPECT_EQ(palette.entries(), corrected(grey_ramp(256), some_gamma));
    EXPECT_EQ(api().disp32CreateColorPalette(palette.get(), 2, 256, 1), palette.get());
    EXPECT_EQ(palette.entries(), corrected(colour_cube(2, 256), some_gamma));
}

// --- colours ---------------------------------------------------------------------------------

TEST_F(Palettes, CubesOfEveryMode) {
    for (int mode : {2, 3, 0, 1, 4, 5, -1, 256 + 3, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(mode);
        EXPECT_EQ(colours(mode, 256), colour_cube(mode, 256));
    }
}

// Literal entries: 216 and 40 white ones, 252 and 4, 256.
TEST_F(Palettes, CubesEndWhiteWhereTheyAreSmaller) {
    const PaletteEntry white{255, 255, 255};
    const Entries of_216 = colours(DISP32_CUBE_666, 256);
    EXPECT_EQ(of_216[1], (PaletteEntry{0, 0, 51}));
    EXPECT_EQ(of_216[6], (PaletteEntry{0, 51, 0}));
    EXPECT_EQ(of_216[36], (PaletteEntry{51, 0, 0}));
    EXPECT_EQ(of_216[214], (PaletteEntry{255, 255, 204}));
    EXPECT_EQ(std::count(of_216.begin() + 216, of_216.end(), white), 40);
    const Entries of_252 = colours(DISP32_CUBE_676, 256);
    EXPECT_EQ(of_252[6], (PaletteEntry{0, 43, 0}));
    EXPECT_EQ(of_252[42], (PaletteEntry{51, 0, 0}));
    EXPECT_EQ(of_252[250], (PaletteEntry{255, 255, 204}));
    EXPECT_EQ(std::count(of_252.begin() + 252, of_252.end(), white), 4);
    const Entries of_256 = colours(0, 256);
    EXPECT_EQ(of_256[1], (PaletteEntry{0, 0, 85}));
    EXPECT_EQ(of_256[4], (PaletteEntry{0, 36, 0}));
    EXPECT_EQ(of_256[32], (PaletteEntry{36, 0, 0}));
    EXPECT_EQ(of_256[254], (PaletteEntry{255, 255, 170}));
    EXPECT_EQ(std::ranges::count(of_256, white), 1);
}

TEST_F(Palettes, CubesAreBlackBehind256Entries) {
    for (int entries : {257, 258, 300, 1000, 32767, 32768, 40000, 65534, 65535}) {
        SCOPED_TRACE(entries);
        EXPECT_EQ(colours(3, entries), colour_cube(3, entries));
        EXPECT_EQ(colours(7, entries), colour_cube(7, entries));
    }
}

TEST_F(Palettes, FixedColoursOfEveryNumber) {
    const Entries black_and_white{{0, 0, 0}, {255, 255, 255}};
    for (int mode : {0, 2, 3})
        for (int entries = 1; entries < 256; entries += mode == 0 || entries < 20 ? 1 : 47) {
            const Entries wanted = entries == 2   ? black_and_white
                                   : entries == 8 ? eight_colours()
                                                  : sixteen_colours(entries);
            ASSERT_EQ(colours(mode, entries), wanted) << entries;
        }
}

TEST_F(Palettes, ColoursWithGammaAreCorrectedInEachChannel) {
    set_gamma(some_gamma);
    for (int entries : {1, 2, 3, 8, 15, 16, 17, 255, 256, 300}) {
        SCOPED_TRACE(entries);
        for (int mode : {2, 3, 4}) {
            const Entries plain = colours(mode, entries);
            EXPECT_EQ(colours(mode, entries, 1), corrected(plain, some_gamma));
            EXPECT_EQ(colours(mode, entries, 256), corrected(plain, some_gamma));
        }
    }
    EXPECT_EQ(colours(0, 16, 1)[7], (PaletteEntry{64, 144, 180}));  // 128
    EXPECT_EQ(colours(0, 16, 1)[8], (PaletteEntry{144, 202, 221})); // 192
    EXPECT_EQ(colours(2, 256, 1)[6], (PaletteEntry{0, 59, 0}));     // 43
    EXPECT_EQ(colours(0, 16), sixteen_colours(16));
}

TEST_F(Palettes, ColoursAreWrittenOverThoseThatAreThere) {
    const Entries before = colourful(300);
    for (int entries : {1, 2, 8, 16, 100, 256, 299}) {
        SCOPED_TRACE(entries);
        const OwnPalette palette{before};
        Entries after = before;
        std::ranges::copy(colours(3, entries), after.begin());
        const FailingCall created("CreatePalette", 0);
        EXPECT_EQ(api().disp32CreateColorPalette(palette.get(), 3, entries, 0), palette.get());
        EXPECT_EQ(palette.entries(), after);
        EXPECT_EQ(created.calls(), 0);
    }
}

TEST_F(Palettes, ColoursAreWrittenAsFarAsThePaletteGoes) {
    for (int size : {1, 10, 216, 256, 300, 32768, 65535})
        for (int entries : {size, size + 1, 256, 257, 1000, 32767, 32768, 65535}) {
            if (entries < size || entries > 65535)
                continue;
            SCOPED_TRACE(std::to_string(entries) + " into " + std::to_string(size));
            const OwnPalette palette{colourful(size)};
            EXPECT_EQ(api().disp32CreateColorPalette(palette.get(), 3, entries, 0), palette.get());
            Entries written = entries == 2    ? Entries{{0, 0, 0}, {255, 255, 255}}
                              : entries < 256 ? sixteen_colours(entries)
                                              : colour_cube(3, entries);
            written.resize(std::size_t(size));
            EXPECT_EQ(palette.entries(), written);
        }
}

// Every number of colours in every way: made or written over, by each cube, corrected or not; and
// the size that is told.
TEST_F(Palettes, ColoursOfEveryNumberInEveryWay) {
    set_gamma(some_gamma);
    const Entries before = colourful(65535);
    for (int entries : {1,   2,   3,   4,   5,   6,   7,    8,     9,     15,    16,   17,
                        100, 254, 255, 256, 257, 258, 1000, 32767, 32768, 65534, 65535})
        for (int mode : {DISP32_CUBE_676, DISP32_CUBE_666, 0, -1})
            for (int with_gamma : {0, 1}) {
                SCOPED_TRACE(std::to_string(entries) + ", mode " + std::to_string(mode) +
                             ", gamma " + std::to_string(with_gamma));
                Entries wanted = entries == 2    ? Entries{{0, 0, 0}, {255, 255, 255}}
                                 : entries == 8  ? eight_colours()
                                 : entries < 256 ? sixteen_colours(entries)
                                                 : colour_cube(mode, entries);
                if (with_gamma != 0 && entries != 2)
                    wanted = corrected(wanted, some_gamma);
                const HPALETTE made =
                    api().disp32CreateColorPalette(nullptr, mode, entries, with_gamma);
                EXPECT_EQ(api().disp32PalSize(made), entries);
                ASSERT_EQ(take_entries(made), wanted);

                const OwnPalette palette{before};
                EXPECT_EQ(api().disp32CreateColorPalette(palette.get(), mode, entries, with_gamma),
                          palette.get());
                EXPECT_EQ(api().disp32PalSize(palette.get()), 65535);
                std::copy(before.begin() + entries, before.end(), std::back_inserter(wanted));
                ASSERT_EQ(palette.entries(), wanted);
            }
    expect_no_report();
}

// A palette has a size of 16 bits.
TEST_F(Palettes, WithNoEntriesOrTooManyAreNotMade) {
    const OwnPalette existing{colourful(20)};
    const Census before = Census::now();
    for (int mode : {2, 3, 0})
        for (int with_gamma : {0, 1}) {
            for (int entries : {0, -1, -256, INT_MIN, 65536, 65536 + 16, 65536 + 256, INT_MAX}) {
                SCOPED_TRACE(entries);
                EXPECT_SILENT_FAILURE(
                    api().disp32CreateColorPalette(nullptr, mode, entries, with_gamma));
            }
            for (int entries : {65536, 65536 + 16, 65536 + 256, INT_MAX}) {
                SCOPED_TRACE(entries);
                EXPECT_SILENT_FAILURE(
                    api().disp32CreateColorPalette(existing.get(), mode, entries, with_gamma));
            }
        }
    EXPECT_EQ(Census::now(), before);
    EXPECT_EQ(existing.entries(), colourful(20));
}

// No colour is written over nothing: the palette stays as it is, and is given back.
TEST_F(Palettes, AreGivenBackWhereNoEntryIsWritten) {
    const OwnPalette existing{colourful(20)};
    const Census before = Census::now();
    for (int entries : {0, -1, -2, -8, -256, -65536, INT_MIN})
        for (int mode : {2, 3, 0})
            for (int with_gamma : {0, 1}) {
                HPALETTE given = nullptr;
                EXPECT_SUCCESS(given = api().disp32CreateColorPalette(existing.get(), mode, entries,
                                                                      with_gamma));
                EXPECT_EQ(given, existing.get()) << entries;
            }
    EXPECT_EQ(Census::now(), before);
    EXPECT_EQ(existing.entries(), colourful(20));
}

// A palette that is given is given back, whatever the system says to its entries.
TEST_F(Palettes, ThatAreNoneAreGivenBack) {
    OwnPalette palette(colourful(4));
    const HPALETTE deleted = palette.deleted();
    EXPECT_EQ(api().disp32CreateGrayPalette(deleted, 16, 0), deleted);
    for (int entries : {0, 1, 8, 256, 65535})
        EXPECT_EQ(api().disp32CreateColorPalette(deleted, 3, entries, 1), deleted) << entries;
    expect_no_report();
}

// What reaches the system: version, number of entries, and no flags.
TEST_F(Palettes, ReachTheSystemWithoutFlags) {
    std::vector<int> sizes;
    const Replaced<call::CreatePalette> create([&](const LOGPALETTE *contents) {
        EXPECT_EQ(contents->palVersion, 0x300);
        sizes.push_back(contents->palNumEntries);
        for (int i = 0; i < contents->palNumEntries; ++i)
            EXPECT_EQ(contents->palPalEntry[i].peFlags, 0) << i;
        return call::CreatePalette::real(contents);
    });
    greys(0);
    greys(1000, 1);
    colours(3, 1);
    colours(3, 8, 1);
    colours(3, 255, 1);
    colours(2, 32768, 1);
    colours(2, 65535, 1);
    EXPECT_EQ(sizes, (std::vector<int>{2, 256, 1, 8, 255, 32768, 65535}));
}

} // namespace
} // namespace q32::test
