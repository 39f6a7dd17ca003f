// Parts of enlarged pictures are the same pixels as parts of what the library enlarges as a whole.
#include "apps/q32view/enlarging.h"
#include "apps/q32view/view_state.h"
#include "tests/frame/random.h"

#include <q32base/resample.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

namespace apps::q32view {
namespace {

std::vector<uint8_t> pixels_of(HBUF32 buffer, const Area &area) {
    int bytes = 0;
    EXPECT_TRUE(buf32GetWHU(buffer, nullptr, nullptr, &bytes));
    std::vector<uint8_t> pixels(static_cast<size_t>(area.width()) *
                                static_cast<size_t>(area.height()) * static_cast<size_t>(bytes));
    EXPECT_TRUE(
        buf32GetMem(buffer, area.left, area.top, area.width(), area.height(), pixels.data()));
    return pixels;
}

Buffer noise(Size size, int bits, q32::test::Random &random) {
    HBUF32 handle = 0;
    EXPECT_TRUE(buf32Alloc(&handle, bits, size.width, size.height, BUF32_TILED, nullptr));
    std::vector<uint8_t> pixels(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
                                static_cast<size_t>(bits / 8));
    random.fill(pixels);
    EXPECT_TRUE(buf32MergeMem(handle, 0, 0, pixels.data(), size.width, size.height));
    return Buffer(handle);
}

Buffer enlarged_by_the_library(HBUF32 picture, Size size) {
    const SIZE wanted = {size.width, size.height};
    HBUF32 whole = 0;
    EXPECT_TRUE(q32BufferResampleEx(&wanted, picture, &whole, nullptr, 0, RESAMPLE_BICUBIC));
    return Buffer(whole);
}

// A part within a picture of this size, anywhere.
Area some_part(Size size, q32::test::Random &random) {
    const auto below = [&random](int bound) {
        return static_cast<int>(random.below(static_cast<size_t>(bound)));
    };
    const Point corner = {below(size.width), below(size.height)};
    return area_of(corner.x, corner.y, 1 + below(size.width - corner.x),
                   1 + below(size.height - corner.y));
}

TEST(EnlargedPart, IsAPartOfTheWhole) {
    constexpr int percents[] = {101, 110, 125, 133, 150, 175, 199, 200, 250, 299, 300, 350, 400};
    q32::test::random_cases(130, [&](q32::test::Random &random, uint64_t number) {
        const int percent = percents[number % std::size(percents)];
        const Size size = {static_cast<int>(40 + random.below(140)),
                           static_cast<int>(40 + random.below(140))};
        const Buffer picture = noise(size, random.below(3) == 0 ? 8 : 24, random);
        const Size shown = at_percent(size, percent);
        const Buffer whole = enlarged_by_the_library(picture.get(), shown);
        for (int i = 0; i < 6; ++i) {
            const Area area = some_part(shown, random);
            const Buffer part = enlarged_part(picture.get(), shown, area, "noise");
            if (pixels_of(part.get(), area_of({}, area.size())) != pixels_of(whole.get(), area)) {
                ADD_FAILURE() << size.width << " x " << size.height << " at " << percent
                              << " %, from (" << area.left << ", " << area.top << ") to ("
                              << area.right << ", " << area.bottom
                              << "): " << q32::test::rerun(number);
                return false;
            }
        }
        return true;
    });
}

// From the first pixel whose place, as a quotient, is not quite what it should be.
TEST(EnlargedPart, AboveFourTimesPixelsAreSquares) {
    q32::test::Random random(q32::test::test_seed(), 0);
    const Size size = {49, 61};
    const Buffer picture = noise(size, 8, random);
    const std::vector<uint8_t> pixels = pixels_of(picture.get(), area_of({}, size));
    for (const int factor : {5, 7, 16}) {
        const Size shown = at_percent(size, factor * 100);
        const Area area = {3, 8, shown.width, shown.height};
        const Buffer part = enlarged_part(picture.get(), shown, area, "noise");
        const std::vector<uint8_t> found = pixels_of(part.get(), area_of({}, area.size()));
        size_t next = 0, wrong = 0;
        for (int y = area.top; y < area.bottom; ++y)
            for (int x = area.left; x < area.right; ++x)
                wrong += found[next++] != pixels[static_cast<size_t>(y / factor * size.width) +
                                                 static_cast<size_t>(x / factor)];
        EXPECT_EQ(wrong, 0u) << factor;
    }
}

TEST(EnlargedPart, OfTheLargestPictureIsNoLargerThanItIs) {
    HBUF32 handle = 0;
    const uint8_t colour[] = {10, 20, 30};
    ASSERT_TRUE(buf32Alloc(&handle, 24, 30000, 30000, BUF32_ONE_COLOUR, colour));
    const Buffer picture(handle);
    const Area last = {959488, 959488, 960000, 960000};
    const Buffer part = enlarged_part(handle, at_percent({30000, 30000}, 3200), last, "grey");
    const std::vector<uint8_t> pixels = pixels_of(part.get(), {511, 511, 512, 512});
    EXPECT_EQ(pixels, std::vector<uint8_t>(colour, colour + 3));
}

} // namespace
} // namespace apps::q32view
