// Pixels out of the window's device context, whatever the display's depth, as 24 bits.
#include "screenshot.h"

#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/owned.h"
#include "apps/pictures/picture_writer.h"

#include <q32base/display.h>

#include <algorithm>
#include <cstring>

namespace apps::q32view {
namespace {

class WindowDc {
public:
    WindowDc(HWND window, bool with_menu)
        : window_(window), dc_(with_menu ? GetWindowDC(window) : GetDC(window)) {}
    ~WindowDc() { ReleaseDC(window_, dc_); }
    WindowDc(const WindowDc &) = delete;
    WindowDc &operator=(const WindowDc &) = delete;

    HDC get() const { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

// In the coordinates of the window's corner, or of its client area's. The title and the border are
// left out: often they are not the window's own work.
Area shown_area(HWND window, bool with_menu) {
    RECT client = {}, outer = {};
    GetClientRect(window, &client);
    if (!with_menu)
        return {0, 0, client.right, client.bottom};
    GetWindowRect(window, &outer);
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT *>(&client), 2);
    MENUBARINFO menu = {.cbSize = sizeof menu};
    if (GetMenu(window) == nullptr || !GetMenuBarInfo(window, OBJID_MENU, 0, &menu))
        menu.rcBar.top = client.top;
    return {client.left - outer.left, menu.rcBar.top - outer.top, client.right - outer.left,
            client.bottom - outer.top};
}

// named: what a message is about. Throws Failure.
void copy_pixels(const WindowDc &source, const Area &area, DisplayBitmap &copy,
                 const std::string &named) {
    if (!copy.is_made() || !BitBlt(copy.dc(), 0, 0, area.width(), area.height(), source.get(),
                                   area.left, area.top, SRCCOPY))
        throw Failure(named, "the window's contents cannot be read");
    copy.finish();
}

using GlobalMemory = Owned<GlobalFree, HGLOBAL>;

// A bitmap as other programs take it: bottom row first, without a palette.
GlobalMemory packed_bitmap(const DisplayBitmap &pixels, Size size) {
    const size_t row_bytes = (static_cast<size_t>(size.width) * 3 + 3) / 4 * 4;
    const size_t bytes = row_bytes * static_cast<size_t>(size.height);
    const BITMAPINFOHEADER header = {.biSize = sizeof header,
                                     .biWidth = size.width,
                                     .biHeight = size.height,
                                     .biPlanes = 1,
                                     .biBitCount = 24,
                                     .biCompression = BI_RGB,
                                     .biSizeImage = static_cast<DWORD>(bytes)};
    GlobalMemory block(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof header + bytes));
    auto *to = static_cast<uint8_t *>(block ? GlobalLock(block.get()) : nullptr);
    if (to == nullptr)
        return {};
    std::memcpy(to, &header, sizeof header);
    to += sizeof header;
    for (int y = size.height - 1; y >= 0; --y, to += row_bytes)
        std::copy_n(pixels.row(y), static_cast<size_t>(size.width) * 3, to);
    GlobalUnlock(block.get());
    return block;
}

} // namespace

void save_screenshot(HWND window, bool with_menu, const std::string &path) {
    const FileFormat format = check_output(path);
    const Area area = shown_area(window, with_menu);
    const Size size = area.size();
    if (size.is_empty())
        throw Failure(path, "the window shows nothing");
    const WindowDc source(window, with_menu);
    DisplayBitmap copy(DISP32_TRUE_COLOUR, {24, false}, size);
    copy_pixels(source, area, copy, path);
    PictureWriter writer(path, format, RowFormat::bgr, size.width, size.height);
    for (int y = 0; y < size.height; ++y)
        writer.write_row(copy.row(y));
    writer.commit();
}

void copy_to_clipboard(HWND window, const Area &area) {
    const std::string named = "the clipboard";
    if (area.is_empty())
        throw Failure(named, "the window shows nothing that could be copied", "open a picture");
    const WindowDc source(window, false);
    DisplayBitmap copy(DISP32_TRUE_COLOUR, {24, false}, area.size());
    copy_pixels(source, area, copy, named);
    GlobalMemory block = packed_bitmap(copy, area.size());
    if (!block)
        throw Failure(named, "there is no memory for the copy");
    if (!OpenClipboard(window))
        throw Failure(named, "another program is using it", "try again");
    EmptyClipboard();
    const bool taken = SetClipboardData(CF_DIB, block.get()) != nullptr;
    CloseClipboard();
    if (!taken)
        throw Failure(named, "it does not take the copy", "try again");
    block.release(); // the clipboard's now
}

} // namespace apps::q32view
