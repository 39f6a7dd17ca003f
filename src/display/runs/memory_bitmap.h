// A bitmap in a memory context, through which strips of bits are drawn.
#pragma once

#include "display/gdi_owners.h"
#include "display/runs/band.h"
#include "display/runs/strip.h"

#include <cstdint>

namespace q32::display {

class MemoryBitmap {
public:
    // In the device's own colours, for all rows of the run; or of bits, for those of a strip. False
    // when there is none.
    bool make_compatible(HDC dc, int width, std::uint32_t rows);
    bool make_monochrome(HDC dc, int width, int rows);

    // False when the graphics interface refuses.
    bool draw(const Band &band, const Strip &strip) const;
    bool draw_black_and_white(const Band &band, const Strip &strip) const;

private:
    bool make(HDC dc, HBITMAP bitmap);

    // In the order of their making: they go the other way round.
    DeviceContext dc_;
    Bitmap bitmap_;
    Selection selected_;
};

} // namespace q32::display
