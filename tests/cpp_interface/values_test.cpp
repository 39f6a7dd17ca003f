// Spans and rectangles.
#include "tests/cpp_interface/cpp_fixture.h"

#include <array>
#include <span>
#include <string>
#include <vector>

namespace q32::test {
namespace {

static_assert(std::is_trivially_copyable_v<ConstBytes> && std::is_trivially_copyable_v<Rect>);
static_assert(std::is_convertible_v<q32::Bytes, ConstBytes>);
static_assert(!std::is_convertible_v<ConstBytes, q32::Bytes>);
static_assert(!std::is_convertible_v<const std::vector<char> &, q32::Bytes>);
static_assert(!std::is_convertible_v<std::vector<std::string> &, q32::Bytes>);
static_assert(!std::is_convertible_v<std::vector<short> &, Span<int>>);

struct Pixel {
    std::uint8_t red, green, blue;
};

TEST(Spans, AreMadeOfWhatHasDataAndSize) {
    unsigned char array[5] = {};
    std::vector<Pixel> pixels(7);
    const std::array<std::uint16_t, 3> words = {1, 2, 3};
    EXPECT_EQ(q32::Bytes(array).data(), array);
    EXPECT_EQ(q32::Bytes(array).size(), 5u);
    EXPECT_EQ(q32::Bytes(pixels).size(), 21u);
    EXPECT_EQ(q32::Bytes(pixels).data(), &pixels[0].red);
    EXPECT_EQ(ConstBytes(words).size(), 6u);
    EXPECT_EQ(ConstBytes(words)[2], 2);
    EXPECT_EQ(q32::Bytes(std::span(pixels).subspan(1)).size(), 18u);
    EXPECT_EQ(Span<const std::uint16_t>(words).size(), 3u);
    EXPECT_EQ(Span<Pixel>(pixels).size(), 7u);
}

TEST(Spans, AreWalkedAndCut) {
    unsigned char array[] = {1, 2, 3, 4};
    q32::Bytes bytes = array;
    int sum = 0;
    for (const std::uint8_t byte : bytes.part(1, 2))
        sum += byte;
    EXPECT_EQ(sum, 5);
    bytes[3] = 9;
    EXPECT_EQ(array[3], 9);
    EXPECT_TRUE(q32::Bytes().empty());
    EXPECT_EQ(q32::Bytes().data(), nullptr);
    const q32::Bytes copy = bytes;
    EXPECT_EQ(copy.data(), array);
}

TEST(Rectangles, HaveTheSidesOfASystemRectangle) {
    constexpr Rect area = {1, 2, 30, 40};
    constexpr RECT system = area.rect();
    EXPECT_EQ(system.left, 1);
    EXPECT_EQ(system.top, 2);
    EXPECT_EQ(system.right, 31);
    EXPECT_EQ(system.bottom, 42);
    EXPECT_EQ(Rect::from(system), area);
    EXPECT_NE(Rect::from({1, 2, 31, 41}), area);
}

} // namespace
} // namespace q32::test
