// Bilinear interpolation as its definition reads: the reference. Every wide form gives the same
// bytes.
#include "resample/kernels/method_forms.h"

namespace q32::resample {
namespace {

struct Column {
    int left, right; // samples from the beginning of the source row
    int fraction;    // from left to right, in units of 1/65536
};

// What a destination sample reads of one source row.
struct Pair {
    std::uint8_t left, right;
};

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

struct ScalarBilinear {
    using Plan = ScalarPlan<Column>;
    static constexpr int lines = 2, first_line = 0;
    static constexpr auto plan_bytes = Plan::bytes;

    static std::size_t line_bytes(std::size_t columns, int samples) {
        return columns * std::size_t(samples) * sizeof(Pair);
    }

    static void make_plan(void *memory, const Positions &columns, Span source, int samples) {
        auto *plan = new (memory) Plan{columns.count, samples};
        for (std::size_t x = 0; x < columns.count; ++x) {
            const int left = columns.index[x], right = source.cut(left) + 1;
            plan->column()[x] = {source.distance(left) * samples, source.distance(right) * samples,
                                 columns.fraction[x] & 0xFFFF};
        }
    }

    static void across(void *line, void *memory, const std::uint8_t *source_row) {
        auto *plan = static_cast<Plan *>(memory);
        auto *pair = static_cast<Pair *>(line);
        for (std::size_t x = 0; x < plan->columns; ++x) {
            const Column &column = plan->column()[x];
            for (int sample = 0; sample < plan->samples; ++sample)
                *pair++ = {source_row[column.left + sample], source_row[column.right + sample]};
        }
    }

    static void down(std::uint8_t *destination, void *memory, const void *const *lines,
                     int row_fraction) {
        auto *plan = static_cast<Plan *>(memory);
        auto *above = static_cast<const Pair *>(lines[0]);
        auto *below = static_cast<const Pair *>(lines[1]);
        const int fy = row_fraction & 0xFFFF;
        for (std::size_t x = 0; x < plan->columns; ++x)
            for (int sample = 0; sample < plan->samples; ++sample)
                *destination++ = interpolate(*above++, *below++, plan->column()[x].fraction, fy);
    }
};

} // namespace

constexpr MethodKernels scalar_bilinear_kernels = method_kernels<ScalarBilinear>();

} // namespace q32::resample
