// Tiles row by row and from left to right, bands as tiles of the whole width, and numbers.
#include "queue/job_steps.h"

#include <algorithm>

namespace q32::queue {
namespace {

constexpr int default_side = 128;

int side_or_default(int side) {
    return side == 0 ? default_side : side;
}

std::int64_t width_of(const RECT &rectangle) {
    return std::int64_t(rectangle.right) - rectangle.left;
}

} // namespace

JobSteps::JobSteps(int mode, const RECT &rectangle, const DispatchDesc &description) : mode_(mode) {
    switch (mode) {
    case D32_TILES:
        set_up_tiles(rectangle, side_or_default(description.first),
                     side_or_default(description.last));
        break;
    case D32_BANDS:
        set_up_tiles(rectangle, width_of(rectangle), side_or_default(description.first));
        break;
    default:
        announced_ = rectangle;
        number_ = description.first;
        // A sequence that ends before it begins still has its first step.
        last_ = std::max(description.first, description.last);
        break;
    }
}

void JobSteps::set_up_tiles(const RECT &rectangle, std::int64_t width, std::int64_t height) {
    announced_ = {0, 0, LONG(width), LONG(height)};
    left_ = x_ = rectangle.left;
    y_ = rectangle.top;
    right_ = rectangle.right;
    bottom_ = rectangle.bottom;
    width_ = width;
    height_ = height;
}

bool JobSteps::done() const {
    return is_numbered() ? number_ > last_ : y_ >= bottom_;
}

JobSteps::Step JobSteps::take() {
    if (is_numbered())
        return {{}, std::intptr_t(number_++)};
    return {take_tile(), 0};
}

RECT JobSteps::take_tile() {
    const RECT tile = {LONG(x_), LONG(y_), LONG(std::min(x_ + width_, right_)),
                       LONG(std::min(y_ + height_, bottom_))};
    x_ += width_;
    if (x_ >= right_) {
        x_ = left_;
        y_ += height_;
    }
    return tile;
}

} // namespace q32::queue
