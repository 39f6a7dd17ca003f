// Tiles row by row and from left to right, bands as tiles of the whole width, and numbers.
#include "queue/job_steps.h"

#include <algorithm>

namespace q32::queue {
namespace {

constexpr int default_side = 128;

int side_or_default(int side) {
    return side == 0 ? default_side : side;
}

} // namespace

JobSteps::JobSteps(int mode, const Area &area, const DispatchDesc &description) : mode_(mode) {
    switch (mode) {
    case D32_TILES:
        set_up_tiles(area, side_or_default(description.first), side_or_default(description.last));
        break;
    case D32_BANDS:
        set_up_tiles(area, std::int64_t(area.right) - area.left,
                     side_or_default(description.first));
        break;
    default:
        announced_ = area;
        number_ = description.first;
        // A sequence that ends before it begins still has its first step.
        last_ = std::max(description.first, description.last);
        break;
    }
}

void JobSteps::set_up_tiles(const Area &area, std::int64_t width, std::int64_t height) {
    announced_ = {0, 0, int(width), int(height)};
    left_ = x_ = area.left;
    y_ = area.top;
    right_ = area.right;
    bottom_ = area.bottom;
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

Area JobSteps::take_tile() {
    const Area tile = {int(x_), int(y_), int(std::min(x_ + width_, right_)),
                       int(std::min(y_ + height_, bottom_))};
    x_ += width_;
    if (x_ >= right_) {
        x_ = left_;
        y_ += height_;
    }
    return tile;
}

} // namespace q32::queue
