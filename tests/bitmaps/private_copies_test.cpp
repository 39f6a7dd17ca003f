// The block that a duplicate of a bitmap gets when it parts from its source: where its pixels lie,
// and what its owner can do with it.
#include "tests/bitmaps/sharing_fixture.h"
#include "tests/frame/small_memory.h"

namespace q32::test {
namespace {

// A moveable block of the same size with the same header and table. The pixels lie by a rule that
// differs from the one for opening: 16 and 32 bits have a table here.
TEST_F(BitmapSharing, PrivateCopiesFollowARuleOfTheirOwn) {
    const struct {
        int bits;
        uint32_t size, colours;
        uint32_t at; // worked out by hand
    } bitmaps[] = {
        {1, 40, 0, 48},      {1, 20, 1, 28},      {1, 40, 7, 68},      {4, 40, 0, 104},
        {4, 36, 3, 48},      {8, 40, 0, 1064},    {8, 32, 9, 1056},    {8, 40, 9, 76},
        {8, 124, 0, 1148},   {15, 40, 0, 131112}, {16, 40, 0, 262184}, {16, 20, 3, 262164},
        {16, 36, 0, 262180}, {16, 40, 3, 52},     {16, 108, 3, 120},   {17, 40, 0, 524328},
        {24, 40, 0, 40},     {24, 20, 0, 20},     {24, 40, 2, 48},     {24, 36, 2, 44},
        {24, 124, 0, 124},   {32, 40, 0, 44},     {32, 20, 1, 24},     {32, 40, 3, 52},
        {32, 124, 0, 128},   {33, 40, 0, 48},     {36, 40, 0, 104},    {40, 40, 0, 1064},
        {48, 40, 0, 262184}, {48, 40, 1, 44},     {64, 40, 0, 44},     {64, 36, 0, 40},
    };
    for (const auto &expected : bitmaps) {
        const Header header{{expected.bits, 7, 3}, expected.size, rgb, expected.colours};
        SCOPED_TRACE(header.text());
        ASSERT_EQ(header.own_pixels_at(), expected.at);
        Source source(header);
        Opened duplicate(duplicate_of(source));
        ObservedCalls calls;
        EXPECT_SUCCESS(api().buf32Lock(duplicate, BUF32_WRITE, nullptr));
        EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        ASSERT_EQ(calls.global_blocks().size(), 1u);
        EXPECT_NE(calls.global_blocks()[0].flags & GMEM_MOVEABLE, 0u);
        const size_t least = expected.at + header.shape.bitmap_bytes(false);
        const size_t same = GlobalSize(source.bitmap);
        EXPECT_GE(calls.global_blocks()[0].bytes, std::max(least, same));
        if (expected.at <= header.pixels_at()) {
            EXPECT_EQ(calls.global_blocks()[0].bytes, same);
        }
        const HGLOBAL block = block_under(duplicate);
        ASSERT_NE(block, nullptr);
        EXPECT_NE(block, HGLOBAL(source.bitmap));
        EXPECT_EQ(locks_of(block), 1u);
        const auto *const memory = static_cast<const uint8_t *>(GlobalLock(block));
        GlobalUnlock(block);
        EXPECT_EQ(word(duplicate, field_storage), uintptr_t(memory) + expected.at);
        for (int y = 0; y < 3; ++y)
            EXPECT_EQ(cell_address_word(duplicate, y),
                      word(duplicate, field_storage) +
                          uint32_t(y) * uint32_t(header.shape.row_bytes()));
        const size_t shared = std::min<size_t>(header.pixels_at(), expected.at);
        EXPECT_EQ(bytes_at(memory, shared),
                  Bytes(source.block.begin(), source.block.begin() + ptrdiff_t(shared)));
        EXPECT_EQ(pixels_of(duplicate), source.pixels);
        EXPECT_EQ(word(duplicate, field_format_depth), word(source, field_format_depth));
        // Closing gives the block, with the pixels in bitmap layout at the same place.
        const HGLOBAL given = duplicate.close();
        EXPECT_EQ(given, block);
        expect_bitmap(given, header, source.pixels);
        free_block(given);
    }
}

// Where both rules agree, closing a duplicate gives a bitmap that can be opened again.
TEST_F(BitmapSharing, PrivateCopiesAreBitmaps) {
    for (const Header &header : {Header{{1, 33, 7}}, Header{{8, 20, 6}}, Header{{24, 33, 9}},
                                 Header{{16, 7, 5}, 40, code_r565, 3}}) {
        SCOPED_TRACE(header.text());
        Source source(header);
        Opened duplicate(duplicate_of(source));
        const HGLOBAL under = api().buf32DIBBufToDIB(duplicate);
        expect_no_report();
        ASSERT_NE(under, nullptr);
        EXPECT_EQ(under, block_under(duplicate));
        EXPECT_SUCCESS(api().buf32DIBToDIBBuf(duplicate));
        const HGLOBAL given = duplicate.close();
        EXPECT_EQ(given, under);
        {
            Opened again(given);
            ASSERT_TRUE(again);
            EXPECT_EQ(pixels_of(again), source.pixels);
        }
        free_block(given);
    }
}

// A duplicate of a bare block gets a block with a header made from the geometry.
TEST_F(BitmapSharing, PrivateCopiesOfABareBlockAreBitmapsToo) {
    Random random(test_seed(), 3);
    for (int bits : {1, 2, 4, 7, 8, 12, 15, 16, 17, 24, 32, 33, 48, 64}) {
        const Shape shape{bits, 33, 5};
        SCOPED_TRACE(shape.text());
        FencedBlock bare(shape.bitmap_bytes(false));
        random.fill(std::span(bare.data(), bare.size()));
        const Bytes pixels = packed_pixels(bytes_at(bare.data(), bare.size()), shape);
        Opened source(shape, bare.data());
        Opened duplicate(duplicate_of(source));
        EXPECT_EQ(pixels_of(duplicate), pixels);
        EXPECT_SUCCESS(api().buf32Lock(duplicate, BUF32_WRITE, nullptr));
        EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        EXPECT_EQ(pixels_of(duplicate), pixels);
        const HGLOBAL block = block_under(duplicate);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(locks_of(block), 1u);
        const auto *const memory = static_cast<const uint8_t *>(GlobalLock(block));
        BITMAPINFOHEADER info;
        std::memcpy(&info, memory, sizeof info);
        GlobalUnlock(block);
        EXPECT_GE(info.biSize, 40u);
        EXPECT_EQ(info.biWidth, 33);
        EXPECT_EQ(info.biHeight, 5);
        EXPECT_EQ(info.biBitCount, bits);
        EXPECT_EQ(info.biPlanes, 1);
        EXPECT_EQ(info.biCompression, rgb);
        const Header header{shape, info.biSize, rgb, info.biClrUsed};
        EXPECT_EQ(word(duplicate, field_storage) - uintptr_t(memory), header.own_pixels_at());
        const HGLOBAL given = duplicate.close();
        EXPECT_EQ(given, block);
        expect_bitmap(given, header, pixels);
        free_block(given);
    }
}

// The copy is made of what the source holds, not of what its header says in the meantime.
TEST_F(BitmapSharing, PrivateCopiesSurviveAHeaderThatHasChanged) {
    const frame::SmallMemory small;
    for (uint32_t colours : {0u, 256u, 0xFFFFFFFFu, 0x40000000u, 0x3FFFFFFFu}) {
        for (uint32_t size : {40u, 0u, 12u, 36u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::to_string(colours) + ", " + std::to_string(size));
            Source source(Header{{24, 20, 10}});
            Opened duplicate(duplicate_of(source));
            auto *const memory = static_cast<uint8_t *>(GlobalLock(source.bitmap));
            std::memcpy(memory, &size, 4);
            std::memcpy(memory + 32, &colours, 4);
            if (api().buf32Lock(duplicate, BUF32_WRITE, nullptr) == 1) {
                EXPECT_EQ(pixels_of(duplicate), source.pixels);
                EXPECT_SUCCESS(api().buf32Unlock(duplicate));
            } else {
                expect_report(no_private_block);
                expect_shares(duplicate, source);
            }
            EXPECT_EQ(pixels_of(source), source.pixels);
            std::memcpy(memory, source.block.data(), 40);
            GlobalUnlock(source.bitmap);
        }
    }
}

} // namespace
} // namespace q32::test
