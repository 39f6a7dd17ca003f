// The thread's priority: above normal while cells are worked, its own in rows and around all
// messages of begin and end, and given back however the call ends.
#include "tests/frame/priority.h"
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

using frame::PriorityWatch;
using frame::thread_priority;

class ResamplePriority : public ResampleTest, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        ResampleTest::SetUp();
        original_ = thread_priority();
        ::SetThreadPriority(GetCurrentThread(), GetParam());
        ASSERT_EQ(thread_priority(), GetParam());
    }
    void TearDown() override {
        EXPECT_EQ(thread_priority(), GetParam());
        ::SetThreadPriority(GetCurrentThread(), original_);
        ResampleTest::TearDown();
    }

    // What a path sets the priority to, from beginning to end.
    std::vector<int> set_by(Path path) const {
        return is_of_cells(path) ? std::vector<int>{THREAD_PRIORITY_ABOVE_NORMAL, GetParam()}
                                 : std::vector<int>{};
    }

private:
    int original_ = 0;
};

TEST_P(ResamplePriority, IsRaisedOnceForAllCells) {
    Random random(test_seed(), 1);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear, Sort::duplicate}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort));
            const Side source(Sort::tiled, bits_of(path), 150, 140, random);
            const Side given(sort, bits_of(path), 140, 150, random);
            const PriorityWatch watch;
            EXPECT_SUCCESS(resample_into(given, manner_of(path), source));
            EXPECT_EQ(watch.set(), set_by(path));
        }
}

TEST_P(ResamplePriority, AtWhichMessagesAreHeard) {
    Random random(test_seed(), 2);
    for (Path path : all_paths)
        for (int refuses : {0, 1, 2, 3}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", refusing " + std::to_string(refuses));
            const Side source(bits_of(path), 150, 140, random);
            const PriorityWatch watch;
            Listener listener(0, 100);
            listener.refuses = refuses;
            listener.also = [&](const Message &message) {
                const bool raised = is_of_cells(path) && message.message == RESAMPLE_PROGRESS;
                EXPECT_EQ(thread_priority(), raised ? THREAD_PRIORITY_ABOVE_NORMAL : GetParam())
                    << message.message;
            };
            HBUF32 handle = 0;
            EXPECT_EQ(resample(manner_of(path), 140, 150, source, &handle, listener), refuses == 0);
            forget_reports();
            const Buffer made(handle);
            EXPECT_EQ(watch.set(), refuses == 1 ? std::vector<int>{} : set_by(path));
        }
}

TEST_P(ResamplePriority, IsGivenBackByFailures) {
    Random random(test_seed(), 3);
    for (Path path : all_paths)
        for (int n = 1; n <= 6; ++n) {
            SCOPED_TRACE(std::string(name_of(path)) + ", block " + std::to_string(n));
            const Side source(bits_of(path), 15, 14, random), given(bits_of(path), 14, 15, random);
            const FailingCall failing("GlobalAlloc", n, FailingCall::from_there_on);
            const bool reached = path != Path::nearest_cells || n <= 4;
            EXPECT_EQ(resample_into(given, manner_of(path), source), !reached);
            forget_reports();
            EXPECT_EQ(thread_priority(), GetParam());
        }
    const Side deep(32, 15, 14, random);
    for (int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC}) {
        HBUF32 handle = 0;
        EXPECT_EQ(resample({true, 0, method}, 5, 6, deep, &handle), 0);
        forget_reports();
        EXPECT_EQ(thread_priority(), GetParam());
    }
}

// A system that does not say or set the priority does not stop the work.
TEST_P(ResamplePriority, ThatCannotBeHadChangesNothingElse) {
    Random random(test_seed(), 4);
    for (const char *function : {"GetThreadPriority", "SetThreadPriority"})
        for (Path path : all_paths) {
            const FailingCall failing(function, 1, FailingCall::from_there_on);
            const Side source(bits_of(path), 150, 14, random);
            Side given(bits_of(path), 140, 15, random);
            check_given(manner_of(path), given, source);
            EXPECT_EQ(thread_priority(), GetParam());
            EXPECT_EQ(failing.happened(), is_of_cells(path));
        }
}

INSTANTIATE_TEST_SUITE_P(Of, ResamplePriority,
                         testing::Values(THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_LOWEST,
                                         THREAD_PRIORITY_IDLE, THREAD_PRIORITY_ABOVE_NORMAL,
                                         THREAD_PRIORITY_TIME_CRITICAL));

} // namespace
} // namespace q32::test
