// Every row of the failure table of bars in buffers by its number; what fails in silence; and what
// is left: a new buffer is gone and its handle 0, a given one stays as far as it was written.
#include "tests/bars/bar_fixture.h"

#include <optional>

namespace q32::test {
namespace {

class BarFailures : public BarTest {
protected:
    // What a failing call must leave as it was. Set up when everything that stays has been made.
    class Surroundings {
    public:
        // A commitment that fails stays counted as memory in use.
        void expect_unchanged(bool with_memory = true) const {
            EXPECT_EQ(Census::now(), before_);
            EXPECT_EQ(api().buf32CountBuf(nullptr), live_);
            if (with_memory) {
                EXPECT_EQ(memory_in_use(), memory_);
            }
            EXPECT_EQ(mapped_bytes(), mapped_);
        }

    private:
        Census before_ = Census::now();
        int live_ = api().buf32CountBuf(nullptr);
        size_t memory_ = memory_in_use(), mapped_ = mapped_bytes();
    };
};

// --- sizes and storage -----------------------------------------------------------------------

TEST_F(BarFailures, SizesThatNoBufferHas) {
    const struct {
        int width, height;
        Failure inner;
    } cases[] = {{0, 10, {3200, 0, 4, 7}},       {10, 0, {3200, 0, 4, 7}},
                 {-1, 10, {3200, 0, 4, 7}},      {10, INT_MIN, {3200, 0, 4, 7}},
                 {32001, 10, {5402, 0, 4, 71}},  {10, 32001, {5403, 0, 4, 72}},
                 {INT_MAX, 10, {5402, 0, 4, 71}}};
    const Surroundings surroundings;
    for (const auto &[width, height, inner] : cases) {
        HBUF32 grey = 0, hues = 0, colour = 0;
        EXPECT_REPORTS(api().q32CreateGrayBarImage(&grey, width, height, 0, 255, 1), inner,
                       {1001, 1, 8, 1});
        EXPECT_REPORTS(api().q32CreateHSBBarImage(&hues, 1, width, height), inner, {1001, 1, 8, 4});
        EXPECT_REPORTS(api().q32CreateHSBBarImage(&hues, 5, width, height), inner, {1001, 1, 8, 4});
        EXPECT_REPORTS(api().q32CreateColorBarImage(&colour, width, height, 0, 0xFFFFFF, 1, 0),
                       inner, {1001, 1, 8, 7});
        EXPECT_EQ(grey, 0u);
        EXPECT_EQ(hues, 0u);
        EXPECT_EQ(colour, 0u);
    }
    forget_reports();
    surroundings.expect_unchanged();
}

TEST_F(BarFailures, NoStorageForABuffer) {
    const Surroundings surroundings;
    {
        const NoStorage none;
        for (const Bar &bar : every_bar()) {
            HBUF32 handle = 0;
            EXPECT_REPORTS(bar.into(api(), &handle, 129, 129), {1001, 0, 4, 3}, bar.no_buffer());
            EXPECT_EQ(handle, 0u);
        }
    }
    forget_reports();
    surroundings.expect_unchanged();
}

// --- pixels of the wrong size ----------------------------------------------------------------

TEST_F(BarFailures, GreysInAColourBufferAreRefused) {
    Random random(test_seed(), 1);
    const Side given(24, 20, 10, random);
    const Surroundings surroundings;
    HBUF32 handle = given;
    EXPECT_REPORT(api().q32CreateGrayBarImage(&handle, 20, 10, 0, 255, 1), 3200, 1, 8, 2);
    forget_reports();
    EXPECT_EQ(handle, HBUF32(given)); // and not freed
    EXPECT_EQ(given.mode(), Side::no_mode);
    surroundings.expect_unchanged();
    given.expect_picture();
}

TEST_F(BarFailures, ColoursInAGreyBufferAreRefused) {
    Random random(test_seed(), 2);
    const Side given(8, 20, 10, random);
    const Surroundings surroundings;
    HBUF32 handle = given;
    EXPECT_REPORT(api().q32CreateHSBBarImage(&handle, 1, 20, 10), 3200, 1, 8, 5);
    EXPECT_REPORT(api().q32CreateHSBBarImage(&handle, 5, 20, 10), 3200, 1, 8, 5);
    EXPECT_REPORT(api().q32CreateColorBarImage(&handle, 20, 10, 0, 0xFFFFFF, 0, 0), 3200, 1, 8, 8);
    EXPECT_REPORT(api().q32CreateColorBarImage(&handle, 20, 10, 0, 0xFFFFFF, 1, 1), 3200, 1, 8, 8);
    forget_reports();
    EXPECT_EQ(handle, HBUF32(given));
    EXPECT_EQ(given.mode(), Side::no_mode);
    surroundings.expect_unchanged();
    given.expect_picture();
}

// Every depth of another number of whole bytes, in buffers of every sort (not at 12 bits, where
// some bits of a row belong to no pixel). Nothing is locked.
TEST_F(BarFailures, UnsuitableDepths) {
    Random random(test_seed(), 3);
    for (const Bar &bar : bar_of_every_kind())
        for (const int bits : all_depths)
            for (const Sort sort : all_sorts) {
                const bool has_spare_bits = bits > 8 && bits % 8 != 0;
                if (bits / 8 == bar.bytes() || (has_spare_bits && sort != Sort::tiled))
                    continue;
                SCOPED_TRACE(text_of(bar) + ", " + std::to_string(bits) + " bits, " +
                             name_of(sort));
                const Side given(sort, bits, 150, 3, random);
                const auto type = word(given, field_type);
                const Surroundings surroundings;
                HBUF32 handle = given;
                EXPECT_REPORTS(bar.into(api(), &handle, 150, 3), bar.wrong_pixels());
                forget_reports();
                EXPECT_EQ(handle, HBUF32(given));
                EXPECT_EQ(word(given, field_type), type);
                EXPECT_EQ(given.locks(), 0u);
                EXPECT_EQ(given.mode(), Side::no_mode);
                surroundings.expect_unchanged();
                given.expect_picture();
                if (HasFailure())
                    return;
            }
}

// --- the work row ----------------------------------------------------------------------------

TEST_F(BarFailures, NoWorkRowForAGivenBuffer) {
    Random random(test_seed(), 4);
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        const Side given(bar.bits(), 150, 140, random);
        const Surroundings surroundings;
        HBUF32 handle = given;
        const FailingCall failing("GlobalAlloc", 1);
        EXPECT_REPORTS(bar.into(api(), &handle, 0, 0), bar.no_row());
        forget_reports();
        EXPECT_TRUE(failing.happened());
        EXPECT_EQ(handle, HBUF32(given));
        EXPECT_EQ(given.mode(), uint32_t(BUF32_WRITE_3)); // it was locked
        EXPECT_EQ(given.locks(), 0u);
        surroundings.expect_unchanged();
        given.expect_picture();
    }
}

// With a style that draws nothing, too.
TEST_F(BarFailures, NoWorkRowForAStyleThatIsNone) {
    Random random(test_seed(), 5);
    const Side given(24, 20, 10, random);
    HBUF32 handle = given;
    const FailingCall failing("GlobalAlloc", 1);
    EXPECT_REPORT(api().q32CreateHSBBarImage(&handle, 5, 0, 0), 1001, 1, 8, 6);
    forget_reports();
    EXPECT_EQ(given.locks(), 0u);
    given.expect_picture();
}

// The literal numbers once more, with the buffer gone: the last block that is asked for is the row.
TEST_F(BarFailures, NoWorkRowForANewBuffer) {
    const auto blocks_of = [](const Bar &bar) {
        const FailingCall none("GlobalAlloc", 0);
        HBUF32 handle = 0;
        EXPECT_SUCCESS(bar.into(api(), &handle, 150, 1));
        const int calls = none.calls();
        EXPECT_EQ(api().buf32Free(handle), 1);
        return calls;
    };
    const std::pair<Bar, Failure> cases[] = {{Bar::of_greys(0, 255, 1), {1001, 1, 8, 3}},
                                             {Bar::of_hues(2), {1001, 1, 8, 6}},
                                             {Bar::of_colours(0, 255, 1), {1001, 1, 8, 9}},
                                             {Bar::of_colours(0, 0, 0, 1), {1001, 1, 8, 9}}};
    for (const auto &[bar, failure] : cases) {
        SCOPED_TRACE(text_of(bar));
        const int last = blocks_of(bar);
        const Surroundings surroundings;
        HBUF32 handle = 0;
        const FailingCall failing("GlobalAlloc", last);
        EXPECT_REPORTS(bar.into(api(), &handle, 150, 1), failure);
        forget_reports();
        EXPECT_TRUE(failing.happened());
        EXPECT_EQ(handle, 0u);
        surroundings.expect_unchanged();
    }
}

// --- whatever else can be had ----------------------------------------------------------------

TEST_F(BarFailures, EveryCallInTurnForANewBuffer) {
    for (const Bar &bar : bar_of_every_kind())
        for (const auto &[width, height] : {std::pair{20, 10}, {300, 200}})
            for (const char *function : acquiring_calls)
                for (int n = 1;; ++n) {
                    SCOPED_TRACE(text_of(bar) + ", " + function + " " + std::to_string(n));
                    const Surroundings surroundings;
                    HBUF32 handle = 0;
                    std::optional<FailingCall> failing(std::in_place, function, n);
                    forget_reports();
                    const int result = bar.into(api(), &handle, width, height);
                    const bool happened = failing->happened();
                    failing.reset();
                    EXPECT_EQ(result, handle != 0);
                    if (result == 1) { // there may be other ways to get storage
                        const Buffer buffer(handle);
                        EXPECT_TRUE(read_rows(buffer).bytes() == bar.picture(width, height));
                    } else {
                        EXPECT_TRUE(happened);
                        const std::vector<Failure> reports = frame::reports();
                        ASSERT_FALSE(reports.empty());
                        EXPECT_TRUE(reports.back() == bar.no_buffer() ||
                                    reports.back() == bar.no_row())
                            << reports.back();
                        EXPECT_EQ(reports.size(), reports.back() == bar.no_buffer() ? 2u : 1u);
                    }
                    forget_reports();
                    surroundings.expect_unchanged(function != std::string("VirtualAlloc"));
                    ASSERT_LT(n, 60);
                    if (HasFailure())
                        return;
                    if (!happened)
                        break;
                }
    forget_memory_in_use();
}

TEST_F(BarFailures, EveryCallInTurnForAGivenBuffer) {
    Random random(test_seed(), 6);
    for (const Bar &bar : bar_of_every_kind())
        for (const Sort sort : all_sorts)
            for (const char *function : acquiring_calls)
                for (int n = 1;; ++n) {
                    SCOPED_TRACE(text_of(bar) + ", " + name_of(sort) + ", " + function + " " +
                                 std::to_string(n));
                    Side given(sort, bar.bits(), 150, 140, random);
                    const int live = api().buf32CountBuf(nullptr);
                    HBUF32 handle = given;
                    std::optional<FailingCall> failing(std::in_place, function, n);
                    const int result = bar.into(api(), &handle, 0, 0);
                    const bool happened = failing->happened();
                    failing.reset();
                    forget_reports();
                    EXPECT_EQ(handle, HBUF32(given));
                    EXPECT_EQ(given.locks(), 0u);
                    EXPECT_EQ(api().buf32CountBuf(nullptr), live);
                    if (result == 1)
                        given.picture.image.bytes() = bar.picture(150, 140);
                    else
                        EXPECT_TRUE(happened);
                    given.expect_picture();
                    ASSERT_LT(n, 60);
                    if (HasFailure())
                        return;
                    if (!happened)
                        break;
                }
    forget_memory_in_use();
}

// --- locks, rows, unlocks --------------------------------------------------------------------

TEST_F(BarFailures, AGivenBufferThatRefusesItsLock) {
    Random random(test_seed(), 7);
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        const Side given(bar.bits(), 20, 10, random);
        const Surroundings surroundings;
        std::vector<int> modes;
        {
            const LockHook hook(given, [&](auto, HBUF32, int mode, void **) {
                modes.push_back(mode);
                return 0;
            });
            HBUF32 handle = given;
            EXPECT_SILENT_FAILURE(bar.into(api(), &handle, 20, 10));
            EXPECT_EQ(handle, HBUF32(given));
        }
        EXPECT_EQ(modes, std::vector<int>{3});
        EXPECT_EQ(given.locks(), 0u);
        surroundings.expect_unchanged();
        given.expect_picture();
    }
}

// Storage for what is to become an ordinary buffer: the lock's own reports and no other.
TEST_F(BarFailures, AGivenBufferThatCannotBecomeOrdinary) {
    Random random(test_seed(), 8);
    for (const Bar &bar : bar_of_every_kind()) {
        const Side colour(Sort::one_colour, bar.bits(), 150, 140, random);
        const Side pattern(Sort::pattern, bar.bits(), 150, 140, random);
        const Surroundings surroundings;
        {
            const NoStorage none;
            HBUF32 handle = colour;
            EXPECT_REPORTS(bar.into(api(), &handle, 0, 0), {1001, 0, 4, 3}, {1001, 0, 2, 4});
            EXPECT_EQ(handle, HBUF32(colour));
            handle = pattern;
            EXPECT_REPORTS(bar.into(api(), &handle, 0, 0), {1001, 0, 4, 3});
            EXPECT_EQ(handle, HBUF32(pattern));
        }
        forget_reports();
        EXPECT_EQ(word(colour, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(pattern, field_type), BUF32_PATTERN);
        EXPECT_EQ(colour.locks(), 0u);
        EXPECT_EQ(pattern.locks(), 0u);
        surroundings.expect_unchanged();
        colour.expect_picture();
        pattern.expect_picture();
    }
}

// Over caller memory nothing is written.
TEST_F(BarFailures, AGivenBufferOverCallerMemory) {
    Random random(test_seed(), 9);
    for (const Bar &bar : every_bar()) {
        const Subject given(Kind::caller_memory, bar.bits(), 20, 10, random);
        const Surroundings surroundings;
        HBUF32 handle = given;
        EXPECT_SILENT_FAILURE(bar.into(api(), &handle, 20, 10));
        EXPECT_EQ(handle, HBUF32(given));
        EXPECT_EQ(word(given, field_lock_count), 0u);
        surroundings.expect_unchanged();
        given.expect_picture();
    }
}

// The rows before stay, and the lock is given back.
TEST_F(BarFailures, RowsOfAGivenBufferThatCannotBeWritten) {
    Random random(test_seed(), 10);
    for (const Bar &bar : every_bar())
        for (const int fails : {0, 1, 7, 9}) {
            SCOPED_TRACE(text_of(bar) + ", row " + std::to_string(fails));
            Side given(bar.bits(), 20, 10, random);
            const Surroundings surroundings;
            int asked = 0;
            {
                const LineHook hook(
                    given, [&](auto original, HBUF32 buffer, int row, int mode, void *memory) {
                        ++asked;
                        return row == fails ? 0 : original(buffer, row, mode, memory);
                    });
                HBUF32 handle = given;
                EXPECT_SILENT_FAILURE(bar.into(api(), &handle, 20, 10));
                EXPECT_EQ(handle, HBUF32(given));
            }
            EXPECT_EQ(asked, fails + 1);
            EXPECT_EQ(given.locks(), 0u);
            surroundings.expect_unchanged();
            const Bytes whole = bar.picture(20, 10);
            std::copy_n(whole.begin(), fails * 20 * bar.bytes(),
                        given.picture.image.bytes().begin());
            given.expect_picture();
        }
}

TEST_F(BarFailures, AGivenBufferThatCannotBeUnlocked) {
    Random random(test_seed(), 11);
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        Side given(bar.bits(), 20, 10, random);
        const Surroundings surroundings;
        int asked = 0;
        {
            const UnlockHook hook(given, [&](auto original, HBUF32 buffer) {
                const bool is_last = word(buffer, field_lock_count) == 1;
                asked += is_last; // writing rows locks and unlocks, too
                return original(buffer) && !is_last;
            });
            HBUF32 handle = given;
            EXPECT_SILENT_FAILURE(bar.into(api(), &handle, 20, 10));
            EXPECT_EQ(handle, HBUF32(given));
        }
        EXPECT_EQ(asked, 1); // and not another time for good measure
        EXPECT_EQ(given.locks(), 0u);
        surroundings.expect_unchanged();
        given.picture.image.bytes() = bar.picture(20, 10);
        given.expect_picture();
    }
}

// A new buffer is out of reach until the work row is asked for: by then it is made and locked.
template <class Hook>
void with_hook_in_new_buffer(const Bar &bar, typename Hook::Body body) {
    HBUF32 handle = 0;
    std::optional<Hook> hook;
    const Replaced<frame::call::GlobalAlloc> alloc([&](UINT flags, SIZE_T bytes) {
        if (handle != 0 && word(handle, field_lock_count) == 1 && !hook)
            hook.emplace(handle, body);
        return GlobalAlloc(flags, bytes);
    });
    // The hook takes itself out again before the buffer goes.
    const Replaced<frame::call::GlobalFree> free([&](HGLOBAL block) {
        if (hook && HBUF32(uintptr_t(block)) == handle)
            hook.reset();
        return GlobalFree(block);
    });
    EXPECT_SILENT_FAILURE(bar.into(api(), &handle, 20, 10));
    EXPECT_EQ(handle, 0u);
    EXPECT_FALSE(hook);
}

TEST_F(BarFailures, RowsOfANewBufferThatCannotBeWritten) {
    for (const Bar &bar : every_bar())
        for (const int fails : {0, 5, 9}) {
            SCOPED_TRACE(text_of(bar));
            const Surroundings surroundings;
            int asked = 0;
            with_hook_in_new_buffer<LineHook>(
                bar, [&](auto original, HBUF32 buffer, int row, int mode, void *memory) {
                    ++asked;
                    return row == fails ? 0 : original(buffer, row, mode, memory);
                });
            EXPECT_EQ(asked, fails + 1);
            surroundings.expect_unchanged();
        }
}

TEST_F(BarFailures, ANewBufferThatCannotBeUnlocked) {
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        const Surroundings surroundings;
        int asked = 0;
        with_hook_in_new_buffer<UnlockHook>(bar, [&](auto original, HBUF32 buffer) {
            const bool is_last = word(buffer, field_lock_count) == 1;
            asked += is_last;
            return original(buffer) && !is_last;
        });
        EXPECT_EQ(asked, 1);
        surroundings.expect_unchanged();
    }
}

// --- handles ---------------------------------------------------------------------------------

TEST_F(BarFailures, NullPointers) {
    EXPECT_SILENT_FAILURE(api().q32CreateGrayBarImage(nullptr, 20, 10, 0, 255, 1));
    EXPECT_SILENT_FAILURE(api().q32CreateHSBBarImage(nullptr, 1, 20, 10));
    EXPECT_SILENT_FAILURE(api().q32CreateHSBBarImage(nullptr, 5, 20, 10));
    EXPECT_SILENT_FAILURE(api().q32CreateColorBarImage(nullptr, 20, 10, 0, 255, 1, 0));
    EXPECT_SILENT_FAILURE(api().q32CreateColorBarImage(nullptr, 0, 0, 0, 255, 1, 1));
}

TEST_F(BarFailures, HandlesThatAreNoBuffers) {
    HBUF32 freed = 0;
    ASSERT_EQ(api().buf32Alloc(&freed, 24, 20, 10, BUF32_TILED, nullptr), 1);
    ASSERT_EQ(api().buf32Free(freed), 1);
    const uint32_t words[200] = {};
    const Surroundings surroundings;
    for (const Bar &bar : every_bar())
        for (const HBUF32 wrong :
             {freed, HBUF32(1), HBUF32(0x1234), HBUF32(~uintptr_t{0}), HBUF32(words)}) {
            HBUF32 handle = wrong;
            EXPECT_SILENT_FAILURE(bar.into(api(), &handle, 20, 10));
            EXPECT_EQ(handle, wrong);
        }
    surroundings.expect_unchanged();
}

} // namespace
} // namespace q32::test
