// disp32SetAttrib: rows from the bottom up, and strips of fewer rows.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class StripAttributes : public RunTest {
protected:
    struct Attribute {
        int which, value;
    };
    // A run with these attributes, set before rows come, against the model.
    void expect_with(const RunSetup &setup, const std::vector<Attribute> &attributes) {
        const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        model::ModelRun model(setup);
        for (const auto &[which, value] : attributes) {
            const int result = api().disp32SetAttrib(run, which, value);
            ASSERT_EQ(result, model.attribute(which, value)) << which << ' ' << value;
        }
        EXPECT_SUCCESS(show(run, source));
        end(run);
        model.show(source.image(), 0, 0, source.rows, source.stride);
        model.end();
        EXPECT_EQ(difference(drawn(watch, setup), model.flushes()), "")
            << setup << ", attribute " << attributes.back().which << ", value "
            << attributes.back().value;
        expect_no_report();
    }
    // All kinds of strips.
    std::vector<RunSetup> paths(int width, int height) {
        std::vector<RunSetup> setups;
        for (int type : {0, 2, 3, 4, 5})
            for (int depth : {1, 8, 16, 24})
                for (bool palette : {false, true}) {
                    RunSetup setup{.type = type, .depth = depth, .left = 4, .top = 3};
                    setup.right = setup.left + width;
                    setup.bottom = setup.top + height;
                    if (palette && depth == 8)
                        setup.palette = some_colours(random, 256);
                    else if (palette)
                        continue;
                    setups.push_back(setup);
                }
        return setups;
    }
    Random random{test_seed(), 51};
};

TEST_F(StripAttributes, StripRows) {
    for (const RunSetup &setup : paths(19, 12)) {
        prepare(setup);
        // One to all rows and more, which are not taken.
        for (int rows : {-0x7FFFFFFF - 1, -1, 0, 1, 2, 3, 4, 5, 6, 7, 11, 12, 13, 1000, 0x7FFFFFFF})
            for (int direction : {1, -1}) {
                expect_with(setup, {{2, rows}, {1, direction}});
                expect_with(setup, {{1, direction}, {2, rows}});
            }
    }
}

// Fewer and fewer; more are not taken again.
TEST_F(StripAttributes, StripRowsInTurn) {
    for (const RunSetup &setup : paths(19, 12)) {
        prepare(setup);
        expect_with(setup, {{2, 8}, {2, 5}, {2, 7}});
        expect_with(setup, {{2, 8}, {1, -1}, {2, 3}, {1, 1}, {2, 8}});
        expect_with(setup, {{2, 4}, {1, -1}, {2, 4}});
    }
}

TEST_F(StripAttributes, EveryCapacity) {
    const RunSetup setup{.type = 4, .right = 100, .bottom = 400};
    prepare(setup);
    const Source source(random, 24, 100, 1);
    for (int rows = 1; rows <= 164; ++rows) {
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, rows));
        EXPECT_SUCCESS(api().disp32ShowData(run, source.image(), 0, 0, 400, 0));
        end(run);
        const int capacity = std::min(rows, 163);
        const auto drawings = watch.take_drawings();
        ASSERT_EQ(int(drawings.size()), (400 + capacity - 1) / capacity) << rows;
        EXPECT_EQ(drawings[0].rows, capacity);
        EXPECT_EQ(drawings.back().y + drawings.back().rows, 400);
    }
}

// Two rows of more than 49152 bytes together cannot become one: value x row bytes counts.
TEST_F(StripAttributes, StripRowsOfWideRows) {
    RunSetup setup{.type = 4, .right = 16385, .bottom = 5};
    prepare(setup);
    expect_with(setup, {{2, 1}});
    setup.right = 16384; // one row anyway
    expect_with(setup, {{2, 1}});
    setup = {.type = 2, .depth = 1, .right = 196609, .bottom = 5};
    prepare(setup);
    expect_with(setup, {{2, 1}}); // 24578 bytes: taken
    setup.right = 393216;
    expect_with(setup, {{2, 1}}); // 49152 bytes: taken
    setup.right = 393217;
    expect_with(setup, {{2, 1}}); // 49154 bytes: not taken
}

TEST_F(StripAttributes, Direction) {
    for (const RunSetup &setup : paths(37, 11)) {
        prepare(setup);
        expect_with(setup, {{1, -1}});
        expect_with(setup, {{1, 1}});
        expect_with(setup, {{1, -1}, {1, 1}});
        expect_with(setup, {{1, -1}, {1, -1}});
    }
    RunSetup wide{.type = 4, .top = 7, .right = 9000, .bottom = 22};
    prepare(wide);
    expect_with(wide, {{1, -1}}); // strips of their own size
}

// Literally: rows 1, 2, 3, 4, 5 in strips of two.
TEST_F(StripAttributes, BottomFirst) {
    const RunSetup setup{.type = 4, .depth = 8, .left = 2, .top = 10, .right = 3, .bottom = 15};
    prepare(setup);
    const Bytes rows{1, 2, 3, 4, 5};
    GdiWatch watch(dc());
    const HDISPRUN run = open(setup);
    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, -1));
    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 2));
    EXPECT_SUCCESS(api().disp32ShowData(run, rows.data(), 0, 0, 5, 1));
    end(run);
    expect_drawn(watch, setup,
                 {{2, 13, 1, 2, {0x020202, 0x010101}},
                  {2, 11, 1, 2, {0x040404, 0x030303}},
                  {2, 10, 1, 1, {0x050505}}});
}

// The matrix begins with the first row that comes, at the top's row of it.
TEST_F(StripAttributes, BottomFirstDithers) {
    const RunSetup setup{.type = 2, .depth = 8, .left = 1, .top = 3, .right = 2, .bottom = 6};
    prepare(setup);
    const Bytes rows{100, 203, 76}; // column 1 from row 3 on
    for (int less : {0, 1}) {
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, -1));
        for (int row = 0; row < 3; ++row) {
            const std::uint8_t grey = std::uint8_t(rows[std::size_t(row)] - less);
            EXPECT_SUCCESS(api().disp32ShowData(run, &grey, 0, 0, 1, 1));
        }
        end(run);
        expect_drawn(watch, setup, {{1, 3, 1, 3, std::vector<std::uint32_t>(3, less ? 0 : 1)}});
    }
}

TEST_F(StripAttributes, Refusals) {
    EXPECT_SILENT_FAILURE(api().disp32SetAttrib(0, DISP32_DIRECTION, 1));
    EXPECT_SILENT_FAILURE(api().disp32SetAttrib(0, DISP32_STRIP_ROWS, 1));
    EXPECT_SILENT_FAILURE(api().disp32SetAttrib(0, 3, 1));
    const RunSetup setup{.type = 4, .right = 5, .bottom = 5};
    prepare(setup);
    GdiWatch watch(dc());
    const Source source(random, 24, 5, 5);
    const HDISPRUN run = open(setup);
    EXPECT_SUCCESS(show(run, source, 0, 2));
    // None of these changes anything: rows that are held stay.
    for (int value : {0, 2, -2, 3, 0x7FFFFFFF, -0x7FFFFFFF - 1})
        EXPECT_SILENT_FAILURE(api().disp32SetAttrib(run, DISP32_DIRECTION, value));
    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, 1));
    for (int value : {0, -1, 5, 6, 1 << 30})
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, value));
    for (int attribute : {0, 3, -1, 4, 0x7FFFFFFF})
        for (int value : {1, -1, 2, 0})
            EXPECT_SUCCESS(api().disp32SetAttrib(run, attribute, value));
    EXPECT_SUCCESS(show(run, source, 2, 3));
    end(run);
    model::ModelRun model(setup);
    model.show(source.image(), 0, 0, 5, source.stride);
    model.end();
    expect_drawn(watch, setup, model.flushes());
}

// Rows that are held are lost with a change, and count as taken.
TEST_F(StripAttributes, HeldRowsAreDropped) {
    for (const RunSetup &setup : paths(7, 9)) {
        prepare(setup);
        for (const auto &[which, value] : {Attribute{1, -1}, Attribute{2, 3}, Attribute{2, 8}}) {
            const Source source(random, setup.depth, 7, 9);
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            model::ModelRun model(setup);
            EXPECT_SUCCESS(show(run, source, 0, 4));
            model.show(source.image(), 0, 0, 4, source.stride);
            EXPECT_SUCCESS(api().disp32SetAttrib(run, which, value));
            model.attribute(which, value);
            EXPECT_SUCCESS(show(run, source, 4, 5));
            model.show(source.image(), 0, 4, 5, source.stride);
            end(run);
            model.end();
            expect_drawn(watch, setup, model.flushes());
        }
    }
}

// The strip is unlocked and locked again, and as often as before afterwards.
TEST_F(StripAttributes, LocksAgain) {
    const RunSetup setup{.type = 4, .right = 5, .bottom = 5};
    prepare(setup);
    GdiWatch watch(dc());
    const Census before = Census::now();
    const HDISPRUN run = open(setup);
    const Census opened = Census::now();
    for (const auto &[which, value, again] :
         {std::tuple(1, -1, 1), std::tuple(2, 3, 1), std::tuple(1, -1, 0), std::tuple(2, 3, 0),
          std::tuple(7, 7, 0)}) {
        const FailingCall locks{"GlobalLock", 0}, unlocks{"GlobalUnlock", 0};
        EXPECT_SUCCESS(api().disp32SetAttrib(run, which, value));
        EXPECT_EQ(locks.calls(), again) << which;
        EXPECT_EQ(unlocks.calls(), again) << which;
        EXPECT_EQ(Census::now(), opened);
    }
    end(run);
    EXPECT_EQ(Census::now(), before);
}

} // namespace
} // namespace q32::test
