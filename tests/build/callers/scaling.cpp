// The library from C++: owners that free, exceptions of the program around calls that fail, and
// scaling of buffers and of frames, watched and cancelled.
#include "expect.h"

#include <q32base.h>
#include <q32comm.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Thrown where the library has reported.
struct Failure : std::runtime_error {
    explicit Failure(const C32ERRINFO &report)
        : std::runtime_error(std::to_string(report.message) + ", " +
                             std::to_string(report.severity) + ", " +
                             std::to_string(report.module) + ", " + std::to_string(report.point)) {}
};

void check(int result) {
    C32ERRINFO report;
    if (!result && c32GetDLLErrInfo(&report))
        throw Failure(report);
}

int live_buffers() {
    return buf32CountBuf(nullptr);
}

class Buffer {
public:
    Buffer() = default;
    Buffer(int bits, int width, int height) {
        check(buf32Alloc(&handle_, bits, width, height, BUF32_TILED, nullptr));
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    ~Buffer() { buf32Free(handle_); }
    HBUF32 *address() { return &handle_; }
    HBUF32 get() const { return handle_; }

private:
    HBUF32 handle_ = 0;
};

const int buffers_before_main =
    live_buffers(); // the DLL has started before the program's own objects

std::string failure_of(void (*what)()) {
    try {
        what();
    } catch (const std::exception &failure) {
        return failure.what();
    }
    return "none";
}

void failures_become_exceptions() {
    EXPECT(buffers_before_main == 0);
    EXPECT(failure_of([] { Buffer(24, 32001, 1); }) == "5402, 0, 4, 71");
    EXPECT(failure_of([] {
               Buffer held(8, 10, 10);
               Buffer(24, 1, 40000); // the first one is freed on the way out
           }) == "5403, 0, 4, 72");
    EXPECT(live_buffers() == 0);
}

int __stdcall stop_at_half(int message, int value, int, uintptr_t user_data) {
    if (message == RESAMPLE_PROGRESS)
        *reinterpret_cast<int *>(user_data) = value;
    return message != RESAMPLE_PROGRESS || value < 50;
}

void scaling_is_cancelled() {
    static int reached;
    EXPECT(failure_of([] {
               Buffer source(24, 300, 300), scaled;
               const RESAMPLEPROGRESS progress = {0, stop_at_half,
                                                  reinterpret_cast<uintptr_t>(&reached), 0, 100};
               const SIZE size = {500, 500};
               check(q32BufferResampleEx(&size, source.get(), scaled.address(), &progress, 0,
                                         RESAMPLE_BICUBIC));
           }) == "5200, 2, 12, 1680");
    EXPECT(reached == 50);
    EXPECT(live_buffers() == 0);
}

// Positions 0, 4/3, 8/3 and 4: the ends meet.
void a_buffer_is_scaled() {
    const unsigned char five[5] = {0, 50, 100, 150, 200};
    unsigned char four[4] = {};
    Buffer source(8, 5, 1), scaled;
    const SIZE size = {4, 1};
    EXPECT(buf32MergeMem(source.get(), 0, 0, five, 5, 1));
    EXPECT(q32BufferResampleEx(&size, source.get(), scaled.address(), nullptr, 1,
                               RESAMPLE_NEAREST) == 1);
    EXPECT(buf32GetMem(scaled.get(), 0, 0, 4, 1, four));
    EXPECT(four[0] == 0 && four[1] == 50 && four[2] == 100 && four[3] == 200);
}

void frames_are_scaled() {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = 4;
    header.biHeight = 2;
    header.biBitCount = 8;
    std::vector<unsigned char> source = {0, 40, 80, 120, 120, 80, 40, 0}, scaled(8 * 4);
    VCRESAMPLE record = {&header, 8, 4, RESAMPLE_BILINEAR, nullptr, nullptr, nullptr, nullptr};
    EXPECT(vcResampleInit(&record) == 1 && record.column_index && record.column_index[7] == 3);
    EXPECT(vcResampleEx(0, source.data(), &header, scaled.data(), 8, 4, RESAMPLE_BILINEAR,
                        &record) == 1);
    EXPECT(scaled[0] == 0 && scaled[2] == 40 && scaled[6] == 120 && scaled[8 * 2] == 120);
    EXPECT(scaled[1] == 20 && scaled[8] == 60);
    vcResampleEnd(&record);
}

} // namespace

int main() {
    failures_become_exceptions();
    scaling_is_cancelled();
    a_buffer_is_scaled();
    frames_are_scaled();
    return finish("scaling");
}
