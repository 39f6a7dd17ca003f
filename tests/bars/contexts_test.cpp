// Bars on device contexts: number by number, the same as in buffers and as runs that bring the same
// picture, anywhere.
#include "tests/bars/context_fixture.h"

#include <tuple>

namespace q32::test {
namespace {

class BarsOnContexts : public ContextTest {};

// Rows of blue, green, red, padded to 4 bytes.
TEST_F(BarsOnContexts, NumberByNumber) {
    const RECT four{0, 0, 4, 1};
    Canvas canvas(4, 1);
    EXPECT_SUCCESS(api().q32RectDrawGrayBar(canvas.dc(), &four, 0, 255, 1));
    EXPECT_EQ(canvas.contents(), (Bytes{0, 0, 0, 64, 64, 64, 128, 128, 128, 191, 191, 191}));
    EXPECT_SUCCESS(api().q32RectDrawGrayBar(canvas.dc(), &four, 0x1FF, -256, 1));
    EXPECT_EQ(canvas.contents(), (Bytes{255, 255, 255, 191, 191, 191, 128, 128, 128, 64, 64, 64}));
    EXPECT_SUCCESS(api().q32RectDrawColorBar(canvas.dc(), &four, 0xFF1E140A, 0x01C83214, 1, 0));
    EXPECT_EQ(canvas.contents(), (Bytes{30, 20, 10, 73, 28, 13, 115, 35, 15, 158, 43, 18}));
    EXPECT_SUCCESS(api().q32RectDrawColorBar(canvas.dc(), &four, 0, 0, 1, 1));
    EXPECT_EQ(canvas.contents(), (Bytes{0, 0, 255, 0, 255, 127, 255, 255, 0, 255, 0, 123}));
    EXPECT_SUCCESS(api().q32RectDrawHSBBar(canvas.dc(), &four, 1));
    EXPECT_EQ(canvas.contents(), Bytes(12, 0));
    EXPECT_SUCCESS(api().q32RectDrawHSBBar(canvas.dc(), &four, 3));
    EXPECT_EQ(canvas.contents(), (Bytes{0, 0, 0, 0, 0, 128, 0, 0, 255, 127, 127, 255}));
    EXPECT_SUCCESS(api().q32RectDrawHSBBar(canvas.dc(), &four, 4));
    EXPECT_EQ(canvas.contents(), (Bytes{255, 255, 255, 129, 127, 255, 4, 0, 255, 2, 0, 128}));
}

TEST_F(BarsOnContexts, NumberByNumberDown) {
    const RECT four{0, 0, 1, 4};
    Canvas canvas(1, 4);
    constexpr unsigned char pad = Canvas::untouched;
    EXPECT_SUCCESS(api().q32RectDrawGrayBar(canvas.dc(), &four, 0, 255, 0));
    EXPECT_EQ(canvas.contents(),
              (Bytes{0, 0, 0, pad, 64, 64, 64, pad, 128, 128, 128, pad, 191, 191, 191, pad}));
    EXPECT_SUCCESS(api().q32RectDrawColorBar(canvas.dc(), &four, 0x001E140A, 0x00C83214, 0, 0));
    EXPECT_EQ(canvas.contents(),
              (Bytes{30, 20, 10, pad, 73, 28, 13, pad, 115, 35, 15, pad, 158, 43, 18, pad}));
    EXPECT_SUCCESS(api().q32RectDrawHSBBar(canvas.dc(), &four, 2));
    EXPECT_EQ(canvas.contents(),
              (Bytes{0, 0, 0, pad, 2, 0, 128, pad, 4, 0, 255, pad, 129, 127, 255, pad}));
}

TEST_F(BarsOnContexts, OfEverySize) {
    Canvas canvas(320, 220);
    for (const Bar &bar : every_bar()) {
        for (int width = 1; width <= 9; ++width)
            for (int height = 1; height <= 5; ++height)
                check(bar, canvas, {0, 0, width, height});
        check(bar, canvas, {0, 0, 320, 220}); // more than four strips
        check(bar, canvas, {0, 0, 1, 220});
        check(bar, canvas, {0, 0, 320, 1});
    }
}

// More rows than a field has shades or hues: some are like the one before.
TEST_F(BarsOnContexts, OfManyRows) {
    Canvas canvas(3, 1000);
    for (const Bar &bar : every_bar())
        check(bar, canvas, {0, 0, 3, 1000});
}

TEST_F(BarsOnContexts, Anywhere) {
    Canvas canvas(150, 140);
    for (const Bar &bar : every_bar())
        for (const RECT &rectangle : {RECT{17, 9, 130, 122},
                                      {-20, -30, 60, 50},
                                      {100, 90, 200, 240},
                                      {-10, -10, 160, 150},
                                      {149, 139, 150, 140}})
            check(bar, canvas, rectangle);
}

// A row of more than a strip.
TEST_F(BarsOnContexts, VeryWide) {
    Canvas canvas(20000, 5);
    for (const Bar &bar : every_bar())
        check(bar, canvas, {0, 0, 20000, 5});
}

TEST_F(BarsOnContexts, AsInBuffers) {
    Canvas canvas(200, 160);
    const RECT whole{0, 0, 200, 160};
    for (const Bar &bar : every_bar()) {
        HBUF32 buffer = 0;
        ASSERT_EQ(bar.into(api(), &buffer, 200, 160), 1);
        Bytes pixels(std::size_t(200 * 160 * bar.bytes()));
        ASSERT_EQ(api().buf32GetMem(buffer, 0, 0, 200, 160, pixels.data()), 1);
        free(buffer);
        canvas.clear();
        EXPECT_SUCCESS(bar.onto(api(), canvas.dc(), &whole));
        EXPECT_TRUE(canvas.contents() == canvas.expected(0, 0, 200, 160, pixels, bar.bytes()))
            << text_of(bar);
    }
}

// The library's own client: whatever runs make of a picture on a type of device.
TEST_F(BarsOnContexts, AsRunsOnEveryTypeOfDevice) {
    Canvas canvas(150, 140);
    const RECT rectangle{13, 7, 130, 122};
    for (const int type : {DISP32_MONOCHROME, DISP32_EIGHT_COLOURS, DISP32_SIXTEEN_COLOURS,
                           DISP32_PALETTE, DISP32_TRUE_COLOUR, DISP32_HIGH_COLOUR}) {
        use_type(type);
        for (const Bar &bar : every_bar()) {
            SCOPED_TRACE(text_of(bar) + " on type " + std::to_string(type));
            canvas.clear();
            HDISPRUN run = 0;
            ASSERT_EQ(
                api().disp32ShowInit(&run, canvas.dc(), bar.bits(), 13, 7, 130, 122, nullptr, 0, 0),
                1);
            const Bytes picture = bar.picture(117, 115);
            ASSERT_EQ(api().disp32ShowData(run, picture.data(), 0, 0, 115, 117 * bar.bytes()), 1);
            ASSERT_EQ(api().disp32ShowEnd(run), 1);
            const Bytes by_run = canvas.contents();
            canvas.clear();
            const Census before = Census::now();
            EXPECT_SUCCESS(bar.onto(api(), canvas.dc(), &rectangle));
            EXPECT_EQ(Census::now(), before);
            EXPECT_TRUE(canvas.contents() == by_run);
        }
    }
    expect_no_report();
}

// No options: greys in 128 levels, and palettes of the foreground.
TEST_F(BarsOnContexts, OnPaletteDevices) {
    use_type(DISP32_PALETTE);
    std::vector<BOOL> background;
    Bytes indices;
    const Replaced<call::SelectPalette> select([&](HDC dc, HPALETTE palette, BOOL force) {
        background.push_back(force);
        return call::SelectPalette::real(dc, palette, force);
    });
    const Replaced<call::SetDIBitsToDevice> draw([&](auto... arguments) {
        const auto all = std::tuple(arguments...);
        const auto *const bits = static_cast<const unsigned char *>(std::get<9>(all));
        indices.assign(bits, bits + 4);
        return call::SetDIBitsToDevice::real(arguments...);
    });
    Canvas canvas(4, 1);
    const RECT four{0, 0, 4, 1};
    EXPECT_SUCCESS(api().q32RectDrawGrayBar(canvas.dc(), &four, 0, 255, 1));
    EXPECT_EQ(indices, (Bytes{0, 32, 64, 95})); // 0, 64, 128, 191
    EXPECT_EQ(background, (std::vector<BOOL>{FALSE, FALSE}));
    EXPECT_SUCCESS(api().q32RectDrawColorBar(canvas.dc(), &four, 0x000000FF, 0x000000FF, 1, 0));
    EXPECT_EQ(indices, (Bytes{180, 180, 180, 180}));
    EXPECT_EQ(background, (std::vector<BOOL>{FALSE, FALSE, FALSE, FALSE}));
}

// --- nothing to draw -------------------------------------------------------------------------

TEST_F(BarsOnContexts, AnotherStyleDrawsNothing) {
    Canvas canvas(30, 20);
    const RECT whole{0, 0, 30, 20};
    for (const int style : {0, 5, -1, 0x101, INT_MAX, INT_MIN}) {
        const Census before = Census::now();
        EXPECT_SUCCESS(api().q32RectDrawHSBBar(canvas.dc(), &whole, style));
        EXPECT_EQ(Census::now(), before) << style;
    }
    expect_nothing_drawn(canvas);
}

TEST_F(BarsOnContexts, EmptyRectangles) {
    Canvas canvas(30, 20);
    const RECT rectangles[] = {{5, 5, 5, 15},
                               {5, 5, 15, 5},
                               {5, 5, 5, 5},
                               {15, 5, 5, 15},
                               {5, 15, 15, 5},
                               {15, 15, 5, 5},
                               {INT_MAX, 5, INT_MIN, 15}, // 1 wide, if it were cut to 32 bits
                               {5, INT_MAX, 15, INT_MIN}};
    for (const Bar &bar : every_bar())
        for (const RECT &rectangle : rectangles) {
            const Census before = Census::now();
            SCOPED_TRACE(text_of(bar) + ", from " + std::to_string(rectangle.left) + " " +
                         std::to_string(rectangle.top));
            EXPECT_SUCCESS(bar.onto(api(), canvas.dc(), &rectangle));
            EXPECT_EQ(Census::now(), before);
        }
    expect_nothing_drawn(canvas);
}

TEST_F(BarsOnContexts, NothingToDrawOn) {
    Canvas canvas(30, 20);
    const RECT whole{0, 0, 30, 20};
    const Census before = Census::now();
    for (const Bar &bar : every_bar()) {
        EXPECT_SILENT_FAILURE(bar.onto(api(), nullptr, &whole));
        EXPECT_SILENT_FAILURE(bar.onto(api(), canvas.dc(), nullptr));
        EXPECT_SILENT_FAILURE(bar.onto(api(), nullptr, nullptr));
    }
    EXPECT_SILENT_FAILURE(api().q32RectDrawHSBBar(nullptr, &whole, 5));
    EXPECT_SILENT_FAILURE(api().q32RectDrawHSBBar(canvas.dc(), nullptr, 5));
    EXPECT_EQ(Census::now(), before);
    expect_nothing_drawn(canvas);
}

} // namespace
} // namespace q32::test
