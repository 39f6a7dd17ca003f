// Rows of plain memory: all but one of these functions call nothing that could fail. They stand
// here so that the list of exports is whole, and for the day when one does.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

SCENARIO(mem32DuplicateHandle, OfALockedBlock) {
    may_report({{1001, 0, 7, 3}, {3200, 0, 7, 2}});
    const Bitmap block(some_bytes(1000));
    const HGLOBAL made = makes(block);
    see(bytes_at(GlobalLock(made), 1000));
    GlobalUnlock(made);
    free_block(made);
}

SCENARIO(mem32Fill, Pixels) {
    Bytes row(300);
    call(row.data(), some_colour, 3, 100);
    see(row);
}

SCENARIO(mem32Exchange, Blocks) {
    Bytes a = some_bytes(1000), b(1000, 7);
    does(a.data(), b.data(), 1000);
    see(a);
    see(b);
}

SCENARIO(mem32ByteInvert, InPlace) {
    Bytes row = some_bytes(1000);
    call(nullptr, row.data(), 1000);
    see(row);
}

SCENARIO(mem32BitToByte, Row) {
    const Bytes source = some_bytes(125);
    Bytes row(1000);
    call(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(mem32BitToByteExt, Row) {
    const Bytes source = some_bytes(125);
    Bytes row(1000);
    call(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(mem32ByteToBit, Row) {
    const Bytes source = some_bytes(1000);
    Bytes row(125);
    call(row.data(), source.data(), 1000, 127);
    see(row);
}

SCENARIO(mem32_888To555, Row) {
    const Bytes source = some_bytes(3000);
    Bytes row(2000);
    call(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(mem32_888To565, Row) {
    const Bytes source = some_bytes(3000);
    Bytes row(2000);
    call(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(mem32_555To888, Row) {
    const Bytes source = some_bytes(2000);
    Bytes row(3000);
    call(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(mem32_565To888, Row) {
    const Bytes source = some_bytes(2000);
    Bytes row(3000);
    call(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(RGBToBGR, Row) {
    const Bytes source = some_bytes(3000);
    Bytes row(3000);
    does(row.data(), source.data(), 1000);
    see(row);
}

SCENARIO(mem32Map, Colours) {
    const Bytes source = some_bytes(3000), tables = some_bytes(768);
    Bytes row(3000);
    call(row.data(), source.data(), tables.data(), MEM32_MAP_24, 1000);
    see(row);
}

// --- whole factors -------------------------------------------------------------------------------

SCENARIO(mem32BitEnlarge, Row) {
    const Bytes source = some_bytes(10);
    Bytes row(31);
    does(row.data(), source.data(), 80, 3);
    see(row);
}

SCENARIO(mem32BitEnlargeExt, Block) {
    const Bytes source = some_bytes(40);
    Bytes block(30 * 8 + 1);
    gives(10, block.data(), source.data(), 80, 4, 3, 2);
    see(block);
}

SCENARIO(mem32Enlarge, Row) {
    const Bytes source = some_bytes(30);
    Bytes row(90);
    does(row.data(), source.data(), 10, 3, 3, 1);
    see(row);
}

SCENARIO(mem32EnlargeExt, Block) {
    const Bytes source = some_bytes(120);
    Bytes block(90 * 8);
    gives(30, block.data(), source.data(), 10, 4, 3, 2, 3, 0);
    see(block);
}

SCENARIO(mem32BitReduce, Row) {
    const Bytes source = some_bytes(30);
    Bytes row(10);
    does(row.data(), source.data(), 240, 3);
    see(row);
}

SCENARIO(mem32BitReduceExt, Block) {
    const Bytes source = some_bytes(120);
    Bytes block(20);
    gives(4, block.data(), source.data(), 240, 4, 3, 2);
    see(block);
}

SCENARIO(mem32Reduce, Row) {
    const Bytes source = some_bytes(90);
    Bytes row(30);
    does(row.data(), source.data(), 30, 3, 3, 1);
    see(row);
}

SCENARIO(mem32ReduceExt, Block) {
    const Bytes source = some_bytes(360);
    Bytes block(60);
    gives(4, block.data(), source.data(), 30, 4, 3, 2, 3, 0);
    see(block);
}

// --- rectangles ----------------------------------------------------------------------------------

SCENARIO(mem32GetMem, Block) {
    const Bytes image = some_bytes(90 * 20);
    Bytes block(10 * 8 * 3);
    call(image.data(), 5, 6, 10, 8, 3, 90, block.data());
    see(block);
}

SCENARIO(mem32MergeMem, Block) {
    const Bytes block = some_bytes(10 * 8 * 3);
    Bytes image(90 * 20);
    call(image.data(), 5, 6, block.data(), 10, 8, 3, 90);
    see(image);
}

} // namespace
} // namespace q32::test
