// The sweep: runs of a scenario, what each must leave, and the line at the end.
#include "tests/failing_calls/sweep.h"

#include "tests/failing_calls/holdings.h"
#include "tests/frame/figures.h"
#include "tests/kernels/running.h"

#include <cstdio>
#include <map>
#include <optional>
#include <type_traits>

namespace q32::test {
namespace {

// The functions that can say that they failed. Of the others there is nothing to be seen.
std::vector<std::string> fallible_calls() {
    std::vector<std::string> names;
#define Q32_GATE(dll, function, failure_value, error)                                              \
    if (!std::is_void_v<frame::call::function::Returned>)                                          \
        names.push_back(#function);
    Q32_GATES(Q32_GATE)
#undef Q32_GATE
    return names;
}

struct Counts {
    std::set<std::string> exports;
    int scenarios = 0;
    int runs = 0;
    int failing = 0; // in which a call failed
} swept;

// Filled while statics are set up, and so made at its first use.
std::multiset<std::string> &scenarios_added() {
    static std::multiset<std::string> exports;
    return exports;
}

std::string summary(int crashes) {
    return "failing calls: " + std::to_string(swept.exports.size()) + " exports, " +
           std::to_string(swept.scenarios) + " scenarios, " + std::to_string(swept.runs) +
           " runs, " + std::to_string(crashes) + " crashes, " + std::to_string(stray_things()) +
           " leaks";
}

} // namespace

// --- one run -------------------------------------------------------------------------------------

Scenario::Run Scenario::run(Library library, const std::string &function, int n) {
    Run run;
    run_ = &run;
    library_ = library;
    function_ = function;
    n_ = n;
    attempts_ = 0;
    act();
    EXPECT_EQ(attempts_, 1) << "a scenario is one attempt";
    return run;
}

void Scenario::attempt(const std::function<bool()> &step, const std::function<bool()> &again) {
    ++attempts_;
    frame::forget_reports();
    const bool counts = library_ == Library::shared;
    const Holdings before = Holdings::now(counts);
    if (function_.empty()) {
        std::map<std::string, FailingCall> counters;
        for (const std::string &call : fallible_calls())
            counters.try_emplace(call, call, 0);
        EXPECT_TRUE(step()) << "and nothing was to fail";
        for (const auto &[call, counter] : counters)
            if (counter.calls() > 0)
                run_->calls[call] = counter.calls();
    } else {
        FailingCall failing(function_, n_);
        run_->failed = !step();
        run_->happened = failing.happened();
    }
    run_->reports = frame::reports();
    frame::forget_reports();
    if (!run_->failed)
        return;
    EXPECT_TRUE(run_->happened) << "failed although nothing failed";
    if (library_ != Library::fresh && !fails_at_work_) // a fresh one has made what it keeps
        expect_balance(before, Holdings::now(counts), function_, kept_);
    EXPECT_TRUE(again()) << "does not work when tried again";
    EXPECT_EQ(frame::reports(), std::vector<Failure>{});
    frame::forget_reports();
}

void Scenario::see(HBUF32 buffer) {
    for (int field : {field_type, field_bits_per_pixel, field_width, field_height})
        see(int(word(buffer, field)));
    see(read_pixels(buffer));
}

// --- the sweep of a scenario ---------------------------------------------------------------------

namespace {

class Sweep {
public:
    Sweep(Scenario &scenario, Library library) : scenario_(scenario), library_(library) {}

    void of_everything() {
        begin_anew();
        const Scenario::Run undisturbed = run("", 0);
        usual_ = undisturbed.seen;
        for (const auto &[function, count] : undisturbed.calls)
            of(function);
        EXPECT_EQ(seen_reports_, scenario_.reports());
        EXPECT_EQ(seen_silent_, scenario_.silent());
        EXPECT_EQ(seen_unnoticed_, scenario_.unnoticed());
    }

private:
    static constexpr int far_too_many = 5000;

    void of(const std::string &function) {
        for (int n = 1; n < far_too_many; ++n) {
            const std::string what = "call " + std::to_string(n) + " of " + function + " failing";
            SCOPED_TRACE(what);
            const Running running([&] {
                const auto *const test = testing::UnitTest::GetInstance()->current_test_info();
                return std::string(test->test_suite_name()) + "." + test->name() + ", " + what +
                       "\n" + summary(1);
            });
            const Scenario::Run run = this->run(function, n);
            swept.failing += run.happened;
            judge(run, function);
            if (!run.happened || testing::Test::HasFailure())
                return;
        }
        ADD_FAILURE() << "no end of " << function;
    }

    Scenario::Run run(const std::string &function, int n) {
        ++swept.runs;
        if (library_ == Library::fresh)
            frame::drop_shared_library();
        const bool counts = library_ == Library::shared;
        const Holdings before = Holdings::now(counts);
        if (library_ == Library::fresh)
            frame::shared_library(); // and its start does not fail
        const Scenario::Run run = scenario_.run(library_, function, n);
        if (library_ == Library::fresh)
            frame::shared_library().detach();
        if (!expect_balance(before, Holdings::now(counts), function, scenario_.kept())) {
            SetThreadPriority(GetCurrentThread(), before.census.thread_priority);
            begin_anew();
        }
        scenario_.unload();
        return run;
    }

    void judge(const Scenario::Run &run, const std::string &function) {
        if (run.failed && run.reports.empty())
            seen_silent_.insert(function);
        seen_reports_.insert(run.reports.begin(), run.reports.end());
        if (run.seen != usual_) {
            EXPECT_FALSE(run.failed) << "another picture, when tried again";
            seen_unnoticed_.insert(function);
        }
    }

    void begin_anew() {
        scenario_.unload();
        frame::drop_shared_library();
        frame::empty_sandbox();
        frame::reset_comm();
        if (library_ != Library::shared)
            return;
        // What a process makes once is made now: its record of swap files, and more.
        Buffer(8, 129, 1, BUF32_TILED_FILE);
        scenario_.run(library_);
    }

    Scenario &scenario_;
    Library library_;
    std::vector<Bytes> usual_;
    std::set<Failure> seen_reports_;
    std::set<std::string> seen_silent_, seen_unnoticed_;
};

class ScenarioTest : public testing::Test {
public:
    ScenarioTest(Library library, std::unique_ptr<Scenario> scenario)
        : library_(library), scenario_(std::move(scenario)) {}
    void TestBody() override {
        const auto *const test = testing::UnitTest::GetInstance()->current_test_info();
        if (library_ != Library::none) // start and stop are no exports
            swept.exports.insert(test->test_suite_name());
        ++swept.scenarios;
        Sweep(*scenario_, library_).of_everything();
    }

private:
    Library library_;
    std::unique_ptr<Scenario> scenario_;
};

class LineAtTheEnd : public testing::Environment {
public:
    void TearDown() override {
        frame::drop_shared_library();
        if (swept.scenarios == int(scenarios_added().size())) {
            EXPECT_EQ(unneeded_rows(), "") << "are in the table and not needed";
        }
        std::printf("%s\n", summary(0).c_str());
        // A crash ends the program before this.
        const std::pair<const char *, int> all[] = {
            {"calls with a call inside failing", swept.failing},
            {"crashes with a call inside failing", 0},
            {"leaks with a call inside failing", stray_things()},
            {"exports with a call inside failing", int(swept.exports.size())}};
        for (const auto &[name, number] : all)
            figures::count(name, std::uint64_t(number));
    }
};
[[maybe_unused]] testing::Environment *const line_at_the_end =
    testing::AddGlobalTestEnvironment(new LineAtTheEnd);

// A library that gets an export without a scenario is not tested whole.
TEST(Sweep, HasAScenarioOfEveryExport) {
    std::set<std::string> exports{"start", "stop"};
#define Q32_EXPORT(name) exports.insert(#name);
#include "q32_exports.inc"
#undef Q32_EXPORT
    EXPECT_EQ(std::set<std::string>(scenarios_added().begin(), scenarios_added().end()), exports);
}

} // namespace

bool add_scenario(const char *exported, const char *name, Library library,
                  std::unique_ptr<Scenario> (*make)()) {
    scenarios_added().insert(exported);
    testing::RegisterTest(exported, name, nullptr, nullptr, __FILE__, __LINE__,
                          [=] { return new ScenarioTest(library, make()); });
    return true;
}

} // namespace q32::test
