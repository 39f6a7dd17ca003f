// Cells, words and curves, with the system's drawing.
#include "buffer_drawing.h"

#include "apps/pictures/owned.h"
#include "apps/pictures/text.h"
#include "buffer_words.h"
#include "control_column.h"
#include "geometry/system_rect.h"

#include <algorithm>
#include <iterator>

namespace apps::q32view {
namespace {

// Colours that those tell apart, too, who see no red or no green; each has a letter beside.
constexpr COLORREF black = RGB(0, 0, 0), white = RGB(255, 255, 255);
constexpr COLORREF paper = RGB(255, 255, 255), frame = RGB(160, 160, 160);
constexpr COLORREF faint = RGB(112, 112, 112), marked = RGB(220, 232, 246);
constexpr COLORREF failed = RGB(176, 0, 32);

struct Kind {
    const wchar_t *letter;
    const wchar_t *words;
    COLORREF colour, letter_colour;
    int CellCounts::*count;
};

enum KindIndex { kind_memory, kind_file, kind_shared, kind_colour, kind_pattern, kind_nowhere };
constexpr Kind kinds[] = {
    {L"M", L"memory", RGB(0, 114, 178), white, &CellCounts::memory},
    {L"F", L"swap file", RGB(230, 159, 0), black, &CellCounts::swap_file},
    {L"S", L"shared", RGB(0, 158, 115), white, &CellCounts::shared},
    {L"1", L"one colour", RGB(240, 228, 66), black, &CellCounts::one_colour},
    {L"P", L"pattern", RGB(204, 121, 167), black, &CellCounts::pattern},
    {L"-", L"nowhere", RGB(96, 96, 96), white, &CellCounts::nowhere},
};

// By Place.
constexpr KindIndex kind_of_place[] = {kind_nowhere, kind_memory, kind_file, kind_colour,
                                       kind_pattern};

const Kind &kind_at(Place place) {
    return kinds[kind_of_place[static_cast<size_t>(place)]];
}

using GdiObject = Owned<DeleteObject, HGDIOBJ>;

class Drawing {
public:
    explicit Drawing(HDC dc) : dc_(dc), dots_(GetDeviceCaps(dc, LOGPIXELSY)) {
        LOGFONTW font = {};
        GetObjectW(message_font(), sizeof font, &font);
        font.lfWeight = FW_BOLD;
        bold_ = GdiObject(CreateFontIndirectW(&font));
        SetBkMode(dc_, TRANSPARENT);
    }

    int dots() const { return dots_; }
    int length(int value) const { return for_dots(value, dots_); }

    void fill(const Area &area, COLORREF colour) const {
        SetDCBrushColor(dc_, colour);
        const RECT rect = q32::as_rect(area);
        FillRect(dc_, &rect, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    // Inside the area's edge.
    void outline(const Area &area, COLORREF colour, int width = 1) const {
        fill({area.left, area.top, area.right, area.top + width}, colour);
        fill({area.left, area.bottom - width, area.right, area.bottom}, colour);
        fill({area.left, area.top, area.left + width, area.bottom}, colour);
        fill({area.right - width, area.top, area.right, area.bottom}, colour);
    }
    void write(const Area &area, const std::wstring &text, COLORREF colour, UINT format,
               bool is_bold = false) const {
        RECT rect = q32::as_rect(area);
        SelectObject(dc_, is_bold ? bold_.get() : message_font());
        SetTextColor(dc_, colour);
        DrawTextW(dc_, text.c_str(), -1, &rect, format | DT_NOPREFIX);
    }
    void write_line(const Area &area, const std::string &text, COLORREF colour = black,
                    bool is_bold = false) const {
        write(area, to_wide(text), colour, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS, is_bold);
    }
    void write_letter(const Area &area, const wchar_t *letter, COLORREF colour) const {
        write(area, letter, colour, DT_SINGLELINE | DT_CENTER | DT_VCENTER);
    }
    // A panel with its caption; returns what is inside.
    Area panel(const Area &area, const std::string &caption) const {
        fill(area, paper);
        outline(area, frame);
        if (caption.empty())
            return area;
        const Area inside = inner(area, length(6));
        write_line({inside.left, area.top + length(3), inside.right, area.top + length(19)},
                   caption, black, true);
        return {inside.left, area.top + length(22), inside.right, inside.bottom};
    }
    static Area inner(const Area &area, int by) {
        return {area.left + by, area.top + by, area.right - by, area.bottom - by};
    }

private:
    HDC dc_;
    int dots_;
    GdiObject bold_;
};

// --- the legend ---------------------------------------------------------------------------------

void draw_legend(const Drawing &drawing, const Area &area, const CellCounts &counts) {
    const int width = area.width() / static_cast<int>(std::size(kinds));
    const int side = drawing.length(18);
    Area box = area_of(area.left, area.top + (area.height() - side) / 2, side, side);
    for (const Kind &kind : kinds) {
        drawing.fill(box, kind.colour);
        drawing.write_letter(box, kind.letter, kind.letter_colour);
        drawing.write_line({box.right + drawing.length(5), area.top, box.left + width, area.bottom},
                           to_utf8(kind.words) + ": " + std::to_string(counts.*kind.count));
        box = moved(box, width, 0);
    }
}

// --- buffers ------------------------------------------------------------------------------------

bool is_touched(const BUF32INFO &info, int index, const std::string &name,
                const std::vector<Touched> &touched) {
    const Area cell =
        area_of(index % info.cell_columns * info.cell_width,
                index / info.cell_columns * info.cell_height, info.cell_width, info.cell_height);
    return std::any_of(touched.begin(), touched.end(), [&](const Touched &one) {
        return one.buffer == name && !intersect(one.area, cell).is_empty();
    });
}

// Shared cells have a stripe below: where their pixels lie.
void draw_cell(const Drawing &drawing, const Area &cell, Place place, bool is_shared,
               bool has_letter) {
    const Kind &own = kind_at(place);
    const Kind &kind = is_shared ? kinds[kind_shared] : own;
    drawing.fill(cell, kind.colour);
    if (is_shared)
        drawing.fill({cell.left, cell.bottom - cell.height() / 4, cell.right, cell.bottom},
                     own.colour);
    if (!has_letter)
        return;
    drawing.write_letter(
        {cell.left, cell.top, cell.right, cell.bottom - (is_shared ? cell.height() / 4 : 0)},
        kind.letter, kind.letter_colour);
    // A line of paper apart.
    drawing.fill({cell.right - 1, cell.top, cell.right, cell.bottom}, paper);
    drawing.fill({cell.left, cell.bottom - 1, cell.right, cell.bottom}, paper);
}

void draw_lock(const Drawing &drawing, const Area &cell) {
    const int side = std::max(cell.height() / 3, drawing.length(4));
    const Area mark = {cell.right - side - 1, cell.top, cell.right - 1, cell.top + side};
    drawing.fill(mark, failed);
    drawing.outline(mark, white);
}

void draw_cells(const Drawing &drawing, const Area &tile, const SeenBuffer &buffer,
                const BufferExperiment &experiment) {
    const BUF32INFO &info = buffer.info;
    const CellGrid grid(tile, info.cell_columns, info.cell_rows, drawing.dots());
    for (size_t i = 0; i < buffer.cells.size(); ++i)
        draw_cell(drawing, grid.cell(static_cast<int>(i)), buffer.cells[i],
                  !buffer.shares_with.empty(), grid.has_letters());
    if (grid.has_letters())
        for (int i = 0; i < info.cell_count; ++i)
            if (is_touched(info, i, buffer.name, experiment.touched()))
                drawing.outline(grid.cell(i), black, drawing.length(2));
    for (const int index : experiment.locked_cells(buffer.name))
        draw_lock(drawing, grid.cell(index));
}

void draw_buffer(const Drawing &drawing, const Area &tile, const SeenBuffer &buffer,
                 const BufferExperiment &experiment) {
    const Area words = words_of(tile, drawing.dots());
    const int height = words.height() / 3;
    const auto line = [&](int index) {
        return area_of(words.left, words.top + index * height, words.width(), height);
    };
    drawing.write_line(line(0), name_in_words(buffer), black, true);
    drawing.write_line(line(1), place_in_words(buffer, experiment.model()));
    drawing.write_line(line(2), locks_in_words(buffer), failed);
    draw_cells(drawing, tile, buffer, experiment);
}

void draw_buffers(const Drawing &drawing, const Area &area, const BufferExperiment &experiment) {
    drawing.panel(area, {});
    const std::vector<SeenBuffer> &buffers = experiment.buffers();
    if (buffers.empty())
        drawing.write(area, L"There are no buffers.", faint,
                      DT_SINGLELINE | DT_CENTER | DT_VCENTER);
    const std::vector<Area> tiles =
        tiles_of(area, static_cast<int>(buffers.size()), drawing.dots());
    for (size_t i = 0; i < buffers.size(); ++i)
        draw_buffer(drawing, tiles[i], buffers[i], experiment);
}

// --- the script ---------------------------------------------------------------------------------

// The line of the next operation stays in view, with some before it.
void draw_script(const Drawing &drawing, const Area &area, const BufferExperiment &experiment) {
    const Script &script = experiment.script();
    const Area inside = drawing.panel(area, script.name);
    const int height = drawing.length(15), shown = std::max(inside.height() / height, 1);
    const int count = static_cast<int>(script.lines.size());
    const Operation *const last = experiment.last(), *const next = experiment.next();
    const int present = last != nullptr ? last->line : 0;
    const int first = std::clamp(present - shown / 2, 0, std::max(count - shown, 0));
    for (int i = first; i < std::min(count, first + shown); ++i) {
        const int number = i + 1;
        Area line = area_of(inside.left, inside.top + (i - first) * height, inside.width(), height);
        if (number == present)
            drawing.fill(line, marked);
        const Area margin = {line.left, line.top, line.left + drawing.length(22), line.bottom};
        if (next != nullptr && number == next->line)
            drawing.write(margin, L"\u25BA", black, DT_SINGLELINE | DT_VCENTER);
        else
            drawing.write(margin, std::to_wstring(number), faint, DT_SINGLELINE | DT_VCENTER);
        line.left = margin.right;
        const std::string &text = script.lines[static_cast<size_t>(i)];
        const bool is_remark = text.starts_with('#');
        drawing.write_line(line, text, is_remark ? faint : black, number == present);
    }
}

// --- counters -----------------------------------------------------------------------------------

size_t highest(const std::vector<Moment> &moments) {
    size_t most = 1;
    for (const Moment &moment : moments)
        most = std::max({most, moment.counters.memory, moment.counters.files});
    return most;
}

// A column for each step of the script; a flat piece for each state, and edges between.
void draw_curve(const Drawing &drawing, const Area &area, const BufferExperiment &experiment,
                size_t Counters::*counter, COLORREF colour, int width) {
    const std::vector<Moment> &moments = experiment.moments();
    const size_t most = highest(moments);
    const int columns = experiment.length() + 1;
    int before = area.bottom;
    for (size_t i = 0; i < moments.size(); ++i) {
        const auto at = [&](int column) { return area.left + area.width() * column / columns; };
        const int left = at(static_cast<int>(i)), right = at(static_cast<int>(i) + 1);
        const double part =
            static_cast<double>(moments[i].counters.*counter) / static_cast<double>(most);
        const int y = area.bottom - static_cast<int>(part * (area.height() - width) + 0.5);
        drawing.fill({left, std::min(before, y) - width, left + width, std::max(before, y)},
                     colour);
        drawing.fill({left, y - width, right + width, y}, colour);
        before = y;
    }
}

void draw_counters(const Drawing &drawing, const Area &area, const BufferExperiment &experiment) {
    const Counters &counters = experiment.moments().back().counters;
    const Area inside = drawing.panel(area, "Bytes that the library counts");
    const int height = drawing.length(16), half = inside.width() / 2;
    const Kind &memory = kinds[kind_memory], &files = kinds[kind_file];
    const Area words = area_of(inside.left, inside.top, half, height);
    const auto say = [&](const Area &place, const Kind &kind, const std::string &text) {
        const Area mark = area_of(place.left, place.top + drawing.length(6), drawing.length(14),
                                  drawing.length(4));
        drawing.fill(mark, kind.colour);
        drawing.write_line({mark.right + drawing.length(5), place.top, place.right, place.bottom},
                           text);
    };
    say(words, memory, "memory " + with_groups(counters.memory));
    say(moved(words, half, 0), files, "swap files " + with_groups(counters.files));
    const Area plot = {inside.left, words.bottom + drawing.length(6), inside.right, inside.bottom};
    drawing.fill({plot.left, plot.bottom - 1, plot.right, plot.bottom}, frame);
    draw_curve(drawing, plot, experiment, &Counters::memory, memory.colour, drawing.length(3));
    draw_curve(drawing, plot, experiment, &Counters::files, files.colour, drawing.length(2));
}

// --- reports ------------------------------------------------------------------------------------

// The last ones, the newest first.
void draw_reports(const Drawing &drawing, const Area &area, const BufferExperiment &experiment) {
    const Area inside = drawing.panel(area, "Reports: message, severity, module, point");
    const std::vector<Moment> &moments = experiment.moments();
    const int height = drawing.length(15);
    int top = inside.top;
    for (size_t i = moments.size() - 1; i > 0 && top + 2 * height <= inside.bottom; --i) {
        const Outcome &outcome = moments[i].outcome;
        if (outcome.is_done)
            continue;
        const int line = experiment.script().operations[i - 1].line;
        const Area first = area_of(inside.left, top, inside.width(), height);
        drawing.write_line(first,
                           "line " + std::to_string(line) + ": " + outcome_in_numbers(outcome),
                           i + 1 == moments.size() ? failed : black, true);
        const std::string words = outcome.report.message != 0 ? outcome.report.text : outcome.words;
        drawing.write_line(moved(first, 0, height), words);
        top += 2 * height + drawing.length(2);
    }
    if (top == inside.top)
        drawing.write_line(area_of(inside.left, top, inside.width(), height), "none so far", faint);
}

} // namespace

void draw_experiment(HDC dc, Size room, const BufferExperiment &experiment) {
    const Drawing drawing(dc);
    const BufferLayout layout = lay_out_buffers(room, drawing.dots());
    drawing.fill({0, 0, room.width, room.height}, GetSysColor(COLOR_BTNFACE));
    draw_legend(drawing, layout.legend, experiment.moments().back().cells);
    draw_buffers(drawing, layout.buffers, experiment);
    draw_script(drawing, layout.script, experiment);
    draw_counters(drawing, layout.curve, experiment);
    draw_reports(drawing, layout.reports, experiment);
}

} // namespace apps::q32view
