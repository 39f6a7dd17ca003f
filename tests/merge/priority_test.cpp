// The thread's priority: raised for the work, given back as it was, whatever it was and however the
// call ends. One failure leaves it raised.
#include "tests/frame/priority.h"
#include "tests/merge/rectangle_fixture.h"

#include <functional>

namespace q32::test {
namespace {

using frame::PriorityWatch;
using frame::thread_priority;
using frame::TouchedBytes;

constexpr int raised = THREAD_PRIORITY_ABOVE_NORMAL;
constexpr int pixels = 20;

class MergePriority : public MergeTest, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        original_ = thread_priority();
        ::SetThreadPriority(GetCurrentThread(), GetParam());
        ASSERT_EQ(thread_priority(), GetParam());
    }
    void TearDown() override {
        EXPECT_EQ(thread_priority(), GetParam());
        ::SetThreadPriority(GetCurrentThread(), original_);
        MergeTest::TearDown();
    }

    int run(int mode, int bytes = 3, int transparency = 0, bool masked = true,
            bool over_itself = false, int count = pixels) {
        return api().i32Merge(result_.data(), base_.data(), masked ? mask_.data() : nullptr,
                              over_itself ? result_.data() : overlay_.data(), bytes, count,
                              unsigned(mode), transparency);
    }
    int ex(int mode, int bytes = 3, int transparency = 0, bool masked = true,
           const RECT &mask_rectangle = {0, 0, pixels, 1},
           const RECT &overlay_rectangle = {0, 0, pixels, 1}) {
        return api().i32MergeEx(result_.data(), pixels, 1, masked ? mask_.data() : nullptr,
                                &mask_rectangle, overlay_.data(), &overlay_rectangle, bytes, mode,
                                transparency);
    }
    int ram_to_ram(int mode, int bytes = 3, int transparency = 0, bool masked = true, int x = 0,
                   const RECT &rectangle = {0, 0, pixels, 1}) {
        return api().i32MergeRamToRam(result_.data(), pixels, 1, bytes, x, 0, overlay_.data(),
                                      masked ? mask_.data() : nullptr, pixels, 1, rectangle, mode,
                                      transparency);
    }

    // The call sets the priority to these, one after the other, and leaves it at the last.
    template <typename Call>
    void expect_set(const std::vector<int> &expected, bool succeeds, const Call &call) {
        const PriorityWatch watch;
        EXPECT_EQ(call() != 0, succeeds);
        EXPECT_EQ(watch.set(), expected);
        EXPECT_EQ(thread_priority(), expected.empty() ? GetParam() : expected.back());
        frame::forget_reports();
    }
    const std::vector<int> raised_and_back{raised, GetParam()}, never{};

    Random random_{test_seed(), 0};
    RunPixels bytes_ = some_pixels(random_, pixels, 8);
    Block result_{bytes_.result}, base_{bytes_.base}, mask_{bytes_.mask}, overlay_{bytes_.overlay};

private:
    int original_ = 0;
};

TEST_P(MergePriority, OfRunsIsRaisedAndGivenBack) {
    for (const int mode : all_modes)
        for (const int bytes : usual_sizes)
            for (const bool masked : {true, false})
                for (const bool over_itself : {true, false}) {
                    SCOPED_TRACE(mode);
                    const bool succeeds = !(is_of_colour(mode) && bytes == 1);
                    if (mode == MERGE_RELIEF && !masked)
                        continue;
                    expect_set(raised_and_back, succeeds,
                               [&] { return run(mode, bytes, 30, masked, over_itself); });
                }
    for (const int mode : {0, 17, -1})
        expect_set(raised_and_back, false, [&] { return run(mode); });
}

TEST_P(MergePriority, OfRunsWithNothingToDoStays) {
    for (const int mode : {0, 1, 2, 6, 8, 16, 17}) {
        for (const bool masked : {true, false})
            for (const int transparency : {100, 101, INT_MAX}) {
                expect_set(never, true, [&] { return run(mode, 3, transparency, masked); });
                expect_set(never, true, [&] { return run(mode, 3, transparency, masked, true); });
            }
        for (const int transparency : {0, 100}) {
            expect_set(never, false, [&] { return run(mode, 0, transparency); });
            expect_set(never, false, [&] { return run(mode, 3, transparency, true, false, 0); });
            expect_set(never, false, [&] { return run(mode, 3, transparency, true, false, -1); });
        }
        expect_set(never, false, [&] { return run(mode, 9, 0, true, false, 1); });
    }
}

TEST_P(MergePriority, OfRectanglesIsRaisedAndGivenBack) {
    for (int mode = 0; mode <= 17; ++mode)
        for (const int bytes : usual_sizes)
            for (const bool masked : {true, false})
                for (const int transparency : {-5, 30, 100, 250}) {
                    SCOPED_TRACE(mode);
                    const bool succeeds = model::rectangles_have({mode, bytes, 0, false});
                    expect_set(raised_and_back, succeeds,
                               [&] { return ex(mode, bytes, transparency, masked); });
                    expect_set(raised_and_back, succeeds,
                               [&] { return ram_to_ram(mode, bytes, transparency, masked); });
                }
}

TEST_P(MergePriority, OfRectanglesThatDoNotMeetStays) {
    const RECT all{0, 0, pixels, 1}, beside{pixels, 0, 2 * pixels, 1};
    for (const int mode : {0, 1, 2, 16}) {
        expect_set(never, false, [&] { return ex(mode, 3, 0, true, beside, all); });
        expect_set(never, false, [&] { return ex(mode, 3, 0, true, all, beside); });
        expect_set(never, false, [&] { return ram_to_ram(mode, 3, 0, true, pixels); });
        expect_set(never, false, [&] { return ram_to_ram(mode, 3, 0, true, 0, beside); });
        for (const int bytes : {0, -1, 9}) {
            expect_set(never, false, [&] { return ex(mode, bytes); });
            expect_set(never, false, [&] { return ram_to_ram(mode, bytes); });
        }
    }
}

// --- memory that cannot be had ---------------------------------------------------------------

// The mask that stands in for a missing one in a run: the only failure that leaves it raised.
TEST_P(MergePriority, StaysRaisedWithoutSubstituteMask) {
    for (const char *function : {"GlobalAlloc", "GlobalLock"})
        for (const int mode : {MERGE_LIGHTEN, MERGE_DARKEN})
            for (const int bytes : usual_sizes)
                for (const bool over_itself : {true, false}) {
                    const FailingCall failing(function);
                    expect_set({raised}, false,
                               [&] { return run(mode, bytes, 30, false, over_itself); });
                    EXPECT_TRUE(failing.happened());
                    ::SetThreadPriority(GetCurrentThread(), GetParam());
                }
}

TEST_P(MergePriority, IsGivenBackWithoutAnyOtherBlock) {
    for (const int mode : all_modes) {
        SCOPED_TRACE(mode);
        const int blocks = is_of_colour(mode) ? 3 : 1;
        for (int n = 1; n <= blocks; ++n) {
            const FailingCall failing("GlobalAlloc", n);
            expect_set(raised_and_back, false, [&] { return run(mode, 3, 30, true, true); });
            EXPECT_TRUE(failing.happened());
        }
    }
    for (const int mode : {MERGE_LIGHTEN, MERGE_DARKEN}) {
        const FailingCall copy("GlobalAlloc", 2);
        expect_set(raised_and_back, false, [&] { return run(mode, 3, 30, false, true); });
        EXPECT_TRUE(copy.happened());
    }
}

// That of a rectangle is made before.
TEST_P(MergePriority, OfRectanglesStaysWithoutSubstituteMask) {
    for (const int mode : {0, 1, 4, 5, 6, 7, 8, 9, 15, 16}) {
        const FailingCall failing("GlobalAlloc");
        expect_set(never, false, [&] { return ex(mode, 3, 0, false); });
        EXPECT_TRUE(failing.happened());
        const FailingCall also("GlobalAlloc");
        expect_set(never, false, [&] { return ram_to_ram(mode, 3, 0, false); });
        EXPECT_TRUE(also.happened());
    }
}

TEST_P(MergePriority, OfRectanglesIsGivenBackWithoutWorkRows) {
    for (const int mode : {2, 3, 4, 5})
        for (int n = 1; n <= 3; ++n) {
            const FailingCall failing("GlobalAlloc", n);
            expect_set(raised_and_back, false, [&] { return ex(mode); });
            EXPECT_TRUE(failing.happened());
            const FailingCall also("GlobalAlloc", n);
            expect_set(raised_and_back, false, [&] { return ram_to_ram(mode); });
            EXPECT_TRUE(also.happened());
        }
}

// --- what happens at which priority ----------------------------------------------------------

TEST_P(MergePriority, AtWhichMemoryIsTaken) {
    std::vector<int> seen;
    const Replaced<frame::call::GlobalAlloc> watch([&](UINT flags, SIZE_T size) {
        seen.push_back(thread_priority());
        return GlobalAlloc(flags, size);
    });
    const auto taken = [&](int result) {
        EXPECT_EQ(result, 1);
        return std::exchange(seen, {});
    };
    EXPECT_EQ(taken(run(MERGE_NORMAL, 3, 0, true, true)), std::vector<int>{raised});
    EXPECT_EQ(taken(run(MERGE_COLOR)), (std::vector<int>{raised, raised, raised}));
    EXPECT_EQ(taken(run(MERGE_LIGHTEN, 3, 0, false, true)), (std::vector<int>{raised, raised}));
    EXPECT_EQ(taken(run(MERGE_RELIEF, 3, 0, true, true)), std::vector<int>{raised});
    EXPECT_EQ(taken(ex(MERGE_NORMAL, 3, 0, false)), std::vector<int>{GetParam()});
    EXPECT_EQ(taken(ex(MERGE_VALUE, 3, 0, false)),
              (std::vector<int>{GetParam(), raised, raised, raised}));
    EXPECT_EQ(taken(ram_to_ram(MERGE_HUE, 3, 0, false)),
              (std::vector<int>{raised, raised, raised}));
}

// The mask that stood in for a missing one goes last, after the priority.
TEST_P(MergePriority, AtWhichMemoryIsGivenBack) {
    std::vector<int> seen;
    const Replaced<frame::call::GlobalFree> watch([&](HGLOBAL block) {
        seen.push_back(thread_priority());
        return GlobalFree(block);
    });
    const auto given_back = [&](int result) {
        EXPECT_EQ(result, 1);
        return std::exchange(seen, {});
    };
    EXPECT_EQ(given_back(run(MERGE_NORMAL, 3, 0, true, true)), std::vector<int>{raised});
    EXPECT_EQ(given_back(run(MERGE_COLOR)), (std::vector<int>{raised, raised, raised}));
    EXPECT_EQ(given_back(run(MERGE_DARKEN, 3, 0, false)), std::vector<int>{GetParam()});
    EXPECT_EQ(given_back(run(MERGE_LIGHTEN, 3, 0, false, true)),
              (std::vector<int>{raised, GetParam()}));
    EXPECT_EQ(given_back(ex(MERGE_NORMAL, 3, 0, false)), std::vector<int>{GetParam()});
    EXPECT_EQ(given_back(ram_to_ram(MERGE_VALUE, 3, 0, false)),
              (std::vector<int>{raised, raised, raised, GetParam()}));
}

TEST_P(MergePriority, IsRaisedWhileBytesAreMerged) {
    TouchedBytes bytes;
    const auto expect_touched = [&](int result) {
        EXPECT_EQ(result, 1);
        EXPECT_EQ(bytes.touched(), raised);
        bytes.rearm();
    };
    const RECT row{0, 0, pixels, 1};
    for (const int mode : all_modes) {
        SCOPED_TRACE(mode);
        expect_touched(api().i32Merge(bytes.data(), base_.data(), mask_.data(), overlay_.data(), 3,
                                      pixels, unsigned(mode), 30));
        expect_touched(api().i32Merge(result_.data(), base_.data(), mask_.data(), bytes.data(), 3,
                                      pixels, unsigned(mode), 30));
        if (mode != MERGE_RELIEF)
            expect_touched(api().i32Merge(result_.data(), bytes.data(), mask_.data(),
                                          overlay_.data(), 3, pixels, unsigned(mode), 30));
        if (mode == 16)
            break;
        expect_touched(api().i32MergeEx(bytes.data(), pixels, 1, mask_.data(), &row,
                                        overlay_.data(), &row, 3, mode, 30));
        expect_touched(api().i32MergeRamToRam(result_.data(), pixels, 1, 3, 0, 0, bytes.data(),
                                              mask_.data(), pixels, 1, row, mode, 30));
    }
}

// A system that does not say or set the priority does not stop the work.
TEST_P(MergePriority, ThatCannotBeHadChangesNothingElse) {
    RunStage runs;
    RectangleStage rectangles;
    for (const char *function : {"GetThreadPriority", "SetThreadPriority"})
        for (const int mode : all_modes) {
            const FailingCall failing(function, 1, FailingCall::from_there_on);
            EXPECT_TRUE(runs.agrees({{mode, 3, 30, mmx()}, pixels, true}, bytes_));
            EXPECT_TRUE(rectangles.agrees(
                RectangleCase{{mode, 3, 30, mmx()}, 9, 4, true, {0, 0, 9, 4}, {0, 0, 9, 4}},
                random_));
            EXPECT_TRUE(failing.happened());
            EXPECT_EQ(thread_priority(), GetParam());
        }
}

INSTANTIATE_TEST_SUITE_P(Of, MergePriority,
                         testing::Values(THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_BELOW_NORMAL,
                                         THREAD_PRIORITY_LOWEST, THREAD_PRIORITY_IDLE,
                                         THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST,
                                         THREAD_PRIORITY_TIME_CRITICAL));

} // namespace
} // namespace q32::test
