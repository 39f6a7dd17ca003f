// Locks: nesting, cells, what goes first, and exceptions in between.
#include "tests/cpp_interface/cpp_fixture.h"

#include <stdexcept>

namespace q32::test {
namespace {

using Locks = CppTest;

TEST_F(Locks, LockIsTakenBackAtTheEndOfItsScope) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    {
        const Lock lock = image.lock(BUF32_WRITE);
        EXPECT_NE(lock.base(), nullptr);
        EXPECT_EQ(lock.get(), image.get());
        EXPECT_EQ(locks_of(image), 1);
        EXPECT_EQ(image.info().access_mode, BUF32_WRITE);
    }
    EXPECT_EQ(locks_of(image), 0);
}

TEST_F(Locks, LocksNest) {
    const Buffer image = Buffer::allocate(8, 300, 300);
    Lock outer = image.lock(BUF32_WRITE);
    {
        const Lock inner = image.lock(BUF32_READ);
        const CellLock cell = image.lock_cell(8);
        EXPECT_EQ(locks_of(image), 3);
    }
    EXPECT_EQ(locks_of(image), 1);
    Lock moved = std::move(outer);
    EXPECT_EQ(locks_of(image), 1);
    EXPECT_FALSE(outer);
    moved.reset();
    EXPECT_EQ(locks_of(image), 0);
    moved.reset();
    EXPECT_EQ(locks_of(image), 0);
    expect_no_report();
}

TEST_F(Locks, ReleasedLockStays) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    {
        Lock lock = image.lock(BUF32_READ);
        EXPECT_EQ(lock.release(), image.get());
    }
    EXPECT_EQ(locks_of(image), 1);
    { const Lock taken(image.get()); }
    EXPECT_EQ(locks_of(image), 0);
}

TEST_F(Locks, LocksGoBeforeTheBufferThatWasMadeBeforeThem) {
    {
        const Buffer image = Buffer::allocate(8, 10, 10);
        const Lock lock = image.lock(BUF32_READ);
        const CellLock cell = image.lock_cell(0);
    }
    EXPECT_EQ(live_buffers(), 0);
    expect_no_report();
}

TEST_F(Locks, ExceptionGivesBackLocksAndBuffer) {
    EXPECT_THROW(
        {
            const Buffer image = Buffer::allocate(8, 10, 10);
            const Lock lock = image.lock(BUF32_WRITE);
            const CellLock cell = image.lock_cell(0);
            throw std::runtime_error("in between");
        },
        std::runtime_error);
    EXPECT_EQ(live_buffers(), 0);
    expect_no_report();
}

TEST_F(Locks, CellTellsWhereItIs) {
    const Buffer image = Buffer::allocate(24, 300, 200);
    const CellLock cell = image.lock_cell(5); // the third of the second band
    EXPECT_EQ(cell.cell().x, 256);
    EXPECT_EQ(cell.cell().y, 128);
    EXPECT_EQ(cell.cell().width, 44);
    EXPECT_EQ(cell.cell().height, 72);
    EXPECT_EQ(cell.pixels().size(), 44u * 72 * 3);
    EXPECT_EQ(cell.row(0).data(), cell.pixels().data());
    EXPECT_EQ(cell.row(71).data(), cell.pixels().data() + 71 * 44 * 3);
    EXPECT_EQ(cell.row(71).size(), 44u * 3);
}

TEST_F(Locks, PixelsWrittenInACellAreThere) {
    const Buffer image = Buffer::allocate(8, 300, 200);
    {
        const Lock writing = image.lock(BUF32_WRITE);
        for (std::uint8_t &pixel : image.lock_cell(0).pixels())
            pixel = 77;
    }
    unsigned char pixel = 0;
    image.read({127, 127, 1, 1}, Span(&pixel, 1));
    EXPECT_EQ(pixel, 77);
    EXPECT_EQ(*static_cast<unsigned char *>(image.pixel_address(127, 127)), 77);
}

TEST_F(Locks, RowsAreReadAndWrittenAsTheModeSays) {
    const Buffer image = Buffer::allocate(16, 2, 2);
    const Lock lock = image.lock(BUF32_WRITE);
    const unsigned char words[] = {1, 2, 3, 4};
    lock.write_row(1, words);
    unsigned char back[4] = {};
    lock.read_row(1, back);
    EXPECT_EQ(std::vector(back, back + 4), std::vector(words, words + 4));
    unsigned char pixels[] = {200, 100, 50, 0, 0, 0};
    lock.line(0, BUF32_LINE_WRITE_565, pixels);
    lock.line(0, BUF32_LINE_READ_565, pixels);
    EXPECT_EQ(std::vector(pixels, pixels + 3), (std::vector<unsigned char>{207, 103, 55}));
}

TEST_F(Locks, FailuresAreTold) {
    const Buffer image = Buffer::allocate(8, 300, 200);
    expect_report(thrown_by([&] { static_cast<void>(image.lock_cell(6)); }), "buf32CellLock",
                  {5804, 0, 3, 1});
    expect_report(image.lock_cell<nothrow>(-1).error(), "buf32CellLock", {5804, 0, 3, 1});
    unsigned char row[300] = {};
    const Lock none;
    report_something_older();
    expect_unreported(none.line<nothrow>(0, BUF32_LINE_READ, row).error(), "buf32Line");
    const Buffer fixed = Buffer::over_memory(8, 300, 1, row);
    report_something_older();
    expect_unreported(fixed.lock<nothrow>(BUF32_WRITE).error(), "buf32Lock");
    EXPECT_EQ(locks_of(image), 0);
    EXPECT_EQ(locks_of(fixed), 0);
}

TEST_F(Locks, RowOfABufferThatIsNotLocked) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    unsigned char row[10] = {};
    Lock lock = image.lock(BUF32_READ);
    buf32Unlock(image.get());
    expect_report(thrown_by([&] { lock.read_row(0, row); }), "buf32Line", {5804, 1, 3, 3});
    lock.release();
}

} // namespace
} // namespace q32::test
