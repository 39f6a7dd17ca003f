// Steps, and what is kept of each.
#include "buffer_experiment.h"

#include <algorithm>

namespace apps::q32view {
namespace {

void count(CellCounts &counts, Place place, bool is_shared, int cells) {
    int CellCounts::*kind = &CellCounts::nowhere;
    if (is_shared)
        kind = &CellCounts::shared;
    else if (place == Place::memory)
        kind = &CellCounts::memory;
    else if (place == Place::swap_file)
        kind = &CellCounts::swap_file;
    else if (place == Place::one_colour)
        kind = &CellCounts::one_colour;
    else if (place == Place::pattern)
        kind = &CellCounts::pattern;
    counts.*kind += cells;
}

CellCounts counts_of(const std::vector<SeenBuffer> &buffers) {
    CellCounts counts;
    for (const SeenBuffer &buffer : buffers)
        for (const Place place : buffer.cells)
            count(counts, place, !buffer.shares_with.empty(), 1);
    return counts;
}

CellCounts counts_of(const BufferModel &model) {
    CellCounts counts;
    for (const ModelledBuffer &buffer : model.buffers())
        count(counts, model.place_of(buffer), model.is_shared(buffer), buffer.cell_count());
    return counts;
}

Area all_rows(const BUF32INFO &info) {
    return {0, 0, info.width, info.height};
}

Area cell_area(const BUF32INFO &info, int index) {
    const int column = index % std::max(info.cell_columns, 1);
    const int row = index / std::max(info.cell_columns, 1);
    return intersect(area_of(column * info.cell_width, row * info.cell_height, info.cell_width,
                             info.cell_height),
                     all_rows(info));
}

// No storage although the rules allow it: nothing has changed then.
bool is_out_of_memory(const Moment &moment) {
    constexpr int no_memory = 1001;
    return !moment.outcome.is_done && moment.should_be_done &&
           moment.outcome.report.message == no_memory;
}

} // namespace

bool Moment::agrees() const {
    return (outcome.is_done == should_be_done || is_out_of_memory(*this)) && counters == expected &&
           cells == expected_cells;
}

BufferExperiment::BufferExperiment(Script script) : script_(std::move(script)) {
    restart();
}

void BufferExperiment::restart() {
    machine_.clear();
    model_ = {};
    touched_.clear();
    locked_cells_.clear();
    moments_.assign(1, {});
    moments_.front().outcome.is_done = true;
    look(moments_.front());
}

const Operation *BufferExperiment::last() const {
    return done() > 0 ? &script_.operations[static_cast<size_t>(done()) - 1] : nullptr;
}

const Operation *BufferExperiment::next() const {
    return done() < length() ? &script_.operations[static_cast<size_t>(done())] : nullptr;
}

bool BufferExperiment::step() {
    const Operation *const operation = next();
    if (operation == nullptr)
        return false;
    Moment moment;
    moment.outcome = machine_.run(*operation);
    BufferModel model = model_;
    moment.should_be_done = model.apply(*operation);
    if (!is_out_of_memory(moment))
        model_ = std::move(model);
    if (moment.outcome.is_done)
        note_cell_locks(*operation);
    look(moment);
    note_touched(*operation);
    moments_.push_back(std::move(moment));
    return true;
}

void BufferExperiment::go_to(int operations) {
    if (operations < done())
        restart();
    while (done() < operations && step()) {
    }
}

void BufferExperiment::look(Moment &moment) {
    seen_ = look_at(machine_.buffers());
    moment.counters = machine_.counters();
    moment.cells = counts_of(seen_);
    moment.expected = {model_.memory_bytes(), model_.file_bytes()};
    moment.expected_cells = counts_of(model_);
}

void BufferExperiment::note_touched(const Operation &operation) {
    touched_.clear();
    const auto seen = std::find_if(seen_.begin(), seen_.end(), [&](const SeenBuffer &one) {
        return one.name == operation.buffer;
    });
    if (seen == seen_.end())
        return;
    const BUF32INFO &info = seen->info;
    if (!operation.area.is_empty())
        touched_.push_back({operation.buffer, operation.area});
    if (operation.verb == Verb::copy)
        touched_.push_back({operation.other, area_of(operation.to, operation.area.size())});
    if (operation.verb == Verb::line)
        touched_.push_back(
            {operation.buffer,
             area_of(0, std::min(operation.number, info.height - 1), info.width, 1)});
    if (operation.cell)
        touched_.push_back({operation.buffer, cell_area(info, *operation.cell)});
}

void BufferExperiment::note_cell_locks(const Operation &operation) {
    std::vector<int> &cells = locked_cells_[operation.buffer];
    if (operation.verb == Verb::lock && operation.cell)
        cells.push_back(*operation.cell);
    if (operation.verb == Verb::unlock && operation.cell) {
        const auto cell = std::find(cells.begin(), cells.end(), *operation.cell);
        if (cell != cells.end())
            cells.erase(cell);
    }
}

std::vector<int> BufferExperiment::locked_cells(const std::string &buffer) const {
    const auto found = locked_cells_.find(buffer);
    return found != locked_cells_.end() ? found->second : std::vector<int>();
}

} // namespace apps::q32view
