// The operation set of each buffer type. Entries that are empty here are operations that the type
// does not offer; the exports refuse them.
#include "buffer/operations.h"

#include "buffer/cells.h"
#include "buffer/failures.h"
#include "buffer/lines.h"
#include "buffer/one_colour.h"

namespace q32::buffer {
namespace {

// --- entries that refuse ------------------------------------------------------------------------

int refuse_lock(Record &, int, void **) {
    return 0;
}

int refuse_cell_lock(Record &, int, void **, BUF32CELL *) {
    return 0;
}

int refuse_line(Record &, int, int, void *) {
    return 0;
}

void *refuse_point_address(Record &, int, int) {
    return nullptr;
}

void *refuse_caller_memory_point(Record &, int, int) {
    fail(site::caller_memory_no_point);
    return nullptr;
}

// --- the sets -----------------------------------------------------------------------------------

// Tiled buffers, and linear ones: their single cell follows the same rules.
constexpr Operations ordinary_set = {
    .lock = lock,
    .cell_lock = cell_lock,
    .cell_unlock = cell_unlock,
    .line = line,
    .point_address = point_address,
    .unlock = unlock,
    .line_span = line_span,
};

constexpr Operations one_colour_set = {
    .lock = one_colour_lock,
    .cell_lock = one_colour_cell_lock,
    .cell_unlock = one_colour_cell_unlock,
    .line = line,
    .point_address = one_colour_point_address,
    .unlock = one_colour_unlock,
    .line_span = line_span,
};

// Buffers that have no cells of their own: only what was locked could be unlocked.
constexpr Operations refusing_set(decltype(Operations::point_address) point_address) {
    return {
        .lock = refuse_lock,
        .cell_lock = refuse_cell_lock,
        .cell_unlock = cell_unlock,
        .line = refuse_line,
        .point_address = point_address,
        .unlock = unlock,
    };
}

constexpr Operations caller_memory_set = refusing_set(refuse_caller_memory_point);
constexpr Operations pattern_set = refusing_set(refuse_point_address);

} // namespace

const Operations &operations_for(uint32_t type) {
    switch (type) {
    case BUF32_ONE_COLOUR:
        return one_colour_set;
    case BUF32_CALLER_MEMORY:
        return caller_memory_set;
    case BUF32_PATTERN:
        return pattern_set;
    default:
        return ordinary_set;
    }
}

} // namespace q32::buffer
