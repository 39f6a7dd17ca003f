// Loops that compilers turn into vectors: no element of a result depends on another.
#include "png_filters.h"

#include <algorithm>
#include <cstring>

namespace apps {
namespace {

// Of distances from 0, seen as signed bytes. In blocks, whose sums fit into 16 bits: vectors hold
// more of those.
uint64_t sum_of_distances(const uint8_t *bytes, size_t count) {
    constexpr size_t block_bytes = 256;
    uint64_t sum = 0;
    for (size_t begin = 0; begin < count; begin += block_bytes) {
        const size_t end = std::min(begin + block_bytes, count);
        uint16_t block = 0;
        for (size_t i = begin; i < end; ++i) {
            const uint8_t byte = bytes[i], opposite = static_cast<uint8_t>(-byte);
            block = static_cast<uint16_t>(block + std::min(byte, opposite));
        }
        sum += block;
    }
    return sum;
}

void without(const uint8_t *__restrict line, const uint8_t *__restrict expected,
             uint8_t *__restrict rest, size_t count) {
    for (size_t i = 0; i < count; ++i)
        rest[i] = static_cast<uint8_t>(line[i] - expected[i]);
}

// By Paeth's rule: the neighbour that is closest to left + above - corner. In words of 16 bits, as
// vectors have them.
void without_paeth(const uint8_t *__restrict line, const uint8_t *__restrict above,
                   uint8_t *__restrict rest, size_t step, size_t count) {
    for (size_t i = step; i < count; ++i) {
        const auto left = static_cast<int16_t>(line[i - step]), up = static_cast<int16_t>(above[i]),
                   corner = static_cast<int16_t>(above[i - step]);
        const auto up_way = static_cast<int16_t>(up - corner),
                   left_way = static_cast<int16_t>(left - corner),
                   both = static_cast<int16_t>(up_way + left_way);
        const auto to_left = std::max<int16_t>(up_way, static_cast<int16_t>(-up_way)),
                   to_up = std::max<int16_t>(left_way, static_cast<int16_t>(-left_way)),
                   to_corner = std::max<int16_t>(both, static_cast<int16_t>(-both));
        const int16_t closer = to_up <= to_corner ? up : corner;
        const int16_t nearest = to_left <= std::min(to_up, to_corner) ? left : closer;
        rest[i] = static_cast<uint8_t>(line[i] - nearest);
    }
}

} // namespace

PngFilters::PngFilters(size_t line_bytes, size_t step) : bytes_(line_bytes), step_(step) {
    constexpr uint8_t none = 0, left = 1, above = 2, paeth = 4;
    const auto begin = [&](std::vector<uint8_t> &candidate, uint8_t filter) {
        candidate.resize(1 + bytes_);
        candidate[0] = filter;
    };
    begin(none_, none);
    begin(left_, left);
    begin(above_, above);
    begin(paeth_, paeth);
}

std::span<const uint8_t> PngFilters::best(const uint8_t *line, const uint8_t *above) {
    const size_t first = std::min(step_, bytes_);
    std::memcpy(&none_[1], line, bytes_);
    std::memcpy(&left_[1], line, first);
    without(line + first, line, left_.data() + 1 + first, bytes_ - first);
    without(line, above, &above_[1], bytes_);
    std::memcpy(&paeth_[1], &above_[1], first);
    without_paeth(line, above, &paeth_[1], step_, bytes_);

    const std::vector<uint8_t> *least = nullptr;
    uint64_t least_sum = UINT64_MAX;
    for (const std::vector<uint8_t> *candidate : {&above_, &paeth_, &left_, &none_}) {
        const uint64_t sum = sum_of_distances(candidate->data() + 1, bytes_);
        if (sum < least_sum) {
            least_sum = sum;
            least = candidate;
        }
    }
    return *least;
}

} // namespace apps
