// Buffers as grids of cells, and what stands around them.
#include "buffer_drawing.h"

#include "buffer_canvas.h"
#include "buffer_panels.h"
#include "buffer_words.h"

#include <algorithm>
#include <span>

namespace apps::q32view {
namespace {

// By Place.
constexpr KindIndex kind_of_place[] = {kind_nowhere, kind_memory, kind_file, kind_colour,
                                       kind_pattern};

const Kind &kind_at(Place place) {
    return kinds[kind_of_place[static_cast<size_t>(place)]];
}

// --- the legend ---------------------------------------------------------------------------------

void draw_legend(const BufferCanvas &canvas, const Area &area, const CellCounts &counts) {
    // The last kind is rare.
    const int shown = static_cast<int>(kinds.size()) - (counts.nowhere == 0 ? 1 : 0);
    const int width = area.width() / shown;
    const int side = canvas.length(18);
    Area box = area_of(area.left, area.top + (area.height() - side) / 2, side, side);
    for (const Kind &kind : std::span(kinds).first(static_cast<size_t>(shown))) {
        canvas.fill(box, kind.colour);
        canvas.write_centred(box, kind.letter, kind.letter_colour);
        canvas.write_line({box.right + canvas.length(5), area.top, box.left + width, area.bottom},
                          std::string(kind.words) + ": " + std::to_string(counts.*kind.count));
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

// Shared cells have a stripe below: where their pixels lie. Of those that are too low for stripes
// every fourth row is one.
void draw_cell(const BufferCanvas &canvas, const Area &cell, int row, Place place, bool is_shared,
               bool has_letter) {
    constexpr int least_height = 8, least_apart = 5, part = 4;
    const Kind &own = kind_at(place);
    const Kind &kind = is_shared ? kinds[kind_shared] : own;
    const bool has_stripe = is_shared && cell.height() >= least_height;
    const bool is_stripe = is_shared && !has_stripe && row % part == part - 1;
    Area upper = cell;
    upper.bottom -= has_stripe ? cell.height() / part : 0;
    canvas.fill(cell, is_shared ? own.colour : kind.colour);
    if (!is_stripe)
        canvas.fill(upper, kind.colour);
    if (has_letter)
        canvas.write_centred(upper, kind.letter, kind.letter_colour);
    if (cell.height() < least_apart)
        return;
    // A line of paper apart.
    canvas.fill({cell.right - 1, cell.top, cell.right, cell.bottom}, paper);
    canvas.fill({cell.left, cell.bottom - 1, cell.right, cell.bottom}, paper);
}

void draw_lock(const BufferCanvas &canvas, const Area &cell) {
    const int side = std::max(cell.height() / 3, canvas.length(4));
    const Area mark = {cell.right - side - 1, cell.top, cell.right - 1, cell.top + side};
    canvas.fill(mark, failed);
    canvas.outline(mark, white);
}

void draw_cells(const BufferCanvas &canvas, const Area &tile, const SeenBuffer &buffer,
                const BufferExperiment &experiment) {
    const BUF32INFO &info = buffer.info;
    const CellGrid grid(tile, info.cell_columns, info.cell_rows, canvas.dots());
    const bool is_shared = !buffer.shares_with.empty();
    for (size_t i = 0; i < buffer.cells.size(); ++i) {
        const int index = static_cast<int>(i);
        draw_cell(canvas, grid.cell(index), index / info.cell_columns, buffer.cells[i], is_shared,
                  grid.has_letters());
    }
    if (grid.has_letters())
        for (int i = 0; i < info.cell_count; ++i)
            if (is_touched(info, i, buffer.name, experiment.touched()))
                canvas.outline(grid.cell(i), black, canvas.length(2));
    for (const int index : experiment.locked_cells(buffer.name))
        draw_lock(canvas, grid.cell(index));
}

void draw_buffer(const BufferCanvas &canvas, const Area &tile, const SeenBuffer &buffer,
                 const BufferExperiment &experiment) {
    const Area words = words_of(tile, canvas.dots());
    const int height = words.height() / lines_of_tile_words;
    const auto line = [&](int index) {
        return area_of(words.left, words.top + index * height, words.width(), height);
    };
    const BufferModel &model = experiment.model();
    Area size = line(0);
    size.left += canvas.width_of(buffer.name) + canvas.length(6);
    canvas.write_line(line(0), buffer.name, black, true);
    canvas.write_line(size, size_in_words(buffer));
    canvas.write_line(line(1), place_in_words(buffer, model));
    canvas.write_line(line(2), detail_in_words(buffer, model));
    canvas.write_line(line(3), locks_in_words(buffer), failed);
    draw_cells(canvas, tile, buffer, experiment);
}

void draw_buffers(const BufferCanvas &canvas, const Area &area,
                  const BufferExperiment &experiment) {
    canvas.panel(area, {});
    const std::vector<SeenBuffer> &buffers = experiment.buffers();
    if (buffers.empty())
        canvas.write_centred(area, L"There are no buffers.", faint);
    const std::vector<Area> tiles = tiles_of(area, static_cast<int>(buffers.size()), canvas.dots());
    for (size_t i = 0; i < buffers.size(); ++i)
        draw_buffer(canvas, tiles[i], buffers[i], experiment);
}

} // namespace

void draw_experiment(HDC dc, Size room, const BufferExperiment &experiment) {
    const BufferCanvas canvas(dc);
    const BufferLayout layout = lay_out_buffers(room, canvas.dots());
    canvas.fill({0, 0, room.width, room.height}, GetSysColor(COLOR_BTNFACE));
    draw_legend(canvas, layout.legend, experiment.moments().back().cells);
    draw_buffers(canvas, layout.buffers, experiment);
    draw_script(canvas, layout.script, experiment);
    draw_counters(canvas, layout.curve, experiment);
    draw_reports(canvas, layout.reports, experiment);
}

} // namespace apps::q32view
