// What a pixel costs in pictures from 32 x 32 to 16000 x 12000, by the DLL's exports: merged,
// scaled, read and written row by row, shown; beside memcpy of the same traffic, without the
// calls that raise the thread's priority. Sizes that the process has no memory for are left out.
//     growth_bench [part of a job's name]
#include "bench/buffers/printing.h"
#include "bench/buffers/priority_calls.h"
#include "bench/timing.h"

#include <q32base.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

namespace {

using namespace q32::bench;

constexpr double budget = 0.5; // seconds of a measurement
constexpr SIZE sizes[] = {{32, 32},     {64, 64},     {128, 128},    {256, 256},
                          {512, 512},   {1024, 768},  {1600, 1200},  {2400, 1800},
                          {4000, 3000}, {8000, 6000}, {16000, 12000}};
constexpr int colour_bytes = 3;

const char *wanted = "";

std::string name_of(const SIZE &size) {
    return std::to_string(size.cx) + " x " + std::to_string(size.cy);
}

std::size_t pixels_of(const SIZE &size) {
    return std::size_t(size.cx) * std::size_t(size.cy);
}

// Bytes that look like noise, or none where there is no memory for them.
class Bytes {
public:
    explicit Bytes(std::size_t count) : bytes_(new (std::nothrow) std::uint8_t[count]) {
        unsigned state = unsigned(count);
        for (std::size_t i = 0; bytes_ != nullptr && i < count; ++i) {
            state = state * 1664525u + 1013904223u;
            bytes_[i] = std::uint8_t(state >> 24);
        }
    }
    explicit operator bool() const { return bytes_ != nullptr; }
    std::uint8_t *data() const { return bytes_.get(); }

private:
    std::unique_ptr<std::uint8_t[]> bytes_;
};

// A buffer full of noise; without memory for it, none.
class Buffer {
public:
    Buffer(const SIZE &size, int bits) {
        const Bytes row(std::size_t(size.cx) * std::size_t(bits / 8));
        if (!row || !buf32Alloc(&handle_, bits, size.cx, size.cy, BUF32_TILED, nullptr))
            return;
        require(buf32Lock(handle_, BUF32_WRITE, nullptr), "buf32Lock");
        for (int y = 0; y < size.cy; ++y)
            require(buf32Line(handle_, y, BUF32_LINE_WRITE, row.data()), "buf32Line");
        buf32Unlock(handle_);
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    ~Buffer() {
        if (handle_ != 0)
            buf32Free(handle_);
    }
    explicit operator bool() const { return handle_ != 0; }
    HBUF32 handle() const { return handle_; }

private:
    HBUF32 handle_ = 0;
};

// memcpy of half the bytes that a job reads and writes. What it copies is as large as what the job
// works on, so that both meet the same caches.
class Traffic {
public:
    Traffic(const SIZE &size, int bytes_of_pixel)
        : bytes_(pixels_of(size) * std::size_t(bytes_of_pixel) / 2), from_(bytes_), to_(bytes_) {}
    explicit operator bool() const { return from_ && to_; }
    void copy() const { std::memcpy(to_.data(), from_.data(), bytes_); }

private:
    std::size_t bytes_;
    Bytes from_, to_;
};

bool is_wanted(const std::string &job) {
    return job.find(wanted) != std::string::npos;
}

template <class Job>
void measure(const std::string &job_name, const SIZE &size, int bytes_of_pixel, Job job) {
    const Traffic traffic(size, bytes_of_pixel);
    if (!traffic)
        return;
    job(); // touches all memory
    const PairedTime time = time_paired(
        job, [&] { traffic.copy(); }, budget);
    print((job_name + ", " + name_of(size)).c_str(), time.job * 1e9 / double(pixels_of(size)),
          "ns/pixel", "memcpy", time.ratio());
    std::fflush(stdout);
}

// --- jobs ---------------------------------------------------------------------------------------

void merge_memory(const SIZE &size) {
    const std::string name = "merge, plain memory";
    if (!is_wanted(name))
        return;
    const Bytes base(pixels_of(size) * colour_bytes), overlay(pixels_of(size) * colour_bytes),
        mask(pixels_of(size));
    if (!base || !overlay || !mask)
        return;
    const RECT whole = {0, 0, size.cx, size.cy};
    measure(name, size, 10, [&] {
        require(i32MergeEx(base.data(), size.cx, size.cy, mask.data(), &whole, overlay.data(),
                           &whole, colour_bytes, MERGE_NORMAL, 0),
                "i32MergeEx");
    });
}

void merge_buffers(const SIZE &size) {
    const std::string name = "merge, buffers";
    if (!is_wanted(name))
        return;
    const Buffer base(size, 24), overlay(size, 24), mask(size, 8);
    if (!base || !overlay || !mask)
        return;
    const RECT whole = {0, 0, size.cx, size.cy};
    measure(name, size, 10, [&] {
        require(i32MergeBufToBuf(base.handle(), 0, 0, mask.handle(), overlay.handle(), &whole,
                                 MERGE_NORMAL, 0),
                "i32MergeBufToBuf");
    });
}

// From two fifths of the width and height.
void scale(const SIZE &size, int method, const char *method_name) {
    const std::string name = std::string("scale, ") + method_name;
    if (!is_wanted(name))
        return;
    const SIZE smaller{std::max<LONG>(size.cx * 2 / 5, 1), std::max<LONG>(size.cy * 2 / 5, 1)};
    const Buffer source(smaller, 24), destination(size, 24);
    if (!source || !destination)
        return;
    HBUF32 handle = destination.handle();
    measure(name, size, 4, [&] { // 3 bytes written, half a byte read: rounded up
        require(q32BufferResampleEx(&size, source.handle(), &handle, nullptr, 0, method),
                "q32BufferResampleEx");
    });
}

void lines(const SIZE &size, int mode, const char *mode_name) {
    const std::string name = std::string("line, ") + mode_name;
    if (!is_wanted(name))
        return;
    const Buffer buffer(size, 24);
    const Bytes row(std::size_t(size.cx) * colour_bytes);
    if (!buffer || !row)
        return;
    require(buf32Lock(buffer.handle(), BUF32_WRITE, nullptr), "buf32Lock");
    measure(name, size, 6, [&] {
        for (int y = 0; y < size.cy; ++y)
            require(buf32Line(buffer.handle(), y, mode, row.data()), "buf32Line");
    });
    buf32Unlock(buffer.handle());
}

// A memory device context with a bitmap like the screen's, or none.
class Screen {
public:
    explicit Screen(const SIZE &size) : dc_(CreateCompatibleDC(nullptr)) {
        HDC desktop = GetDC(nullptr);
        bitmap_ = CreateCompatibleBitmap(desktop, size.cx, size.cy);
        ReleaseDC(nullptr, desktop);
        previous_ = bitmap_ != nullptr ? SelectObject(dc_, bitmap_) : nullptr;
    }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;
    ~Screen() {
        if (previous_ != nullptr)
            SelectObject(dc_, previous_);
        if (bitmap_ != nullptr)
            DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    explicit operator bool() const { return previous_ != nullptr; }
    HDC dc() const { return dc_; }

private:
    HDC dc_;
    HBITMAP bitmap_;
    HGDIOBJ previous_;
};

void show(const SIZE &size, int device_type, const char *display_name) {
    const std::string name = std::string("show, ") + display_name;
    if (!is_wanted(name))
        return;
    const Screen screen(size);
    const Bytes picture(pixels_of(size) * colour_bytes);
    if (!screen || !picture)
        return;
    require(disp32SetDevType(device_type), "disp32SetDevType");
    measure(name, size, 7, [&] {
        HDISPRUN run = 0;
        require(disp32ShowInit(&run, screen.dc(), 24, 0, 0, size.cx, size.cy, nullptr, 1, 1),
                "disp32ShowInit");
        require(disp32ShowData(run, picture.data(), 0, 0, size.cy, size.cx * colour_bytes),
                "disp32ShowData");
        require(disp32ShowEnd(run), "disp32ShowEnd");
    });
}

} // namespace

int main(int argc, char **argv) {
    wanted = argc > 1 ? argv[1] : "";
    const NoPriorityCalls without("Q32BASE.DLL");
    require(without.complete(), "taking out the priority calls");
    std::printf(
        "The cost of a pixel, 24 bits, by the size of the picture; the least of many samples\n");
    for (const SIZE &size : sizes) {
        merge_memory(size);
        merge_buffers(size);
        scale(size, RESAMPLE_NEAREST, "nearest");
        scale(size, RESAMPLE_BILINEAR, "bilinear");
        scale(size, RESAMPLE_BICUBIC, "bicubic");
        lines(size, BUF32_LINE_READ, "read");
        lines(size, BUF32_LINE_WRITE, "written");
        show(size, DISP32_TRUE_COLOUR, "true colour");
        show(size, DISP32_HIGH_COLOUR, "high colour");
        show(size, DISP32_PALETTE, "256 colours");
    }
    return 0;
}
