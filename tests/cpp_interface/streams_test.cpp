// What pixels and messages go through: display runs, scaled streams, runs of pixels, the message
// queue.
#include "tests/cpp_interface/cpp_fixture.h"

#include "tests/frame/calls.h"
#include "tests/frame/canvas.h"

#include <cstring>

namespace q32::test {
namespace {

class Streams : public CppTest {
protected:
    void SetUp() override {
        CppTest::SetUp();
        disp32SetDevType(DISP32_TRUE_COLOUR);
    }
};

// --- display runs -----------------------------------------------------------------------------

TEST_F(Streams, RunDrawsWhatItHoldsWhenItEnds) {
    const unsigned char image[] = {10, 20, 30, 40, 50, 60}; // two pixels
    frame::Canvas canvas(4, 2);
    {
        const DisplayRun run = DisplayRun::open(canvas.dc(), 24, {1, 0, 2, 1});
        EXPECT_TRUE(run);
        run.show(image, 0, 0, 1, 6);
        EXPECT_EQ(canvas.contents()[3], frame::Canvas::untouched);
    }
    const std::vector<unsigned char> shown = canvas.contents();
    EXPECT_EQ(shown[2], frame::Canvas::untouched);
    EXPECT_EQ(std::vector(shown.begin() + 3, shown.begin() + 9),
              (std::vector<unsigned char>{30, 20, 10, 60, 50, 40}));
    EXPECT_EQ(shown[9], frame::Canvas::untouched);
}

TEST_F(Streams, RunEndsOnce) {
    frame::Canvas canvas(4, 4);
    const frame::Census before = frame::Census::now();
    DisplayRun first = DisplayRun::open_at(canvas.dc(), 8, {0, 0, 4, 4}, 1, 1);
    DisplayRun second = std::move(first);
    EXPECT_FALSE(first);
    const unsigned char row[4] = {};
    expect_unreported(first.show<nothrow>(row, 0, 0, 1, 4).error(), "disp32ShowData");
    second.set_attribute(DISP32_DIRECTION, -1);
    second.show(row, 0, 0, 1, 4);
    second.reset();
    EXPECT_FALSE(second);
    second.reset();
    EXPECT_EQ(frame::Census::now().global_blocks, before.global_blocks);
}

TEST_F(Streams, RunsThatCannotBeOpened) {
    frame::Canvas canvas(4, 4);
    report_something_older();
    expect_unreported(thrown_by([] {
                          static_cast<void>(DisplayRun::open(nullptr, 24, {0, 0, 1, 1}));
                      }),
                      "disp32ShowInit");
    report_something_older();
    expect_unreported(DisplayRun::open_at<nothrow>(canvas.dc(), 7, {0, 0, 1, 1}, 0, 0).error(),
                      "disp32ShowInitEx");
    const DisplayRun run = DisplayRun::open(canvas.dc(), 24, {0, 0, 4, 4});
    expect_unreported(run.show<nothrow>(nullptr, 0, 0, 1, 12).error(), "disp32ShowData");
    expect_unreported(run.set_attribute<nothrow>(DISP32_DIRECTION, 2).error(), "disp32SetAttrib");
}

TEST_F(Streams, RunShowsThroughAPalette) {
    frame::Canvas canvas(2, 1);
    const Palette palette = Palette::grey(256, false);
    forget_palette(palette.get());
    {
        const DisplayRun run =
            DisplayRun::open(canvas.dc(), 8, {0, 0, 2, 1}, {palette.get(), 0, false});
        const unsigned char pixels[] = {0, 255};
        run.show(pixels, 0, 0, 1, 2);
    }
    const std::vector<unsigned char> shown = canvas.contents();
    EXPECT_EQ(std::vector(shown.begin(), shown.begin() + 6),
              (std::vector<unsigned char>{0, 0, 0, 255, 255, 255}));
}

// --- scaled streams ---------------------------------------------------------------------------

TEST_F(Streams, ScalerScalesFrameAfterFrame) {
    StreamScaler first = StreamScaler::make(8, 2, 1, 4, 2, RESAMPLE_NEAREST);
    const frame::Census with_tables = frame::Census::now();
    StreamScaler scaler = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(scaler.get().width, 4);
    for (unsigned char value = 1; value < 4; ++value) {
        const unsigned char frame_before[4] = {value, 100, 0, 0};
        unsigned char after[8] = {};
        scaler.scale(frame_before, after);
        EXPECT_EQ(std::vector(after, after + 8),
                  (std::vector<unsigned char>{value, value, 100, 100, value, value, 100, 100}));
    }
    scaler.reset();
    EXPECT_EQ(frame::Census::now().global_blocks, with_tables.global_blocks - 4);
}

TEST_F(Streams, ScalersTellWhatIsWrong) {
    expect_report(
        thrown_by([] { static_cast<void>(StreamScaler::make(24, 0, 1, 4, 2, RESAMPLE_NEAREST)); }),
        "vcResampleInit", {3200, 1, 8, 15});
    StreamScaler odd = StreamScaler::make(12, 2, 1, 4, 2, RESAMPLE_NEAREST);
    report_something_older();
    unsigned char before[8] = {}, after[16] = {};
    expect_unreported(odd.scale<nothrow>(before, after).error(), "vcResampleEx");
}

// --- runs of pixels ---------------------------------------------------------------------------

TEST_F(Streams, RunsOfPixelsAreMerged) {
    const unsigned char base[] = {10, 20, 30}, overlay[] = {11, 12, 200};
    unsigned char result[3] = {};
    const unsigned char mask[] = {255, 255, 0};
    merge_run(result, base, mask, overlay, 1, 3, MERGE_DIFFERENCE);
    EXPECT_EQ(std::vector(result, result + 3), (std::vector<unsigned char>{1, 8, 30}));
    expect_unreported(merge_run<nothrow>(result, base, {}, overlay, 1, 3, 17).error(), "i32Merge");
}

// --- messages ---------------------------------------------------------------------------------

TEST_F(Streams, MessagesGoThroughTheQueue) {
    const MessageQueue queue = MessageQueue::create(7);
    EXPECT_TRUE(queue.is_empty());
    queue.add(std::string("first"));
    queue.add(std::string("the second"));
    EXPECT_EQ(queue.next_size(), 5);
    char memory[9] = {};
    EXPECT_EQ(queue.take(memory), 5);
    EXPECT_STREQ(memory, "first");
    EXPECT_EQ(queue.take(memory), -1);
    EXPECT_EQ(queue.clear(), 1);
    EXPECT_EQ(queue.take(memory), 0);
}

TEST_F(Streams, QueueIsDeletedOnce) {
    {
        MessageQueue first = MessageQueue::create(7);
        report_something_older();
        expect_unreported(MessageQueue::create<nothrow>(8).error(), "CreateQueue");
        MessageQueue second = std::move(first);
        EXPECT_EQ(first.get(), 0u);
        EXPECT_EQ(second.get(), 7u);
    }
    expect_unreported(thrown_by([] { static_cast<void>(MessageQueue::create(0)); }), "CreateQueue");
    EXPECT_TRUE(MessageQueue::create(8));
}

} // namespace
} // namespace q32::test
