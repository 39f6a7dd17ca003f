// The callback of all jobs, and what is to be expected of the messages it gets.
#include "tests/queues/dispatch_fixture.h"

namespace q32::test {

std::string text_of(const RECT &rectangle) {
    return std::to_string(rectangle.left) + ' ' + std::to_string(rectangle.top) + ' ' +
           std::to_string(rectangle.right) + ' ' + std::to_string(rectangle.bottom);
}

DispatchTest *DispatchTest::running = nullptr;

void DispatchTest::SetUp() {
    LibraryTest::SetUp();
    running = this;
    start();
}

void DispatchTest::TearDown() {
    LibraryTest::TearDown();
    running = nullptr;
}

// --- calls -------------------------------------------------------------------------------------

int DispatchTest::add(const Job &job, Replace replacing, intptr_t value1, intptr_t value2) {
    jobs_.push_back(job);
    DispatchDesc description{12345, receive, intptr_t(999 + jobs_.size()), job.first, job.last};
    RECT rectangle = job.rectangle;
    const int result = api().d32AddQueue(job.owner, &rectangle, replacing == replace ? 1 : 0,
                                         value1, value2, job.mode, &description);
    EXPECT_EQ(description.value, 12345);
    EXPECT_EQ(description.first, job.first);
    EXPECT_EQ(description.last, job.last);
    EXPECT_EQ(text_of(rectangle), text_of(job.rectangle));
    // The library has copied both.
    description = {};
    rectangle = {-77, -77, -77, -77};
    return result;
}

Lines DispatchTest::current_rectangles() {
    HGLOBAL block = nullptr;
    const uint32_t owner = api().d32GetCurQueue(&block);
    EXPECT_EQ(owner, current());
    if (block == nullptr)
        return {};
    EXPECT_NE(owner, 0u);
    // Of fixed memory the handle is the address.
    const auto *const rects = static_cast<const DispatchRects *>(block);
    EXPECT_EQ(::GlobalFlags(block), 0u);
    EXPECT_GE(::GlobalSize(block), SIZE_T(4 + 16 * rects->count));
    Lines lines;
    for (int i = 0; i < rects->count; ++i)
        lines.push_back(text_of(rects->rectangles[i]));
    frame::forget_block(block);
    EXPECT_EQ(::GlobalFree(block), nullptr);
    return lines;
}

// --- callbacks ---------------------------------------------------------------------------------

int Q32_CALL DispatchTest::receive(int message, uint32_t owner, intptr_t parameter,
                                   intptr_t user_data) {
    const auto place = std::size_t(user_data - 1000);
    if (running == nullptr || place >= running->jobs_.size()) {
        ADD_FAILURE() << "user data " << user_data;
        return 0;
    }
    const Job job = running->jobs_[place];
    EXPECT_EQ(owner, job.owner);
    EXPECT_TRUE(message == 16 || message == 32 || message == 64) << message;
    const std::string name = message == 16 ? " begins " : message == 32 ? " steps " : " ends ";
    const bool number = message == 32 && job.mode == D32_STEPS;
    Message received{message, owner, {}, number ? int(parameter) : 0, {}};
    const auto *const rectangle = number ? nullptr : reinterpret_cast<const RECT *>(parameter);
    if (rectangle != nullptr)
        received.rectangle = *rectangle;
    received.text = std::to_string(owner) + name +
                    (number ? std::to_string(received.step) : text_of(received.rectangle));
    running->log_.push_back(received.text);

    int reply = 1;
    if (const auto once = running->once_.find(received.text); once != running->once_.end()) {
        const auto action = std::move(once->second);
        running->once_.erase(once);
        reply = action();
    } else if (running->reply_) {
        reply = running->reply_(received);
    }
    // Whatever was called meanwhile, the rectangle is good until now.
    if (rectangle != nullptr) {
        EXPECT_EQ(text_of(*rectangle), text_of(received.rectangle)) << received.text;
    }
    return reply;
}

// --- the log -------------------------------------------------------------------------------------

void DispatchTest::expect_step(int result, const Lines &messages) {
    take_log();
    EXPECT_EQ(dispatch(), result);
    EXPECT_EQ(take_log(), messages);
}

void DispatchTest::expect_rest(const Lines &messages) {
    for (int i = 0; dispatch() != 0; ++i)
        if (i == 10000) {
            ADD_FAILURE() << "without end";
            break;
        }
    EXPECT_EQ(take_log(), messages);
    expect_idle();
}

void DispatchTest::expect_idle() {
    const Lines before = take_log();
    EXPECT_EQ(current(), 0u);
    EXPECT_EQ(dispatch(), 0);
    EXPECT_EQ(take_log(), Lines{});
    log_ = before;
}

} // namespace q32::test
