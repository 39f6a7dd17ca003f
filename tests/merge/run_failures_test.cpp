// What i32Merge refuses, and every block of memory that it cannot get: the report or the silence,
// the result as it was, nothing left behind.
#include "tests/frame/edition.h"
#include "tests/merge/merge_fixture.h"

namespace q32::test {
namespace {

using frame::Failure;
using testing::Range;

constexpr std::size_t pixels = 40;

// --- refused arguments -----------------------------------------------------------------------

class RunRefusals : public MergeTestWithMmxFlag {
protected:
    // The arguments of a call that would succeed, for a test to spoil.
    struct Arguments {
        void *result;
        const void *base, *mask, *overlay;
        int bytes = 3, count = int(pixels);
        unsigned mode = MERGE_NORMAL;
        int transparency = 0;
    };
    Arguments arguments() const {
        return {.result = result_.data(),
                .base = base_.data(),
                .mask = mask_.data(),
                .overlay = overlay_.data()};
    }
    static int call(const Arguments &a) {
        return api().i32Merge(a.result, a.base, a.mask, a.overlay, a.bytes, a.count, a.mode,
                              a.transparency);
    }
    void expect_untouched() const {
        result_.expect(pixels_.result);
        base_.expect(pixels_.base);
        overlay_.expect(pixels_.overlay);
        mask_.expect(pixels_.mask);
    }
    // Refused without a word, and without a change.
    void expect_refused(const Arguments &a) const {
        EXPECT_SILENT_FAILURE(call(a));
        expect_untouched();
    }
    // And before the priority is raised.
    void expect_refused_at_once(const Arguments &a) const {
        const FailingCall priority("SetThreadPriority", 0), memory("GlobalAlloc", 0);
        expect_refused(a);
        EXPECT_EQ(priority.calls(), 0);
        EXPECT_EQ(memory.calls(), 0);
    }

    Random random_{test_seed(), 0};
    // Room for pixels of 9 bytes.
    RunPixels pixels_ = some_pixels(random_, pixels, 9);
    Block result_{pixels_.result}, base_{pixels_.base}, mask_{pixels_.mask},
        overlay_{pixels_.overlay};
};
INSTANTIATE_TEST_SUITE_P(Mmx, RunRefusals, testing::Bool(), mmx_flag_name);

TEST_P(RunRefusals, NoPixels) {
    for (const int count : {0, -1, -1000, INT_MIN})
        for (const unsigned mode : {0u, 1u, 2u, 6u, 8u, 9u, 16u, 17u})
            for (const int transparency : {0, 50, 100, 200}) {
                Arguments a = arguments();
                a.count = count;
                a.mode = mode;
                a.transparency = transparency;
                expect_refused_at_once(a);
            }
}

TEST_P(RunRefusals, NoBytes) {
    for (const int bytes : {0, -1, -3, INT_MIN})
        for (const unsigned mode : {0u, 1u, 2u, 6u, 8u, 9u, 16u, 17u})
            for (const int transparency : {0, 50, 100, 200}) {
                Arguments a = arguments();
                a.bytes = bytes;
                a.mode = mode;
                a.transparency = transparency;
                expect_refused_at_once(a);
            }
}

TEST_P(RunRefusals, TooManyBytes) {
    for (const int bytes : {9, 10, 16, 256, 257, 259, 65536 + 3, INT_MAX})
        for (unsigned mode = 0; mode <= 17; ++mode) {
            Arguments a = arguments();
            a.bytes = bytes;
            a.count = bytes == 9 ? int(pixels) : 1;
            a.mode = mode;
            expect_refused_at_once(a);
        }
}

TEST_P(RunRefusals, UnknownModes) {
    for (const unsigned mode :
         {0u, 17u, 18u, 32u, 255u, 256u + 1, 0x10001u, 0x80000001u, 0xFFFFFFF1u, 0xFFFFFFFFu})
        for (const int bytes : {1, 3, 8})
            for (const int transparency : {-5, 0, 99}) {
                Arguments a = arguments();
                a.mode = mode;
                a.bytes = bytes;
                a.transparency = transparency;
                expect_refused(a);
                a.mask = nullptr;
                expect_refused(a);
                a.overlay = a.result;
                expect_refused(a);
            }
}

TEST_P(RunRefusals, ColourModesOfPixelsWithoutColour) {
    for (const unsigned mode : {2u, 3u, 4u, 5u})
        for (const int bytes : {1, 2, 4, 5, 6, 7, 8})
            for (const int transparency : {0, 50, 99}) {
                Arguments a = arguments();
                a.mode = mode;
                a.bytes = bytes;
                a.transparency = transparency;
                const FailingCall memory("GlobalAlloc", 0);
                expect_refused(a);
                EXPECT_EQ(memory.calls(), 0);
                a.mask = nullptr;
                expect_refused(a);
            }
}

TEST_P(RunRefusals, ReliefWithoutMask) {
    for (const int bytes : {1, 2, 3, 8})
        for (const int transparency : {0, 50, 99}) {
            Arguments a = arguments();
            a.mode = MERGE_RELIEF;
            a.mask = nullptr;
            a.bytes = bytes;
            a.transparency = transparency;
            expect_refused(a);
            a.base = a.result;
            expect_refused(a);
            a.overlay = a.result;
            expect_refused(a);
        }
}

TEST_P(RunRefusals, NullPointers) {
    for (unsigned mode = 1; mode <= 16; ++mode)
        for (const int bytes : usual_sizes)
            for (const bool masked : {true, false})
                for (const int transparency : {0, 50, 99}) {
                    Arguments good = arguments();
                    good.mode = mode;
                    good.bytes = bytes;
                    good.transparency = transparency;
                    if (!masked)
                        good.mask = nullptr;
                    Arguments a = good;
                    a.result = nullptr;
                    expect_refused_at_once(a);
                    a = good;
                    a.overlay = nullptr;
                    expect_refused_at_once(a);
                    a.result = nullptr; // the same as the overlay
                    expect_refused_at_once(a);
                    if (mode != MERGE_RELIEF) {
                        a = good;
                        a.base = nullptr;
                        expect_refused_at_once(a);
                        a.result = nullptr; // the same as the base
                        expect_refused_at_once(a);
                        a.overlay = nullptr;
                        expect_refused_at_once(a);
                    }
                }
}

TEST_P(RunRefusals, NullPointersAtFullTransparency) {
    Arguments a = arguments();
    a.transparency = 100;
    a.result = nullptr;
    expect_refused_at_once(a);
    a = arguments();
    a.transparency = 1000;
    a.base = nullptr;
    expect_refused_at_once(a);
    a.mode = MERGE_RELIEF;
    expect_refused_at_once(a);
}

// In 32 bits nothing of that size can be there, and in neither edition is a copy of it to be had:
// no block of the wrapped size is taken, nothing is touched.
TEST_P(RunRefusals, SizesOverThirtyTwoBits) {
    std::vector<SIZE_T> asked;
    const Replaced<frame::call::GlobalAlloc> nothing([&](UINT, SIZE_T size) -> HGLOBAL {
        asked.push_back(size);
        return nullptr;
    });
    Arguments a = arguments();
    a.mode = MERGE_COLOR;
    for (const int count : {0x15555555, 0x15555556, 0x2AAAAAAB, 0x55555556, INT_MAX}) {
        a.count = count;
        expect_refused(a);
    }
    a.overlay = a.result;
    const auto expect_no_copy = [&](int bytes, int count) {
        a.bytes = bytes;
        a.count = count;
        for (const auto &[mode, point] :
             {std::pair{1u, 50}, {6u, 51}, {7u, 52}, {8u, 59}, {9u, 53}, {16u, 58}}) {
            a.mode = mode;
            EXPECT_REPORT(call(a), 1001, 2, 61, point);
            expect_untouched();
            frame::forget_reports();
        }
    };
    expect_no_copy(8, 0x20000000);
    expect_no_copy(8, 0x20000001);
    expect_no_copy(3, 0x55555556);
    expect_no_copy(6, 0x2AAAAAAB);
    expect_no_copy(8, INT_MAX);
    for (const SIZE_T size : asked)
        EXPECT_GE(size, 0x10000000u);
    if constexpr (frame::is_64_bit)
        return;
    // Where no block is needed neither.
    a = arguments();
    for (const auto &[bytes, count] :
         {std::pair{3, INT_MAX}, {3, 0x55555556}, {8, 0x20000000}, {8, INT_MAX}})
        for (const int transparency : {0, 50, 100}) {
            a.bytes = bytes;
            a.count = count;
            a.transparency = transparency;
            expect_refused(a);
        }
}

// --- memory that cannot be had ---------------------------------------------------------------

// What one block is for: what happens when it cannot be had.
struct Want {
    UINT flags;
    SIZE_T size;
    std::optional<int> point;  // of the report; none: silent
    bool stays_raised = false; // the thread's priority
};

struct MemoryCase {
    int mode, bytes;
    bool masked;
    Sharing sharing;
};

// Point of a missing copy of the overlay, by mode.
constexpr int copy_points[17] = {0, 50, 0, 0, 0, 0, 51, 52, 59, 53, 56, 57, 59, 61, 54, 55, 58};

std::vector<Want> wants_of(const MemoryCase &c) {
    const SIZE_T size = pixels * SIZE_T(c.bytes);
    if (is_of_colour(c.mode))
        return {{0, pixels * 12, std::nullopt}, {0, pixels * 12, 1}, {0, pixels * 3 + 2, 1}};
    std::vector<Want> wants;
    if ((c.mode == MERGE_LIGHTEN || c.mode == MERGE_DARKEN) && !c.masked)
        wants.push_back({GMEM_MOVEABLE | GMEM_ZEROINIT, pixels + 2, std::nullopt, true});
    if (c.sharing == Sharing::result_and_overlay || c.sharing == Sharing::all)
        wants.push_back({GMEM_ZEROINIT, size, copy_points[c.mode]});
    return wants;
}

class RunMemory : public MergeTestWithMmxFlag {
protected:
    static void for_all_cases(const std::function<void(const MemoryCase &)> &body) {
        for (const int mode : all_modes)
            for (const int bytes : {1, 3, 8})
                for (const bool masked : {true, false})
                    for (const Sharing sharing : all_sharings) {
                        if ((is_of_colour(mode) && bytes != 3) || (mode == MERGE_RELIEF && !masked))
                            continue;
                        SCOPED_TRACE("mode " + std::to_string(mode) + ", " + std::to_string(bytes) +
                                     " bytes, " + (masked ? "mask" : "no mask") + ", sharing " +
                                     std::to_string(int(sharing)));
                        body({mode, bytes, masked, sharing});
                        if (HasFailure())
                            return;
                    }
    }

    int call(const MemoryCase &c) {
        std::uint8_t *const result = result_.hold(pixels_.result);
        base_.hold(pixels_.base);
        overlay_.hold(pixels_.overlay);
        const bool base_shared = c.sharing == Sharing::result_and_base || c.sharing == Sharing::all;
        const std::uint8_t *const base = base_shared ? result : base_.data();
        const std::uint8_t *const overlay = c.sharing == Sharing::nothing ? overlay_.data()
                                            : c.sharing == Sharing::base_and_overlay ? base
                                            : c.sharing == Sharing::result_and_base
                                                ? overlay_.data()
                                                : result;
        return api().i32Merge(result, base, c.masked ? mask_.data() : nullptr, overlay, c.bytes,
                              int(pixels), unsigned(c.mode), 20);
    }

    // The call fails as this block of it does.
    void expect_failure(const MemoryCase &c, const Want &want) {
        const int before = GetThreadPriority(GetCurrentThread());
        const Census held = Census::now();
        frame::forget_reports();
        EXPECT_EQ(call(c), 0);
        const auto expected =
            want.point ? std::vector<Failure>{{1001, 2, 61, *want.point}} : std::vector<Failure>{};
        EXPECT_EQ(frame::reports(), expected);
        frame::forget_reports();
        result_.expect(pixels_.result);
        base_.expect(pixels_.base);
        overlay_.expect(pixels_.overlay);
        EXPECT_EQ(GetThreadPriority(GetCurrentThread()),
                  want.stays_raised ? THREAD_PRIORITY_ABOVE_NORMAL : before);
        SetThreadPriority(GetCurrentThread(), before);
        EXPECT_EQ(Census::now(), held);
    }

    Random random_{test_seed(), 1};
    RunPixels pixels_ = some_pixels(random_, pixels, 8);
    Block result_, base_, overlay_, mask_{pixels_.mask};
};
INSTANTIATE_TEST_SUITE_P(Mmx, RunMemory, testing::Bool(), mmx_flag_name);

TEST_P(RunMemory, IsAskedForAsStated) {
    for_all_cases([&](const MemoryCase &c) {
        std::vector<std::pair<UINT, SIZE_T>> asked, expected;
        for (const Want &want : wants_of(c))
            expected.emplace_back(want.flags, want.size);
        const Replaced<frame::call::GlobalAlloc> watch([&](UINT flags, SIZE_T size) {
            asked.emplace_back(flags, size);
            return GlobalAlloc(flags, size);
        });
        std::vector<std::unique_ptr<FailingCall>> others;
        for (const char *function : frame::acquiring_calls)
            if (function != std::string("GlobalAlloc") && function != std::string("GlobalLock"))
                others.push_back(std::make_unique<FailingCall>(function, 0));
        EXPECT_SUCCESS(call(c));
        EXPECT_EQ(asked, expected);
        for (const auto &other : others)
            EXPECT_EQ(other->calls(), 0);
    });
}

TEST_P(RunMemory, EachBlockFailingInTurn) {
    for_all_cases([&](const MemoryCase &c) {
        const std::vector<Want> wants = wants_of(c);
        for (std::size_t i = 0; i < wants.size(); ++i)
            for (const auto extent : {FailingCall::only_there, FailingCall::from_there_on}) {
                const FailingCall failing("GlobalAlloc", int(i) + 1, extent);
                expect_failure(c, wants[i]);
                EXPECT_TRUE(failing.happened());
            }
        // What failed once works the next time, and nothing more is asked for.
        const FailingCall none_left("GlobalAlloc", int(wants.size()) + 1);
        EXPECT_SUCCESS(call(c));
        EXPECT_FALSE(none_left.happened());
    });
}

// A moveable block that cannot be locked is one that cannot be had.
TEST_P(RunMemory, SubstituteMaskThatCannotBeLocked) {
    for_all_cases([&](const MemoryCase &c) {
        if (c.masked || (c.mode != MERGE_LIGHTEN && c.mode != MERGE_DARKEN))
            return;
        const FailingCall failing("GlobalLock");
        expect_failure(c, {0, 0, std::nullopt, true});
        EXPECT_TRUE(failing.happened());
    });
}

TEST_P(RunMemory, SubstituteMaskIsLockedAndUnlocked) {
    for (const int mode : {MERGE_LIGHTEN, MERGE_DARKEN}) {
        const FailingCall lock("GlobalLock", 0), unlock("GlobalUnlock", 0);
        EXPECT_SUCCESS(call({mode, 3, false, Sharing::nothing}));
        EXPECT_EQ(lock.calls(), 1);
        EXPECT_EQ(unlock.calls(), 1);
    }
}

// The literal numbers, once more by themselves.
TEST_P(RunMemory, PointsOfTheOverlaysCopy) {
    const auto expect_point = [&](unsigned mode, int point) {
        std::uint8_t *const result = result_.hold(pixels_.result);
        const FailingCall failing("GlobalAlloc");
        EXPECT_REPORT(api().i32Merge(result, base_.hold(pixels_.base), mask_.data(), result, 3,
                                     int(pixels), mode, 0),
                      1001, 2, 61, point);
        result_.expect(pixels_.result);
        frame::forget_reports();
    };
    expect_point(MERGE_NORMAL, 50);
    expect_point(MERGE_LIGHTEN, 51);
    expect_point(MERGE_DARKEN, 52);
    expect_point(MERGE_DIFFERENCE, 53);
    expect_point(MERGE_PREMUL_BLACK, 54);
    expect_point(MERGE_PREMUL_WHITE, 55);
    expect_point(MERGE_ADD, 56);
    expect_point(MERGE_SUBTRACT, 57);
    expect_point(MERGE_MASK_SUBTRACT, 58);
    expect_point(MERGE_RELIEF, 59);
    expect_point(MERGE_MULTIPLY, 59);
    expect_point(MERGE_SCREEN, 61);
}

// No copy is needed, none is made: no memory, no failure.
TEST_P(RunMemory, IsNotNeededAtFullTransparency) {
    const FailingCall failing("GlobalAlloc", 1, FailingCall::from_there_on);
    for (unsigned mode = 0; mode <= 17; ++mode) {
        std::uint8_t *const result = result_.hold(pixels_.result);
        EXPECT_SUCCESS(api().i32Merge(result, base_.hold(pixels_.base), nullptr, result, 3,
                                      int(pixels), mode, 100));
        Bytes expected = pixels_.base;
        std::copy(pixels_.result.begin() + 3 * pixels, pixels_.result.end(),
                  expected.begin() + 3 * pixels);
        result_.expect(expected);
    }
    EXPECT_EQ(failing.calls(), 0);
}

} // namespace
} // namespace q32::test
