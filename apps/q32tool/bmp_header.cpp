// The fields' places, and the words.
#include "bmp_header.h"

#include <q32base/types.h>

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace apps::q32tool {
namespace {

constexpr uint32_t colour_bytes = 4;
constexpr uint32_t old_header_bytes = 12, least_header_bytes = 20;
constexpr uint32_t words_565 = 0x35363552; // "R565": 16-bit pixels, taken as BI_RGB is

// A field that lies before end; else 0.
template <typename T>
T field(const std::vector<uint8_t> &file, size_t at, size_t end) {
    T value = 0;
    if (at + sizeof value <= std::min(end, file.size()))
        std::memcpy(&value, file.data() + at, sizeof value);
    return value;
}

std::string compression_in_words(uint32_t compression) {
    switch (compression) {
    case BI_RLE8:
    case BI_RLE4:
        return "its pixels are run-length compressed";
    case BI_BITFIELDS:
        return "its pixels are described by bit masks";
    case BI_JPEG:
    case BI_PNG:
        return "it holds a JPEG or PNG picture";
    default:
        return "its compression " + std::to_string(compression) + " is not known";
    }
}

} // namespace

uint32_t BmpHeader::colours() const {
    constexpr int least_bits_without = 16;
    if (colours_used != 0)
        return colours_used;
    return bits_per_pixel < least_bits_without ? 1u << bits_per_pixel : 0;
}

uint64_t BmpHeader::table_end() const {
    return bmp_file_header_bytes + uint64_t{bytes} + uint64_t{colours()} * colour_bytes;
}

bool is_bmp(const std::vector<uint8_t> &file) {
    return file.size() >= bmp_file_header_bytes + sizeof(uint32_t) && file[0] == 'B' &&
           file[1] == 'M';
}

BmpHeader read_bmp_header(const std::vector<uint8_t> &file) {
    BmpHeader header = {};
    header.pixels_begin = field<uint32_t>(file, 10, bmp_file_header_bytes);
    header.bytes = field<uint32_t>(file, 14, file.size());
    const size_t end = bmp_file_header_bytes + std::min<size_t>(header.bytes, file.size());
    header.width = field<int32_t>(file, 18, end);
    header.height = field<int32_t>(file, 22, end);
    header.bits_per_pixel = field<uint16_t>(file, 28, end);
    header.compression = field<uint32_t>(file, 30, end);
    header.colours_used = field<uint32_t>(file, 46, end);
    return header;
}

Refusal refusal_of(const BmpHeader &header, size_t file_bytes) {
    static constexpr char get_it_again[] = "get the whole file again";
    const std::string most = " pixels, and " + std::to_string(Q32_MAX_SIDE) + " are the most";
    if (header.bytes == old_header_bytes)
        return {"it has the old header of 12 bytes", convert_it};
    if (header.bytes < least_header_bytes)
        return {"its header of " + std::to_string(header.bytes) + " bytes is not known", ""};
    if (header.table_end() > file_bytes)
        return {"the file ends inside its header or colour table", get_it_again};
    if (header.compression != BI_RGB && header.compression != words_565)
        return {compression_in_words(header.compression), convert_it};
    if (header.width < 1 || header.height == 0 || header.height == INT32_MIN)
        return {"its size makes no sense", ""};
    if (header.height < 0)
        return {"its rows are stored top row first", convert_it};
    if (header.bits_per_pixel < 1 || header.bits_per_pixel > 64)
        return {"its " + std::to_string(header.bits_per_pixel) + " bits per pixel make no sense",
                ""};
    if (header.width > Q32_MAX_SIDE)
        return {"its width is " + std::to_string(header.width) + most, ""};
    if (header.height > Q32_MAX_SIDE)
        return {"its height is " + std::to_string(header.height) + most, ""};
    return {"the file ends before its last row", get_it_again};
}

} // namespace apps::q32tool
