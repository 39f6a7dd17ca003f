// Rectangles at random places of a large image: a tile buffer of another library and rows of a
// plain image on this machine, and beside them what rectangles_bench has found for the DLL. Each
// side is set against memcpy of its own run.
//     buffers_peers [FILE]    the file that rectangles_bench has written
#include "bench/buffers/places.h"
#include "bench/peers/figures.h"
#include "bench/timing.h"

#include <gegl.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace q32::bench;

constexpr int width = 4000, height = 3000, pixel_bytes = 3;
constexpr std::size_t row_bytes = std::size_t(width) * pixel_bytes;
constexpr std::size_t image_bytes = row_bytes * height;
constexpr double budget = 1.0;

std::vector<std::uint8_t> image_from(image_bytes, 1), image_to(image_bytes, 2);

struct Figures {
    double nanoseconds; // for each pixel
    double ratio;       // to memcpy
};

// --- the DLL's, from the file -------------------------------------------------------------------

// "read 200 0.312 1.10": negative figures when the file has no such line.
Figures figures_of(const char *path, const char *job, int side) {
    Figures found{-1, -1};
    std::FILE *const file = path != nullptr ? std::fopen(path, "r") : nullptr;
    if (file == nullptr)
        return found;
    char name[16];
    int size;
    Figures line;
    while (std::fscanf(file, "%15s %d %lf %lf", name, &size, &line.nanoseconds, &line.ratio) == 4)
        if (size == side && std::strcmp(name, job) == 0)
            found = line;
    std::fclose(file);
    return found;
}

// --- the peer's ---------------------------------------------------------------------------------

class TileBuffer {
public:
    TileBuffer() {
        const GeglRectangle all{0, 0, width, height};
        buffer_ = gegl_buffer_new(&all, format_);
        gegl_buffer_set(buffer_, &all, 0, format_, image_from.data(), GEGL_AUTO_ROWSTRIDE);
    }
    ~TileBuffer() { g_object_unref(buffer_); }
    TileBuffer(const TileBuffer &) = delete;
    TileBuffer &operator=(const TileBuffer &) = delete;

    void read(Place at, int side, std::uint8_t *memory) const {
        const GeglRectangle square{at.x, at.y, side, side};
        gegl_buffer_get(buffer_, &square, 1.0, format_, memory, GEGL_AUTO_ROWSTRIDE,
                        GEGL_ABYSS_NONE);
    }
    void write(Place at, int side, const std::uint8_t *memory) const {
        const GeglRectangle square{at.x, at.y, side, side};
        gegl_buffer_set(buffer_, &square, 0, format_, memory, GEGL_AUTO_ROWSTRIDE);
    }

private:
    const Babl *format_ = babl_format("R'G'B' u8");
    GeglBuffer *buffer_;
};

// --- plain rows ---------------------------------------------------------------------------------

std::uint8_t *address(std::vector<std::uint8_t> &image, Place at) {
    return &image[std::size_t(at.y) * row_bytes + std::size_t(at.x) * pixel_bytes];
}

void read_plain(Place at, int side, std::uint8_t *memory) {
    const std::size_t bytes = std::size_t(side) * pixel_bytes;
    const std::uint8_t *row = address(image_from, at);
    for (int y = 0; y < side; ++y, row += row_bytes, memory += bytes)
        std::memcpy(memory, row, bytes);
}

void write_plain(Place at, int side, const std::uint8_t *memory) {
    const std::size_t bytes = std::size_t(side) * pixel_bytes;
    std::uint8_t *row = address(image_to, at);
    for (int y = 0; y < side; ++y, row += row_bytes, memory += bytes)
        std::memcpy(row, memory, bytes);
}

template <class Move>
Figures measure(int side, Move move) {
    const int count = side > 100 ? 100 : 2000;
    Places places(width, height, side);
    std::vector<std::uint8_t> memory(std::size_t(side) * side * pixel_bytes, 0x55);
    const PairedTime time = time_paired(
        [&] {
            for (int i = count; i != 0; --i)
                move(places.next(), side, memory.data());
        },
        [] { std::memcpy(image_to.data(), image_from.data(), image_bytes); }, budget);
    const double per_pixel = time.job / (double(count) * side * side);
    return {per_pixel * 1e9, per_pixel * width * height / time.reference};
}

void print(const Figures &figures) {
    if (figures.nanoseconds < 0)
        std::printf("%18s", "not measured");
    else
        std::printf("%9.3f %7.2f x", figures.nanoseconds, figures.ratio);
}

void tell(const std::string &job, int side, const Figures &figures) {
    const std::string place = job + " " + std::to_string(side) + " x " + std::to_string(side);
    const auto pixels = std::size_t(side) * std::size_t(side);
    tell_times(
        {place, pixels, Kind::peer, "GEGL buffer", "another process", {figures.nanoseconds}});
}

template <class Peer, class Plain>
void print_job(const char *file, const char *job, int side, Peer peer, Plain plain) {
    std::printf("%-6s%3d x %-6d", job, side, side);
    print(figures_of(file, job, side));
    const Figures of_peer = measure(side, peer);
    print(of_peer);
    print(measure(side, plain));
    std::printf("\n");
    tell(job, side, of_peer);
}

} // namespace

int main(int argc, char **argv) {
    const char *const file = argc > 1 ? argv[1] : nullptr;
    gegl_init(nullptr, nullptr);
    tell_version("GEGL", std::to_string(GEGL_MAJOR_VERSION) + "." +
                             std::to_string(GEGL_MINOR_VERSION) + "." +
                             std::to_string(GEGL_MICRO_VERSION));
    {
        std::printf("%d x %d, 24 bits: nanoseconds for each pixel, and times memcpy of as many "
                    "bytes\n\n%-18s%18s%18s%18s\n",
                    width, height, "job", "Q32BASE.DLL", "GEGL buffer", "plain rows");
        const TileBuffer tiles;
        for (const int side : {200, 16}) {
            print_job(
                file, "read", side,
                [&](Place at, int size, std::uint8_t *memory) { tiles.read(at, size, memory); },
                read_plain);
            print_job(
                file, "write", side,
                [&](Place at, int size, std::uint8_t *memory) { tiles.write(at, size, memory); },
                write_plain);
        }
    }
    gegl_exit();
    return 0;
}
