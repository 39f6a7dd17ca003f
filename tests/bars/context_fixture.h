// What the tests of bars on device contexts share: a picture to draw on whose pixels can be read,
// and a library that takes the display for one of true colour without gamma.
#pragma once

#include "tests/bars/bar.h"
#include "tests/frame/canvas.h"
#include "tests/library/library_fixture.h"

#include <q32base/display.h>

#include <cstring>

namespace q32::test {

// A memory context with 24 bits a pixel.
class Canvas : public frame::Canvas {
public:
    Canvas(int width, int height) : frame::Canvas(width, height) {}

    // What it must hold: a picture of rows without gaps, greys or colours, of this width, with its
    // corner at (left, top), of which only the first rows have been drawn.
    Bytes expected(int left, int top, int width, int rows, const Bytes &picture, int bytes) const {
        Bytes all(size(), untouched);
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < width; ++x) {
                const int to_x = left + x, to_y = top + y;
                if (to_x < 0 || to_y < 0 || to_x >= this->width() || to_y >= height())
                    continue;
                unsigned char *const to = &all[std::size_t(to_y * row_bytes() + to_x * 3)];
                const unsigned char *const from = &picture[std::size_t((y * width + x) * bytes)];
                to[0] = from[bytes == 3 ? 2 : 0];
                to[1] = from[bytes == 3 ? 1 : 0];
                to[2] = from[0];
            }
        return all;
    }
};

class ContextTest : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        start();
        use_type(DISP32_TRUE_COLOUR);
        EXPECT_EQ(api().disp32NewScreenGamma(180, 180, 180), 1);
    }

    void use_type(int type) { EXPECT_EQ(api().disp32SetDevType(type), 1); }

    // A bar alone on a canvas, silently and with nothing left behind.
    void check(const Bar &bar, Canvas &canvas, const RECT &rectangle) {
        const std::string name = text_of(bar) + ", " + std::to_string(rectangle.left) + " " +
                                 std::to_string(rectangle.top) + " " +
                                 std::to_string(rectangle.right) + " " +
                                 std::to_string(rectangle.bottom);
        canvas.clear();
        const Census before = Census::now();
        SCOPED_TRACE(name);
        EXPECT_SUCCESS(bar.onto(api(), canvas.dc(), &rectangle));
        EXPECT_EQ(Census::now(), before);
        const int width = rectangle.right - rectangle.left,
                  height = rectangle.bottom - rectangle.top;
        EXPECT_TRUE(canvas.contents() == canvas.expected(rectangle.left, rectangle.top, width,
                                                         height, bar.picture(width, height),
                                                         bar.bytes()));
    }

    // Nothing is drawn, reported or left behind.
    void expect_nothing_drawn(const Canvas &canvas) {
        EXPECT_TRUE(canvas.contents() == Bytes(canvas.contents().size(), Canvas::untouched));
    }
};

} // namespace q32::test
