// Where rows are read: first column and row, strides of both signs, and not a byte beside the
// pixels that are drawn.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class Sources : public RunTest {
protected:
    // Draws from such a source at both ends of its memory.
    void expect_read(const RunSetup &setup, int first_column, int first_row, int stride) {
        for (bool at_end : {true, false}) {
            const Source source(random, setup.depth, int(setup.width()), int(setup.height()),
                                first_column, first_row, stride, at_end);
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            EXPECT_SUCCESS(show(run, source));
            end(run);
            model::ModelRun model(setup);
            model.show(source.image(), first_column, first_row, source.rows, source.stride);
            model.end();
            EXPECT_EQ(difference(drawn(watch, setup), model.flushes()), "")
                << setup << ", column " << first_column << ", row " << first_row << ", stride "
                << stride << ", at end " << at_end;
        }
    }
    Random random{test_seed(), 31};
};

TEST_F(Sources, Columns) {
    for (int type : {2, 3, 4, 5}) {
        prepare({.type = type});
        for (int depth : {8, 16, 24})
            for (int column : {0, 1, 2, 3, 7, 100, -1, -50})
                expect_read({.type = type, .depth = depth, .right = 37, .bottom = 3}, column, 0, 0);
    }
}

// Bits begin anywhere in a byte, and end there.
TEST_F(Sources, ColumnsOfBits) {
    prepare({.type = 4});
    for (int column = -17; column <= 25; ++column)
        for (int width : {1, 2, 6, 7, 8, 9, 15, 16, 17, 31, 64, 129})
            expect_read({.depth = 1, .right = width, .bottom = 2}, column, 0, 0);
}

TEST_F(Sources, RowsAndStrides) {
    for (int type : {2, 3, 4, 5}) {
        prepare({.type = type});
        for (int depth : {1, 8, 16, 24})
            for (int row : {0, 1, 5, -3})
                for (int stride : {0, 200, 211, -200, -203})
                    expect_read({.type = type, .depth = depth, .right = 37, .bottom = 4}, 9, row,
                                stride);
    }
}

TEST_F(Sources, OneRowAgainAndAgain) {
    prepare({.type = 3});
    const Source source(random, 24, 20, 1);
    const RunSetup setup{.type = 3, .right = 20, .bottom = 9};
    GdiWatch watch(dc());
    const HDISPRUN run = open(setup);
    EXPECT_SUCCESS(api().disp32ShowData(run, source.image(), 0, 7, 9, 0));
    end(run);
    model::ModelRun model(setup);
    model.show(source.image(), 0, 7, 9, 0);
    model.end();
    expect_drawn(watch, setup, model.flushes());
}

// Rows that the rectangle does not take are not read either.
TEST_F(Sources, RowsBeyondTheRectangle) {
    for (int depth : {1, 8, 16, 24}) {
        const RunSetup setup{.depth = depth, .right = 20, .bottom = 3};
        prepare(setup);
        const Source source(random, depth, 20, 3);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32ShowData(run, source.image(), 0, 0, 0x7FFFFFFF, source.stride));
        end(run);
        model::ModelRun model(setup);
        model.show(source.image(), 0, 0, 3, source.stride);
        model.end();
        expect_drawn(watch, setup, model.flushes());
    }
}

// The last rows there can be.
TEST_F(Sources, RowsOfTheHighestNumbers) {
    prepare({.type = 4});
    for (int row : {0x7FFFFFFE, -0x7FFFFFFF - 1}) {
        const RunSetup setup{.right = 20, .bottom = 2};
        expect_read(setup, 0, row, 60);
        expect_read(setup, 0, row, -60);
    }
}

} // namespace
} // namespace q32::test
