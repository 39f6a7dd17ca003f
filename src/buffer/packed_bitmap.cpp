// Headers of packed bitmaps.
#include "buffer/packed_bitmap.h"

#include <cstring>

namespace q32::buffer {
namespace {

// Where the fields lie.
constexpr size_t size_at = 0, width_at = 4, height_at = 8, planes_at = 12, bits_at = 14,
                 compression_at = 16, colours_used_at = 32;

constexpr uint32_t smallest_header_bytes = compression_at + 4;
constexpr uint32_t header_bytes_with_colours_used = colours_used_at + 4;
constexpr uint32_t colour_bytes = 4;

template <typename T>
T field(std::span<const std::byte> block, size_t at) {
    T value;
    std::memcpy(&value, block.data() + at, sizeof value);
    return value;
}

template <typename T>
void set_field(std::byte *header, size_t at, T value) {
    std::memcpy(header + at, &value, sizeof value);
}

// The table has as many entries as the header says, or else those that the depth implies.
uint64_t behind_colour_table(const PackedHeader &header, uint32_t implied_entries) {
    const uint32_t entries = header.colours_used != 0 ? header.colours_used : implied_entries;
    return header.bytes + uint64_t(entries) * colour_bytes;
}

} // namespace

std::optional<PackedHeader> read_packed_header(std::span<const std::byte> block) {
    if (block.size() < smallest_header_bytes)
        return std::nullopt;
    PackedHeader header = {};
    header.bytes = field<uint32_t>(block, size_at);
    if (header.bytes < smallest_header_bytes || header.bytes > block.size())
        return std::nullopt;
    header.width = field<int32_t>(block, width_at);
    header.height = field<int32_t>(block, height_at);
    header.bits_per_pixel = field<uint16_t>(block, bits_at);
    header.compression = field<uint32_t>(block, compression_at);
    if (header.bytes >= header_bytes_with_colours_used)
        header.colours_used = field<uint32_t>(block, colours_used_at);
    return header;
}

void write_packed_header(std::byte *memory, int width, int height, int bits_per_pixel) {
    std::memset(memory, 0, packed_header_bytes);
    set_field<uint32_t>(memory, size_at, packed_header_bytes);
    set_field<int32_t>(memory, width_at, width);
    set_field<int32_t>(memory, height_at, height);
    set_field<uint16_t>(memory, planes_at, 1);
    set_field<uint16_t>(memory, bits_at, uint16_t(bits_per_pixel));
}

uint64_t pixel_offset_of_callers_bitmap(const PackedHeader &header) {
    const bool has_table = header.bits_per_pixel < 16;
    return behind_colour_table(header, has_table ? 1u << header.bits_per_pixel : 0);
}

uint64_t pixel_offset_of_private_copy(const PackedHeader &header) {
    // Counted by a shift of 32 bits, which takes its distance modulo 32: 32 bits have one entry.
    const bool has_table = header.bits_per_pixel != 24;
    return behind_colour_table(header, has_table ? 1u << (header.bits_per_pixel % 32) : 0);
}

} // namespace q32::buffer
