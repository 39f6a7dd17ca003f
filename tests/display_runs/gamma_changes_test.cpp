// The screen's gamma changed while runs are open: each row is corrected as it comes, whatever was
// set when the run was opened and whatever is set when it is drawn.
#include "tests/display_runs/painted_fixture.h"
#include "tests/frame/fenced_heap.h"

namespace q32::test {
namespace {

using model::Percents;

constexpr Percents plain{}, dark{50, 55, 60}, light{200, 122, 150}, mixed{55, 100, 200};

// The displays whose rows are corrected, by everything that chooses how.
std::vector<RunSetup> corrected_runs() {
    std::vector<RunSetup> setups;
    for (int type : {4, 5})
        for (int depth : {8, 16, 24})
            for (bool dither : {true, false}) {
                RunSetup setup{.type = type, .depth = depth, .left = 3, .top = 5};
                setup.right = setup.left + 61;
                setup.bottom = setup.top + 14;
                setup.dither = dither;
                setups.push_back(setup);
            }
    return setups;
}

class GammaChanges : public PaintedRuns {
protected:
    // Before this row comes.
    struct Change {
        int row;
        Percents gamma;
    };
    static Gamma library_gamma(const Percents &gamma) {
        return {gamma.red, gamma.green, gamma.blue};
    }
    void change(const Percents &gamma, model::ModelRun &model) {
        set_gamma(library_gamma(gamma));
        model.correct(gamma);
    }

    // A run from its opening to its end, the rows between two changes in one call.
    void expect_with(const RunSetup &setup, const std::vector<Change> &changes, int direction = 1,
                     int strip_rows = 0) {
        prepare(setup);
        const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        model::ModelRun model(setup);
        EXPECT_EQ(api().disp32SetAttrib(run, 1, direction), model.attribute(1, direction));
        EXPECT_EQ(api().disp32SetAttrib(run, 2, strip_rows), model.attribute(2, strip_rows));
        int row = 0;
        const auto rows_to = [&](int end) {
            EXPECT_SUCCESS(show(run, source, row, end - row));
            EXPECT_EQ(model.show(source.image(), 0, row, end - row, source.stride), 1);
            row = end;
        };
        for (const Change &each : changes) {
            rows_to(each.row);
            change(each.gamma, model);
        }
        rows_to(source.rows);
        end(run);
        model.end();
        expect_drawn(watch, setup, model.flushes());
    }

    using Pixels = std::vector<std::uint32_t>;
    // One row, brought once at each of these gammas; all of them drawn together at the end.
    Pixels one_row_at(RunSetup setup, const Bytes &row, int pixels,
                      const std::vector<Percents> &gammas) {
        setup.right = pixels;
        setup.bottom = int(gammas.size());
        prepare(setup);
        GdiWatch watch(dc());
        const HDISPRUN run = open(setup);
        for (const Percents &gamma : gammas) {
            set_gamma(library_gamma(gamma));
            EXPECT_SUCCESS(api().disp32ShowData(run, row.data(), 0, 0, 1, 0));
            EXPECT_EQ(watch.drawings().size(), 0u);
        }
        end(run);
        const auto flushes = drawn(watch, setup);
        EXPECT_EQ(flushes.size(), 1u);
        return flushes.empty() ? Pixels{} : flushes[0].pixels;
    }

    Random random{test_seed(), 131};
};

// --- literally -------------------------------------------------------------------------------

TEST_F(GammaChanges, InTrueColour) {
    EXPECT_EQ(one_row_at({.type = 4}, {128, 128, 128, 255, 0, 1}, 2, {plain, mixed, plain}),
              (Pixels{0x808080, 0xFF0001, //
                      unsigned(model::levels_at_55[128]) << 16 | 0x8000 | model::levels_at_200[128],
                      0xFF000F, //
                      0x808080, 0xFF0001}));
    EXPECT_EQ(one_row_at({.type = 4, .depth = 8}, {128, 3}, 2, {plain, {50, 50, 50}}),
              (Pixels{0x808080, 0x030303, 0x404040, 0}));
    // Blue 1, green 2, red 4.
    EXPECT_EQ(one_row_at({.type = 4, .depth = 16}, {0x41, 0x10}, 1, {{50, 50, 50}, plain}),
              (Pixels{0x050200, 0x27170F}));
}

// 100 becomes 97, and at 50 percent 39 becomes 38. Row 0: 1 7 2 8, row 1: 5 3 6 4.
TEST_F(GammaChanges, InHighColour) {
    const Bytes row(12, 100);
    EXPECT_EQ(one_row_at({.type = 5}, row, 4, {plain, {50, 50, 50}}),
              (Pixels{0x686868, 0x606060, 0x606060, 0x606060, //
                      0x282828, 0x282828, 0x282828, 0x282828}));
    RunSetup off{.type = 5};
    off.dither = false;
    EXPECT_EQ(one_row_at(off, row, 4, {plain, {50, 50, 50}, plain}),
              (Pixels{0x616161, 0x616161, 0x616161, 0x616161, //
                      0x262626, 0x262626, 0x262626, 0x262626, //
                      0x616161, 0x616161, 0x616161, 0x616161}));
}

// --- when --------------------------------------------------------------------------------------

// Held rows that came before keep what they are, also when they are drawn much later.
TEST_F(GammaChanges, WithinAStrip) {
    for (RunSetup setup : corrected_runs())
        for (int direction : {1, -1}) {
            setup.gamma = plain;
            expect_with(setup, {{5, dark}}, direction);
            expect_with(setup, {{5, dark}, {9, plain}}, direction);
            expect_with(setup, {{1, mixed}, {2, plain}, {3, light}, {4, dark}, {13, plain}},
                        direction);
            setup.gamma = mixed;
            expect_with(setup, {{5, plain}}, direction);
            expect_with(setup, {{5, plain}, {9, light}}, direction);
            expect_with(setup, {{1, plain}, {2, dark}, {3, plain}, {4, plain}, {13, mixed}},
                        direction);
        }
}

TEST_F(GammaChanges, AcrossStrips) {
    for (RunSetup setup : corrected_runs())
        for (int direction : {1, -1})
            for (int strip_rows : {1, 2, 3, 4, 7})
                for (const Percents &opened : {plain, light}) {
                    setup.gamma = opened;
                    // Of seven rows: where a strip is just full, and in its middle.
                    expect_with(setup, {{7, dark}}, direction, strip_rows);
                    expect_with(setup, {{7, plain}, {9, mixed}}, direction, strip_rows);
                    expect_with(setup, {{2, plain}, {6, light}, {7, dark}, {12, plain}}, direction,
                                strip_rows);
                }
}

TEST_F(GammaChanges, BetweenTheOpeningAndTheFirstRow) {
    for (RunSetup setup : corrected_runs()) {
        expect_with(setup, {{0, dark}});
        expect_with(setup, {{0, dark}, {0, plain}});
        setup.gamma = light;
        expect_with(setup, {{0, plain}});
        expect_with(setup, {{0, plain}, {0, dark}}, -1, 3);
    }
}

// After the last row nothing changes any more.
TEST_F(GammaChanges, BeforeTheEnd) {
    for (RunSetup setup : corrected_runs())
        for (const auto &[opened, later] : {std::pair(plain, dark), std::pair(dark, plain)}) {
            setup.gamma = opened;
            expect_with(setup, {{14, later}});
            expect_with(setup, {{14, later}}, -1, 5);
        }
}

// --- what --------------------------------------------------------------------------------------

// One channel that is corrected is enough.
TEST_F(GammaChanges, OfEachChannelAlone) {
    const Percents alone[] = {{50, 100, 100}, {100, 50, 100},  {100, 100, 50},
                              {99, 100, 100}, {100, 101, 100}, {100, 100, 0}};
    for (RunSetup setup : corrected_runs())
        for (const Percents &gamma : alone) {
            setup.gamma = plain;
            expect_with(setup, {{6, gamma}});
            setup.gamma = gamma;
            expect_with(setup, {{6, plain}, {10, dark}});
        }
}

TEST_F(GammaChanges, OfExtremePercentages) {
    const Percents extremes[] = {{0, -1, 1}, {-100, 500000000, 2}, {1000, 100, -500000000}};
    for (RunSetup setup : corrected_runs())
        for (const Percents &gamma : extremes) {
            setup.gamma = plain;
            expect_with(setup, {{6, gamma}, {11, plain}});
        }
}

// Every length of a row, with correction and without: no pixel is beside the tables.
TEST_F(GammaChanges, OfEveryWidth) {
    for (int type : {4, 5})
        for (int depth : {8, 16, 24})
            for (int width = 1; width <= 97; ++width) {
                RunSetup setup{.type = type, .depth = depth, .left = width % 7};
                setup.right = setup.left + width;
                setup.bottom = 6;
                expect_with(setup, {{2, dark}, {4, plain}});
                setup.gamma = light;
                expect_with(setup, {{2, plain}, {4, dark}});
            }
}

// The switch of high-colour displays counts when a run is opened, whatever becomes of gamma.
TEST_F(GammaChanges, BesideTheSwitch) {
    for (RunSetup setup : corrected_runs())
        for (const Percents &opened : {plain, mixed}) {
            setup.gamma = opened;
            prepare(setup);
            const Source source(random, setup.depth, 61, 14);
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            model::ModelRun model(setup);
            const Percents gammas[] = {opened, dark, plain, plain, light, plain, plain};
            for (int i = 0; i < 7; ++i) {
                api().disp32BeHiColorDither(i % 2);
                change(gammas[i], model);
                EXPECT_SUCCESS(show(run, source, 2 * i, 2));
                model.show(source.image(), 0, 2 * i, 2, source.stride);
            }
            end(run);
            model.end();
            expect_drawn(watch, setup, model.flushes());
        }
}

// --- where -------------------------------------------------------------------------------------

TEST_F(GammaChanges, OfRunsSideBySide) {
    for (int type : {4, 5})
        for (bool dither : {true, false}) {
            RunSetup setups[3];
            std::vector<std::unique_ptr<Source>> sources;
            std::vector<model::ModelRun> models;
            HDISPRUN runs[3];
            GdiWatch watch(dc());
            for (int i = 0; i < 3; ++i) {
                RunSetup &setup = setups[i];
                setup = {.type = type, .depth = 8 * (1 + i), .left = 100 * i, .bottom = 12};
                setup.right = setup.left + 50;
                setup.dither = dither;
                setup.gamma = i == 1 ? dark : plain; // opened so
                prepare({.type = type, .dither = dither});
                set_gamma(library_gamma(setup.gamma));
                runs[i] = open(setup);
                models.emplace_back(setup);
                sources.push_back(std::make_unique<Source>(random, setup.depth, 50, 12));
            }
            const Percents gammas[] = {light, plain, plain, mixed, plain, dark};
            for (int step = 0; step < 6; ++step) {
                set_gamma(library_gamma(gammas[step]));
                for (int i = 0; i < 3; ++i) {
                    models[std::size_t(i)].correct(gammas[step]);
                    EXPECT_SUCCESS(show(runs[i], *sources[std::size_t(i)], 2 * step, 2));
                    models[std::size_t(i)].show(sources[std::size_t(i)]->image(), 0, 2 * step, 2,
                                                sources[std::size_t(i)]->stride);
                }
            }
            for (int i = 0; i < 3; ++i) { // one drawing each
                end(runs[i]);
                models[std::size_t(i)].end();
                expect_drawn(watch, setups[i], models[std::size_t(i)].flushes());
            }
        }
}

// A strip that could not be drawn is drawn later as it is.
TEST_F(GammaChanges, AfterADrawingThatFailed) {
    for (RunSetup setup : corrected_runs())
        for (const auto &[opened, later] : {std::pair(plain, dark), std::pair(dark, plain)}) {
            setup.gamma = opened;
            prepare(setup);
            const Source source(random, setup.depth, 61, 14);
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            model::ModelRun model(setup);
            EXPECT_EQ(api().disp32SetAttrib(run, 2, 4), model.attribute(2, 4));
            watch.failing_draws = model.failures = 1;
            EXPECT_SILENT_FAILURE(show(run, source, 0, 6));
            EXPECT_EQ(model.show(source.image(), 0, 0, 6, source.stride), 0);
            change(later, model);
            EXPECT_SUCCESS(show(run, source, 6, 8));
            EXPECT_EQ(model.show(source.image(), 0, 6, 8, source.stride), 1);
            end(run);
            model.end();
            expect_drawn(watch, setup, model.flushes());
        }
}

// Indices, bits and planes are never corrected.
TEST_F(GammaChanges, OfRunsWithoutTables) {
    for (int type = 0; type <= 5; ++type)
        for (int depth : {1, 8, 16, 24})
            for (int option : {0, 1})
                for (bool palette : {false, true}) {
                    RunSetup setup{.type = type, .depth = depth, .option = option};
                    setup.right = 61;
                    setup.bottom = 14;
                    if (palette)
                        setup.palette = some_colours(random, 256);
                    const model::Path path = model::path_of(setup);
                    if (path == model::Path::direct || path == model::Path::direct_greys)
                        continue;
                    expect_with(setup, {{3, dark}, {9, plain}}, 1, 4);
                    expect_with(setup, {{3, dark}, {9, plain}}, -1);
                }
}

// Palettes are read when a strip is drawn: rows that came before take the new colours too.
TEST_F(GammaChanges, OfThePalettesOfTheLibrary) {
    for (int depth : {8, 24}) {
        RunSetup setup{.type = 3, .depth = depth, .right = 20, .bottom = 4};
        prepare(setup);
        const Source source(random, depth, 20, 4);
        GdiWatch watch(dc());
        watch.icm_mode = ICM_ON; // so that colours are handed over
        const HDISPRUN run = open(setup);
        EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_STRIP_ROWS, 2));
        EXPECT_SUCCESS(show(run, source, 0, 3)); // of which two are drawn
        set_gamma(library_gamma(dark));
        EXPECT_SUCCESS(show(run, source, 3, 1));
        end(run);
        ASSERT_EQ(watch.drawings().size(), 2u);
        for (std::size_t i = 0; i < 2; ++i) {
            const Entries colours = depth == 24 ? colour_cube(3, 256) : grey_ramp(128);
            const Entries wanted = i == 0 ? colours : corrected(colours, library_gamma(dark));
            const auto &table = watch.drawings()[i].table;
            for (std::size_t entry = 0; entry < wanted.size(); ++entry)
                ASSERT_EQ(
                    (PaletteEntry{table[4 * entry + 2], table[4 * entry + 1], table[4 * entry]}),
                    wanted[entry])
                    << entry << " of drawing " << i;
        }
        set_gamma({});
    }
}

TEST_F(GammaChanges, PaintedForReal) {
    for (RunSetup setup : corrected_runs())
        for (const auto &[opened, later] : {std::pair(plain, dark), std::pair(mixed, plain)}) {
            setup.gamma = opened;
            prepare(setup);
            const Source source(random, setup.depth, 61, 14);
            const Section target(32, 70, 20);
            HDISPRUN run = 0;
            EXPECT_SUCCESS(api().disp32ShowInit(&run, target.dc(), setup.depth, setup.left,
                                                setup.top, setup.right, setup.bottom, nullptr, 0,
                                                0));
            EXPECT_SUCCESS(show(run, source, 0, 8));
            set_gamma(library_gamma(later));
            EXPECT_SUCCESS(show(run, source, 8, 6));
            end(run);
            Colours picture = wanted(setup, source);
            setup.gamma = later;
            const Colours lower = wanted(setup, source);
            std::copy(lower.begin() + 8 * 61, lower.end(), picture.begin() + 8 * 61);
            EXPECT_EQ(difference(target.colours(), placed(setup, picture, 70, 20), 70), "")
                << setup;
        }
}

// --- at random ---------------------------------------------------------------------------------

TEST_F(GammaChanges, AtRandom) {
    const auto between = [](Random &numbers, int least, int most) {
        return least + int(numbers.below(std::size_t(most - least + 1)));
    };
    random_cases(400, [&](Random &numbers, std::uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const auto any_gamma = [&] {
            const auto percent = [&] {
                return numbers.below(2) != 0 ? 100 : between(numbers, -1, 300);
            };
            return Percents{percent(), percent(), percent()};
        };
        RunSetup setup{.type = between(numbers, 4, 5), .depth = 8 * between(numbers, 1, 3)};
        setup.left = between(numbers, -50, 50);
        setup.right = setup.left + between(numbers, 1, 200);
        setup.bottom = between(numbers, 1, 40);
        setup.dither = numbers.below(2) != 0;
        setup.gamma = any_gamma();
        if (numbers.below(2) != 0)
            setup.origin = {between(numbers, -9, 9), between(numbers, -9, 9)};
        prepare(setup);
        const Census before = Census::now();
        {
            const FencedHeap heap;
            GdiWatch watch(dc());
            const HDISPRUN run = open(setup);
            model::ModelRun model(setup);
            EXPECT_EQ(api().disp32SetAttrib(run, 1, -1), model.attribute(1, -1));
            const int rows = between(numbers, 1, 40);
            EXPECT_EQ(api().disp32SetAttrib(run, 2, rows), model.attribute(2, rows));
            for (int step = 0; step < 8; ++step) {
                const int count = between(numbers, 0, 9), column = between(numbers, 0, 5);
                const Source source(numbers, setup.depth, int(setup.width()), count, column);
                watch.failing_draws = model.failures = numbers.below(9) == 0 ? 1 : 0;
                EXPECT_EQ(show(run, source),
                          model.show(source.image(), column, 0, count, source.stride));
                if (numbers.below(2) != 0)
                    change(any_gamma(), model);
                if (numbers.below(4) == 0)
                    api().disp32BeHiColorDither(int(numbers.below(2)));
            }
            end(run);
            model.end();
            expect_drawn(watch, setup, model.flushes());
        }
        EXPECT_EQ(Census::now(), before);
        expect_no_report();
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
