// The command line, word by word.
#include "apps/pictures/exceptions.h"
#include "apps/q32view/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace apps::q32view {
namespace {

Options options_of(const std::vector<std::string> &words) {
    return read_options(words);
}

std::string complaint(const std::vector<std::string> &words) {
    try {
        read_options(words);
    } catch (const UsageError &error) {
        return error.what();
    }
    return "no complaint";
}

TEST(Options, NothingIsNeeded) {
    const Options options = options_of({});
    EXPECT_EQ(options.picture, "");
    EXPECT_FALSE(options.percent.has_value());
    EXPECT_FALSE(options.size.has_value());
    EXPECT_FALSE(options.settings.device_type.has_value());
    EXPECT_FALSE(options.settings.gamma.has_value());
    EXPECT_FALSE(options.settings.high_colour_dither.has_value());
    EXPECT_FALSE(options.settings.palette_option);
    EXPECT_EQ(options.settings.pixels, ShownFormat::rgb);
    EXPECT_FALSE(options.test_card || options.full_screen || options.fit_width);
    EXPECT_FALSE(options.whole_window || options.help || options.version);
}

TEST(Options, AreTaken) {
    const Options options = options_of({"--zoom",
                                        "250",
                                        "--at",
                                        "10,20",
                                        "bee.png",
                                        "--size",
                                        "300x200",
                                        "--device-type",
                                        "3",
                                        "--gamma",
                                        "220",
                                        "--dither",
                                        "off",
                                        "--pixels",
                                        "grey",
                                        "--palette-option",
                                        "--test-card",
                                        "--save-to",
                                        "a.png",
                                        "--screenshot",
                                        "b.png",
                                        "--whole-window",
                                        "--full-screen"});
    EXPECT_EQ(options.picture, "bee.png");
    EXPECT_EQ(options.percent, 250);
    EXPECT_EQ(options.scroll, (Point{10, 20}));
    EXPECT_EQ(options.size, (Size{300, 200}));
    EXPECT_EQ(options.settings.device_type, 3);
    EXPECT_EQ(options.settings.gamma, 220);
    EXPECT_EQ(options.settings.high_colour_dither, false);
    EXPECT_EQ(options.settings.pixels, ShownFormat::grey);
    EXPECT_TRUE(options.settings.palette_option);
    EXPECT_TRUE(options.test_card);
    EXPECT_EQ(options.save_to, "a.png");
    EXPECT_EQ(options.screenshot, "b.png");
    EXPECT_TRUE(options.whole_window);
    EXPECT_TRUE(options.full_screen);
}

TEST(Options, KindsOfPixels) {
    EXPECT_EQ(options_of({"--pixels", "24"}).settings.pixels, ShownFormat::rgb);
    EXPECT_EQ(options_of({"--pixels", "16"}).settings.pixels, ShownFormat::rgb555);
    EXPECT_EQ(options_of({"--pixels", "palette"}).settings.pixels, ShownFormat::palette);
    EXPECT_EQ(options_of({"--pixels", "1"}).settings.pixels, ShownFormat::bits);
}

TEST(Options, KindsOfDisplays) {
    const char *names[] = {"monochrome",  "8-colours",   "16-colours",
                           "256-colours", "true-colour", "high-colour"};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(options_of({"--device-type", names[i]}).settings.device_type, i);
        EXPECT_EQ(options_of({"--device-type", std::to_string(i)}).settings.device_type, i);
    }
}

TEST(Options, ValuesMayStandBehindAnEqualsSign) {
    const Options options = options_of({"--zoom=50", "bee.png", "--save-to=a=b.png"});
    EXPECT_EQ(options.percent, 50);
    EXPECT_EQ(options.picture, "bee.png");
    EXPECT_EQ(options.save_to, "a=b.png");
}

TEST(Options, TheLastZoomCounts) {
    EXPECT_FALSE(options_of({"--zoom", "50", "--zoom", "fit"}).percent.has_value());
    EXPECT_FALSE(options_of({"--zoom", "width", "--zoom", "fit"}).fit_width);
    EXPECT_FALSE(options_of({"--zoom", "width", "--zoom", "50"}).fit_width);
    EXPECT_TRUE(options_of({"--zoom", "50", "--zoom", "width"}).fit_width);
    EXPECT_FALSE(options_of({"--zoom", "50", "--zoom", "width"}).percent.has_value());
}

TEST(Options, NamesAfterTwoDashesAreFiles) {
    EXPECT_EQ(options_of({"--", "--help"}).picture, "--help");
    EXPECT_EQ(options_of({"-"}).picture, "-");
}

TEST(Options, AreRefused) {
    EXPECT_EQ(complaint({"--colour"}), "--colour: there is no such option; see q32view --help");
    EXPECT_EQ(complaint({"-x"}), "-x: there is no such option; see q32view --help");
    EXPECT_EQ(complaint({"--zoom"}), "--zoom: fit|width|PERCENT is missing");
    EXPECT_EQ(complaint({"a.png", "b.png"}), "b.png: one picture is shown at a time");
    EXPECT_EQ(complaint({""}), "a picture's name is empty");
    EXPECT_EQ(complaint({"--zoom", "0"}), "--zoom 0: fit, width, or 1 to 3200 percent, is wanted");
    EXPECT_EQ(complaint({"--zoom", "3201"}),
              "--zoom 3201: fit, width, or 1 to 3200 percent, is wanted");
    EXPECT_EQ(complaint({"--zoom", "5x"}),
              "--zoom 5x: fit, width, or 1 to 3200 percent, is wanted");
    EXPECT_EQ(complaint({"--at", "5"}), "--at 5: X,Y is wanted");
    EXPECT_EQ(complaint({"--at", "-1,5"}), "--at -1,5: X,Y is wanted");
    EXPECT_EQ(complaint({"--size", "0x10"}), "--size 0x10: WxH of 1 to 16000 is wanted");
    EXPECT_EQ(complaint({"--size", "16001x1"}), "--size 16001x1: WxH of 1 to 16000 is wanted");
    EXPECT_EQ(complaint({"--device-type", "6"}),
              "--device-type 6: monochrome, 8-colours, 16-colours, 256-colours, true-colour, "
              "high-colour or 0 to 5 is wanted");
    EXPECT_EQ(complaint({"--test-card=1"}), "--test-card takes no value");
    EXPECT_EQ(complaint({"--zoom="}), "--zoom : fit, width, or 1 to 3200 percent, is wanted");
    EXPECT_EQ(complaint({"--help=", "x"}), "--help takes no value");
    EXPECT_EQ(complaint({"--gamma", "0"}), "--gamma 0: 1 to 1000 is wanted");
    EXPECT_EQ(complaint({"--dither", "yes"}), "--dither yes: on or off is wanted");
    EXPECT_EQ(complaint({"--pixels", "8"}), "--pixels 8: 24, 16, palette, grey or 1 is wanted");
    EXPECT_EQ(complaint({"--screenshot", ""}), "--screenshot : a file's name is wanted");
}

TEST(Options, TheHelpNamesThemAll) {
    const std::string help = help_text();
    for (const char *name :
         {"--zoom", "--at", "--size", "--device-type", "--gamma", "--dither", "--pixels",
          "--palette-option", "--test-card", "--save-to", "--screenshot", "--whole-window",
          "--full-screen", "--help", "--version"})
        EXPECT_NE(help.find(std::string("  ") + name), std::string::npos) << name;
}

} // namespace
} // namespace apps::q32view
