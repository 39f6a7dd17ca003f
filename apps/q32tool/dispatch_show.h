// Four clients of the dispatch queue that paint one canvas, a step at a time. The colour of a step
// is its number among all: once around the colour circle, red first.
#pragma once

#include "apps/pictures/areas.h"

#include <functional>
#include <string>
#include <vector>

namespace apps::q32tool {

// One step as it was made: what it painted, and for whom.
struct DispatchStep {
    int client; // 1 to 4
    std::vector<Area> areas;
};

struct DispatchClient {
    std::string what; // "tiles of 48 x 48"
    Area area;
};

class DispatchShow {
public:
    // What the clients divide among themselves; side: of a tile, pixels.
    DispatchShow(Size size, int side);

    // Queues the clients' jobs and dispatches until none is left. paint is called for each step; it
    // may throw: what is queued is taken out then. Throws Failure.
    void run(const std::function<void(const DispatchStep &)> &paint);

    const std::vector<DispatchClient> &clients() const { return clients_; }

private:
    std::vector<DispatchClient> clients_;
    int side_;
};

} // namespace apps::q32tool
