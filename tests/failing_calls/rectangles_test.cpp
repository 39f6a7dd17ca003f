// Rectangles of buffers, duplicates and fills.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

// --- rectangles ----------------------------------------------------------------------------------

constexpr int x = 100, y = 110, width = 35, height = 18; // over four cells

SCENARIO(buf32GetMem, OfATiledFile) {
    const Filled buffer(24, BUF32_TILED_FILE);
    Bytes memory(width * height * 3);
    call(buffer, x, y, width, height, memory.data());
    see(memory);
}

SCENARIO(buf32GetMem, OfAPattern) {
    const SomePattern pattern;
    const Buffer buffer(24, wide, high, BUF32_PATTERN, pattern.extra());
    Bytes memory(width * height * 3);
    call(buffer, x, y, width, height, memory.data());
    see(memory);
}

SCENARIO(buf32GetMem, OfBits) {
    const Filled buffer(1);
    Bytes memory((width + 7) / 8 * height);
    call(buffer, x, y, width, height, memory.data());
    see(memory);
}

SCENARIO(buf32GetMemWithBC, OfAnEdge) {
    const Filled buffer;
    Bytes memory(60 * 40 * 3);
    call(buffer, x, y, 60, 40, memory.data(), some_colour);
    see(memory);
}

SCENARIO(buf32MergeMem, IntoADuplicate) {
    const Filled source;
    const Buffer duplicate(duplicate_of(source));
    const Bytes memory = some_bytes(width * height * 3);
    call(duplicate, x, y, memory.data(), width, height);
    see(source);
    see(duplicate);
}

SCENARIO(buf32MergeMem, IntoASharedFile) {
    may_report({{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    const Filled source(24, BUF32_TILED_FILE);
    const Buffer first(duplicate_of(source)), second(duplicate_of(source));
    const Bytes memory = some_bytes(width * height * 3);
    call(source, x, y, memory.data(), width, height);
    see(source);
    see(first);
    see(second);
}

SCENARIO(buf32MergeMem, IntoOneColour) {
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    const Bytes memory = some_bytes(width * height * 3);
    call(buffer, x, y, memory.data(), width, height);
    see(buffer);
}

SCENARIO(buf32GetBuf, PartIntoANewOne) {
    may_report({{1001, 0, 4, 9}});
    const Filled source;
    HBUF32 made = 0;
    call(source, x, y, width, height, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32GetBuf, AllIntoANewOne) {
    may_report({{1001, 1, 3, 8}, {1001, 1, 3, 9}});
    const Filled source(24, BUF32_TILED_FILE);
    HBUF32 made = 0;
    call(source, 0, 0, wide, high, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32GetBuf, OfABitmap) {
    may_report({{1001, 0, 1, 9}, {1001, 0, 4, 9}});
    const FilledBitmap source;
    HBUF32 made = 0;
    call(source, 3, 2, 20, 5, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32GetBuf, IntoADuplicate) {
    may_report({{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    const Filled source, other(24, BUF32_TILED_FILE);
    const Buffer duplicate(duplicate_of(other));
    HBUF32 destination = duplicate;
    call(source, 5, 6, wide - 20, high - 10, &destination);
    see(duplicate);
    see(other);
}

SCENARIO(buf32GetBuf, OfOneColour) {
    may_report({{1001, 0, 4, 9}, {1001, 0, 4, 10}});
    const Buffer source(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    HBUF32 made = 0;
    call(source, 1, 2, 135, 128, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32MergeBuf, OfATiledFile) {
    const Filled source(24, BUF32_TILED_FILE), destination(24, BUF32_LINEAR, 150, 140);
    call(source, 5, 6, wide - 20, high - 10, destination, 20, 20);
    see(destination);
}

SCENARIO(buf32MergeBuf, IntoAPattern) {
    const Filled source;
    const SomePattern pattern;
    const Buffer destination(24, wide, high, BUF32_PATTERN, pattern.extra());
    call(source, 5, 6, wide - 20, high - 10, destination, 1, 1);
    see(destination);
}

SCENARIO(buf32MergeBuf, BetweenBitmaps) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    const FilledBitmap source;
    const FilledBitmap other;
    const Buffer destination(duplicate_of(other));
    call(source, 3, 2, 20, 5, destination, 1, 1);
    see(destination);
    see(other);
}

// --- duplicates ----------------------------------------------------------------------------------

SCENARIO(buf32DupBuf, OfATiledFile) {
    may_report({{1001, 1, 3, 8}, {1001, 1, 3, 9}});
    const Filled source(24, BUF32_TILED_FILE);
    HBUF32 made = 0;
    call(source, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32DupBuf, OfABitmap) {
    may_report({{1001, 1, 1, 8}, {1001, 1, 1, 9}});
    const FilledBitmap source;
    HBUF32 made = 0;
    call(source, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32DupBuf, OfOneColour) {
    may_report({{1001, 0, 2, 9}});
    const Buffer source(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    HBUF32 made = 0;
    call(source, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32DupBuf, OfAPattern) {
    may_report({{1001, 1, 3, 8}, {1001, 1, 3, 9}, {1001, 1, 70, 23}});
    const SomePattern pattern;
    const Buffer source(24, wide, high, BUF32_PATTERN, pattern.extra());
    HBUF32 made = 0;
    call(source, &made);
    const Buffer owner(made);
    see(made);
}

SCENARIO(buf32DupBuf, IntoASourceOfOthers) {
    may_report({{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    const Filled source(24, BUF32_TILED_FILE), destination(24, BUF32_TILED_FILE);
    const Buffer sharer(duplicate_of(destination));
    HBUF32 handle = destination;
    call(source, &handle);
    see(destination);
    see(sharer);
}

SCENARIO(buf32DupBuf, IntoABitmapThatIsShared) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    const FilledBitmap source, destination;
    const Buffer sharer(duplicate_of(destination));
    HBUF32 handle = destination;
    call(source, &handle);
    see(destination);
    see(sharer);
}

// --- fills ---------------------------------------------------------------------------------------

SCENARIO(buf32FillOneColor, Tiled) {
    may_report({{1001, 1, 4, 21}});
    fails_at_work();
    const Filled buffer;
    call(buffer, some_colour);
    see(buffer);
}

SCENARIO(buf32FillOneColor, SharedFile) {
    may_report(
        {{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1001, 1, 4, 21}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    fails_at_work();
    const Filled buffer(24, BUF32_TILED_FILE);
    const Buffer sharer(duplicate_of(buffer));
    call(buffer, some_colour);
    see(buffer);
    see(sharer);
}

SCENARIO(buf32FillOneColor, DuplicateOfABitmap) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    const FilledBitmap source;
    const Buffer duplicate(duplicate_of(source));
    call(duplicate, some_colour);
    see(source);
    see(duplicate);
}

SCENARIO(buf32FillPattern, Tiled) {
    may_report({{1001, 1, 4, 21}, {1001, 1, 70, 23}});
    fails_at_work();
    const Filled buffer;
    const SomePattern pattern;
    call(buffer, pattern.extra());
    see(buffer);
}

SCENARIO(buf32FillPattern, SharedFile) {
    may_report({{1001, 0, 4, 2},
                {1001, 0, 4, 3},
                {1001, 1, 4, 21},
                {1001, 1, 70, 23},
                {1004, 0, 9, 10},
                {4010, 0, 9, 5}});
    fails_at_work();
    const Filled buffer(24, BUF32_TILED_FILE);
    const Buffer sharer(duplicate_of(buffer));
    const SomePattern pattern;
    call(buffer, pattern.extra());
    see(buffer);
    see(sharer);
}

SCENARIO(buf32FillPattern, Bitmap) {
    may_report({{1001, 1, 70, 23}});
    const FilledBitmap buffer;
    const SomePattern pattern;
    call(buffer, pattern.extra());
    see(buffer);
}

} // namespace
} // namespace q32::test
