// Merging, filters, colour spaces, separation.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

constexpr int pixels = 200;

// --- runs ----------------------------------------------------------------------------------------

SCENARIO(i32Merge, Hue) {
    may_report({{1001, 2, 61, 1}});
    may_be_silent({"GlobalAlloc"});
    const Bytes base = some_bytes(pixels * 3), overlay = some_bytes(pixels * 3 + 1);
    const Bytes mask = some_bytes(pixels);
    Bytes result(pixels * 3);
    call(result.data(), base.data(), mask.data(), overlay.data(), 3, pixels, MERGE_HUE, 30);
    see(result);
}

// Without memory for a mask the thread's priority stays raised.
SCENARIO(i32Merge, LightenWithoutAMask) {
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    keeps("thread priority");
    const Bytes base = some_bytes(pixels * 3), overlay = some_bytes(pixels * 3 + 1);
    Bytes result(pixels * 3);
    call(result.data(), base.data(), nullptr, overlay.data(), 3, pixels, MERGE_LIGHTEN, 30);
    see(result);
}

// The result lies where the overlay does, of which there must be a copy.
class OntoItsOverlay : public ScenarioOf<&frame::Api::i32Merge> {
protected:
    void merge(unsigned mode) {
        const Bytes base = some_bytes(pixels * 3), mask = some_bytes(pixels);
        const Bytes overlay = some_bytes(pixels * 3 + 1);
        Bytes result = overlay;
        call(result.data(), base.data(), mask.data(), result.data(), 3, pixels, mode, 30);
        see(result);
    }
};

#define ONTO_ITS_OVERLAY(name) Q32_SCENARIO(OntoItsOverlay, i32Merge, name, Library::shared)
ONTO_ITS_OVERLAY(NormalOntoItsOverlay) {
    may_report({{1001, 2, 61, 50}});
    merge(MERGE_NORMAL);
}
ONTO_ITS_OVERLAY(DarkenOntoItsOverlay) {
    may_report({{1001, 2, 61, 52}});
    merge(MERGE_DARKEN);
}
ONTO_ITS_OVERLAY(ScreenOntoItsOverlay) {
    may_report({{1001, 2, 61, 61}});
    merge(MERGE_SCREEN);
}
ONTO_ITS_OVERLAY(MaskSubtractOntoItsOverlay) {
    may_report({{1001, 2, 61, 58}});
    merge(MERGE_MASK_SUBTRACT);
}

// --- rectangles of plain memory ------------------------------------------------------------------

SCENARIO(i32MergeEx, ValueThroughAMask) {
    may_report({{1001, 2, 61, 2}});
    Bytes image = some_bytes(30 * 20 * 3);
    const Bytes mask = some_bytes(30 * 20), overlay = some_bytes(25 * 15 * 3);
    const RECT covered{0, 0, 30, 20}, placed{3, 4, 28, 19};
    call(image.data(), 30, 20, mask.data(), &covered, overlay.data(), &placed, 3, MERGE_VALUE, 30);
    see(image);
}

SCENARIO(i32MergeEx, NormalWithoutAMask) {
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    Bytes image = some_bytes(30 * 20 * 3);
    const Bytes overlay = some_bytes(25 * 15 * 3);
    const RECT covered{0, 0, 30, 20}, placed{3, 4, 28, 19};
    call(image.data(), 30, 20, nullptr, &covered, overlay.data(), &placed, 3, MERGE_NORMAL, 30);
    see(image);
}

SCENARIO(i32MergeRamToRam, ColourWithoutAMask) {
    may_report({{1001, 2, 61, 2}});
    Bytes image = some_bytes(30 * 20 * 3);
    const Bytes overlay = some_bytes(25 * 15 * 3);
    call(image.data(), 30, 20, 3, 2, 1, overlay.data(), nullptr, 25, 15, {1, 1, 24, 14},
         MERGE_COLOR, 30);
    see(image);
}

SCENARIO(i32MergeRamToRam, LightenThroughAMask) {
    Bytes image = some_bytes(30 * 20 * 3);
    const Bytes overlay = some_bytes(25 * 15 * 3), mask = some_bytes(25 * 15);
    call(image.data(), 30, 20, 3, 2, 1, overlay.data(), mask.data(), 25, 15, {1, 1, 24, 14},
         MERGE_LIGHTEN, 30);
    see(image);
}

// --- buffers -------------------------------------------------------------------------------------

// Merges that fail have merged pieces, and a piece that is merged again is the same in mode 1 at
// full strength only.
constexpr RECT everything{0, 0, wide, high};

SCENARIO(i32MergeBufToBuf, IntoADuplicate) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr", "malloc"});
    fails_at_work();
    const Filled source, overlay(24, BUF32_TILED_FILE), mask(8);
    const Buffer duplicate(duplicate_of(source));
    call(duplicate, 3, 4, 0, overlay, &everything, MERGE_NORMAL, 0);
    see(source);
    see(duplicate);
}

SCENARIO(i32MergeBufToBuf, IntoOneColour) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr", "malloc"});
    fails_at_work();
    const Filled overlay(24, BUF32_TILED_FILE);
    const Buffer destination(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    call(destination, 3, 4, 0, overlay, &everything, MERGE_NORMAL, 0);
    see(destination);
}

SCENARIO(i32MergeBufToBuf, OfAPatternIntoASharedBitmap) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}, {1001, 1, 4, 21}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr", "malloc"});
    fails_at_work();
    const SomePattern pattern;
    const Buffer overlay(24, wide, high, BUF32_PATTERN, pattern.extra());
    const FilledBitmap destination;
    const Buffer sharer(duplicate_of(destination));
    call(destination, 3, 4, 0, overlay, &everything, MERGE_NORMAL, 0);
    see(destination);
    see(sharer);
}

// One cell, so that no piece is merged twice.
SCENARIO(i32MergeBufToBuf, HueThroughAMask) {
    may_report({{1001, 0, 2, 5}, {1001, 2, 61, 2}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    fails_at_work();
    const Filled destination(24, BUF32_TILED, 100, 90), overlay(24, BUF32_TILED, 100, 90);
    const Buffer mask(8, 100, 90, BUF32_ONE_COLOUR, some_colour);
    const RECT rectangle{0, 0, 80, 1};
    call(destination, 3, 4, mask, overlay, &rectangle, MERGE_HUE, 30);
    see(destination);
}

SCENARIO(i32MergeBufToRam, OfOneColour) {
    may_report({{1001, 0, 2, 5}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr", "malloc"});
    fails_at_work();
    const Buffer overlay(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    Bytes image = some_bytes(wide * high * 3);
    call(image.data(), 0, 0, wide, high, 3, 0, overlay, &everything, MERGE_NORMAL, 0);
    see(image);
}

SCENARIO(i32MergeBufToRam, OfAPatternThroughAMask) {
    may_report({{1001, 1, 4, 21}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    fails_at_work();
    const SomePattern pattern;
    const Buffer overlay(24, 100, 90, BUF32_PATTERN, pattern.extra());
    const Filled mask(8, BUF32_TILED, 100, 90);
    Bytes image = some_bytes(100 * 90 * 3);
    const RECT rectangle{0, 0, 100, 90};
    call(image.data(), 0, 0, 100, 90, 3, mask, overlay, &rectangle, MERGE_DIFFERENCE, 30);
    see(image);
}

// It merges nothing; out of sight it succeeds.
SCENARIO(i32MergeRamToBuf, OutOfSight) {
    const Filled destination;
    const Bytes overlay = some_bytes(30 * 20 * 3);
    const RECT rectangle{0, 0, 30, 20};
    call(destination, -40, 0, nullptr, overlay.data(), &rectangle, 30, 20, MERGE_NORMAL, 0);
    see(destination);
}

// --- colours -------------------------------------------------------------------------------------

SCENARIO(i32ColorFilter, TwoRanges) {
    may_be_silent({"GlobalAlloc"});
    struct {
        uint32_t count = 2;
        I32COLORRANGE ranges[2] = {{{10, 20, 30, 0}, {60, 80, 90, 0}},
                                   {{200, 120, 90, 0}, {60, 80, 90, 0}}};
    } filter;
    const Bytes source = some_bytes(pixels * 3);
    Bytes mask(pixels);
    call(mask.data(), nullptr, source.data(), I32_FILTER_RGB, pixels,
         reinterpret_cast<const I32COLORFILTER *>(&filter), 1);
    see(mask);
}

SCENARIO(i32ColorspaceConvert, ToHsv) {
    const Bytes source = some_bytes(pixels * 3);
    Bytes row(pixels * sizeof(I32HSV));
    call(row.data(), source.data(), pixels, I32_RGB_TO_HSV);
    see(row);
}

// --- separation ----------------------------------------------------------------------------------

FIRST_CALL(qfdCalcBGCurve, OfTheProcess) {
    does();
    const uint8_t rgb[] = {100, 120, 20};
    uint8_t cmyk[4] = {};
    api().qfdClrRgbToCmyk(rgb, cmyk);
    see(bytes_at(cmyk, 4));
}

SCENARIO(qfdClrRgbToCmyk, OnePixel) {
    const uint8_t rgb[] = {100, 120, 20};
    uint8_t cmyk[4] = {};
    gives(cmyk, rgb, cmyk);
    see(bytes_at(cmyk, 4));
}

SCENARIO(qfdClrCmykToRgb, OnePixel) {
    const uint8_t cmyk[] = {100, 120, 20, 30};
    uint8_t rgb[3] = {};
    does(cmyk, rgb);
    see(bytes_at(rgb, 3));
}

} // namespace
} // namespace q32::test
