// i32ColorspaceConvert: literal examples, every length, odd arguments, conversions in place.
#include "tests/colours/spaces_fixture.h"

namespace q32::test {
namespace {

class Spaces : public ColourTest {};

// --- examples --------------------------------------------------------------------------------

TEST_F(Spaces, RgbToGrey) {
    const Bytes rgb{255, 255, 255, 1,   1,  1,  0,  0, 0, 255, 0, 0, 0, 255,
                    0,   0,   0,   255, 10, 20, 30, 3, 0, 0,   4, 0, 0};
    EXPECT_EQ(converted(I32_RGB_TO_GREY, rgb, 3, 1), (Bytes{255, 1, 0, 76, 149, 29, 18, 0, 1}));
}

TEST_F(Spaces, GreyToRgb) {
    EXPECT_EQ(converted(I32_GREY_TO_RGB, {0, 1, 128, 255}, 1, 3),
              (Bytes{0, 0, 0, 1, 1, 1, 128, 128, 128, 255, 255, 255}));
}

TEST_F(Spaces, RgbToHsv) {
    const Bytes rgb{255, 0,   0,   0, 255, 0,   0,   0,   255, 255, 255, 0,   0,
                    255, 255, 255, 0, 255, 128, 128, 128, 0,   0,   0,   200, 100,
                    50,  255, 0,   1, 100, 20,  21,  1,   0,   0,   50,  100, 200};
    EXPECT_EQ(converted(I32_RGB_TO_HSV, rgb, 3, 12),
              row_of({I32HSV{0, 255, 255}, I32HSV{120, 255, 255}, I32HSV{240, 255, 255},
                      I32HSV{60, 255, 255}, I32HSV{180, 255, 255}, I32HSV{300, 255, 255},
                      I32HSV{I32_NO_HUE, 0, 128}, I32HSV{I32_NO_HUE, 0, 0},
                      // (75 + 50 * 60) / 150; (150 * 255 + 100) / 200
                      I32HSV{20, 191, 200},
                      // (127 + 254 * 60) / 255 + 300 would be 360
                      I32HSV{359, 255, 255},
                      // (40 + 79 * 60) / 80 + 300
                      I32HSV{359, 204, 100}, I32HSV{0, 255, 1},
                      // (75 + 100 * 60) / 150 + 180
                      I32HSV{220, 191, 200}}));
}

TEST_F(Spaces, HsvToRgb) {
    const Bytes hsv =
        row_of({I32HSV{0, 255, 255}, I32HSV{60, 255, 255}, I32HSV{120, 255, 255},
                I32HSV{180, 255, 255}, I32HSV{240, 255, 255}, I32HSV{300, 255, 255},
                I32HSV{360, 255, 255}, I32HSV{I32_NO_HUE, 200, 128}, I32HSV{77, 0, 90},
                I32HSV{20, 191, 200}, I32HSV{220, 191, 200}, I32HSV{359, 255, 255},
                I32HSV{-60, 255, 255}, I32HSV{420, 255, 255}, I32HSV{361, 255, 60}});
    // 191 of 200: chroma (200 * 191 + 127) / 255 = 150, low 50, part (20 * 150 + 30) / 60 = 50.
    EXPECT_EQ(converted(I32_HSV_TO_RGB, hsv, 12, 3),
              (Bytes{255, 0,   0,   255, 255, 0, 0,   255, 0,   0,   255, 255, 0,   0,   255,
                     255, 0,   255, 255, 0,   0, 128, 128, 128, 90,  90,  90,  200, 100, 50,
                     50,  100, 200, 255, 0,   4, 255, 0,   255, 255, 255, 0,   60,  1,   0}));
}

TEST_F(Spaces, RgbToHls) {
    const Bytes rgb{255, 0,   0,   0,   0,   255, 128, 128, 128, 255, 255, 255, 200, 100,
                    50,  250, 240, 200, 255, 0,   1,   1,   0,   0,   255, 255, 254};
    EXPECT_EQ(converted(I32_RGB_TO_HLS, rgb, 3, 12),
              row_of({I32HLS{0, 127, 255}, I32HLS{240, 127, 255}, I32HLS{I32_NO_HUE, 128, 0},
                      I32HLS{I32_NO_HUE, 255, 0},
                      // sum 250: (150 * 255 + 125) / 250
                      I32HLS{20, 125, 153},
                      // sum 450: (50 * 255 + 30) / 60, hue (25 + 40 * 60) / 50
                      I32HLS{48, 225, 213}, I32HLS{359, 127, 255}, I32HLS{0, 0, 255},
                      // sum 509: (255 + 0) / 1
                      I32HLS{60, 254, 255}}));
}

TEST_F(Spaces, HlsToRgb) {
    const Bytes hls = row_of({I32HLS{0, 127, 255}, I32HLS{240, 127, 255},
                              I32HLS{I32_NO_HUE, 128, 99}, I32HLS{11, 77, 0}, I32HLS{20, 125, 153},
                              I32HLS{48, 225, 213}, I32HLS{120, 128, 255}, I32HLS{360, 127, 255},
                              I32HLS{-120, 127, 255}, I32HLS{600, 127, 255}});
    // 125 and 153: chroma (153 * 250 + 127) / 255 = 150, high (250 + 150 + 1) / 2, low 50.
    // 225 and 213: chroma (213 * 60 + 127) / 255 = 50, high 250, low 200, part (48 * 50 + 30) / 60.
    EXPECT_EQ(converted(I32_HLS_TO_RGB, hls, 12, 3),
              (Bytes{254, 0,   0,   0, 0,   254, 128, 128, 128, 77, 77, 77,  200, 100, 50,
                     250, 240, 200, 1, 255, 1,   254, 0,   0,   0,  0,  254, 0,   0,   254}));
}

// --- runs ------------------------------------------------------------------------------------

TEST_F(Spaces, EveryLengthBetweenFences) {
    random_cases(200, [](Random &random, uint64_t number) {
        for (const ColourConversion &conversion : conversions)
            for (const bool at_end : {false, true}) {
                const auto pixels = size_t(number);
                SCOPED_TRACE(std::to_string(pixels) + " pixels, conversion " +
                             std::to_string(conversion.number));
                const Bytes source = random_source(random, conversion, pixels);
                Block from(source, {at_end}), to(pixels * conversion.to_bytes, {at_end});
                from.protect();
                EXPECT_SUCCESS(api().i32ColorspaceConvert(to.data(), from.data(), int(pixels),
                                                          conversion.number));
                to.expect(model::converted(conversion, source));
            }
        return !HasFailure();
    });
}

TEST_F(Spaces, InPlaceWherePixelsDoNotGrow) {
    random_cases(300, [](Random &random, uint64_t number) {
        for (const ColourConversion &conversion : conversions) {
            if (conversion.to_bytes > conversion.from_bytes)
                continue;
            const size_t pixels = number < 150 ? size_t(number) : random.below(5000);
            SCOPED_TRACE(std::to_string(pixels) + " pixels, conversion " +
                         std::to_string(conversion.number));
            const Bytes source = random_source(random, conversion, pixels);
            Block block(source);
            EXPECT_SUCCESS(api().i32ColorspaceConvert(block.data(), block.data(), int(pixels),
                                                      conversion.number));
            const Bytes expected = model::converted(conversion, source);
            Bytes found = block.contents();
            found.resize(expected.size());
            EXPECT_EQ(found, expected);
        }
        return !HasFailure();
    });
}

TEST_F(Spaces, AtEveryAlignment) {
    Random random(test_seed(), 1);
    for (const ColourConversion &conversion : conversions)
        for (size_t i = 0; i < 64; ++i) {
            const size_t from_offset = i % 8, to_offset = i / 8, pixels = 40 + i;
            const Bytes source = random_source(random, conversion, pixels);
            Bytes from(from_offset), to(to_offset + pixels * conversion.to_bytes);
            from.insert(from.end(), source.begin(), source.end());
            EXPECT_SUCCESS(api().i32ColorspaceConvert(
                to.data() + to_offset, from.data() + from_offset, int(pixels), conversion.number));
            Bytes expected(to_offset);
            const Bytes row = model::converted(conversion, source);
            expected.insert(expected.end(), row.begin(), row.end());
            EXPECT_EQ(to, expected) << conversion.number;
        }
}

// --- odd arguments ---------------------------------------------------------------------------

TEST_F(Spaces, NoPixelsConvertNothing) {
    for (const ColourConversion &conversion : conversions)
        for (int pixels : {0, -1, -100, INT_MIN}) {
            Block from(Bytes(12, 3)), to(Bytes(12, 5));
            EXPECT_SUCCESS(
                api().i32ColorspaceConvert(to.data(), from.data(), pixels, conversion.number));
            EXPECT_SUCCESS(api().i32ColorspaceConvert(nullptr, nullptr, pixels, conversion.number));
            to.expect(Bytes(12, 5));
        }
}

TEST_F(Spaces, OtherConversionsConvertNothing) {
    for (unsigned conversion :
         {6u, 7u, 8u, 100u, 0x100u, 0x10002u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        for (int pixels : {1, 0, -1, INT_MAX}) {
            Block from(Bytes(12, 3)), to(Bytes(12, 5));
            EXPECT_SUCCESS(api().i32ColorspaceConvert(to.data(), from.data(), pixels, conversion));
            EXPECT_SUCCESS(api().i32ColorspaceConvert(nullptr, nullptr, pixels, conversion));
            to.expect(Bytes(12, 5));
        }
}

TEST_F(Spaces, NullPointersConvertNothing) {
    for (const ColourConversion &conversion : conversions) {
        Block from(Bytes(12, 3)), to(Bytes(12, 5));
        EXPECT_SUCCESS(api().i32ColorspaceConvert(nullptr, from.data(), 1, conversion.number));
        EXPECT_SUCCESS(api().i32ColorspaceConvert(to.data(), nullptr, 1, conversion.number));
        EXPECT_SUCCESS(api().i32ColorspaceConvert(nullptr, nullptr, INT_MAX, conversion.number));
        to.expect(Bytes(12, 5));
        from.expect(Bytes(12, 3));
    }
}

TEST_F(Spaces, NothingIsAskedOfTheSystem) {
    const FailingCall blocks("GlobalAlloc"), runtime("malloc"), priority("SetThreadPriority");
    Random random(test_seed(), 2);
    for (const ColourConversion &conversion : conversions)
        converted(conversion.number, random_source(random, conversion, 5000), conversion.from_bytes,
                  conversion.to_bytes);
    EXPECT_EQ(blocks.calls() + runtime.calls() + priority.calls(), 0);
}

// Fields beyond their ranges: words wrap, and every instruction set gives the same pixels.
TEST_F(Spaces, RecordsWithFieldsOutOfRange) {
    const int odd[] = {INT_MIN, INT_MIN + 1,   -65536,      -361,   -360,  -359,  -256,
                       -61,     -60,           -59,         -1,     0,     1,     59,
                       60,      127,           128,         255,    256,   299,   359,
                       360,     361,           419,         420,    510,   719,   720,
                       721,     32766,         32767,       32768,  65535, 65536, 16843009,
                       1 << 30, INT_MAX - 359, INT_MAX - 1, INT_MAX};
    Bytes source;
    for (int hue : odd)
        for (int second : odd)
            for (int third : odd)
                append(source, I32HSV{hue, second, third});
    Random random(test_seed(), 3);
    for (int i = 0; i < 200000; ++i) {
        const auto any = [&random] {
            return int(int32_t(uint32_t(random.next())) >> random.below(32));
        };
        append(source, I32HSV{any(), any(), any()});
    }
    for (const ColourConversion &conversion : conversions)
        if (conversion.from_bytes == 12) {
            const Bytes expected = model::converted(conversion, source);
            const Bytes found = converted(conversion.number, source, 12, 3);
            const auto at = std::mismatch(expected.begin(), expected.end(), found.begin());
            if (at.first == expected.end())
                continue;
            const auto pixel = size_t(at.first - expected.begin()) / 3;
            const auto record = record_at<I32HSV>(&source[pixel * 12]);
            ADD_FAILURE() << "conversion " << conversion.number << " of (" << record.hue << ", "
                          << record.saturation << ", " << record.value << "): byte "
                          << (at.first - expected.begin()) % 3 << " is " << int(*at.second)
                          << ", not " << int(*at.first);
        }
}

} // namespace
} // namespace q32::test
