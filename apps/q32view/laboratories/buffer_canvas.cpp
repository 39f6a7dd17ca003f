// The system's drawing.
#include "buffer_canvas.h"

#include "apps/pictures/text.h"
#include "control_column.h"
#include "geometry/system_rect.h"

namespace apps::q32view {
namespace {

Area inner(const Area &area, int by) {
    return {area.left + by, area.top + by, area.right - by, area.bottom - by};
}

} // namespace

BufferCanvas::BufferCanvas(HDC dc) : dc_(dc), dots_(GetDeviceCaps(dc, LOGPIXELSY)) {
    LOGFONTW font = {};
    GetObjectW(message_font(), sizeof font, &font);
    font.lfWeight = FW_BOLD;
    bold_ = Owned<DeleteObject, HGDIOBJ>(CreateFontIndirectW(&font));
    SetBkMode(dc_, TRANSPARENT);
}

void BufferCanvas::fill(const Area &area, COLORREF colour) const {
    SetDCBrushColor(dc_, colour);
    const RECT rect = q32::as_rect(area);
    FillRect(dc_, &rect, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void BufferCanvas::outline(const Area &area, COLORREF colour, int width) const {
    fill({area.left, area.top, area.right, area.top + width}, colour);
    fill({area.left, area.bottom - width, area.right, area.bottom}, colour);
    fill({area.left, area.top, area.left + width, area.bottom}, colour);
    fill({area.right - width, area.top, area.right, area.bottom}, colour);
}

void BufferCanvas::write(const Area &area, const std::wstring &text, COLORREF colour, UINT format,
                         bool is_bold) const {
    RECT rect = q32::as_rect(area);
    SelectObject(dc_, is_bold ? bold_.get() : message_font());
    SetTextColor(dc_, colour);
    DrawTextW(dc_, text.c_str(), -1, &rect, format | DT_NOPREFIX);
    SelectObject(dc_, GetStockObject(SYSTEM_FONT)); // the bold one may go before the context
}

void BufferCanvas::write_line(const Area &area, const std::string &text, COLORREF colour,
                              bool is_bold) const {
    write(area, to_wide(text), colour, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS, is_bold);
}

void BufferCanvas::write_right(const Area &area, const std::string &text, COLORREF colour) const {
    write(area, to_wide(text), colour, DT_SINGLELINE | DT_RIGHT | DT_TOP);
}

void BufferCanvas::write_centred(const Area &area, const std::wstring &text,
                                 COLORREF colour) const {
    write(area, text, colour, DT_SINGLELINE | DT_CENTER | DT_VCENTER);
}

void BufferCanvas::write_paragraph(const Area &area, const std::string &text) const {
    write(area, to_wide(text), black, DT_WORDBREAK);
}

int BufferCanvas::height_of_paragraph(int width, const std::string &text) const {
    const std::wstring wide = to_wide(text);
    RECT rect = {0, 0, width, 0};
    SelectObject(dc_, message_font());
    DrawTextW(dc_, wide.c_str(), -1, &rect, DT_WORDBREAK | DT_NOPREFIX | DT_CALCRECT);
    SelectObject(dc_, GetStockObject(SYSTEM_FONT));
    return static_cast<int>(rect.bottom);
}

int BufferCanvas::width_of(const std::string &text) const {
    const std::wstring wide = to_wide(text);
    SIZE size = {};
    SelectObject(dc_, bold_.get());
    GetTextExtentPoint32W(dc_, wide.c_str(), static_cast<int>(wide.size()), &size);
    SelectObject(dc_, GetStockObject(SYSTEM_FONT));
    return static_cast<int>(size.cx);
}

Area BufferCanvas::panel(const Area &area, const std::string &caption) const {
    fill(area, paper);
    outline(area, frame);
    const Area inside = inner(area, length(6));
    if (caption.empty())
        return inside;
    write_line({inside.left, area.top + length(3), inside.right, area.top + length(19)}, caption,
               black, true);
    return {inside.left, area.top + length(22), inside.right, inside.bottom};
}

} // namespace apps::q32view
