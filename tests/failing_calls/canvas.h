// What is drawn on: a device type, and a memory context that remembers what is drawn.
#pragma once

#include "tests/failing_calls/stage.h"

namespace q32::test {

// A device type for the time of its own life.
class Device {
public:
    explicit Device(int type) { EXPECT_SUCCESS(api().disp32SetDevType(type)); }
    ~Device() { EXPECT_SUCCESS(api().disp32SetDevType(detected)); }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    static constexpr int detected = 99;
};

// A memory context of 40 x 24 pixels that remembers what is drawn.
class Canvas {
public:
    static constexpr int width = 40, height = 24;

    Canvas() : dc_(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info{{sizeof info.bmiHeader, width, -height, 1, 32}, {}};
        bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &pixels_, nullptr, 0);
        before_ = SelectObject(dc_, bitmap_);
    }
    ~Canvas() {
        SelectObject(dc_, before_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    Canvas(const Canvas &) = delete;
    Canvas &operator=(const Canvas &) = delete;

    HDC dc() const { return dc_; }
    Bytes bytes() const {
        GdiFlush();
        return bytes_at(pixels_, width * height * 4);
    }

private:
    HDC dc_;
    void *pixels_ = nullptr;
    HBITMAP bitmap_;
    HGDIOBJ before_;
};

// Where pictures are shown.
inline constexpr RECT place{2, 3, 35, 20};

} // namespace q32::test
