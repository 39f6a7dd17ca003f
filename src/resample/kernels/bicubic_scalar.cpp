// Bicubic interpolation, as the rule states it: the reference of the wide forms.
#include "resample/kernels/cubic_weights.h"
#include "resample/kernels/method_forms.h"

namespace q32::resample {
namespace {

constexpr int taps = 4;

struct Column {
    std::size_t tap[taps]; // bytes from the source row's first sample to each pixel's first
    CubicWeights weights;
};

const CubicWeights &weights_at(std::int32_t fraction) {
    return cubic_weights[phase_of(fraction & 0xFF)];
}

struct ScalarBicubic {
    using Plan = ScalarPlan<Column>;
    static constexpr int lines = taps, first_line = -1;
    static constexpr auto plan_bytes = Plan::bytes;

    static std::size_t line_bytes(std::size_t columns, int samples) {
        return columns * std::size_t(samples) * sizeof(std::int32_t);
    }

    static void make_plan(void *memory, const Positions &columns, Span source, int samples) {
        auto *plan = new (memory) Plan{columns.count, samples};
        for (std::size_t x = 0; x < columns.count; ++x) {
            Column &column = plan->column()[x];
            const int centre = source.cut(columns.index[x]);
            for (int i = 0; i < taps; ++i)
                column.tap[i] = std::size_t(source.distance(centre - 1 + i)) * samples;
            column.weights = weights_at(columns.fraction[x]);
        }
    }

    // A sum below black counts as black at once. Required: carried on as it is, it would darken
    // what the rows above and below make lighter, and a caller would see other pixels along bright
    // edges.
    static void across(void *line, void *memory, const std::uint8_t *source_row) {
        auto *plan = static_cast<Plan *>(memory);
        auto *to = static_cast<std::int32_t *>(line);
        for (std::size_t x = 0; x < plan->columns; ++x) {
            const Column &column = plan->column()[x];
            for (int sample = 0; sample < plan->samples; ++sample) {
                std::int32_t sum = 0;
                for (int i = 0; i < taps; ++i)
                    sum += column.weights[i] * source_row[column.tap[i] + sample];
                *to++ = sum < 0 ? 0 : (sum + 32) >> 6;
            }
        }
    }

    // The last shift does not round. Required too.
    static void down(std::uint8_t *destination, void *memory, const void *const *lines,
                     int row_fraction) {
        auto *plan = static_cast<Plan *>(memory);
        const CubicWeights &weights = weights_at(row_fraction);
        const std::size_t samples = plan->columns * plan->samples;
        for (std::size_t at = 0; at < samples; ++at) {
            std::int32_t sum = 0;
            for (int j = 0; j < taps; ++j)
                sum += static_cast<const std::int32_t *>(lines[j])[at] * weights[j];
            destination[at] = sum < 0 ? 0 : std::uint8_t(std::min(sum >> 22, 255));
        }
    }
};

} // namespace

constexpr MethodKernels scalar_bicubic_kernels = method_kernels<ScalarBicubic>();

} // namespace q32::resample
