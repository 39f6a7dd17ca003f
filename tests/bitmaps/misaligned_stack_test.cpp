// Windows callers align the stack to 4 bytes only: every bitmap export is called once at each of
// the four alignments that a caller's stack can have.
#include "tests/bitmaps/bitmap_fixture.h"

namespace q32::test {
namespace {

class BitmapMisalignedStack : public BitmapTest, public ::testing::WithParamInterface<uint32_t> {
protected:
    template <typename Result, typename... Parameters>
    Result call(Result (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return frame::call_at(GetParam(), function, arguments...);
    }
};

TEST_P(BitmapMisalignedStack, EveryExport) {
    Random random(test_seed(), GetParam());
    for (int bits : {1, 8, 16, 24}) {
        SCOPED_TRACE(bits);
        const Header header{{bits, 300, 20}};
        const Bytes block = block_of(header, random);
        const Bytes pixels = packed_pixels(
            Bytes(block.begin() + ptrdiff_t(header.pixels_at()), block.end()), header.shape);
        Bitmap bitmap(block);
        HBUF32 handle = 0, duplicate = 0, copy = 0;
        EXPECT_EQ(call(api().buf32DIBBufAlloc, &handle, HGLOBAL(bitmap)), 1);
        EXPECT_EQ(pixels_of(handle), pixels);
        EXPECT_EQ(call(api().buf32DIBBufToDIB, handle), HGLOBAL(bitmap));
        EXPECT_EQ(call(api().buf32DIBToDIBBuf, handle), 1);
        EXPECT_EQ(pixels_of(handle), pixels);
        EXPECT_EQ(call(api().buf32DupBuf, handle, &duplicate), 1);
        EXPECT_EQ(call(api().buf32GetBuf, handle, 1, 1, 200, 19, &copy), 1);
        EXPECT_EQ(call(api().buf32MergeBuf, copy, 0, 0, 50, 5, handle, 9, 9), 1);
        EXPECT_EQ(pixels_of(duplicate), pixels);
        const uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        const BUF32PATTERN pattern{1, 1, colour};
        EXPECT_EQ(call(api().buf32FillOneColor, handle, colour), 1);
        EXPECT_EQ(call(api().buf32FillPattern, handle, &pattern), 1);
        HGLOBAL back = nullptr;
        EXPECT_EQ(call(api().buf32DIBBufFree, handle, &back), 1);
        EXPECT_EQ(back, HGLOBAL(bitmap));
        EXPECT_EQ(call(api().buf32Free, duplicate), 1);
        EXPECT_EQ(call(api().buf32Free, copy), 1);
        Bytes bare(header.shape.bitmap_bytes());
        EXPECT_EQ(call(api().buf32DIBMemBufAlloc, &handle, bits, 300, 20, bare.data()), 1);
        EXPECT_EQ(call(api().buf32DIBBufFree, handle, nullptr), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, BitmapMisalignedStack, ::testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
