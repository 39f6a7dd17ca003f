// The exports that move rectangles, duplicate and fill: check, raise the thread's priority, call
// through the buffer's operation table.
#include "buffer/failures.h"
#include "buffer/operations.h"
#include "buffer/record.h"
#include "library/process/thread_priority.h"

namespace q32::buffer {
namespace {

// Calls an entry of the buffer's table, if there is a buffer and an entry.
template <auto Operations::*entry, typename... Arguments>
int call(HBUF32 buffer, Arguments... arguments) {
    Record *const record = record_of(buffer);
    if (record == nullptr || record->operations.*entry == nullptr)
        return 0;
    ThreadPriority priority;
    priority.raise();
    return (record->operations.*entry)(*record, arguments...);
}

// For entries that may store a new buffer's handle: a failure leaves the caller's as it was.
template <auto Operations::*entry, typename... Arguments>
int call_with_destination(HBUF32 source, HBUF32 *destination, Arguments... arguments) {
    if (destination == nullptr)
        return 0;
    const HBUF32 before = *destination;
    if (call<entry>(source, arguments..., destination))
        return 1;
    *destination = before;
    return 0;
}

} // namespace
} // namespace q32::buffer

using namespace q32::buffer;
namespace site = q32::buffer::site;

int Q32_CALL buf32GetMem(HBUF32 buffer, int x, int y, int width, int height, void *memory) {
    if (memory == nullptr)
        return q32::fail(site::null_argument);
    return call<&Operations::get_memory>(buffer, x, y, width, height, memory);
}

int Q32_CALL buf32GetMemWithBC(HBUF32 buffer, int x, int y, int width, int height, void *memory,
                               const void *background) {
    if (memory == nullptr)
        return q32::fail(site::null_argument);
    if (background == nullptr)
        return 0;
    return call<&Operations::get_memory_with_background>(buffer, x, y, width, height, memory,
                                                         background);
}

int Q32_CALL buf32MergeMem(HBUF32 buffer, int x, int y, const void *memory, int width, int height) {
    if (memory == nullptr)
        return q32::fail(site::null_argument);
    return call<&Operations::merge_memory>(buffer, x, y, width, height, memory);
}

int Q32_CALL buf32GetBuf(HBUF32 source, int x, int y, int width, int height, HBUF32 *destination) {
    return call_with_destination<&Operations::get_buffer>(source, destination, x, y, width, height);
}

int Q32_CALL buf32MergeBuf(HBUF32 source, int x, int y, int width, int height, HBUF32 destination,
                           int destination_x, int destination_y) {
    Record *const record = record_of(destination);
    if (record == nullptr)
        return 0;
    return call<&Operations::merge_buffer, int, int, int, int, Record &, int, int>(
        source, x, y, width, height, *record, destination_x, destination_y);
}

int Q32_CALL buf32DupBuf(HBUF32 source, HBUF32 *destination) {
    return call_with_destination<&Operations::duplicate>(source, destination);
}

int Q32_CALL buf32FillOneColor(HBUF32 buffer, const void *colour) {
    if (colour == nullptr)
        return q32::fail(site::null_argument);
    return call<&Operations::fill_one_colour>(buffer, colour);
}

int Q32_CALL buf32FillPattern(HBUF32 buffer, const BUF32PATTERN *pattern) {
    const Record *const record = record_of(buffer);
    if (pattern == nullptr || (record != nullptr && record->operations.fill_pattern == nullptr))
        return q32::fail(site::null_argument);
    return call<&Operations::fill_pattern>(buffer, pattern);
}
