// What is drawn on: a device type, and a memory context.
#pragma once

#include "tests/failing_calls/stage.h"
#include "tests/frame/canvas.h"

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

// A small memory context.
class Canvas : public frame::Canvas {
public:
    Canvas() : frame::Canvas(40, 24, 32) {}
};

// Where pictures are shown.
inline constexpr RECT place{2, 3, 35, 20};

} // namespace q32::test
