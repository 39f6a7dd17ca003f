// How strips of bits and planes are drawn: through a bitmap in a memory context, the calls in their
// order, from the opening of a run to its end.
#include "tests/display_runs/run_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

class BitmapFlushes : public RunTest {
protected:
    // Everything that a run of two strips of three rows calls.
    struct Parts {
        Lines opening, showing, ending;
    };
    Parts calls_of(const RunSetup &setup, int direction = 1) {
        prepare(setup);
        GdiWatch watch(dc());
        Parts parts;
        const HDISPRUN run = open(setup);
        parts.opening = watch.take_calls();
        std::ranges::sort(parts.opening); // which is made first does not matter
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 3));
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, direction));
        EXPECT_EQ(watch.take_calls(), Lines{});
        const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
        EXPECT_SUCCESS(show(run, source));
        parts.showing = watch.take_calls();
        end(run);
        parts.ending = watch.take_calls();
        model::ModelRun model(setup);
        model.attribute(2, 3);
        model.attribute(1, direction);
        model.show(source.image(), 0, 0, source.rows, source.stride);
        model.end();
        expect_drawn(watch, setup, model.flushes());
        return parts;
    }
    static void expect_release(const Lines &ending, std::size_t from) {
        const Lines released(ending.begin() + std::ptrdiff_t(std::min(from, ending.size())),
                             ending.end());
        ASSERT_EQ(released.size(), 3u);
        // Deselected first.
        EXPECT_EQ(released[0], "SelectObject(memory, before)");
        EXPECT_EQ(std::ranges::count(released, "DeleteDC(memory)"), 1);
        EXPECT_EQ(std::ranges::count(released, "DeleteObject(bitmap)"), 1);
    }
    Random random{test_seed(), 21};
    static constexpr RunSetup place{.left = 20, .top = 30, .right = 37, .bottom = 35};
};

TEST_F(BitmapFlushes, OfBits) {
    for (int type = 0; type <= 5; ++type)
        for (int depth : {1, 8}) {
            if (depth == 8 && type != 2)
                continue;
            RunSetup setup = place;
            setup.type = type;
            setup.depth = depth;
            const Parts parts = calls_of(setup);
            EXPECT_EQ(parts.opening,
                      (Lines{"CreateBitmap(17, 5, 1, 1, null)", "CreateCompatibleDC(dc)",
                             "SelectObject(memory, bitmap)"}));
            EXPECT_EQ(parts.showing,
                      (Lines{"SetBkColor(dc, ffffff)", "SetTextColor(dc, 000000)",
                             "SetBitmapBits(bitmap, 12)", "BitBlt(dc, 20, 30, 17, 3, memory, 0, 0)",
                             "SetBkColor(dc, 123456)", "SetTextColor(dc, 654321)"}));
            ASSERT_EQ(parts.ending.size(), 9u);
            EXPECT_EQ(Lines(parts.ending.begin(), parts.ending.begin() + 6),
                      (Lines{"SetBkColor(dc, ffffff)", "SetTextColor(dc, 000000)",
                             "SetBitmapBits(bitmap, 12)", "BitBlt(dc, 20, 33, 17, 2, memory, 0, 0)",
                             "SetBkColor(dc, 123456)", "SetTextColor(dc, 654321)"}));
            expect_release(parts.ending, 6);
        }
}

// Four planes of 4 bytes a row.
TEST_F(BitmapFlushes, OfPlanes) {
    for (int depth : {8, 16, 24}) {
        RunSetup setup = place;
        setup.type = 2;
        setup.depth = depth;
        setup.palette = some_colours(random, 256);
        const Parts parts = calls_of(setup);
        EXPECT_EQ(parts.opening, (Lines{"CreateCompatibleBitmap(dc, 17, 5)",
                                        "CreateCompatibleDC(dc)", "SelectObject(memory, bitmap)"}));
        EXPECT_EQ(parts.showing,
                  (Lines{"SetBitmapBits(bitmap, 48)", "BitBlt(dc, 20, 30, 17, 3, memory, 0, 0)"}));
        ASSERT_EQ(parts.ending.size(), 5u);
        EXPECT_EQ(Lines(parts.ending.begin(), parts.ending.begin() + 2),
                  (Lines{"SetBitmapBits(bitmap, 48)", "BitBlt(dc, 20, 33, 17, 2, memory, 0, 0)"}));
        expect_release(parts.ending, 2);
    }
}

// From the bottom up the strip fills from its end: two rows of three begin at the second.
TEST_F(BitmapFlushes, BottomFirst) {
    for (int depth : {1, 24}) {
        RunSetup setup = place;
        setup.type = 2;
        setup.depth = depth;
        const Parts parts = calls_of(setup, -1);
        const auto has = [](const Lines &calls, const std::string &call) {
            return std::ranges::count(calls, call);
        };
        EXPECT_EQ(has(parts.showing, "BitBlt(dc, 20, 32, 17, 3, memory, 0, 0)"), 1);
        EXPECT_EQ(has(parts.ending, "BitBlt(dc, 20, 30, 17, 2, memory, 0, 1)"), 1);
    }
}

// Without a drawing nothing but the release is left.
TEST_F(BitmapFlushes, WithoutRows) {
    for (int depth : {1, 8, 16, 24}) {
        RunSetup setup = place;
        setup.type = 2;
        setup.depth = depth;
        prepare(setup);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        watch.take_calls();
        end(run);
        expect_release(watch.take_calls(), 0);
    }
}

// Rows that never came, and what lies behind the pixels of the others, are clear in the bitmap: no
// memory of the process is handed out.
TEST_F(BitmapFlushes, WhatNeverCameIsClear) {
    const Replaced<call::GlobalAlloc> used_before([](UINT flags, SIZE_T bytes) {
        const HGLOBAL block = call::GlobalAlloc::real(flags, bytes);
        if ((flags & GMEM_ZEROINIT) == 0) {
            std::memset(call::GlobalLock::real(block), 0xCC, bytes);
            call::GlobalUnlock::real(block);
        }
        return block;
    });
    for (int depth : {1, 8, 24}) {
        const RunSetup setup{.type = 2, .depth = depth, .right = 16, .bottom = 6};
        prepare(setup);
        const Source source(random, depth, 16, 2);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(show(run, source));
        end(run);
        ASSERT_EQ(watch.drawings().size(), 1u);
        const std::vector<unsigned char> &bits = watch.drawings()[0].bits;
        const std::size_t row = depth == 24 ? 8 : 2; // four planes of two bytes, or bits
        ASSERT_EQ(bits.size(), 6 * row);
        EXPECT_EQ(std::count(bits.begin() + std::ptrdiff_t(2 * row), bits.end(), 0),
                  std::ptrdiff_t(4 * row))
            << depth;
    }
    const RunSetup narrow{.type = 2, .depth = 1, .right = 8, .bottom = 1};
    prepare(narrow);
    const std::uint8_t eight_pixels = 0xFF;
    GdiWatch watch(dc());
    const HDISPRUN run = open(narrow);
    EXPECT_SUCCESS(api().disp32ShowData(run, &eight_pixels, 0, 0, 1, 1));
    end(run);
    ASSERT_EQ(watch.drawings().size(), 1u);
    EXPECT_EQ(watch.drawings()[0].bits, (std::vector<unsigned char>{0xFF, 0}));
}

// The bitmap of bits has the rows of a strip, that of planes all rows of the rectangle.
TEST_F(BitmapFlushes, SizesOfTheBitmaps) {
    RunSetup setup{.type = 2, .depth = 1, .right = 100, .bottom = 4000};
    GdiWatch watch(dc());
    prepare(setup);
    end(open(setup));
    EXPECT_EQ(std::ranges::count(watch.take_calls(), "CreateBitmap(100, 1755, 1, 1, null)"),
              1); // 24576 / 14
    setup.depth = 8;
    end(open(setup));
    EXPECT_EQ(std::ranges::count(watch.take_calls(), "CreateBitmap(100, 1755, 1, 1, null)"), 1);
    setup.depth = 24;
    end(open(setup));
    EXPECT_EQ(std::ranges::count(watch.take_calls(), "CreateCompatibleBitmap(dc, 100, 4000)"), 1);
}

// Displays that really have 16 colours: a pixel's bits together, or one bit in each of four planes.
TEST_F(BitmapFlushes, DetectedDisplays) {
    for (const auto &[bits, planes] : {std::pair(4, 1), std::pair(1, 4), std::pair(2, 2)}) {
        const PretendedDisplay display{bits, planes};
        EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
        expect_device(2, bits, planes);
        for (int width : {1, 15, 16, 17, 33}) {
            RunSetup setup{.type = 2, .right = width, .bottom = 3};
            setup.device_bits = bits;
            setup.device_planes = planes;
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            const Source source(random, 24, width, 3);
            model::ModelRun model(setup);
            model.show(source.image(), 0, 0, 3, source.stride);
            model.end();
            EXPECT_SUCCESS(show(run, source));
            end(run);
            const std::string bytes = std::to_string((width + 15) / 16 * 2 * 4 * 3);
            const Lines calls = watch.take_calls();
            EXPECT_EQ(std::ranges::count(calls, "SetBitmapBits(bitmap, " + bytes + ")"), 1);
            expect_drawn(watch, setup, model.flushes());
        }
        EXPECT_SUCCESS(api().disp32SetDevType(4));
    }
    EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
}

} // namespace
} // namespace q32::test
