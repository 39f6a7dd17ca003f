// Every triple of base sample, overlay sample and mask byte, and every luminance against every
// other, through the exports. Long, so it runs once and not at every instruction set.
#include "tests/merge/merge_fixture.h"

namespace q32::test {
namespace {

class MergeSweep : public MergeTestWithMmxFlag {};
INSTANTIATE_TEST_SUITE_P(Mmx, MergeSweep, testing::Bool(), mmx_flag_name);

// All pairs of samples: 256 rows of one base sample and every overlay sample, as pixels of so many
// bytes, filled up at the end.
RunPixels all_pairs(std::size_t bytes) {
    RunPixels pairs;
    for (int b = 0; b < 256; ++b)
        for (int s = 0; s < 256; ++s) {
            pairs.base.push_back(std::uint8_t(b));
            pairs.overlay.push_back(std::uint8_t(s));
        }
    while (pairs.base.size() % bytes != 0) {
        pairs.base.push_back(1);
        pairs.overlay.push_back(127);
    }
    pairs.result = pairs.base; // what relief works on
    pairs.mask.resize(pairs.base.size() / bytes);
    return pairs;
}

// Every mask byte of every pair of samples, at full strength and under one percentage.
TEST_P(MergeSweep, EveryTripleOfEveryMode) {
    RunStage stage;
    std::uint64_t number = 0;
    for (const int bytes : usual_sizes) {
        if (bytes == 1 && mmx())
            continue; // grey rounds in one way only
        RunPixels pairs = all_pairs(std::size_t(bytes));
        for (const int mode : all_modes) {
            if (is_of_colour(mode) || (mode >= 6 && mode <= 7 && bytes == 3))
                continue;
            for (int m = 0; m < 256; ++m) {
                if (!in_this_round(number++))
                    continue;
                pairs.mask.assign(pairs.mask.size(), std::uint8_t(m));
                const int transparency = m % 4 == 3 ? 33 : 0;
                ASSERT_TRUE(stage.agrees({{mode, bytes, transparency, mmx()},
                                          pairs.mask.size(),
                                          true,
                                          Sharing::result_and_base},
                                         pairs))
                    << "mask of " << m;
            }
        }
    }
}

// Every weight that a percentage gives, without a mask.
TEST_P(MergeSweep, EveryPairAtEveryTransparency) {
    RunStage stage;
    for (const int bytes : usual_sizes) {
        const RunPixels pairs = all_pairs(std::size_t(bytes));
        for (const int mode : {1, 9, 10, 11, 12, 13, 14, 15, 16})
            for (int transparency = 0; transparency < 100; ++transparency)
                ASSERT_TRUE(stage.agrees({{mode, bytes, transparency, mmx()},
                                          pairs.mask.size(),
                                          false,
                                          Sharing::result_and_base},
                                         pairs));
    }
}

// Every mask byte under every percentage: the weights themselves, white over black.
TEST_P(MergeSweep, EveryMaskByteAtEveryTransparency) {
    RunStage stage;
    for (const int bytes : usual_sizes) {
        RunPixels all;
        const auto size = 256 * std::size_t(bytes);
        all.result = Bytes(size, 100);
        all.base = Bytes(size, 0);
        all.overlay = Bytes(size, 255);
        for (int m = 0; m < 256; ++m)
            all.mask.push_back(std::uint8_t(m));
        for (const int mode : all_modes)
            for (int transparency = 0; transparency <= 100; ++transparency)
                ASSERT_TRUE(stage.agrees({{mode, bytes, transparency, mmx()}, 256, true}, all));
    }
}

// Pixels whose luminances lie close together on either side of every step.
TEST_P(MergeSweep, LuminancesAroundEveryStep) {
    RunStage stage;
    Random random(test_seed(), 1);
    for (int round = 0; round < 40; ++round) {
        RunPixels pixels;
        constexpr std::size_t count = 20000;
        pixels.base = Bytes(3 * count);
        random.fill(pixels.base);
        pixels.overlay = pixels.base;
        for (std::size_t i = 0; i < pixels.overlay.size(); ++i)
            if (random.below(2) == 0)
                pixels.overlay[i] = std::uint8_t(pixels.overlay[i] + random.below(5) - 2);
        pixels.result = pixels.base;
        pixels.mask = Bytes(count, 255);
        for (const int mode : {6, 7})
            ASSERT_TRUE(stage.agrees({{mode, 3, 0, mmx()}, count, round % 2 == 0}, pixels));
    }
}

// Colours at random, through every colour mode.
TEST_P(MergeSweep, ColoursOfEveryMode) {
    RunStage stage;
    Random random(test_seed(), 2);
    for (int round = 0; round < 60; ++round) {
        const RunPixels pixels = some_pixels(random, 20000, 3);
        for (const int mode : {2, 3, 4, 5})
            for (const bool masked : {false, true})
                ASSERT_TRUE(stage.agrees({{mode, 3, round % 100, mmx()}, 20000, masked}, pixels));
    }
}

} // namespace
} // namespace q32::test
