// What runs are opened, fed and ended with at the edges: nothing, too much, and the wrong thing.
#include "tests/display_runs/run_fixture.h"
#include "tests/frame/small_memory.h"

namespace q32::test {
namespace {

class Edges : public RunTest {
protected:
    Random random{test_seed(), 61};
};

// --- opening ---------------------------------------------------------------------------------

TEST_F(Edges, WithoutAHandleOrAContext) {
    const Census before = Census::now();
    EXPECT_SILENT_FAILURE(api().disp32ShowInit(nullptr, dc(), 24, 0, 0, 9, 9, nullptr, 0, 0));
    EXPECT_SILENT_FAILURE(api().disp32ShowInit(nullptr, nullptr, 24, 0, 0, 9, 9, nullptr, 0, 0));
    EXPECT_SILENT_FAILURE(
        api().disp32ShowInitEx(nullptr, dc(), 24, 0, 0, 9, 9, nullptr, 0, 0, 0, 0));
    HDISPRUN run = 0x5A5A5A5A;
    EXPECT_SILENT_FAILURE(api().disp32ShowInit(&run, nullptr, 24, 0, 0, 9, 9, nullptr, 0, 0));
    EXPECT_EQ(run, 0u);
    run = 0x5A5A5A5A;
    EXPECT_SILENT_FAILURE(
        api().disp32ShowInitEx(&run, nullptr, 24, 0, 0, 9, 9, nullptr, 0, 0, 0, 0));
    EXPECT_EQ(run, 0u);
    EXPECT_EQ(Census::now(), before);
}

TEST_F(Edges, Depths) {
    for (int type = 0; type <= 5; ++type) {
        prepare({.type = type});
        const Census before = Census::now();
        for (int depth : {4, 32, 0, 2, 3, 7, 9, 15, 17, 25, 48, 64, -1, -8, -24, 256 + 24,
                          0x7FFFFFFF, -0x7FFFFFFF - 1})
            for (int bottom : {9, 0}) {
                HDISPRUN run = 0x5A5A5A5A;
                EXPECT_SILENT_FAILURE(
                    api().disp32ShowInit(&run, dc(), depth, 0, 0, 9, bottom, nullptr, 0, 0));
                EXPECT_EQ(run, 0u) << depth;
                run = 0x5A5A5A5A;
                EXPECT_SILENT_FAILURE(api().disp32ShowInitEx(&run, dc(), depth, 0, 0, 9, bottom,
                                                             nullptr, 0, 0, 1, 2));
                EXPECT_EQ(run, 0u) << depth;
                EXPECT_EQ(Census::now(), before);
            }
    }
}

// The record is handed out as its address.
TEST_F(Edges, TheHandleIsTheRecord) {
    std::vector<std::uintptr_t> blocks;
    const Replaced<call::GlobalAlloc> watch([&](UINT flags, SIZE_T bytes) {
        const HGLOBAL block = call::GlobalAlloc::real(flags, bytes);
        if ((flags & GMEM_ZEROINIT) != 0) {
            const void *const address = call::GlobalLock::real(block);
            call::GlobalUnlock::real(block);
            blocks.push_back(reinterpret_cast<std::uintptr_t>(address));
        }
        return block;
    });
    GdiWatch gdi(dc());
    const HDISPRUN run = open({.type = 4, .right = 9, .bottom = 9});
    EXPECT_EQ(std::ranges::count(blocks, run), 1);
    end(run);
}

// --- rectangles ------------------------------------------------------------------------------

TEST_F(Edges, EmptyAndInvertedRectangles) {
    constexpr int most = 0x7FFFFFFF, least = -most - 1;
    const RECT rectangles[] = {{0, 0, 10, 0},        {0, 0, 0, 10},          {7, 7, 7, 7},
                               {5, 5, 4, 9},         {5, 5, 9, 4},           {9, 9, 1, 1},
                               {most, 0, least, 10}, {0, most, 10, least},   {-5, -5, -5, -5},
                               {most, 0, most, 10},  {least, 0, least, 10},  {0, least, 9, least},
                               {10, 10, least, 20},  {10, 10, 20, least + 9}};
    const std::uint8_t pixel[3] = {};
    for (int type = 0; type <= 5; ++type) {
        prepare({.type = type});
        for (int depth : {1, 8, 16, 24})
            for (const RECT &place : rectangles)
                for (int direction : {1, -1}) {
                    RunSetup setup{.type = type,
                                   .depth = depth,
                                   .left = place.left,
                                   .top = place.top,
                                   .right = place.right,
                                   .bottom = place.bottom};
                    const Census before = Census::now();
                    GdiWatch watch(dc());
                    const HDISPRUN run = open(setup);
                    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, direction));
                    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 1));
                    // No row is even looked at.
                    EXPECT_SUCCESS(api().disp32ShowData(run, pixel, 1 << 20, 1 << 20, 7, 4096));
                    end(run);
                    EXPECT_EQ(watch.drawings().size(), 0u);
                    EXPECT_EQ(Census::now(), before);
                }
    }
}

// What no memory can hold.
TEST_F(Edges, RectanglesWithoutEnd) {
    constexpr int most = 0x7FFFFFFF, least = -most - 1;
    const frame::SmallMemory small;
    for (int type = 0; type <= 5; ++type) {
        prepare({.type = type});
        for (int depth : {8, 16, 24})
            for (const RECT &place : {RECT{least, 0, most, 9}, RECT{least, least, most, most},
                                      RECT{0, 0, most, 3}, RECT{-1, 0, most, 2}}) {
                if (type == 2)
                    continue; // strips of bits may just be had
                const Census before = Census::now();
                HDISPRUN run = 0x5A5A5A5A;
                GdiWatch watch(dc());
                EXPECT_SILENT_FAILURE(api().disp32ShowInit(&run, dc(), depth, place.left, place.top,
                                                           place.right, place.bottom, nullptr, 0,
                                                           0));
                EXPECT_EQ(run, 0u);
                EXPECT_EQ(Census::now(), before);
            }
    }
}

// More rows than a signed number holds are an ordinary picture.
TEST_F(Edges, TallRectangles) {
    constexpr int most = 0x7FFFFFFF, least = -most - 1;
    for (int type : {3, 4, 5}) {
        const RunSetup setup{
            .type = type, .left = least, .top = least, .right = least + 2048, .bottom = most};
        prepare(setup);
        const Source source(random, 24, 2048, 40);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        model::ModelRun model(setup);
        EXPECT_SUCCESS(show(run, source));
        end(run);
        model.show(source.image(), 0, 0, 40, source.stride);
        model.end();
        expect_drawn(watch, setup, model.flushes());
    }
}

// --- rows ------------------------------------------------------------------------------------

TEST_F(Edges, NullHandlesAndImages) {
    const std::uint8_t pixel[3] = {};
    EXPECT_SILENT_FAILURE(api().disp32ShowData(0, pixel, 0, 0, 1, 3));
    EXPECT_SILENT_FAILURE(api().disp32ShowData(0, nullptr, 0, 0, 0, 0));
    EXPECT_SILENT_FAILURE(api().disp32ShowEnd(0));
    for (int type : {2, 3, 4, 5}) {
        const RunSetup setup{.type = type, .right = 9, .bottom = 9};
        prepare(setup);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SILENT_FAILURE(api().disp32ShowData(run, nullptr, 0, 0, 1, 27));
        const Source source(random, 24, 9, 9);
        EXPECT_SUCCESS(show(run, source));
        end(run);
        model::ModelRun model(setup);
        model.show(source.image(), 0, 0, 9, source.stride);
        model.end();
        expect_drawn(watch, setup, model.flushes());
    }
}

TEST_F(Edges, NoRows) {
    const RunSetup setup{.type = 4, .right = 9, .bottom = 9};
    prepare(setup);
    GdiWatch watch(dc());
    const HDISPRUN run = open(setup);
    const std::uint8_t pixel[1] = {};
    for (int rows : {0, -1, -100, -0x7FFFFFFF - 1})
        EXPECT_SUCCESS(api().disp32ShowData(run, pixel, 1 << 20, 1 << 20, rows, 4096));
    end(run);
    EXPECT_EQ(watch.drawings().size(), 0u);
}

// Rows beyond the bottom are ignored, in the same call and in later ones.
TEST_F(Edges, ExtraRows) {
    for (int type : {2, 3, 4, 5})
        for (int depth : {1, 8, 16, 24}) {
            const RunSetup setup{.type = type, .depth = depth, .top = 4, .right = 9, .bottom = 11};
            prepare(setup);
            const Source source(random, depth, 9, 7);
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 3));
            EXPECT_SUCCESS(show(run, source, 0, 5));
            EXPECT_SUCCESS(show(run, source, 5, 5000)); // two of them
            EXPECT_SUCCESS(show(run, source, 7, 1));
            EXPECT_SUCCESS(api().disp32ShowData(run, source.image(), 1 << 20, 1 << 20, 9, 4096));
            EXPECT_EQ(watch.drawings().size(), 2u);
            end(run);
            model::ModelRun model(setup);
            model.attribute(2, 3);
            model.show(source.image(), 0, 0, 7, source.stride);
            model.end();
            ASSERT_EQ(model.flushes().size(), 3u);
            expect_drawn(watch, setup, model.flushes());
        }
}

// Nothing is drawn beyond the rows that came.
TEST_F(Edges, FewerRows) {
    for (int type : {2, 3, 4, 5})
        for (int depth : {1, 8, 16, 24})
            for (int direction : {1, -1}) {
                const RunSetup setup{.type = type, .depth = depth, .right = 9, .bottom = 50};
                prepare(setup);
                const Source source(random, depth, 9, 7);
                GdiWatch watch(dc());
                const HDISPRUN run = open(setup);
                EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, direction));
                EXPECT_SUCCESS(show(run, source));
                end(run);
                model::ModelRun model(setup);
                model.attribute(1, direction);
                model.show(source.image(), 0, 0, 7, source.stride);
                model.end();
                expect_drawn(watch, setup, model.flushes());
            }
}

// The colours of a palette that is copied are read once; a palette that is shown, at each drawing.
TEST_F(Edges, PalettesThatChange) {
    for (int type : {2, 3}) {
        RunSetup setup{.type = type, .depth = 8, .right = 40, .bottom = 9, .option = 1};
        setup.palette = some_colours(random, 256);
        prepare(setup);
        const Source source(random, 8, 40, 9);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        const std::vector<PALETTEENTRY> black(256);
        EXPECT_EQ(SetPaletteEntries(palette(), 0, 256, black.data()), 256u);
        EXPECT_SUCCESS(show(run, source));
        end(run);
        model::ModelRun model(setup);
        model.show(source.image(), 0, 0, 9, source.stride);
        model.end();
        expect_drawn(watch, setup, model.flushes());
    }
}

TEST_F(Edges, PalettesOfAnySize) {
    for (int type : {2, 3})
        for (int entries : {1, 2, 100, 255, 256, 257, 1000, 32767}) {
            RunSetup setup{.type = type, .depth = 8, .right = 256, .bottom = 3, .option = 1};
            setup.palette = some_colours(random, entries);
            expect_as_model(setup, random);
        }
}

} // namespace
} // namespace q32::test
