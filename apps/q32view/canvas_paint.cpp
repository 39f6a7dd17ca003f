// Painting of the canvas: the invalid parts of the window, and no others.
#include "apps/pictures/exceptions.h"
#include "canvas.h"
#include "geometry/system_rect.h"
#include "painter.h"
#include "test_card.h"

#include <vector>

namespace apps::q32view {
namespace {

// What is to be drawn anew. After scrolling both ways these are two strips; a single rectangle
// around them would be the whole window.
std::vector<Area> areas_of_update_region(HWND window) {
    HRGN region = CreateRectRgn(0, 0, 0, 0);
    GetUpdateRgn(window, region, FALSE);
    std::vector<uint8_t> bytes(GetRegionData(region, 0, nullptr));
    auto *data = reinterpret_cast<RGNDATA *>(bytes.data());
    std::vector<Area> areas;
    if (GetRegionData(region, static_cast<DWORD>(bytes.size()), data) != 0) {
        const auto *rectangles = reinterpret_cast<const RECT *>(data->Buffer);
        for (DWORD i = 0; i < data->rdh.nCount; ++i)
            areas.push_back(q32::as_area(rectangles[i]));
    }
    DeleteObject(region);
    return areas;
}

class Painting {
public:
    explicit Painting(HWND window) : window_(window) { BeginPaint(window, &state_); }
    ~Painting() { EndPaint(window_, &state_); }
    Painting(const Painting &) = delete;
    Painting &operator=(const Painting &) = delete;

    HDC dc() const { return state_.hdc; }

private:
    HWND window_;
    PAINTSTRUCT state_;
};

// Fills an area, but for the spared one, with a colour that all displays have.
void fill_around(HDC dc, const Area &area, const Area &spared, int stock_brush) {
    const int state = SaveDC(dc);
    if (!spared.is_empty())
        ExcludeClipRect(dc, spared.left, spared.top, spared.right, spared.bottom);
    const RECT rect = q32::as_rect(area);
    FillRect(dc, &rect, static_cast<HBRUSH>(GetStockObject(stock_brush)));
    RestoreDC(dc, state);
}

} // namespace

// While something else is being done the window stays invalid; it is painted afterwards.
void Canvas::handle_paint() {
    if (Busy::is_anything())
        return;
    prepare();
    const Busy busy;
    const std::vector<Area> areas = areas_of_update_region(window_);
    const Painting painting(window_);
    try {
        for (const Area &area : areas)
            paint_area(painting.dc(), area);
    } catch (const std::exception &failure) {
        owner_.say_failure(failure);
    }
}

// A picture that cannot be scaled, or whose scaling the user has stopped, is shown in its own size,
// for which nothing has to be made.
void Canvas::prepare() {
    if (!has_picture() || show_.test_card)
        return;
    try {
        scaled_.prepare(*show_.picture, view_.shown(), status_);
    } catch (const std::exception &failure) {
        zoom_to(100);
        scaled_.prepare(*show_.picture, view_.shown(), status_);
        owner_.say_failure(failure);
    }
}

void Canvas::paint_area(HDC dc, const Area &area) {
    if (show_.test_card)
        draw_test_card(dc, view_.window(), show_.settings);
    else
        paint_picture(dc, area);
}

void Canvas::paint_picture(HDC dc, const Area &area) {
    const Area covered = intersect(view_.covered(), area);
    fill_around(dc, area, covered, plain_ ? BLACK_BRUSH : GRAY_BRUSH);
    if (covered.is_empty())
        return;
    const Point origin = view_.origin();
    scaled_.for_each_piece(
        moved(covered, Point{} - origin), [&](const ScaledPicture::Piece &piece) {
            paint(dc, moved(piece.area, origin),
                  {piece.buffer, piece.opacity, piece.place, piece.area.corner()}, show_.settings);
        });
}

} // namespace apps::q32view
