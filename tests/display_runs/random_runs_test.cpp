// Runs of all kinds at random against the model, in memory that is fenced on all sides: pieces of
// rows, attributes in between, drawings that fail, colour management going on and off.
#include "tests/display_runs/fenced_heap.h"
#include "tests/display_runs/run_fixture.h"

#include <sstream>

namespace q32::test {
namespace {

class RandomRuns : public RunTest {
protected:
    static int between(Random &random, int least, int most) {
        return least + int(random.below(std::size_t(most - least + 1)));
    }

    static RunSpec specification(Random &random) {
        constexpr int depths[] = {1, 8, 16, 24};
        RunSpec spec{.type = between(random, 0, 5), .depth = depths[random.below(4)]};
        spec.left = between(random, -300, 300);
        spec.top = between(random, -300, 300);
        const bool wide = random.below(8) == 0; // several strips
        spec.right = spec.left + (wide ? between(random, 2000, 20000) : between(random, -1, 150));
        spec.bottom = spec.top + (wide ? between(random, 1, 12) : between(random, -1, 60));
        if (random.below(2) != 0)
            spec.palette = some_colours(random, between(random, 1, 256));
        spec.option = between(random, -1, 1);
        spec.force_background = between(random, 0, 1);
        if (random.below(2) != 0)
            spec.origin = {between(random, -1000, 1000), between(random, -1000, 1000)};
        spec.dither = random.below(3) != 0;
        if (random.below(3) == 0)
            spec.gamma = {between(random, 20, 300), 100, between(random, 20, 300)};
        return spec;
    }

    // Some rows, from anywhere in a source of their own. Returns false after a difference.
    bool some_rows(Random &random, const RunSpec &spec, HDISPRUN run, model::ModelRun &model) {
        const int width = int(std::max<std::int64_t>(spec.width(), 1));
        const int rows = between(random, 0, 20);
        const int column = between(random, -20, 60), row = between(random, -20, 60);
        const int bytes = Source::bytes_of(spec.depth, width, column);
        const int stride = random.below(3) == 0 ? 0 : bytes + between(random, 0, 9);
        const Source source(random, spec.depth, width, rows, column, row,
                            random.below(2) != 0 ? stride : -stride, random.below(2) != 0);
        const int shown =
            api().disp32ShowData(run, source.image(), column, row, rows, source.stride);
        const int wanted = model.show(source.image(), column, row, rows, source.stride);
        EXPECT_EQ(shown, wanted);
        return shown == wanted;
    }

    void run_once(Random &random, const RunSpec &spec) {
        const Census before = Census::now();
        {
            const FencedHeap heap;
            GdiWatch watch(dc());
            const HDISPRUN run = open(spec);
            model::ModelRun model(spec);
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
                    if (!some_rows(random, spec, run, model))
                        break;
                }
            }
            end(run);
            model.end();
            expect_drawn(watch, spec, model.flushes());
        }
        EXPECT_EQ(Census::now(), before);
    }
};

TEST_F(RandomRuns, AreAsTheModel) {
    random_cases(1500, [&](Random &random, std::uint64_t number) {
        const RunSpec spec = specification(random);
        SCOPED_TRACE(rerun(number));
        prepare(spec);
        run_once(random, spec);
        expect_no_report();
        return !HasFailure();
    });
}

// Several runs open at once on one thread, their rows in turn.
TEST_F(RandomRuns, SideBySide) {
    random_cases(60, [&](Random &random, std::uint64_t number) {
        SCOPED_TRACE(rerun(number));
        RunSpec specs[3];
        const int type = between(random, 0, 5);
        std::vector<model::ModelRun> models;
        HDISPRUN runs[3];
        std::vector<Flush> wanted[3];
        GdiWatch watch(dc());
        for (int i = 0; i < 3; ++i) {
            specs[i] = {.type = type, .depth = 8 * (1 + i), .left = 100 * i, .right = 100 * i + 50};
            specs[i].bottom = 20;
            prepare(specs[i]);
            runs[i] = open(specs[i]);
            models.emplace_back(specs[i]);
            EXPECT_EQ(api().disp32SetAttrib(runs[i], 2, 2 + i), models.back().attribute(2, 2 + i));
        }
        for (int step = 0; step < 30; ++step) {
            const std::size_t i = random.below(3);
            some_rows(random, specs[i], runs[i], models[i]);
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
