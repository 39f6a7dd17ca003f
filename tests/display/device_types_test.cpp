// Device types: detected on the display of this machine and on pretended ones, forced, restored,
// and what each of them brings along.
#include "tests/display/display_fixture.h"

#include "tests/frame/random.h"

#include <climits>

namespace q32::test {
namespace {

class DeviceTypes : public DisplayTest {};

// --- detected --------------------------------------------------------------------------------

// Wine tells 32 bits of a display of 24.
TEST_F(DeviceTypes, OfTheDisplayThatIsThere) {
    const std::uint64_t depth = environment_number("Q32BASE_TEST_DEPTH", 24);
    ASSERT_TRUE(depth == 8 || depth == 16 || depth == 24);
    start();
    switch (depth) {
    case 8:
        expect_device(DISP32_PALETTE, 8, 1);
        break;
    case 16:
        expect_device(DISP32_HIGH_COLOUR, 16, 1);
        break;
    default:
        expect_device(DISP32_TRUE_COLOUR, 32, 1);
    }
    const DispDevInfo record = information();
    expect_measures(record);
    EXPECT_EQ(record.width, 800);
    EXPECT_EQ(record.height, 600);
    EXPECT_EQ(record.red_gamma, 100);
    EXPECT_EQ(record.green_gamma, 100);
    EXPECT_EQ(record.blue_gamma, 100);
}

int type_of_colours(int bits) {
    switch (bits) {
    case 3:
        return 1;
    case 4:
        return 2;
    case 8:
        return 3;
    case 16:
        return 5;
    default:
        return bits >= 9 ? 4 : 0;
    }
}

TEST_F(DeviceTypes, AreBitsTimesPlanes) {
    PaletteWatch watch;
    start();
    for (int planes = 1; planes <= 4; ++planes)
        for (int bits = 0; bits <= 34; bits += bits < 17 || planes == 1 ? 1 : 7) {
            SCOPED_TRACE(std::to_string(bits) + " x " + std::to_string(planes));
            const PretendedDisplay display{bits, planes};
            const int type = type_of_colours(bits * planes);
            EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
            expect_device(type, bits, planes);
            ASSERT_EQ(watch.contents(), library_palettes(type));
        }
}

// The same at the start of the library; literally.
TEST_F(DeviceTypes, AtTheStart) {
    const struct {
        int bits, planes, type;
    } displays[] = {{1, 1, 0},  {2, 1, 0},  {3, 1, 1},  {1, 3, 1},  {1, 4, 2},  {2, 2, 2},
                    {5, 1, 0},  {6, 1, 0},  {7, 1, 0},  {8, 1, 3},  {4, 2, 3},  {2, 4, 3},
                    {9, 1, 4},  {12, 1, 4}, {15, 1, 4}, {16, 1, 5}, {4, 4, 5},  {8, 2, 5},
                    {17, 1, 4}, {24, 1, 4}, {8, 3, 4},  {32, 1, 4}, {64, 1, 4}, {0, 0, 0}};
    for (const auto &[bits, planes, type] : displays) {
        SCOPED_TRACE(std::to_string(bits) + " x " + std::to_string(planes));
        PaletteWatch watch;
        {
            const PretendedDisplay display{bits, planes};
            start();
        }
        expect_device(type, bits, planes);
        EXPECT_EQ(watch.contents(), library_palettes(type));
        expect_measures(information());
        stop();
        EXPECT_EQ(watch.held().size(), 0u);
    }
}

// Every number lies where it belongs.
TEST_F(DeviceTypes, InformationFieldByField) {
    const auto invented = [](HDC, int index) {
        switch (index) {
        case BITSPIXEL:
            return 6;
        case PLANES:
            return 5;
        default:
            return 10000 + index;
        }
    };
    {
        const Replaced<call::GetDeviceCaps> display(invented);
        start();
    }
    set_gamma({11, 222, 33});
    const DispDevInfo record = information();
    std::int32_t words[12];
    std::memcpy(words, &record, sizeof words);
    const std::int32_t wanted[12] = {4,
                                     10000 + HORZSIZE,
                                     10000 + VERTSIZE,
                                     10000 + LOGPIXELSX,
                                     10000 + LOGPIXELSY,
                                     10000 + HORZRES,
                                     10000 + VERTRES,
                                     6,
                                     5,
                                     11,
                                     222,
                                     33};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(words[i], wanted[i]) << i;
    EXPECT_SILENT_FAILURE(api().disp32GetDevInfo(nullptr));
}

TEST_F(DeviceTypes, AskAnInformationContextAndCloseIt) {
    start();
    Calls calls;
    Watch<call::CreateICA> open{calls};
    Watch<call::CreateDCA> open_another{calls};
    Watch<call::GetDeviceCaps> ask{calls};
    Watch<call::DeleteDC> close{calls};
    const Census before = Census::now();
    EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
    EXPECT_EQ(Census::now(), before);
    EXPECT_EQ(calls.sequence(),
              (std::vector<std::string>{"CreateICA", "GetDeviceCaps", "DeleteDC"}));
    EXPECT_EQ(calls.find("CreateICA(\"DISPLAY\""), 0);
    for (int index :
         {BITSPIXEL, PLANES, HORZSIZE, VERTSIZE, LOGPIXELSX, LOGPIXELSY, HORZRES, VERTRES})
        EXPECT_NE(calls.find("GetDeviceCaps(*, " + std::to_string(index) + ")"), -1) << index;
    // Everything else is asked of nobody.
    calls.clear();
    for (int type : {0, 1, 2, 3, 4, 5, 6, 7})
        EXPECT_SUCCESS(api().disp32SetDevType(type));
    information();
    EXPECT_EQ(calls.text(), "");
}

// --- forced ----------------------------------------------------------------------------------

TEST_F(DeviceTypes, ForcedFromAnyOther) {
    constexpr int bits_of[] = {1, 4, 4, 8, 24, 16};
    PaletteWatch watch;
    {
        const PretendedDisplay display{6, 5}; // so that planes are seen to change
        start();
    }
    const DispDevInfo detected = information();
    for (int from = 0; from <= 5; ++from)
        for (int type = 0; type <= 5; ++type) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(type));
            EXPECT_SUCCESS(api().disp32SetDevType(99));
            EXPECT_SUCCESS(api().disp32SetDevType(from));
            watch.look();
            EXPECT_SUCCESS(api().disp32SetDevType(type));
            if (type == 4 && from == 4) { // detected, and never forced
                expect_device(4, 6, 5);
            } else {
                expect_device(type, bits_of[type], 1);
            }
            ASSERT_EQ(watch.contents(), library_palettes(type));
            // All others are as they were detected.
            DispDevInfo record = information();
            record.type = detected.type;
            record.bits_per_pixel = detected.bits_per_pixel;
            record.planes = detected.planes;
            EXPECT_EQ(std::memcmp(&record, &detected, sizeof record), 0);
            const PaletteWatch::Counts counts = watch.look();
            const int held = type == 4 || type == 5 ? 1 : 3;
            EXPECT_EQ(counts.created, type == from ? 0 : held);
        }
}

TEST_F(DeviceTypes, ThatAreThereAlreadyChangeNothing) {
    {
        const PretendedDisplay display{8, 3};
        start();
    }
    for (int type : {4, 0, 1, 2, 3, 4, 5}) {
        SCOPED_TRACE(type);
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        const DispDevInfo before = information();
        const Census census = Census::now();
        PaletteWatch watch;
        FailingCall contexts("CreateICA", 1), memory("GlobalAlloc", 1), heap("calloc", 1);
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        EXPECT_EQ(watch.look(), PaletteWatch::Counts{});
        EXPECT_EQ(contexts.calls() + memory.calls() + heap.calls(), 0);
        const DispDevInfo after = information();
        EXPECT_EQ(std::memcmp(&after, &before, sizeof after), 0);
        EXPECT_EQ(Census::now(), census);
    }
}

// Nothing that a type brings along is left when it goes.
TEST_F(DeviceTypes, LeaveNothingWhenTheyGo) {
    start();
    const Census before = Census::now();
    for (int type : {0, 5, 3, 4, 1, 2, 5, 0, 4, 3}) {
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        set_gamma({90, 110, 120});
    }
    EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
    EXPECT_EQ(Census::now(), before);
    for (int type : {0, 1, 2, 3, 4, 5}) {
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        stop();
        start();
    }
}

// --- restored --------------------------------------------------------------------------------

TEST_F(DeviceTypes, AreRestoredByAnyOtherValue) {
    PaletteWatch watch;
    const struct {
        int bits, planes, type;
    } displays[] = {{8, 1, 3}, {4, 4, 5}, {15, 1, 4}, {32, 1, 4}, {1, 1, 0}, {2, 2, 2}, {3, 1, 1}};
    for (const auto &[bits, planes, type] : displays) {
        SCOPED_TRACE(std::to_string(bits) + " x " + std::to_string(planes));
        {
            const PretendedDisplay display{bits, planes};
            start();
        }
        for (int other : {7, 99, 6, -2, INT_MIN, INT_MAX}) {
            SCOPED_TRACE(other);
            EXPECT_SUCCESS(api().disp32SetDevType(type == 3 ? 5 : 3));
            EXPECT_NE(information().type, type);
            EXPECT_SUCCESS(api().disp32SetDevType(other));
            expect_device(type, bits, planes);
            EXPECT_EQ(watch.contents(), library_palettes(type));
            // Already restored: once more does no harm.
            EXPECT_SUCCESS(api().disp32SetDevType(other));
            expect_device(type, bits, planes);
            EXPECT_EQ(watch.contents(), library_palettes(type));
        }
        // A forced type stays forced when it is the one that was detected.
        EXPECT_SUCCESS(api().disp32SetDevType(type == 0 ? 1 : 0));
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        constexpr int bits_of[] = {1, 4, 4, 8, 24, 16};
        expect_device(type, bits_of[type], 1);
        EXPECT_SUCCESS(api().disp32SetDevType(7));
        expect_device(type, bits, planes);
        stop();
    }
}

// What was detected last, at the start or since.
TEST_F(DeviceTypes, AreRestoredAsDetectedLast) {
    start();
    const DispDevInfo real = information();
    {
        const PretendedDisplay display{3, 1};
        EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
        expect_device(1, 3, 1);
    }
    EXPECT_SUCCESS(api().disp32SetDevType(4));
    EXPECT_SUCCESS(api().disp32SetDevType(7));
    expect_device(1, 3, 1);
    EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
    expect_device(real.type, real.bits_per_pixel, real.planes);
}

TEST_F(DeviceTypes, DetectedAgainBeginWithoutCorrection) {
    PaletteWatch watch;
    start();
    for (int type : {3, 4, 5, 0}) {
        SCOPED_TRACE(type);
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        set_gamma({50, 60, 70});
        const PretendedDisplay display{8, 1};
        EXPECT_SUCCESS(api().disp32SetDevType(DISP32_DETECT));
        expect_device(3, 8, 1);
        expect_gamma({100, 100, 100});
        EXPECT_EQ(watch.contents().size(), 3u);
    }
    EXPECT_EQ(watch.contents(), library_palettes(3));
}

} // namespace
} // namespace q32::test
