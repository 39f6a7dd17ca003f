// Entering calls into the log, and answering them.
#include "tests/display_runs/gdi_watch.h"

namespace q32::test {
namespace {

std::string colour_text(COLORREF colour) {
    char text[16];
    std::snprintf(text, sizeof text, "%06x", unsigned(colour));
    return text;
}

// Pretended bitmaps are small whatever was asked for.
HBITMAP small_bitmap() {
    return call::CreateBitmap::real(1, 1, 1, 1, nullptr);
}

} // namespace

std::string GdiWatch::text(HGDIOBJ handle) const {
    const auto found = names_.find(handle);
    return handle == nullptr ? "null" : found == names_.end() ? "other" : found->second;
}

GdiWatch::GdiWatch(HDC target, Drawn drawn)
    : drawn_(drawn), create_dc_([this](HDC dc) {
          log("CreateCompatibleDC", dc);
          const HDC memory = call::CreateCompatibleDC::real(drawn_ == pretended ? nullptr : dc);
          name(memory, "memory");
          return memory;
      }),
      create_target_([this](auto... arguments) -> HDC {
          log("CreateDCA", std::string(std::get<0>(std::tuple{arguments...})));
          if (!target_exists)
              return nullptr;
          const HDC dc = call::CreateDCA::real(arguments...);
          name(dc, "target");
          return dc;
      }),
      delete_dc_([this](HDC dc) {
          log("DeleteDC", dc);
          return call::DeleteDC::real(dc);
      }),
      create_bitmap_([this](int width, int height, UINT planes, UINT bits, const void *data) {
          log("CreateBitmap", width, height, planes, bits, std::string(data ? "data" : "null"));
          const HBITMAP bitmap = drawn_ == pretended
                                     ? small_bitmap()
                                     : call::CreateBitmap::real(width, height, planes, bits, data);
          name(bitmap, "bitmap");
          return bitmap;
      }),
      create_compatible_([this](HDC dc, int width, int height) {
          log("CreateCompatibleBitmap", dc, width, height);
          const HBITMAP bitmap = drawn_ == pretended
                                     ? small_bitmap()
                                     : call::CreateCompatibleBitmap::real(dc, width, height);
          name(bitmap, "bitmap");
          return bitmap;
      }),
      select_([this](HDC dc, HGDIOBJ object) {
          log("SelectObject", dc, object);
          const HGDIOBJ before = call::SelectObject::real(dc, object);
          if (!names_.contains(before))
              name(before, "before");
          selected_[dc] = object;
          return before;
      }),
      delete_([this](HGDIOBJ object) {
          log("DeleteObject", object);
          return call::DeleteObject::real(object);
      }),
      select_palette_([this](HDC dc, HPALETTE palette, BOOL background) {
          log("SelectPalette", dc, palette, background);
          HPALETTE before = palette_;
          if (drawn_ == for_real)
              before = call::SelectPalette::real(dc, palette, background);
          else if (before == nullptr)
              before = static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE));
          palette_ = palette;
          return before;
      }),
      realize_([this](HDC dc) {
          log("RealizePalette", dc);
          return drawn_ == for_real ? call::RealizePalette::real(dc) : 0;
      }),
      background_colour_([this](HDC dc, COLORREF colour) {
          log("SetBkColor", dc, colour_text(colour));
          const COLORREF before = std::exchange(background_, colour);
          return drawn_ == for_real ? call::SetBkColor::real(dc, colour) : before;
      }),
      text_colour_([this](HDC dc, COLORREF colour) {
          log("SetTextColor", dc, colour_text(colour));
          const COLORREF before = std::exchange(text_, colour);
          return drawn_ == for_real ? call::SetTextColor::real(dc, colour) : before;
      }),
      set_bits_([this](HBITMAP bitmap, DWORD count, const void *bits) -> LONG {
          log("SetBitmapBits", bitmap, count);
          if (fails(failing_bits))
              return 0;
          const auto *const bytes = static_cast<const unsigned char *>(bits);
          bitmaps_[bitmap].assign(bytes, bytes + count);
          return drawn_ == for_real ? call::SetBitmapBits::real(bitmap, count, bits) : LONG(count);
      }),
      blit_([this](HDC dc, int x, int y, int width, int rows, HDC from, int source_x, int source_y,
                   DWORD operation) -> BOOL {
          log("BitBlt", dc, x, y, width, rows, from, source_x, source_y);
          Drawing drawing{.dc = dc, .x = x, .y = y, .width = width, .rows = rows};
          drawing.source_x = source_x;
          drawing.source_y = source_y;
          drawing.operation = operation;
          drawing.background = background_;
          drawing.text = text_;
          drawing.bits = bitmaps_[selected_[from]];
          drawings_.push_back(std::move(drawing));
          if (fails(failing_draws))
              return FALSE;
          return drawn_ == pretended ||
                 call::BitBlt::real(dc, x, y, width, rows, from, source_x, source_y, operation);
      }),
      draw_([this](HDC dc, int x, int y, DWORD width, DWORD rows, int source_x, int source_y,
                   UINT first_scan, UINT scans, const void *bits, const BITMAPINFO *info,
                   UINT usage) -> int {
          log("SetDIBitsToDevice", dc, x, y, width, rows, source_x, source_y, first_scan, scans,
              std::string(usage == DIB_PAL_COLORS ? "places" : "colours"));
          Drawing drawing{.dc = dc, .x = x, .y = y, .width = int(width), .rows = int(rows)};
          drawing.source_x = source_x;
          drawing.source_y = source_y;
          drawing.independent = true;
          drawing.palette = palette_;
          drawing.header = info->bmiHeader;
          const auto *const table = reinterpret_cast<const unsigned char *>(info->bmiColors);
          drawing.table.assign(table, table + 1024);
          drawing.first_scan = first_scan;
          drawing.scans = scans;
          drawing.usage = usage;
          const DWORD row = (width * info->bmiHeader.biBitCount + 31) / 32 * 4;
          const auto *const bytes = static_cast<const unsigned char *>(bits);
          drawing.bits.assign(bytes, bytes + row * scans);
          drawings_.push_back(std::move(drawing));
          if (fails(failing_draws))
              return 0;
          return drawn_ == pretended
                     ? int(scans)
                     : call::SetDIBitsToDevice::real(dc, x, y, width, rows, source_x, source_y,
                                                     first_scan, scans, bits, info, usage);
      }),
      mode_([this](HDC dc, int mode) -> int {
          const bool of_target = text(dc) == "target";
          log("SetICMMode", dc,
              std::string(mode == ICM_QUERY ? "query"
                          : mode == ICM_ON  ? "on"
                                            : "off"));
          if (mode == ICM_QUERY)
              return int(icm_mode);
          if (mode == ICM_ON && !(of_target ? target_mode_works : mode_works))
              return 0;
          return 1;
      }),
      profile_([this](HDC dc, char *path) -> BOOL {
          log("SetICMProfileA", dc, std::string(path));
          return text(dc) == "target" ? target_profile_works : profile_works;
      }),
      match_([this](HDC dc, HDC other, DWORD action) -> BOOL {
          log("ColorMatchToTarget", dc, other,
              std::string(action == CS_ENABLE             ? "enable"
                          : action == CS_DELETE_TRANSFORM ? "delete"
                                                          : "disable"));
          return matching_works;
      }) {
    name(target, "dc");
    // What is selected when a palette is: nothing but the system's own is, where drawing is
    // pretended.
    name(drawn_ == for_real ? GetCurrentObject(target, OBJ_PAL) : GetStockObject(DEFAULT_PALETTE),
         "before");
}

} // namespace q32::test
