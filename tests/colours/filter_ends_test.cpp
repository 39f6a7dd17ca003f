// i32ColorFilter: ends of ranges that lie beyond what a sample can be. They match nothing, and are
// neither cut to a sample nor taken as the byte that is left of them.
#include "tests/colours/filter_fixture.h"

#include <optional>

namespace q32::test {
namespace {

class FilterEnds : public FilterTest {
protected:
    // Filters of both kinds: these pixels match and no others.
    static void expect_matches(int type, const Bytes &source, const Ranges &ranges,
                               const std::vector<bool> &matches) {
        Bytes inside, outside;
        for (const bool match : matches) {
            inside.push_back(match ? 255 : 0);
            outside.push_back(match ? 0 : 255);
        }
        EXPECT_EQ(filtered(type, source, ranges, 1), inside);
        EXPECT_EQ(filtered(type, source, ranges, 0), outside);
    }

    // Pixels of 4 bytes with every fourth sample; the others match.
    static Bytes every_fourth_sample() {
        Bytes source;
        for (int sample = 0; sample < 256; ++sample)
            source.insert(source.end(), {50, 60, 70, uint8_t(sample)});
        return source;
    }
    static I32COLORRANGE fourth(int colour, int tolerance) {
        return {{50, 60, 70, uint8_t(colour)}, {0, 0, 0, tolerance}};
    }
    static std::vector<bool> only(std::optional<int> sample) {
        std::vector<bool> matches(256);
        if (sample)
            matches[size_t(*sample)] = true;
        return matches;
    }
};

constexpr std::optional<int> none;

// It is not in a range: it equals the upper end of one, if that is a sample.
TEST_F(FilterEnds, TheFourthSampleEqualsItsUpperEnd) {
    const struct {
        int colour, tolerance;
        std::optional<int> equal;
    } cases[] = {
        {100, 30, 130},
        {250, 4, 254},
        {250, 5, 255},
        {250, 6, 255},
        {250, 30, 255},
        {0, 0, 0},
        {10, 0, 10},
        {255, 0, 255},
        {0, 254, 254},
        {0, 255, 255},
        {0, 256, 255},
        {0, 511, 255},
        {10, INT_MAX, 255},
        {0, INT_MAX, 255},
        {255, INT_MAX, 255},
        {1, INT_MAX - 1, 255},
        // Tolerances below 0: down to 0 ...
        {10, -4, 6},
        {10, -9, 1},
        {10, -10, 0},
        {200, -199, 1},
        {200, -200, 0},
        {255, -1, 254},
        {255, -255, 0},
        // ... and no further.
        {10, -11, none},
        {0, -1, none},
        {1, -2, none},
        {255, -256, none},
        {200, -201, none},
        {10, -50, none},
        {0, -255, none},
        {0, -256, none},
        {10, -256, none},
        {10, -266, none},
        {255, -511, none},
        {255, -512, none},
        {10, -65536, none},
        {10, -65546, none},
        {10, -(1 << 24), none},
        {0, INT_MIN, none},
        {10, INT_MIN, none},
        {255, INT_MIN, none},
        {0, INT_MIN + 1, none},
        {255, INT_MIN + 255, none},
        {0, INT_MIN + 256, none},
    };
    for (const auto &[colour, tolerance, equal] : cases) {
        SCOPED_TRACE(std::to_string(colour) + " within " + std::to_string(tolerance));
        expect_matches(I32_FILTER_RGBX, every_fourth_sample(), {fourth(colour, tolerance)},
                       only(equal));
    }
}

TEST_F(FilterEnds, EveryUpperEndOfTheFourthSample) {
    const Bytes source = every_fourth_sample();
    for (int colour : {0, 1, 100, 254, 255})
        for (int end = -600; end <= 600; ++end) {
            SCOPED_TRACE(std::to_string(colour) + " within " + std::to_string(end - colour));
            const std::optional<int> equal = end < 0 ? none : std::min(end, 255);
            expect_matches(I32_FILTER_RGBX, source, {fourth(colour, end - colour)}, only(equal));
            if (HasFailure())
                return;
        }
}

// A range that matches nothing stands in nobody's way, wherever it is in the list.
TEST_F(FilterEnds, AmongOtherRanges) {
    const Bytes source = every_fourth_sample();
    for (size_t count : {1, 2, 3, 8, 31, 32, 33, 63, 64, 65, 127, 128, 129, 300}) {
        Ranges ranges;
        for (size_t i = 0; i < count; ++i) {
            const int colour = int(i * 7 % 256);
            ranges.push_back(fourth(colour, -colour - 1 - int(i * 37 % 600)));
        }
        SCOPED_TRACE(count);
        expect_matches(I32_FILTER_RGBX, source, ranges, only(none));
        for (size_t place : {size_t(0), count / 2, count - 1}) {
            Ranges with_one = ranges;
            with_one[place] = fourth(200, -77);
            expect_matches(I32_FILTER_RGBX, source, with_one, only(123));
        }
    }
}

// The other samples: a tolerance below 0 has its lower end above the upper one, wherever they lie.
TEST_F(FilterEnds, TheOtherSamples) {
    const struct {
        int type, samples;
    } types[] = {{I32_FILTER_GREY, 1}, {I32_FILTER_RGB, 3}, {I32_FILTER_RGBX, 3}};
    for (const auto &[type, samples] : types)
        for (int sample = 0; sample < samples; ++sample)
            for (int colour : {0, 1, 100, 128, 200, 255}) {
                I32COLORRANGE range{{50, 60, 70, 80}, {0, 0, 0, 0}};
                range.colour[sample] = uint8_t(colour);
                Bytes source;
                for (int value = 0; value < 256; ++value)
                    for (int k = 0; k < model::pixel_bytes(type); ++k)
                        source.push_back(k == sample ? uint8_t(value) : range.colour[k]);
                for (int tolerance :
                     {-1,   -2,     -55,     -56,         -100,          -101,         -128, -129,
                      -155, -156,   -200,    -255,        -256,          -257,         -300, -511,
                      -512, -65536, INT_MIN, INT_MIN + 1, INT_MIN + 200, INT_MIN + 256}) {
                    SCOPED_TRACE("type " + std::to_string(type) + ", sample " +
                                 std::to_string(sample) + ": " + std::to_string(colour) +
                                 " within " + std::to_string(tolerance));
                    range.tolerance[sample] = tolerance;
                    expect_matches(type, source, {range}, only(none));
                }
                for (int tolerance : {255, 256, 511, 65536, INT_MAX - 255, INT_MAX - 1, INT_MAX}) {
                    SCOPED_TRACE("type " + std::to_string(type) + ", sample " +
                                 std::to_string(sample) + ": " + std::to_string(colour) +
                                 " within " + std::to_string(tolerance));
                    range.tolerance[sample] = tolerance;
                    expect_matches(type, source, {range}, std::vector<bool>(256, true));
                }
            }
}

} // namespace
} // namespace q32::test
