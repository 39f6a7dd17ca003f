// What is no bitmap: every refusal with its report, the block unlocked and unchanged; headers that
// lie about their size, and blocks that are cut off anywhere.
#include "tests/bitmaps/bitmap_fixture.h"
#include "tests/frame/edition.h"

#include <climits>

namespace q32::test {
namespace {

class BitmapRefusals : public BitmapTest {};

void put_word(Bytes &block, size_t at, uint32_t value, size_t bytes = 4) {
    std::memcpy(block.data() + at, &value, bytes);
}

// Both ways to open a bitmap refuse this block with one of these reports.
void expect_block_refused(const Bytes &block, std::initializer_list<Failure> failures) {
    FencedBitmap bitmap(block);
    for (bool by_alloc : {false, true}) {
        HBUF32 handle = 0x5A5A5A5A;
        EXPECT_EQ(by_alloc ? api().buf32Alloc(&handle, 24, 10, 10, BUF32_DIB, HGLOBAL(bitmap))
                           : api().buf32DIBBufAlloc(&handle, bitmap),
                  0);
        EXPECT_EQ(handle, 0u);
        expect_report_of(failures);
        EXPECT_EQ(bitmap.locks(), 0);
        EXPECT_FALSE(bitmap.freed());
        EXPECT_EQ(bitmap.bytes(), block);
    }
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
}

void expect_block_refused(const Bytes &block, const Failure &failure) {
    expect_block_refused(block, {failure});
}

Bytes bitmap_block(const Header &header) {
    Random random(test_seed(), 77);
    return block_of(header, random);
}

// --- headers ---------------------------------------------------------------------------------

TEST_F(BitmapRefusals, CoreHeaders) {
    Bytes block = bitmap_block(Header{{24, 5, 5}});
    put_word(block, 0, 12);
    expect_block_refused(block, not_a_bitmap);
    // A real one: 16-bit sides right behind the size.
    BITMAPCOREHEADER core{12, 5, 5, 1, 24};
    std::memcpy(block.data(), &core, sizeof core);
    expect_block_refused(block, not_a_bitmap);
}

TEST_F(BitmapRefusals, HeadersWithoutACompression) {
    for (uint32_t size = 0; size < 20; ++size) {
        SCOPED_TRACE(size);
        Bytes block = bitmap_block(Header{{24, 5, 5}});
        put_word(block, 0, size);
        expect_block_refused(block, not_a_bitmap);
    }
}

TEST_F(BitmapRefusals, OtherCompressions) {
    // RLE8, RLE4, bit fields, JPEG, PNG, CMYK, four-character codes, and one bit beside "R565".
    for (uint32_t compression :
         {1u, 2u, 3u, 4u, 5u, 6u, 11u, 12u, 13u, 0x35353552u, 0x52353635u, 0x35363553u, 0x35363542u,
          0x36353552u, 0x00363552u, 0x35363500u, 0xFFFFFFFFu, 0x80000000u, 0x35363572u}) {
        SCOPED_TRACE(compression);
        for (int bits : {8, 16, 24, 32})
            expect_block_refused(bitmap_block(Header{{bits, 5, 5}, 40, compression}), not_a_bitmap);
    }
}

TEST_F(BitmapRefusals, DepthsThatNoBufferHas) {
    for (int bits : {0, 65, 66, 96, 128, 255, 256, 257, 280, 0x7FFF, 0x8000, 0x8018, 0xFFFF}) {
        SCOPED_TRACE(bits);
        Bytes block = bitmap_block(Header{{24, 5, 5}});
        block.resize(block.size() + 400000); // not for want of room
        put_word(block, 14, uint32_t(bits), 2);
        expect_block_refused(block, not_a_bitmap);
    }
}

TEST_F(BitmapRefusals, SidesBelow1) {
    for (int side : {0, -1, -5, -32000, -32001, INT_MIN, INT_MIN + 1}) {
        SCOPED_TRACE(side);
        Bytes block = bitmap_block(Header{{24, 5, 5}});
        put_word(block, 4, uint32_t(side));
        expect_block_refused(block, not_a_bitmap);
        block = bitmap_block(Header{{24, 5, 5}});
        put_word(block, 8, uint32_t(side)); // -5 is a bitmap whose top row comes first
        expect_block_refused(block, not_a_bitmap);
    }
}

TEST_F(BitmapRefusals, SidesOver32000) {
    expect_block_refused(bitmap_block(Header{{8, 32001, 1}}), too_wide);
    expect_block_refused(bitmap_block(Header{{8, 1, 32001}}), too_high);
    expect_block_refused(bitmap_block(Header{{1, 32001, 32001}}), too_wide);
    expect_block_refused(bitmap_block(Header{{1, 40000, 2}}), too_wide);
    expect_block_refused(bitmap_block(Header{{1, 2, 65536}}), too_high);
}

// Sides that no memory can hold, whose sums and products do not fit 32 bits.
TEST_F(BitmapRefusals, SidesThatWrapAround) {
    const int sides[] = {1,          5,          8,          32000,      32001,      0x10000,
                         0x8000000,  0x10000000, 0x15555556, 0x20000000, 0x2AAAAAAB, 0x40000000,
                         0x55555556, 0x7FFFFFF9, 0x7FFFFFFE, INT_MAX};
    for (int width : sides)
        for (int height : sides)
            for (int bits : {1, 8, 24, 32, 64}) {
                if (int64_t(width) * height * bits < 2000)
                    continue;
                SCOPED_TRACE(size_text(bits, width, height));
                Bytes block = bitmap_block(Header{{bits, 5, 5}});
                put_word(block, 4, uint32_t(width));
                put_word(block, 8, uint32_t(height));
                expect_block_refused(block, {not_a_bitmap, too_wide, too_high});
            }
}

TEST_F(BitmapRefusals, HeaderSizesBeyondTheBlock) {
    for (int bits : {1, 8, 24}) {
        Bytes block = bitmap_block(Header{{bits, 5, 5}});
        const auto whole = uint32_t(block.size());
        for (uint32_t size :
             {whole, whole + 1, 0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0xFFFFFFFEu,
              0xFFFFFFECu, 0xFFFFFFD8u, 0xFFFFFFF4u, 0xFFFFFBD8u, 0xFFFFFFC0u, 0x80000028u}) {
            SCOPED_TRACE(size);
            put_word(block, 0, size);
            expect_block_refused(block, not_a_bitmap);
        }
    }
}

// Colour tables beyond the block, also where four times the entries wraps around to little.
TEST_F(BitmapRefusals, ColourTablesBeyondTheBlock) {
    for (int bits : {1, 8, 16, 24, 64}) {
        for (uint32_t size : {36u, 40u, 124u}) {
            Bytes block = bitmap_block(Header{{bits, 5, 5}, size});
            for (uint32_t colours : {0xFFFFFFFFu, 0x40000000u, 0x3FFFFFFFu, 0x40000001u,
                                     0x80000000u, 0xC0000000u, 0x80000001u, 0x7FFFFFFFu,
                                     0x10000000u, 0xFFFFFFF6u, 0x3FFFFFF6u, 4000u, 0xFFFF0000u}) {
                SCOPED_TRACE(size_text(bits, 5, 5) + ", colours " + std::to_string(colours));
                put_word(block, 32, colours);
                expect_block_refused(block, not_a_bitmap);
            }
        }
    }
}

// --- blocks that are cut off -----------------------------------------------------------------

// Every length below what header, table and rows need is refused, and that length is enough. The
// block ends at a fence: a field that is not there must not be read.
TEST_F(BitmapRefusals, BlocksCutOffAnywhere) {
    for (uint32_t size : {20u, 24u, 35u, 36u, 40u, 52u, 108u, 124u}) {
        for (int bits : {1, 4, 24}) {
            for (uint32_t colours : {0u, 3u}) {
                const Header header{{bits, 3, 2}, size, rgb, colours};
                SCOPED_TRACE(header.text());
                const Bytes whole = bitmap_block(header);
                const size_t enough = header.pixels_at() + header.shape.bitmap_bytes(false);
                for (size_t length = 0; length < enough; ++length) {
                    Bytes cut = whole;
                    cut.resize(length);
                    expect_block_refused(cut, not_a_bitmap);
                    ASSERT_FALSE(HasFailure()) << length;
                }
                FencedBitmap just(Bytes(whole.begin(), whole.begin() + ptrdiff_t(enough)));
                Opened buffer(just);
                ASSERT_TRUE(buffer);
            }
        }
    }
}

// The same with the heap's own blocks, whose last row may be missing.
TEST_F(BitmapRefusals, BlocksWithoutTheirLastRows) {
    const Header header{{24, 50, 50}};
    const Bytes whole = bitmap_block(header);
    for (UINT flags : {UINT(GMEM_FIXED), UINT(GMEM_MOVEABLE)}) {
        for (size_t length : {size_t(1), size_t(3), size_t(4), size_t(19), size_t(20), size_t(39),
                              size_t(40), size_t(1000), whole.size() - 152}) {
            SCOPED_TRACE(length);
            const Bytes cut(whole.begin(), whole.begin() + ptrdiff_t(length));
            Bitmap bitmap(cut, flags);
            HBUF32 handle = 0x5A5A5A5A;
            EXPECT_FAILURE(api().buf32DIBBufAlloc(&handle, bitmap), 1001, 1, 4, 15);
            EXPECT_EQ(handle, 0u);
            EXPECT_EQ(bitmap.locks(), 0u);
            EXPECT_EQ(bitmap.bytes(), cut);
            EXPECT_FAILURE(api().buf32Alloc(&handle, 1, 1, 1, BUF32_DIB, HGLOBAL(bitmap)), 1001, 1,
                           4, 15);
            EXPECT_EQ(bitmap.locks(), 0u);
            EXPECT_EQ(bitmap.bytes(), cut);
        }
    }
}

// Anything in the header: refused, or opened over pixels that all lie in the block.
TEST_F(BitmapRefusals, RandomHeaders) {
    random_cases(4000, [](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        constexpr int depths[] = {1, 4, 8, 16, 24, 32};
        Bytes block = bitmap_block(Header{{depths[random.below(std::size(depths))],
                                           between(random, 1, 40), between(random, 1, 20)},
                                          random.below(2) == 0 ? 40u : 124u});
        for (size_t i = 0, changes = 1 + random.below(3); i < changes; ++i) {
            constexpr size_t places[] = {0, 4, 8, 14, 16, 32};
            constexpr uint32_t values[] = {0,          1,          2,         3,         12,
                                           36,         40,         64,        256,       0x7FFFFFFF,
                                           0x80000000, 0xFFFFFFFF, code_r565, 0x40000000};
            const size_t place = places[random.below(std::size(places))];
            put_word(block, place,
                     random.below(3) == 0 ? uint32_t(random.next())
                                          : values[random.below(std::size(values))],
                     place == 14 ? 2 : 4);
        }
        if (random.below(3) == 0)
            block.resize(random.below(block.size() + 1));
        FencedBitmap bitmap(block);
        HBUF32 handle = 0;
        if (api().buf32DIBBufAlloc(&handle, bitmap) == 1) {
            const Shape shape = shape_of(handle);
            const uint64_t at = word(handle, field_storage) - uintptr_t(bitmap.data());
            EXPECT_LE(at + shape.bitmap_bytes(false), block.size());
            HGLOBAL back = nullptr;
            EXPECT_SUCCESS(api().buf32DIBBufFree(handle, &back));
            EXPECT_EQ(back, HGLOBAL(bitmap));
        } else {
            expect_report_of({not_a_bitmap, too_wide, too_high});
            EXPECT_EQ(handle, 0u);
            EXPECT_EQ(bitmap.bytes(), block);
        }
        EXPECT_EQ(bitmap.locks(), 0);
        EXPECT_FALSE(bitmap.freed());
        return !::testing::Test::HasFailure();
    });
}

// --- handles and arguments -------------------------------------------------------------------

TEST_F(BitmapRefusals, HandlesThatCannotBeLocked) {
    const HGLOBAL freed = GlobalAlloc(GMEM_MOVEABLE, 100);
    GlobalFree(freed);
    const HGLOBAL empty = GlobalAlloc(GMEM_MOVEABLE, 0); // a block without memory
    FailingCall unlocks("GlobalUnlock", 0);
    for (HGLOBAL bitmap : {HGLOBAL(nullptr), freed, empty}) {
        HBUF32 handle = 0x5A5A5A5A;
        EXPECT_FAILURE(api().buf32DIBBufAlloc(&handle, bitmap), 1001, 1, 4, 15);
        EXPECT_EQ(handle, 0u);
        handle = 0x5A5A5A5A;
        EXPECT_FAILURE(api().buf32Alloc(&handle, 24, 10, 10, BUF32_DIB, bitmap), 1001, 1, 4, 15);
        EXPECT_EQ(handle, 0u);
    }
    EXPECT_EQ(unlocks.calls(), 0); // what is not locked is not unlocked
    GlobalFree(empty);
}

TEST_F(BitmapRefusals, WithoutARoomForTheHandle) {
    const Bytes block = bitmap_block(Header{{24, 5, 5}});
    Bitmap bitmap(block);
    EXPECT_FAILURE(api().buf32DIBBufAlloc(nullptr, bitmap), 3200, 0, 4, 7);
    EXPECT_FAILURE(api().buf32Alloc(nullptr, 24, 10, 10, BUF32_DIB, HGLOBAL(bitmap)), 3200, 0, 4,
                   7);
    EXPECT_EQ(bitmap.locks(), 0u);
    EXPECT_EQ(bitmap.bytes(), block);
    Bytes pixels(100, 7);
    EXPECT_FAILURE(api().buf32DIBMemBufAlloc(nullptr, 8, 10, 10, pixels.data()), 3200, 0, 4, 7);
    EXPECT_EQ(pixels, Bytes(100, 7));
}

// buf32Alloc looks at memory and at its own sides first, and at nothing else.
TEST_F(BitmapRefusals, ByTheSidesGivenToBuf32Alloc) {
    const Bytes block = bitmap_block(Header{{24, 5, 5}});
    FencedBitmap bitmap(block);
    const auto refused = [&](int width, int height, const Failure &failure) {
        SCOPED_TRACE(size_text(24, width, height));
        expect_refused(24, width, height, BUF32_DIB, HGLOBAL(bitmap), failure);
        EXPECT_EQ(bitmap.bytes(), block);
        EXPECT_EQ(bitmap.locks(), 0);
    };
    refused(32001, 1, too_wide);
    refused(INT_MAX, 0, too_wide);
    refused(1, 32001, too_high);
    refused(32001, 32001, too_wide);
    refused(-1, INT_MAX, too_high);
    FailingCall probe("GlobalAlloc", 1);
    refused(32001, 1, {1001, 0, 4, 9});
    EXPECT_EQ(probe.calls(), 1);
}

TEST_F(BitmapRefusals, BareBlocks) {
    Bytes pixels(1000, 0x77);
    // Places with room for 4095 bytes, and for a byte less than their images take: in 32 bits any.
    constexpr auto end = frame::by_edition(0xFFFFFFFFu, 0x7FFFFFFFFFFFu);
    void *const last_page = reinterpret_cast<void *>(end - 4095);
    void *const pixels_64 =
        frame::is_64_bit ? reinterpret_cast<void *>(end - uintptr_t(8191999999)) : pixels.data();
    void *const pixels_34 =
        frame::is_64_bit ? reinterpret_cast<void *>(end - uintptr_t(4351999999)) : pixels.data();
    const struct {
        int bits, width, height;
        void *pixels;
        Failure failure;
    } calls[] = {
        {0, 5, 5, pixels.data(), {3200, 0, 4, 7}},
        {-1, 5, 5, pixels.data(), {3200, 0, 4, 7}},
        {65, 5, 5, pixels.data(), {3200, 0, 4, 7}},
        {INT_MAX, 5, 5, pixels.data(), {3200, 0, 4, 7}},
        {INT_MIN, 5, 5, pixels.data(), {3200, 0, 4, 7}},
        {24, 0, 5, pixels.data(), {3200, 0, 4, 7}},
        {24, -5, 5, pixels.data(), {3200, 0, 4, 7}},
        {24, INT_MIN, 5, pixels.data(), {3200, 0, 4, 7}},
        {24, 5, 0, pixels.data(), {3200, 0, 4, 7}},
        {24, 5, -5, pixels.data(), {3200, 0, 4, 7}},
        {24, 5, INT_MIN, pixels.data(), {3200, 0, 4, 7}},
        {24, 32001, 5, pixels.data(), too_wide},
        {24, INT_MAX, 5, pixels.data(), too_wide},
        {24, 5, 32001, pixels.data(), too_high},
        {24, 5, INT_MAX, pixels.data(), too_high},
        {24, 32001, 32001, pixels.data(), too_wide},
        {24, 5, 5, nullptr, {3200, 0, 4, 8}},
        // Rows that no address space holds, and such as reach beyond its end.
        {64, 32000, 32000, pixels_64, {3200, 0, 4, 8}},
        {34, 32000, 32000, pixels_34, {3200, 0, 4, 8}},
        {8, 4097, 1, last_page, {3200, 0, 4, 8}},
        {8, 1, 32000, last_page, {3200, 0, 4, 8}},
    };
    for (const auto &refused : calls) {
        SCOPED_TRACE(size_text(refused.bits, refused.width, refused.height));
        HBUF32 handle = 0x5A5A5A5A;
        EXPECT_EQ(api().buf32DIBMemBufAlloc(&handle, refused.bits, refused.width, refused.height,
                                            refused.pixels),
                  0);
        EXPECT_EQ(handle, 0u);
        expect_report(refused.failure);
    }
    EXPECT_EQ(pixels, Bytes(1000, 0x77));
}

} // namespace
} // namespace q32::test
