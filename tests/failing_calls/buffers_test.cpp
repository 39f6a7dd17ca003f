// Buffers: allocation, release, locks, rows, addresses.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

// A new buffer works, and is given back.
void use(HBUF32 made) {
    const Buffer buffer(made);
    fill_and_check(buffer);
}

SCENARIO(buf32Alloc, InMemory) {
    may_report({{1001, 0, 4, 9}});
    HBUF32 made = 0;
    call(&made, 24, wide, high, BUF32_TILED, nullptr);
    use(made);
}

SCENARIO(buf32Alloc, InAFile) {
    may_report(
        {{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1001, 0, 4, 9}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    HBUF32 made = 0;
    call(&made, 24, wide, high, BUF32_TILED_FILE, nullptr);
    use(made);
}

FIRST_CALL(buf32Alloc, InTheFirstFile) {
    may_report({{1001, 0, 4, 2},
                {1001, 0, 4, 3},
                {1001, 0, 4, 9},
                {1004, 0, 9, 10},
                {4010, 0, 9, 5},
                {4010, 0, 9, 6}});
    HBUF32 made = 0;
    call(&made, 24, wide, high, BUF32_TILED_FILE, nullptr);
    use(made);
}

SCENARIO(buf32Alloc, Linear) {
    may_report({{1001, 0, 4, 9}});
    HBUF32 made = 0;
    call(&made, 8, wide, high, BUF32_LINEAR, nullptr);
    use(made);
}

SCENARIO(buf32Alloc, LinearInMemory) {
    may_report({{1001, 0, 4, 4}, {1001, 0, 4, 9}});
    HBUF32 made = 0;
    call(&made, 8, wide, high, BUF32_LINEAR_MEMORY, nullptr);
    use(made);
}

SCENARIO(buf32Alloc, OneColour) {
    may_report({{1001, 0, 4, 9}, {1001, 0, 4, 10}});
    HBUF32 made = 0;
    call(&made, 24, wide, high, BUF32_ONE_COLOUR, some_colour);
    const Buffer buffer(made);
    see(buffer);
}

SCENARIO(buf32Alloc, Pattern) {
    may_report({{1001, 0, 4, 9}, {1001, 0, 4, 10}});
    HBUF32 made = 0;
    const SomePattern pattern;
    call(&made, 24, wide, high, BUF32_PATTERN, pattern.extra());
    const Buffer buffer(made);
    see(buffer);
}

SCENARIO(buf32Alloc, CallerMemory) {
    may_report({{1001, 0, 4, 9}});
    HBUF32 made = 0;
    Bytes pixels = some_bytes(40 * 30 * 3);
    const BUF32MEMORY memory{0, pixels.data()};
    call(&made, 24, 40, 30, BUF32_CALLER_MEMORY, &memory);
    const Buffer buffer(made);
    see(buffer);
}

SCENARIO(buf32Alloc, OverABitmap) {
    may_report({{1001, 0, 4, 9}, {1001, 1, 4, 14}, {1001, 1, 4, 15}});
    may_be_silent({"GlobalAlloc"});
    const Bitmap bitmap(some_bitmap());
    HBUF32 made = 0;
    call(&made, 24, 33, 9, BUF32_DIB, HGLOBAL(bitmap));
    see(made);
    EXPECT_SUCCESS(api().buf32DIBBufFree(made, nullptr));
}

// --- release -------------------------------------------------------------------------------------

HBUF32 made_of(uint32_t type, const void *extra = nullptr) {
    HBUF32 handle = 0;
    EXPECT_SUCCESS(api().buf32Alloc(&handle, 24, wide, high, type, extra));
    return handle;
}

SCENARIO(buf32Free, InMemory) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    call(made_of(BUF32_TILED));
}

SCENARIO(buf32Free, InAFile) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    call(made_of(BUF32_TILED_FILE));
}

SCENARIO(buf32Free, OneColourThatWasRead) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const HBUF32 buffer = made_of(BUF32_ONE_COLOUR, some_colour);
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    call(buffer);
}

SCENARIO(buf32Free, PatternThatWasRead) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const SomePattern pattern;
    const HBUF32 buffer = made_of(BUF32_PATTERN, pattern.extra());
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    call(buffer);
}

// Its first sharer takes the file over.
SCENARIO(buf32Free, SourceInAFile) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const HBUF32 source = made_of(BUF32_TILED_FILE);
    fill_and_check(source);
    const Buffer first(duplicate_of(source)), second(duplicate_of(source));
    call(source);
    see(first);
    see(second);
}

SCENARIO(buf32Free, Duplicate) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Filled source;
    call(duplicate_of(source));
    see(source);
}

// Its first sharer gets a bitmap of its own.
SCENARIO(buf32Free, BitmapThatIsShared) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    FilledBitmap source;
    const Buffer first(duplicate_of(source)), second(duplicate_of(source));
    call(source);
    source.freed();
    see(first);
    see(second);
}

SCENARIO(buf32ReAlloc, Shrinks) {
    may_be_silent({"VirtualFree"});
    const Filled buffer(8, BUF32_LINEAR_MEMORY, 300, 300);
    call(buffer, 20);
    see(buffer);
}

SCENARIO(buf32ReAlloc, GrowsBack) {
    may_be_silent({"VirtualAlloc"});
    const Filled buffer(8, BUF32_LINEAR_SHRINK, 300, 300);
    EXPECT_SUCCESS(api().buf32ReAlloc(buffer, 20));
    call(buffer, 300);
    EXPECT_SUCCESS(api().buf32ReAlloc(buffer, 20));
    see(buffer);
}

SCENARIO(buf32ReAlloc, OfADuplicate) {
    may_report({{1001, 0, 4, 4}});
    may_be_silent({"VirtualFree"});
    fails_at_work();
    const Filled source(8, BUF32_LINEAR_MEMORY, 300, 300);
    const Buffer duplicate(duplicate_of(source));
    call(duplicate, 20);
    see(source);
    see(duplicate);
}

// --- what is told --------------------------------------------------------------------------------

SCENARIO(buf32GetInfo, OfATiledBuffer) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Filled buffer;
    BUF32INFO info{};
    call(buffer, &info);
    see(bytes_at(&info, sizeof info));
}

SCENARIO(buf32GetWHU, OfABitmap) {
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const FilledBitmap buffer;
    int width = 0, height = 0, unit = 0;
    call(buffer, &width, &height, &unit);
    see(width);
    see(height);
    see(unit);
}

SCENARIO(IsBufClean, Always) {
    does();
}

SCENARIO(buf32CountBuf, OfThree) {
    const Filled buffer;
    const Buffer first(duplicate_of(buffer)), second(duplicate_of(buffer));
    HBUF32 handles[3] = {};
    gives(3, handles);
    EXPECT_EQ(handles[0], HBUF32(buffer));
    EXPECT_EQ(handles[2], HBUF32(second));
}

SCENARIO(buf32VMData, AllSettings) {
    size_t memory_limit = 0x5000, file_limit = 0x6000;
    uint32_t memory_switch = 1, file_switch = 1;
    BUF32DIRECTORIES directories{}, before{};
    EXPECT_SUCCESS(api().buf32VMData(0, nullptr, nullptr, &before, nullptr, nullptr));
    std::strcpy(directories.path[0], before.path[0]);
    std::strcpy(directories.path[2], "C:\\");
    directories.enabled[2] = 1;
    call(1, &memory_limit, &file_limit, &directories, &memory_switch, &file_switch);
    BUF32DIRECTORIES now{};
    EXPECT_SUCCESS(api().buf32VMData(0, nullptr, nullptr, &now, nullptr, nullptr));
    see(bytes_at(&now, sizeof now));
    memory_limit = file_limit = frame::no_limit;
    memory_switch = file_switch = 0;
    EXPECT_SUCCESS(
        api().buf32VMData(1, &memory_limit, &file_limit, &before, &memory_switch, &file_switch));
}

SCENARIO(buf32GetVMDataExt, OfMemoryAndAFile) {
    const Filled buffer, in_file(24, BUF32_TILED_FILE);
    size_t memory = 0, mapped = 0;
    gives(&mapped, &memory, &mapped);
    see(int(memory));
    see(int(mapped));
}

SCENARIO(buf32GetMemSpace, FixedForCells) {
    may_report({{1001, 1, 4, 17}});
    const Filled buffer;
    void *block = nullptr;
    size_t unit = 0;
    call(buffer, 1, 2, 0, &block, &unit);
    see(int(unit));
    see(bytes_at(block, 2 * unit + 4));
    free_block(block);
}

SCENARIO(buf32GetMemSpace, MoveableForRows) {
    may_report({{1001, 1, 4, 17}});
    const Filled buffer;
    void *block = nullptr;
    size_t unit = 0;
    call(buffer, 2, 3, 1, &block, &unit);
    see(int(unit));
    free_block(GlobalHandle(block));
}

// --- locks, rows, addresses ----------------------------------------------------------------------

// Its pixels while it is locked.
Bytes cell_bytes(void *address, const BUF32CELL &cell) {
    return bytes_at(address, size_t(cell.bytes));
}

SCENARIO(buf32Lock, ForReading) {
    const Filled buffer(24, BUF32_TILED_FILE);
    void *base = nullptr;
    call(buffer, BUF32_READ, &base);
    see(bytes_at(base, 1000));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
}

SCENARIO(buf32Lock, OneColourForReading) {
    may_report({{1001, 0, 2, 5}});
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    void *base = nullptr;
    call(buffer, BUF32_READ, &base);
    see(bytes_at(base, 1000));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
}

SCENARIO(buf32Lock, OneColourForWriting) {
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    call(buffer, BUF32_WRITE, nullptr);
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    see(buffer);
}

SCENARIO(buf32Lock, PatternForReading) {
    may_report({{1001, 1, 4, 21}});
    const SomePattern pattern;
    const Buffer buffer(24, wide, high, BUF32_PATTERN, pattern.extra());
    call(buffer, BUF32_READ, nullptr);
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    see(buffer);
}

SCENARIO(buf32Lock, PatternForWriting) {
    const SomePattern pattern;
    const Buffer buffer(24, wide, high, BUF32_PATTERN, pattern.extra());
    call(buffer, BUF32_WRITE_3, nullptr);
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    see(buffer);
}

SCENARIO(buf32Lock, DuplicateForWriting) {
    const Filled source;
    const Buffer duplicate(duplicate_of(source));
    call(duplicate, BUF32_WRITE, nullptr);
    EXPECT_SUCCESS(api().buf32Unlock(duplicate));
    see(source);
    see(duplicate);
}

SCENARIO(buf32Lock, SharedFileForWriting) {
    may_report({{1001, 0, 4, 2}, {1001, 0, 4, 3}, {1004, 0, 9, 10}, {4010, 0, 9, 5}});
    const Filled source(24, BUF32_TILED_FILE);
    const Buffer first(duplicate_of(source)), second(duplicate_of(source));
    call(source, BUF32_OVERWRITE, nullptr);
    EXPECT_SUCCESS(api().buf32Unlock(source));
    see(source);
    see(first);
    see(second);
}

SCENARIO(buf32Lock, DuplicateOfABitmapForWriting) {
    may_report({{1001, 0, 1, 5}, {1001, 0, 1, 7}});
    const FilledBitmap source;
    const Buffer duplicate(duplicate_of(source));
    call(duplicate, BUF32_WRITE, nullptr);
    EXPECT_SUCCESS(api().buf32Unlock(duplicate));
    see(source);
    see(duplicate);
}

SCENARIO(buf32Unlock, Tiled) {
    const Filled buffer(24, BUF32_TILED_FILE);
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    call(buffer);
}

SCENARIO(buf32Unlock, OneColour) {
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    call(buffer);
}

SCENARIO(buf32CellLock, Tiled) {
    const Filled buffer(24, BUF32_TILED_FILE);
    void *address = nullptr;
    BUF32CELL cell{};
    call(buffer, 3, &address, &cell);
    see(cell_bytes(address, cell));
    EXPECT_SUCCESS(api().buf32CellUnlock(buffer, 3));
}

SCENARIO(buf32CellLock, OneColour) {
    may_report({{1001, 0, 2, 2}});
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    void *address = nullptr;
    BUF32CELL cell{};
    call(buffer, 1, &address, &cell);
    see(cell_bytes(address, cell));
    EXPECT_SUCCESS(api().buf32CellUnlock(buffer, 1));
}

SCENARIO(buf32CellLock, Pattern) {
    may_report({{1001, 1, 4, 21}});
    const SomePattern pattern;
    const Buffer buffer(24, wide, high, BUF32_PATTERN, pattern.extra());
    void *address = nullptr;
    BUF32CELL cell{};
    call(buffer, 2, &address, &cell);
    see(cell_bytes(address, cell));
    EXPECT_SUCCESS(api().buf32CellUnlock(buffer, 2));
}

// Duplicated after the lock for writing.
SCENARIO(buf32CellLock, SharedForWriting) {
    const Filled source;
    EXPECT_SUCCESS(api().buf32Lock(source, BUF32_WRITE, nullptr));
    const Buffer duplicate(duplicate_of(source));
    void *address = nullptr;
    BUF32CELL cell{};
    call(source, 0, &address, &cell);
    std::memset(address, 77, size_t(cell.bytes));
    EXPECT_SUCCESS(api().buf32CellUnlock(source, 0));
    EXPECT_SUCCESS(api().buf32Unlock(source));
    see(source);
    see(duplicate);
}

SCENARIO(buf32CellUnlock, Tiled) {
    const Filled buffer(24, BUF32_TILED_FILE);
    EXPECT_SUCCESS(api().buf32CellLock(buffer, 1, nullptr, nullptr));
    call(buffer, 1);
}

// A row through a lock for reading.
template <class Call>
void with_row(HBUF32 buffer, Bytes &row, Call call) {
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    call(row.data());
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
}

SCENARIO(buf32Line, Read) {
    const Filled buffer(24, BUF32_TILED_FILE);
    Bytes row(wide * 3);
    with_row(buffer, row, [&](void *memory) { call(buffer, 129, BUF32_LINE_READ, memory); });
    see(row);
}

SCENARIO(buf32Line, WriteIntoADuplicate) {
    const Filled source;
    const Buffer duplicate(duplicate_of(source));
    Bytes row = some_bytes(wide * 3);
    with_row(duplicate, row, [&](void *memory) { call(duplicate, 5, BUF32_LINE_WRITE, memory); });
    see(source);
    see(duplicate);
}

SCENARIO(buf32Line, WriteIntoOneColour) {
    const Buffer buffer(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    Bytes row = some_bytes(wide * 3);
    with_row(buffer, row, [&](void *memory) { call(buffer, 5, BUF32_LINE_WRITE, memory); });
    see(buffer);
}

SCENARIO(buf32Line, ReadBits) {
    may_be_silent({"GlobalAlloc"});
    const Filled buffer(1);
    Bytes row(wide);
    with_row(buffer, row, [&](void *memory) { call(buffer, 5, BUF32_LINE_READ_BITS, memory); });
    see(row);
}

SCENARIO(buf32Line, Write565) {
    may_be_silent({"GlobalAlloc"});
    const Filled buffer(16, BUF32_LINEAR);
    Bytes row = some_bytes(wide * 3);
    with_row(buffer, row, [&](void *memory) { call(buffer, 5, BUF32_LINE_WRITE_565, memory); });
    see(buffer);
}

SCENARIO(buf32PointAddr, Tiled) {
    const Filled buffer;
    const auto *const pixel = static_cast<uint8_t *>(makes(buffer, 130, 129));
    see(bytes_at(pixel, 3));
}

SCENARIO(buf32PointAddEx, Tiled) {
    const Filled buffer;
    void *cell = nullptr, *pixel = nullptr;
    int x = 0, y = 0;
    gives_or(3, -1, buffer, 130, 129, &cell, &pixel, &x, &y);
    see(bytes_at(pixel, 3));
    see(x);
    see(y);
}

} // namespace
} // namespace q32::test
