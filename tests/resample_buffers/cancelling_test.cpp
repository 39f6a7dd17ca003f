// Work that somebody else wants to end: another thread says so at any moment, and the callback
// hands it on at its next message. How long that takes is measured and not judged.
#include "tests/resample_buffers/resample_fixture.h"

#include "tests/frame/figures.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace q32::test {
namespace {

using Clock = std::chrono::steady_clock;

class ResampleCancelling : public ResampleTest {
protected:
    // Doubles a large buffer and is asked to stop so long after the first message; the time from
    // then to the return, or nothing when the work was done before.
    static Clock::duration cancelled_after(Path path, std::chrono::microseconds pause) {
        constexpr int width = 2000, height = 1500;
        const Buffer source(bits_of(path), width, height);
        std::atomic<bool> begun = false, asked = false;
        Clock::time_point asked_at;
        std::thread somebody([&] {
            begun.wait(false);
            std::this_thread::sleep_for(pause);
            asked_at = Clock::now();
            asked = true;
        });
        Listener listener(0, 2 * height);
        listener.also = [&](const Message &message) {
            if (message.message == RESAMPLE_PROGRESS && asked)
                listener.consent = 0;
            begun = true;
            begun.notify_one();
        };
        HBUF32 handle = 0;
        const int result =
            resample(manner_of(path), 2 * width, 2 * height, source, &handle, listener);
        const Clock::time_point returned_at = Clock::now();
        begun = true; // also where there was no message
        begun.notify_one();
        somebody.join();
        const bool cancelled = listener.consent == 0;
        EXPECT_EQ(result, cancelled ? 0 : 1);
        EXPECT_EQ(handle == 0, cancelled);
        if (handle != 0)
            api().buf32Free(handle);
        frame::forget_reports();
        return cancelled ? returned_at - asked_at : Clock::duration::zero();
    }
};

TEST_F(ResampleCancelling, AtAnyMoment) {
    Clock::duration longest{};
    Random random(test_seed(), 31);
    for (const Path path : all_paths)
        for (int moment = 0; moment < 4; ++moment) {
            SCOPED_TRACE(name_of(path));
            const std::chrono::microseconds pause(random.below(10000));
            longest = std::max(longest, cancelled_after(path, pause));
        }
    figures::value("time from cancel to return",
                   std::chrono::duration<double, std::milli>(longest).count(), "ms");
}

} // namespace
} // namespace q32::test
