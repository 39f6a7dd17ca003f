// Gamma and the high-colour dither switch as the settings file has them, at the start of the
// library and when the display is detected anew. File, section and keys have names of the common
// library's.
#include "tests/display/display_fixture.h"

#include <climits>

namespace q32::test {
namespace {

constexpr int section_text = 12002, red_text = 12003, green_text = 12004, blue_text = 12005,
              gamma_switch_text = 12010, dither_switch_text = 12011;

class ScreenSettings : public DisplayTest {
protected:
    static void write(int key, const std::string &value) {
        frame::write_setting(frame::text_of(section_text), frame::text_of(key), value);
    }
    static void write_gamma(const char *red, const char *green, const char *blue) {
        write(red_text, red);
        write(green_text, green);
        write(blue_text, blue);
    }
    // The switch as it is.
    int dither_switch() {
        const int before = api().disp32BeHiColorDither(1);
        EXPECT_EQ(api().disp32BeHiColorDither(before), 1);
        return before;
    }
    void detect() { EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT)); }

    // The calls by which a new detection reads the settings, and the name of the file.
    std::string settings_read() {
        Calls calls;
        Watch<call::GetPrivateProfileIntA> read{calls};
        Watch<call::GetPrivateProfileStringA> read_text{calls};
        detect();
        return calls.text();
    }
    static std::string wanted_calls(const std::string &file) {
        std::string text;
        const struct {
            int key, otherwise;
        } settings[] = {{red_text, 180},
                        {green_text, 180},
                        {blue_text, 180},
                        {gamma_switch_text, 1},
                        {dither_switch_text, 1}};
        for (const auto &[key, otherwise] : settings)
            text += "GetPrivateProfileIntA(\"" + frame::text_of(section_text) + "\", \"" +
                    frame::text_of(key) + "\", " + std::to_string(otherwise) + ", \"" + file +
                    "\")\n";
        return text;
    }
};

// --- the dither switch -----------------------------------------------------------------------

TEST_F(ScreenSettings, DitherSwitchIsOnAtFirst) {
    start();
    EXPECT_EQ(api().disp32BeHiColorDither(0), 1);
    EXPECT_EQ(api().disp32BeHiColorDither(0), 0);
    EXPECT_EQ(api().disp32BeHiColorDither(1), 0);
    EXPECT_EQ(api().disp32BeHiColorDither(1), 1);
    expect_no_report();
}

TEST_F(ScreenSettings, DitherSwitchIsKeptAsItIsGiven) {
    start();
    int before = 1;
    for (int value : {5, -1, 256, INT_MIN, INT_MAX, 0, 7}) {
        EXPECT_EQ(api().disp32BeHiColorDither(value), before);
        before = value;
    }
    expect_no_report();
}

TEST_F(ScreenSettings, DitherSwitchStaysWhenTheTypeChanges) {
    start();
    api().disp32BeHiColorDither(0);
    for (int type : {5, 3, 4, 7}) {
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        EXPECT_EQ(dither_switch(), 0) << type;
    }
    EXPECT_SUCCESS(api().disp32NewScreenGamma(90, 90, 90));
    EXPECT_EQ(dither_switch(), 0);
    detect(); // reads the setting, which is absent
    EXPECT_EQ(dither_switch(), 1);
}

TEST_F(ScreenSettings, DitherSwitchIsRead) {
    const struct {
        const char *value;
        int wanted;
    } cases[] = {{"0", 0}, {"1", 1}, {"5", 5}, {"-1", -1}, {"off", 0}};
    for (const auto &[value, wanted] : cases) {
        SCOPED_TRACE(value);
        write(dither_switch_text, value);
        start();
        EXPECT_EQ(dither_switch(), wanted);
        api().disp32BeHiColorDither(77);
        detect();
        EXPECT_EQ(dither_switch(), wanted);
        stop();
    }
}

// --- gamma -----------------------------------------------------------------------------------

TEST_F(ScreenSettings, GammaIs180WithoutAFile) {
    start();
    expect_gamma({100, 100, 100});
    set_gamma({50, 60, 70});
    detect();
    expect_gamma({100, 100, 100});
}

TEST_F(ScreenSettings, GammaIsReadForEachChannel) {
    write_gamma("90", "220", "100");
    for (const char *on : {"", "1", "5", "-1"}) {
        SCOPED_TRACE(on);
        if (*on)
            write(gamma_switch_text, on);
        PaletteWatch watch;
        start();
        expect_gamma({50, 122, 55});
        EXPECT_EQ(watch.contents(), library_palettes(information().type, {50, 122, 55}));
        set_gamma({100, 100, 100});
        detect();
        expect_gamma({50, 122, 55});
        EXPECT_EQ(watch.contents(), library_palettes(information().type, {50, 122, 55}));
        stop();
    }
}

TEST_F(ScreenSettings, AbsentChannelsAre180) {
    write(green_text, "90");
    start();
    expect_gamma({100, 50, 100});
}

TEST_F(ScreenSettings, GammaMayBeAnyNumber) {
    write_gamma("0", "-90", "100000");
    start();
    expect_gamma({0, -50, 55555});
}

// With the switch off nothing is corrected although there are values.
TEST_F(ScreenSettings, GammaSwitchOffCorrectsNothing) {
    write_gamma("90", "220", "100");
    write(gamma_switch_text, "0");
    write(dither_switch_text, "0");
    PaletteWatch watch;
    start();
    expect_gamma({100, 100, 100});
    EXPECT_EQ(dither_switch(), 0);
    EXPECT_EQ(watch.contents(), library_palettes(information().type));
    set_gamma({50, 60, 70});
    detect();
    expect_gamma({100, 100, 100});
    EXPECT_EQ(watch.contents(), library_palettes(information().type));
}

TEST_F(ScreenSettings, AreReadForEveryType) {
    write_gamma("90", "220", "100");
    const Gamma gamma{50, 122, 55};
    const struct { int bits, type; } screens[] = {{8, 3}, {16, 5}, {24, 4}};
    for (const auto &[bits, type] : screens) {
        SCOPED_TRACE(bits);
        const PretendedDisplay display{bits, 1};
        PaletteWatch watch;
        start();
        expect_device(type, bits, 1);
        EXPECT_EQ(watch.contents(), library_palettes(type, gamma));
        stop();
    }
}

// Forcing and restoring read nothing.
TEST_F(ScreenSettings, AreReadWhenTheDisplayIsDetectedOnly) {
    start();
    write_gamma("90", "220", "100");
    write(dither_switch_text, "0");
    const FailingCall numbers("GetPrivateProfileIntA", 0);
    for (int type : {0, 1, 2, 3, 4, 5, 7}) {
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        expect_gamma({100, 100, 100});
    }
    EXPECT_EQ(dither_switch(), 1);
    EXPECT_EQ(numbers.calls(), 0);
    detect();
    expect_gamma({50, 122, 55});
    EXPECT_EQ(dither_switch(), 0);
    EXPECT_EQ(numbers.calls(), 5);
}

// --- names -----------------------------------------------------------------------------------

TEST_F(ScreenSettings, HaveTheNamesOfTheCommonLibrary) {
    start();
    EXPECT_EQ(settings_read(), wanted_calls(frame::settings_file()));
    set_text(10000, "other.cfg");
    set_text(section_text, "Another section");
    set_text(red_text, "R");
    set_text(green_text, "G");
    set_text(blue_text, "B");
    set_text(gamma_switch_text, "Correct");
    set_text(dither_switch_text, "Dither");
    EXPECT_EQ(settings_read(), wanted_calls(frame::settings_file()));
    EXPECT_TRUE(frame::settings_file().ends_with("\\other.cfg"));
}

TEST_F(ScreenSettings, LieInTheWindowsDirectory) {
    start();
    const std::string name = frame::text_of(10000);
    const struct {
        const char *directory;
        std::string file;
    } cases[] = {{"C:\\elsewhere", "C:\\elsewhere\\" + name},
                 {"C:\\elsewhere\\", "C:\\elsewhere\\" + name},
                 {"D:\\", "D:\\" + name}};
    for (const auto &[directory, file] : cases) {
        const Replaced<call::GetWindowsDirectoryA> windows([&](char *path, UINT size) {
            EXPECT_GE(size, 200u);
            std::strcpy(path, directory);
            return UINT(std::strlen(directory));
        });
        EXPECT_EQ(settings_read(), wanted_calls(file));
    }
}

// The name alone: the system looks for it in the Windows directory as well.
TEST_F(ScreenSettings, NeedNoDirectory) {
    start();
    for (const UINT length : {0u, 1000u}) { // none, and what would be needed
        const Replaced<call::GetWindowsDirectoryA> windows([&](char *, UINT) { return length; });
        EXPECT_EQ(settings_read(), wanted_calls(frame::text_of(10000))) << length;
    }
}

// Missing and longest texts, and a directory that fills its place.
TEST_F(ScreenSettings, StandAnyText) {
    start();
    const std::string longest(511, 'x');
    for (const std::string &text : {std::string(), std::string("\\"), longest}) {
        for (int id : {10000, section_text, red_text, green_text, blue_text, gamma_switch_text,
                       dither_switch_text})
            text.empty() ? frame::remove_text(id) : set_text(id, text);
        EXPECT_NO_REPORT(api().disp32SetDevType(DISP32_DETECT));
        const Replaced<call::GetWindowsDirectoryA> longest_path([](char *path, UINT size) {
            std::memset(path, 'y', size - 1);
            path[size - 1] = '\0';
            return size - 1;
        });
        EXPECT_NO_REPORT(api().disp32SetDevType(DISP32_DETECT));
        const Replaced<call::GetWindowsDirectoryA> too_long([](char *, UINT size) {
            return size + 1; // what would be needed
        });
        EXPECT_NO_REPORT(api().disp32SetDevType(DISP32_DETECT));
    }
    expect_gamma({100, 100, 100});
}

} // namespace
} // namespace q32::test
