// What the tests of shared bitmaps have in common: a source with known pixels, what a record says
// of sharing, and every way to write.
#pragma once

#include "tests/bitmaps/bitmap_fixture.h"

namespace q32::test {

class BitmapSharing : public BitmapTest {};

inline uintptr_t node_of(HBUF32 buffer) {
    return uintptr_t(buffer) + field_offset(field_share_marker);
}

inline uint32_t locks_of(HGLOBAL block) {
    return GlobalFlags(block) & GMEM_LOCKCOUNT;
}

inline HGLOBAL block_under(HBUF32 buffer) {
    return reinterpret_cast<HGLOBAL>(word(buffer, field_data_handle));
}

// A bitmap of random pixels, opened; its pixels as they are now.
struct Source {
    explicit Source(const Header &header_in, uint64_t seed = 0)
        : header(header_in), random(test_seed(), seed), block(block_of(header, random)),
          bitmap(block), buffer(bitmap) {
        pixels = packed_pixels(Bytes(block.begin() + ptrdiff_t(header.pixels_at()), block.end()),
                               header.shape);
    }
    operator HBUF32() const { return buffer; }

    const Header header;
    Random random;
    const Bytes block;
    Bitmap bitmap;
    Opened buffer;
    Bytes pixels;
};

// A packed bitmap that the library has given away: where it says, in bitmap layout, these pixels.
inline void expect_bitmap(HGLOBAL block, const Header &header, const Bytes &pixels) {
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(locks_of(block), 0u);
    const uint64_t at = header.own_pixels_at();
    ASSERT_GE(GlobalSize(block), at + header.shape.bitmap_bytes(false));
    const auto *const memory = static_cast<const uint8_t *>(GlobalLock(block));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(packed_pixels(bytes_at(memory + at, header.shape.bitmap_bytes(false)), header.shape),
              pixels);
    GlobalUnlock(block);
}

inline void expect_shares(HBUF32 duplicate, HBUF32 source) {
    EXPECT_TRUE(is_duplicate(duplicate));
    EXPECT_EQ(source_of(duplicate), source);
    EXPECT_EQ(word(duplicate, field_self), duplicate);
}

inline void expect_shares_nothing(HBUF32 buffer) {
    EXPECT_FALSE(is_duplicate(buffer));
    for (int field : {field_share_marker, field_source, field_previous_sharer, field_next_sharer})
        EXPECT_EQ(word(buffer, field), 0u) << "field " << field;
    EXPECT_EQ(word(buffer, field_self), buffer);
}

inline void expect_no_sharers(HBUF32 buffer) {
    EXPECT_EQ(word(buffer, field_first_sharer), 0u);
    EXPECT_EQ(word(buffer, field_last_sharer), 0u);
}

// Everything that writes; each leaves other pixels.
struct Write {
    const char *name;
    int (*write)(HBUF32 buffer);
};

template <int mode>
int write_by_lock(HBUF32 buffer) {
    void *base = nullptr;
    const int result = api().buf32Lock(buffer, mode, &base);
    if (result == 1) {
        static_cast<uint8_t *>(base)[0] ^= 0xFF;
        api().buf32Unlock(buffer);
    }
    return result;
}

inline const Write writes[] = {
    {"lock 2", write_by_lock<BUF32_WRITE>},
    {"lock 3", write_by_lock<BUF32_WRITE_3>},
    {"lock 4", write_by_lock<BUF32_OVERWRITE>},
    {"cell lock",
     [](HBUF32 buffer) {
         // The mode of an earlier write lock, kept in the record.
         set_word(buffer, field_access_mode, BUF32_WRITE);
         void *address = nullptr;
         const int result = api().buf32CellLock(buffer, 0, &address, nullptr);
         if (result == 1) {
             static_cast<uint8_t *>(address)[0] ^= 0xFF;
             api().buf32CellUnlock(buffer, 0);
         }
         return result;
     }},
    {"row",
     [](HBUF32 buffer) {
         Bytes row(shape_of(buffer).row_bytes(), 0x5A);
         api().buf32Lock(buffer, BUF32_READ, nullptr);
         const int result = api().buf32Line(buffer, 1, BUF32_LINE_WRITE, row.data());
         api().buf32Unlock(buffer);
         return result;
     }},
    {"rectangle",
     [](HBUF32 buffer) {
         uint8_t pixel[8] = {};
         api().buf32GetMem(buffer, 1, 0, 1, 1, pixel);
         for (uint8_t &byte : pixel)
             byte ^= 0xFF;
         return api().buf32MergeMem(buffer, 1, 0, pixel, 1, 1);
     }},
    {"another buffer",
     [](HBUF32 buffer) {
         const Shape shape = shape_of(buffer);
         Buffer other(shape.bits, shape.width, shape.height);
         uint8_t pixels[4 * 8] = {};
         api().buf32GetMem(buffer, 0, 0, 2, 2, pixels);
         for (uint8_t &byte : pixels)
             byte ^= 0xFF;
         api().buf32MergeMem(other, 0, 0, pixels, 2, 2);
         return api().buf32MergeBuf(other, 0, 0, 2, 2, buffer, 0, 0);
     }},
    {"one colour",
     [](HBUF32 buffer) {
         const uint8_t colour = 0x5A;
         return api().buf32FillOneColor(buffer, &colour);
     }},
    {"pattern",
     [](HBUF32 buffer) {
         const uint8_t pixels[8] = {0x5A, 0xA5, 0x5A, 0xA5, 0x5A, 0xA5, 0x5A, 0xA5};
         const BUF32PATTERN pattern{1, 1, pixels};
         return api().buf32FillPattern(buffer, &pattern);
     }},
    {"there and back",
     [](HBUF32 buffer) {
         const int result = api().buf32DIBBufToDIB(buffer) != nullptr;
         return result == 1 ? api().buf32DIBToDIBBuf(buffer) : 0;
     }},
};

inline const Header headers[] = {{{1, 33, 7}},  {{4, 9, 5}},  {{8, 20, 6}},
                                 {{16, 7, 5}},  {{24, 3, 2}}, {{24, 33, 9}, 40, rgb, 5},
                                 {{32, 11, 4}}, {{64, 3, 3}}, {{16, 7, 5}, 124, code_r565, 3}};
} // namespace q32::test
