// Scenarios, in each of which an export does its work on something real, and the sweep over them:
// every system function that a scenario calls fails at its first call, its second, and so on, until
// a run goes by without that call. After each run the library holds what it held before, a call
// that failed works when it is made again, and shows the same pixels as ever. A crash says which
// call of which function it was that failed.
#pragma once

#include "tests/bitmaps/bitmap_fixture.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace q32::test {

// What a scenario finds: the library that all share, one that has just started, so that what the
// first call of a process makes is made, or none: it starts one itself.
enum class Library { shared, fresh, none };

class Scenario {
public:
    virtual ~Scenario() = default;

    // What one run came to.
    struct Run {
        std::vector<Bytes> seen;
        std::map<std::string, int> calls; // of every function; of a run that counts
        bool happened = false;            // the call that was to fail
        bool failed = false;              // and then the export
        std::vector<Failure> reports;
    };
    // Lets the n-th call of a function fail; without one, counts the calls of all.
    Run run(Library library, const std::string &function = "", int n = 0);
    // Unloads the library that the scenario has started itself.
    void unload() { own_.reset(); }

    // What the headers say of failures: the reports that the export makes, each of which must be
    // seen; the functions whose failure makes it fail in silence, and those whose failure nobody is
    // told of although it shows.
    const std::set<Failure> &reports() const { return reports_; }
    const std::set<std::string> &silent() const { return silent_; }
    const std::set<std::string> &unnoticed() const { return unnoticed_; }
    const std::string &kept() const { return kept_; }

protected:
    virtual void act() = 0;

    // Maps a library of the scenario's own; and the one that was mapped.
    frame::Library &load() { return own_.emplace(); }
    frame::Library &own() { return *own_; }

    void may_report(std::initializer_list<Failure> failures) { reports_ = failures; }
    void may_be_silent(std::initializer_list<std::string> calls) { silent_ = calls; }
    void goes_unnoticed(std::initializer_list<std::string> calls) { unnoticed_ = calls; }

    // A call that fails has been at work: a fill has given up the pixels, a duplicate has got its
    // own. What is held then is not what was, and goes with the buffers.
    void fails_at_work() { fails_at_work_ = true; }

    // One of this kind may stay, whatever fails: the scenario says why.
    void keeps(const std::string &kind) { kept_ = kind; }

    // The one step of a scenario that meets the failure: whether it worked. If it did not, all is
    // as before, and it works when it is tried again, by another step where one is given.
    void attempt(const std::function<bool()> &step) { attempt(step, step); }
    void attempt(const std::function<bool()> &step, const std::function<bool()> &again);

    // What is compared with what was seen when nothing failed.
    void see(Bytes bytes) { run_->seen.push_back(std::move(bytes)); }
    void see(int number) { see(bytes_at(&number, sizeof number)); }
    void see(HBUF32 buffer); // type, sides and pixels

private:
    std::set<Failure> reports_;
    std::set<std::string> silent_, unnoticed_;
    bool fails_at_work_ = false;
    std::string kept_;
    std::optional<frame::Library> own_;
    Library library_ = Library::shared;
    std::string function_;
    int n_ = 0;
    Run *run_ = nullptr;
    int attempts_ = 0;
};

// A scenario of one export, whose call is the step that meets the failure.
template <auto exported, class Pointer = decltype(exported)>
class ScenarioOf;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
template <auto exported, class Result, class... Arguments>
class ScenarioOf<exported, Result (__cdecl *frame::Api::*)(Arguments...)> : public Scenario {
protected:
    using Value = std::conditional_t<std::is_void_v<Result>, int, Result>;

    // A status: 1, or 0 for a failure.
    void call(Arguments... arguments) { gives(1, arguments...); }
    // A value; 0 for a failure.
    void gives(Value wanted, Arguments... arguments) { gives_or(wanted, Value{}, arguments...); }
    // A value, or another for a failure.
    void gives_or(Value wanted, Value otherwise, Arguments... arguments) {
        attempt([&] {
            const Result result = (api().*exported)(arguments...);
            EXPECT_TRUE(result == wanted || result == otherwise) << result;
            return result == wanted;
        });
    }
    // Something that the caller gets; null for a failure.
    Result makes(Arguments... arguments) {
        Result made{};
        attempt([&] {
            made = (api().*exported)(arguments...);
            return made != Result{};
        });
        return made;
    }
    // A result that means nothing, or none.
    void does(Arguments... arguments) {
        attempt([&] {
            (api().*exported)(arguments...);
            return true;
        });
    }
};
#pragma GCC diagnostic pop

// Adds a scenario to the sweep, as a test of that name.
bool add_scenario(const char *exported, const char *name, Library library,
                  std::unique_ptr<Scenario> (*make)());

} // namespace q32::test

#define Q32_SCENARIO(base, exported, name, library)                                                \
    class exported##_##name : public base {                                                        \
        void act() override;                                                                       \
        static const bool added;                                                                   \
    };                                                                                             \
    const bool exported##_##name::added =                                                          \
        add_scenario(#exported, #name, library, []() -> std::unique_ptr<Scenario> {                \
            return std::make_unique<exported##_##name>();                                          \
        });                                                                                        \
    void exported##_##name::act()

// SCENARIO(export, Name) { ... } is a scenario of the library that all share; FIRST_CALL(export,
// Name) of one that has just started.
#define SCENARIO(exported, name)                                                                   \
    Q32_SCENARIO(ScenarioOf<&frame::Api::exported>, exported, name, Library::shared)
#define FIRST_CALL(exported, name)                                                                 \
    Q32_SCENARIO(ScenarioOf<&frame::Api::exported>, exported, name, Library::fresh)
