// What display runs do with rows, and what OpenCV, libyuv, libswscale and Qt offer for such work.
// Ordered dithering is nowhere the same: every library has its own matrix, its own colours and its
// own layout of the result, so that most peers' bytes differ from ours.
#include "bench/peers/contest.h"
#include "display/kernels/dither_matrices.h"
#include "display/kernels/show_kernels.h"

#include <QtGui/QImage>
#include <libyuv.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

extern "C" {
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using namespace q32;
using bench::Contender;
using bench::Job;
using bench::Memory;
using display::ShowKernels;
using display::Thresholds;

struct Size {
    int width;
    int height;
    std::size_t pixels() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};

constexpr Size sizes[] = {{512, 512}, {4000, 3000}};
constexpr std::size_t max_pixel_bytes = 4;

// --- what jobs share -----------------------------------------------------------------------------

struct Table {
    Size size;
    Memory memory;

    std::uint8_t *source() const { return memory.source.data(); }
    std::uint8_t *destination() const { return memory.destination.data(); }
    cv::Mat image(std::uint8_t *pixels, int type) const {
        return cv::Mat(size.height, size.width, type, pixels);
    }
    QImage picture(QImage::Format format, int bytes) const {
        return QImage(source(), size.width, size.height, bytes * size.width, format);
    }
};

Job begin(const Table &table, const char *name, double read, double written) {
    const double pixels = static_cast<double>(table.size.pixels());
    Job job{};
    job.name = name;
    job.pixels = table.size.pixels();
    job.bytes_written = static_cast<std::size_t>(written * pixels);
    job.bytes_moved = (read + written) * pixels;
    return job;
}

// Eight rows of thresholds as runs see them.
template <int side>
std::array<Thresholds, 8> rows_of(const display::Matrix<side> &matrix) {
    std::array<Thresholds, 8> rows{};
    for (std::size_t y = 0; y < rows.size(); ++y)
        for (std::size_t x = 0; x < rows[y].size(); ++x)
            rows[y][x] = matrix[y % side * side + x % side];
    return rows;
}

// Our forms of a job: picks a kernel from each table, and calls it row by row with the places of
// the row in both images and its number.
template <typename Pick, typename CallRow>
void enter_ours(Job &job, const Table &t, double read, double written, Pick pick, CallRow row) {
    const auto source_step = static_cast<std::size_t>(read * t.size.width);
    const auto destination_step = static_cast<std::size_t>(written * t.size.width);
    bench::enter_ours(
        job, pick(display::scalar_show_kernels),
        [=](InstructionSet level) { return pick(display::show_kernels(level)); },
        [&t, source_step, destination_step, row](auto kernel) {
            for (std::size_t y = 0; y < static_cast<std::size_t>(t.size.height); ++y)
                row(kernel, t.destination() + y * destination_step, t.source() + y * source_step,
                    y);
        });
}

// --- peers ---------------------------------------------------------------------------------------

// libswscale with its ordered matrix. Without a filter it would not dither.
Contender swscale(const Table &t, const char *name, AVPixelFormat from, int read, AVPixelFormat to,
                  double written, const std::uint8_t *palette = nullptr) {
    const std::shared_ptr<SwsContext> context(sws_alloc_context(), sws_freeContext);
    SwsContext *const options = context.get();
    av_opt_set_int(options, "srcw", t.size.width, 0);
    av_opt_set_int(options, "srch", t.size.height, 0);
    av_opt_set_int(options, "src_format", from, 0);
    av_opt_set_int(options, "dstw", t.size.width, 0);
    av_opt_set_int(options, "dsth", t.size.height, 0);
    av_opt_set_int(options, "dst_format", to, 0);
    av_opt_set_int(options, "sws_flags", SWS_BILINEAR, 0);
    av_opt_set(options, "sws_dither", "bayer", 0);
    if (sws_init_context(options, nullptr, nullptr) < 0) {
        std::fprintf(stderr, "libswscale refuses %s\n", name);
        std::exit(1);
    }
    return {std::string("libswscale ") + name, [&t, context, read, written, palette] {
                const std::uint8_t *const source[] = {t.source(), palette, nullptr, nullptr};
                const int source_steps[] = {read * t.size.width, 0, 0, 0};
                std::uint8_t *const destination[] = {t.destination(), nullptr, nullptr, nullptr};
                const int steps[] = {static_cast<int>(written * t.size.width), 0, 0, 0};
                sws_scale(context.get(), source, source_steps, 0, t.size.height, destination,
                          steps);
            }};
}

// The result is an image of its own.
Contender qt(const Table &t, const char *name, QImage::Format from, int read, QImage::Format to) {
    return {std::string("Qt ") + name, [&t, from, read, to] {
                const QImage result =
                    t.picture(from, read).convertToFormat(to, Qt::OrderedDither | Qt::PreferDither);
                if (result.isNull())
                    std::abort();
            }};
}

// --- jobs ----------------------------------------------------------------------------------------

void colour_cube(const Table &t) {
    const auto thresholds = rows_of<8>(display::palette_thresholds);
    Job job = begin(t, "colour cube", 3, 1);
    enter_ours(
        job, t, 3, 1, [](const ShowKernels &k) { return k.cube_indices; },
        [&](auto *kernel, auto *to, const auto *from, std::size_t y) {
            kernel(to, from, thresholds[y % 8], static_cast<std::size_t>(t.size.width));
        });
    job.peers = {qt(t, "OrderedDither, 32 bits", QImage::Format_RGB32, 4, QImage::Format_Indexed8),
                 qt(t, "OrderedDither", QImage::Format_RGB888, 3, QImage::Format_Indexed8),
                 swscale(t, "to 3:3:2", AV_PIX_FMT_RGB24, 3, AV_PIX_FMT_RGB8, 1)};
    bench::hold(job, t.memory);
}

void high_colour(const Table &t, bool with_gamma) {
    const auto thresholds = rows_of<4>(display::high_colour_thresholds);
    const auto tables = display::screen_tables(display::high_colour_tables(display::gamma_tables(
        with_gamma ? display::GammaPercent{140, 150, 160} : display::GammaPercent{})));
    Job job = begin(t, with_gamma ? "high colour, gamma" : "high colour", 3, 3);
    if (with_gamma)
        enter_ours(
            job, t, 3, 3, [](const ShowKernels &k) { return k.high_colour; },
            [&](auto *kernel, auto *to, const auto *from, std::size_t y) {
                kernel(to, from, tables, thresholds[y % 8], static_cast<std::size_t>(t.size.width));
            });
    else
        enter_ours(
            job, t, 3, 3, [](const ShowKernels &k) { return k.plain_high_colour; },
            [&](auto *kernel, auto *to, const auto *from, std::size_t y) {
                kernel(to, from, thresholds[y % 8], static_cast<std::size_t>(t.size.width));
            });
    // What the peers make has five or six bits a channel, and no gamma.
    job.peers = {{"libyuv ARGBToRGB565Dither",
                  [&t] {
                      libyuv::ARGBToRGB565Dither(t.source(), 4 * t.size.width, t.destination(),
                                                 2 * t.size.width, nullptr, t.size.width,
                                                 t.size.height);
                  }},
                 swscale(t, "to 5:6:5", AV_PIX_FMT_RGB24, 3, AV_PIX_FMT_RGB565LE, 2)};
    bench::hold(job, t.memory);
}

void correct(const Table &t) {
    const auto tables = display::screen_tables(display::gamma_tables({140, 150, 160}));
    cv::Mat interleaved(1, 256, CV_8UC3);
    for (std::size_t entry = 0; entry < 256; ++entry) {
        interleaved.data[3 * entry] = tables.red[entry];
        interleaved.data[3 * entry + 1] = tables.green[entry];
        interleaved.data[3 * entry + 2] = tables.blue[entry];
    }
    Job job = begin(t, "gamma", 3, 3);
    enter_ours(
        job, t, 3, 3, [](const ShowKernels &k) { return k.correct; },
        [&](auto *kernel, auto *to, const auto *from, std::size_t) {
            kernel(to, from, tables, static_cast<std::size_t>(t.size.width));
        });
    job.peers = {{"OpenCV LUT, cvtColor", [&t, interleaved] {
                      cv::Mat result = t.image(t.destination(), CV_8UC3);
                      cv::LUT(t.image(t.source(), CV_8UC3), interleaved, result);
                      cv::cvtColor(result, result, cv::COLOR_RGB2BGR);
                  }}};
    bench::hold(job, t.memory);
}

void bits_of_greys(const Table &t) {
    const auto thresholds = rows_of<8>(display::sixteen_colour_thresholds);
    Job job = begin(t, "greys to bits", 1, 0.125);
    enter_ours(
        job, t, 1, 0.125, [](const ShowKernels &k) { return k.bits_of_greys; },
        [&](auto *kernel, auto *to, const auto *from, std::size_t y) {
            kernel(to, from, thresholds[y % 8], static_cast<std::size_t>(t.size.width));
        });
    job.peers = {
        qt(t, "OrderedDither", QImage::Format_Grayscale8, 1, QImage::Format_Mono),
        swscale(t, "to monoblack", AV_PIX_FMT_GRAY8, 1, AV_PIX_FMT_MONOBLACK, 0.125),
    };
    bench::hold(job, t.memory);
}

void grey_levels(const Table &t) {
    constexpr int shift = 4;
    cv::Mat levels(1, 256, CV_8UC1);
    for (int entry = 0; entry < 256; ++entry)
        levels.data[entry] = static_cast<std::uint8_t>(entry >> shift);
    Job job = begin(t, "grey levels", 1, 1);
    enter_ours(
        job, t, 1, 1, [](const ShowKernels &k) { return k.grey_levels; },
        [&](auto *kernel, auto *to, const auto *from, std::size_t) {
            kernel(to, from, shift, static_cast<std::size_t>(t.size.width));
        });
    job.peers = {{"OpenCV LUT", [&t, levels] {
                      cv::Mat result = t.image(t.destination(), CV_8UC1);
                      cv::LUT(t.image(t.source(), CV_8UC1), levels, result);
                  }}};
    bench::hold(job, t.memory);
}

void colours_of_indices(const Table &t) {
    display::ColourEntries entries{};
    for (std::uint8_t &entry : entries)
        entry = static_cast<std::uint8_t>(std::rand());
    display::ColourEntries swapped = entries; // libswscale's palettes begin with blue
    for (std::size_t i = 0; i < swapped.size(); i += 4)
        std::swap(swapped[i], swapped[i + 2]);
    Job job = begin(t, "palette to 24-bit", 1, 3);
    enter_ours(
        job, t, 1, 3, [](const ShowKernels &k) { return k.colours_of_indices; },
        [&](auto *kernel, auto *to, const auto *from, std::size_t) {
            kernel(to, from, entries, static_cast<std::size_t>(t.size.width));
        });
    job.peers = {
        swscale(t, "pal8 to rgb24", AV_PIX_FMT_PAL8, 1, AV_PIX_FMT_RGB24, 3, swapped.data())};
    bench::hold(job, t.memory);
}

void hold_all(const Table &t) {
    colours_of_indices(t);
    grey_levels(t);
    bits_of_greys(t);
    colour_cube(t);
    correct(t);
    high_colour(t, true);
    high_colour(t, false);
}

} // namespace

int main() {
    cv::setNumThreads(1);
    bench::tell_version("OpenCV", CV_VERSION);
    bench::tell_version("Qt", qVersion());
    bench::tell_version("libswscale", AV_STRINGIFY(LIBSWSCALE_VERSION));
    bench::tell_version("libyuv", std::to_string(LIBYUV_VERSION));
    bench::print_heading();
    for (Size size : sizes) {
        cv::Mat source(1, static_cast<int>(size.pixels() * max_pixel_bytes), CV_8UC1);
        cv::Mat destination = cv::Mat::zeros(source.size(), source.type());
        cv::theRNG().state = size.pixels();
        cv::randu(source, 0, 256);
        const Table table{size,
                          {{source.data, source.total()}, {destination.data, destination.total()}}};
        hold_all(table);
    }
    return 0;
}
