// Rows on their way to a display.
#include "display/kernels/show_kernels.h"
#include "tests/fuzz/forms.h"

namespace q32::fuzz {
namespace {

using namespace q32::display;

const auto &levels() {
    static const auto all = test::levels_of_this_machine(scalar_show_kernels, show_kernels);
    return all;
}

template <class Table>
Table table_of(Input &input) {
    Table table;
    const Bytes content = input.content(sizeof table);
    std::memcpy(&table, content.data(), sizeof table);
    return table;
}

// Thresholds from least on.
Thresholds thresholds_of(Input &input, std::uint8_t least = 0) {
    auto thresholds = table_of<Thresholds>(input);
    for (std::uint8_t &threshold : thresholds)
        threshold = std::max(threshold, least);
    return thresholds;
}

// A destination and a source, and whatever else the kernel takes.
template <class Pick, class Run>
void show(Input &input, std::size_t destination_bytes, std::size_t source_bytes, Pick pick,
          Run run) {
    const std::vector<Place> places{place(input, destination_bytes), place(input, source_bytes)};
    compare_forms(levels(), pick, places, [&](auto *kernel, const Blocks &blocks) {
        run(kernel, blocks[0].at(), blocks[1].at());
    });
}

void indices(Input &input) {
    const std::size_t pixels = input.length();
    const auto entries = table_of<ColourEntries>(input);
    show(
        input, 3 * pixels, pixels,
        [](const ShowKernels &kernels) { return kernels.colours_of_indices; },
        [&](ColoursOfIndices *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, entries, pixels);
        });
}

void greys(Input &input) {
    const std::size_t pixels = input.length();
    const int shift = input.flag() ? 4 : 1;
    show(
        input, pixels, pixels, [](const ShowKernels &kernels) { return kernels.grey_levels; },
        [=](GreyLevels *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, shift, pixels);
        });
}

void bits(Input &input) {
    const std::size_t pixels = input.length();
    const Thresholds thresholds = thresholds_of(input);
    show(
        input, (pixels + 7) / 8, pixels,
        [](const ShowKernels &kernels) { return kernels.bits_of_greys; },
        [&](BitsOfGreys *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, thresholds, pixels);
        });
}

void cube(Input &input) {
    const std::size_t pixels = input.length();
    const Thresholds thresholds = thresholds_of(input, 1);
    show(
        input, pixels, 3 * pixels, [](const ShowKernels &kernels) { return kernels.cube_indices; },
        [&](CubeIndices *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, thresholds, pixels);
        });
}

void planes(Input &input) {
    const std::size_t pixels = input.length();
    const std::size_t plane_bytes = (pixels + 7) / 8 + input.below(9);
    const Thresholds thresholds = thresholds_of(input);
    show(
        input, 4 * plane_bytes, 3 * pixels,
        [](const ShowKernels &kernels) { return kernels.planes; },
        [&](Planes *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, plane_bytes, from, thresholds, pixels);
        });
}

// Any, or those of a gamma, which kernels may look up as curves.
ScreenTables screen_tables_of(Input &input) {
    if (input.flag())
        return screen_tables(table_of<ChannelTables>(input));
    const ChannelTables corrected =
        gamma_tables({input.between(40, 320), input.between(40, 320), input.between(40, 320)});
    return screen_tables(input.flag() ? corrected : high_colour_tables(corrected));
}

void correction(Input &input) {
    const std::size_t pixels = input.length();
    const ScreenTables tables = screen_tables_of(input);
    show(
        input, 3 * pixels, 3 * pixels, [](const ShowKernels &kernels) { return kernels.correct; },
        [&](Correction *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, tables, pixels);
        });
}

void high_colour(Input &input) {
    const std::size_t pixels = input.length();
    const ScreenTables tables = screen_tables_of(input);
    const Thresholds thresholds = thresholds_of(input);
    show(
        input, 3 * pixels, 3 * pixels,
        [](const ShowKernels &kernels) { return kernels.high_colour; },
        [&](HighColour *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, tables, thresholds, pixels);
        });
}

void plain_high_colour(Input &input) {
    const std::size_t pixels = input.length();
    const Thresholds thresholds = thresholds_of(input);
    show(
        input, 3 * pixels, 3 * pixels,
        [](const ShowKernels &kernels) { return kernels.plain_high_colour; },
        [&](PlainHighColour *run, std::uint8_t *to, const std::uint8_t *from) {
            run(to, from, thresholds, pixels);
        });
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {indices, greys,      bits,        cube,
                                             planes,  correction, high_colour, plain_high_colour};
    Input input(data, size);
    families[input.below(std::size(families))](input);
    return 0;
}
