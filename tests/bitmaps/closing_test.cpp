// Closing bitmaps: buf32DIBBufFree gives the bitmap back, buf32Free frees it; what either refuses,
// and the end of the library.
#include "tests/bitmaps/bitmap_fixture.h"

namespace q32::test {
namespace {

class BitmapClosing : public BitmapTest {};

constexpr Failure freeing_locked{5804, 1, 4, 12};

// Counts the blocks that the library frees, by their handles.
class FreedBlocks {
public:
    int times(HGLOBAL block) const { return int(std::count(freed_.begin(), freed_.end(), block)); }

private:
    std::vector<HGLOBAL> freed_;
    frame::Replaced<frame::call::GlobalFree> free_{[this](HGLOBAL block) {
        freed_.push_back(block);
        return GlobalFree(block);
    }};
};

Bytes some_block(const Header &header) {
    Random random(test_seed(), 5);
    return block_of(header, random);
}

// --- buf32DIBBufFree -------------------------------------------------------------------------

TEST_F(BitmapClosing, GivesTheBitmapBack) {
    const Header header{{24, 33, 9}};
    const Bytes block = some_block(header);
    Bitmap bitmap(block);
    FreedBlocks freed;
    HBUF32 handle = 0;
    ASSERT_EQ(api().buf32DIBBufAlloc(&handle, bitmap), 1);
    HGLOBAL back = nullptr;
    EXPECT_SUCCESS(api().buf32DIBBufFree(handle, &back));
    EXPECT_EQ(back, HGLOBAL(bitmap));
    EXPECT_EQ(freed.times(bitmap), 0);
    EXPECT_EQ(bitmap.locks(), 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
    EXPECT_EQ(freed.times(reinterpret_cast<HGLOBAL>(handle)), 1); // the record
    EXPECT_SILENT_FAILURE(api().buf32DIBBufFree(handle, &back));
    EXPECT_SILENT_FAILURE(api().buf32Free(handle));
    // Nobody needs the handle.
    ASSERT_EQ(api().buf32DIBBufAlloc(&handle, bitmap), 1);
    EXPECT_SUCCESS(api().buf32DIBBufFree(handle, nullptr));
    EXPECT_EQ(bitmap.locks(), 0u);
    const Bytes after = bitmap.bytes();
    EXPECT_EQ(packed_pixels(Bytes(after.begin() + 40, after.end()), header.shape),
              packed_pixels(Bytes(block.begin() + 40, block.end()), header.shape));
}

TEST_F(BitmapClosing, GivesWhatHasBeenWritten) {
    Random random(test_seed(), 1);
    const Header header{{24, 33, 9}};
    Bitmap bitmap(some_block(header));
    Opened buffer(bitmap);
    const Bytes pixels = random_bytes(random, header.shape.packed_bytes());
    write_pixels(buffer, pixels);
    buffer.close();
    const Bytes after = bitmap.bytes();
    EXPECT_EQ(packed_pixels(Bytes(after.begin() + 40, after.end()), header.shape), pixels);
}

// A bare block has no handle, which is told too.
TEST_F(BitmapClosing, OfABareBlockGivesNoHandle) {
    Bytes pixels(100, 3);
    HBUF32 handle = 0;
    FailingCall locks("GlobalLock", 0), unlocks("GlobalUnlock", 0);
    ASSERT_EQ(api().buf32DIBMemBufAlloc(&handle, 8, 10, 8, pixels.data()), 1);
    HGLOBAL back = &back;
    EXPECT_SUCCESS(api().buf32DIBBufFree(handle, &back));
    EXPECT_EQ(back, nullptr);
    EXPECT_EQ(locks.calls(), 0);
    EXPECT_EQ(unlocks.calls(), 0);
}

TEST_F(BitmapClosing, OfALockedBitmapSucceedsAndDoesNothing) {
    const Header header{{24, 33, 9}};
    const Bytes block = some_block(header);
    Bitmap bitmap(block);
    Opened buffer(bitmap);
    const Bytes opened = bitmap.bytes();
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    ASSERT_EQ(api().buf32CellLock(buffer, 0, &base, nullptr), 1);
    for (uint32_t locks = 2; locks > 0; --locks) {
        HGLOBAL back = &back;
        EXPECT_SUCCESS(api().buf32DIBBufFree(buffer, &back));
        EXPECT_EQ(back, &back);
        EXPECT_SUCCESS(api().buf32DIBBufFree(buffer, nullptr));
        EXPECT_EQ(word(buffer, field_lock_count), locks);
        EXPECT_EQ(word(buffer, field_type), 8u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
        EXPECT_EQ(bitmap.locks(), 1u);
        EXPECT_EQ(bitmap.bytes(), opened); // still in buffer layout
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
    }
}

TEST_F(BitmapClosing, OfOtherBuffersIsRefused) {
    const uint8_t colour[4] = {1, 2, 3};
    const uint8_t pixels[12] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 128u, 0x80000000u}) {
        SCOPED_TRACE(type);
        Buffer buffer(24, 140, 130, type,
                      type == BUF32_PATTERN ? static_cast<const void *>(&pattern) : colour);
        const Bytes before = read_pixels(buffer);
        HGLOBAL back = &back;
        EXPECT_FAILURE(api().buf32DIBBufFree(buffer, &back), 3200, 0, 4, 16);
        EXPECT_EQ(back, &back);
        EXPECT_EQ(word(buffer, field_type), type);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
        EXPECT_EQ(read_pixels(buffer), before);
        // The lock is looked at before the type.
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        EXPECT_SUCCESS(api().buf32DIBBufFree(buffer, &back));
        EXPECT_EQ(back, &back);
        EXPECT_EQ(word(buffer, field_lock_count), 1u);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// Sharers come before everything else, so that a refusal parts them too.
TEST_F(BitmapClosing, OfOtherBuffersThatShareIsRefused) {
    Buffer source(24, 140, 130);
    fill_and_check(source);
    const Bytes pixels = read_pixels(source);
    Opened first(duplicate_of(source)), second(duplicate_of(source));
    EXPECT_FAILURE(api().buf32DIBBufFree(source, nullptr), 3200, 0, 4, 16);
    EXPECT_FALSE(is_duplicate(first));
    EXPECT_EQ(source_of(second), HBUF32(first));
    for (HBUF32 buffer : {HBUF32(source), HBUF32(first), HBUF32(second)})
        EXPECT_EQ(read_pixels(buffer), pixels);
    EXPECT_FAILURE(api().buf32DIBBufFree(second, nullptr), 3200, 0, 4, 16);
    EXPECT_EQ(read_pixels(first), pixels);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 3);
}

TEST_F(BitmapClosing, OfNoBufferFailsInSilence) {
    uint32_t local[200] = {8};
    Buffer other(8, 10, 10);
    for (HBUF32 handle :
         {HBUF32(0), HBUF32(1), HBUF32(&local), HBUF32(0xFFFFFFFF), HBUF32(other) + 4}) {
        HGLOBAL back = &back;
        EXPECT_SILENT_FAILURE(api().buf32DIBBufFree(handle, &back));
        EXPECT_EQ(back, &back);
    }
    EXPECT_EQ(local[0], 8u);
}

// A record that says freed once its block has been unlocked: reported, and not freed again.
TEST_F(BitmapClosing, OfARecordThatIsFreedMeanwhile) {
    const Header header{{8, 10, 10}};
    Bitmap bitmap(some_block(header));
    HBUF32 handle = 0;
    ASSERT_EQ(api().buf32DIBBufAlloc(&handle, bitmap), 1);
    HGLOBAL back = nullptr;
    {
        frame::Replaced<frame::call::GlobalUnlock> meanwhile([handle](HGLOBAL block) {
            set_word(handle, field_type, 0xFFFFFFFF);
            return GlobalUnlock(block);
        });
        EXPECT_FAILURE(api().buf32DIBBufFree(handle, &back), 3200, 0, 4, 6);
    }
    EXPECT_EQ(back, HGLOBAL(bitmap));
    EXPECT_EQ(bitmap.locks(), 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    EXPECT_SILENT_FAILURE(api().buf32DIBBufFree(handle, &back)); // it counts as freed
    set_word(handle, field_type, BUF32_DIB);
    set_word(handle, field_data_handle, 0); // the bitmap is ours again
    EXPECT_SUCCESS(api().buf32Free(handle));
}

// --- buf32Free -------------------------------------------------------------------------------

// The bitmap goes with the buffer, however often its owner has locked it.
TEST_F(BitmapClosing, ByBuf32FreeFreesTheBitmap) {
    for (UINT flags : {UINT(GMEM_MOVEABLE), UINT(GMEM_FIXED)}) {
        for (int by_the_owner : {0, 1, 5}) {
            SCOPED_TRACE(by_the_owner);
            Bitmap bitmap(some_block(Header{{24, 33, 9}}), flags);
            for (int i = 0; i < by_the_owner; ++i)
                GlobalLock(bitmap);
            Opened buffer(bitmap);
            FreedBlocks freed;
            FailingCall unlocks("GlobalUnlock", 0);
            buffer.free();
            EXPECT_EQ(freed.times(bitmap), 1);
            if (flags == GMEM_MOVEABLE) {
                EXPECT_EQ(unlocks.calls(), by_the_owner + 1);
                EXPECT_EQ(GlobalFlags(bitmap), UINT(GMEM_INVALID_HANDLE));
            }
            bitmap.gone();
        }
    }
}

// A handle that stays locked whatever is done is let go after as many unlocks as a count can need.
TEST_F(BitmapClosing, ByBuf32FreeGivesUpUnlockingInTheEnd) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    Opened buffer(bitmap);
    const frame::Replaced<frame::call::GlobalFlags> locked([](HGLOBAL) { return 1u; });
    FailingCall unlocks("GlobalUnlock", 0);
    buffer.free();
    EXPECT_EQ(unlocks.calls(), 255);
    bitmap.gone();
}

// In either layout: nothing is converted any more.
TEST_F(BitmapClosing, ByBuf32FreeAfterGoingBackToBitmapLayout) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    Opened buffer(bitmap);
    ASSERT_EQ(api().buf32DIBBufToDIB(buffer), HGLOBAL(bitmap));
    FreedBlocks freed;
    buffer.free();
    EXPECT_EQ(freed.times(bitmap), 1);
    bitmap.gone();
}

// The block between fences stays the caller's, as the buffer leaves it.
TEST_F(BitmapClosing, ByBuf32FreeLeavesABareBlockAlone) {
    const Shape shape{24, 33, 9};
    Random random(test_seed(), 2);
    const Bytes before = random_bytes(random, shape.bitmap_bytes());
    FencedBlock block(before.size());
    std::memcpy(block.data(), before.data(), before.size());
    Opened buffer(shape, block.data());
    FreedBlocks freed;
    buffer.free();
    EXPECT_EQ(freed.times(block.data()), 0);
    EXPECT_EQ(freed.times(nullptr), 0);
    EXPECT_EQ(bytes_at(block.data(), block.size()), in_buffer_layout(before, shape));
}

TEST_F(BitmapClosing, ByBuf32FreeIsRefusedWhileLocked) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    Opened buffer(bitmap);
    const Bytes opened = bitmap.bytes();
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 1);
    EXPECT_EQ(api().buf32Free(buffer), 0);
    expect_report(freeing_locked);
    EXPECT_EQ(bitmap.locks(), 1u);
    EXPECT_EQ(bitmap.bytes(), opened);
    EXPECT_EQ(word(buffer, field_lock_count), 1u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
}

TEST_F(BitmapClosing, ByBuf32FreeOfARecordThatIsFreedMeanwhile) {
    Bitmap bitmap(some_block(Header{{8, 10, 10}}));
    HBUF32 handle = 0;
    ASSERT_EQ(api().buf32DIBBufAlloc(&handle, bitmap), 1);
    {
        frame::Replaced<frame::call::GlobalFree> meanwhile([&](HGLOBAL block) {
            if (block == HGLOBAL(bitmap))
                set_word(handle, field_type, 0xFFFFFFFF);
            return GlobalFree(block);
        });
        EXPECT_FAILURE(api().buf32Free(handle), 3200, 0, 4, 6);
    }
    bitmap.gone();
    set_word(handle, field_type, BUF32_DIB);
    set_word(handle, field_data_handle, 0);
    EXPECT_SUCCESS(api().buf32Free(handle));
}

// --- the end of the library ------------------------------------------------------------------

TEST_F(BitmapClosing, UnloadingFreesBitmapsLockedOrNot) {
    fresh_library();
    Bitmap locked(some_block(Header{{24, 33, 9}})), unlocked(some_block(Header{{1, 33, 9}}));
    Bytes pixels(400, 5);
    HBUF32 handle = 0;
    ASSERT_EQ(api().buf32DIBBufAlloc(&handle, locked), 1);
    api().buf32Lock(handle, BUF32_WRITE, nullptr);
    api().buf32CellLock(handle, 0, nullptr, nullptr);
    ASSERT_EQ(api().buf32DIBBufAlloc(&handle, unlocked), 1);
    ASSERT_EQ(api().buf32DIBMemBufAlloc(&handle, 8, 20, 20, pixels.data()), 1);
    api().buf32Lock(handle, BUF32_READ, nullptr);
    FreedBlocks freed;
    fresh_library(); // checks that the old one left nothing behind
    EXPECT_EQ(freed.times(locked), 1);
    EXPECT_EQ(freed.times(unlocked), 1);
    EXPECT_EQ(freed.times(pixels.data()), 0);
    locked.gone();
    unlocked.gone();
    EXPECT_EQ(pixels, Bytes(400, 5));
}

} // namespace
} // namespace q32::test
