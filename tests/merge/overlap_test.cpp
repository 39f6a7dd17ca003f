// Result, base, overlay and mask that lie over one another in every way: rows go from top to
// bottom, pixels from left to right, and every byte is as the model says, at every instruction set.
#include "tests/merge/overlap_fixture.h"

#include <cstdio>
#include <cstdlib>

namespace q32::test {
namespace {

constexpr int transparencies[] = {0, 1, 50, 99};

// A part of the same memory that holds so many bytes, another one every time.
Contents contents(Random &random, std::size_t bytes = 1 << 13) {
    static const Bytes memory = [] {
        Random once(test_seed(), 1);
        return some_memory(once, 1 << 21);
    }();
    return Contents(memory).subspan(random.below(memory.size() - bytes));
}

class Overlap : public MergeTestWithMmxFlag {
protected:
    void SetUp() override {
        std::printf("seed: %llu\n", static_cast<unsigned long long>(test_seed()));
    }

    OverlapStage stage_;
};
INSTANTIATE_TEST_SUITE_P(Mmx, Overlap, testing::Bool(), mmx_flag_name);

Place some_fence(Random &random) {
    return {random.below(2) != 0};
}

// Calls body(call) for every mode and both sizes of pixels, until one fails.
template <class Body>
void for_every_mode(int last, bool mmx, Body body) {
    for (int mode = 1; mode <= last; ++mode)
        for (const int bytes : usual_sizes) {
            if (testing::Test::HasFailure())
                return;
            body(model::Call{mode, bytes, 0, mmx});
        }
}

// --- runs ------------------------------------------------------------------------------------

// Places that lie over nothing of a run of up to 200 pixels.
constexpr int elsewhere = 1500, mask_elsewhere = -1000;

TEST_P(Overlap, OfOverlayAndResult) {
    Random random(test_seed(), 2);
    for (int overlay = -200; overlay <= 200; ++overlay)
        for_every_mode(16, mmx(), [&](model::Call call) {
            for (const bool masked : {false, true}) {
                if (!model::runs_have(call, masked))
                    continue;
                const int bases[] = {0, elsewhere, overlay};
                call.transparency = transparencies[random.below(4)];
                const OverlapRun run{call, 1 + random.below(200), bases[random.below(3)], overlay,
                                     masked ? std::optional(mask_elsewhere) : std::nullopt};
                ASSERT_TRUE(stage_.agrees(run, contents(random), some_fence(random)));
            }
        });
}

// The base comes as a whole before anything is merged, and the overlay is what it leaves there.
TEST_P(Overlap, OfBaseAndResult) {
    Random random(test_seed(), 3);
    for (int base = -200; base <= 200; ++base)
        for_every_mode(16, mmx(), [&](model::Call call) {
            for (const bool masked : {false, true}) {
                if (!model::runs_have(call, masked))
                    continue;
                const int overlays[] = {0, elsewhere, base / 2, -base, -3, 1};
                call.transparency = transparencies[random.below(4)];
                const OverlapRun run{call, 1 + random.below(200), base, overlays[random.below(6)],
                                     masked ? std::optional(mask_elsewhere) : std::nullopt};
                ASSERT_TRUE(stage_.agrees(run, contents(random), some_fence(random)));
            }
        });
}

// A pixel's mask byte is read once, before the pixel is written and after those before it.
TEST_P(Overlap, OfMaskAndResult) {
    Random random(test_seed(), 4);
    for (int mask = -200; mask <= 650; ++mask)
        for_every_mode(16, mmx(), [&](model::Call call) {
            if (!model::runs_have(call, true))
                return;
            call.transparency = transparencies[random.below(4)];
            const int places[] = {0, elsewhere, between(random, -200, 200)};
            const OverlapRun run{call, 1 + random.below(200), places[random.below(3)],
                                 places[random.below(3)], mask};
            ASSERT_TRUE(stage_.agrees(run, contents(random), some_fence(random)));
        });
}

TEST_P(Overlap, AtFullTransparency) {
    Random random(test_seed(), 5);
    for (int base = -200; base <= 200; ++base)
        for_every_mode(16, mmx(), [&](model::Call call) {
            call.transparency = 100;
            const OverlapRun run{call, 1 + random.below(200), base, between(random, -200, 200),
                                 between(random, -200, 200)};
            ASSERT_TRUE(stage_.agrees(run, contents(random), some_fence(random)));
        });
}

// A place near the result, near its end, or anywhere.
int some_place(Random &random, const OverlapRun &run) {
    const int size = int(run.pixels) * run.call.bytes;
    switch (random.below(6)) {
    case 0:
        return 0;
    case 1:
        return run.call.bytes * between(random, -40, 40);
    case 2:
        return size * (random.below(2) == 0 ? 1 : -1) + between(random, -70, 70);
    case 3:
        return between(random, -size, size);
    default:
        return between(random, -200, 200);
    }
}

OverlapRun some_run(Random &random, bool mmx, std::size_t most) {
    constexpr int sizes[] = {1, 1, 1, 3, 3, 3, 3, 3, 2, 4};
    OverlapRun run{{between(random, 1, 16), sizes[random.below(std::size(sizes))],
                    random.below(2) == 0 ? transparencies[random.below(4)] : between(random, 0, 99),
                    mmx},
                   1 + random.below(most),
                   0,
                   0};
    run.overlay = some_place(random, run);
    run.base = random.below(3) == 0 ? 0 : some_place(random, run);
    if (random.below(3) != 0)
        run.mask = some_place(random, run);
    if (run.call.mode == 8 && !run.mask)
        run.mask = 1;
    if (is_of_colour(run.call.mode))
        run.call.bytes = 3;
    return run;
}

TEST_P(Overlap, OfRunsAtRandom) {
    random_cases(30000, [&](Random &random, std::uint64_t number) {
        const OverlapRun run = some_run(random, mmx(), 200);
        const auto result = stage_.agrees(run, contents(random), some_fence(random));
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

// Longer than any piece in which a run may be worked on.
TEST_P(Overlap, OfLongRunsAtRandom) {
    random_cases(1000, [&](Random &random, std::uint64_t number) {
        const std::size_t longest = number % 50 == 0 ? 80000 : number % 4 == 0 ? 12000 : 3000;
        const OverlapRun run = some_run(random, mmx(), longest);
        const auto result = stage_.agrees(run, contents(random, 1 << 20), some_fence(random));
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

// --- rectangles ------------------------------------------------------------------------------

// An image onto itself, moved.
template <class Check>
void for_every_move(Check check) {
    for (int x = -40; x <= 40; ++x)
        for (int y = -2; y <= 2; ++y)
            check(x, y);
}

TEST_P(Overlap, OfAnImageAndItself) {
    Random random(test_seed(), 6);
    for_every_move([&](int x, int y) {
        for_every_mode(15, mmx(), [&](model::Call call) {
            if (!model::rectangles_have(call))
                return;
            const int width = between(random, 42, 90), height = between(random, 3, 6);
            call.transparency = random.below(5) == 0 ? 100 : transparencies[random.below(4)];
            const auto mask = random.below(2) == 0 ? std::nullopt : std::optional(-width * height);
            const RECT whole{0, 0, width, height};
            const RECT moved{x, y, x + width, y + height};
            const OverlapRectangles rectangles{call, width, height, whole, moved, 0, mask};
            ASSERT_TRUE(stage_.agrees(rectangles, contents(random), some_fence(random)));
            const OverlapImages images{call, width, height, x, y, width, height, whole, 0, mask};
            ASSERT_TRUE(stage_.agrees(images, contents(random), some_fence(random)));
        });
    });
}

// Rows that meet at any byte: the overlay's are those of another picture in the same memory.
TEST_P(Overlap, OfImagesAtEveryDistance) {
    Random random(test_seed(), 7);
    for (int overlay = -200; overlay <= 200; ++overlay)
        for_every_mode(15, mmx(), [&](model::Call call) {
            if (!model::rectangles_have(call))
                return;
            const int width = between(random, 1, 70), height = between(random, 1, 4);
            const int over_width = between(random, 1, 70), over_height = between(random, 1, 4);
            call.transparency = transparencies[random.below(4)];
            const auto mask =
                random.below(2) == 0 ? std::nullopt : std::optional(between(random, -200, 400));
            const RECT whole{0, 0, over_width, over_height};
            const OverlapRectangles rectangles{call, width, height, whole, whole, overlay, mask};
            ASSERT_TRUE(stage_.agrees(rectangles, contents(random), some_fence(random)));
            const OverlapImages images{call,       width,       height, 0,       0,
                                       over_width, over_height, whole,  overlay, mask};
            ASSERT_TRUE(stage_.agrees(images, contents(random), some_fence(random)));
        });
}

// A rectangle that shares its top left pixel with the image, near it.
RECT some_rectangle(Random &random, int width, int height) {
    const int left = between(random, -20, 0), top = between(random, -2, 0);
    return {left, top, between(random, 1, width + 20), between(random, 1, height + 2)};
}

model::Call some_call(Random &random, bool mmx) {
    constexpr int sizes[] = {1, 1, 3, 3, 3, 2};
    model::Call call{between(random, 1, 15), sizes[random.below(std::size(sizes))],
                     between(random, 0, 100), mmx};
    if (is_of_colour(call.mode))
        call.bytes = 3;
    return call;
}

// Some pixels or some rows away, or anywhere.
int some_distance(Random &random, int row_bytes, int bytes) {
    switch (random.below(3)) {
    case 0:
        return row_bytes * between(random, -2, 2) + bytes * between(random, -40, 40);
    case 1:
        return row_bytes * between(random, -2, 2) + between(random, -5, 5);
    default:
        return between(random, -2 * row_bytes - 200, 2 * row_bytes + 200);
    }
}

TEST_P(Overlap, OfRectanglesAtRandom) {
    random_cases(8000, [&](Random &random, std::uint64_t number) {
        const int widest = random.below(40) == 0 ? 6000 : 150;
        const int width = between(random, 1, widest), height = between(random, 1, 6);
        const model::Call call = some_call(random, mmx());
        const auto place = [&] { return some_distance(random, width * call.bytes, call.bytes); };
        const auto mask = random.below(2) == 0 ? std::nullopt : std::optional(place());
        const OverlapRectangles rectangles{call,
                                           width,
                                           height,
                                           some_rectangle(random, width, height),
                                           some_rectangle(random, width, height),
                                           place(),
                                           mask};
        const auto first = stage_.agrees(rectangles, contents(random, 1 << 18), some_fence(random));
        EXPECT_TRUE(first) << rerun(number);

        const int over_width = between(random, 1, widest), over_height = between(random, 1, 6);
        const OverlapImages images{call,
                                   width,
                                   height,
                                   between(random, 1 - over_width, width - 1),
                                   between(random, 1 - over_height, height - 1),
                                   over_width,
                                   over_height,
                                   {0, 0, over_width, over_height},
                                   place(),
                                   mask};
        const auto second = stage_.agrees(images, contents(random, 1 << 18), some_fence(random));
        EXPECT_TRUE(second) << rerun(number);
        return first && second;
    });
}

} // namespace
} // namespace q32::test
