// What the laboratories compute and say without their windows.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/merge_modes.h"
#include "apps/q32view/laboratories/controls.h"
#include "apps/q32view/laboratories/display_words.h"
#include "apps/q32view/laboratories/frames.h"
#include "apps/q32view/laboratories/merge_words.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace apps::q32view {
namespace {

// --- controls ------------------------------------------------------------------------------------

std::vector<Control> some_controls() {
    return {choice("mode", "Mode", {"normal", "add", "7"}, 0),
            number("opacity", "Opacity", 0, 100, 100, " %"),
            toggle("mask", "Through the mask", true), button("again", "Again")};
}

int value_after(size_t control, const std::string &name, const std::string &value) {
    std::vector<Control> controls = some_controls();
    take_setting(controls, {name, value});
    return controls[control].value;
}

template <typename Act>
std::string complaint(const Act &act) {
    try {
        act();
    } catch (const UsageError &error) {
        return error.what();
    }
    return "no complaint";
}

std::string complaint_of_setting(const std::string &name, const std::string &value) {
    return complaint([&] { value_after(0, name, value); });
}

TEST(Settings, AreTaken) {
    EXPECT_EQ(value_after(0, "mode", "add"), 1);
    EXPECT_EQ(value_after(1, "opacity", "0"), 0);
    EXPECT_EQ(value_after(1, "opacity", "60"), 60);
    EXPECT_EQ(value_after(2, "mask", "off"), 0);
    EXPECT_EQ(value_after(2, "mask", "on"), 1);
}

TEST(Settings, ChoicesMayBeNumbersFromOneOn) {
    EXPECT_EQ(value_after(0, "mode", "1"), 0);
    EXPECT_EQ(value_after(0, "mode", "3"), 2);
    EXPECT_EQ(value_after(0, "mode", "7"), 2); // a word first
}

TEST(Settings, AreRefused) {
    EXPECT_EQ(complaint_of_setting("mode", "4"), "--set mode=4: normal, add or 7 is wanted");
    EXPECT_EQ(complaint_of_setting("mode", "0"), "--set mode=0: normal, add or 7 is wanted");
    EXPECT_EQ(complaint_of_setting("mode", "Add"), "--set mode=Add: normal, add or 7 is wanted");
    EXPECT_EQ(complaint_of_setting("opacity", "101"), "--set opacity=101: 0 to 100 is wanted");
    EXPECT_EQ(complaint_of_setting("opacity", "-1"), "--set opacity=-1: 0 to 100 is wanted");
    EXPECT_EQ(complaint_of_setting("opacity", "6x"), "--set opacity=6x: 0 to 100 is wanted");
    EXPECT_EQ(complaint_of_setting("mask", "1"), "--set mask=1: on or off is wanted");
    const std::string unknown = ": there is no such setting here; there are mode, opacity and mask";
    EXPECT_EQ(complaint_of_setting("colour", "1"), "--set colour" + unknown);
    EXPECT_EQ(complaint_of_setting("again", "on"), "--set again" + unknown);
}

TEST(Settings, AreNamesAndValues) {
    EXPECT_EQ(parse_setting("mode=add"), Setting("mode", "add"));
    EXPECT_EQ(parse_setting("mode="), Setting("mode", ""));
    EXPECT_EQ(parse_setting("a=b=c"), Setting("a", "b=c"));
    EXPECT_EQ(complaint([] { parse_setting("mode"); }), "--set mode: NAME=VALUE is wanted");
    EXPECT_EQ(complaint([] { parse_setting("=1"); }), "--set =1: NAME=VALUE is wanted");
}

TEST(Controls, CaptionsShowNumbers) {
    const std::vector<Control> controls = some_controls();
    EXPECT_EQ(caption_of(controls[0]), "Mode");
    EXPECT_EQ(caption_of(controls[1]), "Opacity: 100 %");
    EXPECT_EQ(caption_of(controls[2]), "Through the mask");
}

// --- frames --------------------------------------------------------------------------------------

TEST(Frames, CaptionsStandAbove) {
    const Frame frame = frame_of({10, 20, 110, 80}, 18);
    EXPECT_EQ(frame.caption, (Area{10, 20, 110, 38}));
    EXPECT_EQ(frame.picture, (Area{10, 38, 110, 80}));
    EXPECT_TRUE(frame_of({0, 0, 10, 5}, 18).picture.is_empty());
}

TEST(Frames, GridsLeaveNothingOut) {
    const std::vector<Area> areas = grid_of({5, 7, 105, 58}, 3, 2, 10);
    ASSERT_EQ(areas.size(), 6U);
    EXPECT_EQ(areas[0], (Area{5, 7, 31, 27}));
    EXPECT_EQ(areas[1], (Area{41, 7, 68, 27}));
    EXPECT_EQ(areas[2], (Area{78, 7, 105, 27}));
    EXPECT_EQ(areas[3], (Area{5, 37, 31, 58}));
    EXPECT_EQ(areas[5], (Area{78, 37, 105, 58}));
}

TEST(Frames, GridsWithoutRoomAreEmpty) {
    for (const Area &area : grid_of({0, 0, 15, 4}, 3, 2, 10))
        EXPECT_TRUE(area.is_empty());
}

TEST(Frames, Centred) {
    EXPECT_EQ(centred({10, 5}, {100, 200, 121, 230}), (Area{105, 212, 115, 217}));
    EXPECT_EQ(centred({50, 50}, {10, 10, 20, 100}), (Area{10, 30, 60, 80}));
}

TEST(Frames, PixelsUnderThePointer) {
    const Area shown = {100, 50, 150, 75};
    EXPECT_EQ(pixel_at({100, 50}, shown, {200, 100}), (Point{0, 0}));
    EXPECT_EQ(pixel_at({149, 74}, shown, {200, 100}), (Point{196, 96}));
    EXPECT_EQ(pixel_at({125, 60}, shown, {200, 100}), (Point{100, 40}));
    EXPECT_EQ(pixel_at({90, 90}, shown, {200, 100}), (Point{0, 99}));
    EXPECT_EQ(pixel_at({90, 90}, {}, {200, 100}), (Point{0, 0}));
}

TEST(Frames, DetailsStayInside) {
    EXPECT_EQ(around({50, 40}, {20, 10}, {100, 80}), (Area{40, 35, 60, 45}));
    EXPECT_EQ(around({0, 80}, {20, 10}, {100, 80}), (Area{0, 70, 20, 80}));
    EXPECT_EQ(around({99, 0}, {20, 10}, {100, 80}), (Area{80, 0, 100, 10}));
    EXPECT_EQ(around({5, 5}, {20, 10}, {15, 8}), (Area{0, 0, 15, 8}));
}

// --- words ---------------------------------------------------------------------------------------

std::string words_of(int mode, int opacity, bool has_mask, bool has_mmx = true) {
    return merge_in_words({mode, opacity, has_mask, has_mmx});
}

TEST(MergeWords, SayFormulaRoundingAndWeight) {
    EXPECT_EQ(words_of(MERGE_MULTIPLY, 60, true),
              "12 multiply: r = s x b / 255\n"
              "Rounding: one more from a remainder of 127 on\n"
              "Weight: w = m x 60 / 100; (r x w + b x (255 - w)) / 255, both truncated");
    EXPECT_EQ(words_of(MERGE_ADD, 60, false),
              "10 add: r = min(s + b, 255)\n"
              "Rounding: exact\n"
              "Weight: w = 255 x 60 / 100; (r x w + b x (255 - w)) / 255, both truncated");
}

TEST(MergeWords, NormalGoesByTheProcessor) {
    EXPECT_EQ(words_of(MERGE_NORMAL, 60, true),
              "1 normal: r = s\nRounding: nothing to round\n"
              "Weight: w = (m x 153) >> 8; (X >> 8) + (X != 0), X = r x w + b x (255 - w)");
    EXPECT_EQ(words_of(MERGE_NORMAL, 100, true),
              "1 normal: r = s\nRounding: nothing to round\n"
              "Weight: w = m; (X >> 8) + (X != 0), X = r x w + b x (255 - w)");
    EXPECT_EQ(words_of(MERGE_NORMAL, 100, false, false),
              "1 normal: r = s\nRounding: nothing to round\n"
              "Weight: w = 255 x 100 / 100; (r x w + b x (255 - w)) / 255, both truncated");
    EXPECT_NE(words_of(MERGE_HUE, 60, true).find("in the normal merge: w = (m x 153) >> 8"),
              std::string::npos);
    EXPECT_NE(words_of(MERGE_HUE, 50, true).find("w = (m x 127) >> 8"), std::string::npos);
    EXPECT_NE(words_of(MERGE_NORMAL, 50, true).find("w = (m x 128) >> 8"), std::string::npos);
    EXPECT_NE(words_of(MERGE_LIGHTEN, 50, true).find("not divided"), std::string::npos);
    EXPECT_EQ(words_of(MERGE_LIGHTEN, 50, true, false).find("not divided"), std::string::npos);
}

TEST(MergeWords, ReliefHasItsStrength) {
    const auto weight = [](int opacity, bool has_mask) {
        const std::string words = words_of(MERGE_RELIEF, opacity, has_mask);
        return words.substr(words.rfind('\n') + 1);
    };
    EXPECT_EQ(weight(100, true), "Weight: everywhere but where the mask is 0; f = 127");
    EXPECT_EQ(weight(60, false), "Weight: everywhere; f = 76");
    EXPECT_EQ(weight(1, false), "Weight: everywhere; f = 0");
    EXPECT_EQ(weight(0, false), "Weight: everywhere; f = 0");
}

TEST(MergeWords, MaskSubtractWeighsByItself) {
    const auto formula = [](int opacity, bool has_mask) {
        const std::string words = words_of(MERGE_MASK_SUBTRACT, opacity, has_mask);
        return words.substr(0, words.find('\n'));
    };
    EXPECT_EQ(formula(100, false), "16 mask-subtract: max(b - s, 0)");
    EXPECT_EQ(formula(100, true), "16 mask-subtract: max(b - s x m / 255, 0)");
    EXPECT_EQ(formula(60, false), "16 mask-subtract: max(b - s x 60 / 100, 0)");
    EXPECT_EQ(formula(60, true),
              "16 mask-subtract: max(b - s x m x 60 / 25500, 0), m the first of each row");
    EXPECT_EQ(formula(0, true), "16 mask-subtract: the base");
}

TEST(MergeWords, PremultipliedWithoutAMaskIsNormal) {
    EXPECT_EQ(words_of(MERGE_PREMUL_BLACK, 100, false).find("14 premul-black: r = s\n"), 0U);
    EXPECT_EQ(words_of(MERGE_PREMUL_BLACK, 100, true).find("14 premul-black: r = min(s x 255 / m"),
              0U);
}

TEST(MergeWords, Time) {
    EXPECT_EQ(merge_time_in_words(640, 480, 512.4),
              "Merged 640 x 480 pixels in 512 microseconds: 1.67 ns a pixel");
}

TEST(DisplayWords, GammaIsThatOfTheHeader) {
    EXPECT_EQ(level_given(128, 180), 128);
    EXPECT_EQ(level_given(0, 260), 0);
    EXPECT_EQ(level_given(255, 260), 255);
    EXPECT_EQ(level_given(127, 1), 0); // the exponent stops at 100
    EXPECT_EQ(level_given(128, 220), 144);
    EXPECT_EQ(level_given(128, 260), 158);
    EXPECT_EQ(displays_in_words(205, false, {3, 4, 26, 14}),
              "Dithered by a matrix: of 8 x 8 up to 256 colours; high colour is cut.\n"
              "Gamma 2.05: level 128 becomes " +
                  std::to_string(level_given(128, 205)) +
                  " on 256 colours and more.\n"
                  "Below each: 23 x 10 pixels from 3,4, eight times enlarged.");
    EXPECT_NE(displays_in_words(180, true, {})
                  .find("; high colour of 4 x 4.\nGamma 1.80 corrects nothing."),
              std::string::npos);
}

} // namespace
} // namespace apps::q32view
