// The header of a packed bitmap: a block of header, colour table and pixels. Reads it byte by byte
// within the block, and knows where the pixels lie. Knows no handles and no records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace q32::buffer {

inline constexpr uint32_t compression_none = 0;
inline constexpr uint32_t compression_r565 = 0x35363552; // the characters "R565"

struct PackedHeader {
    uint32_t bytes; // of the header itself
    int width;      // pixels
    int height;     // rows; negative: top row first
    int bits_per_pixel;
    uint32_t compression;
    uint32_t colours_used; // 0 where the header ends before the field
};

// The header at the start of a block; nothing when the block is too short for it, and for core
// headers, which end before the compression.
std::optional<PackedHeader> read_packed_header(std::span<const std::byte> block);

// Writes a header of packed_header_bytes for uncompressed pixels.
inline constexpr uint32_t packed_header_bytes = 40;
void write_packed_header(std::byte *memory, int width, int height, int bits_per_pixel);

// Where the pixels lie behind the header and the colour table: bytes from the block's start.
//
// The two rules differ on purpose. A buffer over the caller's bitmap takes the first, the private
// copy that a duplicate of it gets when it is written takes the second. They agree under 16 bits
// and at 24. A caller sees the difference in the bitmap that buf32DIBBufFree returns for such a
// duplicate at 16 and 32 bits, say: its pixels lie behind a colour table that the header does not
// announce, of 65536 entries at 16 bits and of one at 32.
uint64_t pixel_offset_of_callers_bitmap(const PackedHeader &header);
uint64_t pixel_offset_of_private_copy(const PackedHeader &header);

// Bytes from one row of a bitmap to the next: whole 4-byte words.
constexpr uint32_t padded_row_bytes(uint32_t row_bytes) {
    return (row_bytes + 3) & ~uint32_t(3);
}

// Bytes from the first byte of a bitmap's rows to the last; the last row may lack its padding.
constexpr uint64_t bytes_of_padded_rows(int rows, uint32_t row_bytes) {
    return uint64_t(padded_row_bytes(row_bytes)) * uint32_t(rows - 1) + row_bytes;
}

} // namespace q32::buffer
