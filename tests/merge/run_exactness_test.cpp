// i32Merge against the model: every mode, pixel size, weight and rounding, at lengths around those
// of vectors and of pieces, with every way of sharing memory that is allowed.
#include "tests/merge/merge_fixture.h"

#include <numeric>

namespace q32::test {
namespace {

class MergedRuns : public MergeTestWithMmxFlag {
protected:
    // Calls body(run, pixels) for every mode with and without a mask, until one fails. Random
    // pixels have numbers, so that each test has its own.
    template <class Sizes, class Body>
    void for_every_call(std::uint64_t number, const Sizes &sizes, std::size_t pixels,
                        const std::vector<int> &transparencies, Body body) {
        for (const int bytes : sizes) {
            Random random(test_seed(), number + std::uint64_t(bytes));
            const RunPixels made = some_pixels(random, pixels, bytes);
            for (const int mode : all_modes)
                for (const bool masked : {false, true})
                    for (const int transparency : transparencies) {
                        body(RunCase{{mode, bytes, transparency, mmx()}, pixels, masked}, made);
                        if (HasFailure())
                            return;
                    }
        }
    }

    // The run in such lengths. Every way of sharing memory, both fences and many distances from
    // them come by, one after the other.
    void expect_agreement(RunCase run, const RunPixels &pixels,
                          const std::vector<std::size_t> &lengths) {
        for (const std::size_t length : lengths) {
            run.pixels = length;
            ++number_;
            run.sharing = all_sharings[number_ % std::size(all_sharings)];
            run.place = {number_ / 5 % 2 == 0, number_ / 10 % 2 == 0 ? 0 : number_ * 7 % 64};
            ASSERT_TRUE(stage_.agrees(run, pixels));
        }
    }

    static std::vector<int> every_percentage() {
        std::vector<int> all(101);
        std::iota(all.begin(), all.end(), 0);
        return all;
    }

    RunStage stage_;

private:
    std::size_t number_ = 0;
};
INSTANTIATE_TEST_SUITE_P(Mmx, MergedRuns, testing::Bool(), mmx_flag_name);

TEST_P(MergedRuns, EveryModeWeightAndLength) {
    const std::vector<int> transparencies(std::begin(all_transparencies),
                                          std::end(all_transparencies));
    for_every_call(0, usual_sizes, 5000, transparencies, [&](RunCase run, const auto &pixels) {
        expect_agreement(
            run, pixels,
            {1, 2, 31, 32, 33, 34, 63, 64, 65, 127, 128, 129, 2047, 2048, 2049, 2050, 5000});
    });
}

TEST_P(MergedRuns, EverySharing) {
    for_every_call(600, usual_sizes, 2050, {0, 37}, [&](RunCase run, const auto &pixels) {
        for (const Sharing sharing : all_sharings)
            for (const std::size_t length : {1u, 33u, 2050u}) {
                run.sharing = sharing;
                run.pixels = length;
                ASSERT_TRUE(stage_.agrees(run, pixels));
            }
    });
}

// Wide pixels are merged sample by sample, and never round the MMX way.
TEST_P(MergedRuns, PixelsOfOtherSizes) {
    for_every_call(0, other_sizes, 700, {0, 37, 99, 100}, [&](RunCase run, const auto &pixels) {
        expect_agreement(run, pixels, {1, 2, 3, 15, 16, 17, 33, 700});
    });
}

TEST_P(MergedRuns, EveryTransparency) {
    for_every_call(100, usual_sizes, 600, every_percentage(),
                   [&](RunCase run, const auto &pixels) { expect_agreement(run, pixels, {600}); });
}

TEST_P(MergedRuns, ExtremeTransparencies) {
    for_every_call(
        200, usual_sizes, 100, {INT_MIN, -101, -100, -1, 101, 256, 65536, INT_MAX},
        [&](RunCase run, const auto &pixels) { ASSERT_TRUE(stage_.agrees(run, pixels)); });
}

// Every length of a few vectors, ending at a fence; beginning at one as well.
TEST_P(MergedRuns, EveryShortLength) {
    for_every_call(300, usual_sizes, 150, {0, 30}, [&](RunCase run, const auto &pixels) {
        run.sharing = Sharing::result_and_base;
        for (run.pixels = 1; run.pixels <= 150; ++run.pixels) {
            run.place.at_end = true;
            ASSERT_TRUE(stage_.agrees(run, pixels));
            run.place.at_end = false;
            if (run.call.transparency == 0) {
                ASSERT_TRUE(stage_.agrees(run, pixels));
            }
        }
    });
}

// One mask byte for a whole run, as selections have.
TEST_P(MergedRuns, UnderEvenMasks) {
    for (const int bytes : usual_sizes) {
        Random random(test_seed(), 400 + std::uint64_t(bytes));
        RunPixels pixels = some_pixels(random, 300, bytes);
        for (const int weight : {0, 1, 127, 128, 254, 255}) {
            pixels.mask.assign(pixels.mask.size(), std::uint8_t(weight));
            for (const int mode : all_modes)
                for (const int transparency : {0, 1, 50, 99})
                    ASSERT_TRUE(
                        stage_.agrees({{mode, bytes, transparency, mmx()}, 300, true}, pixels))
                        << "mask of " << weight;
        }
    }
}

// A single pixel of another weight, at any place, is found.
TEST_P(MergedRuns, UnderMasksWithOneOddByte) {
    for (const int bytes : usual_sizes) {
        Random random(test_seed(), 500 + std::uint64_t(bytes));
        RunPixels pixels = some_pixels(random, 150, bytes);
        for (const int even : {0, 255})
            for (std::size_t place = 0; place < 150; ++place) {
                pixels.mask.assign(pixels.mask.size(), std::uint8_t(even));
                pixels.mask[place] = 100;
                for (const int mode : all_modes)
                    ASSERT_TRUE(stage_.agrees({{mode, bytes, 0, mmx()}, 150, true}, pixels))
                        << "odd byte at " << place;
            }
    }
}

} // namespace
} // namespace q32::test
