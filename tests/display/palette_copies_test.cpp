// Copies of palettes, with and without correction, and their sizes.
#include "tests/display/display_fixture.h"

namespace q32::test {
namespace {

class PaletteCopies : public DisplayTest {
protected:
    void SetUp() override {
        DisplayTest::SetUp();
        start();
    }
    int size_of(HPALETTE palette) { return api().disp32PalSize(palette); }
    static Entries without_flags(Entries entries) {
        for (PaletteEntry &entry : entries)
            entry.flags = 0;
        return entries;
    }
};

constexpr int sizes[] = {1, 2, 3, 16, 255, 256, 257, 1000, 32767, 32768, 65535};

TEST_F(PaletteCopies, AreExactWithTheFlags) {
    for (int size : sizes) {
        SCOPED_TRACE(size);
        std::optional<OwnPalette> palette{std::in_place, colourful(size)};
        HPALETTE copy = nullptr;
        EXPECT_SUCCESS(copy = api().disp32PalDuplicate(palette->get()));
        EXPECT_NE(copy, palette->get());
        EXPECT_EQ(palette->entries(), colourful(size));
        palette.reset();
        EXPECT_EQ(take_entries(copy), colourful(size));
    }
}

TEST_F(PaletteCopies, OfLibraryPalettesAreExactToo) {
    for (int size : {256, 1000, 65535}) {
        const HPALETTE cube = api().disp32CreateColorPalette(nullptr, 2, size, 0);
        EXPECT_EQ(take_entries(api().disp32PalDuplicate(cube)), colour_cube(2, size));
        EXPECT_EQ(take_entries(cube), colour_cube(2, size));
    }
}

TEST_F(PaletteCopies, CannotBeMadeOfWhatIsNoPalette) {
    OwnPalette palette(colourful(4));
    const HPALETTE deleted = palette.deleted();
    const HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
    const HDC dc = CreateCompatibleDC(nullptr);
    DispDevInfo record;
    std::memset(&record, 0xA5, sizeof record);
    const DispDevInfo untouched = record;
    const Census before = Census::now();
    for (HGDIOBJ object : {HGDIOBJ(nullptr), HGDIOBJ(deleted), HGDIOBJ(brush), HGDIOBJ(dc),
                           reinterpret_cast<HGDIOBJ>(0x12345678)}) {
        SCOPED_TRACE(object);
        const auto none = static_cast<HPALETTE>(object);
        EXPECT_REPORT(api().disp32PalDuplicate(none), 3200, 0, 5, 1);
        EXPECT_REPORT(size_of(none) != -1, 3200, 1, 5, 3);
        EXPECT_SILENT_FAILURE(api().disp32GammaColorPalette(none, nullptr));
        EXPECT_SILENT_FAILURE(api().disp32GammaColorPalette(none, &record));
        EXPECT_EQ(std::memcmp(&record, &untouched, sizeof record), 0);
    }
    EXPECT_EQ(Census::now(), before);
    DeleteObject(brush);
    DeleteDC(dc);
}

TEST_F(PaletteCopies, SizesAreNumbersOfEntries) {
    for (int size : sizes) {
        const OwnPalette palette{colourful(size)};
        EXPECT_SUCCESS(size_of(palette.get()) == size);
    }
    const OwnPalette resized{colourful(20)};
    ResizePalette(resized.get(), 5);
    EXPECT_EQ(size_of(resized.get()), 5);
    EXPECT_SUCCESS(size_of(static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE))) == 20);
    EXPECT_REPORT(size_of(OwnPalette{colourful(9)}.deleted()) != -1, 3200, 1, 5, 3);
    frame::forget_reports();
}

// Of the number that the system tells, the lower 16 bits count.
TEST_F(PaletteCopies, SizesHave16Bits) {
    const OwnPalette palette{colourful(3)};
    for (const WORD told : {WORD(1), WORD(256), WORD(0x7FFF), WORD(0x8000), WORD(0xFFFF)}) {
        const Replaced<call::GetObjectA> tell([&](HANDLE, int size, void *out) {
            EXPECT_GE(size, int(sizeof told));
            std::memset(out, 0xFF, std::size_t(size));
            std::memcpy(out, &told, sizeof told);
            return int(sizeof told);
        });
        EXPECT_EQ(size_of(palette.get()), told);
        expect_no_report();
    }
}

// --- corrected copies ------------------------------------------------------------------------

TEST_F(PaletteCopies, AreCorrectedInEachChannel) {
    const Gamma gammas[] = {{100, 100, 100}, {50, 50, 50}, {55, 122, 200}, {0, -3, 1}};
    for (const Gamma &gamma : gammas) {
        SCOPED_TRACE(testing::PrintToString(gamma));
        set_gamma(gamma);
        for (int size : sizes) {
            SCOPED_TRACE(size);
            const OwnPalette palette{colourful(size)};
            EXPECT_EQ(take_entries(api().disp32GammaColorPalette(palette.get(), nullptr)),
                      corrected(without_flags(colourful(size)), gamma));
            EXPECT_EQ(palette.entries(), colourful(size));
        }
    }
    expect_no_report();
}

TEST_F(PaletteCopies, TellTheDisplayWhenAsked) {
    const OwnPalette palette{colourful(5)};
    const Gamma gamma{50, 122, 200};
    set_gamma(gamma);
    for (int type : {3, 5, 7}) {
        SCOPED_TRACE(type);
        EXPECT_SUCCESS(api().disp32SetDevType(type));
        struct {
            DispDevInfo record;
            std::uint32_t behind;
        } told;
        std::memset(&told, 0xA5, sizeof told);
        HPALETTE copy = nullptr;
        EXPECT_SUCCESS(copy = api().disp32GammaColorPalette(palette.get(), &told.record));
        EXPECT_EQ(take_entries(copy), corrected(without_flags(colourful(5)), gamma));
        const DispDevInfo record = information();
        EXPECT_EQ(std::memcmp(&told.record, &record, sizeof record), 0);
        EXPECT_EQ(told.record.green_gamma, 122);
        EXPECT_EQ(told.behind, 0xA5A5A5A5);
        expect_measures(told.record);
    }
}

} // namespace
} // namespace q32::test
