// Resampling of buffers on two threads at once: the second waits for the first to be done, but not
// for what the first does around its own first and last messages.
#include "tests/resample_buffers/resample_fixture.h"

#include <atomic>
#include <thread>

namespace q32::test {
namespace {

class ResampleThreads : public ResampleTest {};

constexpr DWORD long_enough = 20000; // ms; to wait for what must come
constexpr DWORD a_while = 60;        // ms; to see that something does not come

class Event {
public:
    Event() : event_(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() { CloseHandle(event_); }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;
    void set() { SetEvent(event_); }
    bool comes(DWORD milliseconds = long_enough) const {
        return WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
    }

private:
    HANDLE event_;
};

// Buffers are made and freed by the main thread: their list has no lock.
struct Job {
    Path path;
    Side source, given;

    Job(Path path_in, Random &random)
        : path(path_in), source(bits_of(path), 40, 30, random),
          given(bits_of(path), 140, 35, random) {}

    int work(const RESAMPLEPROGRESS *progress = nullptr) const {
        return resample_into(given, manner_of(path), source, progress);
    }
    void expect_done() {
        model::resample(path, source.picture, given.picture, given.cells());
        given.expect_picture();
        EXPECT_EQ(source.locks(), 0u);
        EXPECT_EQ(given.locks(), 0u);
    }
};

class TwoAtOnce : public ResampleTest,
                  public testing::WithParamInterface<std::tuple<Path, Path>> {};

TEST_P(TwoAtOnce, TheSecondWaits) {
    const auto [first_path, second_path] = GetParam();
    Random random(test_seed(), 1);
    Job first(first_path, random), second(second_path, random);
    Event second_began, second_worked, second_done;
    Listener second_listener(0, 100);
    second_listener.also = [&](const Message &message) {
        (message.message == RESAMPLE_BEGIN ? second_began : second_worked).set();
    };
    std::thread other;
    int other_result = 0, other_priority = THREAD_PRIORITY_ERROR_RETURN;
    DWORD other_id = 0;
    Listener listener(0, 100);
    listener.also = [&](const Message &message) {
        if (message.message != RESAMPLE_PROGRESS || other.joinable())
            return;
        // In the middle of the work.
        other = std::thread([&] {
            other_id = GetCurrentThreadId();
            other_result = second.work(second_listener);
            second_done.set();
        });
        EXPECT_TRUE(second_began.comes());
        EXPECT_FALSE(second_worked.comes(a_while));
        EXPECT_FALSE(second_done.comes(0));
        EXPECT_EQ(second.given.mode(), Side::no_mode); // not even locked
        const HANDLE thread = OpenThread(THREAD_QUERY_INFORMATION, FALSE, other_id);
        other_priority = GetThreadPriority(thread);
        CloseHandle(thread);
    };
    EXPECT_SUCCESS(first.work(listener));
    ASSERT_TRUE(other.joinable());
    EXPECT_TRUE(second_done.comes());
    other.join();
    EXPECT_EQ(other_result, 1);
    EXPECT_EQ(other_priority, THREAD_PRIORITY_NORMAL); // nor raised
    first.expect_done();
    second.expect_done();
    EXPECT_EQ(second_listener.heard(), model::messages(second_path, second.given.cells(), 0, 100));
}

INSTANTIATE_TEST_SUITE_P(Paths, TwoAtOnce,
                         testing::Combine(testing::ValuesIn(all_paths),
                                          testing::Values(Path::bits, Path::bilinear_rows,
                                                          Path::nearest_cells,
                                                          Path::bicubic_cells)));

// Begin and end are told outside the library's lock: another call can come and go meanwhile.
TEST_F(ResampleThreads, BeginAndEndAreOutsideTheLock) {
    Random random(test_seed(), 2);
    for (Path path : all_paths)
        for (int when : {RESAMPLE_BEGIN, RESAMPLE_END})
            for (bool fails : {false, true}) {
                SCOPED_TRACE(std::string(name_of(path)) + ", message " + std::to_string(when) +
                             (fails ? ", failing" : ""));
                Job first(path, random), second(Path::bilinear_cells, random);
                int other_result = 0;
                Listener listener(0, 100);
                listener.refuses = fails ? (when == RESAMPLE_BEGIN ? 1 : 2) : 0;
                listener.also = [&](const Message &message) {
                    if (message.message != when)
                        return;
                    Event done;
                    std::thread other([&] {
                        other_result = second.work();
                        done.set();
                    });
                    EXPECT_TRUE(done.comes());
                    other.join();
                };
                EXPECT_EQ(first.work(listener), !fails);
                forget_reports();
                EXPECT_EQ(other_result, 1);
                second.expect_done();
                if (!fails)
                    first.expect_done();
            }
}

// A callback may resample, too: the lock is the thread's own.
TEST_F(ResampleThreads, OneCallInAnother) {
    Random random(test_seed(), 3);
    for (Path outer_path : all_paths)
        for (Path inner_path : all_paths) {
            SCOPED_TRACE(std::string(name_of(inner_path)) + " in " + name_of(outer_path));
            Job outer(outer_path, random);
            Listener listener(0, 5);
            listener.also = [&](const Message &) {
                Job inner(inner_path, random);
                EXPECT_EQ(inner.work(), 1);
                inner.expect_done();
            };
            EXPECT_SUCCESS(outer.work(listener));
            outer.expect_done();
            if (HasFailure())
                return;
        }
}

// Many at once, each with its own buffers.
TEST_F(ResampleThreads, DoNotDisturbEachOther) {
    Random random(test_seed(), 4);
    std::vector<std::unique_ptr<Job>> jobs;
    for (int i = 0; i < 6; ++i)
        for (Path path : all_paths)
            jobs.push_back(std::make_unique<Job>(path, random));
    std::atomic<size_t> next{0};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back(
            [&, priority = i % 2 == 0 ? THREAD_PRIORITY_NORMAL : THREAD_PRIORITY_LOWEST] {
                SetThreadPriority(GetCurrentThread(), priority);
                for (size_t job = next++; job < jobs.size(); job = next++) {
                    failures += jobs[job]->work() != 1;
                    failures += GetThreadPriority(GetCurrentThread()) != priority;
                }
            });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    for (const auto &job : jobs)
        job->expect_done();
    expect_no_report();
}

} // namespace
} // namespace q32::test
