// Merging and colour spaces, and what pixman, libyuv and OpenCV offer for the same work: a mode on
// 8-bit samples through a mask of 8 bits. Peers that leave the mask out, or want it widened to
// three bytes a pixel beforehand, are entered too: their job is the smaller one.
#include "bench/peers/contest.h"
#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/colour_kernels.h"
#include "merge/kernels/effect_kernels.h"

#include <libyuv.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <pixman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

using namespace q32;
using bench::Contender;
using bench::Job;
using merge::ColourChange;
using merge::Comparison;
using merge::Rounding;
using merge::Rule;

struct Size {
    int width;
    int height;
    std::size_t pixels() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};
constexpr Size sizes[] = {{512, 512}, {4000, 3000}};

// Bytes per pixel of the two blocks that all contenders share.
constexpr std::size_t source_bytes = 12, destination_bytes = 12;

// The source holds the overlay, the mask, and the mask widened to the overlay's samples; the
// destination is the base.
struct Table {
    Size size;
    bench::Memory memory;

    std::uint8_t *destination() const { return memory.destination.data(); }
    std::uint8_t *overlay() const { return memory.source.data(); }
    std::uint8_t *mask() const { return overlay() + 3 * size.pixels(); }
    std::uint8_t *wide_mask() const { return mask() + size.pixels(); }

    void widen_mask() const {
        for (std::size_t i = 0; i < 3 * size.pixels(); ++i)
            wide_mask()[i] = mask()[i / 3];
    }
    cv::Mat image(std::uint8_t *pixels, int type) const {
        return cv::Mat(size.height, size.width, type, pixels);
    }
};

Job begin(const Table &table, const char *name, double read, std::size_t written) {
    Job job{};
    job.name = name;
    job.pixels = table.size.pixels();
    job.bytes_written = written * job.pixels;
    job.bytes_moved = (read + static_cast<double>(written)) * static_cast<double>(job.pixels);
    return job;
}

// --- peers --------------------------------------------------------------------------------------

// 24 bits and a mask of 8. What pixman composites is premultiplied; without alpha that is the same.
Contender pixman(const Table &t, pixman_op_t operation) {
    const int width = t.size.width, height = t.size.height;
    const auto image = [=](pixman_format_code_t format, std::uint8_t *bits, int pixel_bytes) {
        return std::shared_ptr<pixman_image_t>(
            pixman_image_create_bits(format, width, height, reinterpret_cast<std::uint32_t *>(bits),
                                     width * pixel_bytes),
            pixman_image_unref);
    };
    const auto destination = image(PIXMAN_b8g8r8, t.destination(), 3);
    const auto overlay = image(PIXMAN_b8g8r8, t.overlay(), 3);
    const auto mask = image(PIXMAN_a8, t.mask(), 1);
    return {"pixman", [=] {
                pixman_image_composite32(operation, overlay.get(), mask.get(), destination.get(), 0,
                                         0, 0, 0, 0, 0, width, height);
            }};
}

Contender libyuv_blend(const Table &t) {
    return {"libyuv, mask widened", [&t] {
                const int stride = 3 * t.size.width;
                libyuv::BlendPlane(t.overlay(), stride, t.destination(), stride, t.wide_mask(),
                                   stride, t.destination(), stride, stride, t.size.height);
            }};
}

template <typename Call>
Contender opencv(const char *name, const Table &t, int destination, int source, Call call) {
    return {name, [&t, destination, source, call] {
                cv::Mat result = t.image(t.destination(), destination);
                call(t.image(t.overlay(), source), result);
            }};
}

Contender opencv_conversion(const Table &t, int destination, int source, int code) {
    return opencv("OpenCV", t, destination, source,
                  [code](const cv::Mat &from, cv::Mat &to) { cv::cvtColor(from, to, code); });
}

// --- jobs ---------------------------------------------------------------------------------------

constexpr std::size_t chunk = 2048; // pixels of weights at a time, as the drivers do it

template <typename Blend>
void in_chunks(const Table &t, Blend blend) {
    for (std::size_t done = 0; done < t.size.pixels(); done += chunk)
        blend(t.destination() + 3 * done, t.overlay() + 3 * done, t.mask() + done,
              std::min(chunk, t.size.pixels() - done));
}

void blend(const Table &t, const char *name, Rounding rounding, Rule rule,
           std::vector<Contender> peers) {
    Job job = begin(t, name, 7, 3);
    enter_ours(
        job, merge::scalar_blend_kernels(rounding, rule).colour,
        [=](InstructionSet level) { return merge::blend_kernels(level)(rounding, rule).colour; },
        [&t](merge::MaskedBlend *kernel) {
            kernel(t.destination(), t.overlay(), t.mask(), t.mask(), t.size.pixels());
        });
    job.peers = std::move(peers);
    bench::hold(job, t.memory);
}

void blend_uniformly(const Table &t) {
    constexpr std::uint8_t weight = 127;
    Job job = begin(t, "opacity", 6, 3);
    enter_ours(
        job, merge::scalar_blend_kernels(Rounding::divided, Rule::normal).uniform,
        [=](InstructionSet level) {
            return merge::blend_kernels(level)(Rounding::divided, Rule::normal).uniform;
        },
        [&t](merge::UniformBlend *kernel) {
            kernel(t.destination(), t.overlay(), weight, 3 * t.size.pixels());
        });
    job.peers = {opencv(
        "OpenCV addWeighted", t, CV_8UC3, CV_8UC3, [](const cv::Mat &overlay, cv::Mat &base) {
            cv::addWeighted(overlay, weight / 255.0, base, 1 - weight / 255.0, 0, base);
        })};
    bench::hold(job, t.memory);
}

void select(const Table &t, const char *name, Comparison comparison, pixman_op_t operation) {
    using Kernels = std::pair<merge::Selection *, merge::MaskedBlend *>;
    const auto kernels = [=](const merge::EffectKernels &effects,
                             const merge::BlendKernels &blends) {
        return Kernels(effects.select[static_cast<std::size_t>(comparison)].colour,
                       blends(Rounding::divided, Rule::normal).colour);
    };
    Job job = begin(t, name, 7, 3);
    enter_ours(
        job, kernels(merge::scalar_effect_kernels, merge::scalar_blend_kernels),
        [=](InstructionSet level) {
            return kernels(merge::effect_kernels(level), merge::blend_kernels(level));
        },
        [&t](const Kernels &picked) {
            in_chunks(t, [&](std::uint8_t *base, const std::uint8_t *overlay,
                             const std::uint8_t *mask, std::size_t pixels) {
                std::uint8_t weights[chunk];
                picked.first(weights, mask, base, overlay, pixels);
                picked.second(base, overlay, weights, weights, pixels);
            });
        });
    job.peers = {pixman(t, operation)};
    bench::hold(job, t.memory);
}

void transfer(const Table &t, const char *name, merge::HsvFields fields, pixman_op_t operation) {
    const auto place = static_cast<std::size_t>(fields);
    Job job = begin(t, name, 6, 3);
    enter_ours(
        job, merge::scalar_colour_kernels.transfer[place],
        [=](InstructionSet level) { return merge::colour_kernels(level).transfer[place]; },
        [&t](merge::FieldTransfer *kernel) {
            kernel(t.destination(), t.destination(), t.overlay(), t.size.pixels());
        });
    job.peers = {pixman(t, operation)};
    bench::hold(job, t.memory);
}

void convert(const Table &t, const char *name, ColourChange change, double read,
             std::size_t written, std::vector<Contender> peers) {
    const auto place = static_cast<std::size_t>(change);
    Job job = begin(t, name, read, written);
    enter_ours(
        job, merge::scalar_colour_kernels.convert[place],
        [=](InstructionSet level) { return merge::colour_kernels(level).convert[place]; },
        [&t](merge::ColourConversion *kernel) {
            kernel(t.destination(), t.overlay(), t.size.pixels());
        });
    job.peers = std::move(peers);
    bench::hold(job, t.memory);
}

// Records of random colours; bytes at random are none.
void convert_records(const Table &t, const char *name, ColourChange to, ColourChange back,
                     int peers_code) {
    const std::vector<std::uint8_t> source(t.memory.source.begin(), t.memory.source.end());
    merge::scalar_colour_kernels.convert[static_cast<std::size_t>(to)](t.overlay(), source.data(),
                                                                       t.size.pixels());
    convert(t, name, back, 12, 3, {opencv_conversion(t, CV_8UC3, CV_8UC3, peers_code)});
    std::copy(source.begin(), source.end(), t.memory.source.begin());
}

void hold_all(const Table &t) {
    t.widen_mask();
    const Rounding divided = Rounding::divided, shifted = Rounding::shifted;
    blend(t, "normal", divided, Rule::normal, {pixman(t, PIXMAN_OP_OVER), libyuv_blend(t)});
    blend(t, "normal, shifted", shifted, Rule::normal, {libyuv_blend(t)});
    blend(t, "difference", divided, Rule::difference, {pixman(t, PIXMAN_OP_DIFFERENCE)});
    blend(t, "add", divided, Rule::add, {pixman(t, PIXMAN_OP_ADD)});
    blend(t, "multiply", divided, Rule::multiply, {pixman(t, PIXMAN_OP_MULTIPLY)});
    blend(t, "screen", divided, Rule::screen, {pixman(t, PIXMAN_OP_SCREEN)});
    select(t, "lighten", Comparison::lighter, PIXMAN_OP_LIGHTEN);
    select(t, "darken", Comparison::darker, PIXMAN_OP_DARKEN);
    transfer(t, "color", merge::HsvFields::hue_and_saturation, PIXMAN_OP_HSL_COLOR);
    transfer(t, "hue", merge::HsvFields::hue, PIXMAN_OP_HSL_HUE);
    transfer(t, "saturation", merge::HsvFields::saturation, PIXMAN_OP_HSL_SATURATION);
    transfer(t, "value", merge::HsvFields::value, PIXMAN_OP_HSL_LUMINOSITY);
    blend_uniformly(t);

    const auto libyuv_grey =
        Contender{"libyuv RAWToJ400", [&t] {
                      libyuv::RAWToJ400(t.overlay(), 3 * t.size.width, t.destination(),
                                        t.size.width, t.size.width, t.size.height);
                  }};
    convert(t, "RGB to grey", ColourChange::rgb_to_grey, 3, 1,
            {libyuv_grey, opencv_conversion(t, CV_8UC1, CV_8UC3, cv::COLOR_RGB2GRAY)});
    convert(t, "grey to RGB", ColourChange::grey_to_rgb, 1, 3,
            {opencv_conversion(t, CV_8UC3, CV_8UC1, cv::COLOR_GRAY2RGB)});
    convert(t, "RGB to HSV", ColourChange::rgb_to_hsv, 3, 12,
            {opencv_conversion(t, CV_8UC3, CV_8UC3, cv::COLOR_RGB2HSV_FULL)});
    convert_records(t, "HSV to RGB", ColourChange::rgb_to_hsv, ColourChange::hsv_to_rgb,
                    cv::COLOR_HSV2RGB_FULL);
    convert(t, "RGB to HLS", ColourChange::rgb_to_hls, 3, 12,
            {opencv_conversion(t, CV_8UC3, CV_8UC3, cv::COLOR_RGB2HLS_FULL)});
    convert_records(t, "HLS to RGB", ColourChange::rgb_to_hls, ColourChange::hls_to_rgb,
                    cv::COLOR_HLS2RGB_FULL);
}

std::vector<std::uint8_t> random_bytes(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(std::rand() >> 7);
    return bytes;
}

} // namespace

int main() {
    cv::setNumThreads(1);
    bench::tell_version("OpenCV", CV_VERSION);
    bench::tell_version("libyuv", std::to_string(LIBYUV_VERSION));
    bench::tell_version("pixman", pixman_version_string());
    bench::print_heading();
    for (const Size size : sizes) {
        std::vector<std::uint8_t> source = random_bytes(source_bytes * size.pixels());
        std::vector<std::uint8_t> destination = random_bytes(destination_bytes * size.pixels());
        hold_all({size, {source, destination}});
    }
    return 0;
}
