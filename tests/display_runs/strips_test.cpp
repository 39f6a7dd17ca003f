// How many rows a strip holds, what memory it has, and when it is drawn.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class Strips : public RunTest {
protected:
    struct Allocation {
        UINT flags;
        SIZE_T bytes;
    };
    // Opens and ends a run; what it has allocated meanwhile.
    std::vector<Allocation> allocations(const RunSetup &setup) {
        prepare(setup);
        std::vector<Allocation> all;
        const Replaced<call::GlobalAlloc> watch([&](UINT flags, SIZE_T bytes) {
            all.push_back({flags, bytes});
            return call::GlobalAlloc::real(flags, bytes);
        });
        GdiWatch gdi(dc());
        const HDISPRUN run = open(setup);
        const std::vector<Allocation> opening = all;
        end(run);
        return opening;
    }
    static std::int64_t count(const std::vector<Allocation> &all, UINT flags, SIZE_T bytes) {
        return std::ranges::count_if(all, [=](const Allocation &allocation) {
            return allocation.flags == flags && allocation.bytes == bytes;
        });
    }
    // Rows of each drawing of a run that takes all its rows.
    std::vector<int> heights(const RunSetup &setup) {
        prepare(setup);
        const Source row(random, setup.depth, int(setup.width()), 1);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        std::vector<int> rows;
        EXPECT_SUCCESS(api().disp32ShowData(run, row.image(), 0, 0, int(setup.height()), 0));
        end(run);
        for (const Drawing &drawing : watch.drawings())
            rows.push_back(drawing.rows);
        return rows;
    }
    Random random{test_seed(), 41};
};

// 49152 / 300 = 163; the last 22 rows at the end.
TEST_F(Strips, AThousandRowsOfAHundredPixels) {
    const RunSetup setup{.type = 4, .depth = 24, .left = 5, .top = 6, .right = 105, .bottom = 1006};
    prepare(setup);
    const Source source(random, 24, 100, 1000);
    GdiWatch watch(dc());
    const HDISPRUN run = open(setup);
    for (int row = 0; row < 1000; ++row) {
        EXPECT_SUCCESS(show(run, source, row, 1));
        // A full strip is drawn when the next row comes.
        ASSERT_EQ(int(watch.drawings().size()), row / 163) << row;
    }
    end(run);
    const auto flushes = drawn(watch, setup);
    ASSERT_EQ(flushes.size(), 7u);
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(flushes[i].y, 6 + 163 * i);
        EXPECT_EQ(flushes[i].rows, i < 6 ? 163 : 22);
    }
    EXPECT_EQ(heights(setup), (std::vector<int>{163, 163, 163, 163, 163, 163, 22}));
}

// A strip that is just full is drawn at the end.
TEST_F(Strips, FullAtTheEnd) {
    for (int rows : {163, 326}) {
        const RunSetup setup{.type = 4, .right = 100, .bottom = rows};
        EXPECT_EQ(heights(setup), std::vector<int>(std::size_t(rows / 163), 163));
    }
}

TEST_F(Strips, SmallPicturesHaveOneStrip) {
    EXPECT_EQ(heights({.type = 4, .right = 100, .bottom = 1}), std::vector<int>{1});
    EXPECT_EQ(heights({.type = 4, .right = 128, .bottom = 128}), std::vector<int>{128}); // 49152
    EXPECT_EQ(heights({.type = 4, .right = 128, .bottom = 129}), (std::vector<int>{128, 1}));
    EXPECT_EQ(heights({.type = 3, .right = 256, .bottom = 192}), std::vector<int>{192});
    EXPECT_EQ(heights({.type = 3, .right = 253, .bottom = 193}), (std::vector<int>{192, 1}));
    EXPECT_EQ(heights({.depth = 1, .right = 1024, .bottom = 192}), std::vector<int>{192}); // 24576
    EXPECT_EQ(heights({.depth = 1, .right = 1009, .bottom = 193}), (std::vector<int>{192, 1}));
    EXPECT_EQ(heights({.type = 2, .right = 1024, .bottom = 96}), std::vector<int>{96}); // 49152
    EXPECT_EQ(heights({.type = 2, .right = 1009, .bottom = 97}), (std::vector<int>{96, 1}));
    EXPECT_EQ(heights({.type = 2, .depth = 8, .right = 1024, .bottom = 193}),
              (std::vector<int>{192, 1}));
}

// Rows of just the cap go one by one, larger ones two by two.
TEST_F(Strips, WideRows) {
    const std::vector<int> ones(5, 1), twos{2, 2, 1};
    EXPECT_EQ(heights({.type = 4, .right = 16384, .bottom = 5}), ones); // 49152
    EXPECT_EQ(heights({.type = 4, .right = 16385, .bottom = 5}), twos); // 49156
    EXPECT_EQ(heights({.type = 3, .right = 49152, .bottom = 5}), ones);
    EXPECT_EQ(heights({.type = 3, .right = 49153, .bottom = 5}), twos);
    EXPECT_EQ(heights({.depth = 1, .right = 196608, .bottom = 5}), ones); // 24576
    EXPECT_EQ(heights({.depth = 1, .right = 196609, .bottom = 5}), twos); // 24578
    EXPECT_EQ(heights({.type = 2, .depth = 8, .right = 196608, .bottom = 5}), ones);
    EXPECT_EQ(heights({.type = 2, .depth = 8, .right = 196609, .bottom = 5}), twos);
    EXPECT_EQ(heights({.type = 2, .right = 98304, .bottom = 5}), ones); // 49152
    EXPECT_EQ(heights({.type = 2, .right = 98305, .bottom = 5}), twos); // 49160
    EXPECT_EQ(heights({.type = 4, .right = 16385, .bottom = 1}), std::vector<int>{1});
}

// Movable, with four bytes to spare: the whole picture, the cap's rows, or two.
TEST_F(Strips, Memory) {
    const auto strip = [&](const RunSetup &setup) {
        return
            [all = allocations(setup)](SIZE_T bytes) { return count(all, GMEM_MOVEABLE, bytes); };
    };
    EXPECT_EQ(strip({.type = 4, .right = 100, .bottom = 1000})(163 * 300 + 4), 1);
    EXPECT_EQ(strip({.type = 4, .right = 101, .bottom = 10})(10 * 304 + 4), 1);
    EXPECT_EQ(strip({.type = 4, .right = 16385, .bottom = 10})(2 * 49156 + 4), 1);
    EXPECT_EQ(strip({.type = 3, .right = 101, .bottom = 1000})(472 * 104 + 4), 1);
    EXPECT_EQ(strip({.type = 3, .depth = 8, .right = 101, .bottom = 10})(10 * 104 + 4), 1);
    EXPECT_EQ(strip({.depth = 1, .right = 100, .bottom = 2000})(1755 * 14 + 4), 1);
    EXPECT_EQ(strip({.type = 2, .right = 100, .bottom = 10})(10 * 56 + 4), 1);
    EXPECT_EQ(strip({.type = 2, .right = 100, .bottom = 1000})(877 * 56 + 4), 1);
}

// The record is filled with zeros; words are widened in a row of their own.
TEST_F(Strips, OtherMemory) {
    for (int type = 0; type <= 5; ++type)
        for (int depth : {1, 8, 16, 24}) {
            const auto all =
                allocations({.type = type, .depth = depth, .right = 1001, .bottom = 10});
            EXPECT_GE(std::ranges::count_if(all,
                                            [](const Allocation &allocation) {
                                                return (allocation.flags & GMEM_ZEROINIT) != 0;
                                            }),
                      1);
            const auto widening = std::ranges::count_if(all, [](const Allocation &allocation) {
                return allocation.bytes == 1001 * 3 + 12;
            });
            EXPECT_EQ(widening >= 1, depth == 16 || (depth == 8 && widening >= 1));
        }
}

// The strip stays locked as long as the run is open.
TEST_F(Strips, StaysLocked) {
    for (int type : {2, 3, 4, 5}) {
        const RunSetup setup{.type = type, .right = 10, .bottom = 10};
        prepare(setup);
        GdiWatch watch(dc());
        const Census before = Census::now();
        const HDISPRUN run = open(setup);
        const Source source(random, 24, 10, 10);
        EXPECT_GE(Census::now().global_locks, before.global_locks + 1);
        EXPECT_SUCCESS(show(run, source));
        EXPECT_GE(Census::now().global_locks, before.global_locks + 1);
        end(run);
        EXPECT_EQ(Census::now(), before);
    }
}

// All paths over several strips, as the model has it.
TEST_F(Strips, OfEveryPath) {
    for (int type = 0; type <= 5; ++type)
        for (int depth : {1, 8, 16, 24})
            for (bool palette : {false, true}) {
                RunSetup setup{
                    .type = type, .depth = depth, .left = -3, .top = -4, .option = palette};
                setup.right = setup.left + (depth == 1 ? 40001 : 9001);
                setup.bottom = setup.top + (depth == 1 ? 13 : depth == 8 ? 30 : 15);
                if (palette)
                    setup.palette = some_colours(random, 200);
                expect_as_model(setup, random);
            }
}

} // namespace
} // namespace q32::test
