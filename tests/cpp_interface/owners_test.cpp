// Owners: who holds what, and that it is given back once.
#include "tests/cpp_interface/cpp_fixture.h"

#include "tests/frame/calls.h"

#include <utility>

namespace q32::test {
namespace {

static_assert(!std::is_copy_constructible_v<Buffer> && !std::is_copy_assignable_v<Buffer>);
static_assert(!std::is_copy_constructible_v<GlobalBlock>);
static_assert(!std::is_copy_constructible_v<BitmapLayout>);
static_assert(!std::is_copy_constructible_v<Lock> && !std::is_copy_constructible_v<CellLock>);
static_assert(!std::is_copy_constructible_v<DisplayRun> && !std::is_copy_constructible_v<Palette>);
static_assert(!std::is_copy_constructible_v<StreamScaler> && !std::is_copy_constructible_v<Jobs>);
static_assert(std::is_nothrow_move_constructible_v<Buffer>);
static_assert(std::is_nothrow_move_assignable_v<Buffer> && std::is_nothrow_swappable_v<Buffer>);
static_assert(std::is_nothrow_move_constructible_v<Jobs> && std::is_nothrow_swappable_v<Jobs>);
static_assert(sizeof(Buffer) == sizeof(HBUF32) && sizeof(DisplayRun) == sizeof(HDISPRUN));

using Owners = CppTest;

TEST_F(Owners, BufferIsFreedAtTheEndOfItsScope) {
    {
        const Buffer image = Buffer::allocate(24, 300, 200);
        EXPECT_TRUE(image);
        EXPECT_NE(image.get(), 0u);
        EXPECT_EQ(live_buffers(), 1);
    }
    EXPECT_EQ(live_buffers(), 0);
}

TEST_F(Owners, MovedFromBufferHoldsNothing) {
    Buffer first = Buffer::allocate(8, 10, 10);
    const HBUF32 handle = first.get();
    Buffer second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(first.get(), 0u);
    EXPECT_EQ(second.get(), handle);
    EXPECT_EQ(live_buffers(), 1);
    expect_unreported(first.fill<nothrow>(std::vector<unsigned char>{1}).error(),
                      "buf32FillOneColor");
}

TEST_F(Owners, AssignedBufferFreesWhatItHeld) {
    Buffer first = Buffer::allocate(8, 10, 10), second = Buffer::allocate(8, 20, 20);
    const HBUF32 handle = second.get();
    first = std::move(second);
    EXPECT_EQ(live_buffers(), 1);
    EXPECT_EQ(first.get(), handle);
    EXPECT_FALSE(second);
    first = Buffer();
    EXPECT_EQ(live_buffers(), 0);
}

TEST_F(Owners, SelfMoveChangesNothing) {
    Buffer image = Buffer::allocate(8, 10, 10);
    const HBUF32 handle = image.get();
    Buffer &same = image;
    image = std::move(same);
    EXPECT_EQ(image.get(), handle);
    EXPECT_EQ(live_buffers(), 1);
    Jobs jobs = Jobs::of(7, [](const JobMessage &) { return true; });
    Jobs &same_jobs = jobs;
    jobs = std::move(same_jobs);
    EXPECT_EQ(jobs.get(), 7u);
}

TEST_F(Owners, ReleasedBufferIsTheCallers) {
    Buffer image = Buffer::allocate(8, 10, 10);
    const HBUF32 handle = image.release();
    EXPECT_FALSE(image);
    EXPECT_EQ(live_buffers(), 1);
    const Buffer again(handle);
    EXPECT_EQ(again.size().width, 10);
}

TEST_F(Owners, SwapExchanges) {
    Buffer first = Buffer::allocate(8, 10, 10), second;
    const HBUF32 handle = first.get();
    swap(first, second);
    EXPECT_FALSE(first);
    EXPECT_EQ(second.get(), handle);
    std::swap(first, second);
    EXPECT_EQ(first.get(), handle);
    first.swap(first);
    EXPECT_EQ(first.get(), handle);
}

TEST_F(Owners, ResetFreesAtOnceAndOnce) {
    Buffer image = Buffer::allocate(8, 10, 10);
    const frame::FailingCall frees("VirtualFree", 0);
    image.reset();
    const int made = frees.calls();
    EXPECT_EQ(live_buffers(), 0);
    image.reset();
    EXPECT_EQ(frees.calls(), made);
}

TEST_F(Owners, ReferenceOwnsNothing) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    {
        const BufferRef reference = image;
        EXPECT_EQ(reference.get(), image.get());
    }
    EXPECT_EQ(live_buffers(), 1);
}

TEST_F(Owners, FreeTellsOfLocksAndKeepsTheBuffer) {
    Buffer image = Buffer::allocate(8, 10, 10);
    {
        const Lock lock = image.lock(BUF32_READ);
        expect_report(thrown_by([&] { image.free_buffer(); }), "buf32Free", {5804, 1, 4, 12});
        EXPECT_TRUE(image);
        EXPECT_EQ(live_buffers(), 1);
    }
    image.free_buffer();
    EXPECT_FALSE(image);
    EXPECT_EQ(live_buffers(), 0);
    expect_unreported(image.free_buffer<nothrow>().error(), "buf32Free");
}

TEST_F(Owners, DestructorThatFailsLeavesItsReport) {
    HBUF32 handle = 0;
    {
        const Buffer image = Buffer::allocate(8, 10, 10);
        handle = image.get();
        buf32Lock(handle, BUF32_READ, nullptr);
    }
    expect_reports({{5804, 1, 4, 12}});
    buf32Unlock(handle);
    const Buffer back(handle);
}

// --- what else is given back ------------------------------------------------------------------

TEST_F(Owners, StagingMemoryIsFreed) {
    const Buffer image = Buffer::allocate(24, 300, 200);
    const frame::Census before = frame::Census::now();
    {
        const GlobalBlock rows = image.staging(2, 3);
        ASSERT_TRUE(rows);
        EXPECT_EQ(GlobalSize(rows.get()), 3u * 900 + 4);
        frame::forget_block(rows.get());
    }
    EXPECT_EQ(frame::Census::now(), before);
}

TEST_F(Owners, CopyOfABlockIsFreed) {
    const frame::Census before = frame::Census::now();
    const GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE, 10));
    {
        const GlobalBlock copy = duplicate_memory(block.get());
        EXPECT_EQ(GlobalSize(copy.get()), 12u);
        frame::forget_block(copy.get());
    }
    EXPECT_EQ(frame::Census::now(), before);
    expect_report(duplicate_memory<nothrow>(nullptr).error(), "mem32DuplicateHandle",
                  {3200, 0, 7, 2});
}

TEST_F(Owners, PositionTablesAreFreed) {
    const Buffer small = Buffer::allocate(8, 2, 2), large = Buffer::allocate(8, 4, 4);
    const frame::Census before = frame::Census::now();
    {
        const PositionTables tables = PositionTables::make(small, large, 0);
        EXPECT_EQ(tables.get().column_index[3], 1); // 3 / 4 x 2 = 1.5
        EXPECT_EQ(tables.get().column_fraction[3], 0x8000);
        EXPECT_NE(frame::Census::now(), before);
    }
    EXPECT_EQ(frame::Census::now(), before);
    expect_report(thrown_by([&] { static_cast<void>(PositionTables::make(small, {}, 0)); }),
                  "q32InitResampleTable", {3200, 1, 8, 13});
}

TEST_F(Owners, PalettesAreDeleted) {
    std::vector<HPALETTE> handles;
    {
        const Palette grey = Palette::grey(16, false), copy = Palette::copy_of(grey.get()),
                      corrected = Palette::gamma_copy_of(grey.get()),
                      cube = Palette::colour(DISP32_CUBE_666, 256, false);
        handles = {grey.get(), copy.get(), corrected.get(), cube.get()};
        EXPECT_EQ(disp32PalSize(copy.get()), 16);
        EXPECT_EQ(disp32PalSize(corrected.get()), 16);
        EXPECT_EQ(disp32PalSize(cube.get()), 256);
        for (const HPALETTE handle : handles) {
            EXPECT_EQ(GetObjectType(handle), DWORD(OBJ_PAL));
            forget_palette(handle);
        }
    }
    for (const HPALETTE handle : handles)
        EXPECT_EQ(GetObjectType(handle), 0u);
    expect_report(thrown_by([] { static_cast<void>(Palette::copy_of(nullptr)); }),
                  "disp32PalDuplicate", {3200, 0, 5, 1});
    expect_unreported(Palette::colour<nothrow>(DISP32_CUBE_666, 0, false).error(),
                      "disp32CreateColorPalette");
}

// --- buffers of all kinds ---------------------------------------------------------------------

TEST_F(Owners, BuffersOfAllKinds) {
    const unsigned char colour[] = {1, 2, 3}, rows[] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Buffer::of_one_colour(24, 10, 10, colour).info().one_colour, 1);
    const BUF32PATTERN pattern = {2, 1, rows};
    EXPECT_EQ(Buffer::of_pattern(24, 10, 10, pattern).info().type, BUF32_PATTERN);
    unsigned char pixel[3] = {};
    Buffer::over_memory(24, 2, 1, rows).read({1, 0, 1, 1}, pixel);
    EXPECT_EQ(pixel[0], 4);
    EXPECT_EQ(Buffer::allocate(8, 300, 200, BUF32_LINEAR).info().cell_count, 1);
    EXPECT_EQ(Buffer::grey_bar(256, 1, 0, 255, true).info().bits_per_pixel, 8);
    EXPECT_EQ(Buffer::colour_bar(100, 1, 0, 0xFFFFFF, true).info().bits_per_pixel, 24);
    EXPECT_EQ(Buffer::hue_field(BAR_HUE_ACROSS, 36, 8).size().height, 8);
    EXPECT_EQ(live_buffers(), 0);
}

TEST_F(Owners, BarsTellWhatIsWrong) {
    EXPECT_EQ(Buffer::grey_bar<nothrow>(0, 1, 0, 255, true).error().point, 1);
    frame::forget_reports();
}

TEST_F(Owners, BitmapIsTheBuffersUntilItIsHandedBack) {
    GlobalBlock bitmap(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 40 + 2 * 4));
    const BITMAPINFOHEADER header = {40, 1, 2, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    *static_cast<BITMAPINFOHEADER *>(GlobalLock(bitmap.get())) = header;
    GlobalUnlock(bitmap.get());

    const HGLOBAL handle = bitmap.release();
    Buffer image = Buffer::over_bitmap(handle);
    EXPECT_EQ(image.info().type, BUF32_DIB);
    {
        const Lock lock = image.lock(BUF32_READ);
        expect_unreported(image.free_bitmap<nothrow>().error(), "buf32DIBBufFree");
        EXPECT_TRUE(image);
    }
    bitmap = image.free_bitmap();
    EXPECT_FALSE(image);
    EXPECT_EQ(bitmap.get(), handle);
    expect_report(thrown_by([&] { static_cast<void>(Buffer::over_bitmap(nullptr)); }),
                  "buf32DIBBufAlloc", {1001, 1, 4, 15});
}

TEST_F(Owners, BitmapLayoutLastsAsLongAsItsOwner) {
    unsigned char pixels[8] = {1, 2, 3, 0, 4, 5, 6, 0}; // blue, green, red; bottom row first
    const Buffer image = Buffer::over_bitmap_pixels(24, 1, 2, pixels);
    EXPECT_EQ(pixels[0], 6);
    {
        const BitmapLayout layout = image.to_bitmap_layout();
        EXPECT_TRUE(layout);
        EXPECT_EQ(layout.get(), nullptr); // there is no handle of such a block
        EXPECT_EQ(pixels[0], 1);
    }
    EXPECT_EQ(pixels[0], 6);
    report_something_older();
    const Buffer other = Buffer::allocate(24, 1, 2);
    expect_unreported(other.to_bitmap_layout<nothrow>().error(), "buf32DIBBufToDIB");
}

} // namespace
} // namespace q32::test
