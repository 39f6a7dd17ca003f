// Bitmap layout, as plainly as it reads: bottom row first, rows padded to 4 bytes, 24-bit pixels
// with the first and third byte exchanged.
#pragma once

#include "tests/model/plain_image.h"

#include <windows.h>

namespace q32::test {

inline size_t bitmap_stride(int bits, int width) {
    return (size_t(width) * size_t(bits) + 31) / 32 * 4;
}

inline size_t bitmap_bytes(int bits, const Image &image) {
    return bitmap_stride(bits, image.width) * size_t(image.height);
}

// One row of the image as a bitmap of this depth holds it.
inline std::vector<uint8_t> bitmap_row(int bits, const Image &image, int y) {
    Block row(bits, image.width, 1);
    for (int x = 0; x < image.width; ++x)
        row.set_pixel(x, 0, image.at(x, y));
    if (bits == 24)
        for (size_t i = 0; i + 2 < row.bytes().size(); i += 3)
            std::swap(row.bytes()[i], row.bytes()[i + 2]);
    return row.bytes();
}

// Writes the image; padding bytes, and bits behind the last pixel, are whatever is left of bytes
// that were random or 0.
inline void write_bitmap_rows(uint8_t *to, int bits, const Image &image) {
    for (int y = 0; y < image.height; ++y) {
        const std::vector<uint8_t> row = bitmap_row(bits, image, y);
        std::memcpy(to + size_t(image.height - 1 - y) * bitmap_stride(bits, image.width),
                    row.data(), row.size());
    }
}

// Whether the block holds the image's pixels.
inline bool holds_bitmap_rows(const uint8_t *block, int bits, const Image &image) {
    for (int y = 0; y < image.height; ++y) {
        const std::vector<uint8_t> row = bitmap_row(bits, image, y);
        const uint8_t *const stored =
            block + size_t(image.height - 1 - y) * bitmap_stride(bits, image.width);
        for (int x = 0; x < image.width; ++x)
            if (Block::read(stored, x, bits) != Block::read(row.data(), x, bits))
                return false;
    }
    return true;
}

// Bytes before the pixels of a packed bitmap of ours: a header of 40 bytes and the colour table.
// A private copy counts the table by another rule.
inline size_t pixels_offset(int bits) {
    return sizeof(BITMAPINFOHEADER) + (bits < 16 ? size_t(4) << bits : 0);
}
inline size_t private_pixels_offset(int bits) {
    if (bits == 24)
        return sizeof(BITMAPINFOHEADER);
    return sizeof(BITMAPINFOHEADER) + size_t(4) * (bits >= 32 ? 1 : size_t(1) << bits);
}

inline HGLOBAL make_packed_bitmap(int bits, const Image &image) {
    const size_t offset = pixels_offset(bits);
    const HGLOBAL block = GlobalAlloc(GHND, offset + bitmap_bytes(bits, image));
    auto *const bytes = static_cast<uint8_t *>(GlobalLock(block));
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = image.width;
    header.biHeight = image.height;
    header.biPlanes = 1;
    header.biBitCount = WORD(bits);
    std::memcpy(bytes, &header, sizeof header);
    write_bitmap_rows(bytes + offset, bits, image);
    GlobalUnlock(block);
    return block;
}

} // namespace q32::test
