// A memory device context to draw on, whose pixels can be read.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace q32::frame {

// Of one colour at first; top row first, rows padded to 4 bytes.
class Canvas {
public:
    static constexpr unsigned char untouched = 0x5A;

    Canvas(int width, int height, WORD bits = 24)
        : width_(width), height_(height), row_bytes_((width * bits + 31) / 32 * 4),
          dc_(CreateCompatibleDC(nullptr)) {
        const BITMAPINFO info{{sizeof info.bmiHeader, width, -height, 1, bits}, {}};
        bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &pixels_, nullptr, 0);
        before_ = SelectObject(dc_, bitmap_);
        clear();
    }
    ~Canvas() {
        SelectObject(dc_, before_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    Canvas(const Canvas &) = delete;
    Canvas &operator=(const Canvas &) = delete;

    HDC dc() const { return dc_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int row_bytes() const { return row_bytes_; }
    void clear() { std::memset(pixels_, untouched, size()); }

    // Everything, as it lies in memory.
    std::vector<unsigned char> contents() const {
        GdiFlush();
        const auto *const begin = static_cast<const unsigned char *>(pixels_);
        return {begin, begin + size()};
    }

protected:
    std::size_t size() const { return std::size_t(row_bytes_) * std::size_t(height_); }

private:
    int width_, height_, row_bytes_;
    HDC dc_;
    void *pixels_ = nullptr;
    HBITMAP bitmap_;
    HGDIOBJ before_;
};

} // namespace q32::frame
