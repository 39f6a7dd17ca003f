// The rules of resampling, written down. Products and sums are as wide as they need to be, so that
// nothing is lost but where a rule says so.
#include "tests/models/resampling.h"

#include "tests/models/rows.h"

#include <algorithm>
#include <cstring>

namespace q32::test::model {
namespace {

// i / denominator x numerator, from left to right.
struct Scale {
    double denominator;
    double numerator;

    double at(int i) const { return double(i) / denominator * numerator; }
};

Scale scale_that_meets_ends(int destination, int source) {
    if (destination < source)
        return {destination == 1 ? 1.0 : double(destination - 1), double(source - 1)};
    return {double(destination), double(source)};
}

// A position is at least 0, so that conversion truncates towards it.
void add_place(Axis &axis, double position, int source) {
    const auto index = std::int64_t(position);
    if (index < source) {
        axis.index.push_back(std::int32_t(index));
        axis.fraction.push_back(std::int32_t((position - double(index)) * 65536.0));
    } else {
        axis.index.push_back(source - 1);
        axis.fraction.push_back(0);
    }
}

std::uint8_t limited(std::int64_t value) {
    return std::uint8_t(std::clamp<std::int64_t>(value, 0, 255));
}

std::uint8_t bilinear_sample(const Image &source, std::int64_t column, std::int64_t row,
                             std::size_t k, int fx, int fy) {
    const auto sample = [&](int right, int down) {
        return int{source.pixel(column + right, row + down)[k]};
    };
    return bilinear(sample(0, 0), sample(1, 0), sample(0, 1), sample(1, 1), std::uint32_t(fx),
                    std::uint32_t(fy));
}

std::uint8_t bicubic_sample(const Image &source, std::int64_t column, std::int64_t row,
                            std::size_t k, int fx, int fy) {
    Block block;
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            block[std::size_t(j)][std::size_t(i)] = source.pixel(column - 1 + i, row - 1 + j)[k];
    return bicubic(block, cubic_phase(fx), cubic_phase(fy));
}

} // namespace

// --- positions -------------------------------------------------------------------------------

Axis table_axis(int destination, int source, Units units) {
    const Scale scale = scale_that_meets_ends(destination, source);
    Axis axis;
    for (int i = 0; i < destination; ++i)
        add_place(axis, double(float(scale.at(i))), source);
    if (units == Units::of_256)
        for (std::int32_t &fraction : axis.fraction)
            fraction /= 256;
    return axis;
}

Axis cell_axis(int destination, int source) {
    const Scale scale{double(destination), double(source)};
    Axis axis;
    for (int i = 0; i < destination; ++i)
        add_place(axis, scale.at(i), source);
    return axis;
}

Axis nearest_cell_axis(int destination, int source) {
    const Scale scale = scale_that_meets_ends(destination, source);
    Axis axis;
    for (int i = 0; i < destination; ++i) {
        const auto index = std::int64_t(double(float(scale.at(i))) + 0.5);
        axis.index.push_back(std::int32_t(std::min<std::int64_t>(index, source - 1)));
    }
    return axis;
}

// --- single samples --------------------------------------------------------------------------

std::uint8_t bilinear(int p00, int p10, int p01, int p11, std::uint32_t fx, std::uint32_t fy) {
    const std::int64_t b = (p01 - p00) >> 1;
    const std::int64_t c = (p10 - p00) >> 1;
    const std::int64_t d = (p00 - p01 - p10 + p11) >> 2;
    const auto f = std::int64_t((std::uint64_t{fx} * fy) >> 16);
    return limited(p00 + ((fy * b) >> 15) + ((fx * c) >> 15) + ((f * d) >> 14));
}

int cubic_phase(int fraction) {
    return (fraction + 8) / 17;
}

std::array<int, 4> cubic_weights(int phase) {
    const int t = 17 * phase;
    const int T = 64 * t;
    const int T2 = (t * t + 1) >> 2;
    const int T3 = (t * t * t + 512) >> 10;
    return {T2 - T3 / 2 - T / 2, T3 * 3 / 2 - T2 * 5 / 2 + 16384, T2 * 2 - T3 * 3 / 2 + T / 2,
            T3 / 2 - T2 / 2};
}

std::uint8_t bicubic(const Block &rows, int column_phase, int row_phase) {
    const std::array<int, 4> across = cubic_weights(column_phase);
    const std::array<int, 4> down = cubic_weights(row_phase);
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        std::int64_t h = 0;
        for (std::size_t i = 0; i < 4; ++i)
            h += std::int64_t{across[i]} * rows[j][i];
        if (h >= 0)
            sum += ((h + 32) >> 6) * down[j];
    }
    return limited(sum < 0 ? 0 : sum >> 22);
}

// --- images ----------------------------------------------------------------------------------

int Image::nearest_column(int column) const {
    return std::clamp(column, left, left + width - 1);
}

int Image::nearest_row(int row) const {
    return std::clamp(row, top, top + height - 1);
}

const std::uint8_t *Image::pixel(int column, int row) const {
    const auto x = std::size_t(nearest_column(column) - left);
    const auto y = std::size_t(nearest_row(row) - top);
    return bytes.data() + (y * std::size_t(width) + x) * pixel_bytes;
}

Image widened(const Image &words) {
    Image colours(words.width, words.height, 3);
    colours.bytes = widen(words.bytes, words.bytes.size() / 2, layout_555);
    return colours;
}

Image narrowed(const Image &colours) {
    Image words(colours.width, colours.height, 2);
    words.bytes = narrow(colours.bytes, colours.bytes.size() / 3, layout_555);
    return words;
}

Image resampled(Method method, const Image &source, const Axis &columns, const Axis &rows) {
    Image result(columns.count(), rows.count(), source.pixel_bytes);
    std::uint8_t *to = result.bytes.data();
    for (std::size_t y = 0; y < rows.index.size(); ++y)
        for (std::size_t x = 0; x < columns.index.size(); ++x) {
            const int column = source.nearest_column(columns.index[x]);
            const int row = source.nearest_row(rows.index[y]);
            if (method == Method::nearest) {
                std::memcpy(to, source.pixel(column, row), source.pixel_bytes);
                to += source.pixel_bytes;
                continue;
            }
            const int fx = columns.fraction[x], fy = rows.fraction[y];
            for (std::size_t k = 0; k < source.pixel_bytes; ++k)
                *to++ = method == Method::bilinear
                            ? bilinear_sample(source, column, row, k, fx & 0xFFFF, fy & 0xFFFF)
                            : bicubic_sample(source, column, row, k, fx & 0xFF, fy & 0xFF);
        }
    return result;
}

} // namespace q32::test::model
