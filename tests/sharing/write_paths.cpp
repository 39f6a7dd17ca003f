// The ways to write: locks, cells, rows, spans, rectangles, fills, heights, duplicates.
#include "tests/sharing/write_paths.h"

namespace q32::test {
namespace {

CallSurroundings::Around surroundings;

bool any(uint32_t, int) {
    return true;
}
bool has_cells_of_its_own(uint32_t type, int) {
    return type != BUF32_ONE_COLOUR && type != BUF32_PATTERN;
}
bool one_bit(uint32_t, int bits) {
    return bits == 1;
}
bool sixteen_bits(uint32_t, int bits) {
    return bits == 16;
}
bool shrinks(uint32_t type, int) {
    return (type & (BUF32_LINEAR_MEMORY | BUF32_LINEAR_SHRINK)) != 0 && type != BUF32_PATTERN;
}

// New bytes for the first row of the first cell, which the storage begins with.
void scribble(Picture &picture, void *storage, Random &random) {
    const auto bytes = size_t(picture.geometry.row_bytes_of(0));
    random.fill({picture.image.row(0), bytes});
    std::memcpy(storage, picture.image.row(0), bytes);
}

template <int mode>
bool lock(Picture &picture, Random &random) {
    void *base = &base;
    if (!call_in_question([&] { return api().buf32Lock(picture.buffer, mode, &base) == 1; })) {
        EXPECT_EQ(base, nullptr);
        return false;
    }
    EXPECT_EQ(word(picture.buffer, field_access_mode), uint32_t(mode));
    scribble(picture, base, random);
    EXPECT_EQ(api().buf32Unlock(picture.buffer), 1);
    return true;
}

// A cell lock is a write lock when the last whole lock was one.
template <int mode>
bool cell_lock(Picture &picture, Random &random) {
    set_word(picture.buffer, field_access_mode, mode);
    void *address = &address;
    if (!call_in_question(
            [&] { return api().buf32CellLock(picture.buffer, 0, &address, nullptr) == 1; })) {
        EXPECT_EQ(address, nullptr);
        return false;
    }
    scribble(picture, address, random);
    EXPECT_EQ(api().buf32CellUnlock(picture.buffer, 0), 1);
    return true;
}

bool line(Picture &picture, int y, int mode, const Bytes &memory) {
    Bytes copy = memory;
    const auto locks = word(picture.buffer, field_lock_count);
    if (api().buf32Lock(picture.buffer, BUF32_READ, nullptr) != 1)
        return false;
    const bool done = call_in_question(
        [&] { return api().buf32Line(picture.buffer, y, mode, copy.data()) == 1; });
    EXPECT_EQ(word(picture.buffer, field_lock_count), locks + 1);
    EXPECT_EQ(api().buf32Unlock(picture.buffer), 1);
    return done;
}

int some_row(const Picture &picture, Random &random) {
    return int(random.below(picture.image.rows()));
}

bool line_as_stored(Picture &picture, Random &random) {
    const int y = some_row(picture, random);
    Bytes memory(picture.image.row_bytes());
    random.fill(memory);
    if (!line(picture, y, BUF32_LINE_WRITE, memory))
        return false;
    std::memcpy(picture.image.row(size_t(y)), memory.data(), memory.size());
    return true;
}

bool line_of_bits(Picture &picture, Random &random) {
    const int y = some_row(picture, random);
    Bytes memory(size_t(picture.geometry.width)), bits(picture.image.row_bytes());
    for (size_t x = 0; x < memory.size(); ++x) {
        memory[x] = random.below(2) == 0 ? 127 : 128;
        bits[x / 8] = uint8_t(bits[x / 8] | (memory[x] > 127 ? 0x80 >> x % 8 : 0));
    }
    if (!line(picture, y, BUF32_LINE_WRITE_BITS, memory))
        return false;
    std::memcpy(picture.image.row(size_t(y)), bits.data(), bits.size());
    return true;
}

// Channels are nothing or full, so that no rounding comes in.
template <int mode, uint16_t red, uint16_t green, uint16_t blue>
bool line_of_words(Picture &picture, Random &random) {
    const int y = some_row(picture, random);
    Bytes memory(size_t(picture.geometry.width) * 3), words(picture.image.row_bytes());
    constexpr uint16_t fields[] = {red, green, blue};
    for (size_t i = 0; i < memory.size(); ++i) {
        memory[i] = random.below(2) == 0 ? 0 : 255;
        const auto field = uint16_t(memory[i] != 0 ? fields[i % 3] : 0);
        words[i / 3 * 2] |= uint8_t(field);
        words[i / 3 * 2 + 1] |= uint8_t(field >> 8);
    }
    if (!line(picture, y, mode, memory))
        return false;
    std::memcpy(picture.image.row(size_t(y)), words.data(), words.size());
    return true;
}

// A mode that is none takes a write lock and changes nothing.
bool line_of_no_mode(Picture &picture, Random &random) {
    return line(picture, some_row(picture, random), 9, Bytes(picture.image.row_bytes() * 8 + 8));
}

bool line_span(Picture &picture, Random &random) {
    using LineSpan = int(HBUF32, void *, int, int, int, int);
    const int y = some_row(picture, random), width = int(picture.geometry.width);
    const int start = width / 3 / 8 * 8;
    Bytes memory(size_t(picture.geometry.bytes(width - start)));
    random.fill(memory);
    if (api().buf32Lock(picture.buffer, BUF32_READ, nullptr) != 1)
        return false;
    const bool done = call_in_question([&] {
        return entry_of<LineSpan>(picture.buffer, entry_line_span)(
                   picture.buffer, memory.data(), BUF32_LINE_WRITE, start, width, y) == 1;
    });
    EXPECT_EQ(api().buf32Unlock(picture.buffer), 1);
    if (!done)
        return false;
    move_bits(picture.image.row(size_t(y)), start * picture.geometry.bits, memory.data(), 0,
              (width - start) * picture.geometry.bits);
    return true;
}

// Across the right and the lower border.
Area some_rectangle(const Picture &picture, Random &random) {
    const int width = int(picture.geometry.width), height = int(picture.geometry.height);
    return {int(random.below(size_t(width))), int(random.below(size_t(height))), width / 2 + 1,
            height / 2 + 1};
}

bool merge_memory(Picture &picture, Random &random) {
    const Area area = some_rectangle(picture, random);
    Bytes memory(block_bytes(picture.geometry.bits, area));
    random.fill(memory);
    if (!call_in_question([&] {
            return api().buf32MergeMem(picture.buffer, area.x, area.y, memory.data(), area.width,
                                       area.height) == 1;
        }))
        return false;
    picture.merge(area, memory.data());
    return true;
}

// The size of a rectangle in another buffer of random pixels, and these pixels.
struct OtherBuffer {
    OtherBuffer(const Picture &picture, const Area &area, Random &random)
        : buffer(int(picture.geometry.bits), area.width, area.height),
          memory(block_bytes(picture.geometry.bits, area)) {
        random.fill(memory);
        EXPECT_EQ(api().buf32MergeMem(buffer, 0, 0, memory.data(), area.width, area.height), 1);
    }

    Buffer buffer;
    Bytes memory;
};

bool merge_buffer(Picture &picture, Random &random) {
    const Area area = some_rectangle(picture, random);
    const OtherBuffer other(picture, area, random);
    if (!call_in_question([&] {
            return api().buf32MergeBuf(other.buffer, 0, 0, area.width, area.height, picture.buffer,
                                       area.x, area.y) == 1;
        }))
        return false;
    picture.merge(area, other.memory.data());
    return true;
}

bool get_buffer(Picture &picture, Random &random) {
    Area area = some_rectangle(picture, random);
    area.x = area.y = 0; // of the destination
    const OtherBuffer other(picture, area, random);
    HBUF32 destination = picture.buffer;
    const bool done = call_in_question([&] {
        return api().buf32GetBuf(other.buffer, 0, 0, area.width, area.height, &destination) == 1;
    });
    EXPECT_EQ(destination, picture.buffer);
    if (done)
        picture.merge(area, other.memory.data());
    return done;
}

bool fill_colour(Picture &picture, Random &random) {
    uint8_t colour[8];
    random.fill(colour);
    if (!call_in_question([&] { return api().buf32FillOneColor(picture.buffer, colour) == 1; }))
        return false;
    picture.paint(colour);
    return true;
}

bool fill_pattern(Picture &picture, Random &random) {
    const Pattern pattern(between(random, 1, 9), between(random, 1, 9), int(picture.geometry.bits),
                          random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    if (!call_in_question([&] { return api().buf32FillPattern(picture.buffer, &descriptor) == 1; }))
        return false;
    picture.paint(pattern);
    return true;
}

bool shrink(Picture &picture, Random &) {
    const int rows = int(picture.geometry.height) - 1;
    if (rows < 1)
        return false;
    if (!call_in_question([&] { return api().buf32ReAlloc(picture.buffer, rows) == 1; }))
        return false;
    picture.geometry.height = rows;
    picture.image.set_rows(size_t(rows));
    return true;
}

// The other buffer goes at once, and what it shared stays.
bool duplicate_into(Picture &picture, Random &random) {
    const Geometry &geometry = picture.geometry;
    Buffer other(int(geometry.bits), int(geometry.width), int(geometry.height),
                 word(picture.buffer, field_type));
    const PlainImage image = fill(other, random);
    HBUF32 destination = picture.buffer;
    const bool done = call_in_question([&] { return api().buf32DupBuf(other, &destination) == 1; });
    EXPECT_EQ(destination, picture.buffer);
    if (done)
        picture.image = image;
    return done;
}

constexpr WritePath all_paths[] = {
    {"lock in mode 2", WritePath::keeps_type, any, lock<2>},
    {"lock in mode 3", WritePath::keeps_type, any, lock<3>},
    {"lock in mode 4", WritePath::keeps_type, has_cells_of_its_own, lock<4>},
    {"cell lock after mode 2", WritePath::keeps_type, has_cells_of_its_own, cell_lock<2>},
    {"cell lock after mode 3", WritePath::keeps_type, has_cells_of_its_own, cell_lock<3>},
    {"row as stored", WritePath::keeps_type, any, line_as_stored},
    {"row of bits", WritePath::keeps_type, one_bit, line_of_bits},
    {"row of 565", WritePath::keeps_type, sixteen_bits,
     line_of_words<BUF32_LINE_WRITE_565, 0xF800, 0x07E0, 0x001F>},
    {"row of 555", WritePath::keeps_type, sixteen_bits,
     line_of_words<BUF32_LINE_WRITE_555, 0x7C00, 0x03E0, 0x001F>},
    {"row in mode 9", WritePath::keeps_type, any, line_of_no_mode},
    {"span", WritePath::keeps_type, any, line_span},
    {"rectangle of memory", WritePath::keeps_type, any, merge_memory},
    {"rectangle of a buffer", WritePath::keeps_type, any, merge_buffer},
    {"destination of GetBuf", WritePath::keeps_type, any, get_buffer},
    {"one colour", WritePath::one_colour, any, fill_colour},
    {"pattern", WritePath::pattern, any, fill_pattern},
    {"another height", WritePath::keeps_type, shrinks, shrink},
    {"duplicate of another", WritePath::keeps_type, has_cells_of_its_own, duplicate_into},
};

} // namespace

bool call_in_question(const std::function<bool()> &call) {
    return surroundings ? surroundings(call) : call();
}

CallSurroundings::CallSurroundings(Around around) {
    surroundings = std::move(around);
}

CallSurroundings::~CallSurroundings() {
    surroundings = nullptr;
}

std::vector<WritePath> write_paths(uint32_t type, int bits) {
    std::vector<WritePath> result;
    for (const WritePath &path : all_paths)
        if (path.applies(type, bits))
            result.push_back(path);
    return result;
}

std::vector<WritePath> write_paths_to_ordinary(int bits) {
    std::vector<WritePath> result;
    for (const WritePath &path : write_paths(BUF32_PATTERN, bits))
        if (path.outcome == WritePath::keeps_type)
            result.push_back(path);
    return result;
}

} // namespace q32::test
