// A picture in one of the library's buffers, which is freed with it, and rows in and out.
// Pixels change their format only where rows pass through the library; see picture_transfer.h and
// the commands for that.
#pragma once

#include "apps/pictures/areas.h"
#include "apps/pictures/buffer.h"

#include <cstdint>
#include <string>

namespace apps::q32tool {

// What the pixels of an image are.
enum class PixelFormat {
    bits,   // 1 bit, 1 is white
    grey,   // 8 bits
    rgb555, // 16 bits
    rgb565, // 16 bits
    rgb,    // 24 bits, byte 0 red
};

int bits_of(PixelFormat format);

class Image {
public:
    // named: what messages about the image are about, mostly a file's name. type: a BUF32_ value,
    // extra: what buf32Alloc wants for it. Throws Failure.
    Image(PixelFormat format, Size size, uint32_t type, const std::string &named,
          const void *extra = nullptr);

    HBUF32 handle() const { return buffer_.get(); }
    PixelFormat format() const { return format_; }
    uint32_t type() const { return type_; }
    Size size() const { return size_; }
    int width() const { return size_.width; }
    int height() const { return size_.height; }
    Area area() const { return area_of({}, size_); }
    const std::string &named() const { return named_; }

    BUF32INFO info() const;

    // A rectangle inside the image as a new one, by buf32GetBuf: of the whole image a duplicate,
    // which shares its pixels. Throws Failure.
    Image cut(const Area &area) const;

    // The image (of 8 or 24 bits) turned, as a new one; orientation: see turning.h. Throws Failure.
    Image turned(int orientation) const;

    // mode: BUF32_READ ... Throws Failure.
    BufferLock lock(int mode) { return lock_buffer(handle(), mode, named_); }

    // One row by buf32Line, in a mode of BUF32_LINE_; the image must be locked. Throws Failure.
    void line(int row, int mode, void *memory);

private:
    // The library's time of freeing is counted, too.
    static void free_timed(HBUF32 buffer);
    using TimedBuffer = Owned<free_timed, HBUF32>;

    Image(PixelFormat format, Size size, uint32_t type, std::string named, TimedBuffer buffer);
    // Lets a function of the library store the handle of a new buffer.
    template <typename Function>
    static TimedBuffer made(PixelFormat format, Size size, const std::string &named,
                            const Function &function);

    PixelFormat format_;
    Size size_;
    uint32_t type_;
    std::string named_;
    TimedBuffer buffer_;
};

} // namespace apps::q32tool
