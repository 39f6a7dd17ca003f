// The display: runs on every way to a memory context, palettes, device types, gamma, colour
// management.
#include "tests/failing_calls/canvas.h"

namespace q32::test {
namespace {

constexpr int stride = 120;

// A program's palette of 256 colours.
class SomePalette {
public:
    SomePalette() {
        struct {
            WORD version = 0x300, count = 256;
            PALETTEENTRY entries[256];
        } colours;
        for (int i = 0; i < 256; ++i)
            colours.entries[i] = {BYTE(i), BYTE(255 - i), BYTE(i * 7), 0};
        palette_ = CreatePalette(reinterpret_cast<const LOGPALETTE *>(&colours));
    }
    ~SomePalette() { DeleteObject(palette_); }
    SomePalette(const SomePalette &) = delete;
    SomePalette &operator=(const SomePalette &) = delete;
    operator HPALETTE() const { return palette_; }

private:
    HPALETTE palette_;
};

// --- runs ----------------------------------------------------------------------------------------

// What runs are opened with; strips of five rows, so that there are four of them.
struct Show {
    int depth;
    HPALETTE palette = nullptr;
    int option = 0;
    int strip_rows = 5;

    int open(HDC dc, HDISPRUN *run) const {
        return api().disp32ShowInit(run, dc, depth, place.left, place.top, place.right,
                                    place.bottom, palette, option, 0);
    }
    int bring(HDISPRUN run) const {
        const Bytes image = some_bytes(stride * 17);
        return api().disp32ShowData(run, image.data(), 0, 0, 17, stride);
    }
    // Opens, brings the rows, and ends. A run that is open is always ended.
    bool all(HDC dc) const {
        HDISPRUN run = 0;
        if (open(dc, &run) == 0) {
            EXPECT_EQ(run, 0u);
            return false;
        }
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, strip_rows));
        const bool brought = bring(run) == 1;
        EXPECT_SUCCESS(api().disp32ShowEnd(run));
        return brought;
    }
};

// A whole run, from its opening to its end, on one way from pixels to a device.
class WholeRun : public ScenarioOf<&frame::Api::disp32ShowInit> {
protected:
    void show(int device_type, const Show &show) {
        const Device device(device_type);
        const Canvas canvas;
        attempt([&] { return show.all(canvas.dc()); });
        see(canvas.contents());
    }
};

#define WHOLE_RUN(name) Q32_SCENARIO(WholeRun, disp32ShowInit, name, Library::shared)
WHOLE_RUN(BitsInBlackAndWhite) {
    may_be_silent({"BitBlt", "CreateBitmap", "CreateCompatibleDC", "GlobalAlloc", "GlobalLock",
                   "SelectObject", "SetBitmapBits"});
    goes_unnoticed({"BitBlt", "SetBitmapBits"});
    show(DISP32_TRUE_COLOUR, {1});
}
WHOLE_RUN(ColoursOnMonochrome) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    show(DISP32_MONOCHROME, {24});
}
WHOLE_RUN(GreysOnSixteenColours) {
    may_be_silent({"BitBlt", "CreateBitmap", "CreateCompatibleDC", "GlobalAlloc", "GlobalLock",
                   "SelectObject", "SetBitmapBits"});
    goes_unnoticed({"BitBlt", "SetBitmapBits"});
    show(DISP32_SIXTEEN_COLOURS, {8});
}
WHOLE_RUN(ColoursOnSixteenColours) {
    may_be_silent({"BitBlt", "CreateCompatibleBitmap", "CreateCompatibleDC", "GlobalAlloc",
                   "GlobalLock", "SelectObject", "SetBitmapBits"});
    goes_unnoticed({"BitBlt", "SetBitmapBits"});
    show(DISP32_SIXTEEN_COLOURS, {24});
}
WHOLE_RUN(ColoursOnAPalette) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    show(DISP32_PALETTE, {24});
}
WHOLE_RUN(GreysOnAPalette) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    show(DISP32_PALETTE, {8});
}
WHOLE_RUN(SixteenGreysOnAPalette) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    show(DISP32_PALETTE, {8, nullptr, 1});
}
WHOLE_RUN(OwnPaletteOnAPalette) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    const SomePalette palette;
    show(DISP32_PALETTE, {8, palette});
}
WHOLE_RUN(OwnPaletteDithered) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed(
        {"GetObjectA", "GetObjectType", "GetPaletteEntries", "SelectPalette", "SetDIBitsToDevice"});
    const SomePalette palette;
    show(DISP32_PALETTE, {8, palette, 1});
}
WHOLE_RUN(OwnPaletteOnTrueColour) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    const SomePalette palette;
    show(DISP32_TRUE_COLOUR, {8, palette});
}
WHOLE_RUN(ColoursOnTrueColour) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SetDIBitsToDevice"});
    show(DISP32_TRUE_COLOUR, {24});
}
WHOLE_RUN(GreysOnTrueColour) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SetDIBitsToDevice"});
    show(DISP32_TRUE_COLOUR, {8});
}
WHOLE_RUN(WordsOnHighColour) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SetDIBitsToDevice"});
    show(DISP32_HIGH_COLOUR, {16});
}

SCENARIO(disp32ShowInit, Opening) {
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    const Device device(DISP32_TRUE_COLOUR);
    const Canvas canvas;
    HDISPRUN run = 0;
    call(&run, canvas.dc(), 24, place.left, place.top, place.right, place.bottom, nullptr, 0, 0);
    EXPECT_SUCCESS(Show{24}.bring(run));
    EXPECT_SUCCESS(api().disp32ShowEnd(run));
    see(canvas.contents());
}

SCENARIO(disp32ShowInitEx, Dithered) {
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    const Device device(DISP32_PALETTE);
    const Canvas canvas;
    HDISPRUN run = 0;
    call(&run, canvas.dc(), 24, place.left, place.top, place.right, place.bottom, nullptr, 0, 0, 3,
         5);
    EXPECT_SUCCESS(Show{24}.bring(run));
    EXPECT_SUCCESS(api().disp32ShowEnd(run));
    see(canvas.contents());
}

// A strip that could not be drawn stays; after it the picture is shown once more.
class Rows : public ScenarioOf<&frame::Api::disp32ShowData> {
protected:
    void show(int device_type, const Show &show) {
        const Device device(device_type);
        const Canvas canvas;
        HDISPRUN run = 0;
        EXPECT_SUCCESS(show.open(canvas.dc(), &run));
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, show.strip_rows));
        bool again = false;
        attempt([&] { return show.bring(run) == 1; }, [&] { return again = show.bring(run) == 1; });
        EXPECT_SUCCESS(api().disp32ShowEnd(run));
        if (again) {
            EXPECT_TRUE(show.all(canvas.dc()));
        }
        see(canvas.contents());
    }
};

#define ROWS(name) Q32_SCENARIO(Rows, disp32ShowData, name, Library::shared)
ROWS(OnTrueColour) {
    may_be_silent({"SetDIBitsToDevice"});
    show(DISP32_TRUE_COLOUR, {24});
}
ROWS(OnAPalette) {
    may_be_silent({"SetDIBitsToDevice"});
    goes_unnoticed({"SelectPalette"});
    show(DISP32_PALETTE, {8});
}
ROWS(OfBits) {
    may_be_silent({"BitBlt", "SetBitmapBits"});
    show(DISP32_TRUE_COLOUR, {1});
}

class End : public ScenarioOf<&frame::Api::disp32ShowEnd> {
protected:
    void show(int device_type, const Show &show) {
        const Device device(device_type);
        const Canvas canvas;
        HDISPRUN run = 0;
        EXPECT_SUCCESS(show.open(canvas.dc(), &run));
        EXPECT_SUCCESS(show.bring(run));
        call(run);
        see(canvas.contents());
    }
};

#define END(name) Q32_SCENARIO(End, disp32ShowEnd, name, Library::shared)
END(OnTrueColour) {
    goes_unnoticed({"SetDIBitsToDevice"});
    show(DISP32_TRUE_COLOUR, {24});
}
END(OnAPalette) {
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    show(DISP32_PALETTE, {8});
}
END(OfBits) {
    goes_unnoticed({"BitBlt", "SetBitmapBits"});
    show(DISP32_TRUE_COLOUR, {1});
}

class Attribute : public ScenarioOf<&frame::Api::disp32SetAttrib> {
protected:
    void set(int attribute, int value) {
        const Device device(DISP32_TRUE_COLOUR);
        const Canvas canvas;
        HDISPRUN run = 0;
        EXPECT_SUCCESS((Show{24}.open(canvas.dc(), &run)));
        call(run, attribute, value);
        see(Show{24}.bring(run)); // without a strip there are no rows
        EXPECT_SUCCESS(api().disp32ShowEnd(run));
        see(canvas.contents());
    }
};

#define ATTRIBUTE(name) Q32_SCENARIO(Attribute, disp32SetAttrib, name, Library::shared)
ATTRIBUTE(Direction) {
    goes_unnoticed({"GlobalLock"});
    set(DISP32_DIRECTION, -1);
}
ATTRIBUTE(StripRows) {
    goes_unnoticed({"GlobalLock"});
    set(DISP32_STRIP_ROWS, 4);
}

// --- device types, gamma -------------------------------------------------------------------------

SCENARIO(disp32GetDevInfo, OfTheDisplay) {
    DispDevInfo info{};
    call(&info);
    see(bytes_at(&info, sizeof info));
}

// What is seen is a picture through the new palettes.
class DeviceType : public ScenarioOf<&frame::Api::disp32SetDevType> {
protected:
    void set(int type) {
        fails_at_work();
        EXPECT_SUCCESS(api().disp32SetDevType(type == DISP32_MONOCHROME ? 1 : 0));
        // A type that has been changed in spite of the failure is not changed again.
        attempt([&] { return api().disp32SetDevType(type) == 1; },
                [&] {
                    return api().disp32SetDevType(type == DISP32_MONOCHROME ? 1 : 0) == 1 &&
                           api().disp32SetDevType(type) == 1;
                });
        const Canvas canvas;
        EXPECT_TRUE((Show{24}.all(canvas.dc())));
        see(canvas.contents());
        EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
    }
};

#define DEVICE_TYPE(name) Q32_SCENARIO(DeviceType, disp32SetDevType, name, Library::shared)
DEVICE_TYPE(Monochrome) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    set(DISP32_MONOCHROME);
}
DEVICE_TYPE(Palette) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    set(DISP32_PALETTE);
}
DEVICE_TYPE(TrueColour) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    set(DISP32_TRUE_COLOUR);
}
DEVICE_TYPE(HighColour) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    set(DISP32_HIGH_COLOUR);
}
DEVICE_TYPE(Detected) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    goes_unnoticed({"CreateICA", "GetDeviceCaps", "GetPrivateProfileIntA"});
    set(DISP32_DETECT);
}

class Gamma : public ScenarioOf<&frame::Api::disp32NewScreenGamma> {
protected:
    void set(int type) {
        const Device device(type);
        call(90, 120, 150);
        const Canvas canvas;
        EXPECT_TRUE((Show{24}.all(canvas.dc())));
        see(canvas.contents());
        EXPECT_SUCCESS(api().disp32NewScreenGamma(180, 180, 180));
    }
};

#define GAMMA(name) Q32_SCENARIO(Gamma, disp32NewScreenGamma, name, Library::shared)
GAMMA(OfAPalette) {
    goes_unnoticed({"GlobalAlloc", "SetPaletteEntries"});
    set(DISP32_PALETTE);
}
GAMMA(OfTrueColour) {
    set(DISP32_TRUE_COLOUR);
}

SCENARIO(disp32BeHiColorDither, Off) {
    gives(1, 0);
    EXPECT_EQ(api().disp32BeHiColorDither(1), 0);
}

// --- palettes ------------------------------------------------------------------------------------

Bytes colours_of(HPALETTE palette) {
    Bytes entries(256 * sizeof(PALETTEENTRY));
    GetPaletteEntries(palette, 0, 256, reinterpret_cast<PALETTEENTRY *>(entries.data()));
    return entries;
}

// So that it is held no longer.
void delete_as_library(HPALETTE palette) {
    void *const deletes = *frame::shared_library().import_slot("gdi32.dll", "DeleteObject");
    EXPECT_TRUE(reinterpret_cast<decltype(&DeleteObject)>(deletes)(palette));
}

SCENARIO(disp32CreateGrayPalette, New) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    const HPALETTE made = makes(nullptr, 16, 1);
    see(colours_of(made));
    delete_as_library(made);
}

SCENARIO(disp32CreateGrayPalette, Rewritten) {
    may_be_silent({"GlobalAlloc"});
    goes_unnoticed({"SetPaletteEntries"});
    const SomePalette palette;
    makes(palette, 256, 0);
    see(colours_of(palette));
}

SCENARIO(disp32CreateColorPalette, New) {
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    const HPALETTE made = makes(nullptr, DISP32_CUBE_666, 256, 1);
    see(colours_of(made));
    delete_as_library(made);
}

SCENARIO(disp32CreateColorPalette, Rewritten) {
    may_be_silent({"GlobalAlloc"});
    goes_unnoticed({"SetPaletteEntries"});
    const SomePalette palette;
    makes(palette, DISP32_CUBE_676, 256, 0);
    see(colours_of(palette));
}

SCENARIO(disp32GammaColorPalette, OfAProgram) {
    may_be_silent(
        {"CreatePalette", "GetObjectA", "GetObjectType", "GetPaletteEntries", "GlobalAlloc"});
    const SomePalette palette;
    DispDevInfo info{};
    const HPALETTE made = makes(palette, &info);
    see(colours_of(made));
    see(bytes_at(&info, sizeof info));
    delete_as_library(made);
}

SCENARIO(disp32PalDuplicate, OfAProgram) {
    may_report({{3200, 0, 5, 1}, {3200, 1, 5, 2}});
    may_be_silent({"GlobalAlloc"});
    const SomePalette palette;
    const HPALETTE made = makes(palette);
    see(colours_of(made));
    delete_as_library(made);
}

SCENARIO(disp32PalSize, OfAProgram) {
    may_report({{3200, 1, 5, 3}});
    const SomePalette palette;
    gives_or(256, -1, palette);
}

// --- colour management ---------------------------------------------------------------------------

constexpr DispIcmMode managed{1,
                              "one",
                              "two.icm",
                              "three",
                              "four",
                              "five.icm",
                              DISP32_ICM_DISPLAY_PROFILE | DISP32_ICM_MATCH_TARGET,
                              7,
                              8};

Bytes settings() {
    DispIcmMode got{};
    EXPECT_SUCCESS(api().disp32GetICMMode(&got));
    std::string texts;
    for (const char *text :
         {got.text1, got.display_profile, got.text3, got.text4, got.target_profile})
        texts.append(text).append(";");
    return bytes_at(texts.data(), texts.size());
}

FIRST_CALL(disp32SetICMMode, TheFirst) {
    may_be_silent({"GlobalAlloc"});
    call(&managed);
    see(settings());
}

FIRST_CALL(disp32SetICMMode, OtherTexts) {
    may_be_silent({"GlobalAlloc"});
    DispIcmMode others = managed;
    others.text1 = others.target_profile = "other";
    EXPECT_SUCCESS(api().disp32SetICMMode(&others));
    call(&managed);
    see(settings());
}

FIRST_CALL(disp32GetICMMode, ThatWasSet) {
    EXPECT_SUCCESS(api().disp32SetICMMode(&managed));
    DispIcmMode got{};
    call(&got);
    see(settings());
}

// Profiles that this machine has not are as good as those that it has.
FIRST_CALL(disp32ShowInit, WithColourManagement) {
    may_be_silent({"GlobalAlloc", "GlobalLock", "SetDIBitsToDevice"});
    goes_unnoticed({"SetDIBitsToDevice"});
    const frame::Replaced<frame::call::SetICMProfileA> profile([](HDC, char *) { return TRUE; });
    const frame::Replaced<frame::call::SetICMMode> mode(
        [](HDC, int wanted) { return wanted == ICM_QUERY ? ICM_OFF : 1; });
    const frame::Replaced<frame::call::ColorMatchToTarget> match(
        [](HDC, HDC, DWORD) { return TRUE; });
    EXPECT_SUCCESS(api().disp32SetDevType(DISP32_TRUE_COLOUR));
    EXPECT_SUCCESS(api().disp32SetICMMode(&managed));
    const Canvas canvas;
    attempt([&] { return Show{24}.all(canvas.dc()); });
    see(canvas.contents());
}

} // namespace
} // namespace q32::test
