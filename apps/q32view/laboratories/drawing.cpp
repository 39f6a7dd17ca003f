// Captions by the system, pictures by the library.
#include "drawing.h"

#include "apps/pictures/text.h"
#include "apps/q32view/painter.h"
#include "apps/q32view/show_settings.h"
#include "apps/q32view/view_state.h"
#include "control_column.h"
#include "frames.h"
#include "geometry/system_rect.h"

namespace apps::q32view {

int caption_height() {
    return on_this_screen(18);
}

void keep_drawn(HDC dc, const Area &area) {
    ExcludeClipRect(dc, area.left, area.top, area.right, area.bottom);
}

void draw_caption(HDC dc, const Area &area, const std::string &text) {
    RECT rect = q32::as_rect(area);
    const HGDIOBJ font_before = SelectObject(dc, message_font());
    FillRect(dc, &rect, GetSysColorBrush(COLOR_BTNFACE));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, GetSysColor(COLOR_BTNTEXT));
    const std::wstring wide = to_wide(text);
    DrawTextW(dc, wide.c_str(), static_cast<int>(wide.size()), &rect,
              DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    SelectObject(dc, font_before);
    keep_drawn(dc, area);
}

void fill_background(HDC dc, Size size) {
    const RECT rect = {0, 0, size.width, size.height};
    FillRect(dc, &rect, GetSysColorBrush(COLOR_BTNFACE));
}

void FittedPicture::draw(HDC dc, const Area &room, const Picture &picture, StatusBar &status) {
    if (room.is_empty())
        return;
    const Size size = fitted(picture.size, room.size());
    scaled_.prepare(picture, size, status);
    shown_ = centred(size, room);
    const Point origin = shown_.corner();
    scaled_.for_each_piece(area_of({}, size), [&](const ScaledPicture::Piece &piece) {
        paint(dc, moved(piece.area, origin),
              {piece.buffer, piece.opacity, piece.place, piece.area.corner()}, applied_settings());
    });
    keep_drawn(dc, shown_);
    const RECT around = q32::as_rect(room);
    FillRect(dc, &around, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    keep_drawn(dc, room);
}

} // namespace apps::q32view
