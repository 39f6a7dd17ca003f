// Where cells live, as a program can learn it: the library tells each cell's address, and the
// system whether a file is mapped there.
#pragma once

#include "buffer_machine.h"
#include "buffer_model.h"

namespace apps::q32view {

struct SeenBuffer {
    std::string name;
    BUF32INFO info = {};
    bool is_seen = false;                 // cells and sharers are; else nobody could look
    std::vector<Place> cells;             // by index
    std::vector<std::string> shares_with; // whose cells lie at the same addresses
    std::optional<bool> has_block;        // one colour: whether there is one, when that can be told
};

// Looks at buffers without changing them, their locks or the library's counters.
std::vector<SeenBuffer> look_at(const std::vector<NamedBuffer> &buffers);

} // namespace apps::q32view
