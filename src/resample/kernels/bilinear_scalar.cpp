// Bilinear interpolation as its definition reads. Every wide form gives the same bytes.
#include "resample/kernels/resample_tables.h"

namespace q32::resample {
namespace {

struct Plan {
    std::size_t count; // columns
    int samples;       // of a pixel
};

struct Column {
    int left, right; // samples from the beginning of the source row
    int fraction;    // from left to right, in units of 1/65536
};

// What a destination sample reads of one source row.
struct Pair {
    std::uint8_t left, right;
};

Column *columns_of(void *plan) {
    return reinterpret_cast<Column *>(static_cast<Plan *>(plan) + 1);
}

// The differences are halved and quartered so that no product leaves 32 bits. What that loses is
// part of the result: two equal rows of 1 and 0 give 0 everywhere between them.
std::uint8_t interpolate(Pair above, Pair below, int fx, int fy) {
    const int p00 = above.left, p10 = above.right;
    const int p01 = below.left, p11 = below.right;
    const int b = (p01 - p00) >> 1;
    const int c = (p10 - p00) >> 1;
    const int d = (p00 - p01 - p10 + p11) >> 2;
    const int f = int(unsigned(fx) * unsigned(fy) >> 16);
    const int value = p00 + ((fy * b) >> 15) + ((fx * c) >> 15) + ((f * d) >> 14);
    return std::uint8_t(std::clamp(value, 0, 255));
}

std::size_t plan_bytes(std::size_t columns, int) {
    return sizeof(Plan) + columns * sizeof(Column);
}

std::size_t line_bytes(std::size_t columns, int samples) {
    return columns * std::size_t(samples) * sizeof(Pair);
}

void make_plan(void *plan, const Positions &columns, Extent source, int samples) {
    *static_cast<Plan *>(plan) = {columns.count, samples};
    Column *column = columns_of(plan);
    for (std::size_t x = 0; x < columns.count; ++x) {
        const int left = source.cut(columns.index[x]);
        const int right = left < source.last() ? left + 1 : left;
        column[x] = {(left - source.first) * samples, (right - source.first) * samples,
                     columns.fraction[x] & 0xFFFF};
    }
}

void across(void *line, void *plan, const std::uint8_t *source_row) {
    const auto [count, samples] = *static_cast<const Plan *>(plan);
    const Column *column = columns_of(plan);
    auto *pair = static_cast<Pair *>(line);
    for (std::size_t x = 0; x < count; ++x)
        for (int sample = 0; sample < samples; ++sample)
            *pair++ = {source_row[column[x].left + sample], source_row[column[x].right + sample]};
}

void down(std::uint8_t *destination, void *plan, const void *const *lines, int row_fraction) {
    const auto [count, samples] = *static_cast<const Plan *>(plan);
    const Column *column = columns_of(plan);
    auto *above = static_cast<const Pair *>(lines[0]);
    auto *below = static_cast<const Pair *>(lines[1]);
    const int fy = row_fraction & 0xFFFF;
    for (std::size_t x = 0; x < count; ++x)
        for (int sample = 0; sample < samples; ++sample)
            *destination++ = interpolate(*above++, *below++, column[x].fraction, fy);
}

} // namespace

const MethodKernels bilinear_scalar{2, 0, plan_bytes, line_bytes, make_plan, across, down};

} // namespace q32::resample
