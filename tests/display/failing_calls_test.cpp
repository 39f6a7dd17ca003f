// Every call by which the display gets something, failing in turn: what the exports answer, that
// nothing is left behind, and that the library goes on.
#include "tests/display/display_fixture.h"

#include <functional>
#include <utility>

namespace q32::test {
namespace {

constexpr const char *memory_calls[] = {"GlobalAlloc", "GlobalReAlloc", "GlobalLock",
                                        "malloc",      "calloc",        "realloc"};

class FailingDisplayCalls : public DisplayTest {};

// --- exports that create ---------------------------------------------------------------------

TEST_F(FailingDisplayCalls, NewPalettes) {
    start();
    const Census before = Census::now();
    const auto expect_none_or = [&](const char *function, auto create, const Entries &wanted) {
        return each_failing(function, [&] {
            frame::forget_reports();
            const HPALETTE palette = create();
            expect_no_report();
            EXPECT_EQ(palette == nullptr, failed());
            if (palette != nullptr) {
                EXPECT_EQ(take_entries(palette), wanted);
            }
            EXPECT_EQ(Census::now(), before);
        });
    };
    const auto greys = [&] { return api().disp32CreateGrayPalette(nullptr, 16, 1); };
    const auto cube = [&] { return api().disp32CreateColorPalette(nullptr, 3, 256, 1); };
    const auto colours = [&] { return api().disp32CreateColorPalette(nullptr, 0, 8, 1); };
    const auto largest = [&] { return api().disp32CreateColorPalette(nullptr, 2, 65535, 0); };
    EXPECT_EQ(expect_none_or("CreatePalette", greys, grey_ramp(16)), 1);
    EXPECT_EQ(expect_none_or("CreatePalette", cube, colour_cube(3, 256)), 1);
    EXPECT_EQ(expect_none_or("CreatePalette", colours, eight_colours()), 1);
    int failures = 0;
    for (const char *function : memory_calls) {
        expect_none_or(function, greys, grey_ramp(16));
        expect_none_or(function, cube, colour_cube(3, 256));
        expect_none_or(function, colours, eight_colours());
        failures += expect_none_or(function, largest, colour_cube(2, 65535));
    }
    EXPECT_GE(failures, 1); // 262144 bytes lie on no stack
}

// Entries that cannot be written are no failure; a lack of memory is one, and writes nothing.
TEST_F(FailingDisplayCalls, PalettesWrittenOver) {
    start();
    for (const bool grey : {true, false})
        for (const char *function : {"SetPaletteEntries", "CreatePalette", "GlobalAlloc",
                                     "GlobalLock", "malloc", "calloc"}) {
            SCOPED_TRACE(function);
            each_failing(function, [&] {
                const OwnPalette palette{colourful(256)};
                const Census before = Census::now();
                const HPALETTE result =
                    grey ? api().disp32CreateGrayPalette(palette.get(), 256, 0)
                         : api().disp32CreateColorPalette(palette.get(), 3, 256, 0);
                expect_no_report();
                const bool writing = std::string(function) == "SetPaletteEntries";
                EXPECT_EQ(result, failed() && !writing ? nullptr : palette.get());
                EXPECT_EQ(palette.entries(), failed() ? colourful(256)
                                             : grey   ? grey_ramp(256)
                                                      : colour_cube(3, 256));
                EXPECT_EQ(Census::now(), before);
            });
        }
}

TEST_F(FailingDisplayCalls, Copies) {
    start();
    const OwnPalette palette{colourful(300)};
    const Census before = Census::now();
    const auto copies = [&](const char *function, const Reports &reports) {
        return each_failing(function, [&] {
            frame::forget_reports();
            const HPALETTE copy = api().disp32PalDuplicate(palette.get());
            expect_reports(failed() ? reports : Reports{});
            EXPECT_EQ(copy == nullptr, failed());
            if (copy != nullptr) {
                EXPECT_EQ(take_entries(copy), colourful(300));
            }
            EXPECT_EQ(Census::now(), before);
        });
    };
    EXPECT_EQ(copies("GetObjectA", {{3200, 0, 5, 1}}), 1);
    EXPECT_EQ(copies("GetPaletteEntries", {{3200, 0, 5, 1}}), 1);
    EXPECT_EQ(copies("CreatePalette", {{3200, 1, 5, 2}}), 1);
    int failures = 0;
    for (const char *function : memory_calls)
        failures += copies(function, {});
    EXPECT_GE(failures, 1);
}

TEST_F(FailingDisplayCalls, CorrectedCopies) {
    start();
    set_gamma({50, 122, 200});
    const OwnPalette palette{grey_ramp(256)};
    const Census before = Census::now();
    const DispDevInfo information = this->information();
    const auto copies = [&](const char *function) {
        return each_failing(function, [&] {
            frame::forget_reports();
            DispDevInfo record, untouched;
            std::memset(&record, 0xA5, sizeof record);
            untouched = record;
            const HPALETTE copy = api().disp32GammaColorPalette(palette.get(), &record);
            expect_no_report();
            EXPECT_EQ(copy == nullptr, failed());
            EXPECT_EQ(std::memcmp(&record, copy ? &information : &untouched, sizeof record), 0);
            if (copy != nullptr) {
                EXPECT_EQ(take_entries(copy), corrected(grey_ramp(256), {50, 122, 200}));
            }
            EXPECT_EQ(Census::now(), before);
        });
    };
    EXPECT_EQ(copies("GetObjectA"), 1);
    EXPECT_EQ(copies("GetPaletteEntries"), 1);
    EXPECT_EQ(copies("CreatePalette"), 1);
    int failures = 0;
    for (const char *function : memory_calls)
        failures += copies(function);
    EXPECT_GE(failures, 1);
}

TEST_F(FailingDisplayCalls, Sizes) {
    start();
    const OwnPalette palette{colourful(300)};
    const FailingCall failing{"GetObjectA", 1};
    EXPECT_REPORT(api().disp32PalSize(palette.get()) != -1, 3200, 1, 5, 3);
    EXPECT_SUCCESS(api().disp32PalSize(palette.get()) == 300);
}

// --- the start -------------------------------------------------------------------------------

struct Display {
    int bits, palettes;
};
constexpr Display displays[] = {{1, 3}, {3, 3}, {8, 3}, {15, 1}, {16, 1}, {24, 1}};

// A start without one of its palettes fails and leaves nothing (try_start counts).
TEST_F(FailingDisplayCalls, StartsWithoutAPalette) {
    for (const auto &[bits, palettes] : displays) {
        SCOPED_TRACE(bits);
        const PretendedDisplay display{bits, 1};
        for (int n = 1; n <= palettes; ++n) {
            PaletteWatch watch;
            const FailingCall failing{"CreatePalette", n};
            EXPECT_FALSE(try_start()) << n;
            EXPECT_TRUE(failing.happened());
            EXPECT_EQ(watch.held().size(), 0u);
            expect_no_report();
        }
        const FailingCall all{"CreatePalette", 1, FailingCall::from_there_on};
        EXPECT_FALSE(try_start());
    }
    start();
}

// One that cannot be made for the gamma of the settings file leaves the one that is there.
TEST_F(FailingDisplayCalls, StartsWithoutACorrectedPalette) {
    const auto key = [](int id) { return frame::text_of(id); };
    for (int id : {12003, 12004, 12005})
        frame::write_setting(key(12002), key(id), "90");
    for (int bits : {15, 16}) {
        SCOPED_TRACE(bits);
        const PretendedDisplay display{bits, 1};
        PaletteWatch watch;
        {
            const FailingCall failing{"CreatePalette", 2, FailingCall::from_there_on};
            start();
            EXPECT_TRUE(failing.happened());
        }
        EXPECT_EQ(watch.contents(), library_palettes(bits == 15 ? 4 : 5));
        expect_gamma({50, 50, 50});
        EXPECT_SUCCESS(api().disp32NewScreenGamma(90, 90, 90));
        EXPECT_EQ(watch.contents(), library_palettes(bits == 15 ? 4 : 5, {50, 50, 50}));
        stop();
        EXPECT_EQ(watch.held().size(), 0u);
    }
}

// Whatever fails, a start succeeds or leaves nothing.
TEST_F(FailingDisplayCalls, StartsWithoutAnythingElse) {
    for (int bits : {8, 16, 24})
        for (const char *function : {"CreateICA", "CreateDCA", "GetDeviceCaps", "SetPaletteEntries",
                                     "GetPrivateProfileIntA", "GetWindowsDirectoryA"}) {
            SCOPED_TRACE(std::string(function) + ", bits " + std::to_string(bits));
            const PretendedDisplay display{bits, 1};
            const FailingCall all{function, 1, FailingCall::from_there_on};
            if (try_start()) {
                information();
                stop();
            }
            frame::forget_reports();
        }
    start();
}

// --- changes -----------------------------------------------------------------------------------

constexpr const char *building_calls[] = {"CreatePalette", "GlobalAlloc", "GlobalReAlloc",
                                          "GlobalLock",    "malloc",      "calloc",
                                          "realloc",       "CreateICA",   "GetDeviceCaps"};

// The type has changed although not everything could be built; nothing that is done then crashes,
// and the next change makes good.
TEST_F(FailingDisplayCalls, ChangesOfTheType) {
    constexpr int bits_of[] = {1, 4, 4, 8, 24, 16};
    PaletteWatch watch;
    {
        const PretendedDisplay display{30, 1};
        start();
    }
    const OwnPalette palette{colourful(20)};
    const Census settled = Census::now();
    int failures = 0;
    for (const char *function : building_calls)
        for (int type = 0; type <= 5; ++type)
            for (auto [n, happened] = std::pair(1, true); happened && n < 20; ++n) {
                SCOPED_TRACE(std::string(function) + " number " + std::to_string(n) + ", type " +
                             std::to_string(type));
                EXPECT_SUCCESS(api().disp32SetDevType(type == 4 ? 3 : 4));
                {
                    const FailingCall failing{function, n};
                    const int result = api().disp32SetDevType(type);
                    happened = failing.happened();
                    EXPECT_EQ(result, happened ? 0 : 1);
                }
                expect_no_report();
                expect_device(type, bits_of[type], 1);
                EXPECT_LE(watch.held().size(), type == 4 || type == 5 ? 1u : 3u);
                if (happened) {
                    ++failures;
                    EXPECT_SUCCESS(api().disp32SetDevType(type)); // the same: nothing is done
                    EXPECT_SUCCESS(api().disp32NewScreenGamma(90, 90, 90));
                    DispDevInfo record;
                    const HPALETTE copy = api().disp32GammaColorPalette(palette.get(), &record);
                    EXPECT_EQ(take_entries(copy).size(), 20u);
                    EXPECT_EQ(take_entries(api().disp32CreateGrayPalette(nullptr, 16, 1)),
                              corrected(grey_ramp(16), {50, 50, 50}));
                    EXPECT_SUCCESS(api().disp32NewScreenGamma(180, 180, 180));
                }
                EXPECT_SUCCESS(api().disp32SetDevType(99));
                expect_device(4, 30, 1);
                EXPECT_EQ(watch.contents(), library_palettes(4));
                EXPECT_EQ(Census::now(), settled);
            }
    EXPECT_GE(failures, 4 * 3 + 2); // the palettes
}

// Half-built, the library stops and leaves nothing.
TEST_F(FailingDisplayCalls, StopsWhenHalfBuilt) {
    for (int type : {0, 3, 4, 5})
        for (int n = 1; n <= 3; ++n)
            for (const bool gamma : {false, true}) {
                PaletteWatch watch;
                start();
                EXPECT_SUCCESS(api().disp32SetDevType(type == 0 ? 1 : 0));
                {
                    const FailingCall failing{"CreatePalette", n};
                    const int result = api().disp32SetDevType(type);
                    EXPECT_EQ(result, failing.happened() ? 0 : 1);
                }
                if (gamma) {
                    EXPECT_SUCCESS(api().disp32NewScreenGamma(90, 90, 90));
                }
                stop();
                EXPECT_EQ(watch.held().size(), 0u);
            }
}

TEST_F(FailingDisplayCalls, NewDetections) {
    for (int bits : {8, 16, 24}) {
        const PretendedDisplay display{bits, 1};
        const int type = bits == 8 ? 3 : bits == 16 ? 5 : 4;
        const int palettes = type == 3 ? 3 : 1;
        PaletteWatch watch;
        start();
        const Census settled = Census::now();
        for (const char *function : building_calls)
            for (auto [n, happened] = std::pair(1, true); happened && n < 40; ++n) {
                SCOPED_TRACE(std::string(function) + " number " + std::to_string(n) + ", bits " +
                             std::to_string(bits));
                EXPECT_SUCCESS(api().disp32SetDevType(0));
                {
                    const FailingCall failing{function, n};
                    const int result = api().disp32SetDevType(DISP32_DETECT);
                    happened = failing.happened();
                    if (!happened) {
                        EXPECT_EQ(result, 1);
                    } else if (std::string(function) == "CreatePalette") {
                        // Behind those of the type come corrected ones, which may fail.
                        EXPECT_EQ(result, n <= palettes ? 0 : 1) << n;
                    }
                }
                expect_no_report();
                information();
                EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
                expect_device(type, bits, 1);
                expect_gamma({100, 100, 100});
                EXPECT_EQ(watch.contents(), library_palettes(type));
                EXPECT_EQ(Census::now(), settled);
            }
        stop();
    }
}

// A palette that cannot be corrected stays what it was.
TEST_F(FailingDisplayCalls, NewGamma) {
    PaletteWatch watch;
    start();
    for (int type : {3, 4, 5}) {
        EXPECT_SUCCESS(api().disp32SetDevType(99));
        if (information().type != type) {
            EXPECT_SUCCESS(api().disp32SetDevType(type));
        }
        const Census settled = Census::now();
        const std::size_t held = watch.held().size();
        for (const char *function : {"CreatePalette", "SetPaletteEntries", "GlobalAlloc",
                                     "GlobalLock", "malloc", "calloc"}) {
            SCOPED_TRACE(std::string(function) + ", type " + std::to_string(type));
            {
                const FailingCall failing{function, 1, FailingCall::from_there_on};
                EXPECT_SUCCESS(api().disp32NewScreenGamma(90, 220, 100));
                if (failing.happened()) {
                    EXPECT_EQ(watch.contents(), library_palettes(type));
                } else {
                    EXPECT_EQ(watch.contents(), library_palettes(type, {50, 122, 55}));
                }
            }
            expect_gamma({50, 122, 55});
            EXPECT_EQ(watch.held().size(), held);
            EXPECT_SUCCESS(api().disp32NewScreenGamma(220, 220, 220));
            EXPECT_EQ(watch.contents(), library_palettes(type, {122, 122, 122}));
            EXPECT_SUCCESS(api().disp32NewScreenGamma(180, 180, 180));
            EXPECT_EQ(watch.contents(), library_palettes(type));
            EXPECT_EQ(Census::now(), settled);
        }
    }
}

} // namespace
} // namespace q32::test
