// i32ColorspaceConvert of everything there is: all 2^24 colours, and all records whose fields lie
// within their ranges.
#include "tests/colours/spaces_fixture.h"

namespace q32::test {
namespace {

class AllColours : public ColourTest {
protected:
    static constexpr size_t run_pixels = 1 << 16;

    // Converts the run in source, which must give what the model gives.
    void check(const ColourConversion &conversion, const Bytes &source) {
        found_.assign(run_pixels * conversion.to_bytes, 0xE6);
        model::convert(conversion, expected_, source);
        ASSERT_EQ(api().i32ColorspaceConvert(found_.data(), source.data(), int(run_pixels),
                                             conversion.number),
                  1);
        if (found_ == expected_)
            return;
        const auto at = std::mismatch(found_.begin(), found_.end(), expected_.begin());
        const auto byte = size_t(at.first - found_.begin());
        FAIL() << "pixel " << byte / conversion.to_bytes << " of the run, byte "
               << byte % conversion.to_bytes << " is " << int(*at.first) << ", not "
               << int(*at.second);
    }
    const Bytes &found() const { return found_; }

private:
    Bytes found_, expected_;
};

// All colours of one red.
Bytes colours_of(int red) {
    Bytes run;
    run.reserve(3 << 16);
    for (int green = 0; green < 256; ++green)
        for (int blue = 0; blue < 256; ++blue)
            run.insert(run.end(), {uint8_t(red), uint8_t(green), uint8_t(blue)});
    return run;
}

// All records of one hue; the second and third fields of both kinds have the same range.
Bytes records_of(int hue) {
    Bytes run;
    run.reserve(sizeof(I32HSV) << 16);
    for (int second = 0; second < 256; ++second)
        for (int third = 0; third < 256; ++third)
            append(run, I32HSV{hue, second, third});
    return run;
}

TEST_F(AllColours, ToGreyAndOtherSpacesAndBack) {
    for (int red = 0; red < 256; ++red) {
        SCOPED_TRACE("red " + std::to_string(red));
        const Bytes colours = colours_of(red);
        check(conversions[I32_RGB_TO_GREY], colours);
        check(conversions[I32_RGB_TO_HSV], colours);
        check(conversions[I32_HSV_TO_RGB], Bytes(found()));
        check(conversions[I32_RGB_TO_HLS], colours);
        check(conversions[I32_HLS_TO_RGB], Bytes(found()));
        if (HasFailure())
            return;
    }
}

TEST_F(AllColours, FromAllRecords) {
    for (int hue = 0; hue <= 361; ++hue) {
        const int shown = hue <= 360 ? hue : I32_NO_HUE;
        SCOPED_TRACE("hue " + std::to_string(shown));
        const Bytes records = records_of(shown);
        check(conversions[I32_HSV_TO_RGB], records);
        check(conversions[I32_HLS_TO_RGB], records);
        if (HasFailure())
            return;
    }
}

} // namespace
} // namespace q32::test
