// Lays trials out in fenced memory, runs them and compares. Leaves what a trial is good for to the
// tests.
#include "tests/resample_kernels/resample_stage.h"

#include "tests/kernels/compared.h"
#include "tests/kernels/running.h"

#include <gtest/gtest.h>

namespace q32::test {
namespace {

using model::Axis;
using model::Image;
using model::Method;
using resample::DestinationImage;
using resample::MethodKernels;
using resample::Positions;
using resample::ResampleKernels;
using resample::SourceImage;
using resample::Span;

bool same_forms(const ResampleKernels &a, const ResampleKernels &b, Method method) {
    const MethodKernels &one = kernels_of(a, method), &other = kernels_of(b, method);
    return one.make_plan == other.make_plan && one.across == other.across &&
           one.across_rows == other.across_rows && one.down == other.down &&
           one.make_rows == other.make_rows && one.straight == other.straight;
}

std::vector<ResampleLevel> distinct_levels(Method method) {
    std::vector<ResampleLevel> distinct;
    for (const ResampleLevel &level :
         levels_of_this_machine(resample::scalar_resample_kernels, resample::resample_kernels)) {
        const auto has_its_forms = [&](const ResampleLevel &other) {
            return same_forms(*level.kernels, *other.kernels, method);
        };
        if (std::none_of(distinct.begin(), distinct.end(), has_its_forms))
            distinct.push_back(level);
    }
    return distinct;
}

// The bytes of an image with so many others between its rows, but none behind the last one.
Bytes laid_out(const Image &image, std::size_t padding, std::uint8_t others) {
    if (image.height == 0 || image.width == 0)
        return {};
    const std::size_t stride = image.row_bytes() + padding;
    Bytes bytes(std::size_t(image.height) * stride - padding, others);
    for (int y = 0; y < image.height; ++y)
        std::copy_n(image.row(y), image.row_bytes(), bytes.data() + std::size_t(y) * stride);
    return bytes;
}

// Where in an image a difference lies, and what was wanted there.
std::string said(std::size_t at, const Trial &trial, const Image &expected, std::size_t stride) {
    const std::size_t y = at / stride, x = at % stride;
    if (x >= expected.row_bytes())
        return "behind row " + std::to_string(y);
    const auto place = [](const Axis &axis, std::size_t i) {
        return std::to_string(i) + " (index " + std::to_string(axis.index[i]) +
               (axis.fraction.empty() ? "" : ", fraction " + std::to_string(axis.fraction[i])) +
               ")";
    };
    return "byte " + std::to_string(x % expected.pixel_bytes) + " of column " +
           place(trial.columns, x / expected.pixel_bytes) + " in row " + place(trial.rows, y);
}

} // namespace

const std::vector<ResampleLevel> &resample_levels(Method method) {
    static const std::vector<ResampleLevel> levels[] = {distinct_levels(Method::nearest),
                                                        distinct_levels(Method::bilinear),
                                                        distinct_levels(Method::bicubic)};
    return levels[int(method)];
}

const MethodKernels &kernels_of(const ResampleKernels &kernels, Method method) {
    const MethodKernels *const of_methods[] = {kernels.nearest, kernels.bilinear, kernels.bicubic};
    return *of_methods[int(method)]; // cppcheck-suppress returnReference
}

const char *name_of(Method method) {
    constexpr const char *names[] = {"nearest", "bilinear", "bicubic"};
    return names[int(method)];
}

std::string describe(const Trial &trial) {
    const auto side = [](int first, int count, const Axis &axis) {
        return std::to_string(count) + " from " + std::to_string(first) + " to " +
               std::to_string(axis.count());
    };
    const Image &source = trial.source;
    return std::string{name_of(trial.method)} + ", " + std::to_string(source.pixel_bytes) +
           " bytes, columns: " + side(source.left, source.width, trial.columns) +
           ", rows: " + side(source.top, source.height, trial.rows);
}

Layout random_layout(Random &random) {
    const auto padding = [&] { return random.below(2) == 0 ? 0 : random.below(70); };
    return {.source_at_end = random.below(2) == 0,
            .destination_at_end = random.below(2) == 0,
            .tables_at_end = random.below(2) == 0,
            .source_padding = padding(),
            .destination_padding = padding(),
            .work_distance = random.below(64)};
}

// --- running ---------------------------------------------------------------------------------

bool Stage::run(const Trial &trial, const Layout &layout) {
    const Image expected = model::resampled(trial.method, trial.source, trial.columns, trial.rows);
    bool right = true;
    for (const ResampleLevel &level : resample_levels(trial.method)) {
        const MethodKernels &kernels = kernels_of(*level.kernels, trial.method);
        right &= run_form(level.name, kernels, trial, layout, expected);
        if (kernels.across_rows != nullptr) {
            MethodKernels one_by_one = kernels;
            one_by_one.across_rows = nullptr;
            const std::string name = std::string{level.name} + " one by one";
            right &= run_form(name.c_str(), one_by_one, trial, layout, expected);
        }
        if (kernels.make_rows != nullptr) {
            MethodKernels in_turns = kernels;
            in_turns.make_rows = nullptr;
            const std::string name = std::string{level.name} + " in turns";
            right &= run_form(name.c_str(), in_turns, trial, layout, expected);
        }
        MethodKernels by_lines = kernels;
        by_lines.straight = nullptr;
        if (kernels.straight != nullptr) {
            const std::string name = std::string{level.name} + " by lines";
            right &= run_form(name.c_str(), by_lines, trial, layout, expected);
        }
        if (kernels.down_rows == nullptr)
            continue;
        MethodKernels row_by_row = by_lines;
        row_by_row.down_rows = nullptr;
        row_by_row.make_rows = nullptr;
        const std::string name = std::string{level.name} + " row by row";
        right &= run_form(name.c_str(), row_by_row, trial, layout, expected);
    }
    return right;
}

bool Stage::run_everywhere(const Trial &trial, Random &random) {
    for (const bool at_end : {true, false})
        if (!run(trial,
                 {.source_at_end = at_end, .destination_at_end = at_end, .tables_at_end = at_end}))
            return false;
    return run(trial, random_layout(random));
}

bool Stage::run_form(const char *name, const MethodKernels &kernels, const Trial &trial,
                     const Layout &layout, const Image &expected) {
    noise_ = std::uint8_t(noise_ * 5 + 113);
    const Bytes from = laid_out(trial.source, layout.source_padding, noise_);
    const SourceImage source{source_.hold(from, {layout.source_at_end}),
                             trial.source.row_bytes() + layout.source_padding,
                             Span{trial.source.left, trial.source.width},
                             Span{trial.source.top, trial.source.height}};
    const Bytes wanted = laid_out(expected, layout.destination_padding, noise_);
    const std::size_t stride = expected.row_bytes() + layout.destination_padding;
    const DestinationImage destination{
        destination_.hold(Bytes(wanted.size(), noise_), {layout.destination_at_end}), stride,
        lay_down(trial.columns, columns_, layout.tables_at_end),
        lay_down(trial.rows, rows_, layout.tables_at_end)};
    const auto samples = int(trial.source.pixel_bytes);
    const std::size_t columns = trial.columns.index.size();
    const Bytes work(resample::RowResampler::work_bytes(kernels, columns, samples), noise_);
    std::uint8_t *const work_at = work_.hold(work, {true, layout.work_distance});
    {
        const Running running{[&] { return std::string{name} + ", " + describe(trial); }};
        resample_image(kernels, destination, source, samples, work_at);
    }

    std::string wrong = destination_.difference(wanted);
    const std::size_t at = first_difference(destination.pixels, wanted.data(), wanted.size());
    if (at != wanted.size())
        wrong += ": " + said(at, trial, expected, stride);
    else if (wrong.empty() && !(wrong = source_.difference(from)).empty())
        wrong = "the source was changed: " + wrong;
    count_compared(name, std::size_t(expected.width) * std::size_t(expected.height));
    if (wrong.empty())
        return true;
    ADD_FAILURE() << name << ", " << describe(trial) << ": " << wrong
                  << (running_case == no_case ? "" : "; " + rerun(running_case));
    return false;
}

// A table for the indices and, where there are any, one for the fractions.
Positions Stage::lay_down(const Axis &axis, FencedBlock *tables, bool at_end) {
    const auto table = [&](FencedBlock &block, const std::vector<std::int32_t> &numbers) {
        const auto *const bytes = reinterpret_cast<const std::uint8_t *>(numbers.data());
        return reinterpret_cast<const std::int32_t *>(
            block.hold({bytes, numbers.size() * sizeof numbers[0]}, {at_end}));
    };
    return {table(tables[0], axis.index),
            axis.fraction.empty() ? nullptr : table(tables[1], axis.fraction), axis.index.size()};
}

// --- random trials ---------------------------------------------------------------------------

int between(Random &random, int first, int last) {
    return first + int(random.below(std::size_t(last - first + 1)));
}

void paint(Random &random, Image &image) {
    switch (random.below(4)) {
    case 0:
        random.fill(image.bytes);
        break;
    case 1: // black and white: the largest differences and overshoots
        for (std::uint8_t &byte : image.bytes)
            byte = random.below(2) == 0 ? 0 : 255;
        break;
    case 2: { // runs of one value that do not end with a pixel or a row
        std::size_t left = 0;
        std::uint8_t value = 0;
        for (std::uint8_t &byte : image.bytes) {
            if (left-- == 0) {
                left = random.below(9);
                value = random.below(2) == 0 ? std::uint8_t(random.below(2) * 255) : random.byte();
            }
            byte = value;
        }
        break;
    }
    default: { // a ramp near black or near white
        const auto slope = std::uint8_t(1 + random.below(7));
        auto value = std::uint8_t(random.below(2) == 0 ? 0 : 250);
        for (std::uint8_t &byte : image.bytes)
            byte = value = std::uint8_t(value + random.below(slope));
    }
    }
}

namespace {

constexpr int units_of(Method method) {
    return method == Method::bicubic ? 256 : 65536;
}

} // namespace

Axis axis_of(Random &random, Method method, int destination, int source) {
    if (method == Method::nearest && random.below(2) == 0)
        return model::nearest_cell_axis(destination, source);
    Axis axis = random.below(2) == 0
                    ? model::cell_axis(destination, source)
                    : model::table_axis(destination, source, model::Units::of_65536);
    for (std::int32_t &fraction : axis.fraction)
        fraction /= 65536 / units_of(method);
    return axis;
}

Line line_by_ratio(Random &random, Method method, int count) {
    // The axis that it is a part of, and where.
    const int before = random.below(2) == 0 ? 0 : between(random, 0, 40);
    const int behind = random.below(2) == 0 ? 0 : between(random, 0, 40);
    const int destination = std::max(1, before + count + behind);
    const int ratio = between(random, 1, 32);
    const int source = random.below(2) == 0
                           ? std::max(1, destination / ratio + between(random, 0, 3))
                           : destination * ratio + between(random, 0, 3);
    const Axis whole = axis_of(random, method, destination, source);
    Line line;
    const auto part = [&](const std::vector<std::int32_t> &table) {
        if (table.empty())
            return table;
        return std::vector<std::int32_t>(table.begin() + before, table.begin() + before + count);
    };
    line.axis = {part(whole.index), part(whole.fraction)};
    // What the taps need, cut to the image; or more.
    const int more = random.below(2) == 0 ? 0 : between(random, 0, 5);
    const int first = count == 0 ? 0 : line.axis.index.front();
    const int last = count == 0 ? 0 : line.axis.index.back();
    line.first = std::max(0, first - (method == Method::bicubic ? 1 : 0) - more);
    line.count =
        std::min(source - 1, last + (method == Method::nearest ? 0 : 2) + more) - line.first + 1;
    return line;
}

Line line_by_two(Random &random, Method method, int count) {
    const bool doubled = random.below(2) == 0;
    Line line;
    line.first = random.below(2) == 0 ? 0 : between(random, 0, 1000);
    int index = line.first + (random.below(2) == 0 ? 0 : between(random, 0, 5));
    const int jumps = random.below(2) == 0 ? 0 : between(random, 1, 6);
    const int drift = random.below(2) == 0 ? 0 : 65536 / std::max(1, count);
    for (int i = 0; i < count; ++i) {
        line.axis.index.push_back(index);
        index += doubled ? i % 2 : 2;
        if (jumps != 0 && i % (count / jumps + 1) == count / (jumps + 1))
            index += between(random, 0, 1);
        const int fraction = doubled ? i % 2 * 0x8000 : i * drift % 65536;
        if (method != Method::nearest)
            line.axis.fraction.push_back(fraction / (65536 / units_of(method)));
    }
    const int taps = method == Method::nearest ? 0 : between(random, 0, 3);
    line.count = (count == 0 ? index : line.axis.index.back()) - line.first + 1 + taps;
    return line;
}

Line line_in_order(Random &random, Method method, int count) {
    Line line = line_at_random(random, method, count);
    const int most = between(random, 1, 4);
    const auto stays = random.below(8);
    int index = line.first;
    for (std::int32_t &place : line.axis.index) {
        place = index;
        index += random.below(8) < stays ? 0 : between(random, 1, most);
    }
    const int taps = method == Method::nearest ? 0 : between(random, 0, 3);
    line.count = (count == 0 ? index : line.axis.index.back()) - line.first + 1 + taps;
    return line;
}

Line line_at_random(Random &random, Method method, int count) {
    Line line;
    line.first = random.below(2) == 0 ? 0 : between(random, 0, 1000);
    line.count = random.below(3) == 0 ? between(random, 1, 5) : between(random, 1, 300);
    const bool whole_pixels = random.below(8) == 0;
    for (int i = 0; i < count; ++i) {
        line.axis.index.push_back(between(random, line.first, line.first + line.count - 1));
        if (method == Method::nearest)
            continue;
        const int most = units_of(method) - 1;
        const int extremes[] = {0, 1, most / 2, most / 2 + 1, most - 1, most};
        line.axis.fraction.push_back(whole_pixels           ? 0
                                     : random.below(4) == 0 ? extremes[random.below(6)]
                                                            : between(random, 0, most));
    }
    return line;
}

} // namespace q32::test
