// Callbacks are callables; what they throw does not cross the library and is thrown again behind
// it.
#include "tests/cpp_interface/cpp_fixture.h"

#include "tests/frame/calls.h"

#include <memory>
#include <stdexcept>

namespace q32::test {
namespace {

using Callbacks = CppTest;

// --- progress ---------------------------------------------------------------------------------

TEST_F(Callbacks, ProgressIsToldFromBeginToEnd) {
    const Buffer image = Buffer::allocate(24, 300, 200);
    std::vector<int> values;
    const Buffer scaled = image.resample(
        10, 3, RESAMPLE_NEAREST,
        [&](int message, int value) {
            values.push_back(1000 * message + value);
            return true;
        },
        {5, 35}, true);
    EXPECT_EQ(values, (std::vector<int>{1005, 2015, 2025, 4035}));
    EXPECT_EQ(scaled.size().width, 10);
}

TEST_F(Callbacks, RefusedProgressIsAnError) {
    const Buffer image = Buffer::allocate(24, 300, 200);
    const auto refuse = [](int, int) { return false; };
    expect_report(
        thrown_by([&] { static_cast<void>(image.resample(100, 100, RESAMPLE_BILINEAR, refuse)); }),
        "q32BufferResampleEx", {5808, 2, 8, 24});
    const Buffer target = Buffer::allocate(24, 10, 10);
    expect_report(image.resample_into<nothrow>(target, RESAMPLE_BILINEAR, refuse).error(),
                  "q32BufferResampleEx", {5808, 2, 8, 24});
    EXPECT_EQ(live_buffers(), 2);
}

TEST_F(Callbacks, ProgressThatThrowsEndsTheCall) {
    const Buffer image = Buffer::allocate(24, 300, 200);
    for (const int when : {RESAMPLE_BEGIN, RESAMPLE_PROGRESS, RESAMPLE_END}) {
        int calls = 0;
        const auto progress = [&](int message, int) {
            ++calls;
            return message == when ? throw std::runtime_error("enough") : true;
        };
        EXPECT_THROW(static_cast<void>(image.resample(100, 100, RESAMPLE_BICUBIC, progress)),
                     std::runtime_error);
        EXPECT_GT(calls, 0);
        EXPECT_THROW(
            static_cast<void>(image.resample<nothrow>(100, 100, RESAMPLE_BICUBIC, progress)),
            std::runtime_error);
        const Buffer target = Buffer::allocate(24, 10, 10);
        EXPECT_THROW(image.resample_into(target, RESAMPLE_NEAREST, progress), std::runtime_error);
    }
    EXPECT_EQ(live_buffers(), 1);
    EXPECT_EQ(locks_of(image), 0);
    frame::forget_reports();
}

TEST_F(Callbacks, ProgressMayBeAnyCallable) {
    const Buffer image = Buffer::allocate(8, 300, 200);
    struct Counter {
        int calls = 0;
        int operator()(int, int) { return ++calls; }
    } counter;
    static_cast<void>(image.resample(100, 100, RESAMPLE_NEAREST, counter));
    EXPECT_GT(counter.calls, 2);
    const Buffer target = Buffer::allocate(8, 10, 10);
    image.resample_into(target, RESAMPLE_NEAREST);
    image.resample_into(target, RESAMPLE_NEAREST, std::function<bool(int, int)>(counter));
}

// --- jobs -------------------------------------------------------------------------------------

TEST_F(Callbacks, JobIsSteppedThrough) {
    std::vector<std::string> seen;
    Jobs jobs = Jobs::of(7, [&](const JobMessage &message) {
        EXPECT_EQ(message.owner, 7u);
        const Rect area = message.area();
        seen.push_back(std::to_string(message.message) + " " + std::to_string(area.x) + " " +
                       std::to_string(area.y) + " " + std::to_string(area.width) + " " +
                       std::to_string(area.height));
        return true;
    });
    jobs.add({10, 20, 30, 40}, JobSteps::bands(25));
    EXPECT_TRUE(jobs.has_any());
    while (jobs.step()) {
    }
    EXPECT_FALSE(jobs.has_any());
    EXPECT_EQ(seen, (std::vector<std::string>{"16 0 0 30 25", "32 10 20 30 25", "32 10 45 30 15",
                                              "64 10 20 30 40"}));
}

TEST_F(Callbacks, StepsHaveNumbers) {
    std::vector<int> steps;
    Jobs jobs = Jobs::of(7, [&steps](const JobMessage &message) {
        if (message.message == D32_STEP)
            steps.push_back(message.step());
        return true;
    });
    jobs.add({0, 0, 1, 1}, JobSteps::steps(3, 5));
    EXPECT_TRUE(jobs.wait());
    EXPECT_FALSE(jobs.wait());
    EXPECT_EQ(steps, (std::vector<int>{3, 4, 5}));
}

TEST_F(Callbacks, MovedJobsGoOn) {
    auto steps = std::make_unique<int>(0);
    int &count = *steps;
    Jobs first = Jobs::of(7, [steps = std::move(steps)](const JobMessage &message) {
        *steps += message.message == D32_STEP;
        return true;
    });
    first.add({0, 0, 20, 10}, JobSteps::tiles(10, 10));
    Jobs second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(second.get(), 7u);
    second.wait();
    EXPECT_EQ(count, 2);
    swap(first, second);
    EXPECT_FALSE(second);
    second = std::move(first);
    EXPECT_TRUE(second);
}

TEST_F(Callbacks, JobsEndWithTheirOwner) {
    int ended = 0;
    {
        Jobs jobs = Jobs::of(7, [&](const JobMessage &message) {
            ended += message.message == D32_END;
            return true;
        });
        jobs.add({0, 0, 10, 10}, JobSteps::steps(1, 100));
        jobs.add({0, 0, 10, 10}, JobSteps::steps(1, 100));
        static_cast<void>(jobs.step());
    }
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(d32GetCurQueue(nullptr), 0u);
}

TEST_F(Callbacks, JobThatThrowsEndsAndItsExceptionComesFromTheStep) {
    int messages = 0;
    Jobs jobs = Jobs::of(7, [&](const JobMessage &message) {
        ++messages;
        return message.message == D32_STEP ? throw std::runtime_error("enough") : true;
    });
    jobs.add({0, 0, 10, 10}, JobSteps::steps(1, 100));
    EXPECT_THROW(static_cast<void>(jobs.step()), std::runtime_error);
    EXPECT_EQ(messages, 3); // with its end
    EXPECT_FALSE(jobs.has_any());
    EXPECT_FALSE(jobs.step()); // once is enough
}

TEST_F(Callbacks, ExceptionsOfAddAndWait) {
    Jobs jobs = Jobs::of(7, [&](const JobMessage &message) {
        return message.message == D32_STEP ? true : throw std::runtime_error("enough");
    });
    EXPECT_THROW(jobs.add({0, 0, 10, 10}, JobSteps::steps(1, 2)), std::runtime_error);
    EXPECT_THROW(static_cast<void>(jobs.add<nothrow>({0, 0, 1, 1}, JobSteps::steps(1, 2), true)),
                 std::runtime_error);
    EXPECT_THROW(static_cast<void>(jobs.wait()), std::runtime_error);
} // what the last D32_END throws is dropped with the jobs

TEST_F(Callbacks, RefusedJobs) {
    const auto nothing = [](const JobMessage &) { return true; };
    expect_unreported(thrown_by([&] { static_cast<void>(Jobs::of(0, nothing)); }), "q32::Jobs::of");
    Jobs jobs = Jobs::of(7, nothing);
    report_something_older();
    expect_unreported(jobs.add<nothrow>({0, 0, 0, 0}, JobSteps::tiles(1, 1)).error(),
                      "d32AddQueue");
    expect_unreported(thrown_by([&] { jobs.add({0, 0, 5, 5}, {3, 1, 1}); }), "d32AddQueue");
    Jobs none;
    expect_unreported(none.add<nothrow>({0, 0, 5, 5}, JobSteps::bands(1)).error(), "d32AddQueue");
}

TEST_F(Callbacks, CurrentJobTellsItsRectangles) {
    Jobs jobs = Jobs::of(7, [](const JobMessage &) { return true; });
    EXPECT_EQ(CurrentJob::now().owner(), 0u);
    EXPECT_TRUE(CurrentJob::now().rectangles().empty());
    jobs.add({1, 2, 3, 4}, JobSteps::bands(1));
    jobs.add({5, 6, 7, 8}, JobSteps::bands(1));
    const CurrentJob current = CurrentJob::now();
    frame::forget_block(current.get());
    EXPECT_EQ(current.owner(), 7u);
    ASSERT_EQ(current.rectangles().size(), 2u);
    EXPECT_EQ(Rect::from(current.rectangles()[0]), (Rect{1, 2, 3, 4}));
    EXPECT_EQ(Rect::from(current.rectangles()[1]), (Rect{5, 6, 7, 8}));
}

} // namespace
} // namespace q32::test
