// A script of operations on the library, and what each of them gave: pixels, reports, counters, and
// what buffers and cells tell of themselves. The same seed gives the same script in both editions,
// which compare_test.py holds against each other: transcript SEED OPERATIONS
#include "tests/frame/comm.h"
#include "tests/workload/work.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace q32::test {
namespace {

// --- what is told --------------------------------------------------------------------------------

std::string line;

void tell(const char *name, unsigned long long value) {
    line += std::string(" ") + name + " " + std::to_string(value);
}

void tell_result(int result) {
    tell("result", unsigned(result));
    for (const frame::Failure &report : frame::reports())
        line += " report " + std::to_string(report.message) + "," +
                std::to_string(report.severity) + "," + std::to_string(report.module) + "," +
                std::to_string(report.point);
    frame::forget_reports();
}

void tell_bytes(const char *name, const std::vector<std::uint8_t> &bytes) {
    Digest digest;
    digest.add(bytes.data(), bytes.size());
    tell(name, digest.value());
}

// --- buffers -------------------------------------------------------------------------------------

struct Held {
    HBUF32 handle = 0;
    int bits = 0;
    std::vector<std::uint8_t> callers; // memory that the buffer lies over
};
std::vector<Held> held;

constexpr std::uint32_t types[] = {BUF32_TILED,
                                   BUF32_TILED_FILE,
                                   BUF32_LINEAR,
                                   BUF32_LINEAR_MEMORY,
                                   BUF32_LINEAR_SHRINK,
                                   BUF32_ONE_COLOUR,
                                   BUF32_PATTERN,
                                   BUF32_CALLER_MEMORY,
                                   0x100,
                                   BUF32_ONE_COLOUR | BUF32_LINEAR};
constexpr int depths[] = {1, 2, 4, 8, 12, 16, 24, 24, 32, 48, 64};

std::size_t row_bytes(int width, int bits) {
    return (std::size_t(width) * std::size_t(bits) + 7) / 8;
}

std::vector<std::uint8_t> some_bytes(Random &random, std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    random.fill(bytes);
    return bytes;
}

void tell_buffer(const Held &buffer) {
    BUF32INFO info = {};
    tell("live", unsigned(api().buf32GetInfo(buffer.handle, &info)));
    const int facts[] = {
        int(info.type),   info.bits_per_pixel,    info.bytes_per_pixel, info.width,
        info.height,      info.capacity_rows,     info.format_depth,    info.one_colour,
        info.cell_count,  info.cell_columns,      info.cell_rows,       info.cell_width,
        info.cell_height, info.last_column_width, info.last_row_height, info.lock_count,
        info.access_mode};
    for (const int fact : facts)
        tell("is", unsigned(fact));
    for (const std::size_t bytes :
         {info.image_bytes, info.reserved_bytes, info.band_bytes, info.cell_bytes})
        tell("bytes", bytes);
    // Bytes beyond the pixels of a row are not initialised everywhere: one pixel after the other.
    Digest digest;
    for (int y = 0; y < info.height; y += 1 + info.height / 40) {
        std::vector<std::uint8_t> row(std::size_t(info.width) * 8, 0);
        digest.add(
            std::uint32_t(api().buf32GetMem(buffer.handle, 0, y, info.width, 1, row.data())));
        digest.add(row.data(), row.size());
    }
    tell("pixels", digest.value());
    frame::forget_reports();
}

Held *any(Random &random) {
    return held.empty() ? nullptr : &held[random.below(held.size())];
}

int width_of(const Held &buffer) {
    int width = 0;
    api().buf32GetWHU(buffer.handle, &width, nullptr, nullptr);
    return width;
}

int height_of(const Held &buffer) {
    int height = 0;
    api().buf32GetWHU(buffer.handle, nullptr, &height, nullptr);
    return height;
}

// --- operations ----------------------------------------------------------------------------------

// Every pixel gets a value: memory that the system provides is zero in no edition by promise.
void initialise(Random &random, const Held &buffer) {
    const std::vector<std::uint8_t> pixels =
        some_bytes(random, std::size_t(width_of(buffer)) * 8 * std::size_t(height_of(buffer)));
    api().buf32MergeMem(buffer.handle, 0, 0, pixels.data(), width_of(buffer), height_of(buffer));
    frame::forget_reports();
}

void allocate(Random &random) {
    Held made;
    made.bits = depths[random.below(std::size(depths))];
    const int width = between(random, 1, 300), height = between(random, 1, 300);
    const std::uint32_t type = types[random.below(std::size(types))];
    const std::vector<std::uint8_t> small = some_bytes(random, 4096);
    made.callers = some_bytes(random, row_bytes(width, made.bits) * std::size_t(height));
    const BUF32PATTERN pattern = {std::uint16_t(between(random, 1, 9)),
                                  std::uint16_t(between(random, 1, 9)), small.data()};
    const BUF32MEMORY memory = {7, made.callers.data()};
    const void *extra = small.data();
    if (type == BUF32_PATTERN)
        extra = &pattern;
    else if (type == BUF32_CALLER_MEMORY)
        extra = &memory;
    tell("type", type);
    const int result = api().buf32Alloc(&made.handle, made.bits, width, height, type, extra);
    tell_result(result);
    if (result == 0)
        return;
    if (type != BUF32_ONE_COLOUR && type != BUF32_PATTERN)
        initialise(random, made);
    held.push_back(std::move(made));
}

void free_one(Random &random) {
    Held *const buffer = any(random);
    const int result = api().buf32Free(buffer->handle);
    tell_result(result);
    if (result != 0)
        held.erase(held.begin() + (buffer - held.data()));
}

void lock(Random &random) {
    const Held &buffer = *any(random);
    void *base = nullptr;
    tell_result(api().buf32Lock(buffer.handle, between(random, 1, 3), &base));
    tell("has a base", base != nullptr);
}

void unlock(Random &random) {
    tell_result(api().buf32Unlock(any(random)->handle));
}

void lock_cell(Random &random) {
    const Held &buffer = *any(random);
    BUF32CELL cell = {};
    void *address = nullptr;
    tell_result(api().buf32CellLock(buffer.handle, between(random, -1, 9), &address, &cell));
    for (const int fact : {cell.index, cell.x, cell.y, cell.width, cell.height, cell.bits_per_pixel,
                           cell.bytes_per_pixel, cell.row_bytes, cell.pixels})
        tell("cell", unsigned(fact));
    tell("bytes", cell.bytes);
    if (address != nullptr)
        tell_result(api().buf32CellUnlock(buffer.handle, cell.index));
}

void move_row(Random &random) {
    const Held &buffer = *any(random);
    std::vector<std::uint8_t> row = some_bytes(random, std::size_t(width_of(buffer)) * 8);
    const int y = between(random, -2, height_of(buffer) + 2);
    tell_result(api().buf32Line(buffer.handle, y, between(random, 1, 9), row.data()));
    tell_bytes("row", row);
}

void get_rectangle(Random &random) {
    const Held &buffer = *any(random);
    const int width = between(random, 0, 200), height = between(random, 0, 100);
    std::vector<std::uint8_t> block(std::size_t(width + 1) * std::size_t(height + 1) * 8, 0);
    const std::vector<std::uint8_t> colour = some_bytes(random, 8);
    const int x = between(random, -50, 300), y = between(random, -50, 300);
    tell_result(
        api().buf32GetMemWithBC(buffer.handle, x, y, width, height, block.data(), colour.data()));
    tell_bytes("block", block);
}

void put_rectangle(Random &random) {
    const Held &buffer = *any(random);
    const int width = between(random, 0, 200), height = between(random, 0, 100);
    const std::vector<std::uint8_t> block =
        some_bytes(random, std::size_t(width + 1) * std::size_t(height + 1) * 8);
    const int x = between(random, -50, 300), y = between(random, -50, 300);
    tell_result(api().buf32MergeMem(buffer.handle, x, y, block.data(), width, height));
}

void copy_rectangle(Random &random) {
    const Held &from = *any(random), &to = *any(random);
    const int x = between(random, -20, 200), y = between(random, -20, 200);
    const int width = between(random, 0, 300), height = between(random, 0, 300);
    const int to_x = between(random, -20, 200), to_y = between(random, -20, 200);
    tell_result(api().buf32MergeBuf(from.handle, x, y, width, height, to.handle, to_x, to_y));
}

void adopt(HBUF32 handle, int bits) {
    if (handle != 0)
        held.push_back({handle, bits, {}});
}

void get_buffer(Random &random) {
    const Held &from = *any(random);
    const int bits = from.bits;
    HBUF32 made = 0;
    const bool whole = random.below(3) == 0;
    const int width = whole ? width_of(from) : width_of(from) / 2 + 1;
    tell_result(api().buf32GetBuf(from.handle, 0, 0, width, height_of(from), &made));
    adopt(made, bits);
}

void duplicate(Random &random) {
    const Held &from = *any(random);
    const int bits = from.bits;
    HBUF32 made = 0;
    tell_result(api().buf32DupBuf(from.handle, &made));
    adopt(made, bits);
}

void fill(Random &random) {
    const Held &buffer = *any(random);
    const std::vector<std::uint8_t> colour = some_bytes(random, 8);
    tell_result(api().buf32FillOneColor(buffer.handle, colour.data()));
}

void fill_with_pattern(Random &random) {
    const Held &buffer = *any(random);
    const std::vector<std::uint8_t> small = some_bytes(random, 4096);
    const BUF32PATTERN pattern = {std::uint16_t(between(random, 0, 20)),
                                  std::uint16_t(between(random, 1, 20)), small.data()};
    tell_result(api().buf32FillPattern(buffer.handle, &pattern));
}

void change_height(Random &random) {
    const Held &buffer = *any(random);
    const int result = api().buf32ReAlloc(buffer.handle, between(random, 0, 320));
    tell_result(result);
    if (result != 0)
        initialise(random, buffer);
}

void scale(Random &random) {
    const Held &from = *any(random);
    const int bits = from.bits;
    constexpr int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC};
    SIZE size = {};
    size.cx = between(random, 1, 250);
    size.cy = between(random, 1, 250);
    const int method = methods[random.below(3)], by_rows = int(random.below(2));
    HBUF32 made = 0;
    tell_result(api().q32BufferResampleEx(&size, from.handle, &made, nullptr, by_rows, method));
    adopt(made, bits);
}

void merge(Random &random) {
    const Held &base = *any(random), &overlay = *any(random), &mask = *any(random);
    const RECT rectangle = {between(random, -9, 50), between(random, -9, 50),
                            between(random, 51, 300), between(random, 51, 300)};
    const int x = between(random, -20, 100), y = between(random, -20, 100);
    const int mode = between(random, 0, 17), transparency = between(random, 0, 100);
    const HBUF32 chosen_mask = mask.bits == 8 ? mask.handle : 0;
    tell_result(api().i32MergeBufToBuf(base.handle, x, y, chosen_mask, overlay.handle, &rectangle,
                                       mode, transparency));
}

struct Operation {
    const char *name;
    void (*run)(Random &random);
    bool needs_buffers = true;
};
constexpr Operation operations[] = {
    {"allocate", allocate, false},
    {"allocate", allocate, false},
    {"free", free_one},
    {"lock", lock},
    {"unlock", unlock},
    {"lock cell", lock_cell},
    {"row", move_row},
    {"get", get_rectangle},
    {"put", put_rectangle},
    {"copy", copy_rectangle},
    {"get buffer", get_buffer},
    {"duplicate", duplicate},
    {"fill", fill},
    {"pattern", fill_with_pattern},
    {"height", change_height},
    {"scale", scale},
    {"merge", merge},
};

void tell_counters() {
    std::size_t memory = 0, mapped = 0;
    api().buf32GetVMDataExt(&memory, &mapped);
    tell("memory", memory);
    tell("mapped", mapped);
    tell("buffers", unsigned(api().buf32CountBuf(nullptr)));
}

void print_line() {
    std::printf("%s\n", line.c_str());
    line.clear();
}

void play(std::uint64_t seed, std::uint64_t count) {
    for (std::uint64_t number = 0; number < count; ++number) {
        Random random{seed, number};
        const Operation &operation =
            operations[held.size() >= 10 ? 2 : random.below(std::size(operations))];
        if (operation.needs_buffers && held.empty())
            continue;
        line = std::to_string(number) + " " + operation.name;
        operation.run(random);
        if (const Held *const looked_at = any(random))
            tell_buffer(*looked_at);
        tell_counters();
        print_line();
    }
}

// Pieces of all other areas, each with the digest of what came out.
void work_through(std::uint64_t seed, std::uint64_t pieces) {
    for (const Area &area : areas()) {
        frame::drop_shared_library();
        frame::reset_comm();
        frame::comm().mmx = area.mmx;
        prepare_work();
        for (std::uint64_t number = 0; number < pieces; ++number) {
            Random random{seed, number};
            Digest digest;
            area.piece(random, digest);
            line = std::string(area.name) + " " + std::to_string(number);
            tell("pixels", digest.cases());
            tell("digest", digest.value());
            tell_result(1);
            print_line();
        }
    }
}

} // namespace
} // namespace q32::test

int main(int argc, char **argv) {
    if (argc != 3)
        return 2;
    const std::uint64_t seed = std::strtoull(argv[1], nullptr, 0);
    const std::uint64_t count = std::strtoull(argv[2], nullptr, 0);
    q32::test::play(seed, count);
    q32::test::held.clear();
    q32::test::work_through(seed, count / 20);
    q32::frame::drop_shared_library();
    std::puts("end");
}
