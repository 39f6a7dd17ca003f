// Every call by which memory and files are had fails in turn, alone or with all after it, on every
// path and for buffers of many sorts. Whatever fails, nothing is lost and nothing is left: the call
// works by another way, or it fails, a new buffer is gone, and the call works once the system does.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResampleFailureSweep : public ResampleTest {};

struct Scenario {
    Path path;
    Sort source, destination; // of a given one
    bool is_new = false;
    bool to_files = false;
};

// A commitment that fails leaves the memory in use counted: that much.
class Failing {
public:
    Failing(const std::string &function, int n, FailingCall::Extent extent) : n_(n) {
        all_after_ = extent == FailingCall::from_there_on;
        if (function == "VirtualAlloc")
            memory_.emplace([this](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
                return allocate(at, bytes, kind, protection);
            });
        else
            other_.emplace(function, n, extent);
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
    std::optional<Replaced<frame::call::VirtualAlloc>> memory_;
    std::optional<FailingCall> other_;
};

// One call with one failure; returns whether the failure was reached. Counts failed calls.
bool try_one(const Scenario &scenario, const char *function, int n, FailingCall::Extent extent,
             uint64_t &failures) {
    set_memory_limit(scenario.to_files, 0);
    Random random(test_seed(), 1);
    const int bits = bits_of(scenario.path);
    const Manner manner = manner_of(scenario.path);
    const Side source(scenario.source, bits, 150, 9, random);
    Side given(scenario.destination, bits, 140, 12, random);
    Picture expected(Geometry(140, 12, bits, BUF32_TILED));
    const Geometry cells = scenario.is_new ? expected.geometry : given.cells();
    model::resample(scenario.path, source.picture, expected, cells);
    const int live = api().buf32CountBuf(nullptr);
    const Census before = Census::now();
    const size_t memory = memory_in_use(), mapped = mapped_bytes();
    const LockBalance lock;
    HBUF32 handle = scenario.is_new ? 0 : HBUF32(given);
    bool reached;
    int result;
    uint32_t drift;
    forget_reports();
    {
        const Failing failing(function, n, extent);
        result = resample(manner, 140, 12, source, &handle);
        reached = failing.happened();
        drift = failing.drift();
    }
    const bool reported = !frame::reports().empty();
    forget_reports();
    EXPECT_TRUE(reached || result == 1) << "fails with nothing failing";
    EXPECT_TRUE(lock.balanced());
    EXPECT_EQ(source.locks(), 0u);
    EXPECT_EQ(given.locks(), 0u);
    source.expect_picture();
    if (result == 0) {
        ++failures;
        // Bits are staged one row after another, and that is not reported.
        EXPECT_TRUE(reported ||
                    (scenario.path == Path::bits && function == std::string("GlobalAlloc")));
        EXPECT_EQ(handle, scenario.is_new ? 0 : HBUF32(given));
        EXPECT_EQ(api().buf32CountBuf(nullptr), live);
        if (scenario.is_new) {
            EXPECT_EQ(Census::now(), before);
            EXPECT_EQ(memory_in_use(), memory + drift);
            EXPECT_EQ(mapped_bytes(), mapped);
        }
        EXPECT_SUCCESS(resample(manner, 140, 12, source, &handle));
    }
    EXPECT_NE(handle, 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), live + scenario.is_new);
    given.picture.image = scenario.is_new ? given.picture.image : expected.image;
    const Buffer made(scenario.is_new ? handle : 0);
    if (scenario.is_new && handle != 0)
        expect_rows(made, expected);
    given.expect_picture();
    return reached;
}

void sweep(const Scenario &scenario) {
    uint64_t failures = 0, number = 0;
    for (const char *function : acquiring_calls)
        for (auto extent : {FailingCall::only_there, FailingCall::from_there_on})
            for (int n = first_in_this_round(number++);; n += int(one_in_the_round())) {
                SCOPED_TRACE(std::string(name_of(scenario.path)) + ", " + name_of(scenario.source) +
                             " into " +
                             (scenario.is_new ? "a new one" : name_of(scenario.destination)) +
                             (scenario.to_files ? " (files)" : "") + ", call " + std::to_string(n) +
                             " of " + function + " failing");
                ASSERT_LT(n, 100);
                const bool reached = try_one(scenario, function, n, extent, failures);
                if (testing::Test::HasFailure())
                    return;
                if (!reached)
                    break;
            }
    EXPECT_GE(failures, least_of_the_round(8));
    set_memory_limit(0, 0);
    forget_memory_in_use();
}

class FailureSweepOf : public ResampleTest, public testing::WithParamInterface<Path> {};

TEST_P(FailureSweepOf, ANewBuffer) {
    sweep({GetParam(), Sort::tiled, Sort::tiled, true, false});
    sweep({GetParam(), Sort::duplicate, Sort::tiled, true, true});
}

TEST_P(FailureSweepOf, AGivenBuffer) {
    for (const Scenario &scenario :
         {Scenario{GetParam(), Sort::tiled, Sort::tiled},
          Scenario{GetParam(), Sort::one_colour, Sort::duplicate},
          Scenario{GetParam(), Sort::shared, Sort::one_colour},
          Scenario{GetParam(), Sort::bitmap, Sort::shared},
          Scenario{GetParam(), Sort::linear, Sort::pattern},
          Scenario{GetParam(), Sort::linear_duplicate, Sort::bitmap_duplicate},
          Scenario{GetParam(), Sort::one_colour, Sort::filled, false, true},
          Scenario{GetParam(), Sort::tiled, Sort::duplicate, false, true}}) {
        sweep(scenario);
        if (HasFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Paths, FailureSweepOf, testing::ValuesIn(all_paths));

} // namespace
} // namespace q32::test
