// Rectangles of the DLL: moved at random places of a large image, duplicated and filled, beside
// plain memory in the same run.
//     rectangles_bench [FILE]    the file gets the figures of the tiled buffer, for buffers_peers
#include "bench/buffers/places.h"
#include "bench/buffers/printing.h"
#include "bench/buffers/priority_calls.h"
#include "bench/timing.h"

#include <q32base.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace q32::bench;

constexpr int width = 4000, height = 3000, bits = 24, pixel_bytes = bits / 8;
constexpr std::size_t row_bytes = std::size_t(width) * pixel_bytes;
constexpr std::size_t image_bytes = row_bytes * height;
constexpr double budget = 0.7;

std::vector<std::uint8_t> image_from(image_bytes, 1), image_to(image_bytes, 2);

void copy_image() {
    std::memcpy(image_to.data(), image_from.data(), image_bytes);
}

HBUF32 allocate(std::uint32_t type) {
    HBUF32 buffer = 0;
    require(buf32Alloc(&buffer, bits, width, height, type, nullptr), "buf32Alloc");
    void *base = nullptr;
    require(buf32Lock(buffer, BUF32_WRITE, &base), "buf32Lock");
    std::memset(base, 0x55, image_bytes); // every page is there
    buf32Unlock(buffer);
    return buffer;
}

struct Figures {
    double nanoseconds; // for each pixel
    double ratio;       // to memcpy
};

// --- rectangles ---------------------------------------------------------------------------------

// Many squares of one size, as one job.
struct Squares {
    int side;
    Places places{width, height, side};
    std::vector<std::uint8_t> memory =
        std::vector<std::uint8_t>(std::size_t(side) * side * 3, 0x55);

    int count() const { return side > 100 ? 100 : 2000; }
    double pixels() const { return double(count()) * side * side; }

    template <class Move>
    auto job(Move move) {
        return [this, move] {
            for (int i = count(); i != 0; --i)
                move(places.next(), side, memory.data());
        };
    }
};

// What a caller with a plain linear image would do.
void read_plain(Place place, int side, std::uint8_t *memory) {
    const std::uint8_t *row = &image_from[place.y * row_bytes + std::size_t(place.x) * pixel_bytes];
    const std::size_t bytes = std::size_t(side) * pixel_bytes;
    for (int y = 0; y < side; ++y, row += row_bytes, memory += bytes)
        std::memcpy(memory, row, bytes);
}

void write_plain(Place place, int side, const std::uint8_t *memory) {
    std::uint8_t *row = &image_to[place.y * row_bytes + std::size_t(place.x) * pixel_bytes];
    const std::size_t bytes = std::size_t(side) * pixel_bytes;
    for (int y = 0; y < side; ++y, row += row_bytes, memory += bytes)
        std::memcpy(row, memory, bytes);
}

// Squares and the whole image in turns: what a pixel of either takes. Returns the squares' time.
template <class Job>
Figures measure_squares(const std::string &name, Squares &squares, Job job) {
    const PairedTime time = time_paired(job, copy_image, budget);
    const double per_pixel = time.job / squares.pixels();
    const double copied_per_pixel = time.reference / (double(width) * height);
    const std::string size = std::to_string(squares.side) + " x " + std::to_string(squares.side);
    print((size + " " + name).c_str(), per_pixel * 1e9, "ns/pixel", "memcpy",
          per_pixel / copied_per_pixel);
    if (squares.side < 100)
        print("   the same, for each call", time.job / squares.count() * 1e9, "ns", nullptr, 0);
    return {per_pixel * 1e9, per_pixel / copied_per_pixel};
}

void save(std::FILE *file, const char *job, int side, const Figures &figures) {
    if (file != nullptr)
        std::fprintf(file, "%s %d %.4f %.3f\n", job, side, figures.nanoseconds, figures.ratio);
}

void measure_rectangles_of(HBUF32 buffer, const std::string &kind, std::FILE *file) {
    for (const int side : {200, 16}) {
        Squares squares{side};
        const auto get = [=](Place at, int size, void *memory) {
            require(buf32GetMem(buffer, at.x, at.y, size, size, memory), "buf32GetMem");
        };
        const auto merge = [=](Place at, int size, const void *memory) {
            require(buf32MergeMem(buffer, at.x, at.y, memory, size, size), "buf32MergeMem");
        };
        {
            const NoPriorityCalls without("Q32BASE.DLL");
            require(without.complete(), "taking out the priority calls");
            save(file, "read", side,
                 measure_squares("buf32GetMem, " + kind, squares, squares.job(get)));
            save(file, "write", side,
                 measure_squares("buf32MergeMem, " + kind, squares, squares.job(merge)));
        }
        measure_squares("buf32GetMem, with priority calls", squares, squares.job(get));
        measure_squares("buf32MergeMem, with priority calls", squares, squares.job(merge));
    }
}

// What a call costs that has next to nothing to move: one pixel, always the same.
void measure_single_pixels(HBUF32 buffer, const std::string &kind) {
    const NoPriorityCalls without("Q32BASE.DLL");
    std::uint8_t pixel[pixel_bytes] = {10, 20, 30};
    const PairedTime read =
        time_paired([&] { require(buf32GetMem(buffer, 5, 5, 1, 1, pixel), "buf32GetMem"); },
                    [&] { std::memcpy(image_to.data(), image_from.data(), 4096); }, budget);
    print(("1 x 1 buf32GetMem, " + kind).c_str(), read.job * 1e9, "ns", "memcpy of a page",
          read.ratio());
    const PairedTime written =
        time_paired([&] { require(buf32MergeMem(buffer, 5, 5, pixel, 1, 1), "buf32MergeMem"); },
                    [&] { std::memcpy(image_to.data(), image_from.data(), 4096); }, budget);
    print(("1 x 1 buf32MergeMem, " + kind).c_str(), written.job * 1e9, "ns", "memcpy of a page",
          written.ratio());
}

void measure_rectangles(std::FILE *file) {
    for (const int side : {200, 16}) {
        Squares squares{side};
        measure_squares("rows out of a plain image", squares, squares.job(read_plain));
        measure_squares("rows into a plain image", squares, squares.job(write_plain));
    }
    const HBUF32 tiled = allocate(BUF32_TILED);
    measure_rectangles_of(tiled, "tiled", file);
    measure_single_pixels(tiled, "tiled");
    buf32Free(tiled);
    const HBUF32 linear = allocate(BUF32_LINEAR);
    measure_rectangles_of(linear, "linear", nullptr);
    buf32Free(linear);
}

// --- bits ---------------------------------------------------------------------------------------

// A rectangle of 1-bit pixels that begins inside a byte on both sides.
void measure_bits() {
    constexpr int columns = 3001, rows = 1000;
    constexpr std::size_t bytes = std::size_t(columns + 7) / 8 * rows;
    HBUF32 buffer = 0;
    require(buf32Alloc(&buffer, 1, width, height, BUF32_TILED, nullptr), "buf32Alloc");
    std::vector<std::uint8_t> memory(bytes), copy(bytes);
    const auto reference = [&] { std::memcpy(copy.data(), memory.data(), bytes); };
    const NoPriorityCalls without("Q32BASE.DLL");

    const PairedTime read = time_paired(
        [&] { buf32GetMem(buffer, 3, 5, columns, rows, memory.data()); }, reference, budget);
    print("1 bit, 3001 x 1000 at x = 3, buf32GetMem", read.job * 1e9 / columns / rows, "ns/pixel",
          "memcpy", read.ratio());
    const PairedTime written = time_paired(
        [&] { buf32MergeMem(buffer, 3, 5, memory.data(), columns, rows); }, reference, budget);
    print("1 bit, 3001 x 1000 at x = 3, buf32MergeMem", written.job * 1e9 / columns / rows,
          "ns/pixel", "memcpy", written.ratio());
    buf32Free(buffer);
}

// --- whole buffers ------------------------------------------------------------------------------

void measure_duplicates() {
    const HBUF32 source = allocate(BUF32_TILED);
    const NoPriorityCalls without("Q32BASE.DLL");
    const PairedTime time = time_paired(
        [=] {
            HBUF32 duplicate = 0;
            require(buf32DupBuf(source, &duplicate), "buf32DupBuf");
            buf32Free(duplicate);
        },
        copy_image, budget);
    print("buf32DupBuf and buf32Free", time.job * 1e6, "us", "memcpy of the image", time.ratio());

    const PairedTime copied = time_paired(
        [=] {
            HBUF32 duplicate = 0;
            require(buf32DupBuf(source, &duplicate), "buf32DupBuf");
            require(buf32Lock(duplicate, BUF32_WRITE, nullptr), "buf32Lock");
            buf32Unlock(duplicate);
            buf32Free(duplicate);
        },
        copy_image, budget);
    print("the same, with pixels of its own", copied.job * 1e3, "ms", "memcpy of the image",
          copied.ratio());
    buf32Free(source);
}

void measure_fills() {
    const HBUF32 buffer = allocate(BUF32_TILED);
    const NoPriorityCalls without("Q32BASE.DLL");
    const std::uint8_t colour[pixel_bytes] = {10, 20, 30};
    require(buf32FillOneColor(buffer, colour), "buf32FillOneColor");
    constexpr std::size_t block_bytes = 128 * 128 * pixel_bytes;
    const PairedTime refill =
        time_paired([&] { buf32FillOneColor(buffer, colour); },
                    [] { std::memset(image_to.data(), 7, block_bytes); }, budget);
    print("buf32FillOneColor", refill.job * 1e6, "us", "memset of a cell", refill.ratio());

    constexpr int side = 1000;
    const auto set = [] { std::memset(image_to.data(), 7, std::size_t(side) * side * 3); };
    const PairedTime colour_read =
        time_paired([&] { buf32GetMem(buffer, 5, 5, side, side, image_to.data()); }, set, budget);
    print("1000 x 1000 buf32GetMem of one colour", colour_read.job * 1e9 / side / side, "ns/pixel",
          "memset", colour_read.ratio());
    const PairedTime background = time_paired(
        [&] { buf32GetMemWithBC(buffer, -side, 0, side, side, image_to.data(), colour); }, set,
        budget);
    print("1000 x 1000 of background", background.job * 1e9 / side / side, "ns/pixel", "memset",
          background.ratio());
    buf32Free(buffer);
}

} // namespace

int main(int argc, char **argv) {
    std::FILE *const file = argc > 1 ? std::fopen(argv[1], "w") : nullptr;
    require(argc == 1 || file != nullptr, "opening the file");
    std::printf("Rectangles, %d x %d, %d bits, without the calls that raise the thread's priority "
                "unless stated;\nthe least of many samples taken in turns\n\n",
                width, height, bits);
    measure_rectangles(file);
    if (file != nullptr)
        std::fclose(file);
    measure_bits();
    measure_duplicates();
    measure_fills();
    return 0;
}
