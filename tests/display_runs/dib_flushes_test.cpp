// How strips of bitmaps are handed over: the calls in their order, header, colour table and usage.
// What holds of every drawing (run_fixture.cpp, check_header) is checked in all tests.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class DibFlushes : public RunTest {
protected:
    // Everything that a run of two strips calls.
    Lines calls_of(RunSetup setup, DWORD icm_mode = ICM_OFF) {
        prepare(setup);
        GdiWatch watch(dc());
        watch.icm_mode = icm_mode;
        const HDISPRUN run = open(setup);
        watch.name(palette(), "own");
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 3));
        const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
        EXPECT_SUCCESS(show(run, source));
        end(run);
        usages.clear();
        for (const Drawing &drawing : watch.drawings())
            usages.push_back(drawing.usage);
        model::ModelRun model(setup);
        model.attribute(2, 3);
        model.show(source.image(), 0, 0, source.rows, source.stride);
        model.end();
        expect_drawn(watch, setup, model.flushes());
        return watch.take_calls();
    }
    Random random{test_seed(), 11};
    std::vector<UINT> usages;
    static constexpr RunSetup place{.left = 20, .top = 30, .right = 31, .bottom = 35};
};

TEST_F(DibFlushes, OfColours) {
    for (int type : {4, 5})
        for (int depth : {8, 16, 24}) {
            RunSetup setup = place;
            setup.type = type;
            setup.depth = depth;
            for (DWORD mode : {ICM_OFF, ICM_ON}) // which is not even asked
                EXPECT_EQ(calls_of(setup, mode),
                          (Lines{"SetDIBitsToDevice(dc, 20, 30, 11, 3, 0, 0, 0, 3, colours)",
                                 "SetDIBitsToDevice(dc, 20, 33, 11, 2, 0, 0, 0, 2, colours)"}));
        }
}

TEST_F(DibFlushes, OfPlaces) {
    RunSetup setup = place;
    setup.type = 3;
    setup.force_background = 1;
    for (int depth : {8, 16, 24}) {
        setup.depth = depth;
        EXPECT_EQ(
            calls_of(setup),
            (Lines{"SetICMMode(dc, query)", "SelectPalette(dc, other, 1)", "RealizePalette(dc)",
                   "SetDIBitsToDevice(dc, 20, 30, 11, 3, 0, 0, 0, 3, places)",
                   "SelectPalette(dc, before, 1)", //
                   "SetICMMode(dc, query)", "SelectPalette(dc, other, 1)", "RealizePalette(dc)",
                   "SetDIBitsToDevice(dc, 20, 33, 11, 2, 0, 0, 0, 2, places)",
                   "SelectPalette(dc, before, 1)"}));
    }
}

TEST_F(DibFlushes, ThroughTheCallersPalette) {
    RunSetup setup = place;
    setup.depth = 8;
    setup.palette = some_colours(random, 256);
    for (int type : {0, 1, 3, 4, 5})
        for (int option : {0, 1}) {
            if (type <= 3 && option != 0)
                continue;
            setup.type = type;
            setup.option = option;
            EXPECT_EQ(
                calls_of(setup),
                (Lines{"SetICMMode(dc, query)", "SelectPalette(dc, own, 0)", "RealizePalette(dc)",
                       "SetDIBitsToDevice(dc, 20, 30, 11, 3, 0, 0, 0, 3, places)",
                       "SelectPalette(dc, before, 0)", //
                       "SetICMMode(dc, query)", "SelectPalette(dc, own, 0)", "RealizePalette(dc)",
                       "SetDIBitsToDevice(dc, 20, 33, 11, 2, 0, 0, 0, 2, places)",
                       "SelectPalette(dc, before, 0)"}));
        }
}

// The flag is handed on as it is.
TEST_F(DibFlushes, ForceBackground) {
    RunSetup setup = place;
    setup.type = 3;
    for (int flag : {0, 1, 2, -1, 0x7FFFFFFF}) {
        setup.force_background = flag;
        const Lines calls = calls_of(setup);
        ASSERT_EQ(calls.size(), 10u);
        EXPECT_EQ(calls[1], "SelectPalette(dc, other, " + std::to_string(flag) + ")");
        EXPECT_EQ(calls[4], "SelectPalette(dc, before, " + std::to_string(flag) + ")");
    }
}

// Under colour management colours are handed over and not places: blue, green, red, 0.
TEST_F(DibFlushes, AsColoursUnderColourManagement) {
    RunSetup setup = place;
    setup.type = 3;
    for (int depth : {8, 16, 24})
        for (int entries : {0, 5, 256})
            for (int option : {0, 1}) {
                setup.depth = depth;
                setup.option = option;
                setup.palette.reset();
                if (entries > 0)
                    setup.palette = some_colours(random, entries);
                EXPECT_EQ(calls_of(setup, ICM_ON).size(), 10u);
                EXPECT_EQ(usages, (std::vector<UINT>{DIB_RGB_COLORS, DIB_RGB_COLORS}));
                // And the places are there again.
                calls_of(setup, ICM_OFF);
                EXPECT_EQ(usages, (std::vector<UINT>{DIB_PAL_COLORS, DIB_PAL_COLORS}));
            }
}

TEST_F(DibFlushes, OnlyWhenItIsOn) {
    RunSetup setup = place;
    setup.type = 3;
    for (DWORD mode : {DWORD{0}, DWORD{ICM_OFF}, DWORD{3}, DWORD{4}}) {
        calls_of(setup, mode);
        EXPECT_EQ(usages, (std::vector<UINT>{DIB_PAL_COLORS, DIB_PAL_COLORS}));
    }
}

// The mode is asked for at each flush.
TEST_F(DibFlushes, ModeThatChanges) {
    RunSetup setup = place;
    setup.type = 3;
    setup.bottom = setup.top + 8;
    prepare(setup);
    const Source source(random, 24, 11, 8);
    GdiWatch watch(dc());
    const HDISPRUN run = open(setup);
    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 2));
    std::vector<UINT> wanted;
    for (int row = 0; row < 8; ++row) {
        watch.icm_mode = row % 4 == 2 ? ICM_ON : ICM_OFF;
        EXPECT_SUCCESS(show(run, source, row, 1));
    }
    end(run);
    for (const Drawing &drawing : watch.drawings())
        wanted.push_back(drawing.usage);
    EXPECT_EQ(wanted,
              (std::vector<UINT>{DIB_RGB_COLORS, DIB_PAL_COLORS, DIB_RGB_COLORS, DIB_PAL_COLORS}));
    EXPECT_EQ(drawn(watch, setup).size(), 4u);
}

// Colours used are the palette's entries, also when there are more than 256 of them.
TEST_F(DibFlushes, PalettesOfAnySize) {
    RunSetup setup = place;
    setup.depth = 8;
    for (int entries : {1, 2, 16, 255, 256, 257, 300, 1024})
        for (DWORD mode : {ICM_OFF, ICM_ON})
            for (int type : {3, 4}) {
                setup.type = type;
                setup.palette = some_colours(random, entries);
                calls_of(setup, mode);
            }
}

// The number of entries is told in a word, and whatever lies above it does not count.
TEST_F(DibFlushes, EntriesAreCountedInAWord) {
    RunSetup setup = place;
    setup.type = 3;
    const Replaced<call::GetObjectA> count([](HANDLE object, int size, void *into) {
        if (size > 2)
            std::memset(into, 0xA5, std::size_t(size));
        return call::GetObjectA::real(object, std::min(size, 2), into);
    });
    calls_of(setup, ICM_OFF); // 256
}

// A run of places leaves the shared header to a run of colours, and the other way round.
TEST_F(DibFlushes, TakeTurns) {
    Random numbers{test_seed(), 12};
    for (int i = 0; i < 40; ++i) {
        RunSetup setup = place;
        setup.depth = numbers.below(2) ? 24 : 8;
        setup.type = 3 + int(numbers.below(3));
        setup.right = setup.left + 1 + int(numbers.below(60));
        if (setup.depth == 8 && numbers.below(2))
            setup.palette = some_colours(numbers, int(1 + numbers.below(256)));
        calls_of(setup, numbers.below(2) ? ICM_ON : ICM_OFF);
    }
}

// Without the palette of the library, which could not be had, there is none to select.
TEST_F(DibFlushes, WithoutAPalette) {
    EXPECT_SUCCESS(api().disp32SetDevType(4));
    {
        const FailingCall none{"CreatePalette", 1, FailingCall::from_there_on};
        EXPECT_SILENT_FAILURE(api().disp32SetDevType(3));
    }
    RunSetup setup = place;
    setup.type = 3;
    for (int depth : {24, 16, 8})
        for (int option : {0, 1}) {
            setup.depth = depth;
            setup.option = option;
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            const Source source(random, depth, 11, 5);
            EXPECT_SUCCESS(show(run, source));
            end(run);
            ASSERT_EQ(watch.drawings().size(), 1u);
            EXPECT_EQ(watch.drawings()[0].header.biClrUsed, 0u);
            EXPECT_EQ(watch.drawings()[0].header.biBitCount, 8);
            EXPECT_EQ(watch.take_calls(),
                      (Lines{"SetICMMode(dc, query)",
                             "SetDIBitsToDevice(dc, 20, 30, 11, 5, 0, 0, 0, 5, places)"}));
        }
}

} // namespace
} // namespace q32::test
