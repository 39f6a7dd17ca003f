// Bitmaps: opening, closing, and the two layouts.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

SCENARIO(buf32DIBBufAlloc, OverABitmap) {
    may_report({{1001, 1, 4, 14}, {1001, 1, 4, 15}});
    may_be_silent({"GlobalAlloc"});
    const Bitmap bitmap(some_bitmap());
    HBUF32 made = 0;
    call(&made, bitmap);
    see(made);
    EXPECT_SUCCESS(api().buf32DIBBufFree(made, nullptr));
}

SCENARIO(buf32DIBMemBufAlloc, OverABareBlock) {
    may_report({{1001, 1, 4, 14}});
    may_be_silent({"GlobalAlloc"});
    Bytes pixels = some_bytes(100 * 9);
    HBUF32 made = 0;
    call(&made, 24, 33, 9, pixels.data());
    see(made);
    EXPECT_SUCCESS(api().buf32DIBBufFree(made, nullptr));
    see(pixels);
}

SCENARIO(buf32DIBBufFree, Alone) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    FilledBitmap buffer;
    HGLOBAL block = nullptr;
    call(buffer, &block);
    buffer.closed();
    EXPECT_EQ(block, buffer.block());
    see(buffer.bytes());
}

SCENARIO(buf32DIBBufFree, WithSharers) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    FilledBitmap buffer;
    const Buffer first(duplicate_of(buffer)), second(duplicate_of(buffer));
    HGLOBAL block = nullptr;
    call(buffer, &block);
    buffer.closed();
    see(buffer.bytes());
    see(first);
    see(second);
}

SCENARIO(buf32DIBBufFree, Duplicate) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const FilledBitmap source;
    call(duplicate_of(source), nullptr);
    see(source);
}

// A duplicate that has a bitmap of its own hands it out.
SCENARIO(buf32DIBBufFree, DuplicateThatWasWritten) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const FilledBitmap source;
    const HBUF32 duplicate = duplicate_of(source);
    EXPECT_SUCCESS(api().buf32FillOneColor(duplicate, some_colour));
    HGLOBAL block = nullptr;
    call(duplicate, &block);
    EXPECT_NE(block, nullptr);
    free_block(block);
}

SCENARIO(buf32DIBBufToDIB, WithSharers) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    const FilledBitmap buffer;
    const Buffer sharer(duplicate_of(buffer));
    gives(buffer.block(), buffer);
    EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
    see(buffer);
    see(sharer);
}

SCENARIO(buf32DIBBufToDIB, Duplicate) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    const FilledBitmap source;
    const Buffer duplicate(duplicate_of(source));
    makes(duplicate);
    EXPECT_SUCCESS(api().buf32DIBToDIBBuf(duplicate));
    see(source);
    see(duplicate);
}

SCENARIO(buf32DIBToDIBBuf, ThereAndBack) {
    const FilledBitmap buffer;
    EXPECT_NE(api().buf32DIBBufToDIB(buffer), nullptr);
    call(buffer);
    see(buffer);
}

} // namespace
} // namespace q32::test
