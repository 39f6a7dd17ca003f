// Averaging against its rule written plainly: for each pixel of the result all pixels of the source
// that it touches, with the parts of their area that it covers.
#include "apps/pictures/area_average.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace apps {
namespace {

using q32::test::Random;
using q32::test::rerun;

struct Picture {
    Size size;
    int channels;
    std::vector<uint8_t> values;

    Picture(Size pixels, int channel_count)
        : size(pixels), channels(channel_count),
          values(size_t(pixels.width) * size_t(pixels.height) * size_t(channel_count)) {}

    uint8_t &at(int x, int y, int channel) {
        return values[(size_t(y) * size_t(size.width) + size_t(x)) * size_t(channels) +
                      size_t(channel)];
    }
    uint8_t *row(int y) { return values.data() + size_t(y) * values.size() / size_t(size.height); }
};

Picture picture_of(Size size, int channels, std::vector<uint8_t> values) {
    Picture picture(size, channels);
    picture.values = std::move(values);
    return picture;
}

// Feeds rows one by one. Each is overwritten afterwards, so that none can be looked at later.
Picture averaged(Picture source, Size size, AreaAverage &sums) {
    Picture result(size, source.channels);
    int made = 0;
    for (int y = 0; y < source.size.height; ++y) {
        const uint8_t *row = sums.take(source.row(y));
        std::fill(source.row(y), source.row(y) + source.values.size() / size_t(source.size.height),
                  uint8_t(0xA5));
        if (row == nullptr)
            continue;
        EXPECT_LT(made, size.height);
        std::copy_n(row, size_t(size.width) * size_t(source.channels), result.row(made++));
    }
    EXPECT_EQ(made, size.height);
    return result;
}

Picture averaged(const Picture &source, Size size, Light light = Light::as_stored) {
    AreaAverage sums(source.size, size, source.channels, light);
    return averaged(source, size, sums);
}

// --- the rule ------------------------------------------------------------------------------------

// How much of pixel `source` of so many lies in pixel `result` of so many, in parts of the side
// that is source_count x result_count long.
int64_t overlap(int source, int source_count, int result, int result_count) {
    const int64_t begin = std::max(int64_t(source) * result_count, int64_t(result) * source_count);
    const int64_t end =
        std::min(int64_t(source + 1) * result_count, int64_t(result + 1) * source_count);
    return std::max(end - begin, int64_t(0));
}

uint8_t stored_mean(int64_t sum, int64_t divisor, Light light) {
    if (light == Light::linear)
        return light_curve().stored[size_t(sum / divisor)];
    return uint8_t((2 * sum + divisor) / (2 * divisor));
}

Picture by_rule(Picture &source, Size size, Light light) {
    Picture result(size, source.channels);
    const bool has_opacity = source.channels % 2 == 0;
    const int colours = source.channels - (has_opacity ? 1 : 0);
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            int64_t area = 0, opacity = 0, sums[3] = {};
            for (int sy = 0; sy < source.size.height; ++sy)
                for (int sx = 0; sx < source.size.width; ++sx) {
                    const int64_t part = overlap(sx, source.size.width, x, size.width) *
                                         overlap(sy, source.size.height, y, size.height);
                    const int weight = has_opacity ? source.at(sx, sy, colours) : 1;
                    area += part;
                    opacity += part * weight;
                    for (int i = 0; i < colours; ++i) {
                        const uint8_t value = source.at(sx, sy, i);
                        const int amount =
                            light == Light::linear ? light_curve().light[value] : value;
                        sums[i] += part * weight * amount;
                    }
                }
            for (int i = 0; i < colours; ++i)
                result.at(x, y, i) = opacity == 0 ? 0 : stored_mean(sums[i], opacity, light);
            if (has_opacity)
                result.at(x, y, colours) = stored_mean(opacity, area, Light::as_stored);
        }
    return result;
}

Picture random_picture(Size size, int channels, Random &random) {
    Picture picture(size, channels);
    random.fill(picture.values);
    if (channels % 2 == 0) // some wholly opaque, some not at all
        for (size_t i = size_t(channels) - 1; i < picture.values.size(); i += size_t(channels))
            if (const size_t kind = random.below(4); kind < 2)
                picture.values[i] = kind == 0 ? 0 : 255;
    return picture;
}

int side(Random &random, int most) {
    return random.below(8) == 0 ? 1 : 1 + int(random.below(size_t(most)));
}

TEST(AreaAverage, FollowsTheRule) {
    q32::test::random_cases(2400, [](Random &random, uint64_t number) {
        const Size from = {side(random, 25), side(random, 25)};
        const Size to = {1 + int(random.below(size_t(from.width))),
                         1 + int(random.below(size_t(from.height)))};
        const int channels = 1 + int(random.below(4));
        const Light light = random.below(2) ? Light::linear : Light::as_stored;
        Picture source = random_picture(from, channels, random);
        EXPECT_EQ(averaged(source, to, light).values, by_rule(source, to, light).values)
            << from.width << " x " << from.height << " to " << to.width << " x " << to.height
            << ", " << channels << " channels, light " << int(light) << "; " << rerun(number);
        return !testing::Test::HasFailure();
    });
}

// --- by hand -------------------------------------------------------------------------------------

TEST(AreaAverage, WeighsPartsOfPixels) {
    // Three pixels into two: one and a half each.
    EXPECT_EQ(averaged(picture_of({3, 1}, 1, {30, 60, 91}), {2, 1}).values,
              (std::vector<uint8_t>{40, 81})); // 80 2/3
    // Five into three, downwards: 1 + 2/3, 1/3 + 1 + 1/3, 2/3 + 1.
    EXPECT_EQ(averaged(picture_of({1, 5}, 1, {10, 40, 70, 100, 250}), {1, 3}).values,
              (std::vector<uint8_t>{22, 70, 190}));
}

TEST(AreaAverage, RoundsHalfUp) {
    EXPECT_EQ(averaged(picture_of({2, 1}, 1, {0, 1}), {1, 1}).values[0], 1);
    EXPECT_EQ(averaged(picture_of({2, 2}, 1, {0, 1, 0, 0}), {1, 1}).values[0], 0);
    EXPECT_EQ(averaged(picture_of({2, 2}, 1, {255, 254, 255, 254}), {1, 1}).values[0], 255);
    // Rows rounded to 1, 1 and 0, and then their column, would be 1; the mean is 4/9.
    EXPECT_EQ(averaged(picture_of({3, 3}, 1, {1, 1, 0, 1, 1, 0, 0, 0, 0}), {1, 1}).values[0], 0);
}

TEST(AreaAverage, OfAWholeFactorIsTheMeanOfBlocks) {
    EXPECT_EQ(averaged(picture_of({4, 2}, 3, {10, 0, 1, 20, 0, 1, 1, 2, 3, 1, 2, 3, //
                                              30, 0, 1, 40, 4, 1, 1, 2, 3, 1, 2, 3}),
                       {2, 1})
                  .values,
              (std::vector<uint8_t>{25, 1, 1, 1, 2, 3}));
}

TEST(AreaAverage, OfTheSameSizeChangesNothing) {
    Random random{q32::test::test_seed(), 0};
    for (int channels = 1; channels <= 4; ++channels)
        for (const Light light : {Light::as_stored, Light::linear}) {
            Picture source = random_picture({31, 17}, channels, random);
            if (channels % 2 == 0) // where nothing is, there are no colours
                for (size_t i = size_t(channels) - 1; i < source.values.size();
                     i += size_t(channels))
                    source.values[i] = std::max<uint8_t>(source.values[i], 1);
            EXPECT_EQ(averaged(source, source.size, light).values, source.values) << channels;
        }
}

TEST(AreaAverage, ColoursCountAsMuchAsTheyAreOpaque) {
    // Opaque red beside green that nobody sees; and green of a third.
    EXPECT_EQ(averaged(picture_of({2, 1}, 4, {200, 0, 0, 255, 0, 255, 0, 0}), {1, 1}).values,
              (std::vector<uint8_t>{200, 0, 0, 128}));
    EXPECT_EQ(averaged(picture_of({2, 1}, 4, {200, 0, 0, 255, 0, 200, 0, 85}), {1, 1}).values,
              (std::vector<uint8_t>{150, 50, 0, 170}));
    EXPECT_EQ(averaged(picture_of({2, 1}, 2, {200, 0, 7, 0}), {1, 1}).values,
              (std::vector<uint8_t>{0, 0}));
}

TEST(AreaAverage, InLinearLightHalfTheLightIsBrighterThanHalfTheValue) {
    const Picture halves = picture_of({2, 1}, 1, {0, 255});
    EXPECT_EQ(averaged(halves, {1, 1}).values[0], 128);
    EXPECT_EQ(averaged(halves, {1, 1}, Light::linear).values[0], 188);
    // Opacity is no light.
    EXPECT_EQ(averaged(picture_of({2, 1}, 2, {0, 255, 255, 255}), {1, 1}, Light::linear).values,
              (std::vector<uint8_t>{188, 255}));
    EXPECT_EQ(averaged(picture_of({2, 1}, 2, {9, 0, 9, 255}), {1, 1}, Light::linear).values,
              (std::vector<uint8_t>{9, 128}));
}

TEST(AreaAverage, GoesOnWithAnotherPicture) {
    Random random{q32::test::test_seed(), 1};
    AreaAverage sums({13, 11}, {5, 4}, 3, Light::as_stored);
    for (int i = 0; i < 3; ++i) {
        Picture source = random_picture({13, 11}, 3, random);
        EXPECT_EQ(averaged(source, {5, 4}, sums).values,
                  by_rule(source, {5, 4}, Light::as_stored).values);
    }
}

// --- sums that grow ------------------------------------------------------------------------------

// Sums of light times opacity pass 32 bits after 257 rows.
TEST(AreaAverage, OfManyRowsLosesNothing) {
    for (const uint8_t opacity : {uint8_t(255), uint8_t(254)}) {
        Picture source(Size{1, 3001}, 2);
        for (int y = 0; y < 3001; ++y) {
            source.at(0, y, 0) = y % 2 ? 255 : 254;
            source.at(0, y, 1) = opacity;
        }
        for (const int rows : {1, 2, 7})
            EXPECT_EQ(averaged(source, {1, rows}, Light::linear).values,
                      by_rule(source, {1, rows}, Light::linear).values);
    }
}

// 20 million pixels in one, whose sum passes 32 bits, and where one value decides.
TEST(AreaAverage, OfManyPixelsLosesNothing) {
    constexpr int width = 5000, height = 4000;
    AreaAverage sums({width, height}, {1, 1}, 1, Light::as_stored);
    std::vector<uint8_t> dark(width, 254), white(width, 255);
    const auto mean = [&] {
        const uint8_t *made = nullptr;
        for (int y = 0; y < height; ++y) {
            EXPECT_EQ(made, nullptr);
            made = sums.take(y < height / 2 ? dark.data() : white.data());
        }
        return made != nullptr ? *made : 0;
    };
    EXPECT_EQ(mean(), 255); // 254.5
    dark[77] = 253;
    EXPECT_EQ(mean(), 254);
}

// Sides that have no common divisor, as long as sides can be: the units of an axis fill 31 bits.
TEST(AreaAverage, OfTheLongestRowsAndSums) {
    constexpr int longest = 2000003; // prime
    std::vector<uint8_t> row(size_t(longest) * 2, 255);
    AreaAverage sums({longest, 3}, {longest - 2, 2}, 2, Light::linear);
    EXPECT_EQ(sums.take(row.data()), nullptr);
    for (int i = 0; i < 2; ++i) {
        const uint8_t *made = sums.take(row.data());
        ASSERT_NE(made, nullptr);
        EXPECT_TRUE(std::all_of(made, made + (longest - 2) * 2, [](int v) { return v == 255; }));
    }
}

TEST(AreaAverage, RefusesWhatItsSumsWouldNotHold) {
    EXPECT_THROW(AreaAverage({1 << 20, (1 << 18) + 1}, {1, 1}, 3, Light::linear),
                 std::length_error);
    EXPECT_THROW(AreaAverage({INT32_MAX, INT32_MAX}, {1, 1}, 4, Light::linear), std::length_error);
}

} // namespace
} // namespace apps
