// How jobs become current, go through their steps and end.
#include "queue/dispatcher.h"

#include "geometry/system_rect.h"

namespace q32::queue {
namespace {

bool has_steps(const WaitingJob &job) {
    return job.mode == D32_STEPS || !job.area.is_empty();
}

} // namespace

// --- the current job ---------------------------------------------------------------------------

int Dispatcher::call_back(int message, std::intptr_t parameter) const {
    const DispatchDesc &description = current_.description;
    return description.callback(message, current_.owner, parameter, description.user_data);
}

int Dispatcher::call_back(int message, const Area &area) const {
    const RECT rectangle = as_rect(area);
    return call_back(message, reinterpret_cast<std::intptr_t>(&rectangle));
}

// False when the callback has put another job, or none, in its place.
bool Dispatcher::begin(const WaitingJob &job) {
    const unsigned serial = ++last_serial_;
    current_ = {.owner = job.owner,
                .serial = serial,
                .description = job.description,
                .area = job.area,
                .end_area = job.area,
                .steps = JobSteps(job.mode, job.area, job.description)};
    call_back(D32_BEGIN, current_.steps.announced());
    return is_still_current(serial);
}

// Whatever is current is forgotten, if there is a next one. False when there is none, too.
//
// The job keeps its entry while it is told that it begins. Required: from inside that callback
// d32GetCurQueue counts the entry, a full table is still full, and the entry's end area
// overrules what d32SetEndDispatchRect has made of the current job's.
bool Dispatcher::begin_next(std::uint32_t preferred) {
    WaitingJob *const entry = waiting_.next(preferred);
    if (entry == nullptr)
        return false;
    const unsigned serial = last_serial_ + 1;
    entry->beginning = serial;
    const bool is_current = begin(*entry);
    const bool was_freed = entry->beginning != serial;
    if (was_freed)
        return is_current;
    if (is_current)
        current_.end_area = entry->end_area;
    *entry = {};
    return is_current;
}

// False in the same cases.
bool Dispatcher::give_way_to_next(std::uint32_t preferred) {
    current_ = {.serial = ++last_serial_};
    return begin_next(preferred);
}

// False when the callback has put another job, or none, in its place.
bool Dispatcher::deliver_end() {
    if (current_.ending)
        return true;
    current_.ending = true;
    const unsigned serial = current_.serial;
    call_back(D32_END, current_.end_area);
    if (!is_still_current(serial))
        return false;
    current_.ending = false;
    return true;
}

void Dispatcher::end_and_begin_next(std::uint32_t preferred) {
    if (deliver_end())
        give_way_to_next(preferred);
}

// --- steps -------------------------------------------------------------------------------------

// The place moves on before the callback is called: one that dispatches gets the next step, and
// every step is made once. A job that is being told of its end, further out, has none left. What a
// callback puts in a job's place is stepped by the next call.
bool Dispatcher::dispatch() {
    if ((current_.owner == 0 || current_.ending) && !give_way_to_next(current_.owner))
        return current_.owner != 0;
    const unsigned serial = current_.serial;
    bool goes_on = true;
    if (!current_.steps.done()) {
        const JobSteps::Step step = current_.steps.take();
        goes_on = (current_.steps.is_numbered() ? call_back(D32_STEP, step.number)
                                                : call_back(D32_STEP, step.tile)) != 0;
    }
    if (is_still_current(serial) && (!goes_on || current_.steps.done()))
        end_and_begin_next(current_.owner);
    return current_.owner != 0;
}

// --- requests ----------------------------------------------------------------------------------

// With nothing to do the next of those that wait begins instead. If none does, whatever is current
// stays so, even a job that has just been told of its end: it is stepped further.
bool Dispatcher::begin_request(const WaitingJob &request) {
    if (has_steps(request))
        begin(request);
    else
        begin_next(0);
    return true;
}

bool Dispatcher::add(const WaitingJob &request, bool replace) {
    if (replace)
        waiting_.remove_of(request.owner);
    if (current_.owner == 0)
        return begin_request(request);
    if (replace && current_.owner == request.owner && (deliver_end() || current_.owner == 0))
        return begin_request(request);
    return enqueue(request);
}

// Makes room in a full table: the current owner's jobs are done before any other's.
void Dispatcher::drain() {
    const std::uint32_t owner = current_.owner;
    raise(owner);
    while (dispatch() && current_.owner == owner) {
    }
}

bool Dispatcher::enqueue(const WaitingJob &request) {
    WaitingJob *entry = waiting_.free_entry();
    if (entry == nullptr) {
        drain();
        if (current_.owner == 0)
            return begin_request(request);
        entry = waiting_.free_entry();
    }
    if (entry == nullptr)
        return false;
    if (!has_steps(request))
        return true;
    *entry = request;
    entry->priority = request.owner == first_service_ ? first_service_priority : usual_priority;
    return true;
}

void Dispatcher::remove(std::uint32_t owner) {
    waiting_.remove_of(owner);
    if (current_.owner == owner)
        end_and_begin_next(0);
}

void Dispatcher::set_first_service(std::uint32_t owner) {
    first_service_ = owner;
    if (owner != 0)
        waiting_.set_priority_of(owner, first_service_priority);
}

bool Dispatcher::set_end_area(std::uint32_t owner, const Area &area, const Area &end) {
    if (owner == 0)
        return false;
    if (current_.owner == owner && current_.end_area == area) {
        current_.end_area = end;
        return true;
    }
    WaitingJob *const job = waiting_.with_end(owner, area);
    if (job == nullptr)
        return false;
    job->end_area = end;
    return true;
}

} // namespace q32::queue
