// i32Merge against the model: every mode, pixel size, weight and rounding, at lengths around those
// of vectors and of pieces, with every way of sharing memory that is allowed.
#include "tests/merge/merge_fixture.h"

namespace q32::test {
namespace {

class MergedRuns : public MergeTestWithMmxFlag {};
INSTANTIATE_TEST_SUITE_P(Mmx, MergedRuns, testing::Bool(), mmx_flag_name);

constexpr std::size_t longest = 5000;
constexpr std::size_t lengths[] = {1,   2,   31,  32,   33,   34,   63,   64,     65,
                                   127, 128, 129, 2047, 2048, 2049, 2050, longest};

// Every way of sharing memory, both fences and many distances from them come by, one after the
// other.
struct Places {
    std::size_t number = 0;
    void place(RunCase &run) {
        ++number;
        run.sharing = all_sharings[number % std::size(all_sharings)];
        run.fence = number / 5 % 2 == 0 ? Fence::behind : Fence::before;
        run.distance = number / 10 % 2 == 0 ? 0 : number * 7 % 64;
    }
};

TEST_P(MergedRuns, EveryModeWeightAndLength) {
    RunStage stage;
    Places places;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), std::uint64_t(bytes));
        const RunPixels pixels = some_pixels(random, longest, bytes);
        for (int mode = 1; mode <= 16; ++mode)
            for (const bool masked : {false, true})
                for (const int transparency : all_transparencies)
                    for (const std::size_t length : lengths) {
                        RunCase run{{mode, bytes, transparency, mmx()}, length, masked};
                        places.place(run);
                        ASSERT_TRUE(stage.agrees(run, pixels));
                    }
    }
}

TEST_P(MergedRuns, EverySharing) {
    RunStage stage;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), 600 + std::uint64_t(bytes));
        const RunPixels pixels = some_pixels(random, 2050, bytes);
        for (int mode = 1; mode <= 16; ++mode)
            for (const bool masked : {false, true})
                for (const int transparency : {0, 37})
                    for (const Sharing sharing : all_sharings)
                        for (const std::size_t length : {1u, 33u, 2050u})
                            ASSERT_TRUE(stage.agrees(
                                {{mode, bytes, transparency, mmx()}, length, masked, sharing},
                                pixels));
    }
}

// Wide pixels are merged sample by sample, and never round the MMX way.
TEST_P(MergedRuns, PixelsOfOtherSizes) {
    RunStage stage;
    Places places;
    for (const int bytes : {2, 4, 5, 6, 7, 8}) {
        Random random(test_seed(), std::uint64_t(bytes));
        const RunPixels pixels = some_pixels(random, 700, bytes);
        for (int mode = 1; mode <= 16; ++mode)
            for (const bool masked : {false, true})
                for (const int transparency : {0, 37, 99, 100})
                    for (const std::size_t length : {1u, 2u, 3u, 15u, 16u, 17u, 33u, 700u}) {
                        RunCase run{{mode, bytes, transparency, mmx()}, length, masked};
                        places.place(run);
                        ASSERT_TRUE(stage.agrees(run, pixels));
                    }
    }
}

TEST_P(MergedRuns, EveryTransparency) {
    RunStage stage;
    Places places;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), 100 + std::uint64_t(bytes));
        const RunPixels pixels = some_pixels(random, 600, bytes);
        for (int mode = 1; mode <= 16; ++mode)
            for (const bool masked : {false, true})
                for (int transparency = 0; transparency <= 100; ++transparency) {
                    RunCase run{{mode, bytes, transparency, mmx()}, 600, masked};
                    places.place(run);
                    ASSERT_TRUE(stage.agrees(run, pixels));
                }
    }
}

TEST_P(MergedRuns, ExtremeTransparencies) {
    RunStage stage;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), 200 + std::uint64_t(bytes));
        const RunPixels pixels = some_pixels(random, 100, bytes);
        for (int mode = 1; mode <= 16; ++mode)
            for (const bool masked : {false, true})
                for (const int transparency : {INT_MIN, -101, -100, -1, 101, 256, 65536, INT_MAX})
                    ASSERT_TRUE(
                        stage.agrees({{mode, bytes, transparency, mmx()}, 100, masked}, pixels));
    }
}

// Every length of a few vectors, ending at a fence; beginning at one as well.
TEST_P(MergedRuns, EveryShortLength) {
    RunStage stage;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), 300 + std::uint64_t(bytes));
        const RunPixels pixels = some_pixels(random, 150, bytes);
        for (int mode = 1; mode <= 16; ++mode)
            for (const bool masked : {false, true})
                for (const int transparency : {0, 30})
                    for (std::size_t length = 1; length <= 150; ++length) {
                        RunCase run{{mode, bytes, transparency, mmx()},
                                    length,
                                    masked,
                                    Sharing::result_and_base};
                        ASSERT_TRUE(stage.agrees(run, pixels));
                        run.fence = Fence::before;
                        if (transparency == 0) {
                            ASSERT_TRUE(stage.agrees(run, pixels));
                        }
                    }
    }
}

// One mask byte for a whole run, as selections have.
TEST_P(MergedRuns, UnderEvenMasks) {
    RunStage stage;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), 400 + std::uint64_t(bytes));
        RunPixels pixels = some_pixels(random, 300, bytes);
        for (const int weight : {0, 1, 127, 128, 254, 255}) {
            pixels.mask.assign(pixels.mask.size(), std::uint8_t(weight));
            for (int mode = 1; mode <= 16; ++mode)
                for (const int transparency : {0, 1, 50, 99})
                    ASSERT_TRUE(
                        stage.agrees({{mode, bytes, transparency, mmx()}, 300, true}, pixels))
                        << "mask of " << weight;
        }
    }
}

// A single pixel of another weight, at any place, is found.
TEST_P(MergedRuns, UnderMasksWithOneOddByte) {
    RunStage stage;
    for (const int bytes : {1, 3}) {
        Random random(test_seed(), 500 + std::uint64_t(bytes));
        RunPixels pixels = some_pixels(random, 150, bytes);
        for (const int even : {0, 255})
            for (std::size_t place = 0; place < 150; ++place) {
                pixels.mask.assign(pixels.mask.size(), std::uint8_t(even));
                pixels.mask[place] = 100;
                for (int mode = 1; mode <= 16; ++mode)
                    ASSERT_TRUE(stage.agrees({{mode, bytes, 0, mmx()}, 150, true}, pixels))
                        << "odd byte at " << place;
            }
    }
}

} // namespace
} // namespace q32::test
