// Speed of the merge and colour kernels: every instruction set of this processor, an image that
// stays in the cache and one that does not, row by row as the drivers do it. Prints nanoseconds for
// each pixel and the ratio to memcpy of the same traffic (half of the bytes read and written).
//
//     merge_bench [part of a job's name] [seconds per measurement]
#include "bench/timing.h"
#include "library/process/cpu.h"
#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/colour_kernels.h"
#include "merge/kernels/effect_kernels.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace q32;
using merge::ColourChange;
using merge::Comparison;
using merge::HsvFields;
using merge::Rounding;
using merge::Rule;
using std::size_t;
using std::uint8_t;

struct Size {
    size_t width, height;
};
constexpr Size sizes[] = {{512, 512}, {4000, 3000}};

struct Kernels {
    const char *name;
    const merge::BlendKernels &blend;
    const merge::EffectKernels &effect;
    const merge::ColourKernels &colour;
};

Kernels kernels_of(InstructionSet level) {
    return {instruction_set_name(level), merge::blend_kernels(level), merge::effect_kernels(level),
            merge::colour_kernels(level)};
}

// One row of an image: what every job is handed.
struct Row {
    uint8_t *destination;
    const uint8_t *overlay;
    const uint8_t *mask;
    size_t pixels;
};

// Bytes per pixel of the three blocks; 0 where a job does not touch one.
struct Layout {
    size_t destination, overlay, mask;
    bool in_place; // the destination is read as well

    size_t traffic() const { return (in_place ? 2 : 1) * destination + overlay + mask; }
};

using Run = void(const Kernels &kernels, const Row &row);

struct Job {
    const char *name;
    Layout layout;
    Run *run;
};

// --- jobs ---------------------------------------------------------------------------------------

constexpr size_t chunk = 2048; // pixels; weights of so many stay in the nearest cache

// Weights made from the mask, chunk by chunk, and the blend with them.
template <typename MakeWeights>
void blend_in_chunks(const merge::Blend &blend, const Row &row, MakeWeights make_weights) {
    uint8_t weights[chunk];
    for (size_t done = 0; done < row.pixels; done += chunk) {
        const size_t pixels = std::min(chunk, row.pixels - done);
        uint8_t *const destination = row.destination + 3 * done;
        const uint8_t *const overlay = row.overlay + 3 * done;
        make_weights(weights, row.mask + done, destination, overlay, pixels);
        blend.colour(destination, overlay, weights, row.mask + done, pixels);
    }
}

template <Rounding rounding, Rule rule>
void masked(const Kernels &kernels, const Row &row) {
    kernels.blend(rounding, rule)
        .colour(row.destination, row.overlay, row.mask, row.mask, row.pixels);
}

template <Rule rule>
void masked_grey(const Kernels &kernels, const Row &row) {
    kernels.blend(Rounding::divided, rule)
        .grey(row.destination, row.overlay, row.mask, row.mask, row.pixels);
}

template <Rounding rounding, Rule rule>
void uniform(const Kernels &kernels, const Row &row) {
    kernels.blend(rounding, rule).uniform(row.destination, row.overlay, 127, 3 * row.pixels);
}

void masked_percent(const Kernels &kernels, const Row &row) {
    blend_in_chunks(
        kernels.blend(Rounding::divided, Rule::normal), row,
        [&](uint8_t *weights, const uint8_t *mask, const uint8_t *, const uint8_t *,
            size_t pixels) { kernels.blend.percent_weights(weights, mask, 63, pixels); });
}

void masked_scaled(const Kernels &kernels, const Row &row) {
    blend_in_chunks(
        kernels.blend(Rounding::shifted, Rule::normal), row,
        [&](uint8_t *weights, const uint8_t *mask, const uint8_t *, const uint8_t *,
            size_t pixels) { kernels.blend.scaled_weights(weights, mask, 161, pixels); });
}

template <Comparison comparison>
void selected(const Kernels &kernels, const Row &row) {
    blend_in_chunks(kernels.blend(Rounding::divided, Rule::normal), row,
                    [&](uint8_t *weights, const uint8_t *mask, const uint8_t *base,
                        const uint8_t *overlay, size_t pixels) {
                        kernels.effect.select[size_t(comparison)].colour(weights, mask, base,
                                                                         overlay, pixels);
                    });
}

void relief(const Kernels &kernels, const Row &row) {
    kernels.effect.relief.colour(row.destination, row.overlay, row.mask, 127, row.pixels);
}

void subtract_masked(const Kernels &kernels, const Row &row) {
    kernels.effect.subtract_masked.colour(row.destination, row.overlay, row.mask, row.pixels);
}

void subtract_portion(const Kernels &kernels, const Row &row) {
    kernels.effect.subtract_portion(row.destination, row.overlay, 12345, 3 * row.pixels);
}

template <ColourChange change>
void convert(const Kernels &kernels, const Row &row) {
    kernels.colour.convert[size_t(change)](row.destination, row.overlay, row.pixels);
}

template <HsvFields fields>
void transfer(const Kernels &kernels, const Row &row) {
    kernels.colour.transfer[size_t(fields)](row.destination, row.destination, row.overlay,
                                            row.pixels);
}

constexpr Layout masked_colour = {3, 3, 1, true};
constexpr Layout masked_sample = {1, 1, 1, true};
constexpr Layout colour_alone = {3, 3, 0, true};

constexpr auto divided = Rounding::divided, shifted = Rounding::shifted;

constexpr Job jobs[] = {
    {"normal", masked_colour, masked<divided, Rule::normal>},
    {"normal_percent", masked_colour, masked_percent},
    {"normal_shifted", masked_colour, masked<shifted, Rule::normal>},
    {"normal_scaled_shifted", masked_colour, masked_scaled},
    {"difference", masked_colour, masked<divided, Rule::difference>},
    {"add", masked_colour, masked<divided, Rule::add>},
    {"subtract", masked_colour, masked<divided, Rule::subtract>},
    {"multiply", masked_colour, masked<divided, Rule::multiply>},
    {"screen", masked_colour, masked<divided, Rule::screen>},
    {"premultiplied_black", masked_colour, masked<divided, Rule::premultiplied_black>},
    {"premultiplied_white", masked_colour, masked<divided, Rule::premultiplied_white>},
    {"difference_shifted", masked_colour, masked<shifted, Rule::difference>},
    {"multiply_shifted", masked_colour, masked<shifted, Rule::multiply>},
    {"screen_shifted", masked_colour, masked<shifted, Rule::screen>},
    {"lighten", masked_colour, selected<Comparison::lighter>},
    {"darken", masked_colour, selected<Comparison::darker>},
    {"lighten_by_sums", masked_colour, selected<Comparison::lighter_by_sums>},
    {"relief", masked_colour, relief},
    {"mask_subtract", masked_colour, subtract_masked},
    {"mask_subtract_portion", colour_alone, subtract_portion},
    {"opacity", colour_alone, uniform<divided, Rule::normal>},
    {"opacity_shifted", colour_alone, uniform<shifted, Rule::normal>},
    {"normal_grey", masked_sample, masked_grey<Rule::normal>},
    {"multiply_grey", masked_sample, masked_grey<Rule::multiply>},
    {"premultiplied_grey", masked_sample, masked_grey<Rule::premultiplied_black>},
    {"color", colour_alone, transfer<HsvFields::hue_and_saturation>},
    {"hue", colour_alone, transfer<HsvFields::hue>},
    {"saturation", colour_alone, transfer<HsvFields::saturation>},
    {"value", colour_alone, transfer<HsvFields::value>},
    {"rgb_to_grey", {1, 3, 0, false}, convert<ColourChange::rgb_to_grey>},
    {"grey_to_rgb", {3, 1, 0, false}, convert<ColourChange::grey_to_rgb>},
    {"rgb_to_hsv", {12, 3, 0, false}, convert<ColourChange::rgb_to_hsv>},
    {"hsv_to_rgb", {3, 12, 0, false}, convert<ColourChange::hsv_to_rgb>},
    {"rgb_to_hls", {12, 3, 0, false}, convert<ColourChange::rgb_to_hls>},
    {"hls_to_rgb", {3, 12, 0, false}, convert<ColourChange::hls_to_rgb>},
};

// --- measuring ----------------------------------------------------------------------------------

// Two images and a mask; contents that no kernel takes a short cut for. Where the overlay holds
// records they are those of random colours.
class Scene {
public:
    Scene(Size size, const Layout &layout)
        : layout_(layout), pixels_(size.width * size.height),
          destination_(block(layout.destination)),
          overlay_(block(std::max(layout.overlay, layout.destination))), mask_(block(layout.mask)) {
        if (layout.overlay == merge::record_bytes) {
            const auto colours = block(3);
            merge::scalar_colour_kernels.convert[size_t(ColourChange::rgb_to_hsv)](
                overlay_.get(), colours.get(), pixels_);
        }
    }

    Row row(size_t y, size_t width) {
        const size_t first = y * width;
        return {destination_.get() + first * layout_.destination,
                overlay_.get() + first * layout_.overlay, mask_.get() + first * layout_.mask,
                width};
    }

    // As many bytes out of blocks as large as the job's.
    void copy() {
        size_t left = layout_.traffic() * pixels_ / 2;
        for (const size_t bytes = pixels_ * layout_.destination; left != 0;) {
            const size_t part = std::min(left, bytes);
            std::memcpy(destination_.get(), overlay_.get(), part);
            left -= part;
        }
    }

private:
    std::unique_ptr<uint8_t[]> block(size_t bytes_per_pixel) const {
        const size_t bytes = pixels_ * bytes_per_pixel;
        std::unique_ptr<uint8_t[]> memory(new uint8_t[bytes + 1]);
        unsigned state = unsigned(bytes_per_pixel);
        for (size_t i = 0; i < bytes; ++i) {
            state = state * 1664525u + 1013904223u;
            memory[i] = uint8_t(state >> 24);
        }
        return memory;
    }

    Layout layout_;
    size_t pixels_;
    std::unique_ptr<uint8_t[]> destination_, overlay_, mask_;
};

void measure(const Job &job, const Kernels &kernels, Size size, Scene &scene, double budget) {
    const auto merge_image = [&] {
        for (size_t y = 0; y < size.height; ++y)
            job.run(kernels, scene.row(y, size.width));
    };
    const bench::PairedTime time = bench::time_paired(
        merge_image, [&] { scene.copy(); }, budget);
    const double pixels = double(size.width * size.height);
    std::printf("%-22s %-8s %5ux%-5u %9.4f %8.2f\n", job.name, kernels.name, unsigned(size.width),
                unsigned(size.height), time.job / pixels * 1e9, time.ratio());
    std::fflush(stdout);
}

void measure_jobs(const char *wanted, const Kernels &kernels, double budget) {
    for (const Size size : sizes)
        for (const Job &job : jobs)
            if (std::strstr(job.name, wanted) != nullptr) {
                Scene scene(size, job.layout);
                measure(job, kernels, size, scene, budget);
            }
}

} // namespace

// Lower levels first: on some processors 32-bit code of theirs runs slower once vectors of 32 bytes
// have been used.
int main(int count, char **arguments) {
    const char *const wanted = count > 1 ? arguments[1] : "";
    const double budget = count > 2 ? std::atof(arguments[2]) : 0.05;
    const InstructionSet best = best_instruction_set(std::getenv("Q32BASE_ISA"));

    std::printf("%-22s %-8s %11s %9s %8s\n", "job", "level", "pixels", "ns/pixel", "x memcpy");
    measure_jobs(wanted,
                 {"scalar", merge::scalar_blend_kernels, merge::scalar_effect_kernels,
                  merge::scalar_colour_kernels},
                 budget);
    for (int level = 0; level <= int(best); ++level)
        measure_jobs(wanted, kernels_of(InstructionSet(level)), budget);
    return 0;
}
