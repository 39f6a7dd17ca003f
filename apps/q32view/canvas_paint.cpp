// Painting of the canvas: the parts of the window that are not valid, and nothing beside them.
#include "apps/pictures/failure.h"
#include "canvas.h"
#include "painter.h"
#include "test_card.h"

#include <vector>

namespace apps::q32view {
namespace {

// The rectangles that make up what is to be drawn anew. A window that was scrolled both ways lacks
// two strips, whose common rectangle would be all of it.
std::vector<Box> boxes_of_update_region(HWND window) {
    HRGN region = CreateRectRgn(0, 0, 0, 0);
    GetUpdateRgn(window, region, FALSE);
    std::vector<uint8_t> bytes(GetRegionData(region, 0, nullptr));
    auto *data = reinterpret_cast<RGNDATA *>(bytes.data());
    std::vector<Box> boxes;
    if (GetRegionData(region, static_cast<DWORD>(bytes.size()), data) != 0) {
        const auto *rectangles = reinterpret_cast<const RECT *>(data->Buffer);
        for (DWORD i = 0; i < data->rdh.nCount; ++i)
            boxes.push_back(
                {rectangles[i].left, rectangles[i].top, rectangles[i].right, rectangles[i].bottom});
    }
    DeleteObject(region);
    return boxes;
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

// Grey of all displays; all but the given box.
void fill_around(HDC dc, const Box &box, const Box &spared) {
    const int state = SaveDC(dc);
    if (!spared.is_empty())
        ExcludeClipRect(dc, spared.left, spared.top, spared.right, spared.bottom);
    const RECT area = {box.left, box.top, box.right, box.bottom};
    FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    RestoreDC(dc, state);
}

} // namespace

// While something else is being done the window stays invalid, and is painted when that has ended.
void Canvas::handle_paint() {
    if (Busy::is_anything())
        return;
    prepare();
    const Busy busy;
    const std::vector<Box> boxes = boxes_of_update_region(window_);
    const Painting painting(window_);
    try {
        for (const Box &box : boxes)
            paint_box(painting.dc(), box);
    } catch (const std::exception &failure) {
        owner_.say_failure(failure);
    }
}

// A picture that cannot be scaled, or need not be as the user is tired of waiting, is shown in its
// own size, which takes nothing.
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

void Canvas::paint_box(HDC dc, const Box &box) {
    if (show_.test_card)
        draw_test_card(dc, view_.window(), show_.settings);
    else
        paint_picture(dc, box);
}

void Canvas::paint_picture(HDC dc, const Box &box) {
    const Box covered = common_part(view_.covered(), box);
    fill_around(dc, box, covered);
    if (covered.is_empty())
        return;
    const Place origin = view_.origin();
    scaled_.for_each_piece(moved(covered, Place{} - origin),
                           [&](const ScaledPicture::Piece &piece) {
                               paint(dc, moved(piece.box, origin), piece.buffer, piece.place,
                                     {piece.box.left, piece.box.top}, show_.settings);
                           });
}

} // namespace apps::q32view
