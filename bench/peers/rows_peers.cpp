// The row conversions and what OpenCV, libyuv and the standard library offer for the same work.
// rows_peers [FILE]: FILE holds lines "job pixels nanoseconds" that numpy measured by itself.
#include "bench/peers/contest.h"
#include "rows/kernels/row_kernels.h"

#include <gnu/libc-version.h>
#include <libyuv.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

namespace {

using namespace q32;
using bench::Job;
using bench::Memory;

struct Size {
    int width;
    int height;
    std::size_t pixels() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};

constexpr Size sizes[] = {{512, 512}, {4000, 3000}};
constexpr std::size_t max_pixel_bytes = 6; // memcpy of the traffic of an exchange
constexpr std::uint8_t threshold = 127;

// Everything that a job of one size refers to.
struct Table {
    Size size;
    Memory memory;
    std::map<std::string, double> numpy; // nanoseconds for each pixel, by job

    std::uint8_t *source() const { return memory.source.data(); }
    std::uint8_t *destination() const { return memory.destination.data(); }
    cv::Mat image(std::uint8_t *pixels, int type) const {
        return cv::Mat(size.height, size.width, type, pixels);
    }
};

// Our forms of one conversion: picks it from each table of kernels, and calls what it picked.
template <typename Pick, typename Call>
void enter_ours(Job &job, Pick pick, Call call) {
    bench::enter_ours(
        job, pick(rows::scalar_row_kernels),
        [=](InstructionSet level) { return pick(rows::row_kernels(level)); }, call);
}

Job begin(const Table &table, const char *name, double read, double written) {
    const double pixels = static_cast<double>(table.size.pixels());
    Job job{};
    job.name = name;
    job.pixels = table.size.pixels();
    job.bytes_written = static_cast<std::size_t>(written * pixels);
    job.bytes_moved = (read + written) * pixels;
    if (auto found = table.numpy.find(name); found != table.numpy.end())
        job.measured_elsewhere.emplace_back("numpy", found->second);
    return job;
}

void convert(const Table &t, const char *name, rows::Conversion *rows::RowKernels::*member,
             double read, double written, std::vector<bench::Contender> peers) {
    Job job = begin(t, name, read, written);
    enter_ours(
        job, [=](const rows::RowKernels &kernels) { return kernels.*member; },
        [&t](rows::Conversion *kernel) { kernel(t.destination(), t.source(), t.size.pixels()); });
    job.peers = std::move(peers);
    bench::hold(job, t.memory);
}

void convert_bits(const Table &t, const char *name, rows::BitConversion *rows::RowKernels::*member,
                  std::uint8_t value, double read, double written) {
    Job job = begin(t, name, read, written);
    enter_ours(
        job, [=](const rows::RowKernels &kernels) { return kernels.*member; },
        [&t, value](rows::BitConversion *kernel) {
            kernel(t.destination(), t.source(), t.size.pixels(), value);
        });
    bench::hold(job, t.memory);
}

void map(const Table &t, const char *name, rows::Mapping *rows::RowKernels::*member, int channels) {
    constexpr int entries = 256;
    std::vector<std::uint8_t> tables(entries * static_cast<std::size_t>(channels));
    for (std::uint8_t &entry : tables)
        entry = static_cast<std::uint8_t>(std::rand());
    cv::Mat interleaved(1, entries, CV_8UC(channels));
    for (int entry = 0; entry < entries; ++entry)
        for (int channel = 0; channel < channels; ++channel)
            interleaved.data[entry * channels + channel] = tables.data()[channel * entries + entry];

    Job job = begin(t, name, channels, channels);
    enter_ours(
        job, [=](const rows::RowKernels &kernels) { return kernels.*member; },
        [&](rows::Mapping *kernel) {
            kernel(t.destination(), t.source(), tables.data(), t.size.pixels());
        });
    const int type = CV_8UC(channels);
    job.peers = {{"OpenCV LUT", [&t, interleaved, type] {
                      cv::Mat result = t.image(t.destination(), type);
                      cv::LUT(t.image(t.source(), type), interleaved, result);
                  }}};
    bench::hold(job, t.memory);
}

void fill(const Table &t, const char *name, int bytes) {
    static constexpr std::uint8_t pattern[] = {10, 20, 30, 40};
    Job job = begin(t, name, 0, bytes);
    enter_ours(
        job, [=](const rows::RowKernels &kernels) { return kernels.fill[bytes - 1]; },
        [&t](rows::Filling *kernel) { kernel(t.destination(), pattern, t.size.pixels()); });
    job.peers = {{"OpenCV setTo", [&t, bytes] {
                      t.image(t.destination(), CV_8UC(bytes)).setTo(cv::Scalar(10, 20, 30, 40));
                  }}};
    if (bytes == 1)
        job.peers.push_back(
            {"memset", [&t] { std::memset(t.destination(), 10, t.size.pixels()); }});
    if (bytes == 4)
        job.peers.push_back({"libyuv ARGBRect", [&t] {
                                 libyuv::ARGBRect(t.destination(), t.size.width * 4, 0, 0,
                                                  t.size.width, t.size.height, 0x281E140A);
                             }});
    bench::hold(job, t.memory);
}

void exchange(const Table &t) {
    const std::size_t bytes = t.size.pixels() * 3;
    Job job = begin(t, "exchange", 6, 3);
    job.bytes_moved = 12.0 * static_cast<double>(t.size.pixels());
    enter_ours(
        job, [](const rows::RowKernels &kernels) { return kernels.exchange; },
        [&t, bytes](rows::Exchange *kernel) { kernel(t.destination(), t.source(), bytes); });
    job.peers = {{"std::swap_ranges", [&t, bytes] {
                      std::swap_ranges(t.source(), t.source() + bytes, t.destination());
                  }}};
    bench::hold(job, t.memory);
}

bench::Contender opencv_colour(const Table &t, const char *name, int from, int to, int code) {
    return {std::string("OpenCV ") + name, [&t, from, to, code] {
                cv::Mat result = t.image(t.destination(), to);
                cv::cvtColor(t.image(t.source(), from), result, code);
            }};
}

void hold_all(const Table &t) {
    using Kernels = rows::RowKernels;
    fill(t, "fill 8-bit", 1);
    fill(t, "fill 24-bit", 3);
    fill(t, "fill 32-bit", 4);
    exchange(t);
    convert(t, "invert", &Kernels::invert, 1, 1,
            {{"OpenCV bitwise_not", [&t] {
                  cv::Mat result = t.image(t.destination(), CV_8UC1);
                  cv::bitwise_not(t.image(t.source(), CV_8UC1), result);
              }}});
    convert_bits(t, "1-bit to 8-bit", &Kernels::bit_to_byte, 1, 0.125, 1);
    convert_bits(t, "8-bit to 1-bit", &Kernels::byte_to_bit, threshold, 1, 0.125);
    convert(t, "24-bit to 555", &Kernels::rgb888_to_555, 3, 2,
            {opencv_colour(t, "RGB2BGR555", CV_8UC3, CV_8UC2, cv::COLOR_RGB2BGR555)});
    convert(t, "24-bit to 565", &Kernels::rgb888_to_565, 3, 2,
            {opencv_colour(t, "RGB2BGR565", CV_8UC3, CV_8UC2, cv::COLOR_RGB2BGR565)});
    convert(t, "555 to 24-bit", &Kernels::rgb555_to_888, 2, 3,
            {opencv_colour(t, "BGR5552RGB", CV_8UC2, CV_8UC3, cv::COLOR_BGR5552RGB)});
    convert(t, "565 to 24-bit", &Kernels::rgb565_to_888, 2, 3,
            {opencv_colour(t, "BGR5652RGB", CV_8UC2, CV_8UC3, cv::COLOR_BGR5652RGB)});
    convert(t, "red-blue swap", &Kernels::swap_red_blue, 3, 3,
            {opencv_colour(t, "RGB2BGR", CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR),
             {"libyuv RAWToRGB24", [&t] {
                  libyuv::RAWToRGB24(t.source(), t.size.width * 3, t.destination(),
                                     t.size.width * 3, t.size.width, t.size.height);
              }}});
    map(t, "table, 8-bit", &Kernels::map_8, 1);
    map(t, "tables, 24-bit", &Kernels::map_24, 3);
}

// Lines "job<TAB>pixels<TAB>nanoseconds"; other lines are ignored.
std::map<std::string, double> numpy_times(const char *path, std::size_t wanted_pixels) {
    std::map<std::string, double> times;
    std::FILE *file = path != nullptr ? std::fopen(path, "r") : nullptr;
    if (file == nullptr)
        return times;
    char line[128];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        char job[64];
        std::size_t pixels;
        double time;
        if (std::sscanf(line, "%63[^\t]\t%zu\t%lf", job, &pixels, &time) == 3 &&
            pixels == wanted_pixels)
            times[job] = time;
    }
    std::fclose(file);
    return times;
}

} // namespace

int main(int argc, char **argv) {
    cv::setNumThreads(1);
    bench::tell_version("OpenCV", CV_VERSION);
    bench::tell_version("libyuv", std::to_string(LIBYUV_VERSION));
    bench::tell_version("memset", std::string("of glibc ") + gnu_get_libc_version());
    bench::tell_version("std::swap_ranges", "of GCC " __VERSION__);
    bench::print_heading();
    for (Size size : sizes) {
        cv::Mat source(1, static_cast<int>(size.pixels() * max_pixel_bytes), CV_8UC1);
        cv::Mat destination = cv::Mat::zeros(source.size(), source.type());
        cv::theRNG().state = size.pixels();
        cv::randu(source, 0, 256);
        const Table table{size,
                          {{source.data, source.total()}, {destination.data, destination.total()}},
                          numpy_times(argc > 1 ? argv[1] : nullptr, size.pixels())};
        hold_all(table);
    }
    return 0;
}
