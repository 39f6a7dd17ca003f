// Hue, saturation and brightness as colours, number by number and in full: also the hues that no
// bar comes to.
#include "bars/hues.h"
#include "tests/bars/bar_model.h"

#include <gtest/gtest.h>

#include <ostream>

namespace q32::bars {

void PrintTo(const Colour &colour, std::ostream *stream) {
    *stream << int(colour.red) << ' ' << int(colour.green) << ' ' << int(colour.blue);
}

} // namespace q32::bars

namespace q32::test {
namespace {

using bars::Colour;
using bars::colour_of;

TEST(Hues, OfFullColoursNumberByNumber) {
    EXPECT_EQ(colour_of(0, {255, 255}), (Colour{255, 0, 0}));
    EXPECT_EQ(colour_of(1, {255, 255}), (Colour{255, 4, 0})); // (255 + 30) / 60
    EXPECT_EQ(colour_of(30, {255, 255}), (Colour{255, 128, 0}));
    EXPECT_EQ(colour_of(59, {255, 255}), (Colour{255, 251, 0}));
    EXPECT_EQ(colour_of(60, {255, 255}), (Colour{255, 255, 0}));
    EXPECT_EQ(colour_of(90, {255, 255}), (Colour{127, 255, 0}));
    EXPECT_EQ(colour_of(120, {255, 255}), (Colour{0, 255, 0}));
    EXPECT_EQ(colour_of(150, {255, 255}), (Colour{0, 255, 128}));
    EXPECT_EQ(colour_of(180, {255, 255}), (Colour{0, 255, 255}));
    EXPECT_EQ(colour_of(210, {255, 255}), (Colour{0, 127, 255}));
    EXPECT_EQ(colour_of(240, {255, 255}), (Colour{0, 0, 255}));
    EXPECT_EQ(colour_of(270, {255, 255}), (Colour{128, 0, 255}));
    EXPECT_EQ(colour_of(300, {255, 255}), (Colour{255, 0, 255}));
    EXPECT_EQ(colour_of(330, {255, 255}), (Colour{255, 0, 127}));
    EXPECT_EQ(colour_of(359, {255, 255}), (Colour{255, 0, 4}));
}

TEST(Hues, TheWholeCircleIsRed) {
    EXPECT_EQ(colour_of(360, {255, 255}), (Colour{255, 0, 0}));
    EXPECT_EQ(colour_of(360, {128, 200}), colour_of(0, {128, 200}));
    EXPECT_EQ(colour_of(361, {255, 255}), colour_of(1, {255, 255}));
    EXPECT_EQ(colour_of(420, {255, 255}), (Colour{255, 255, 0}));
    EXPECT_EQ(colour_of(-1, {255, 255}), (Colour{255, 0, 4}));
    EXPECT_EQ(colour_of(-120, {255, 255}), (Colour{0, 0, 255}));
}

TEST(Hues, NoSaturationIsGrey) {
    for (int hue = 0; hue <= 360; ++hue)
        for (const int brightness : {0, 1, 100, 255}) {
            const auto level = std::uint8_t(brightness);
            EXPECT_EQ(colour_of(hue, {0, std::uint16_t(brightness)}),
                      (Colour{level, level, level}));
        }
    EXPECT_EQ(colour_of(32767, {255, 77}), (Colour{77, 77, 77}));
    EXPECT_EQ(colour_of(32767, {0, 255}), (Colour{255, 255, 255}));
}

TEST(Hues, OfHalvesNumberByNumber) {
    EXPECT_EQ(colour_of(90, {255, 128}), (Colour{64, 128, 0})); // d = 128, f = 64
    EXPECT_EQ(colour_of(90, {128, 255}), (Colour{191, 255, 127}));
    EXPECT_EQ(colour_of(269, {255, 128}), (Colour{62, 0, 128})); // f = 62
    EXPECT_EQ(colour_of(269, {128, 255}), (Colour{189, 127, 255}));
    EXPECT_EQ(colour_of(20, {100, 200}), (Colour{200, 148, 122})); // d = 78, f = 26
    EXPECT_EQ(colour_of(200, {1, 255}), (Colour{254, 255, 255}));  // d = 1, f = 0
}

TEST(Hues, EveryHueSaturationAndBrightness) {
    for (int hue = 0; hue <= 360; ++hue)
        for (int saturation = 0; saturation < 256; ++saturation)
            for (int brightness = 0; brightness < 256; ++brightness) {
                const Colour colour =
                    colour_of(hue, {std::uint16_t(saturation), std::uint16_t(brightness)});
                const bar_model::Rgb wanted = bar_model::rgb_of(hue, saturation, brightness);
                ASSERT_EQ((bar_model::Rgb{colour.red, colour.green, colour.blue}), wanted)
                    << hue << ' ' << saturation << ' ' << brightness;
            }
}

} // namespace
} // namespace q32::test
