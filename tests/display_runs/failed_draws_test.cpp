// Strips that cannot be drawn: the call answers 0, the strip stays full, and the next row tries
// again. The end is the end.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class FailedDraws : public RunTest {
protected:
    static std::vector<RunSetup> paths() {
        std::vector<RunSetup> setups;
        for (int type : {2, 3, 4, 5})
            for (int depth : {1, 8, 16, 24})
                setups.push_back({.type = type,
                                  .depth = depth,
                                  .left = 2,
                                  .top = 3,
                                  .right = 13,
                                  .bottom = 14,
                                  .palette = {},
                                  .option = 1});
        return setups;
    }
    static bool of_bits(const RunSetup &setup) {
        const auto strip = model::strip_of(model::path_of(setup));
        return strip == model::Strip::bits || strip == model::Strip::planes;
    }
    Random random{test_seed(), 81};
};

// Rows 0 to 3 fill the strip; row 4 cannot be drawn twice, and then comes.
TEST_F(FailedDraws, AreTriedAgain) {
    for (const RunSetup &setup : paths())
        for (int direction : {1, -1}) {
            prepare(setup);
            const Source source(random, setup.depth, 11, 11);
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 4));
            EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, direction));
            watch.failing_draws = 2;
            EXPECT_SUCCESS(show(run, source, 0, 4));
            EXPECT_EQ(watch.drawings().size(), 0u);
            EXPECT_SILENT_FAILURE(show(run, source, 4, 1));
            EXPECT_EQ(watch.drawings().size(), 1u);
            EXPECT_SILENT_FAILURE(show(run, source, 4, 7)); // all of them are lost
            EXPECT_EQ(watch.drawings().size(), 2u);
            EXPECT_SUCCESS(show(run, source, 4, 7));
            end(run);

            model::ModelRun model(setup);
            model.attribute(2, 4);
            model.attribute(1, direction);
            model.failures = 2;
            EXPECT_EQ(model.show(source.image(), 0, 0, 4, source.stride), 1);
            EXPECT_EQ(model.show(source.image(), 0, 4, 1, source.stride), 0);
            EXPECT_EQ(model.show(source.image(), 0, 4, 7, source.stride), 0);
            EXPECT_EQ(model.show(source.image(), 0, 4, 7, source.stride), 1);
            model.end();
            ASSERT_EQ(model.flushes().size(), 5u);
            EXPECT_EQ(model.flushes()[0], model.flushes()[2]);
            expect_drawn(watch, setup, model.flushes());
        }
}

// A call of which the second strip fails has taken the rows before.
TEST_F(FailedDraws, InTheMiddleOfACall) {
    for (const RunSetup &setup : paths()) {
        prepare(setup);
        const Source source(random, setup.depth, 11, 11);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 3));
        watch.at_each_call = [&](const std::string &call) {
            const bool draws = call.starts_with("BitBlt") || call.starts_with("SetDIBits");
            if (draws && watch.drawings().size() == 1)
                watch.failing_draws = 1;
        };
        EXPECT_SILENT_FAILURE(show(run, source, 0, 11));
        EXPECT_EQ(watch.drawings().size(), 2u);
        watch.at_each_call = {};
        EXPECT_SUCCESS(show(run, source, 6, 5));
        end(run);
        const auto flushes = drawn(watch, setup);
        ASSERT_EQ(flushes.size(), 5u);
        EXPECT_EQ(flushes[1], flushes[2]);
        EXPECT_EQ(flushes[3].y, 9);
        EXPECT_EQ(flushes[4].rows, 2);
    }
}

// The last strip is lost, and the run ends all the same.
TEST_F(FailedDraws, AtTheEnd) {
    for (const RunSetup &setup : paths()) {
        prepare(setup);
        const Source source(random, setup.depth, 11, 11);
        const Census before = Census::now();
        GdiWatch watch(dc());
        for (int rows : {1, 11}) {
            const HDISPRUN run = open(setup);
            EXPECT_SUCCESS(show(run, source, 0, rows));
            watch.failing_draws = 1;
            end(run);
            EXPECT_EQ(watch.take_drawings().size(), 1u);
            EXPECT_EQ(Census::now(), before);
        }
    }
}

// Bits that cannot be put into the bitmap are a failed drawing.
TEST_F(FailedDraws, WithoutBits) {
    for (const RunSetup &setup : paths()) {
        if (!of_bits(setup))
            continue;
        prepare(setup);
        const Source source(random, setup.depth, 11, 11);
        const Census before = Census::now();
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 4));
        EXPECT_SUCCESS(show(run, source, 0, 4));
        watch.failing_bits = 1;
        EXPECT_SILENT_FAILURE(show(run, source, 4, 1));
        watch.take_drawings();
        EXPECT_SUCCESS(show(run, source, 4, 7));
        model::ModelRun model(setup);
        model.attribute(2, 4);
        model.show(source.image(), 0, 0, 11, source.stride);
        expect_drawn(watch, setup, model.flushes());
        watch.failing_bits = 1;
        end(run);
        EXPECT_EQ(Census::now(), before);
    }
}

// Palette, places and colours are put back all the same.
TEST_F(FailedDraws, PutBackWhatTheyChanged) {
    for (DWORD mode : {ICM_OFF, ICM_ON}) {
        const RunSetup setup{.type = 3, .right = 11, .bottom = 5};
        prepare(setup);
        const Source source(random, 24, 11, 5);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(show(run, source));
        watch.icm_mode = mode;
        watch.failing_draws = 1;
        end(run);
        const Lines calls = watch.take_calls();
        ASSERT_EQ(calls.size(), 5u);
        EXPECT_EQ(calls[4], "SelectPalette(dc, before, 0)");
        EXPECT_EQ(drawn(watch, setup).size(), 1u);
        watch.icm_mode = ICM_OFF;
        const HDISPRUN next = open(setup);
        EXPECT_SUCCESS(show(next, source));
        end(next);
        EXPECT_EQ(drawn(watch, setup).size(), 1u); // with places: checked there
    }
    const RunSetup setup{.type = 4, .depth = 1, .right = 11, .bottom = 5};
    prepare(setup);
    const Source source(random, 1, 11, 5);
    for (bool bits : {false, true}) {
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(show(run, source));
        watch.failing_draws = bits ? 0 : 1;
        watch.failing_bits = bits ? 1 : 0;
        watch.take_calls();
        end(run);
        const Lines calls = watch.take_calls();
        EXPECT_EQ(std::ranges::count(calls, "SetBkColor(dc, 123456)"), 1);
        EXPECT_EQ(std::ranges::count(calls, "SetTextColor(dc, 654321)"), 1);
    }
}

// Less than all lines are a success.
TEST_F(FailedDraws, InPartAreSuccesses) {
    const RunSetup setup{.type = 4, .right = 11, .bottom = 9};
    prepare(setup);
    const Source source(random, 24, 11, 9);
    int draws = 0;
    const Replaced<call::SetDIBitsToDevice> one([&](auto...) { return ++draws > 0 ? 1 : 1; });
    const HDISPRUN run = open(setup);
    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 4));
    EXPECT_SUCCESS(show(run, source));
    EXPECT_EQ(draws, 2);
    end(run);
    EXPECT_EQ(draws, 3);
}

} // namespace
} // namespace q32::test
