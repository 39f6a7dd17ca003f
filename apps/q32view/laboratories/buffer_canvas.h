// What the parts of the buffer laboratory are drawn with: colours, letters, words.
#pragma once

#include "apps/pictures/owned.h"
#include "buffer_experiment.h"
#include "buffer_layout.h"

#include <windows.h>

#include <array>
#include <string>

namespace apps::q32view {

// Colours that those tell apart, too, who see no red or no green; each has a letter beside.
constexpr COLORREF black = RGB(0, 0, 0), white = RGB(255, 255, 255);
constexpr COLORREF paper = RGB(255, 255, 255), frame = RGB(160, 160, 160);
constexpr COLORREF faint = RGB(112, 112, 112), marked = RGB(220, 232, 246);
constexpr COLORREF failed = RGB(176, 0, 32);

// Where cells can live.
struct Kind {
    const wchar_t *letter;
    const char *words;
    COLORREF colour, letter_colour;
    int CellCounts::*count;
};

enum KindIndex { kind_memory, kind_file, kind_shared, kind_colour, kind_pattern, kind_nowhere };
constexpr std::array<Kind, 6> kinds = {{
    {L"M", "memory", RGB(0, 114, 178), white, &CellCounts::memory},
    {L"F", "swap file", RGB(230, 159, 0), black, &CellCounts::swap_file},
    {L"S", "shared", RGB(0, 158, 115), white, &CellCounts::shared},
    {L"1", "one colour", RGB(240, 228, 66), black, &CellCounts::one_colour},
    {L"P", "pattern", RGB(204, 121, 167), black, &CellCounts::pattern},
    {L"-", "nowhere", RGB(96, 96, 96), white, &CellCounts::nowhere},
}};

class BufferCanvas {
public:
    explicit BufferCanvas(HDC dc);

    int dots() const { return dots_; }
    int length(int value) const { return for_dots(value, dots_); }

    void fill(const Area &area, COLORREF colour) const;
    // Inside the area's edge.
    void outline(const Area &area, COLORREF colour, int width = 1) const;

    void write_line(const Area &area, const std::string &text, COLORREF colour = black,
                    bool is_bold = false) const;
    // At the right edge of the area's top.
    void write_right(const Area &area, const std::string &text, COLORREF colour) const;
    void write_centred(const Area &area, const std::wstring &text, COLORREF colour) const;
    // In as many lines as it needs, which are so high.
    void write_paragraph(const Area &area, const std::string &text) const;
    int height_of_paragraph(int width, const std::string &text) const;
    // In bold letters.
    int width_of(const std::string &text) const;

    // A panel with its caption, if it has one; returns what is inside.
    Area panel(const Area &area, const std::string &caption) const;

private:
    void write(const Area &area, const std::wstring &text, COLORREF colour, UINT format,
               bool is_bold = false) const;

    HDC dc_;
    int dots_;
    Owned<DeleteObject, HGDIOBJ> bold_;
};

} // namespace apps::q32view
