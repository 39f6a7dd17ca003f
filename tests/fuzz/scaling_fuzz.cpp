// Rows enlarged and reduced by whole factors.
#include "rows/kernels/scaling_kernels.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::rows;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_scaling_kernels, scaling_kernels);
    return all;
}

constexpr std::size_t most_pixels = 20000; // of an enlarged row

struct Scale {
    std::size_t pixels, factor;

    std::size_t enlarged() const { return pixels * factor; }
    std::size_t groups() const { return (pixels + factor - 1) / factor; }
};

Scale scale_of(Input &input) {
    const std::size_t pixels = input.length();
    const std::size_t factor = 1 + (input.flag() ? input.below(40) : input.below(2000));
    return {pixels, factor};
}

void run_all(Input &input, RowScaling *(*pick)(const ScalingKernels &, std::size_t),
             std::size_t kind, Scale scale, std::size_t destination_bytes,
             std::size_t source_bytes) {
    const std::vector<Place> places{place(input, destination_bytes), place(input, source_bytes)};
    compare_forms(
        levels(), [=](const ScalingKernels &kernels) { return pick(kernels, kind); }, places,
        [=](RowScaling *run, const Blocks &blocks) {
            run({blocks[0].at(), 0, blocks[1].at(), 0, 1, scale.pixels, scale.factor});
        });
}

std::size_t bytes_of_bits(std::size_t bits) {
    return (bits + 7) / 8;
}

void scale_bits(Input &input, bool enlarge) {
    const Scale scale = scale_of(input);
    if (enlarge && scale.enlarged() > 8 * most_pixels)
        return;
    run_all(
        input,
        enlarge ? [](const ScalingKernels &kernels, std::size_t) { return kernels.enlarge_bits; }
                : [](const ScalingKernels &kernels, std::size_t) { return kernels.reduce_bits; },
        0, scale, bytes_of_bits(enlarge ? scale.enlarged() : scale.groups()),
        bytes_of_bits(scale.pixels));
}

void scale_pixels(Input &input, bool enlarge) {
    constexpr std::size_t pixel_bytes[pixel_kinds] = {1, 2, 3, 4, 3};
    const std::size_t kind = input.below(pixel_kinds), bytes = pixel_bytes[kind];
    const Scale scale = scale_of(input);
    if (scale.enlarged() > most_pixels)
        return;
    if (enlarge)
        return run_all(
            input, [](const ScalingKernels &kernels, std::size_t i) { return kernels.enlarge[i]; },
            kind, scale, bytes * scale.enlarged(), bytes * scale.pixels);
    // The last group is read whole where bytes of its last pixel count.
    const bool reads_groups = PixelKind(kind) == PixelKind::three_bytes_swapped;
    const std::size_t read = reads_groups ? scale.groups() * scale.factor : scale.pixels;
    run_all(
        input, [](const ScalingKernels &kernels, std::size_t i) { return kernels.reduce[i]; }, kind,
        scale, bytes * scale.groups(), bytes * read);
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    for (int left = runs_of_an_input; left > 0 && !input.is_empty(); --left) {
        const std::uint8_t kind = input.byte();
        const bool enlarge = (kind & 1) != 0;
        if ((kind & 2) != 0)
            scale_bits(input, enlarge);
        else
            scale_pixels(input, enlarge);
    }
    return 0;
}
