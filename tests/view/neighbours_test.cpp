// Names of pictures: which are some, and in which order they are shown.
#include "apps/q32view/neighbours.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace apps::q32view {
namespace {

TEST(PictureNames, GoByTheirEnd) {
    for (const char *name : {"a.png", "A.JPG", "b.jpeg", "two.dots.tif", ".png", "a.webp"})
        EXPECT_TRUE(is_picture_name(name)) << name;
    for (const char *name : {"a.txt", "png", "a.png.txt", "a.", "", "a.pngx", "a.xpng"})
        EXPECT_FALSE(is_picture_name(name)) << name;
}

TEST(PictureNames, PatternsNameThemAll) {
    const std::wstring patterns = picture_patterns();
    EXPECT_TRUE(patterns.starts_with(L"*.png;*.jpg;"));
    EXPECT_TRUE(patterns.ends_with(L";*.webp"));
}

TEST(ComesBefore, CountsAsPeopleDo) {
    const std::vector<std::string> ordered = {"01.png",    "1.png",      "2.png", "10.png",
                                              "bee 9.jpg", "Bee 10.jpg", "c.png", "\xC3\xA9.png"};
    for (size_t i = 0; i < ordered.size(); ++i)
        for (size_t j = 0; j < ordered.size(); ++j)
            EXPECT_EQ(comes_before(ordered[i], ordered[j]), i < j)
                << ordered[i] << ", " << ordered[j];
}

} // namespace
} // namespace apps::q32view
