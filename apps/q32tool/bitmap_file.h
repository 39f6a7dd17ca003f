// A BMP file as it is, and its pixels in one of the library's bitmap buffers. Nothing of the file
// gets lost: what the buffer does not hold is kept for writing it back.
#pragma once

#include "apps/pictures/buffer.h"
#include "bmp_header.h"

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

class BitmapFile {
public:
    // Reads the file and gives its packed bitmap to the library. Throws Failure, for a bitmap that
    // the library does not take with the reason and the library's numbers.
    explicit BitmapFile(const std::string &path);

    HBUF32 buffer() const { return buffer_.get(); }
    const BUF32INFO &info() const { return info_; }

    // "header of 40 bytes, 256 colours, pixels from byte 1078 on"
    std::string layout() const;

    // Takes the bitmap back from the library; the buffer is gone then. Returns the whole file.
    // Throws Failure.
    std::vector<uint8_t> close();

private:
    BitmapFile(const std::string &path, std::vector<uint8_t> file);
    void find_parts();
    void give_to_library();

    std::string path_;
    std::vector<uint8_t> file_;
    BmpHeader header_;
    // In the file, never beyond its end: header and colour table, the pixels behind them.
    size_t table_end_ = 0;
    size_t pixels_begin_ = 0;
    size_t pixel_bytes_ = 0;
    Buffer buffer_;
    BUF32INFO info_ = {};
};

} // namespace apps::q32tool
