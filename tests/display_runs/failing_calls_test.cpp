// Every call by which runs get something or draw, failing in turn: what is answered, that nothing
// is left behind, and that the device context is as it was.
#include "tests/display_runs/run_fixture.h"

#include <functional>
#include <sstream>

namespace q32::test {
namespace {

class FailingRunCalls : public RunTest {
protected:
    void SetUp() override {
        RunTest::SetUp();
        // Something to draw on.
        bitmap_ = CreateBitmap(40, 40, 1, 32, nullptr);
        before_ = SelectObject(dc(), bitmap_);
    }
    void TearDown() override {
        SelectObject(dc(), before_);
        DeleteObject(bitmap_);
        RunTest::TearDown();
    }

    template <class Action>
    void each_path(Action action) {
        for (int type = 0; type <= 5; ++type)
            for (int depth : {1, 8, 16, 24})
                for (bool palette : {false, true}) {
                    if (palette && depth != 8)
                        continue;
                    RunSetup setup{.type = type, .depth = depth, .left = 2, .top = 3};
                    setup.right = 35;
                    setup.bottom = 20;
                    setup.option = 1;
                    if (palette)
                        setup.palette = some_colours(random, 256);
                    std::ostringstream trace;
                    trace << setup;
                    SCOPED_TRACE(trace.str());
                    prepare(setup);
                    action(setup);
                }
    }
    static bool of_bits(const RunSetup &setup) {
        const auto strip = model::strip_of(model::path_of(setup));
        return strip == model::Strip::bits || strip == model::Strip::planes;
    }

    // What a run may change of a device context.
    struct ContextState {
        COLORREF background, text;
        HGDIOBJ palette, bitmap;
        bool operator==(const ContextState &) const = default;
    };
    ContextState state() {
        return {GetBkColor(dc()), GetTextColor(dc()), GetCurrentObject(dc(), OBJ_PAL),
                GetCurrentObject(dc(), OBJ_BITMAP)};
    }
    Random random{test_seed(), 91};

private:
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ before_ = nullptr;
};

TEST_F(FailingRunCalls, AtTheOpening) {
    SetBkColor(dc(), 0x112233);
    SetTextColor(dc(), 0x445566);
    each_path([&](const RunSetup &setup) {
        const ContextState context = state();
        const auto openings = [&](const char *function) {
            return each_failing(function, [&] {
                const Census before = Census::now();
                HDISPRUN run = 0x5A5A5A5A;
                const int result = try_open(setup, &run);
                expect_no_report();
                EXPECT_EQ(result, failed() ? 0 : 1);
                EXPECT_EQ(run == 0, failed());
                if (run != 0)
                    end(run);
                EXPECT_EQ(Census::now(), before);
                EXPECT_EQ(state(), context);
            });
        };
        int memory = 0;
        for (const char *function : {"GlobalAlloc", "GlobalLock", "malloc", "calloc"})
            memory += openings(function);
        EXPECT_GE(memory, 2); // record and strip
        const bool planes = model::strip_of(model::path_of(setup)) == model::Strip::planes;
        EXPECT_EQ(openings("CreateCompatibleDC"), of_bits(setup) ? 1 : 0);
        EXPECT_EQ(openings("CreateBitmap"), of_bits(setup) && !planes ? 1 : 0);
        EXPECT_EQ(openings("CreateCompatibleBitmap"), planes ? 1 : 0);

        // A bitmap that cannot be selected is of no use. (The second selection is at the end.)
        const FailingCall selection{"SelectObject", 1};
        const Census before = Census::now();
        HDISPRUN run = 0x5A5A5A5A;
        EXPECT_EQ(try_open(setup, &run), of_bits(setup) ? 0 : 1);
        EXPECT_EQ(selection.happened(), of_bits(setup));
        EXPECT_EQ(run == 0, of_bits(setup));
        if (run != 0)
            end(run);
        EXPECT_EQ(Census::now(), before);
        EXPECT_EQ(state(), context);
    });
}

// Whatever becomes of the run, nothing is left.
TEST_F(FailingRunCalls, OfOtherThingsAtTheOpening) {
    each_path([&](const RunSetup &setup) {
        const ContextState context = state();
        const Source source(random, setup.depth, 33, 17);
        for (const char *function : {"SelectObject", "GetObjectA", "GetPaletteEntries"})
            each_failing(function, [&] {
                const Census before = Census::now();
                HDISPRUN run = 0x5A5A5A5A;
                const int result = try_open(setup, &run);
                EXPECT_EQ(result == 0, run == 0);
                if (run != 0) {
                    show(run, source);
                    end(run);
                }
                expect_no_report();
                EXPECT_EQ(Census::now(), before);
                EXPECT_EQ(state(), context);
            });
    });
}

TEST_F(FailingRunCalls, OfDrawing) {
    SetBkColor(dc(), 0x112233);
    SetTextColor(dc(), 0x445566);
    each_path([&](const RunSetup &setup) {
        const ContextState context = state();
        const Source source(random, setup.depth, 33, 17);
        for (const char *function : {"SetDIBitsToDevice", "BitBlt", "SetBitmapBits"}) {
            const int failures = each_failing(function, [&] {
                const Census before = Census::now();
                const HDISPRUN run = open(setup);
                EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 5));
                int refused = 0;
                for (int row = 0; row < 17; ++row)
                    if (!show(run, source, row, 1)) {
                        ++refused;
                        EXPECT_EQ(show(run, source, row, 1), 1);
                    }
                EXPECT_LE(refused, 1);
                EXPECT_EQ(refused == 1, failed()); // or the last strip, which nobody is told of
                end(run);
                EXPECT_EQ(Census::now(), before);
                EXPECT_EQ(state(), context);
            });
            const bool bits = std::string(function) != "SetDIBitsToDevice";
            EXPECT_EQ(failures, bits == of_bits(setup) ? 4 : 0); // 5 + 5 + 5 + 2 rows
        }
    });
}

// None of these is a failed drawing.
TEST_F(FailingRunCalls, BesideDrawing) {
    each_path([&](const RunSetup &setup) {
        const Source source(random, setup.depth, 33, 17);
        for (const char *function :
             {"SetICMMode", "SelectPalette", "RealizePalette", "SetBkColor", "SetTextColor"})
            each_failing(function, [&] {
                const Census before = Census::now();
                const GdiWatch watch(dc()); // whose drawings succeed whatever is selected
                const HDISPRUN run = open(setup);
                const FailingCall draws{"SetDIBitsToDevice", 0}, blits{"BitBlt", 0};
                EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 9));
                EXPECT_SUCCESS(show(run, source));
                end(run);
                EXPECT_EQ(draws.calls() + blits.calls(), 2);
                EXPECT_EQ(Census::now(), before);
            });
    });
}

// A palette whose colours cannot be read while it is shown: nothing crashes, nothing is left.
TEST_F(FailingRunCalls, OfPalettesWhileDrawing) {
    const Replaced<call::SetICMMode> on([](HDC, int) { return ICM_ON; });
    each_path([&](const RunSetup &setup) {
        const Source source(random, setup.depth, 33, 17);
        for (const char *function : {"GetObjectA", "GetPaletteEntries"}) {
            const Census before = Census::now();
            const HDISPRUN run = open(setup);
            {
                const FailingCall failing{function, 1, FailingCall::from_there_on};
                show(run, source);
                end(run);
            }
            EXPECT_EQ(Census::now(), before);
            // The places are where they belong.
            GdiWatch watch(dc());
            const HDISPRUN next = open(setup);
            EXPECT_SUCCESS(show(next, source));
            end(next);
            drawn(watch, setup);
        }
    });
}

// A strip that cannot be locked again.
TEST_F(FailingRunCalls, OfAttributes) {
    each_path([&](const RunSetup &setup) {
        for (const auto &[which, value] : {std::pair(1, -1), std::pair(2, 3)}) {
            const Source source(random, setup.depth, 33, 17);
            const Census before = Census::now();
            const HDISPRUN run = open(setup);
            {
                const FailingCall lock{"GlobalLock", 1};
                api().disp32SetAttrib(run, which, value);
                EXPECT_TRUE(lock.happened());
            }
            show(run, source);
            show(run, source);
            end(run);
            expect_no_report();
            EXPECT_EQ(Census::now().global_blocks, before.global_blocks);
            EXPECT_EQ(Census::now().drawing_objects, before.drawing_objects);
            EXPECT_EQ(Census::now().device_contexts, before.device_contexts);
        }
    });
}

// A palette that names nothing.
TEST_F(FailingRunCalls, DeletedPalettes) {
    for (int type = 0; type <= 5; ++type)
        for (int option : {0, 1}) {
            prepare({.type = type});
            OwnPalette palette{colourful(256)};
            const HPALETTE deleted = palette.deleted();
            const Source source(random, 8, 33, 17);
            const Census before = Census::now();
            HDISPRUN run = 0x5A5A5A5A;
            const int result =
                api().disp32ShowInit(&run, dc(), 8, 2, 3, 35, 20, deleted, option, 0);
            EXPECT_EQ(result == 0, run == 0);
            if (run != 0) {
                show(run, source);
                end(run);
            }
            expect_no_report();
            EXPECT_EQ(Census::now(), before);
        }
}

// Many runs of every path hold no more than none.
TEST_F(FailingRunCalls, NothingAccumulates) {
    each_path([&](const RunSetup &setup) {
        const Source source(random, setup.depth, 33, 17);
        const Census before = Census::now();
        for (int i = 0; i < 40; ++i) {
            const HDISPRUN run = open(setup);
            show(run, source);
            end(run);
        }
        EXPECT_EQ(Census::now(), before);
    });
}

} // namespace
} // namespace q32::test
