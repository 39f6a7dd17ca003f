// Lays trials out in fenced memory, runs them and compares. Leaves what a trial is good for to the
// tests.
#include "tests/resample_kernels/resample_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

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

constexpr std::size_t margin = 192; // bytes beside a destination that must stay as they were

// What is being run, for the message of a crash.
struct {
    const char *level = nullptr; // null: nothing
    const Trial *trial = nullptr;
} current;

void say_what_crashed() {
    if (current.level == nullptr)
        return;
    std::fprintf(stderr, "\ncrash in %s, %s; %s\n", current.level, describe(*current.trial).c_str(),
                 running_case == no_case ? "no random case" : rerun(running_case).c_str());
    std::fflush(stderr);
}

#if defined(_WIN32)
LPTOP_LEVEL_EXCEPTION_FILTER next_filter = nullptr;

LONG WINAPI crashed(EXCEPTION_POINTERS *pointers) {
    say_what_crashed();
    return next_filter ? next_filter(pointers) : EXCEPTION_CONTINUE_SEARCH;
}
#else
void crashed(int) {
    say_what_crashed();
    std::_Exit(3);
}
#endif

// Says before the tests which seed they run with, and in a crash what was running.
class Announcer : public testing::Environment {
public:
    void SetUp() override {
        std::printf("seed of the random cases: %llu\n",
                    static_cast<unsigned long long>(test_seed()));
#if defined(_WIN32)
        next_filter = SetUnhandledExceptionFilter(crashed);
#else
        std::signal(SIGSEGV, crashed);
        std::signal(SIGBUS, crashed);
        std::signal(SIGILL, crashed);
#endif
    }
};
[[maybe_unused]] testing::Environment *const announcer =
    testing::AddGlobalTestEnvironment(new Announcer);

bool same_forms(const ResampleKernels &a, const ResampleKernels &b, Method method) {
    const MethodKernels &one = kernels_of(a, method), &other = kernels_of(b, method);
    return one.make_plan == other.make_plan && one.across == other.across && one.down == other.down;
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

std::uint8_t *place_in(const FencedMemory &memory, std::size_t bytes, bool at_end) {
    return at_end ? memory.end() - bytes : memory.begin();
}

const std::int32_t *lay_down(const FencedMemory &memory, const std::vector<std::int32_t> &table,
                             bool at_end) {
    const std::size_t bytes = table.size() * sizeof(std::int32_t);
    std::uint8_t *const place = place_in(memory, bytes, at_end);
    auto *const first = reinterpret_cast<std::int32_t *>(place);
    std::copy(table.begin(), table.end(), first);
    return first;
}

// Bytes of an image whose last row has no padding behind it.
std::size_t laid_out_bytes(const Image &image, std::size_t padding) {
    if (image.height == 0 || image.width == 0)
        return 0;
    return std::size_t(image.height) * (image.row_bytes() + padding) - padding;
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
        if (kernels.down_rows == nullptr)
            continue;
        MethodKernels row_by_row = kernels;
        row_by_row.down_rows = nullptr;
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
    const SourceImage source = lay_down_source(trial.source, layout);
    const DestinationImage destination = lay_down_destination(trial, layout, expected);
    const auto samples = int(trial.source.pixel_bytes);
    const std::size_t columns = trial.columns.index.size();
    const std::size_t bytes = resample::RowResampler::work_bytes(kernels, columns, samples);
    std::uint8_t *const work = work_.end() - layout.work_distance - bytes;
    std::memset(work, canary_ + 1, bytes);
    current = {name, &trial};
    resample_image(kernels, destination, source, samples, work);
    current = {};

    std::string difference = difference_in(destination, trial, expected);
    if (difference.empty() && !is(source, trial.source))
        difference = "the source was changed";
    if (difference.empty())
        return true;
    ADD_FAILURE() << name << ", " << describe(trial) << ": " << difference
                  << (running_case == no_case ? "" : "; " + rerun(running_case));
    return false;
}

SourceImage Stage::lay_down_source(const Image &image, const Layout &layout) {
    const std::size_t stride = image.row_bytes() + layout.source_padding;
    std::uint8_t *const pixels =
        place_in(source_, laid_out_bytes(image, layout.source_padding), layout.source_at_end);
    for (int y = 0; y < image.height; ++y)
        std::memcpy(pixels + std::size_t(y) * stride, image.row(y), image.row_bytes());
    return {pixels, stride, Span{image.left, image.width}, Span{image.top, image.height}};
}

DestinationImage Stage::lay_down_destination(const Trial &trial, const Layout &layout,
                                             const Image &expected) {
    // Other surroundings in every run: no stray write matches them for long.
    canary_ = std::uint8_t(canary_ * 5 + 113);
    const std::size_t bytes = laid_out_bytes(expected, layout.destination_padding);
    std::uint8_t *const pixels = place_in(destination_, bytes, layout.destination_at_end);
    around_ = std::max(pixels - margin, destination_.begin());
    around_end_ = std::min(pixels + bytes + margin, destination_.end());
    std::memset(around_, canary_, std::size_t(around_end_ - around_));

    const bool at_end = layout.tables_at_end;
    const auto positions = [&](int memory, const Axis &axis) {
        return Positions{
            lay_down(tables_[memory], axis.index, at_end),
            axis.fraction.empty() ? nullptr : lay_down(tables_[memory + 1], axis.fraction, at_end),
            axis.index.size()};
    };
    return {pixels, expected.row_bytes() + layout.destination_padding, positions(0, trial.columns),
            positions(2, trial.rows)};
}

// Empty when the block is as it must be, surroundings and padding included.
std::string Stage::difference_in(const DestinationImage &made, const Trial &trial,
                                 const Image &expected) const {
    Bytes wanted(std::size_t(around_end_ - around_), canary_);
    for (int y = 0; y < expected.height; ++y)
        std::copy_n(expected.row(y), expected.row_bytes(),
                    wanted.begin() + (made.pixels - around_) +
                        std::ptrdiff_t(std::size_t(y) * made.stride));
    if (std::memcmp(wanted.data(), around_, wanted.size()) == 0)
        return "";
    const auto differs = std::mismatch(wanted.begin(), wanted.end(), around_);
    const std::ptrdiff_t at = differs.second - made.pixels;
    const std::size_t y = std::size_t(at) / made.stride, x = std::size_t(at) % made.stride;
    if (at < 0 || y >= std::size_t(expected.height) || x >= expected.row_bytes())
        return "bytes beside the destination's pixels were written";
    const auto place = [](const Axis &axis, std::size_t i) {
        return std::to_string(i) + " (index " + std::to_string(axis.index[i]) +
               (axis.fraction.empty() ? "" : ", fraction " + std::to_string(axis.fraction[i])) +
               ")";
    };
    return "byte " + std::to_string(x % expected.pixel_bytes) + " of column " +
           place(trial.columns, x / expected.pixel_bytes) + " in row " + place(trial.rows, y) +
           " is " + std::to_string(*differs.second) + ", expected " +
           std::to_string(*differs.first);
}

bool Stage::is(const SourceImage &source, const Image &image) {
    for (int y = 0; y < image.height; ++y)
        if (std::memcmp(source.pixels + std::size_t(y) * source.stride, image.row(y),
                        image.row_bytes()) != 0)
            return false;
    return true;
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

} // namespace

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
