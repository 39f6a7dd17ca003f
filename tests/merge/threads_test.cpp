// Several threads that merge at once, each its own memory: every one gets its own pixels, and its
// own priority back.
#include "tests/merge/rectangle_fixture.h"

#include <thread>

namespace q32::test {
namespace {

class MergingThreads : public MergeTestWithMmxFlag {};
INSTANTIATE_TEST_SUITE_P(Mmx, MergingThreads, testing::Bool(), mmx_flag_name);

constexpr int width = 60, height = 40;
constexpr std::size_t size = 3 * width * height;

// Expectations are the main thread's: a worker only counts what went wrong.
class Worker {
public:
    Worker(std::uint64_t number, int priority, bool mmx) : priority_(priority) {
        Random random(test_seed(), number);
        base_ = some_bytes(random, size);
        overlay_ = pixels_near(random, base_, 3);
        mask_ = some_mask(random, width * height);
        for (const int mode : all_modes) {
            const model::Call call{mode, 3, int(number * 7 % 40), mmx};
            calls_.push_back(call);
            Bytes run = base_;
            model::merge_run(run.data(), call, base_.data(), mask_.data(), overlay_.data(),
                             width * height);
            runs_.push_back(run);
            Bytes image = base_;
            model::merge_rectangles(image.data(), width, height, mask_.data(), box_of(whole),
                                    overlay_.data(), box_of(whole), call);
            rectangles_.push_back(image);
        }
    }

    void work() {
        SetThreadPriority(GetCurrentThread(), priority_);
        for (int round = 0; round < 40; ++round)
            for (std::size_t i = 0; i < calls_.size(); ++i) {
                merge(i);
                failures_ += GetThreadPriority(GetCurrentThread()) != priority_;
            }
    }

    int failures() const { return failures_; }

private:
    static constexpr RECT whole{0, 0, width, height};

    void merge(std::size_t i) {
        const model::Call &call = calls_[i];
        // The overlay is the result: the call takes a block of its own.
        Bytes result = overlay_;
        if (call.mode == MERGE_RELIEF)
            result = base_;
        const Bytes &over = call.mode == MERGE_RELIEF ? overlay_ : result;
        const int done = api().i32Merge(result.data(), base_.data(), mask_.data(), over.data(), 3,
                                        width * height, unsigned(call.mode), call.transparency);
        failures_ += done != 1 || result != runs_[i];
        if (!model::rectangles_have(call))
            return;
        Bytes image = base_;
        const int merged =
            api().i32MergeEx(image.data(), width, height, mask_.data(), &whole, overlay_.data(),
                             &whole, 3, call.mode, call.transparency);
        failures_ += merged != 1 || image != rectangles_[i];
        image = base_;
        const int placed = api().i32MergeRamToRam(image.data(), width, height, 3, 0, 0,
                                                  overlay_.data(), mask_.data(), width, height,
                                                  whole, call.mode, call.transparency);
        failures_ += placed != 1 || image != rectangles_[i];
    }

    int priority_;
    Bytes base_, overlay_, mask_;
    std::vector<model::Call> calls_;
    std::vector<Bytes> runs_, rectangles_;
    int failures_ = 0;
};

TEST_P(MergingThreads, DoNotDisturbEachOther) {
    constexpr int priorities[] = {THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_LOWEST,
                                  THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_BELOW_NORMAL};
    std::vector<Worker> workers;
    for (std::uint64_t number = 0; number < 8; ++number)
        workers.emplace_back(number, priorities[number % std::size(priorities)], mmx());
    std::vector<std::thread> threads;
    for (Worker &worker : workers)
        threads.emplace_back([&worker] { worker.work(); });
    for (std::thread &thread : threads)
        thread.join();
    for (const Worker &worker : workers)
        EXPECT_EQ(worker.failures(), 0);
    EXPECT_EQ(frame::reports(), std::vector<frame::Failure>{});
}

} // namespace
} // namespace q32::test
