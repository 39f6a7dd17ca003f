// What the clients ask for, and their callback: the library says which part of a client's job is
// next, and the order of it all is what the picture shows.
#include "dispatch_show.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "geometry/system_rect.h"

#include <q32base/queues.h>

#include <algorithm>
#include <array>
#include <exception>

namespace apps::q32tool {
namespace {

constexpr int rings = 12;
constexpr uint32_t tiles_client = 1, bands_client = 2, rings_client = 3, hurried_client = 4;

using q32::as_area;
using q32::as_rect;

Area inset(const Area &area, int left_and_right, int top_and_bottom) {
    return {area.left + left_and_right, area.top + top_and_bottom, area.right - left_and_right,
            area.bottom - top_and_bottom};
}

// What lies in the outer rectangle and not in the inner one: above, below, left and right of it.
std::vector<Area> ring_between(const Area &outer, const Area &inner) {
    return {{outer.left, outer.top, outer.right, inner.top},
            {outer.left, inner.bottom, outer.right, outer.bottom},
            {outer.left, inner.top, inner.left, inner.bottom},
            {inner.right, inner.top, outer.right, inner.bottom}};
}

// Step 0 is the outermost of a client's rings, the last one fills what is left.
std::vector<Area> ring(const Area &area, int number) {
    const auto inside = [&area](int steps) {
        return inset(area, area.width() * steps / (2 * rings), area.height() * steps / (2 * rings));
    };
    if (number == rings - 1)
        return {inside(number)};
    return ring_between(inside(number), inside(number + 1));
}

// What a callback reaches through its user value.
struct Painting {
    const std::vector<DispatchClient> &clients;
    const std::function<void(const DispatchStep &)> &paint;
    std::exception_ptr failure; // exceptions must not pass through the library
};

DispatchStep step_of(const Painting &painting, uint32_t owner, intptr_t parameter) {
    const int client = static_cast<int>(owner);
    if (owner == rings_client)
        return {client, ring(painting.clients[owner - 1].area, static_cast<int>(parameter))};
    return {client, {as_area(*reinterpret_cast<const RECT *>(parameter))}};
}

int Q32_CALL on_message(int message, uint32_t owner, intptr_t parameter, intptr_t user_data) {
    auto &painting = *reinterpret_cast<Painting *>(user_data);
    if (message != D32_STEP)
        return 1;
    try {
        painting.paint(step_of(painting, owner, parameter));
        return 1;
    } catch (...) {
        painting.failure = std::current_exception();
        return 0;
    }
}

// Whatever happens nothing stays queued: descriptions point at what is gone then.
class Queued {
public:
    explicit Queued(Painting &painting) : painting_(painting) {}
    Queued(const Queued &) = delete;
    Queued &operator=(const Queued &) = delete;
    ~Queued() {
        for (size_t i = 0; i < painting_.clients.size(); ++i)
            d32DeleteQueue(static_cast<uint32_t>(i + 1));
        d32SetFirstService(0);
    }

    void add(uint32_t owner, const RECT &rectangle, int mode, int first, int last) {
        const DispatchDesc description = {.value = 0,
                                          .callback = on_message,
                                          .user_data = reinterpret_cast<intptr_t>(&painting_),
                                          .first = first,
                                          .last = last};
        if (!d32AddQueue(owner, &rectangle, 0, 0, 0, mode, &description))
            throw library_failure("client " + std::to_string(owner), "its job is refused");
    }

private:
    Painting &painting_;
};

Area half(const Area &area, int which) {
    const int middle = area.top + area.height() / 2;
    return which == 0 ? Area{area.left, area.top, area.right, middle}
                      : Area{area.left, middle, area.right, area.bottom};
}

} // namespace

DispatchShow::DispatchShow(Size size, int side) : side_(side) {
    const int column = size.width / 2, row = size.height / 2;
    const std::string tile = std::to_string(side) + " x " + std::to_string(side);
    clients_ = {
        {"two jobs of tiles, " + tile + ", added first", {0, 0, column, row}},
        {"bands " + std::to_string(side) + " high, first service", {column, 0, size.width, row}},
        {std::to_string(rings) + " numbered steps", {0, row, column, size.height}},
        {"tiles, " + tile + ", waited for", {column, row, size.width, size.height}}};
}

// The first job begins at once; the others wait. Client 2 comes next although it is added last,
// before the second job of client 1: it is served first. While it is at work client 4 is waited
// for, and so comes before those that have waited longer.
void DispatchShow::run(const std::function<void(const DispatchStep &)> &paint) {
    Painting painting{clients_, paint, nullptr};
    Queued queued(painting);
    const Area &tiles = clients_[tiles_client - 1].area;
    d32SetFirstService(bands_client);
    queued.add(tiles_client, as_rect(half(tiles, 0)), D32_TILES, side_, side_);
    queued.add(rings_client, as_rect(clients_[rings_client - 1].area), D32_STEPS, 0, rings - 1);
    queued.add(tiles_client, as_rect(half(tiles, 1)), D32_TILES, side_, side_);
    queued.add(hurried_client, as_rect(clients_[hurried_client - 1].area), D32_TILES, side_, side_);
    queued.add(bands_client, as_rect(clients_[bands_client - 1].area), D32_BANDS, side_, 0);
    const auto check = [&painting] {
        if (painting.failure)
            std::rethrow_exception(painting.failure);
    };
    while (d32GetCurQueue(nullptr) != bands_client && d32DispatchQueue())
        check();
    d32IsInQueue(hurried_client, 1);
    check();
    while (d32DispatchQueue())
        check();
    check();
}

} // namespace apps::q32tool
