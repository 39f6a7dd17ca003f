// Runs of all kinds at random against the model, in memory that is fenced on all sides: pieces of
// rows, attributes in between, drawings that fail, colour management going on and off.
#include "tests/display_runs/run_fixture.h"
#include "tests/frame/fenced_heap.h"

#include <sstream>

namespace q32::test {
namespace {

class RandomRuns : public RunTest {
protected:
    static int between(Random &random, int least, int most) {
        return least + int(random.below(std::size_t(most - least + 1)));
    }

    static RunSetup any_setup(Random &random) {
        constexpr int depths[] = {1, 8, 16, 24};
        RunSetup setup{.type = between(random, 0, 5), .depth = depths[random.below(4)]};
        setup.left = between(random, -300, 300);
        setup.top = between(random, -300, 300);
        const bool wide = random.below(8) == 0; // several strips
        setup.right = setup.left + (wide ? between(random, 2000, 20000) : between(random, -1, 150));
        setup.bottom = setup.top + (wide ? between(random, 1, 12) : between(random, -1, 60));
        if (random.below(2) != 0)
            setup.palette = some_colours(random, between(random, 1, 256));
        setup.option = between(random, -1, 1);
        setup.force_background = between(random, 0, 1);
        if (random.below(2) != 0)
            setup.origin = {between(random, -1000, 1000), between(random, -1000, 1000)};
        setup.dither = random.below(3) != 0;
        if (random.below(3) == 0)
            setup.gamma = {between(random, 20, 300), 100, between(random, 20, 300)};
        return setup;
    }

    // Some rows, from anywhere in a source of their own. Returns false after a difference.
    bool some_rows(Random &random, const RunSetup &setup, HDISPRUN run, model::ModelRun &model) {
        const int width = int(std::max<std::int64_t>(setup.width(), 1));
        const int rows = between(random, 0, 20);
        const int column = between(random, -20, 60), row = between(random, -20, 60);
        const int bytes = Source::bytes_of(setup.depth, width, column);
        const int stride = random.below(3) == 0 ? 0 : bytes + between(random, 0, 9);
        const Source source(random, setup.depth, width, rows, column, row,
                            random.below(2) != 0 ? stride : -stride, random.below(2) != 0);
        const int shown =
            api().disp32ShowData(run, source.image(), column, row, rows, source.stride);
        const int wanted = model.show(source.image(), column, row, rows, source.stride);
        EXPECT_EQ(shown, wanted);
        return shown == wanted;
    }

    void run_once(Random &random, const RunSetup &setup) {
        const Census before = Census::now();
        {
            const FencedHeap heap;
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            model::ModelRun model(setup);
            const int steps = between(random, 0, 12);
            for (int step = 0; step < steps; ++step) {
                if (random.below(6) == 0) {
                    const int which = between(random, 0, 3);
                    const int value = which == 2 ? between(random, -1, 40) : between(random, -2, 2);
                    EXPECT_EQ(api().disp32SetAttrib(run, which, value),
                              model.attribute(which, value));
                } else {
                    watch.failing_draws = model.failures =
                        random.below(10) == 0 ? between(random, 1, 2) : 0;
                    watch.icm_mode = random.below(2) != 0 ? ICM_ON : ICM_OFF;
                    if (!some_rows(random, setup, run, model))
                        break;
                }
            }
            end(run);
            model.end();
            expect_drawn(watch, setup, model.flushes());
        }
        EXPECT_EQ(Census::now(), before);
    }
};

TEST_F(RandomRuns, AreAsTheModel) {
    random_cases(1500, [&](Random &random, std::uint64_t number) {
        const RunSetup setup = any_setup(random);
        SCOPED_TRACE(rerun(number));
        prepare(setup);
        run_once(random, setup);
        expect_no_report();
        return !HasFailure();
    });
}

// Several runs open at once on one thread, their rows in turn.
TEST_F(RandomRuns, SideBySide) {
    random_cases(60, [&](Random &random, std::uint64_t number) {
        SCOPED_TRACE(rerun(number));
        RunSetup setups[3];
        const int type = between(random, 0, 5);
        std::vector<model::ModelRun> models;
        HDISPRUN runs[3];
        std::vector<Flush> wanted[3];
        GdiWatch watch(dc());
        for (int i = 0; i < 3; ++i) {
            setups[i] = {
                .type = type, .depth = 8 * (1 + i), .left = 100 * i, .right = 100 * i + 50};
            setups[i].bottom = 20;
            prepare(setups[i]);
            runs[i] = open(setups[i]);
            models.emplace_back(setups[i]);
            EXPECT_EQ(api().disp32SetAttrib(runs[i], 2, 2 + i), models.back().attribute(2, 2 + i));
        }
        for (int step = 0; step < 30; ++step) {
            const std::size_t i = random.below(3);
            some_rows(random, setups[i], runs[i], models[i]);
        }
        for (int i = 0; i < 3; ++i) {
            end(runs[i]);
            models[std::size_t(i)].end();
        }
        // Each run draws at a left edge of its own.
        const auto drawings = watch.take_drawings();
        for (int i = 0; i < 3; ++i) {
            const auto &flushes = models[std::size_t(i)].flushes();
            std::vector<int> tops, wanted_tops;
            for (const Drawing &drawing : drawings)
                if (drawing.x == 100 * i)
                    tops.push_back(drawing.y);
            for (const Flush &flush : flushes)
                wanted_tops.push_back(int(flush.y));
            EXPECT_EQ(tops, wanted_tops);
        }
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
