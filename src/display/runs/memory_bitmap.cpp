// Making bitmaps, and drawing strips through them.
#include "display/runs/memory_bitmap.h"

#include <limits>

namespace q32::display {
namespace {

// The colours in which bits are drawn: set ones white, clear ones black.
class BlackAndWhite {
public:
    explicit BlackAndWhite(HDC dc)
        : dc_(dc), background_(SetBkColor(dc, RGB(255, 255, 255))), text_(SetTextColor(dc, 0)) {}
    BlackAndWhite(const BlackAndWhite &) = delete;
    BlackAndWhite &operator=(const BlackAndWhite &) = delete;
    ~BlackAndWhite() {
        if (background_ != CLR_INVALID)
            SetBkColor(dc_, background_);
        if (text_ != CLR_INVALID)
            SetTextColor(dc_, text_);
    }

private:
    HDC dc_;
    COLORREF background_, text_;
};

} // namespace

bool MemoryBitmap::make(HDC dc, HBITMAP bitmap) {
    bitmap_.reset(bitmap);
    if (!bitmap_)
        return false;
    dc_.reset(CreateCompatibleDC(dc));
    if (!dc_)
        return false;
    selected_ = select(dc_.get(), bitmap);
    return bool(selected_);
}

bool MemoryBitmap::make_compatible(HDC dc, int width, std::uint32_t rows) {
    return rows <= std::uint32_t(std::numeric_limits<int>::max()) &&
           make(dc, CreateCompatibleBitmap(dc, width, int(rows)));
}

bool MemoryBitmap::make_monochrome(HDC dc, int width, int rows) {
    return make(dc, CreateBitmap(width, rows, 1, 1, nullptr));
}

bool MemoryBitmap::draw(const Band &band, const Strip &strip) const {
    return SetBitmapBits(bitmap_.get(), DWORD(strip.size()), strip.bytes()) != 0 &&
           BitBlt(band.dc, band.left, band.top, band.width, band.rows, dc_.get(), 0,
                  strip.first_held(), SRCCOPY);
}

bool MemoryBitmap::draw_black_and_white(const Band &band, const Strip &strip) const {
    const BlackAndWhite colours(band.dc);
    return draw(band, strip);
}

} // namespace q32::display
