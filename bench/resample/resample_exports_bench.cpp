// Resampling as the DLL exports it: buffers beside the same method on plain memory (vcResampleEx),
// the cost of a pixel over sizes of pictures, and frames per second.
//
//     resample_exports_bench [parts of jobs' names]    of buffers, and nothing else
#include "bench/buffers/printing.h"
#include "bench/buffers/priority_calls.h"
#include "bench/timing.h"

#include <q32base.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace q32::bench;

constexpr double budget = 0.5; // seconds of a measurement

struct Method {
    int number;
    const char *name;
};
constexpr Method methods[] = {
    {RESAMPLE_NEAREST, "nearest"},
    {RESAMPLE_BILINEAR, "bilinear"},
    {RESAMPLE_BICUBIC, "bicubic"},
};

std::string name_of(const SIZE &size) {
    return std::to_string(size.cx) + " x " + std::to_string(size.cy);
}

double pixels_of(const SIZE &size) {
    return double(size.cx) * double(size.cy);
}

// A photograph's likeness: soft, with a little grain.
std::vector<std::uint8_t> make_picture(const SIZE &size, int pixel_bytes) {
    std::vector<std::uint8_t> pixels(std::size_t(size.cx) * std::size_t(size.cy) *
                                     std::size_t(pixel_bytes));
    unsigned state = 20240517, position = 0;
    for (std::uint8_t &byte : pixels) {
        state = state * 1664525u + 1013904223u;
        byte = std::uint8_t(100 + (position++ >> 5) % 64 + (state >> 29));
    }
    return pixels;
}

// Owns a buffer.
class Buffer {
public:
    Buffer(const SIZE &size, int bits) {
        require(buf32Alloc(&handle_, bits, size.cx, size.cy, BUF32_TILED, nullptr), "buf32Alloc");
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    ~Buffer() { buf32Free(handle_); }

    HBUF32 handle() const { return handle_; }
    void fill(const std::vector<std::uint8_t> &pixels, const SIZE &size) {
        require(buf32MergeMem(handle_, 0, 0, pixels.data(), size.cx, size.cy), "buf32MergeMem");
    }

private:
    HBUF32 handle_ = 0;
};

void resample(const Buffer &source, Buffer &destination, const SIZE &size, int method) {
    HBUF32 handle = destination.handle();
    require(q32BufferResampleEx(&size, source.handle(), &handle, nullptr, 0, method),
            "q32BufferResampleEx");
}

// Frames with tables made beforehand: the kernels on plain memory and nothing else.
class Frames {
public:
    Frames(const SIZE &source, const SIZE &destination, int bits, int method)
        : destination_(destination), method_(method),
          source_pixels_(make_picture(source, bits / 8)),
          destination_pixels_(std::size_t(destination.cx * destination.cy * (bits / 8))) {
        header_.biWidth = source.cx;
        header_.biHeight = source.cy;
        header_.biBitCount = WORD(bits);
        record_ = {&header_, destination.cx, destination.cy, method,
                   nullptr,  nullptr,        nullptr,        nullptr};
        require(vcResampleInit(&record_), "vcResampleInit");
    }
    Frames(const Frames &) = delete;
    Frames &operator=(const Frames &) = delete;
    ~Frames() { vcResampleEnd(&record_); }

    const std::vector<std::uint8_t> &source_pixels() const { return source_pixels_; }
    void next() {
        require(vcResampleEx(0, source_pixels_.data(), &header_, destination_pixels_.data(),
                             destination_.cx, destination_.cy, method_, &record_),
                "vcResampleEx");
    }

private:
    SIZE destination_;
    int method_;
    std::vector<std::uint8_t> source_pixels_, destination_pixels_;
    BITMAPINFOHEADER header_ = {};
    VCRESAMPLE record_ = {};
};

// Widths are multiples of 4, so that rows of frames have no padding.
struct Scaling {
    SIZE source, destination;
};
constexpr Scaling scalings[] = {
    {{512, 512}, {1024, 1024}}, {{1600, 1200}, {4000, 3000}}, {{640, 640}, {640, 640}},
    {{1024, 1024}, {512, 512}}, {{1280, 1280}, {512, 512}},   {{4000, 3000}, {1600, 1200}},
    {{1200, 1200}, {120, 120}}, {{4000, 3000}, {400, 300}},
};

using Parts = std::vector<std::string>;

void beside_plain_memory(const Scaling &scaling, int bits, const Method &method,
                         const Parts &parts) {
    const std::string job = name_of(scaling.source) + " to " + name_of(scaling.destination) + ", " +
                            std::to_string(bits) + " bits, " + method.name;
    if (!parts.empty() && std::none_of(parts.begin(), parts.end(), [&](const std::string &part) {
            return job.find(part) != std::string::npos;
        }))
        return;
    Frames frames(scaling.source, scaling.destination, bits, method.number);
    Buffer source(scaling.source, bits), destination(scaling.destination, bits);
    source.fill(frames.source_pixels(), scaling.source);
    const PairedTime time =
        time_paired([&] { resample(source, destination, scaling.destination, method.number); },
                    [&] { frames.next(); }, budget, true);
    print(job.c_str(), time.job * 1e9 / pixels_of(scaling.destination), "ns/pixel", "plain memory",
          time.ratio());
}

// The same enlargement at growing sizes: the cost of a pixel is to stay what it is.
void curve(const Method &method) {
    constexpr SIZE sizes[] = {{512, 512},   {1024, 1024}, {2000, 1500},
                              {4000, 3000}, {8000, 6000}, {16000, 12000}};
    for (const SIZE &size : sizes) {
        const SIZE source_size{size.cx * 2 / 5, size.cy * 2 / 5};
        Buffer source(source_size, 24), destination(size, 24);
        source.fill(make_picture(source_size, 3), source_size);
        const auto job = [&] { resample(source, destination, size, method.number); };
        job(); // touches the destination's memory
        const PairedTime time = time_paired(job, job, budget);
        print((name_of(source_size) + " to " + name_of(size) + ", " + method.name).c_str(),
              time.job * 1e9 / pixels_of(size), "ns/pixel", nullptr, 0);
    }
}

void frames_per_second(const Method &method, int bits) {
    constexpr SIZE source{720, 576}, destination{1280, 720};
    Frames frames(source, destination, bits, method.number);
    const auto job = [&] { frames.next(); };
    const PairedTime time = time_paired(job, job, budget);
    print((name_of(source) + " to " + name_of(destination) + ", " + std::to_string(bits) +
           " bits, " + method.name)
              .c_str(),
          1 / time.job, "frames/s", nullptr, 0);
}

} // namespace

int main(int argc, char **argv) {
    const Parts parts(argv + 1, argv + argc);
    std::printf("Buffers beside plain memory, without the calls that raise the thread's priority; "
                "the least of\nmany samples taken in turns\n\n");
    const NoPriorityCalls without("Q32BASE.DLL");
    require(without.complete(), "taking out the priority calls");
    for (const int bits : {24, 8})
        for (const Method &method : methods)
            for (const Scaling &scaling : scalings)
                beside_plain_memory(scaling, bits, method, parts);
    if (!parts.empty())
        return 0;
    std::printf("\nThe cost of a pixel over the size of the picture, 24 bits\n");
    for (const Method &method : methods)
        curve(method);
    std::printf("\nFrames of plain memory, tables made once\n");
    for (const int bits : {24, 16, 32})
        for (const Method &method : methods)
            frames_per_second(method, bits);
    return 0;
}
