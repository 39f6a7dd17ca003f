// The table of waiting jobs: sixteen entries, always searched from the first.
#include "queue/waiting_jobs.h"

#include <algorithm>

namespace q32::queue {

template <typename Predicate>
WaitingJob *WaitingJobs::first(Predicate predicate) {
    const auto found = std::find_if(entries_.begin(), entries_.end(), predicate);
    return found != entries_.end() ? &*found : nullptr;
}

WaitingJob *WaitingJobs::free_entry() {
    return first([](const WaitingJob &job) { return job.owner == 0; });
}

WaitingJob *WaitingJobs::next(std::uint32_t preferred) {
    for (int priority = urgent_priority; priority >= usual_priority; --priority) {
        const auto is_next = [priority](const WaitingJob &job) {
            return job.owner != 0 && job.beginning == 0 && job.priority == priority;
        };
        WaitingJob *job = first([&is_next, preferred](const WaitingJob &candidate) {
            return is_next(candidate) && candidate.owner == preferred;
        });
        if (job == nullptr)
            job = first(is_next);
        if (job != nullptr)
            return job;
    }
    return nullptr;
}

WaitingJob *WaitingJobs::with_end(std::uint32_t owner, const Area &end_area) {
    return first([owner, &end_area](const WaitingJob &job) {
        return job.owner == owner && job.end_area == end_area;
    });
}

int WaitingJobs::count_of(std::uint32_t owner) const {
    return int(std::count_if(begin(), end(),
                             [owner](const WaitingJob &job) { return job.owner == owner; }));
}

void WaitingJobs::remove_of(std::uint32_t owner) {
    for (WaitingJob &job : entries_)
        if (job.owner == owner)
            job = {};
}

void WaitingJobs::set_priority_of(std::uint32_t owner, int priority) {
    for (WaitingJob &job : entries_)
        if (job.owner == owner)
            job.priority = priority;
}

} // namespace q32::queue
