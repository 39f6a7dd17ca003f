// What runs do to the graphics interface: every call in order, and every drawing with all that was
// handed over. Calls that draw are made or only pretended.
#pragma once

#include "tests/display/display_fixture.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

// A SetDIBitsToDevice, or a BitBlt with the SetBitmapBits before it.
struct Drawing {
    HDC dc = nullptr;
    int x = 0, y = 0, width = 0, rows = 0, source_x = 0, source_y = 0;
    HPALETTE palette = nullptr; // selected by the library at the time
    // of device-independent bitmaps
    bool independent = false;
    BITMAPINFOHEADER header{};
    std::vector<unsigned char> table; // 1024 bytes behind the header
    UINT first_scan = 0, scans = 0, usage = 0;
    // of the others
    DWORD operation = 0;
    COLORREF background = 0, text = 0;
    std::vector<unsigned char> bits; // what was drawn from: whole rows, or all of the bitmap
};

class GdiWatch {
public:
    enum Drawn { for_real, pretended };
    // `target` is called "dc" in the log.
    explicit GdiWatch(HDC target, Drawn drawn = pretended);

    // --- how calls answer
    DWORD icm_mode = ICM_OFF; // to ICM_QUERY
    int failing_draws = 0;    // that many SetDIBitsToDevice and BitBlt from now on
    int failing_bits = 0;     // that many SetBitmapBits from now on
    bool profile_works = true, target_profile_works = true, mode_works = true,
         target_mode_works = true, matching_works = true, target_exists = true;
    std::function<void(const std::string &)> at_each_call;

    // --- what was called since the last look
    std::vector<std::string> take_calls() { return std::exchange(calls_, {}); }
    std::vector<Drawing> take_drawings() { return std::exchange(drawings_, {}); }
    const std::vector<Drawing> &drawings() const { return drawings_; }

    // The name of a handle in the log.
    void name(HGDIOBJ handle, const std::string &name) { names_[handle] = name; }

private:
    template <class... Arguments>
    void log(const char *function, const Arguments &...arguments) {
        std::string line = std::string(function) + "(";
        const char *separator = "";
        ((line += separator + text(arguments), separator = ", "), ...);
        calls_.push_back(line + ")");
        if (at_each_call)
            at_each_call(calls_.back());
    }
    std::string text(const std::string &text) const { return text; }
    std::string text(HGDIOBJ handle) const;
    template <class Number>
    requires std::is_arithmetic_v<Number> std::string text(Number number)
    const { return std::to_string(number); }
    bool fails(int &count) { return count > 0 && count-- > 0; }

    Drawn drawn_;
    std::map<HGDIOBJ, std::string> names_;
    std::vector<std::string> calls_;
    std::vector<Drawing> drawings_;
    std::map<HGDIOBJ, std::vector<unsigned char>> bitmaps_; // by handle
    std::map<HDC, HGDIOBJ> selected_;
    HPALETTE palette_ = nullptr;
    COLORREF background_ = 0x123456, text_ = 0x654321;

    Replaced<call::CreateCompatibleDC> create_dc_;
    Replaced<call::CreateDCA> create_target_;
    Replaced<call::DeleteDC> delete_dc_;
    Replaced<call::CreateBitmap> create_bitmap_;
    Replaced<call::CreateCompatibleBitmap> create_compatible_;
    Replaced<call::SelectObject> select_;
    Replaced<call::DeleteObject> delete_;
    Replaced<call::SelectPalette> select_palette_;
    Replaced<call::RealizePalette> realize_;
    Replaced<call::SetBkColor> background_colour_;
    Replaced<call::SetTextColor> text_colour_;
    Replaced<call::SetBitmapBits> set_bits_;
    Replaced<call::BitBlt> blit_;
    Replaced<call::SetDIBitsToDevice> draw_;
    Replaced<call::SetICMMode> mode_;
    Replaced<call::SetICMProfileA> profile_;
    Replaced<call::ColorMatchToTarget> match_;
};

} // namespace q32::test
