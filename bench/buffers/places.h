// Where a benchmark of rectangles reads and writes: places scattered over an image, always the
// same ones, in an endless ring.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::bench {

struct Place {
    int x, y;
};

class Places {
public:
    Places(int image_width, int image_height, int side) {
        std::uint32_t state = 20240517;
        const auto below = [&](int bound) {
            state = state * 1664525 + 1013904223;
            return int((std::uint64_t(state) * std::uint32_t(bound)) >> 32);
        };
        for (Place &place : places_) {
            place.x = below(image_width - side + 1);
            place.y = below(image_height - side + 1);
        }
    }

    Place next() {
        at_ = (at_ + 1) % places_.size();
        return places_[at_];
    }

private:
    std::vector<Place> places_ = std::vector<Place>(8192);
    std::size_t at_ = 0;
};

} // namespace q32::bench
