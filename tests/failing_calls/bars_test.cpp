// Colour bars, in buffers and on device contexts.
#include "tests/failing_calls/canvas.h"

namespace q32::test {
namespace {

SCENARIO(q32CreateGrayBarImage, New) {
    may_report({{1001, 0, 4, 9}, {1001, 1, 8, 1}, {1001, 1, 8, 3}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    HBUF32 made = 0;
    call(&made, wide, high, 10, 240, 1);
    const Buffer owner(made);
    see(made);
}

SCENARIO(q32CreateGrayBarImage, IntoADuplicate) {
    fails_at_work();
    may_report(
        {{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1001, 1, 8, 3}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Filled source(8, BUF32_TILED_FILE);
    const Buffer duplicate(duplicate_of(source));
    HBUF32 destination = duplicate;
    call(&destination, 0, 0, 10, 240, 0);
    see(source);
    see(duplicate);
}

SCENARIO(q32CreateColorBarImage, New) {
    may_report({{1001, 0, 4, 9}, {1001, 1, 8, 7}, {1001, 1, 8, 9}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    HBUF32 made = 0;
    call(&made, wide, high, 0x102030, 0xF0A050, 0, 0);
    const Buffer owner(made);
    see(made);
}

SCENARIO(q32CreateColorBarImage, IntoOneColour) {
    fails_at_work();
    may_report({{1001, 1, 8, 9}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    HBUF32 destination = buffer;
    call(&destination, 0, 0, 0, 0, 1, 1);
    see(buffer);
}

SCENARIO(q32CreateHSBBarImage, New) {
    may_report({{1001, 0, 4, 9}, {1001, 1, 8, 4}, {1001, 1, 8, 6}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    HBUF32 made = 0;
    call(&made, BAR_HUE_DOWN, wide, high);
    const Buffer owner(made);
    see(made);
}

// A row that cannot be drawn leaves the run open, with what it holds.
SCENARIO(q32RectDrawGrayBar, OnTrueColour) {
    may_report({{1001, 1, 8, 10}});
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    goes_unnoticed({"SetDIBitsToDevice"});
    const Device device(DISP32_TRUE_COLOUR);
    const Canvas canvas;
    call(canvas.dc(), &place, 10, 240, 1);
    see(canvas.contents());
}

SCENARIO(q32RectDrawColorBar, OnAPalette) {
    may_report({{1001, 1, 8, 12}});
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    goes_unnoticed({"SelectPalette", "SetDIBitsToDevice"});
    const Device device(DISP32_PALETTE);
    const Canvas canvas;
    call(canvas.dc(), &place, 0x102030, 0xF0A050, 0, 0);
    see(canvas.contents());
}

SCENARIO(q32RectDrawHSBBar, OnHighColour) {
    may_report({{1001, 1, 8, 11}});
    may_be_silent({"GlobalAlloc", "GlobalLock"});
    goes_unnoticed({"SetDIBitsToDevice"});
    const Device device(DISP32_HIGH_COLOUR);
    const Canvas canvas;
    call(canvas.dc(), &place, BAR_HUE_ACROSS);
    see(canvas.contents());
}

} // namespace
} // namespace q32::test
