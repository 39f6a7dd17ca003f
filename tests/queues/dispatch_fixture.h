// A test of the dispatch queue: jobs, and the messages that their callbacks receive as lines of a
// log: "7 begins 0 0 128 128", "7 steps 3", "7 ends 0 0 300 200" (owner, and left, top, right and
// bottom of a rectangle or the number of a step).
#pragma once

#include "tests/library/library_fixture.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace q32::test {

std::string text_of(const RECT &rectangle); // left, top, right, bottom
using Lines = std::vector<std::string>;

// A job as d32AddQueue gets it, but for the callback and its user data.
struct Job {
    uint32_t owner;
    RECT rectangle;
    int mode;
    int first = 0, last = 0;
};
inline Job tiles(uint32_t owner, const RECT &rectangle, int width, int height) {
    return {owner, rectangle, D32_TILES, width, height};
}
inline Job bands(uint32_t owner, const RECT &rectangle, int height) {
    return {owner, rectangle, D32_BANDS, height, 0};
}
inline Job steps(uint32_t owner, int first, int last, const RECT &rectangle = {0, 0, 1, 1}) {
    return {owner, rectangle, D32_STEPS, first, last};
}

// One message to a callback.
struct Message {
    int message;
    uint32_t owner;
    RECT rectangle; // of D32_BEGIN, D32_END, tiles and bands
    int step;       // of steps
    std::string text;
};

class DispatchTest : public LibraryTest {
protected:
    enum Replace { keep, replace };

    void SetUp() override;
    void TearDown() override;

    // --- calls
    int add(const Job &job, Replace replacing = keep, intptr_t value1 = 11, intptr_t value2 = 12);
    int dispatch() { return api().d32DispatchQueue(); }
    uint32_t current() { return api().d32GetCurQueue(nullptr); }
    // The rectangles that d32GetCurQueue gives, as lines; its block is looked at and freed.
    Lines current_rectangles();

    // --- callbacks
    // What a callback does and returns; without one it returns 1.
    std::function<int(const Message &)> reply_;
    // The same for the message of this text alone, once.
    void when(const std::string &text, std::function<int()> reply) { once_[text] = reply; }

    // --- the log
    // The messages since the last look.
    Lines take_log() { return std::exchange(log_, {}); }
    // Makes one step: its result and these messages.
    void expect_step(int result, const Lines &messages);
    // Makes steps until nothing is left to do. Exactly these messages since the last look.
    void expect_rest(const Lines &messages);
    // No job is current and none is waiting.
    void expect_idle();

    Lines log_;

private:
    static int Q32_CALL receive(int message, uint32_t owner, intptr_t parameter,
                                intptr_t user_data);

    static DispatchTest *running;
    std::vector<Job> jobs_; // user data is 1000 + the place here
    std::map<std::string, std::function<int()>> once_;
};

} // namespace q32::test
