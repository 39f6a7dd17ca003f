// The rules of the dispatch queue. Nothing is kept over a callback but the serial of the job that
// got it: whoever goes on afterwards looks whether that is still the current one.
#include "tests/queues/dispatch_model.h"

#include <algorithm>
#include <cstring>

namespace q32::test {
namespace {

bool is_empty(const RECT &rectangle) {
    return rectangle.right <= rectangle.left || rectangle.bottom <= rectangle.top;
}

bool is_same(const RECT &one, const RECT &other) {
    return std::memcmp(&one, &other, sizeof one) == 0;
}

intptr_t address_of(const RECT &rectangle) {
    return reinterpret_cast<intptr_t>(&rectangle);
}

constexpr int or_128(int size) {
    return size == 0 ? 128 : size;
}

} // namespace

bool DispatchModel::Request::is_nothing() const {
    return mode != D32_STEPS && is_empty(rectangle);
}

// --- the current job -----------------------------------------------------------------------------

void DispatchModel::send(int message, intptr_t parameter, int *reply) {
    const DispatchDesc to = current_->description;
    const int answer = to.callback(message, current_->owner, parameter, to.user_data);
    if (reply != nullptr)
        *reply = answer;
}

void DispatchModel::begin(const Request &request) {
    Running job{request, ++serials_, {}, 0, 0, false, false};
    const RECT &whole = request.rectangle;
    job.end = whole;
    const DispatchDesc &given = request.description;
    RECT told = whole;
    if (request.mode == D32_STEPS) {
        job.next = given.first;
        job.last = given.last;
    } else {
        const bool bands = request.mode == D32_BANDS;
        const LONG width = bands ? whole.right - whole.left : or_128(given.first);
        const LONG height = or_128(bands ? given.first : given.last);
        for (LONG top = whole.top; top < whole.bottom; top += height)
            for (LONG left = whole.left; left < whole.right; left += width)
                job.tiles.push_back({left, top, std::min(left + width, whole.right),
                                     std::min(top + height, whole.bottom)});
        job.last = static_cast<long long>(job.tiles.size()) - 1;
        told = {0, 0, width, height};
    }
    current_ = job;
    send(D32_BEGIN, address_of(told));
}

unsigned DispatchModel::begin_next(uint32_t preferred) {
    for (int priority = 2; priority >= 0; --priority)
        for (const bool own : {true, false})
            for (std::optional<Request> &entry : table_)
                if (entry && !entry->begins && entry->priority == priority &&
                    (!own || entry->owner == preferred)) {
                    entry->begins = true;
                    const Request request = *entry;
                    const unsigned serial = serials_ + 1;
                    begin(request);
                    if (entry && entry->ticket == request.ticket) {
                        if (is_current(serial))
                            current_->end = entry->end;
                        entry.reset();
                    }
                    return serial;
                }
    return 0;
}

void DispatchModel::begin_or_next(const Request &request) {
    if (request.is_nothing())
        begin_next(0);
    else
        begin(request);
}

bool DispatchModel::tell_end() {
    const unsigned serial = current_->serial;
    const RECT told = current_->end;
    current_->ending = true;
    send(D32_END, address_of(told));
    return is_current(serial);
}

void DispatchModel::end() {
    const uint32_t owner = current_->owner;
    if (!tell_end())
        return;
    current_.reset();
    begin_next(owner);
}

int DispatchModel::dispatch() {
    if (!current_ || current_->ending) {
        const uint32_t before = current();
        current_.reset();
        if (!is_current(begin_next(before)))
            return current_ ? 1 : 0;
    }
    if (current_->done) {
        end();
        return current_ ? 1 : 0;
    }
    const unsigned serial = current_->serial;
    const long long place = current_->next++;
    current_->done = place >= current_->last;
    int reply = 0;
    if (current_->mode == D32_STEPS) {
        send(D32_STEP, static_cast<intptr_t>(place), &reply);
    } else {
        const RECT tile = current_->tiles[static_cast<std::size_t>(place)];
        send(D32_STEP, address_of(tile), &reply);
    }
    if (is_current(serial) && (reply == 0 || current_->done))
        end();
    return current_ ? 1 : 0;
}

void DispatchModel::work_off(uint32_t owner) {
    while (dispatch() != 0 && current() == owner) {
    }
}

// --- the table -----------------------------------------------------------------------------------

std::optional<DispatchModel::Request> *DispatchModel::free_place() {
    for (std::optional<Request> &entry : table_)
        if (!entry)
            return &entry;
    return nullptr;
}

void DispatchModel::set_priority(uint32_t owner, int priority) {
    for (std::optional<Request> &entry : table_)
        if (entry && entry->owner == owner)
            entry->priority = priority;
}

void DispatchModel::take_out(uint32_t owner) {
    for (std::optional<Request> &entry : table_)
        if (entry && entry->owner == owner)
            entry.reset();
}

// --- adding and removing -------------------------------------------------------------------------

int DispatchModel::add(uint32_t owner, const RECT &rectangle, bool replace, int mode,
                       const DispatchDesc &description) {
    if (owner == 0 || (!replace && is_empty(rectangle)))
        return 0;
    Request request{owner, rectangle, rectangle, mode, description, 0, 0, false};
    if (replace)
        take_out(owner);
    if (replace && current_ && current_->owner == owner) {
        if (current_->ending) { // told by somebody further out, who will find it gone
            begin_or_next(request);
            return 1;
        }
        if (tell_end()) {
            current_->ending = false; // in case nothing takes its place
            begin_or_next(request);
            return 1;
        }
    }
    if (current_ && free_place() == nullptr) {
        set_priority(current(), 2);
        work_off(current());
    }
    if (!current_) {
        begin_or_next(request);
        return 1;
    }
    std::optional<Request> *const place = free_place();
    if (place == nullptr)
        return 0;
    if (!request.is_nothing()) {
        request.priority = owner == first_service_ ? 1 : 0;
        request.ticket = ++tickets_;
        *place = request;
    }
    return 1;
}

int DispatchModel::remove(uint32_t owner) {
    if (owner == 0)
        return 0;
    take_out(owner);
    if (current() == owner && (current_->ending || tell_end())) {
        current_.reset();
        begin_next(0);
    }
    return 1;
}

// --- questions -----------------------------------------------------------------------------------

std::vector<RECT> DispatchModel::current_rectangles() {
    if (!current_)
        return {};
    std::vector<RECT> rectangles{current_->rectangle};
    for (const std::optional<Request> &entry : table_)
        if (entry && entry->owner == current_->owner)
            rectangles.push_back(entry->rectangle);
    return rectangles;
}

int DispatchModel::is_in_queue(uint32_t owner, bool wait) {
    if (!current_)
        return 0;
    const bool waits = std::ranges::any_of(
        table_, [owner](const auto &entry) { return entry && entry->owner == owner; });
    const bool found = waits || current() == owner;
    if (wait) {
        set_priority(owner, 2);
        const uint32_t running = current();
        work_off(running);
        if (running != owner && current_ && current() == owner)
            work_off(owner);
    }
    return found ? 1 : 0;
}

int DispatchModel::set_end(uint32_t owner, const RECT &rectangle, const RECT &end) {
    if (current_ && current_->owner == owner && is_same(current_->end, rectangle)) {
        current_->end = end;
        return 1;
    }
    for (std::optional<Request> &entry : table_)
        if (entry && entry->owner == owner && is_same(entry->end, rectangle)) {
            entry->end = end;
            return 1;
        }
    return 0;
}

int DispatchModel::set_first_service(uint32_t owner) {
    first_service_ = owner;
    if (owner != 0)
        set_priority(owner, 1);
    return 1;
}

} // namespace q32::test
