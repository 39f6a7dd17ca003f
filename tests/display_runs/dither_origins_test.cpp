// Where matrices are anchored: at the context's origin, or at one that is given. Pictures drawn in
// pieces are the same as drawn at once, on every path.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class DitherOrigins : public RunTest {
protected:
    std::vector<Flush> draw(const RunSetup &setup, const Source &source) {
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(show(run, source));
        end(run);
        return drawn(watch, setup);
    }
    // Pixels of a run that shows one value everywhere.
    std::vector<std::uint32_t> even(const RunSetup &setup, int value) {
        const Bytes row(std::size_t(setup.width()) * 3, std::uint8_t(value));
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32ShowData(run, row.data(), 0, 0, int(setup.height()), 0));
        end(run);
        const auto flushes = drawn(watch, setup);
        EXPECT_EQ(flushes.size(), 1u);
        return flushes.empty() ? std::vector<std::uint32_t>{} : flushes[0].pixels;
    }
    using Pixels = std::vector<std::uint32_t>;
    Random random{test_seed(), 71};
};

// Row 2 from column 5 on: 48 6 44 7 45 4; rows on from there at column 5: 48 22 40.
TEST_F(DitherOrigins, OfTheContext) {
    prepare({.type = 3});
    const RunSetup row{.type = 3, .left = 5, .top = 2, .right = 11, .bottom = 3};
    EXPECT_EQ(even(row, 44), (Pixels{0, 43, 43, 43, 0, 43}));
    EXPECT_EQ(even(row, 45), (Pixels{0, 43, 43, 43, 43, 43}));
    const RunSetup column{.type = 3, .left = 5, .top = 2, .right = 6, .bottom = 5};
    EXPECT_EQ(even(column, 40), (Pixels{0, 43, 43}));
    EXPECT_EQ(even(column, 39), (Pixels{0, 43, 0}));
}

// The same place of the matrix, wherever it is drawn, also from the left of its origin: -3 is 5.
TEST_F(DitherOrigins, Given) {
    prepare({.type = 3});
    for (const auto &[x, y] : {std::pair(5, 2), std::pair(13, 10), std::pair(-3, -6),
                               std::pair(-2147483643, -2147483646), std::pair(2147483645, 2)}) {
        RunSetup row{.type = 3, .left = 100, .top = 33, .right = 106, .bottom = 34};
        row.origin = {x, y};
        EXPECT_EQ(even(row, 44), (Pixels{0, 43, 43, 43, 0, 43})) << x << ' ' << y;
        row.left = -2147483647;
        row.right = -2147483641;
        row.top = 2147483000;
        row.bottom = 2147483001;
        EXPECT_EQ(even(row, 44), (Pixels{0, 43, 43, 43, 0, 43})) << x << ' ' << y;
    }
}

// High colour, 4 x 4: row 1 from column 3 on: 4 5 3 6 4 5. 244 becomes 237 = 232 + 5, which is
// stepped up at thresholds to 5.
TEST_F(DitherOrigins, OfHighColour) {
    prepare({.type = 5});
    RunSetup row{.type = 5, .left = 3, .top = 1, .right = 9, .bottom = 2};
    const Pixels wanted{0xF0F0F0, 0xF0F0F0, 0xF0F0F0, 0xE8E8E8, 0xF0F0F0, 0xF0F0F0};
    EXPECT_EQ(even(row, 244), wanted);
    row.left += 4;
    row.right += 4;
    row.top -= 8;
    row.bottom -= 8;
    EXPECT_EQ(even(row, 244), wanted);
    row.origin = {-1, -3};
    EXPECT_EQ(even(row, 244), wanted);
    row.origin = {3, 2}; // 7 2 8 1 7 2
    EXPECT_EQ(even(row, 244), (Pixels{0xE8E8E8, 0xF0F0F0, 0xE8E8E8, 0xF0F0F0, 0xE8E8E8, 0xF0F0F0}));
}

// Sixteen colours: row 4 from column 6 on: 56 247 12 203.
TEST_F(DitherOrigins, OfSixteenColours) {
    prepare({.type = 2});
    RunSetup row{.type = 2, .left = 6, .top = 4, .right = 10, .bottom = 5};
    EXPECT_EQ(even(row, 203), (Pixels{15, 0, 15, 15}));
    EXPECT_EQ(even(row, 55), (Pixels{0, 0, 15, 0}));
    row.origin = {-2, -4};
    row.left += 3;
    row.right += 3;
    EXPECT_EQ(even(row, 203), (Pixels{15, 0, 15, 15}));
}

TEST_F(DitherOrigins, AllPhases) {
    for (int type : {2, 3, 5})
        for (int depth : {8, 16, 24})
            for (int phase = 0; phase < 64; ++phase) {
                RunSetup setup{.type = type, .depth = depth, .option = 1};
                if (depth == 8)
                    setup.palette = some_colours(random, 256);
                setup.left = phase % 8;
                setup.top = phase / 8;
                setup.right = setup.left + 21;
                setup.bottom = setup.top + 10;
                expect_as_model(setup, random);
                setup.origin = {phase % 8 - 16, phase / 8 + 64};
                setup.left = setup.top = 0;
                expect_as_model(setup, random);
            }
}

// The origin of disp32ShowInit is (left, top).
TEST_F(DitherOrigins, AreTheSameForBothOpenings) {
    for (int type : {2, 3, 5})
        for (int left : {0, 3, -5})
            for (int top : {0, 6, -7}) {
                RunSetup setup{.type = type, .left = left, .top = top};
                setup.right = left + 19;
                setup.bottom = top + 12;
                prepare(setup);
                const Source source(random, 24, 19, 12);
                const auto plain = draw(setup, source);
                setup.origin = {left, top};
                EXPECT_EQ(difference(draw(setup, source), plain), "");
            }
}

// --- pieces ----------------------------------------------------------------------------------

class Pieces : public DitherOrigins {
protected:
    static constexpr int width = 83, height = 47;

    // Rectangles that cover the picture: rows of pieces, cut at random.
    std::vector<RECT> pieces(Random &numbers) {
        std::vector<RECT> all;
        for (int top = 0; top < height;) {
            const int bottom = std::min(height, top + 1 + int(numbers.below(20)));
            for (int left = 0; left < width;) {
                const int right = std::min(width, left + 1 + int(numbers.below(40)));
                all.push_back({left, top, right, bottom});
                left = right;
            }
            top = bottom;
        }
        for (std::size_t i = all.size(); i > 1; --i)
            std::swap(all[i - 1], all[numbers.below(i)]);
        return all;
    }
    void expect_seamless(RunSetup setup, Random &numbers, bool with_origin) {
        prepare(setup);
        const int left = setup.left, top = setup.top;
        const int origin_x = int(numbers.below(100)) - 50, origin_y = int(numbers.below(100)) - 50;
        const Source source(numbers, setup.depth, width, height);
        Canvas at_once(left, top, width, height), in_pieces = at_once;
        const auto draw_part = [&](const RECT &part, Canvas &canvas) {
            setup.left = left + part.left;
            setup.top = top + part.top;
            setup.right = left + part.right;
            setup.bottom = top + part.bottom;
            if (with_origin)
                setup.origin = {origin_x + part.left, origin_y + part.top};
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            EXPECT_EQ(api().disp32ShowData(run, source.image(), part.left, part.top,
                                           part.bottom - part.top, source.stride),
                      1);
            end(run);
            canvas.put(drawn(watch, setup));
        };
        draw_part({0, 0, width, height}, at_once);
        for (const RECT &piece : pieces(numbers))
            draw_part(piece, in_pieces);
        EXPECT_EQ(std::ranges::count(at_once.pixels(), Canvas::nothing), 0);
        EXPECT_TRUE(at_once == in_pieces) << setup;
    }
};

TEST_F(Pieces, AreTheSameAsAtOnce) {
    std::uint64_t number = 0;
    for (int type : {0, 2, 3, 4, 5})
        for (int depth : {1, 8, 16, 24})
            for (bool palette : {false, true})
                for (bool with_origin : {false, true}) {
                    if (palette && depth != 8)
                        continue;
                    Random numbers{test_seed(), 7200 + number++};
                    RunSetup setup{.type = type, .depth = depth};
                    setup.left = int(numbers.below(40)) - 20;
                    setup.top = int(numbers.below(40)) - 20;
                    setup.option = int(numbers.below(2));
                    if (palette)
                        setup.palette = some_colours(numbers, 256);
                    expect_seamless(setup, numbers, with_origin);
                }
}

} // namespace
} // namespace q32::test
