// The panels beside the buffers: the script, curves, and lists.
#include "buffer_panels.h"

#include "buffer_words.h"

#include <algorithm>

namespace apps::q32view {
namespace {

size_t highest(const std::vector<Moment> &moments) {
    size_t most = 1;
    for (const Moment &moment : moments)
        most = std::max({most, moment.counters.memory, moment.counters.files});
    return most;
}

// A column for each step of the script; a flat piece for each state, and edges between.
void draw_curve(const BufferCanvas &canvas, const Area &area, const BufferExperiment &experiment,
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
        canvas.fill({left, std::min(before, y) - width, left + width, std::max(before, y)}, colour);
        canvas.fill({left, y - width, right + width, y}, colour);
        before = y;
    }
}

} // namespace

// The line of the next operation stays in view, with some before it.
void draw_script(const BufferCanvas &canvas, const Area &area, const BufferExperiment &experiment) {
    const Script &script = experiment.script();
    const Area inside = canvas.panel(area, script.name);
    const int height = canvas.length(15), shown = std::max(inside.height() / height, 1);
    const int count = static_cast<int>(script.lines.size());
    const Operation *const last = experiment.last(), *const next = experiment.next();
    const int present = last != nullptr ? last->line : 0;
    const int first = std::clamp(present - shown / 2, 0, std::max(count - shown, 0));
    for (int i = first; i < std::min(count, first + shown); ++i) {
        const int number = i + 1;
        Area line = area_of(inside.left, inside.top + (i - first) * height, inside.width(), height);
        if (number == present)
            canvas.fill(line, marked);
        const Area margin = {line.left, line.top, line.left + canvas.length(22), line.bottom};
        if (next != nullptr && number == next->line)
            canvas.write_line(margin, "\u25BA");
        else
            canvas.write_line(margin, std::to_string(number), faint);
        line.left = margin.right;
        const std::string &text = script.lines[static_cast<size_t>(i)];
        const bool is_remark = text.starts_with('#');
        canvas.write_line(line, text, is_remark ? faint : black);
    }
}

void draw_counters(const BufferCanvas &canvas, const Area &area,
                   const BufferExperiment &experiment) {
    const Counters &counters = experiment.moments().back().counters;
    const Area inside = canvas.panel(area, "Bytes that the library counts");
    const int height = canvas.length(16), half = inside.width() / 2;
    const Kind &memory = kinds[kind_memory], &files = kinds[kind_file];
    const Area words = area_of(inside.left, inside.top, half, height);
    const auto say = [&](const Area &place, const Kind &kind, const std::string &text) {
        const Area mark =
            area_of(place.left, place.top + canvas.length(6), canvas.length(14), canvas.length(4));
        canvas.fill(mark, kind.colour);
        canvas.write_line({mark.right + canvas.length(5), place.top, place.right, place.bottom},
                          text);
    };
    say(words, memory, "memory " + with_groups(counters.memory));
    say(moved(words, half, 0), files, "swap files " + with_groups(counters.files));
    const Area plot = {inside.left, words.bottom + canvas.length(6), inside.right, inside.bottom};
    canvas.fill({plot.left, plot.bottom - 1, plot.right, plot.bottom}, frame);
    canvas.fill({plot.left, plot.top, plot.right, plot.top + 1}, marked);
    canvas.write_right(plot, with_groups(highest(experiment.moments())), faint);
    draw_curve(canvas, plot, experiment, &Counters::memory, memory.colour, canvas.length(3));
    draw_curve(canvas, plot, experiment, &Counters::files, files.colour, canvas.length(2));
}

// The last ones, the newest first.
void draw_reports(const BufferCanvas &canvas, const Area &area,
                  const BufferExperiment &experiment) {
    const Area inside = canvas.panel(area, "Reports, the last one first");
    const std::vector<Moment> &moments = experiment.moments();
    const int height = canvas.length(15);
    int top = inside.top;
    for (size_t i = moments.size() - 1; i > 0; --i) {
        const Outcome &outcome = moments[i].outcome;
        if (outcome.is_done)
            continue;
        const std::string words = outcome.report.message != 0 ? outcome.report.text : outcome.words;
        const Area first = area_of(inside.left, top, inside.width(), height);
        const Area rest = area_of(inside.left, first.bottom, inside.width(),
                                  canvas.height_of_paragraph(inside.width(), words));
        if (rest.bottom > inside.bottom)
            break;
        const int line = experiment.script().operations[i - 1].line;
        canvas.write_line(first,
                          "line " + std::to_string(line) + ": " + outcome_in_numbers(outcome),
                          i + 1 == moments.size() ? failed : faint);
        canvas.write_paragraph(rest, words);
        top = rest.bottom + canvas.length(4);
    }
    if (top == inside.top)
        canvas.write_line(area_of(inside.left, top, inside.width(), height), "none so far", faint);
}

} // namespace apps::q32view
