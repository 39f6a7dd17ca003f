// Resampling, and what libyuv, OpenCV, pixman and zimg offer for the same work: the same method
// with the same taps on 8-bit samples, packed or in planes. When they reduce, peers that widen
// their kernels do another job and are left out.
#include "bench/peers/contest.h"
#include "resample/kernels/positions.h"
#include "resample/kernels/resample_kernels.h"
#include "resample/kernels/row_resampler.h"

#include <libyuv.h>
#include <libyuv/scale_rgb.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <pixman.h>
#include <zimg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace {

using namespace q32;
using namespace q32::resample;
using bench::Contender;
using bench::Job;

struct Size {
    int width, height;
    std::size_t pixels() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};

struct Scaling {
    const char *name;
    Size source, destination;
    bool enlarges() const { return destination.width > source.width; }
};
constexpr Scaling scalings[] = {
    {"2:1 up", {512, 512}, {1024, 1024}},
    {"2:1 down", {1024, 1024}, {512, 512}},
    {"2.5:1 up", {1600, 1200}, {4000, 3000}},
    {"2.5:1 down", {4000, 3000}, {1600, 1200}},
};

enum class Method { nearest, bilinear, bicubic };
constexpr const char *method_names[] = {"nearest", "bilinear", "bicubic"};

struct Table {
    const Scaling &scaling;
    Method method;
    int samples;
    bench::Memory memory;

    std::uint8_t *source() const { return memory.source.data(); }
    std::uint8_t *destination() const { return memory.destination.data(); }
    int source_stride() const { return scaling.source.width * samples; }
    int destination_stride() const { return scaling.destination.width * samples; }
};

// --- ours ---------------------------------------------------------------------------------------

// Tables and work memory, made once.
class Plan {
public:
    explicit Plan(const Table &t)
        : column_index_(static_cast<std::size_t>(t.scaling.destination.width)),
          column_fraction_(column_index_.size()),
          row_index_(static_cast<std::size_t>(t.scaling.destination.height)),
          row_fraction_(row_index_.size()) {
        const FractionBits bits =
            t.method == Method::bicubic ? FractionBits::eight : FractionBits::sixteen;
        table_positions(column_index_.data(), column_fraction_.data(), bits,
                        t.scaling.destination.width, t.scaling.source.width);
        table_positions(row_index_.data(), row_fraction_.data(), bits, t.scaling.destination.height,
                        t.scaling.source.height);
        destination = {t.destination(),
                       static_cast<std::size_t>(t.destination_stride()),
                       {column_index_.data(), column_fraction_.data(), column_index_.size()},
                       {row_index_.data(), row_fraction_.data(), row_index_.size()}};
        source = {t.source(),
                  static_cast<std::size_t>(t.source_stride()),
                  {0, t.scaling.source.width},
                  {0, t.scaling.source.height}};
        samples = t.samples;
    }
    Plan(const Plan &) = delete;
    Plan &operator=(const Plan &) = delete;

    void run(const MethodKernels &kernels) {
        work_.resize(std::max(work_.size(),
                              RowResampler::work_bytes(kernels, column_index_.size(), samples)));
        resample_image(kernels, destination, source, samples, work_.data());
    }

private:
    std::vector<std::int32_t> column_index_, column_fraction_, row_index_, row_fraction_;
    std::vector<std::uint8_t> work_;
    DestinationImage destination{};
    SourceImage source{};
    int samples = 0;
};

void run(Plan &plan, const ResampleKernels &kernels, Method method) {
    switch (method) {
    case Method::nearest:
        return plan.run(*kernels.nearest);
    case Method::bilinear:
        return plan.run(*kernels.bilinear);
    case Method::bicubic:
        return plan.run(*kernels.bicubic);
    }
}

// --- peers --------------------------------------------------------------------------------------

Contender libyuv_scale(const Table &t) {
    const Size from = t.scaling.source, to = t.scaling.destination;
    const libyuv::FilterMode filter =
        t.method == Method::nearest ? libyuv::kFilterNone : libyuv::kFilterBilinear;
    return {"libyuv", [=, &t] {
                if (t.samples == 1)
                    libyuv::ScalePlane(t.source(), t.source_stride(), from.width, from.height,
                                       t.destination(), t.destination_stride(), to.width, to.height,
                                       filter);
                else if (t.samples == 4)
                    libyuv::ARGBScale(t.source(), t.source_stride(), from.width, from.height,
                                      t.destination(), t.destination_stride(), to.width, to.height,
                                      filter);
                else
                    libyuv::RGBScale(t.source(), t.source_stride(), from.width, from.height,
                                     t.destination(), t.destination_stride(), to.width, to.height,
                                     filter);
            }};
}

Contender opencv_resize(const Table &t) {
    constexpr int interpolations[] = {cv::INTER_NEAREST, cv::INTER_LINEAR, cv::INTER_CUBIC};
    const int interpolation = interpolations[static_cast<int>(t.method)];
    const int type = CV_8UC(t.samples);
    return {"OpenCV", [=, &t] {
                const Size from = t.scaling.source, to = t.scaling.destination;
                const cv::Mat source(from.height, from.width, type, t.source());
                cv::Mat destination(to.height, to.width, type, t.destination());
                cv::resize(source, destination, destination.size(), 0, 0, interpolation);
            }};
}

// Pixels of 32 bits, whose fourth byte is not looked at.
Contender pixman_scale(const Table &t) {
    const auto image = [](const Size &size, std::uint8_t *pixels, int stride) {
        return std::shared_ptr<pixman_image_t>(
            pixman_image_create_bits(PIXMAN_x8r8g8b8, size.width, size.height,
                                     reinterpret_cast<std::uint32_t *>(pixels), stride),
            pixman_image_unref);
    };
    const Size from = t.scaling.source, to = t.scaling.destination;
    const auto source = image(from, t.source(), t.source_stride());
    const auto destination = image(to, t.destination(), t.destination_stride());
    const auto step = [](int source_side, int destination_side) {
        return pixman_double_to_fixed(static_cast<double>(source_side) / destination_side);
    };
    pixman_transform_t scale;
    pixman_transform_init_scale(&scale, step(from.width, to.width), step(from.height, to.height));
    pixman_image_set_transform(source.get(), &scale);
    pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);
    pixman_image_set_filter(
        source.get(), t.method == Method::nearest ? PIXMAN_FILTER_NEAREST : PIXMAN_FILTER_BILINEAR,
        nullptr, 0);
    return {"pixman", [=] {
                pixman_image_composite32(PIXMAN_OP_SRC, source.get(), nullptr, destination.get(), 0,
                                         0, 0, 0, 0, 0, to.width, to.height);
            }};
}

// One plane of its own for each sample, with rows as zimg wants them.
class ZimgPlanes {
public:
    explicit ZimgPlanes(const Table &t) : planes_(t.samples) {
        zimg_image_format from = format_of(t.scaling.source), to = format_of(t.scaling.destination);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter =
            t.method == Method::bilinear ? ZIMG_RESIZE_BILINEAR : ZIMG_RESIZE_BICUBIC;
        if (t.method == Method::bicubic) {
            params.filter_param_a = 0;
            params.filter_param_b = 0.5;
        }
        graph_.reset(zimg_filter_graph_build(&from, &to, &params));
        std::size_t bytes = 0;
        zimg_filter_graph_get_tmp_size(graph_.get(), &bytes);
        work_ = make(bytes);
        source_ = make(stride_of(from) * from.height);
        destination_ = make(stride_of(to) * to.height);
        source_stride_ = stride_of(from);
        destination_stride_ = stride_of(to);
    }

    void run() const {
        zimg_image_buffer_const from{};
        zimg_image_buffer to{};
        from.version = to.version = ZIMG_API_VERSION;
        from.plane[0].data = source_.get();
        from.plane[0].stride = static_cast<std::ptrdiff_t>(source_stride_);
        from.plane[0].mask = to.plane[0].mask = ZIMG_BUFFER_MAX;
        to.plane[0].data = destination_.get();
        to.plane[0].stride = static_cast<std::ptrdiff_t>(destination_stride_);
        for (int plane = 0; plane < planes_; ++plane)
            zimg_filter_graph_process(graph_.get(), &from, &to, work_.get(), nullptr, nullptr,
                                      nullptr, nullptr);
    }

private:
    struct Free {
        void operator()(std::uint8_t *memory) const { std::free(memory); }
        void operator()(zimg_filter_graph *graph) const { zimg_filter_graph_free(graph); }
    };
    using Block = std::unique_ptr<std::uint8_t, Free>;

    static Block make(std::size_t bytes) {
        return Block(static_cast<std::uint8_t *>(std::aligned_alloc(64, (bytes + 63) / 64 * 64)));
    }
    static std::size_t stride_of(const zimg_image_format &format) {
        return (format.width + 63) / 64 * 64;
    }
    static zimg_image_format format_of(const Size &size) {
        zimg_image_format format;
        zimg_image_format_default(&format, ZIMG_API_VERSION);
        format.width = static_cast<unsigned>(size.width);
        format.height = static_cast<unsigned>(size.height);
        format.pixel_type = ZIMG_PIXEL_BYTE;
        format.color_family = ZIMG_COLOR_GREY;
        format.pixel_range = ZIMG_RANGE_FULL;
        return format;
    }

    int planes_;
    std::unique_ptr<zimg_filter_graph, Free> graph_;
    Block work_, source_, destination_;
    std::size_t source_stride_ = 0, destination_stride_ = 0;
};

Contender zimg(const Table &t) {
    const auto planes = std::make_shared<ZimgPlanes>(t);
    const char *const names[] = {"zimg", "", "zimg, three planes", "zimg, four planes"};
    return {names[t.samples - 1], [planes] { planes->run(); }};
}

std::vector<Contender> peers_of(const Table &t) {
    std::vector<Contender> peers{opencv_resize(t)};
    if (t.method != Method::bicubic)
        peers.push_back(libyuv_scale(t));
    if (t.method != Method::bicubic && t.samples == 4)
        peers.push_back(pixman_scale(t));
    if (t.method != Method::nearest && t.scaling.enlarges())
        peers.push_back(zimg(t));
    return peers;
}

void hold_all(const Table &t) {
    Plan plan(t);
    Job job{};
    job.name = std::string(method_names[static_cast<int>(t.method)]) + ", " +
               std::to_string(8 * t.samples) + ", " + t.scaling.name;
    job.pixels = t.scaling.destination.pixels();
    job.bytes_written = job.pixels * static_cast<std::size_t>(t.samples);
    job.bytes_moved = static_cast<double>((job.pixels + t.scaling.source.pixels()) *
                                          static_cast<std::size_t>(t.samples));
    bench::enter_ours(
        job, &scalar_resample_kernels,
        [](InstructionSet level) { return &resample_kernels(level); },
        [&](const ResampleKernels *kernels) { run(plan, *kernels, t.method); });
    job.peers = peers_of(t);
    bench::hold(job, t.memory);
}

// Soft shapes with a little grain.
std::vector<std::uint8_t> make_image(std::size_t bytes, int stride) {
    std::vector<std::uint8_t> image(bytes);
    std::vector<double> waves(static_cast<std::size_t>(stride));
    for (std::size_t x = 0; x < waves.size(); ++x)
        waves[x] = std::sin(static_cast<double>(x) * 0.004) * 60;
    unsigned state = 20240517;
    for (std::size_t row = 0; row < bytes; row += waves.size()) {
        const std::size_t y = row / waves.size();
        const double wave = std::sin(static_cast<double>(y) * 0.017) * 50;
        for (std::size_t x = 0; x < std::min(waves.size(), bytes - row); ++x) {
            state = state * 1664525u + 1013904223u;
            image[row + x] = static_cast<std::uint8_t>(128 + static_cast<int>(waves[x] + wave) +
                                                       static_cast<int>(state >> 29));
        }
    }
    return image;
}

std::string zimg_version() {
    unsigned version[3];
    zimg_get_version_info(&version[0], &version[1], &version[2]);
    return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
           std::to_string(version[2]);
}

} // namespace

int main() {
    cv::setNumThreads(1);
    bench::tell_version("OpenCV", CV_VERSION);
    bench::tell_version("libyuv", std::to_string(LIBYUV_VERSION));
    bench::tell_version("pixman", pixman_version_string());
    bench::tell_version("zimg", zimg_version());
    bench::print_heading();
    for (const int samples : {3, 1, 4})
        for (const Method method : {Method::nearest, Method::bilinear, Method::bicubic})
            for (const Scaling &scaling : scalings) {
                const std::size_t bytes =
                    std::max(scaling.source.pixels(), scaling.destination.pixels()) *
                    static_cast<std::size_t>(samples);
                auto source = make_image(bytes, scaling.source.width * samples);
                std::vector<std::uint8_t> destination(bytes);
                hold_all({scaling, method, samples, {source, destination}});
            }
    return 0;
}
