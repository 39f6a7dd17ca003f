// Resampling by tables that may say anything, by every method and instruction set.
#include "resample/kernels/row_resampler.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::resample;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_resample_kernels, resample_kernels);
    return all;
}

// The tables of an axis. Programs hand over their own, so anything may stand there; mostly it is a
// ramp.
struct Axis {
    Block index, fraction;
    Span source;
    std::size_t count;

    Positions positions() const {
        const void *const indices = index.at(), *const fractions = fraction.at();
        return {static_cast<const std::int32_t *>(indices),
                static_cast<const std::int32_t *>(fractions), count};
    }
};

Bytes as_bytes(const std::vector<std::int32_t> &numbers) {
    Bytes bytes(numbers.size() * sizeof(std::int32_t));
    if (!bytes.empty())
        std::memcpy(bytes.data(), numbers.data(), bytes.size());
    return bytes;
}

Axis axis_of(Input &input, std::size_t most) {
    const std::size_t count = input.length(most) % (most + 1);
    const Span source{input.flag() ? 0 : input.between(0, 1000), 1 + int(input.length(most))};
    const std::size_t kind = input.below(4);
    std::int64_t at = std::int64_t(source.first) << 16;
    const std::int64_t step = input.number<std::uint32_t>() >> input.below(32);
    std::vector<std::int32_t> index(count), fraction(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (kind == 0) {
            index[i] = input.any_int();
            fraction[i] = input.any_int();
        } else {
            index[i] = int(std::min<std::int64_t>(at >> 16, INT32_MAX));
            fraction[i] = kind == 1 ? int(at & 0xFFFF) : kind == 2 ? int(at >> 8 & 0xFF) : 0;
            at += step;
        }
    }
    return {Block{as_bytes(index)}, Block{as_bytes(fraction)}, source, count};
}

struct Choice {
    const MethodKernels *ResampleKernels::*method;
    std::size_t samples;
};

Choice choice_of(Input &input) {
    constexpr std::size_t interpolated[] = {1, 3, 4};
    switch (input.below(3)) {
    case 0:
        return {&ResampleKernels::nearest, 1 + input.below(8)};
    case 1:
        return {&ResampleKernels::bilinear, interpolated[input.below(3)]};
    default:
        return {&ResampleKernels::bicubic, interpolated[input.below(3)]};
    }
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    const Choice choice = choice_of(input);
    const Axis columns = axis_of(input, 700), rows = axis_of(input, 24);
    const std::size_t row_bytes = columns.count * choice.samples,
                      source_row_bytes = std::size_t(columns.source.count) * choice.samples;
    const std::size_t stride = row_bytes + input.below(9),
                      source_stride = source_row_bytes + input.below(9);
    const std::size_t work_shift = input.below(64);
    const auto bytes_of = [](std::size_t count, std::size_t step, std::size_t last) {
        return count == 0 ? 0 : (count - 1) * step + last;
    };
    const std::vector<Place> places{
        place(input, bytes_of(rows.count, stride, row_bytes)),
        place(input, bytes_of(std::size_t(rows.source.count), source_stride, source_row_bytes))};
    compare_forms(
        levels(), [&](const ResampleKernels &kernels) { return kernels.*choice.method; }, places,
        [&](const MethodKernels *kernels, const Blocks &blocks) {
            const int samples = int(choice.samples);
            const Block work(
                Bytes(RowResampler::work_bytes(*kernels, columns.count, samples), 0xA5),
                work_shift);
            resample_image(
                *kernels, {blocks[0].at(), stride, columns.positions(), rows.positions()},
                {blocks[1].at(), source_stride, columns.source, rows.source}, samples, work.at());
        });
    return 0;
}
