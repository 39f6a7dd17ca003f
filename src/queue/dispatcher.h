// The scheduler of the dispatch queue: one current job, the others waiting. Callbacks may come back
// into it at any point; after each one it looks whether the job it was at is still current.
//
//     waiting --begin--> current --step, step ...--> ending --> gone, and the next begins
//
// Whoever calls the functions that may call back holds the library's lock.
#pragma once

#include "queue/job_steps.h"
#include "queue/waiting_jobs.h"

namespace q32::queue {

class Dispatcher {
public:
    // May call back. A request is a job that is not in the table yet; its priority is not looked
    // at. False when it is refused.
    bool add(const WaitingJob &request, bool replace);
    bool dispatch();
    void remove(std::uint32_t owner);

    // What a waiting client wants: its jobs first, and those done.
    void raise(std::uint32_t owner) { waiting_.set_priority_of(owner, urgent_priority); }
    void set_first_service(std::uint32_t owner);

    bool set_end_area(std::uint32_t owner, const Area &area, const Area &end);

    std::uint32_t current_owner() const { return current_.owner; }
    const Area &current_area() const { return current_.area; }
    const WaitingJobs &waiting() const { return waiting_; }

private:
    struct CurrentJob {
        std::uint32_t owner = 0; // 0: none
        unsigned serial = 0;     // no other job has had it
        DispatchDesc description = {};
        Area area, end_area;
        JobSteps steps;
        bool ending = false; // D32_END is being delivered
    };

    int call_back(int message, std::intptr_t parameter) const;
    int call_back(int message, const Area &area) const;
    bool is_still_current(unsigned serial) const { return current_.serial == serial; }

    bool begin(const WaitingJob &job);
    bool begin_next(std::uint32_t preferred);
    bool give_way_to_next(std::uint32_t preferred);
    bool begin_request(const WaitingJob &request);
    bool deliver_end();
    void end_and_begin_next(std::uint32_t preferred);
    void drain();
    bool enqueue(const WaitingJob &request);

    CurrentJob current_;
    WaitingJobs waiting_;
    std::uint32_t first_service_ = 0;
    unsigned last_serial_ = 0;
};

} // namespace q32::queue
