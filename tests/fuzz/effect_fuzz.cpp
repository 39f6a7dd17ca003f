// Selections by luminance, relief, and subtraction by mask or portion.
#include "merge/kernels/effect_kernels.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::merge;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_effect_kernels, effect_kernels);
    return all;
}

template <class Kernel>
Kernel *of_size(const BySize<Kernel> &kernels, bool colour) {
    return colour ? kernels.colour : kernels.grey;
}

void select(Input &input) {
    const auto comparison = Comparison(input.below(comparison_count));
    const bool colour = input.flag() || comparison == Comparison::lighter_by_sums;
    const std::size_t pixels = input.length(), samples = pixels * (colour ? 3 : 1);
    const std::size_t weights = input.flag() ? 0 : 1;
    const std::vector<Place> places{place(input, pixels), place(input, pixels),
                                    place(input, samples), place(input, samples)};
    compare_forms(
        levels(),
        [=](const EffectKernels &kernels) {
            return of_size(kernels.select[std::size_t(comparison)], colour);
        },
        places,
        [=](Selection *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[weights].at(), blocks[2].at(), blocks[3].at(), pixels);
        });
}

// The destination, the overlay, which may be the destination, and the mask.
template <class Pick, class Run>
void act_by_mask(Input &input, bool colour, Pick pick, Run run) {
    const std::size_t pixels = input.length(), samples = pixels * (colour ? 3 : 1);
    const std::size_t overlay = input.flag() ? 0 : 1;
    const std::vector<Place> places{place(input, samples), place(input, samples),
                                    place(input, pixels)};
    compare_forms(levels(), pick, places, [=](auto *kernel, const Blocks &blocks) {
        run(kernel, blocks[0].at(), blocks[overlay].at(), blocks[2].at(), pixels);
    });
}

void relief(Input &input) {
    const bool colour = input.flag();
    const auto strength = std::uint8_t(input.below(128));
    act_by_mask(
        input, colour,
        [=](const EffectKernels &kernels) { return of_size(kernels.relief, colour); },
        [=](Relief *run, std::uint8_t *destination, const std::uint8_t *overlay,
            const std::uint8_t *mask,
            std::size_t pixels) { run(destination, overlay, mask, strength, pixels); });
}

void subtract_masked(Input &input) {
    const bool colour = input.flag();
    act_by_mask(
        input, colour,
        [=](const EffectKernels &kernels) { return of_size(kernels.subtract_masked, colour); },
        [](MaskedSubtraction *run, std::uint8_t *destination, const std::uint8_t *overlay,
           const std::uint8_t *mask,
           std::size_t pixels) { run(destination, overlay, mask, pixels); });
}

void subtract_portion(Input &input) {
    const std::size_t samples = input.length();
    const auto portion = std::uint32_t(input.between(0, int(whole_portion)));
    const std::size_t overlay = input.flag() ? 0 : 1;
    const std::vector<Place> places{place(input, samples), place(input, samples)};
    compare_forms(
        levels(), [](const EffectKernels &kernels) { return kernels.subtract_portion; }, places,
        [=](PortionSubtraction *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[overlay].at(), portion, samples);
        });
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {select, relief, subtract_masked, subtract_portion};
    Input input(data, size);
    families[input.below(std::size(families))](input);
    return 0;
}
