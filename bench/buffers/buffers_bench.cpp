// The buffer exports of the DLL: what rows, locks, allocation and swap files cost beside plain
// memory and a bare mapped file, measured in turns in one run.
#include "bench/buffers/printing.h"
#include "bench/timing.h"

#include <q32base.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace q32::bench;

constexpr int width = 4000, height = 3000, bits = 24;
constexpr std::size_t row_bytes = std::size_t(width) * 3;
constexpr std::size_t image_bytes = row_bytes * height;
constexpr double budget = 2.0;

HBUF32 allocate(std::uint32_t type) {
    HBUF32 buffer = 0;
    require(buf32Alloc(&buffer, bits, width, height, type, nullptr), "buf32Alloc");
    return buffer;
}

void lines(HBUF32 buffer, int mode, void *row) {
    for (int y = 0; y < height; ++y)
        buf32Line(buffer, y, mode, row);
}

// Rows in order, each into (or out of) the same row of memory; the reference copies as many bytes.
void measure_lines() {
    const HBUF32 buffer = allocate(BUF32_TILED);
    require(buf32Lock(buffer, BUF32_WRITE, nullptr), "buf32Lock");
    std::vector<std::uint8_t> row(row_bytes, 0x55), from(image_bytes, 1), to(image_bytes, 2);
    lines(buffer, BUF32_LINE_WRITE, row.data());

    struct {
        const char *name;
        int mode;
    } const jobs[] = {{"buf32Line, reading", BUF32_LINE_READ},
                      {"buf32Line, writing", BUF32_LINE_WRITE}};
    for (const auto &job : jobs) {
        const PairedTime time =
            time_paired([&] { lines(buffer, job.mode, row.data()); },
                        [&] { std::memcpy(to.data(), from.data(), image_bytes); }, budget);
        print(job.name, time.job * 1e9 / (width * double(height)), "ns/pixel", "memcpy",
              time.ratio());
    }
    buf32Unlock(buffer);
    buf32Free(buffer);
}

void measure_locks() {
    const HBUF32 buffer = allocate(BUF32_TILED);
    constexpr int cells = 32 * 24;
    const PairedTime time = time_paired(
        [&] {
            void *address;
            for (int cell = 0; cell < cells; ++cell) {
                buf32CellLock(buffer, cell, &address, nullptr);
                buf32CellUnlock(buffer, cell);
            }
        },
        [] {}, 0.3);
    print("cell lock and unlock", time.job * 1e9 / cells, "ns", nullptr, 0);
    buf32Free(buffer);
}

void measure_allocation() {
    const PairedTime time = time_paired([] { buf32Free(allocate(BUF32_TILED)); }, [] {}, 0.3);
    print("allocation and freeing, memory", time.job * 1e6, "us", nullptr, 0);
}

// A file of the image's size in the directory of the swap files, mapped whole.
class BareMappedFile {
public:
    BareMappedFile() {
        char directory[MAX_PATH], name[MAX_PATH];
        GetTempPathA(MAX_PATH, directory);
        GetTempFileNameA(directory, "bar", 0, name);
        file_ = CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_FLAG_DELETE_ON_CLOSE, nullptr);
        mapping_ = CreateFileMappingA(file_, nullptr, PAGE_READWRITE, 0, image_bytes, nullptr);
        view = static_cast<std::uint8_t *>(MapViewOfFile(mapping_, FILE_MAP_WRITE, 0, 0, 0));
        require(view != nullptr, "the bare mapped file");
    }
    ~BareMappedFile() {
        UnmapViewOfFile(view);
        CloseHandle(mapping_);
        CloseHandle(file_);
    }
    BareMappedFile(const BareMappedFile &) = delete;
    BareMappedFile &operator=(const BareMappedFile &) = delete;

    std::uint8_t *view;

private:
    HANDLE file_;
    HANDLE mapping_;
};

double write_cells_of(HBUF32 buffer, const std::uint8_t *from) {
    const double start = seconds();
    void *base = nullptr;
    require(buf32Lock(buffer, BUF32_WRITE, &base), "buf32Lock");
    std::memcpy(base, from, image_bytes);
    buf32Unlock(buffer);
    return seconds() - start;
}

// The first write cannot be repeated on the same pages: fresh files in turns, the least of each.
void measure_first_write() {
    const std::vector<std::uint8_t> from(image_bytes, 1);
    PairedTime best{1e9, 1e9};
    for (int sample = 0; sample < 9; ++sample) {
        const HBUF32 buffer = allocate(BUF32_TILED_FILE);
        best.job = std::min(best.job, write_cells_of(buffer, from.data()));
        buf32Free(buffer);

        const BareMappedFile file;
        const double start = seconds();
        std::memcpy(file.view, from.data(), image_bytes);
        best.reference = std::min(best.reference, seconds() - start);
    }
    print("first write through a swap file", best.job * 1e9 / (width * double(height)), "ns/pixel",
          "bare mapped file", best.ratio());
}

} // namespace

int main() {
    std::printf("Buffers, %d x %d, %d bits; the least of many samples taken in turns\n\n", width,
                height, bits);
    measure_lines();
    measure_locks();
    measure_allocation();
    measure_first_write();
    return 0;
}
