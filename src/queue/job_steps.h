// The steps of one job in their order: tiles, bands or numbers. Who calls whom, and when the job
// ends, is the dispatcher's affair.
#pragma once

#include "geometry/area.h"

#include <q32base/queues.h>

#include <cstdint>

namespace q32::queue {

class JobSteps {
public:
    JobSteps() = default;

    // Tiles and bands need an area that is not empty.
    JobSteps(int mode, const Area &area, const DispatchDesc &description);

    // What D32_BEGIN tells: the size of a tile, or the job's area.
    const Area &announced() const { return announced_; }

    bool done() const;

    // A step as D32_STEP tells it, and on to the next. Not when all are done.
    struct Step {
        Area tile;
        std::intptr_t number;
    };
    Step take();

    bool is_numbered() const { return mode_ == D32_STEPS; }

private:
    void set_up_tiles(const Area &area, std::int64_t width, std::int64_t height);
    Area take_tile();

    int mode_ = D32_STEPS;
    Area announced_;

    // In 64 bits, as areas may span all of 32.
    std::int64_t left_ = 0, right_ = 0, bottom_ = 0; // of the job
    std::int64_t width_ = 0, height_ = 0;            // of a tile
    std::int64_t x_ = 0, y_ = 0;                     // of the next tile

    std::int64_t number_ = 1, last_ = 0;
};

} // namespace q32::queue
