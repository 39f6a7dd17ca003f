// The filters of PNG's lines: what remains of bytes beside what their neighbours let expect.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace apps {

// Finds for each line the filter that leaves the least, by the sum of the distances from 0.
class PngFilters {
public:
    // step: bytes from pixel to pixel.
    PngFilters(size_t line_bytes, size_t step);

    // The line's filter and what it leaves, valid until the next line; above: the line before, or
    // zeros.
    std::span<const uint8_t> best(const uint8_t *line, const uint8_t *above);

private:
    size_t bytes_, step_;
    // The number of the filter stands before each.
    std::vector<uint8_t> none_, left_, above_, paeth_;
};

} // namespace apps
