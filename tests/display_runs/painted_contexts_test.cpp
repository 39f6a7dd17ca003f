// Runs painted onto bitmaps in memory, and every pixel read back. Bitmaps of 24 and 32 bits show
// all colours exactly, those of 8 the colours of their own table, those of 16 the upper five bits.
#include "tests/display_runs/painted_fixture.h"

namespace q32::test {
namespace {

class PaintedContexts : public PaintedRuns {
protected:
    static constexpr int width = 90, height = 60;
    void expect_painted(int bits, const RunSetup &setup, const Entries &table = {}, int rows = 7,
                        int direction = 1) {
        prepare(setup);
        const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
        const Section target(bits, width, height, table);
        paint(target.dc(), setup, source, rows, direction);
        Colours picture = wanted(setup, source);
        if (direction == -1) {
            // The same pixels row by row from the bottom; their thresholds are those of the top.
            Colours turned;
            const auto columns = std::ptrdiff_t(setup.width());
            for (auto row = picture.end(); row != picture.begin(); row -= columns)
                turned.insert(turned.end(), row - columns, row);
            picture = turned;
        }
        Colours all = placed(setup, picture, width, height);
        if (bits == 16)
            for (std::uint32_t &colour : all)
                colour &= 0xF8F8F8;
        EXPECT_EQ(difference(target.colours(), all, width), "") << setup << ", bits " << bits;
    }
    // Any path whose picture consists of colours, with indices that the palette has.
    template <class Action>
    void each_path(Action action) {
        for (int type : {0, 2, 3, 4, 5})
            for (int depth : {1, 8, 16, 24})
                for (int option : {0, 1})
                    for (bool palette : {false, true}) {
                        RunSetup setup{.type = type, .depth = depth, .left = 7, .top = 5};
                        setup.right = 7 + 61;
                        setup.bottom = 5 + 44;
                        setup.option = option;
                        if (palette)
                            setup.palette = some_colours(random, 256);
                        if (model::strip_of(model::path_of(setup)) != model::Strip::planes)
                            action(setup);
                    }
    }
    Random random{test_seed(), 121};
};

TEST_F(PaintedContexts, OfFullColours) {
    each_path([&](const RunSetup &setup) {
        expect_painted(24, setup);
        expect_painted(32, setup);
    });
}

TEST_F(PaintedContexts, WithGamma) {
    for (int type : {3, 4, 5})
        for (int depth : {8, 16, 24}) {
            RunSetup setup{.type = type, .depth = depth, .left = 1, .top = 2, .right = 80};
            setup.bottom = 55;
            setup.gamma = {50, 122, 200};
            expect_painted(24, setup);
        }
}

TEST_F(PaintedContexts, FromTheBottomUp) {
    each_path([&](const RunSetup &setup) { expect_painted(32, setup, {}, 9, -1); });
}

// Rectangles that reach beyond the bitmap, on all sides.
TEST_F(PaintedContexts, CutAtTheEdges) {
    for (const RECT &place : {RECT{-20, -30, 40, 20}, RECT{60, 40, 130, 95}, RECT{-5, -5, 100, 70},
                              RECT{200, 10, 220, 30}, RECT{0, 0, 90, 60}})
        for (int type : {3, 4, 5})
            for (int depth : {1, 8, 24}) {
                RunSetup setup{.type = type, .depth = depth, .left = place.left, .top = place.top};
                setup.right = place.right;
                setup.bottom = place.bottom;
                expect_painted(32, setup);
            }
}

// Every colour lies in the bitmap's table.
TEST_F(PaintedContexts, OfTheCubesColours) {
    for (int depth : {24, 16}) {
        const RunSetup setup{
            .type = 3, .depth = depth, .left = 3, .top = 4, .right = 80, .bottom = 50};
        prepare(setup);
        const Source source(random, depth, 77, 46);
        const Entries cube = colour_cube(3, 256);
        const Section target(8, width, height, cube);
        const Colours before = target.colours();
        paint(target.dc(), setup, source);
        const Colours after = target.colours();
        Colours all = placed(setup, wanted(setup, source), width, height);
        for (std::size_t i = 0; i < all.size(); ++i)
            if (all[i] == grey)
                all[i] = before[i]; // the nearest to grey there is
        EXPECT_EQ(difference(after, all, width), "");
    }
}

TEST_F(PaintedContexts, OfFiveBits) {
    for (int depth : {8, 16, 24}) {
        const RunSetup setup{
            .type = 5, .depth = depth, .left = 3, .top = 4, .right = 80, .bottom = 50};
        expect_painted(16, setup); // dithered to five bits: nothing is lost
    }
}

// Planes mean nothing to a display without planes; but they stay within the rectangle.
TEST_F(PaintedContexts, OfPlanes) {
    for (int bits : {24, 32})
        for (int depth : {8, 16, 24}) {
            RunSetup setup{
                .type = 2, .depth = depth, .left = 10, .top = 9, .right = 70, .bottom = 40};
            setup.palette = some_colours(random, 256);
            prepare(setup);
            const Source source(random, depth, 60, 31);
            const Section target(bits, width, height);
            paint(target.dc(), setup, source);
            const Colours after = target.colours();
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    if (x < 10 || x >= 70 || y < 9 || y >= 40) {
                        ASSERT_EQ(after[std::size_t(y * width + x)], grey) << x << ' ' << y;
                    }
        }
}

// Several strips: 1000 pixels a row.
TEST_F(PaintedContexts, InSeveralStrips) {
    for (int type : {3, 4, 5})
        for (int depth : {1, 8, 16, 24})
            for (int direction : {1, -1}) {
                RunSetup setup{.type = type, .depth = depth, .left = -900, .top = -3, .right = 100};
                setup.bottom = 63;
                expect_painted(32, setup, {}, 5, direction);
            }
}

// The library leaves the context as it was.
TEST_F(PaintedContexts, StayAsTheyWere) {
    each_path([&](const RunSetup &setup) {
        prepare(setup);
        const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
        const Section target(24, width, height);
        const HDC dc = target.dc();
        SetBkColor(dc, 0x112233);
        SetTextColor(dc, 0x445566);
        const OwnPalette own{colourful(20)};
        SelectPalette(dc, own.get(), TRUE);
        const HGDIOBJ bitmap = GetCurrentObject(dc, OBJ_BITMAP);
        paint(dc, setup, source);
        EXPECT_EQ(GetBkColor(dc), COLORREF{0x112233});
        EXPECT_EQ(GetTextColor(dc), COLORREF{0x445566});
        EXPECT_EQ(GetCurrentObject(dc, OBJ_PAL), own.get());
        EXPECT_EQ(GetCurrentObject(dc, OBJ_BITMAP), bitmap);
        SelectPalette(dc, HPALETTE(GetStockObject(DEFAULT_PALETTE)), TRUE);
    });
}

} // namespace
} // namespace q32::test
