// Bars on device contexts of which something fails: the work row by its number, the rest in
// silence. A row that is lost leaves the run open, as its caller would find it.
#include "tests/bars/context_fixture.h"
#include "tests/frame/small_memory.h"

#include <optional>
#include <vector>

namespace q32::test {
namespace {

class BarsOnContextsFailures : public ContextTest {
protected:
    static constexpr RECT whole{0, 0, 300, 200}; // four strips in colours of 24 bits
};

// The blocks of the global heap that the library has got since and not given back, oldest first.
class BlockWatch {
public:
    struct Block {
        HGLOBAL handle;
        UINT flags;
        SIZE_T bytes;
    };
    const std::vector<Block> &held() const { return held_; }

private:
    std::vector<Block> held_;
    Replaced<call::GlobalAlloc> alloc_{[this](UINT flags, SIZE_T bytes) {
        const HGLOBAL handle = call::GlobalAlloc::real(flags, bytes);
        if (handle != nullptr)
            held_.push_back({handle, flags, bytes});
        return handle;
    }};
    Replaced<call::GlobalFree> free_{[this](HGLOBAL handle) {
        std::erase_if(held_, [=](const Block &block) { return block.handle == handle; });
        return call::GlobalFree::real(handle);
    }};
};

// --- the work row ----------------------------------------------------------------------------

TEST_F(BarsOnContextsFailures, NoWorkRow) {
    Canvas canvas(300, 200);
    const Census before = Census::now();
    {
        const FailingCall failing("GlobalAlloc", 1);
        EXPECT_REPORT(api().q32RectDrawGrayBar(canvas.dc(), &whole, 0, 255, 1), 1001, 1, 8, 10);
        EXPECT_TRUE(failing.happened());
    }
    for (const int style : {1, 2, 3, 4, 5}) {
        const FailingCall failing("GlobalAlloc", 1);
        EXPECT_REPORT(api().q32RectDrawHSBBar(canvas.dc(), &whole, style), 1001, 1, 8, 11);
        EXPECT_TRUE(failing.happened());
    }
    for (const int rainbow : {0, 1}) {
        const FailingCall failing("GlobalAlloc", 1, FailingCall::from_there_on);
        EXPECT_REPORT(api().q32RectDrawColorBar(canvas.dc(), &whole, 0, 255, 0, rainbow), 1001, 1,
                      8, 12);
        EXPECT_TRUE(failing.happened());
    }
    frame::forget_reports();
    EXPECT_EQ(Census::now(), before);
    expect_nothing_drawn(canvas);
}

// Sides as long as coordinates can say, and longer than 32 bits.
TEST_F(BarsOnContextsFailures, WorkRowsBeyondTheAddressSpace) {
    const frame::SmallMemory small;
    Canvas canvas(30, 20);
    const Census before = Census::now();
    for (const RECT &rectangle :
         {RECT{INT_MIN, 0, INT_MAX, 1}, {INT_MIN, 0, 5, 1}, {0, 0, INT_MAX, 1}}) {
        EXPECT_REPORT(api().q32RectDrawGrayBar(canvas.dc(), &rectangle, 0, 255, 1), 1001, 1, 8, 10);
        EXPECT_REPORT(api().q32RectDrawHSBBar(canvas.dc(), &rectangle, 1), 1001, 1, 8, 11);
        EXPECT_REPORT(api().q32RectDrawColorBar(canvas.dc(), &rectangle, 0, 255, 1, 0), 1001, 1, 8,
                      12);
    }
    // 3 x 1431655766 is 2 in 32 bits.
    const RECT wraps{0, 0, 1431655766, 1};
    EXPECT_REPORT(api().q32RectDrawColorBar(canvas.dc(), &wraps, 0, 255, 1, 0), 1001, 1, 8, 12);
    EXPECT_REPORT(api().q32RectDrawHSBBar(canvas.dc(), &wraps, 3), 1001, 1, 8, 11);
    frame::forget_reports();
    EXPECT_EQ(Census::now(), before);
    expect_nothing_drawn(canvas);
}

// --- the run ---------------------------------------------------------------------------------

TEST_F(BarsOnContextsFailures, RunsThatCannotBeOpened) {
    Canvas canvas(300, 200);
    for (const Bar &bar : bar_of_every_kind())
        for (const char *function : {"GlobalAlloc", "GlobalLock"}) {
            bool all_met = false;
            for (int n = std::strcmp(function, "GlobalAlloc") == 0 ? 2 : 1; !all_met; ++n) {
                SCOPED_TRACE(text_of(bar) + ", " + function + " " + std::to_string(n));
                const Census before = Census::now();
                canvas.clear();
                std::optional<FailingCall> failing(std::in_place, function, n);
                frame::forget_reports();
                const int result = bar.onto(api(), canvas.dc(), &whole);
                all_met = !failing->happened();
                failing.reset();
                expect_no_report();
                EXPECT_EQ(result, all_met);
                EXPECT_EQ(Census::now(), before);
                if (!all_met)
                    expect_nothing_drawn(canvas);
                ASSERT_LT(n, 20);
            }
        }
}

// The run is opened whatever the style, and before anything is looked at.
TEST_F(BarsOnContextsFailures, RunOfAStyleThatIsNone) {
    Canvas canvas(300, 200);
    const FailingCall failing("GlobalAlloc", 2);
    EXPECT_SILENT_FAILURE(api().q32RectDrawHSBBar(canvas.dc(), &whole, 5));
    EXPECT_TRUE(failing.happened());
}

// --- rows ------------------------------------------------------------------------------------

// A strip of 49152 bytes holds 54 rows of 900 bytes. The run that is left open can be ended: its
// handle is the first of its blocks.
TEST_F(BarsOnContextsFailures, ARowThatIsLostLeavesTheRunOpen) {
    Canvas canvas(300, 200);
    for (const Bar &bar : every_bar())
        for (const int draw : {1, 2, 3}) {
            SCOPED_TRACE(text_of(bar) + ", drawing " + std::to_string(draw));
            canvas.clear();
            const Census before = Census::now();
            const BlockWatch blocks;
            const Bytes picture = bar.picture(300, 200);
            {
                const FailingCall failing("SetDIBitsToDevice", draw);
                EXPECT_SILENT_FAILURE(bar.onto(api(), canvas.dc(), &whole));
                EXPECT_EQ(failing.calls(), draw); // nothing is tried again
            }
            EXPECT_TRUE(canvas.contents() ==
                        canvas.expected(0, 0, 300, (draw - 1) * 54, picture, bar.bytes()));
            Census after = Census::now();
            EXPECT_EQ(after.global_blocks - before.global_blocks, int(blocks.held().size()));
            ASSERT_GE(blocks.held().size(), 2u); // the run and its strip
            EXPECT_EQ(after.global_locks - before.global_locks, 1);
            const BlockWatch::Block run = blocks.held().front();
            EXPECT_EQ(run.flags & GMEM_MOVEABLE, 0u);
            EXPECT_NE(run.bytes, SIZE_T(300 * bar.bytes())); // the work row is gone

            // What the strip holds can still be drawn.
            EXPECT_SUCCESS(api().disp32ShowEnd(HDISPRUN(uintptr_t(run.handle))));
            EXPECT_TRUE(canvas.contents() ==
                        canvas.expected(0, 0, 300, draw * 54, picture, bar.bytes()));
            EXPECT_EQ(Census::now(), before);
            EXPECT_TRUE(blocks.held().empty());
            if (HasFailure())
                return;
        }
}

// The last rows are drawn at the end, which does not tell.
TEST_F(BarsOnContextsFailures, AnEndThatIsLostIsASuccess) {
    Canvas canvas(300, 200);
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        canvas.clear();
        const Census before = Census::now();
        {
            const FailingCall failing("SetDIBitsToDevice", 4);
            EXPECT_SUCCESS(bar.onto(api(), canvas.dc(), &whole));
            EXPECT_EQ(failing.calls(), 4);
        }
        EXPECT_EQ(Census::now(), before);
        EXPECT_TRUE(canvas.contents() ==
                    canvas.expected(0, 0, 300, 162, bar.picture(300, 200), bar.bytes()));
    }
}

} // namespace
} // namespace q32::test
