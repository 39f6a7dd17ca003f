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
inline std::int64_t row_bytes(const RunSetup &setup) {
    const std::int64_t width = setup.empty() ? 0 : setup.width();
    switch (strip_of(path_of(setup))) {
    case Strip::bits:
        return (width + 15) / 16 * 2;
    case Strip::planes:
        // Never less than the four rows that are put into it.
        return std::max((width * setup.device_bits + 15) / 16 * 2 * setup.device_planes,
                        (width + 15) / 16 * 2 * 4);
    case Strip::places:
        return (width * 8 + 31) / 32 * 4;
    default:
        return (width * 24 + 31) / 32 * 4;
    }
}

inline std::int64_t strip_rows(const RunSetup &setup) {
    if (setup.empty())
        return 0;
    const std::int64_t bytes = row_bytes(setup);
    const std::int64_t cap = strip_of(path_of(setup)) == Strip::bits ? 24576 : 49152;
    if (bytes * setup.height() <= cap)
        return setup.height();
    return bytes <= cap ? cap / bytes : 2;
}

class ModelRun {
public:
    explicit ModelRun(const RunSetup &setup)
        : setup_(setup), painter_(setup), depth_(setup.depth), top_(setup.top),
          bottom_(setup.bottom), to_accept_(setup.empty() ? 0 : setup.height()),
          capacity_(strip_rows(setup)), column_(setup.origin ? (*setup.origin)[0] : setup.left),
          row_(setup.origin ? (*setup.origin)[1] : setup.top) {}

    int attribute(int which, int value) {
        if (which == 1) {
            if (value != 1 && value != -1)
                return 0;
            if (value != direction_)
                held_.clear();
            direction_ = value;
        } else if (which == 2 && value >= 1 && value < capacity_ &&
                   value * row_bytes(setup_) <= 49152) {
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

    // For the rows that come from now on; those that are held stay as they are.
    void correct(const Percents &gamma) {
        setup_.gamma = gamma;
        painter_ = Painter(setup_);
    }

    // That many drawings from now on fail.
    int failures = 0;

    const std::vector<Flush> &flushes() const { return flushes_; } // those that failed, too
    std::int64_t capacity() const { return capacity_; }
    std::int64_t held() const { return std::int64_t(held_.size()); }

private:
    void take(const std::uint8_t *row, int first_column) {
        std::vector<std::uint32_t> line;
        for (std::int64_t i = 0; i < setup_.width(); ++i)
            line.push_back(
                painter_.paint(source_pixel(row, depth_, first_column + i), column_ + i, row_));
        held_.push_back(std::move(line));
        ++row_;
        --to_accept_;
    }

    bool flush() {
        const auto count = std::int64_t(held_.size());
        Flush drawn{
            setup_.left, direction_ == 1 ? top_ : bottom_ - count, setup_.width(), count, {}};
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

    RunSetup setup_;
    Painter painter_;
    int depth_;
    std::int64_t top_, bottom_, to_accept_, capacity_;
    std::int64_t column_, row_; // of the matrix, for the left edge of the next row
    int direction_ = 1;
    std::vector<std::vector<std::uint32_t>> held_;
    std::vector<Flush> flushes_;
};

inline std::ostream &operator<<(std::ostream &out, const RunSetup &setup) {
    out << "type " << setup.type << ", depth " << setup.depth << ", (" << setup.left << ", "
        << setup.top << ")-(" << setup.right << ", " << setup.bottom << "), palette "
        << (setup.palette ? int(setup.palette->size()) : -1) << ", option " << setup.option
        << ", dither " << setup.dither << ", gamma " << setup.gamma.red << ' ' << setup.gamma.green
        << ' ' << setup.gamma.blue;
    if (setup.origin)
        out << ", origin " << (*setup.origin)[0] << ' ' << (*setup.origin)[1];
    return out;
}

} // namespace q32::test::model
