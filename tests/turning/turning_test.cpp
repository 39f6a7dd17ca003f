// The eight orientations: by hand, against a model pixel by pixel, and as a group.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/turning.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace apps {
namespace {

// Rows of pixels, packed.
struct Pixels {
    Size size;
    int bytes = 1;
    std::vector<uint8_t> data;

    const uint8_t *at(int x, int y) const {
        return data.data() +
               (static_cast<size_t>(y) * static_cast<size_t>(size.width) + static_cast<size_t>(x)) *
                   static_cast<size_t>(bytes);
    }
    bool operator==(const Pixels &) const = default;
};

Pixels empty_pixels(Size size, int bytes) {
    const auto pixels = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    return {size, bytes, std::vector<uint8_t>(pixels * static_cast<size_t>(bytes))};
}

Buffer buffer_of(const Pixels &pixels, uint32_t type) {
    HBUF32 handle = 0;
    EXPECT_TRUE(buf32Alloc(&handle, pixels.bytes * 8, pixels.size.width, pixels.size.height, type,
                           nullptr));
    EXPECT_TRUE(
        buf32MergeMem(handle, 0, 0, pixels.data.data(), pixels.size.width, pixels.size.height));
    return Buffer(handle);
}

Pixels pixels_of(HBUF32 buffer) {
    BUF32INFO info = {};
    EXPECT_TRUE(buf32GetInfo(buffer, &info));
    Pixels pixels = empty_pixels({info.width, info.height}, info.bytes_per_pixel);
    EXPECT_TRUE(buf32GetMem(buffer, 0, 0, info.width, info.height, pixels.data.data()));
    return pixels;
}

Pixels turned_pixels(const Pixels &pixels, int orientation, uint32_t type = BUF32_TILED) {
    const Buffer before = buffer_of(pixels, BUF32_TILED);
    return pixels_of(turned(before.get(), orientation, type, "picture").get());
}

// As the numbers are explained in words: a pixel of the turned picture, taken from the one before.
Pixels model(const Pixels &before, int orientation) {
    const int last_x = before.size.width - 1, last_y = before.size.height - 1;
    const Size size =
        exchanges_sides(orientation) ? Size{before.size.height, before.size.width} : before.size;
    Pixels after = empty_pixels(size, before.bytes);
    size_t next = 0;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const Point places[] = {
                {x, y}, {last_x - x, y}, {last_x - x, last_y - y}, {x, last_y - y},
                {y, x}, {y, last_y - x}, {last_x - y, last_y - x}, {last_x - y, x}};
            const Point from = places[orientation - 1];
            for (int i = 0; i < before.bytes; ++i)
                after.data[next++] = before.at(from.x, from.y)[i];
        }
    return after;
}

// Letters of a word as a picture of 8 bits, or as the first bytes of 24-bit pixels.
Pixels letters(Size size, const std::string &word, int bytes) {
    Pixels pixels = empty_pixels(size, bytes);
    for (size_t i = 0; i < pixels.data.size(); ++i)
        pixels.data[i] =
            static_cast<uint8_t>(word[i / static_cast<size_t>(bytes)] +
                                 static_cast<int>(i % static_cast<size_t>(bytes)) * 64);
    return pixels;
}

TEST(Turning, AllEightByHand) {
    const struct {
        Size size;
        const char *word;
    } wanted[] = {
        {{3, 2}, "abcdef"}, {{3, 2}, "cbafed"}, {{3, 2}, "fedcba"}, {{3, 2}, "defabc"},
        {{2, 3}, "adbecf"}, {{2, 3}, "daebfc"}, {{2, 3}, "fcebda"}, {{2, 3}, "cfbead"},
    };
    for (const int bytes : {1, 3})
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const auto &turn = wanted[orientation - 1];
            EXPECT_EQ(turned_pixels(letters({3, 2}, "abcdef", bytes), orientation),
                      letters(turn.size, turn.word, bytes))
                << orientation;
        }
}

TEST(Turning, NumbersThatAreNoOrientationChangeNothing) {
    const Pixels picture = letters({3, 2}, "abcdef", 1);
    for (const int orientation : {-1, 0, 9, 65535})
        EXPECT_EQ(turned_pixels(picture, orientation), picture) << orientation;
    EXPECT_EQ(turned_twice(0, 6), 6);
    EXPECT_EQ(turned_twice(8, 9), 8);
}

TEST(Turning, OnePixelIsOnePixel) {
    for (int orientation = 1; orientation <= 8; ++orientation)
        EXPECT_EQ(turned_pixels(letters({1, 1}, "x", 3), orientation), letters({1, 1}, "x", 3));
}

TEST(Turning, KeepsToTheKindOfBufferThatIsAskedFor) {
    const Buffer before = buffer_of(letters({3, 2}, "abcdef", 3), BUF32_TILED);
    for (const uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY}) {
        const Buffer after = turned(before.get(), 6, type, "picture");
        BUF32INFO info = {};
        ASSERT_TRUE(buf32GetInfo(after.get(), &info));
        EXPECT_EQ(info.type, type);
        EXPECT_EQ(info.bits_per_pixel, 24);
        EXPECT_EQ(info.lock_count, 0);
    }
}

TEST(Turning, OtherPixelsAreRefused) {
    HBUF32 handle = 0;
    ASSERT_TRUE(buf32Alloc(&handle, 1, 20, 10, BUF32_TILED, nullptr));
    const Buffer bits(handle);
    try {
        turned(bits.get(), 6, BUF32_TILED, "dots.bmp");
        FAIL() << "1 bit was turned";
    } catch (const Failure &failure) {
        EXPECT_STREQ(failure.what(), "dots.bmp: only pictures of 8 and 24 bits can be turned");
    }
}

// Sizes about those of tiles, which lie on other edges after the turn.
TEST(Turning, AgreesWithTheModel) {
    q32::test::random_cases(320, [](q32::test::Random &random, uint64_t number) {
        const auto side = [&random] {
            return random.below(3) == 0 ? static_cast<int>(126 + random.below(5))
                                        : static_cast<int>(1 + random.below(300));
        };
        const int orientation = static_cast<int>(1 + number % 8);
        Pixels picture = empty_pixels({side(), side()}, number / 8 % 2 == 0 ? 3 : 1);
        random.fill(picture.data);
        const uint32_t type = random.below(2) == 0 ? BUF32_TILED : BUF32_LINEAR_MEMORY;
        const bool same = turned_pixels(picture, orientation, type) == model(picture, orientation);
        EXPECT_TRUE(same) << "orientation " << orientation << " of " << picture.size.width << " x "
                          << picture.size.height << ": " << q32::test::rerun(number);
        return same;
    });
}

// Each of the 64 products turns a picture as its two factors do, one after the other.
TEST(TurnedTwice, IsOneTurnThatDoesTheSame) {
    const Pixels picture = letters({3, 2}, "abcdef", 1);
    for (int first = 1; first <= 8; ++first)
        for (int second = 1; second <= 8; ++second)
            EXPECT_EQ(turned_pixels(picture, turned_twice(first, second)),
                      turned_pixels(turned_pixels(picture, first), second))
                << first << ", then " << second;
}

TEST(TurnedTwice, IsTheGroupOfTheSquare) {
    constexpr int products[8][8] = {
        {1, 2, 3, 4, 5, 6, 7, 8}, {2, 1, 4, 3, 8, 7, 6, 5}, {3, 4, 1, 2, 7, 8, 5, 6},
        {4, 3, 2, 1, 6, 5, 8, 7}, {5, 6, 7, 8, 1, 2, 3, 4}, {6, 5, 8, 7, 4, 3, 2, 1},
        {7, 8, 5, 6, 3, 4, 1, 2}, {8, 7, 6, 5, 2, 1, 4, 3},
    };
    for (int first = 1; first <= 8; ++first)
        for (int second = 1; second <= 8; ++second)
            EXPECT_EQ(turned_twice(first, second), products[first - 1][second - 1])
                << first << ", then " << second;
}

} // namespace
} // namespace apps
