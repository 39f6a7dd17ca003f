// A script at work: its operations one by one, what the library tells after each, and whether the
// rules say the same.
#pragma once

#include "buffer_machine.h"
#include "buffer_model.h"
#include "buffer_probe.h"

#include <map>

namespace apps::q32view {

// Cells by where they live; those whose pixels others read, too, are counted as shared only.
struct CellCounts {
    int memory = 0, swap_file = 0, shared = 0, one_colour = 0, pattern = 0, nowhere = 0;

    int all() const { return memory + swap_file + shared + one_colour + pattern + nowhere; }
    bool operator==(const CellCounts &) const = default;
};

// After an operation, or before the first one.
struct Moment {
    Outcome outcome;
    Counters counters; // the library's
    CellCounts cells;  // as they were seen
    bool should_be_done = true;
    Counters expected; // by the rules
    CellCounts expected_cells;

    // Memory or disk that runs out is no matter of rules.
    bool agrees() const;
};

// What the last operation read, wrote or locked.
struct Touched {
    std::string buffer;
    Area area; // pixels
};

class BufferExperiment {
public:
    explicit BufferExperiment(Script script);

    // False at the end of the script.
    bool step();
    void restart();
    // The state after so many operations.
    void go_to(int operations);

    const Script &script() const { return script_; }
    int length() const { return static_cast<int>(script_.operations.size()); }
    int done() const { return static_cast<int>(moments_.size()) - 1; }
    // Null before the first and behind the last one.
    const Operation *last() const;
    const Operation *next() const;

    const std::vector<Moment> &moments() const { return moments_; } // done() + 1
    const std::vector<SeenBuffer> &buffers() const { return seen_; }
    const BufferModel &model() const { return model_; }
    const std::vector<Touched> &touched() const { return touched_; }
    // The cells of a buffer that the script has locked one by one, with repetitions.
    std::vector<int> locked_cells(const std::string &buffer) const;

private:
    void look(Moment &moment);
    void note_touched(const Operation &operation);
    void note_cell_locks(const Operation &operation);

    Script script_;
    BufferMachine machine_;
    BufferModel model_;
    std::vector<Moment> moments_;
    std::vector<SeenBuffer> seen_;
    std::vector<Touched> touched_;
    std::map<std::string, std::vector<int>> locked_cells_;
};

} // namespace apps::q32view
