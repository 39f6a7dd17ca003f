// The n-th call of each kind fails, for all n.
#include "tests/sharing/failure_sweep.h"

#include <map>
#include <optional>

namespace q32::test {
namespace {

// A file that cannot be had is given up at once, so that all calls failing from the second on is
// the second failing.
bool tried_once(const std::string &call) {
    return call != "VirtualAlloc" && call != "GlobalAlloc" && call != "malloc";
}

// The n-th call fails, or it and all after it. A commitment that fails stays counted; this one
// knows how much.
class Failing {
public:
    Failing(const std::string &call, int n, bool all_after) : n_(n), all_after_(all_after) {
        if (call == "VirtualAlloc")
            memory_.emplace([this](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
                return allocate(at, bytes, kind, protection);
            });
        else
            other_.emplace(call, n,
                           all_after ? FailingCall::from_there_on : FailingCall::only_there);
    }
    bool happened() const { return other_ ? other_->happened() : calls_ >= n_; }
    uint32_t drift() const { return drift_; }

private:
    void *allocate(LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
        ++calls_;
        if (all_after_ ? calls_ >= n_ : calls_ == n_) {
            drift_ += kind == MEM_COMMIT ? reserved_ : 0;
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        reserved_ = kind == MEM_RESERVE ? uint32_t(bytes) : 0;
        return VirtualAlloc(at, bytes, kind, protection);
    }

    int n_;
    bool all_after_;
    int calls_ = 0;
    uint32_t reserved_ = 0, drift_ = 0;
    std::optional<frame::Replaced<frame::call::VirtualAlloc>> memory_;
    std::optional<FailingCall> other_;
};

using Surround = std::function<bool(Family &, const std::function<bool()> &)>;

// One run of a step on buffers of its own; false when it failed, and then everything was as before.
bool run(const Step &step, const Surround &surround, bool silent) {
    Random random(test_seed(), 1);
    Family family;
    send_to_files(step.to_files);
    step.prepare(family, random);
    std::vector<PlainImage> before;
    for (const auto &member : family.members())
        before.push_back(member->picture.image);
    bool done;
    {
        CallSurroundings surroundings([&](const std::function<bool()> &in_question) {
            return surround(family, in_question);
        });
        done = step.take(family, random);
    }
    if (!done) {
        EXPECT_EQ(frame::reports().empty(), silent);
        EXPECT_EQ(family.size(), before.size());
        for (size_t i = 0; i < std::min(before.size(), family.size()); ++i) {
            const bool without_copy = family[i].type == BUF32_PATTERN &&
                                      word(family[i].handle(), field_external_data) == 0;
            if (!without_copy) {
                EXPECT_EQ(family[i].picture.image.bytes(), before[i].bytes());
            }
        }
    }
    forget_reports();
    family.adopt_records();
    family.check();
    if (!done) {
        EXPECT_TRUE(step.take(family, random)) << "and not once the system works again";
        family.adopt_records();
        family.check();
    }
    send_to_files(false);
    return done;
}

// How often the call in question makes each call of the system when nothing fails.
std::map<std::string, int> calls_of(const Step &step) {
    std::map<std::string, int> result;
    const bool done = run(
        step,
        [&](Family &, const std::function<bool()> &in_question) {
            bool succeeded = false;
            for (const auto &[call, count] :
                 frame::acquiring_calls_of([&] { succeeded = in_question(); }))
                result[call] += count;
            return succeeded;
        },
        false);
    EXPECT_TRUE(done) << "failed although nothing failed";
    return result;
}

} // namespace

Step write_step(const WritePath &path, uint32_t type, size_t which, bool to_files,
                std::function<void(Family &, Random &)> prepare) {
    const std::string name = path.name;
    Step step{"type " + std::to_string(type) + ", " + name + " of buffer " + std::to_string(which),
              to_files, std::move(prepare), [=](Family &family, Random &random) {
                  return family.try_write(family[which], path, random);
              }};
    // Rows that are converted are staged, and their staging fails in silence.
    if (name == "row of bits" || name == "row of 565" || name == "row of 555")
        step.is_silent = [](const std::string &call) { return call == "GlobalAlloc"; };
    return step;
}

std::uint64_t sweep(const std::vector<Step> &steps) {
    std::uint64_t failures = 0, number = 0;
    for (const Step &step : steps) {
        const std::string name = step.name + (step.to_files ? " (files)" : "");
        SCOPED_TRACE(name);
        for (const auto &[call, count] : calls_of(step))
            for (bool all_after : {false, true})
                for (int n = 1; n <= (all_after && tried_once(call) ? std::min(count, 1) : count);
                     ++n) {
                    if (!in_this_round(number++))
                        continue;
                    SCOPED_TRACE((all_after ? "from call " : "call ") + std::to_string(n) + " of " +
                                 call + " failing");
                    bool reached = false;
                    failures += !run(
                        step,
                        [&](Family &family, const std::function<bool()> &in_question) {
                            Failing failing(call, n, all_after);
                            const bool done = in_question();
                            reached |= failing.happened();
                            family.add_drift(failing.drift());
                            return done;
                        },
                        step.is_silent(call));
                    EXPECT_TRUE(reached);
                    if (::testing::Test::HasFailure())
                        return failures;
                }
    }
    return failures;
}

} // namespace q32::test
