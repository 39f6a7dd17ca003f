// The exports of the dispatch queue: check, lock, hand over. What happens is the dispatcher's.
#include "geometry/system_rect.h"
#include "library/process/owners.h"
#include "library/process/process.h"
#include "queue/dispatcher.h"
#include "queue/failures.h"

namespace q32::queue {
namespace {

constinit Dispatcher dispatcher;

bool memory_is_short() {
    constexpr SIZE_T trial_bytes = 65536;
    return !GlobalBlock(GlobalAlloc(GMEM_MOVEABLE, trial_bytes));
}

// Tiles have two sides, bands one; steps may be numbered from anywhere.
bool sizes_are_valid(int mode, const DispatchDesc &description) {
    switch (mode) {
    case D32_TILES:
        return description.first >= 0 && description.last >= 0;
    case D32_BANDS:
        return description.first >= 0;
    default:
        return mode == D32_STEPS;
    }
}

bool dispatch() {
    const LibraryLock lock;
    return dispatcher.dispatch();
}

// Having no current job is another owner than any, too.
void dispatch_until_owner_changes() {
    const std::uint32_t owner = dispatcher.current_owner();
    while (owner != 0 && dispatcher.current_owner() == owner && dispatch()) {
    }
}

void wait_for(std::uint32_t owner) {
    dispatcher.raise(owner);
    if (dispatcher.current_owner() != owner)
        dispatch_until_owner_changes();
    if (dispatcher.current_owner() == owner)
        dispatch_until_owner_changes();
}

// As the table is at one moment: other threads may add to it meanwhile.
HGLOBAL rectangles_of_current_owner() {
    const std::uint32_t owner = dispatcher.current_owner();
    const WaitingJobs waiting = dispatcher.waiting();
    const int count = 1 + waiting.count_of(owner);
    auto *const rects =
        global_alloc<DispatchRects>(GPTR, sizeof(std::int32_t) + std::size_t(count) * sizeof(RECT));
    if (rects == nullptr)
        return nullptr;
    rects->count = count;
    RECT *next = rects->rectangles;
    *next++ = as_rect(dispatcher.current_area());
    for (const WaitingJob &job : waiting)
        if (job.owner == owner)
            *next++ = as_rect(job.area);
    return rects;
}

} // namespace
} // namespace q32::queue

using namespace q32::queue;
using q32::as_area;

int Q32_CALL d32AddQueue(uint32_t owner, const RECT *rectangle, int replace, intptr_t value1,
                         intptr_t value2, int mode, const DispatchDesc *description) {
    if (memory_is_short())
        return q32::fail(site::no_memory_for_job);
    const q32::LibraryLock lock;
    if (owner == 0 || rectangle == nullptr || description == nullptr ||
        description->callback == nullptr || !sizes_are_valid(mode, *description) ||
        (!replace && as_area(*rectangle).is_empty()))
        return 0;
    const q32::Area area = as_area(*rectangle);
    return dispatcher.add({.owner = owner,
                           .description = *description,
                           .area = area,
                           .end_area = area,
                           .value1 = value1,
                           .value2 = value2,
                           .mode = mode},
                          replace != 0);
}

int Q32_CALL d32DispatchQueue(void) {
    return dispatch();
}

int Q32_CALL d32DeleteQueue(uint32_t owner) {
    if (owner == 0)
        return 0;
    const q32::LibraryLock lock;
    dispatcher.remove(owner);
    return 1;
}

uint32_t Q32_CALL d32GetCurQueue(HGLOBAL *rects) {
    const uint32_t owner = dispatcher.current_owner();
    if (rects != nullptr)
        *rects = owner != 0 ? rectangles_of_current_owner() : nullptr;
    return owner;
}

int Q32_CALL d32IsInQueue(uint32_t owner, int wait) {
    if (dispatcher.current_owner() == 0)
        return 0;
    const bool found = owner != 0 && (dispatcher.current_owner() == owner ||
                                      dispatcher.waiting().count_of(owner) > 0);
    if (wait)
        wait_for(owner);
    return found;
}

int Q32_CALL d32SetEndDispatchRect(uint32_t owner, const RECT *rectangle, const RECT *end) {
    return rectangle != nullptr && end != nullptr &&
           dispatcher.set_end_area(owner, as_area(*rectangle), as_area(*end));
}

int Q32_CALL d32SetFirstService(uint32_t owner) {
    dispatcher.set_first_service(owner);
    return 1;
}
