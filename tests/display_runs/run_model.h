// A display run as its callers see it: which rows it takes, when it draws, where, and what. Keeps
// rows as lists of pixels; display_model.h says what the pixels are.
#pragma once

#include "tests/display_runs/display_model.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace q32::test::model {

// One drawing of a strip: pixels row by row from the top.
struct Flush {
    std::int64_t x = 0, y = 0, width = 0, rows = 0;
    std::vector<std::uint32_t> pixels;
    bool operator==(const Flush &) const = default;
};

// Bytes of a strip's row.
inline std::int64_t row_bytes(const RunSpec &spec) {
    const std::int64_t width = spec.empty() ? 0 : spec.width();
    switch (strip_of(path_of(spec))) {
    case Strip::bits:
        return (width + 15) / 16 * 2;
    case Strip::planes:
        // Never less than the four rows that are put into it.
        return std::max((width * spec.device_bits + 15) / 16 * 2 * spec.device_planes,
                        (width + 15) / 16 * 2 * 4);
    case Strip::places:
        return (width * 8 + 31) / 32 * 4;
    default:
        return (width * 24 + 31) / 32 * 4;
    }
}

inline std::int64_t strip_rows(const RunSpec &spec) {
    if (spec.empty())
        return 0;
    const std::int64_t bytes = row_bytes(spec);
    const std::int64_t cap = strip_of(path_of(spec)) == Strip::bits ? 24576 : 49152;
    if (bytes * spec.height() <= cap)
        return spec.height();
    return bytes <= cap ? cap / bytes : 2;
}

class ModelRun {
public:
    explicit ModelRun(const RunSpec &spec)
        : spec_(spec), painter_(spec), depth_(spec.depth), top_(spec.top), bottom_(spec.bottom),
          to_accept_(spec.empty() ? 0 : spec.height()), capacity_(strip_rows(spec)),
          column_(spec.origin ? (*spec.origin)[0] : spec.left),
          row_(spec.origin ? (*spec.origin)[1] : spec.top) {}

    int attribute(int which, int value) {
        if (which == 1) {
            if (value != 1 && value != -1)
                return 0;
            if (value != direction_)
                held_.clear();
            direction_ = value;
        } else if (which == 2 && value >= 1 && value < capacity_ &&
                   value * row_bytes(spec_) <= 49152) {
            capacity_ = value;
            held_.clear();
        }
        return 1;
    }

    int show(const std::uint8_t *image, int first_column, int first_row, int rows, int stride) {
        for (std::int64_t row = first_row; row < std::int64_t{first_row} + rows; ++row) {
            if (to_accept_ == 0)
                return 1;
            if (!held_.empty() && std::int64_t(held_.size()) == capacity_ && !flush())
                return 0;
            take(image + stride * row, first_column);
        }
        return 1;
    }

    int end() {
        if (!held_.empty())
            flush();
        return 1;
    }

    // That many drawings from now on fail.
    int failures = 0;

    const std::vector<Flush> &flushes() const { return flushes_; } // those that failed, too
    std::int64_t capacity() const { return capacity_; }
    std::int64_t held() const { return std::int64_t(held_.size()); }

private:
    void take(const std::uint8_t *row, int first_column) {
        std::vector<std::uint32_t> line;
        for (std::int64_t i = 0; i < spec_.width(); ++i)
            line.push_back(
                painter_.paint(source_pixel(row, depth_, first_column + i), column_ + i, row_));
        held_.push_back(std::move(line));
        ++row_;
        --to_accept_;
    }

    bool flush() {
        const auto count = std::int64_t(held_.size());
        Flush drawn{spec_.left, direction_ == 1 ? top_ : bottom_ - count, spec_.width(), count, {}};
        auto lines = held_;
        if (direction_ == -1)
            std::ranges::reverse(lines);
        for (const auto &line : lines)
            drawn.pixels.insert(drawn.pixels.end(), line.begin(), line.end());
        flushes_.push_back(std::move(drawn));
        if (failures > 0) {
            --failures;
            return false;
        }
        held_.clear();
        (direction_ == 1 ? top_ : bottom_) += direction_ * count;
        return true;
    }

    RunSpec spec_;
    Painter painter_;
    int depth_;
    std::int64_t top_, bottom_, to_accept_, capacity_;
    std::int64_t column_, row_; // of the matrix, for the left edge of the next row
    int direction_ = 1;
    std::vector<std::vector<std::uint32_t>> held_;
    std::vector<Flush> flushes_;
};

inline std::ostream &operator<<(std::ostream &out, const RunSpec &spec) {
    out << "type " << spec.type << ", depth " << spec.depth << ", (" << spec.left << ", "
        << spec.top << ")-(" << spec.right << ", " << spec.bottom << "), palette "
        << (spec.palette ? int(spec.palette->size()) : -1) << ", option " << spec.option
        << ", dither " << spec.dither << ", gamma " << spec.gamma.red << ' ' << spec.gamma.green
        << ' ' << spec.gamma.blue;
    if (spec.origin)
        out << ", origin " << (*spec.origin)[0] << ' ' << (*spec.origin)[1];
    return out;
}

} // namespace q32::test::model
