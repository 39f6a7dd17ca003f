// Rows of buffers, bitmaps, and what decides between memory and files (buffers.h).
#include "tests/hostile/world.h"

#include "tests/frame/calls.h"
#include "tests/frame/sandbox.h"

#include <climits>

namespace q32::test {
namespace {

const std::vector<int> types = {0, 0,  0, 1,   2,    4,      8, 16, 32, 128, 128, int(0x80000000u),
                                3, 64, 5, 255, 0x40, 0x10000};

Argument bits() {
    return among(
        {1, 1, 2, 4, 8, 8, 8, 8, 8, 16, 16, 24, 24, 24, 24, 24, 24, 24, 32, 48, 64, 7, 33});
}
Argument type() {
    return among(types);
}

std::int64_t packed_bytes(std::int64_t bits, std::int64_t width, std::int64_t height) {
    return bits < 1 || bits > 64 || width < 1 || height < 1 || width > 32000 || height > 32000
               ? 0
               : (bits * width + 7) / 8 * height;
}

void no_longer_the_callers(World &world, Word bitmap) {
    std::erase(world.bitmaps, reinterpret_cast<HGLOBAL>(bitmap));
}

HGLOBAL none_or_some_bitmap(Draw &draw) {
    if (!draw.is_hostile())
        return draw.world.some_bitmap(draw.random);
    constexpr std::uintptr_t no_handles[] = {0, 0, 1, 2, 3, 0xFFFFFFFF};
    return reinterpret_cast<HGLOBAL>(no_handles[draw.random.below(std::size(no_handles))]);
}

void fill_pattern(Draw &draw, BUF32PATTERN &pattern, int bits) {
    pattern.width =
        std::uint16_t(draw.is_hostile() ? any_number(draw.random) : draw.between(1, 40));
    pattern.height =
        std::uint16_t(draw.is_hostile() ? any_number(draw.random) : draw.between(1, 40));
    const std::int64_t size = (std::int64_t{pattern.width} * bits + 7) / 8 * pattern.height;
    if (bits >= 1 && bits <= 64 && size <= std::int64_t(Memory::most_bytes) && !draw.is_hostile())
        pattern.pixels = draw.memory.take(draw.random, std::size_t(size));
}

// What buf32Alloc's type needs. Types that are none get a colour or nothing.
Drawn extra_of_type(Draw &draw) {
    const std::uint32_t type = draw.number(4);
    const int bits = int(draw[1]);
    if (type != BUF32_DIB && draw.is_hostile())
        return 0;
    if (type == BUF32_DIB)
        return word_of(none_or_some_bitmap(draw));
    if (type == BUF32_PATTERN) {
        auto *const pattern =
            reinterpret_cast<BUF32PATTERN *>(draw.memory.take(draw.random, sizeof(BUF32PATTERN)));
        BUF32PATTERN filled{};
        fill_pattern(draw, filled, bits);
        std::memcpy(pattern, &filled, sizeof filled);
        return word_of(pattern);
    }
    if (type == BUF32_CALLER_MEMORY) {
        BUF32MEMORY filled{std::uint32_t(draw.random.next()), nullptr};
        const std::int64_t size = packed_bytes(bits, draw[2], draw[3]);
        if (size <= World::most_image_bytes && !draw.is_hostile())
            filled.pixels = draw.world.pixels_to_keep(draw.random, std::size_t(size));
        auto *const memory = draw.memory.take(draw.random, sizeof filled);
        std::memcpy(memory, &filled, sizeof filled);
        return word_of(memory);
    }
    const std::size_t colour = bits < 1 || bits > 64 ? 0 : std::size_t(bits + 7) / 8;
    return word_of(draw.memory.take(draw.random, (type & 1) != 0 ? colour : 0));
}

const HeldBuffer *buffer_at(const Draw &draw, std::size_t place) {
    return draw.world.find(draw.words[place]);
}

// Of a rectangle of the buffer; nothing of none.
Bytes64 rectangle_bytes(std::size_t buffer, std::size_t width, std::size_t height) {
    return [=](const Draw &draw) -> std::int64_t {
        const HeldBuffer *const held = buffer_at(draw, buffer);
        return held == nullptr ? 0 : held->block_bytes(draw[width], draw[height]);
    };
}

// The bytes of a pixel, or one byte of them.
std::int64_t colour_bytes(const Draw &draw) {
    const HeldBuffer *const held = buffer_at(draw, 0);
    return held == nullptr ? 0 : std::max(held->info.bytes_per_pixel, 1);
}

std::int64_t line_bytes(const Draw &draw) {
    const HeldBuffer *const held = buffer_at(draw, 0);
    const std::int64_t mode = draw[2];
    if (held == nullptr || mode < 1 || mode > 8)
        return 0;
    const std::int64_t width = held->info.width;
    return mode <= 2 ? held->row_bytes(width) : mode <= 4 ? width : 3 * width;
}

void fill_directories(Draw &draw, BUF32DIRECTORIES &directories) {
    for (int i = 0; i < 4; ++i) {
        const std::string names[] = {"",
                                     frame::sandbox_swap(),
                                     frame::sandbox(),
                                     "?:\\no such folder",
                                     std::string(259, 'x'),
                                     frame::sandbox() + "not there",
                                     "\xFF\x01/..",
                                     "C:"};
        const std::string &name = names[draw.between(0, draw.is_hostile() ? 7 : 2)];
        std::memset(directories.path[i], 'y', sizeof directories.path[i]);
        std::memcpy(directories.path[i], name.c_str(),
                    std::min(name.size() + 1, sizeof directories.path[i]));
        directories.path[i][259] = 0;
        directories.enabled[i] = std::uint32_t(draw.between(0, 1));
    }
}

template <class Value, class Fill>
Argument setting(Fill fill) {
    return record<Value>([=](Draw &draw, Value &value) { value = fill(draw); });
}
Argument limit() {
    return setting<std::size_t>([](Draw &draw) {
        return draw.is_hostile() ? std::size_t(any_number(draw.random))
                                 : std::size_t(draw.between(0, int(World::usual_limit)));
    });
}
Argument switched() {
    return setting<std::uint32_t>([](Draw &draw) {
        return draw.is_hostile() ? std::uint32_t(draw.random.next())
                                 : std::uint32_t(draw.between(0, 1));
    });
}

// The settings stay as they are for some calls, but not without limits.
void limit_again(Draw &draw, Word) {
    std::size_t memory, file;
    std::uint32_t memory_on, file_on;
    api().buf32VMData(0, &memory, &file, nullptr, &memory_on, &file_on);
    if (memory > World::usual_limit || file > World::usual_limit || !memory_on || !file_on ||
        draw.random.below(3) == 0)
        draw.world.set_limits();
}

// The library frees the bitmap with its buffer.
void opened(Draw &draw, Word result, std::size_t bitmap) {
    if (result != 0)
        no_longer_the_callers(draw.world, draw.words[bitmap]);
}

void closed(Draw &draw, Word result) {
    const auto *const returned = draw.at<HGLOBAL>(1);
    HGLOBAL bitmap = nullptr;
    if (returned != nullptr)
        std::memcpy(&bitmap, returned, sizeof bitmap);
    if (result == 1 && draw.world.find(draw.words[0]) != nullptr &&
        api().buf32GetInfo(draw.words[0], nullptr) == 0 && bitmap != nullptr)
        draw.world.free_bitmap(bitmap);
}

// Room for the block, which is written to its end, and given back.
void give_back_space(Draw &draw, Word result) {
    void *block = nullptr;
    if (draw.words[4] != 0)
        std::memcpy(&block, draw.at<void *>(4), sizeof block);
    const std::int64_t count = draw[2];
    if (result != 1 || block == nullptr || count < 1 || (draw[1] != 1 && draw[1] != 2))
        return;
    std::size_t unit = 0;
    if (draw.words[5] != 0)
        std::memcpy(&unit, draw.at<std::size_t>(5), sizeof unit);
    std::memset(block, 0x11, unit * std::size_t(count) + 4);
    const HGLOBAL handle = draw[3] != 0 ? GlobalHandle(block) : block;
    frame::forget_block(handle);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

// A null block is none.
Argument block_slot() {
    return setting<void *>([](Draw &) { return nullptr; });
}

Argument pattern() {
    return {Argument::record, [](Draw &draw, std::size_t) -> Drawn {
                if (draw.is_hostile())
                    return 0;
                const HeldBuffer *const held = buffer_at(draw, 0);
                BUF32PATTERN filled{};
                fill_pattern(draw, filled, held == nullptr ? 0 : held->info.bits_per_pixel);
                auto *const place = draw.memory.take(draw.random, sizeof filled);
                std::memcpy(place, &filled, sizeof filled);
                return word_of(place);
            }};
}

void turned(Draw &draw, Word, bool bitmap) {
    HeldBuffer *const held = draw.world.find(draw.words[0]);
    if (held != nullptr && held->info.type == BUF32_DIB)
        held->turned = bitmap;
}

Argument turned_back_slot() {
    return {Argument::record, [](Draw &draw, std::size_t) -> Drawn {
                // Without a place for it, a bitmap could never be freed.
                BUF32INFO info{};
                api().buf32GetInfo(draw.words[0], &info);
                if (draw.is_hostile() && info.data_handle == nullptr)
                    return 0;
                auto *const place = draw.memory.take(draw.random, sizeof(HGLOBAL));
                std::memset(place, 0, sizeof(HGLOBAL));
                return word_of(place);
            }};
}

const Row rows[] = {
    {"IsBufClean", {}},
    {"buf32Alloc",
     {new_buffer_slot(),
      bits(),
      side(),
      side(),
      type(),
      {Argument::record, [](Draw &draw, std::size_t) { return extra_of_type(draw); }}},
     40,
     [](Draw &draw, Word result) {
         if (draw.words[4] == BUF32_DIB)
             opened(draw, result, 5);
     }},
    {"buf32CellLock",
     {buffer(), among({0, 0, 0, 0, 1, 5}), bytes(sizeof(void *)), bytes(sizeof(BUF32CELL))},
     8},
    {"buf32CellUnlock", {idle_buffer(), in(0, 5)}, 8},
    {"buf32CountBuf", {memory([](const Draw &) {
         return std::int64_t(sizeof(HBUF32)) * api().buf32CountBuf(nullptr);
     })}},
    {"buf32DIBBufAlloc",
     {new_buffer_slot(),
      {Argument::record,
       [](Draw &draw, std::size_t) -> Drawn { return word_of(none_or_some_bitmap(draw)); }}},
     10,
     [](Draw &draw, Word result) { opened(draw, result, 1); }},
    {"buf32DIBBufFree", {any_idle_buffer(), turned_back_slot()}, 3, closed},
    {"buf32DIBBufToDIB",
     {idle_buffer()},
     3,
     [](Draw &draw, Word result) { turned(draw, result, true); }},
    {"buf32DIBMemBufAlloc",
     {new_buffer_slot(),
      bits(),
      side(),
      side(),
      {Argument::record,
       [](Draw &draw, std::size_t) -> Drawn {
           const std::int64_t row = packed_bytes(draw[1], draw[2], 1),
                              size = (row + 3) / 4 * 4 * std::max<std::int64_t>(draw[3], 0);
           if (draw.is_hostile() || draw[3] > 32000 || size > World::most_image_bytes)
               return 0;
           return word_of(draw.world.pixels_to_keep(draw.random, std::size_t(size)));
       }}},
     8},
    {"buf32DIBToDIBBuf",
     {turned_buffer()},
     6,
     [](Draw &draw, Word result) {
         if (result == 1)
             turned(draw, result, false);
     }},
    {"buf32DupBuf", {buffer(), buffer_slot()}, 12},
    {"buf32FillOneColor", {buffer(), memory(colour_bytes)}, 6},
    {"buf32FillPattern", {buffer(), pattern()}, 6},
    {"buf32Free", {any_idle_buffer()}, 16},
    {"buf32GetBuf", {buffer(), coordinate(), coordinate(), side(), side(), buffer_slot()}, 12},
    {"buf32GetInfo", {any_buffer(), bytes(sizeof(BUF32INFO))}},
    {"buf32GetMem",
     {buffer(), coordinate(), coordinate(), side(), side(), memory(rectangle_bytes(0, 3, 4))},
     8},
    {"buf32GetMemSpace",
     {buffer(), in(1, 2), in(0, 6), in(0, 1), block_slot(), bytes(sizeof(std::size_t))},
     4,
     give_back_space},
    {"buf32GetMemWithBC",
     {buffer(), coordinate(), coordinate(), side(), side(), memory(rectangle_bytes(0, 3, 4)),
      memory(colour_bytes)},
     8},
    {"buf32GetVMDataExt", {bytes(sizeof(std::size_t)), bytes(sizeof(std::size_t))}},
    {"buf32GetWHU", {any_buffer(), bytes(4), bytes(4), bytes(4)}},
    {"buf32Line", {buffer(), coordinate(), in(0, 9), memory(line_bytes)}, 8},
    {"buf32Lock", {buffer(), in(0, 5), bytes(sizeof(void *))}, 16},
    {"buf32MergeBuf",
     {buffer(), coordinate(), coordinate(), side(), side(), buffer(), coordinate(), coordinate()},
     10},
    {"buf32MergeMem",
     {buffer(), coordinate(), coordinate(), memory(rectangle_bytes(0, 4, 5)), side(), side()},
     8},
    {"buf32PointAddEx",
     {buffer(), coordinate(), coordinate(), bytes(sizeof(void *)), bytes(sizeof(void *)), bytes(4),
      bytes(4)}},
    {"buf32PointAddr", {buffer(), coordinate(), coordinate()}},
    {"buf32ReAlloc", {idle_buffer(), side()}, 6},
    {"buf32Unlock", {idle_buffer()}, 6},
    {"buf32VMData",
     {in(0, 1), limit(), limit(), record<BUF32DIRECTORIES>(fill_directories), switched(),
      switched()},
     4,
     limit_again},
};

} // namespace

std::span<const Row> buffer_rows() {
    return rows;
}

} // namespace q32::test
