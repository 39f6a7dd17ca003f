// Windows callers align the stack to 4 bytes only: every export of the display is called at each of
// the four alignments that a caller's stack can have.
#include "tests/display/display_fixture.h"

#include "tests/frame/misaligned.h"

namespace q32::test {
namespace {

class MisalignedDisplay : public DisplayTest, public testing::WithParamInterface<std::uint32_t> {
protected:
    template <typename Result, typename... Parameters>
    Result call(Result (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return frame::call_at(GetParam(), function, arguments...);
    }
};

TEST_P(MisalignedDisplay, EveryExport) {
    start();
    for (int type : {0, 1, 2, 3, 4, 5, 7, DISP32_DETECT, 3})
        EXPECT_EQ(call(api().disp32SetDevType, type), 1);
    DispDevInfo record;
    EXPECT_EQ(call(api().disp32GetDevInfo, &record), 1);
    EXPECT_EQ(record.type, 3);
    const Gamma gamma{50, 122, 55};
    EXPECT_EQ(call(api().disp32NewScreenGamma, 90, 220, 100), 1);
    EXPECT_EQ(tables(), corrected(grey_ramp(256), gamma));

    const HPALETTE greys = call(api().disp32CreateGrayPalette, nullptr, 256, 1);
    EXPECT_EQ(entries_of(greys), corrected(grey_ramp(256), gamma));
    const HPALETTE cube = call(api().disp32CreateColorPalette, nullptr, 2, 256, 0);
    EXPECT_EQ(entries_of(cube), colour_cube(2, 256));
    EXPECT_EQ(call(api().disp32CreateColorPalette, cube, 4, 300, 1), cube);
    EXPECT_EQ(entries_of(cube), corrected(colour_cube(4, 256), gamma));
    EXPECT_EQ(take_entries(call(api().disp32PalDuplicate, greys)), entries_of(greys));
    EXPECT_EQ(call(api().disp32PalSize, greys), 256);
    EXPECT_EQ(take_entries(call(api().disp32GammaColorPalette, cube, &record)),
              corrected(corrected(colour_cube(4, 256), gamma), gamma));
    EXPECT_EQ(record.green_gamma, 122);
    take_entries(greys);
    take_entries(cube);
    expect_no_report();
    EXPECT_REPORT(call(api().disp32PalDuplicate, nullptr), 3200, 0, 5, 1);
    EXPECT_REPORT(call(api().disp32PalSize, nullptr) != -1, 3200, 1, 5, 3);
    frame::forget_reports();

    EXPECT_EQ(call(api().disp32BeHiColorDither, 0), 1);
    EXPECT_EQ(call(api().disp32BeHiColorDither, 1), 0);

    DispIcmMode settings{1, "one", "two", "three", "four", "five", 3, 7, 8};
    EXPECT_EQ(call(api().disp32SetICMMode, &settings), 1);
    DispIcmMode got{};
    EXPECT_EQ(call(api().disp32GetICMMode, &got), 1);
    EXPECT_STREQ(got.target_profile, "five");
    expect_no_report();
}

INSTANTIATE_TEST_SUITE_P(Offsets, MisalignedDisplay, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
