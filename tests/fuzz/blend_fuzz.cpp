// The blends of all rules and roundings, and the weights that they go by.
#include "merge/kernels/blend_kernels.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::merge;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_blend_kernels, blend_kernels);
    return all;
}

struct Choice {
    Rounding rounding;
    Rule rule;

    bool is_premultiplied() const {
        return rule == Rule::premultiplied_black || rule == Rule::premultiplied_white;
    }
    const Blend &of(const BlendKernels &kernels) const { return kernels(rounding, rule); }
};

void blend_by_mask(Input &input, Choice choice) {
    const bool colour = input.flag() || choice.rounding == Rounding::shifted;
    const std::size_t pixels = input.length(), samples = pixels * (colour ? 3 : 1);
    const std::size_t overlay = input.flag() ? 0 : 1; // in the destination or apart
    const std::size_t mask = input.flag() ? 2 : 3;    // the weights or apart
    const std::vector<Place> places{place(input, samples), place(input, samples),
                                    place(input, pixels), place(input, pixels)};
    compare_forms(
        levels(),
        [=](const BlendKernels &kernels) {
            return colour ? choice.of(kernels).colour : choice.of(kernels).grey;
        },
        places,
        [=](MaskedBlend *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[overlay].at(), blocks[2].at(), blocks[mask].at(), pixels);
        });
}

void blend_uniformly(Input &input, Choice choice) {
    const std::size_t samples = input.length();
    const std::uint8_t weight = input.byte();
    const std::size_t overlay = input.flag() ? 0 : 1;
    const std::vector<Place> places{place(input, samples), place(input, samples)};
    compare_forms(
        levels(), [=](const BlendKernels &kernels) { return choice.of(kernels).uniform; }, places,
        [=](UniformBlend *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[overlay].at(), weight, samples);
        });
}

void make_weights(Input &input) {
    const std::size_t pixels = input.length();
    const bool percent = input.flag();
    const std::uint8_t share = input.byte();
    const std::size_t mask = input.flag() ? 0 : 1;
    const std::vector<Place> places{place(input, pixels), place(input, pixels)};
    if (percent)
        compare_forms(
            levels(), [](const BlendKernels &kernels) { return kernels.percent_weights; }, places,
            [=](PercentWeights *run, const Blocks &blocks) {
                run(blocks[0].at(), blocks[mask].at(), share % 101, pixels);
            });
    else
        compare_forms(
            levels(), [](const BlendKernels &kernels) { return kernels.scaled_weights; }, places,
            [=](ScaledWeights *run, const Blocks &blocks) {
                run(blocks[0].at(), blocks[mask].at(), share, pixels);
            });
}

void blend(Input &input) {
    const bool masked = input.flag();
    const Choice choice{Rounding(input.below(rounding_count)), Rule(input.below(rule_count))};
    if (choice.is_premultiplied() && (!masked || choice.rounding == Rounding::shifted))
        return; // there are none
    if (masked)
        blend_by_mask(input, choice);
    else
        blend_uniformly(input, choice);
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    for (int left = runs_of_an_input; left > 0 && !input.is_empty(); --left)
        if (input.below(4) == 0)
            make_weights(input);
        else
            blend(input);
    return 0;
}
