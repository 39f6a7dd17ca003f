// The table of jobs that wait, and which of them is next.
#pragma once

#include "geometry/area.h"

#include <q32base/queues.h>

#include <array>
#include <cstdint>

namespace q32::queue {

struct WaitingJob {
    std::uint32_t owner = 0; // 0: the entry is free
    unsigned beginning = 0;  // the serial number under which it is being begun; 0: it waits
    DispatchDesc description = {};
    Area area;
    Area end_area;
    std::intptr_t value1 = 0, value2 = 0;
    int priority = 0;
    int mode = D32_TILES;
};

inline constexpr int usual_priority = 0, first_service_priority = 1, urgent_priority = 2;

class WaitingJobs {
public:
    // Null when all are in use.
    WaitingJob *free_entry();

    // The job to begin next: of the highest priority; there the preferred owner's first, if it has
    // one (0: nobody's), else the first. Null when none waits; one that is being begun does not.
    WaitingJob *next(std::uint32_t preferred);

    // The owner's first whose end area this is, or null.
    WaitingJob *with_end(std::uint32_t owner, const Area &end_area);

    int count_of(std::uint32_t owner) const;
    void remove_of(std::uint32_t owner);
    void set_priority_of(std::uint32_t owner, int priority);

    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

private:
    template <typename Predicate>
    WaitingJob *first(Predicate predicate);

    std::array<WaitingJob, 16> entries_;
};

} // namespace q32::queue
