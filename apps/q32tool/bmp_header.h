// Headers of BMP files: where the parts of the file lie, and what the library may refuse about it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

constexpr size_t bmp_file_header_bytes = 14;

// Fields of the file header and of the bitmap header behind it; 0 where one of them ends before.
struct BmpHeader {
    uint32_t pixels_begin; // in the file, as it says
    uint32_t bytes;        // of the bitmap header
    int32_t width;
    int32_t height;
    uint16_t bits_per_pixel;
    uint32_t compression;
    uint32_t colours_used;

    uint32_t colours() const;   // of the colour table, as the library counts
    uint64_t table_end() const; // in the file: where the colour table ends
    // Of a row's pixels, and from row to row. With a width of at least 1.
    uint64_t row_bytes() const { return (static_cast<uint64_t>(width) * bits_per_pixel + 7) / 8; }
    uint64_t row_stride() const { return (row_bytes() + 3) / 4 * 4; }
};

bool is_bmp(const std::vector<uint8_t> &file);

// Of a file that is_bmp.
BmpHeader read_bmp_header(const std::vector<uint8_t> &file);

// Why the library does not take such a bitmap from a file of so many bytes.
struct Refusal {
    std::string problem;
    const char *remedy; // may be empty
};
Refusal refusal_of(const BmpHeader &header, size_t file_bytes);

// Pictures of other kinds become bitmaps that the library takes.
inline constexpr char convert_it[] = "q32tool convert makes one that is taken";

} // namespace apps::q32tool
