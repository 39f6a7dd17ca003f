// The buffer laboratory's rules against the library: after every step the same bytes and the same
// cells, and the reports that the manual tells of.
#include "apps/q32view/laboratories/buffer_experiment.h"
#include "apps/q32view/laboratories/buffer_words.h"

#include <gtest/gtest.h>

#include <random>

namespace apps::q32view {
namespace {

Counters library_counters() {
    Counters counters;
    buf32GetVMDataExt(&counters.memory, &counters.files);
    return counters;
}

int live_buffers() {
    return buf32CountBuf(nullptr);
}

void expect_agreement(const BufferExperiment &experiment) {
    const Moment &moment = experiment.moments().back();
    const Operation *const last = experiment.last();
    const std::string line =
        last != nullptr ? experiment.script().lines[static_cast<size_t>(last->line) - 1] : "start";
    EXPECT_EQ(moment.outcome.is_done, moment.should_be_done) << line;
    EXPECT_EQ(moment.counters.memory, moment.expected.memory) << line;
    EXPECT_EQ(moment.counters.files, moment.expected.files) << line;
    EXPECT_EQ(moment.cells, moment.expected_cells) << line;
    EXPECT_TRUE(moment.agrees()) << line;
    EXPECT_EQ(moment.counters, library_counters()) << line; // there are no others' buffers here
}

// Steps to the end, comparing after each.
void run(BufferExperiment &experiment) {
    expect_agreement(experiment);
    while (experiment.step())
        expect_agreement(experiment);
}

BufferExperiment of(const std::string &text) {
    return BufferExperiment(parse_script(text, "test"));
}

// The library's own numbers for the operation of a line.
std::string report_of_line(const BufferExperiment &experiment, int line) {
    for (size_t i = 0; i < experiment.script().operations.size(); ++i)
        if (experiment.script().operations[i].line == line)
            return outcome_in_numbers(experiment.moments().at(i + 1).outcome);
    return "no such line";
}

const SeenBuffer &seen(const BufferExperiment &experiment, const std::string &name) {
    for (const SeenBuffer &buffer : experiment.buffers())
        if (buffer.name == name)
            return buffer;
    throw std::runtime_error("there is no " + name);
}

// --- the built-in script -------------------------------------------------------------------------

TEST(BufferExperiment, TheBuiltInScriptIsAsTheRulesSay) {
    BufferExperiment experiment(built_in_script());
    run(experiment);
    EXPECT_EQ(experiment.done(), experiment.length());
    EXPECT_EQ(experiment.moments().back().counters, (Counters{0, 0}));
    EXPECT_TRUE(experiment.buffers().empty());
}

TEST(BufferExperiment, TheBuiltInScriptShowsEveryKind) {
    BufferExperiment experiment(built_in_script());
    experiment.go_to(experiment.length());
    CellCounts most;
    std::vector<std::string> reports;
    for (const Moment &moment : experiment.moments()) {
        most.memory = std::max(most.memory, moment.cells.memory);
        most.swap_file = std::max(most.swap_file, moment.cells.swap_file);
        most.shared = std::max(most.shared, moment.cells.shared);
        most.one_colour = std::max(most.one_colour, moment.cells.one_colour);
        most.pattern = std::max(most.pattern, moment.cells.pattern);
        EXPECT_EQ(moment.cells.nowhere, 0);
        if (!moment.outcome.is_done)
            reports.push_back(outcome_in_numbers(moment.outcome));
    }
    EXPECT_EQ(
        most,
        (CellCounts{.memory = 60, .swap_file = 70, .shared = 70, .one_colour = 20, .pattern = 6}));
    EXPECT_EQ(reports, (std::vector<std::string>{
                           "5804, module 4, point 12", // freeing what is locked
                           "5804, module 3, point 4",  // unlocking what is not
                           "5804, module 3, point 3",  // a row without a lock
                           "1001, module 4, point 3",  // beyond the limit of files
                       }));
}

// --- single rules --------------------------------------------------------------------------------

TEST(BufferExperiment, LooksThroughADuplicateAndLeavesNothing) {
    const int before = live_buffers();
    {
        BufferExperiment experiment = of("alloc A 300x300 24\nlock A write\nunlock A\n"
                                         "duplicate A B\nread A 0,0 1x1\nread B 0,0 1x1\n");
        run(experiment);
        // A's last lock was for writing: a look through a lock of its cells would part them.
        EXPECT_EQ(experiment.moments().back().cells.shared, 18);
        EXPECT_EQ(seen(experiment, "A").info.access_mode, BUF32_WRITE);
        EXPECT_EQ(seen(experiment, "A").info.lock_count, 0);
        EXPECT_EQ(seen(experiment, "A").shares_with, std::vector<std::string>{"B"});
        EXPECT_EQ(live_buffers(), before + 2);
    }
    EXPECT_EQ(live_buffers(), before);
    EXPECT_EQ(library_counters(), (Counters{0, 0}));
}

TEST(BufferExperiment, ALockedCellOfASharerParts) {
    BufferExperiment experiment = of("alloc A 300x300 24\nlock A write\nunlock A\nduplicate A B\n"
                                     "lock A cell 8\nlock A cell 8\nunlock A cell 8\n");
    run(experiment);
    EXPECT_EQ(experiment.moments().back().cells.memory, 18);
    EXPECT_EQ(experiment.locked_cells("A"), std::vector<int>{8});
    EXPECT_EQ(seen(experiment, "A").info.lock_count, 1);
}

TEST(BufferExperiment, ADuplicateKeepsWhatItHad) {
    BufferExperiment experiment =
        of("alloc A 300x300 24\nalloc B 300x300 24 \nduplicate A B\nduplicate A B\n"
           "paste B 0,0 5x5 ff\nduplicate B A\nfree B\nfree A\n");
    run(experiment);
    EXPECT_EQ(report_of_line(experiment, 4), "no report"); // it shares already
}

TEST(BufferExperiment, TheFirstSharerGetsTheCopy) {
    constexpr size_t bytes = 300 * 300 * 3;
    // B keeps storage of its own and comes first or second; A is written.
    BufferExperiment second = of("alloc A 300x300 24\nalloc B 300x300 24\nduplicate A C\n"
                                 "duplicate A B\npaste A 0,0 5x5 ff\n");
    run(second);
    EXPECT_EQ(second.moments().back().counters.memory, 3 * bytes);
    second.restart();
    BufferExperiment first = of("alloc A 300x300 24\nalloc B 300x300 24\nduplicate A B\n"
                                "duplicate A C\npaste A 0,0 5x5 ff\n");
    run(first);
    EXPECT_EQ(first.moments().back().counters.memory, 2 * bytes);
}

TEST(BufferExperiment, OneColourHasABlockOnceItIsLocked) {
    BufferExperiment experiment = of("alloc A 300x300 24 colour 102030\nread A 0,0 9x9\n"
                                     "duplicate A B\nlock A cell 3\nunlock A\n");
    experiment.go_to(3);
    EXPECT_EQ(seen(experiment, "A").has_block, false);
    EXPECT_EQ(experiment.moments().back().counters, (Counters{0, 0}));
    experiment.go_to(5);
    expect_agreement(experiment);
    EXPECT_EQ(seen(experiment, "A").has_block, true);
    EXPECT_EQ(experiment.moments().back().counters.memory, 128u * 128 * 3);
}

TEST(BufferExperiment, LimitsHoldForItsOwnBuffersOnly) {
    HBUF32 others = 0;
    ASSERT_TRUE(buf32Alloc(&others, 24, 1000, 1000, BUF32_TILED, nullptr));
    size_t memory_before = 0;
    uint32_t switch_before = 0;
    buf32VMData(0, &memory_before, nullptr, nullptr, &switch_before, nullptr);
    {
        BufferExperiment experiment =
            of("limit memory 300K\nalloc A 300x300 24\nalloc B 300x300 24\n"
               "limit memory 0\nalloc C 300x300 8\nlimit memory none\nalloc D 300x300 8\n");
        experiment.go_to(7);
        EXPECT_TRUE(experiment.moments().back().agrees());
        EXPECT_EQ(experiment.moments().back().counters, (Counters{360000, 360000}));
        size_t memory = 0;
        uint32_t is_on = 0;
        buf32VMData(0, &memory, nullptr, nullptr, &is_on, nullptr);
        EXPECT_EQ(memory, memory_before);
        EXPECT_EQ(is_on, switch_before);
    }
    buf32Free(others);
    EXPECT_EQ(library_counters(), (Counters{0, 0}));
}

TEST(BufferExperiment, GoesOnAfterFailures) {
    BufferExperiment experiment = of(
        "alloc A 32001x1 24\nfill A 00\nalloc B 1x32001 24\nalloc C 9x9 65\n"
        "alloc D 200x200 24\nalloc E 200x200 8\nduplicate D E\nresize D 5\ncopy D 0,0 9x9 E 0,0\n"
        "paste D 300,300 5x5 ff\nread D 300,0 5x5\nlock D cell 4\nunlock D cell 0\n");
    run(experiment);
    EXPECT_EQ(report_of_line(experiment, 1), "5402, module 4, point 71");
    EXPECT_EQ(outcome_in_words(experiment.moments()[2].outcome), "A is not there");
    EXPECT_EQ(report_of_line(experiment, 3), "5403, module 4, point 72");
    EXPECT_EQ(report_of_line(experiment, 4), "3200, module 4, point 7");
    EXPECT_EQ(report_of_line(experiment, 7), "4026, module 3, point 7");
    EXPECT_EQ(report_of_line(experiment, 8), "3200, module 4, point 11");
    EXPECT_EQ(report_of_line(experiment, 9), "3200, module 4, point 18");
    EXPECT_EQ(report_of_line(experiment, 10), "3200, module 3, point 14");
    EXPECT_EQ(report_of_line(experiment, 11), "3200, module 3, point 13");
    EXPECT_EQ(report_of_line(experiment, 12), "5804, module 3, point 1");
    EXPECT_EQ(report_of_line(experiment, 13), "5804, module 3, point 2");
}

TEST(BufferExperiment, WhatIsLockedIsNotMadeAgain) {
    BufferExperiment experiment =
        of("alloc A 9x9 8\nlock A read\nfree A\nalloc A 9x9 8\nunlock A\nfree A\nfree A\n");
    run(experiment);
    EXPECT_EQ(outcome_in_words(experiment.moments()[4].outcome),
              "A is still there: not made again");
    EXPECT_EQ(outcome_in_words(experiment.moments()[7].outcome), "A is not there");
}

TEST(BufferExperiment, GoesBackByBeginningAnew) {
    BufferExperiment experiment(built_in_script());
    experiment.go_to(12);
    const Moment then = experiment.moments().back();
    experiment.go_to(20);
    EXPECT_EQ(experiment.done(), 20);
    experiment.go_to(12);
    EXPECT_EQ(experiment.done(), 12);
    EXPECT_EQ(experiment.moments().back().counters, then.counters);
    EXPECT_EQ(experiment.moments().back().cells, then.cells);
    experiment.restart();
    EXPECT_EQ(library_counters(), (Counters{0, 0}));
}

// --- random scripts ------------------------------------------------------------------------------

class Writer {
public:
    explicit Writer(unsigned seed) : random_(seed) {}

    std::string line() {
        const std::string name = any({"A", "B", "C", "D", "E"});
        switch (below(14)) {
        case 0:
            return "alloc " + name + " " + size() + " " + depth() + " " +
                   any({"tiled", "tiled", "file", "linear", "memory", "shrink", "colour 102030",
                        "pattern 5x200"});
        case 1:
            return "free " + name;
        case 2:
        case 3:
            return "duplicate " + name + " " + any({"A", "B", "C", "D", "E"});
        case 4:
            return "fill " + name + " 405060";
        case 5:
            return "pattern " + name + " 3x" + any({"7", "150"});
        case 6:
        case 7:
            return "paste " + name + " " + place() + " 60x90 ff";
        case 8:
            return "read " + name + " " + place() + " 60x90";
        case 9:
            return "copy " + name + " " + place() + " 90x60 " + any({"A", "B", "C", "D", "E"}) +
                   " " + place();
        case 10:
            return "line " + name + " 5 " + any({"read", "write 70"});
        case 11:
            return "lock " + name + " " + any({"read", "write", "overwrite", "cell 0", "cell 3"});
        case 12:
            return "unlock " + name + any({"", " cell 0"});
        default:
            return any({"limit memory 100K", "limit memory none", "limit memory 0",
                        "limit files 200K", "limit files none", "resize A 40", "resize B 140"});
        }
    }

private:
    unsigned below(unsigned count) { return static_cast<unsigned>(random_() % count); }
    std::string any(std::initializer_list<const char *> words) {
        return words.begin()[below(static_cast<unsigned>(words.size()))];
    }
    std::string size() { return any({"150x140", "150x140", "128x128", "300x40"}); }
    std::string depth() { return any({"24", "24", "24", "8", "1", "12"}); }
    std::string place() { return any({"0,0", "100,100", "-20,-30", "140,30", "400,400"}); }

    std::mt19937 random_;
};

// Lines that name what no line has made are left out.
Script random_script(unsigned seed, int lines) {
    Writer writer(seed);
    std::string text = "alloc A 150x140 24\n";
    Script script = parse_script(text, "random");
    while (static_cast<int>(script.operations.size()) < lines) {
        const std::string longer = text + writer.line() + "\n";
        try {
            script = parse_script(longer, "random " + std::to_string(seed));
            text = longer;
        } catch (const std::exception &) {
        }
    }
    return script;
}

TEST(BufferExperiment, RandomScriptsAreAsTheRulesSay) {
    for (unsigned seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        BufferExperiment experiment(random_script(seed, 100));
        run(experiment);
        if (testing::Test::HasFailure()) {
            for (int i = 0; i < experiment.done(); ++i)
                std::printf("%s\n", experiment.script().lines[static_cast<size_t>(i)].c_str());
            break;
        }
    }
    EXPECT_EQ(library_counters(), (Counters{0, 0}));
}

} // namespace
} // namespace apps::q32view
