// Conversions between colour spaces, transfers of fields, and masks by ranges of colours.
#include "merge/kernels/colour_kernels.h"
#include "merge/kernels/filter_kernels.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::merge;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_colour_kernels, colour_kernels);
    return all;
}

struct PixelBytes {
    std::size_t destination, source;
};
constexpr PixelBytes pixel_bytes[colour_change_count] = {
    {1, 3}, {3, 1}, {record_bytes, 3}, {3, record_bytes}, {record_bytes, 3}, {3, record_bytes},
};

void convert(Input &input) {
    const std::size_t change = input.below(colour_change_count), pixels = input.length(600);
    const PixelBytes &bytes = pixel_bytes[change];
    const bool in_place = bytes.destination <= bytes.source && input.flag();
    std::vector<Place> places{place(input, bytes.source * pixels)};
    if (!in_place)
        places.insert(places.begin(), place(input, bytes.destination * pixels));
    compare_forms(
        levels(), [=](const ColourKernels &kernels) { return kernels.convert[change]; }, places,
        [=](ColourConversion *run, const Blocks &blocks) {
            run(blocks.front().at(), blocks.back().at(), pixels);
        });
}

void transfer(Input &input) {
    const std::size_t fields = input.below(hsv_fields_count), pixels = input.length(600);
    const std::size_t base = input.below(2), other = 2 * input.below(2);
    const std::vector<Place> places{place(input, 3 * pixels), place(input, 3 * pixels),
                                    place(input, 3 * pixels)};
    compare_forms(
        levels(), [=](const ColourKernels &kernels) { return kernels.transfer[fields]; }, places,
        [=](FieldTransfer *run, const Blocks &blocks) {
            run(blocks[0].at(), blocks[base].at(), blocks[other].at(), pixels);
        });
}

void filter(Input &input) {
    static const std::vector<test::Level<FilterKernels>> forms{{"scalar", &scalar_filter_kernels},
                                                               {"sse2", &filter_kernels}};
    struct Kind {
        MaskFilter *FilterKernels::*kernel;
        std::size_t samples;
    };
    constexpr Kind kinds[] = {{&FilterKernels::grey, 1},
                              {&FilterKernels::colour, 3},
                              {&FilterKernels::colour_and_fourth, 4}};
    const Kind &kind = kinds[input.below(std::size(kinds))];
    const Keep keep = input.flag() ? Keep::inside : Keep::outside;
    const std::size_t pixels = input.length();
    const std::size_t count = input.below(20);
    const Place ranges = place(input, count * sizeof(ColourRange));
    const std::vector<Place> places{
        place(input, pixels), place(input, kind.samples * pixels), {ranges.content, 0}};
    compare_forms(
        forms, [&](const FilterKernels &kernels) { return kernels.*kind.kernel; }, places,
        [=](MaskFilter *run, const Blocks &blocks) {
            const void *const first = blocks[2].at();
            run(blocks[0].at(), blocks[1].at(), pixels,
                {static_cast<const ColourRange *>(first), count}, keep);
        });
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {convert, transfer, filter};
    Input input(data, size);
    families[input.below(std::size(families))](input);
    return 0;
}
