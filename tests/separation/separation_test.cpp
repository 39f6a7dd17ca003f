// Single colours there and back: worked examples, every RGB colour, a dense grid of inks, and what
// there is before the tables are made.
#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/library/library_fixture.h"
#include "tests/models/separation.h"

#include <array>
#include <cstring>

namespace q32::test {
namespace {

using Rgb = std::array<std::uint8_t, 3>;
using Cmyk = std::array<std::uint8_t, 4>;

class Separation : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        start();
    }

    Cmyk separated(const Rgb &rgb) {
        std::uint8_t *const source = sources_.end() - 3, *const made = made_.end() - 4;
        std::memcpy(source, rgb.data(), 3);
        std::memset(made - 4, 0xA5, 8);
        EXPECT_EQ(api().qfdClrRgbToCmyk(source, made), made);
        EXPECT_EQ(std::memcmp(source, rgb.data(), 3), 0);
        EXPECT_EQ(std::memcmp(made - 4, "\xA5\xA5\xA5\xA5", 4), 0);
        return {made[0], made[1], made[2], made[3]};
    }
    Rgb together(const Cmyk &cmyk) {
        std::uint8_t *const source = sources_.end() - 4, *const made = made_.end() - 3;
        std::memcpy(source, cmyk.data(), 4);
        std::memset(made - 5, 0xA5, 8);
        api().qfdClrCmykToRgb(source, made);
        EXPECT_EQ(std::memcmp(source, cmyk.data(), 4), 0);
        EXPECT_EQ(std::memcmp(made - 5, "\xA5\xA5\xA5\xA5\xA5", 5), 0);
        return {made[0], made[1], made[2]};
    }

    // All colours, in memory that ends at inaccessible pages.
    void expect_every_colour(const model::Separation &tables) {
        std::uint8_t *const source = sources_.end() - 3, *const made = made_.end() - 4;
        const auto convert = api().qfdClrRgbToCmyk;
        for (int red = 0; red < 256; ++red)
            for (int green = 0; green < 256; ++green)
                for (int blue = 0; blue < 256; ++blue) {
                    source[0] = std::uint8_t(red);
                    source[1] = std::uint8_t(green);
                    source[2] = std::uint8_t(blue);
                    convert(source, made);
                    std::uint32_t found;
                    std::memcpy(&found, made, 4);
                    ASSERT_EQ(found, model::to_cmyk(tables, red, green, blue))
                        << red << ' ' << green << ' ' << blue;
                }
    }

    // Every black with a grid of the other inks that contains both ends.
    void expect_many_inks(const model::Separation &tables) {
        std::uint8_t *const source = sources_.end() - 4, *const made = made_.end() - 3;
        const auto convert = api().qfdClrCmykToRgb;
        constexpr int step = 5;
        for (int cyan = 0; cyan < 256; cyan += step)
            for (int magenta = 0; magenta < 256; magenta += step)
                for (int yellow = 0; yellow < 256; yellow += step)
                    for (int black = 0; black < 256; ++black) {
                        source[0] = std::uint8_t(cyan);
                        source[1] = std::uint8_t(magenta);
                        source[2] = std::uint8_t(yellow);
                        source[3] = std::uint8_t(black);
                        convert(source, made);
                        std::uint32_t found = 0;
                        std::memcpy(&found, made, 3);
                        ASSERT_EQ(found, model::to_rgb(tables, cyan, magenta, yellow, black))
                            << cyan << ' ' << magenta << ' ' << yellow << ' ' << black;
                    }
    }

    FencedMemory sources_{FencedMemory::page}, made_{FencedMemory::page};
};

const model::Separation &built() {
    static const model::Separation tables = model::separation({});
    return tables;
}

// --- worked examples -----------------------------------------------------------------------------

TEST_F(Separation, White) {
    api().qfdCalcBGCurve();
    EXPECT_EQ(separated({255, 255, 255}), (Cmyk{0, 0, 0, 0}));
    EXPECT_EQ(together({0, 0, 0, 0}), (Rgb{255, 255, 255}));
}

// Black 255, of which 26 come out of each ink: 229; 49 above the limit of 893, and 16 less each.
TEST_F(Separation, Black) {
    api().qfdCalcBGCurve();
    EXPECT_EQ(separated({0, 0, 0}), (Cmyk{213, 213, 213, 255}));
    EXPECT_EQ(together({213, 213, 213, 255}), (Rgb{0, 0, 0}));
}

TEST_F(Separation, OtherColours) {
    api().qfdCalcBGCurve();
    EXPECT_EQ(separated({255, 0, 0}), (Cmyk{0, 255, 255, 0}));
    EXPECT_EQ(separated({0, 0, 1}), (Cmyk{215, 215, 214, 251}));
    EXPECT_EQ(separated({128, 128, 128}), (Cmyk{125, 125, 125, 24}));
    EXPECT_EQ(separated({10, 20, 30}), (Cmyk{228, 218, 208, 168}));
    EXPECT_EQ(separated({1, 2, 3}), (Cmyk{217, 216, 215, 245}));
    EXPECT_EQ(separated({64, 100, 200}), (Cmyk{191, 155, 55, 1}));
    EXPECT_EQ(separated({15, 0, 0}), (Cmyk{219, 234, 234, 208}));

    EXPECT_EQ(together({0, 0, 0, 255}), (Rgb{0, 0, 0}));
    EXPECT_EQ(together({0, 0, 0, 1}), (Rgb{206, 206, 206}));
    EXPECT_EQ(together({0, 0, 0, 25}), (Rgb{127, 127, 127}));
    EXPECT_EQ(together({0, 0, 0, 26}), (Rgb{126, 126, 126}));
    EXPECT_EQ(together({100, 50, 0, 128}), (Rgb{0, 0, 47}));
    EXPECT_EQ(together({255, 0, 0, 128}), (Rgb{0, 47, 47}));
    EXPECT_EQ(together({200, 200, 200, 10}), (Rgb{55, 55, 55}));
    EXPECT_EQ(together({255, 255, 255, 255}), (Rgb{0, 0, 0}));
    EXPECT_EQ(together({255, 255, 255, 0}), (Rgb{0, 0, 0}));
}

// --- all colours -------------------------------------------------------------------------------

TEST_F(Separation, EveryColour) {
    api().qfdCalcBGCurve();
    expect_every_colour(built());
}

TEST_F(Separation, ManyInks) {
    api().qfdCalcBGCurve();
    expect_many_inks(built());
}

TEST_F(Separation, RandomInks) {
    api().qfdCalcBGCurve();
    random_cases(20, [&](Random &random, std::uint64_t number) {
        SCOPED_TRACE(rerun(number));
        for (int i = 0; i < 20000 && !HasFailure(); ++i) {
            Cmyk inks;
            random.fill(inks);
            const Rgb found = together(inks);
            const std::uint32_t wanted = model::to_rgb(built(), inks[0], inks[1], inks[2], inks[3]);
            EXPECT_EQ(std::uint32_t(found[0] | found[1] << 8 | found[2] << 16), wanted);
        }
        return !HasFailure();
    });
}

// --- before the tables are made ----------------------------------------------------------------

TEST_F(Separation, WithoutTablesThereIsNoBlackAndNoLimit) {
    EXPECT_EQ(separated({0, 0, 0}), (Cmyk{255, 255, 255, 0}));
    EXPECT_EQ(separated({1, 2, 3}), (Cmyk{254, 253, 252, 0}));
    EXPECT_EQ(together({0, 0, 0, 255}), (Rgb{255, 255, 255}));
    EXPECT_EQ(together({10, 20, 30, 200}), (Rgb{245, 235, 225}));
    expect_every_colour(model::unbuilt);
    expect_many_inks(model::unbuilt);
    api().qfdCalcBGCurve();
    EXPECT_EQ(separated({0, 0, 0}), (Cmyk{213, 213, 213, 255}));
    // Tables are the process's no longer than the library is there.
    stop();
    start();
    EXPECT_EQ(separated({0, 0, 0}), (Cmyk{255, 255, 255, 0}));
}

TEST_F(Separation, MakingThemAgainChangesNothing) {
    for (int i = 0; i < 3; ++i) {
        const Census before = Census::now();
        api().qfdCalcBGCurve();
        EXPECT_EQ(Census::now(), before);
        EXPECT_EQ(separated({0, 0, 0}), (Cmyk{213, 213, 213, 255}));
        EXPECT_EQ(together({0, 0, 0, 25}), (Rgb{127, 127, 127}));
    }
    expect_every_colour(built());
}

// --- how they are called -------------------------------------------------------------------------

// Both pixels may lie at the same place.
TEST_F(Separation, InPlace) {
    api().qfdCalcBGCurve();
    std::uint8_t *const pixel = made_.end() - 4;
    for (int i = 0; i < 1 << 24; i += 997) {
        const int red = i & 255, green = i >> 8 & 255, blue = i >> 16;
        pixel[0] = std::uint8_t(red);
        pixel[1] = std::uint8_t(green);
        pixel[2] = std::uint8_t(blue);
        ASSERT_EQ(api().qfdClrRgbToCmyk(pixel, pixel), pixel);
        std::uint32_t found;
        std::memcpy(&found, pixel, 4);
        ASSERT_EQ(found, model::to_cmyk(built(), red, green, blue)) << i;

        const Cmyk inks{pixel[0], pixel[1], pixel[2], std::uint8_t(i * 7)};
        std::memcpy(pixel, inks.data(), 4);
        api().qfdClrCmykToRgb(pixel, pixel);
        std::memcpy(&found, pixel, 4);
        ASSERT_EQ(found, model::to_rgb(built(), inks[0], inks[1], inks[2], inks[3]) |
                             std::uint32_t(inks[3]) << 24)
            << i;
    }
}

} // namespace
} // namespace q32::test
