// Locks, cells and rows.
#include "tests/model/world.h"

namespace q32::test {
namespace {

bool is_write(int mode) {
    return mode >= 2 && mode <= 4;
}

} // namespace

void World::lock() {
    ModelBuffer &buffer = any();
    const int mode = random_.below(8) == 0 ? between(random_, -1, 6) : between(random_, 1, 4);
    describe("lock " + name_of(buffer) + " mode " + std::to_string(mode));
    maybe_inject();
    const bool refused = buffer.is(BUF32_CALLER_MEMORY) && is_write(mode);
    const bool was_virtual = buffer.is(BUF32_ONE_COLOUR) || buffer.is(BUF32_PATTERN);
    void *base = &base;
    const int result = api().buf32Lock(buffer.handle, mode, &base);
    if ((base != nullptr) != (result != 0))
        differs("the base does not go with the result");
    if (!called(result, !refused))
        return;
    injection_.reset();
    ++buffer.locks;
    buffer.mode = mode;
    if (!is_write(mode))
        return;
    become_ordinary(buffer);
    if (was_virtual && mode == BUF32_OVERWRITE)
        overwrite(buffer);
}

void World::unlock() {
    ModelBuffer &buffer = any();
    const bool cell = random_.below(2) == 0;
    describe("unlock " + name_of(buffer) + (cell ? " as a cell" : ""));
    const int result =
        cell ? api().buf32CellUnlock(buffer.handle, 0) : api().buf32Unlock(buffer.handle);
    if (buffer.locks > 0) {
        called(result, 1);
        --buffer.locks;
    } else if (buffer.is(BUF32_ONE_COLOUR)) {
        called(result, 0, {{5804, 0, 2, cell ? 3 : 6}});
    } else {
        called(result, 0, {cell ? Failure{5804, 0, 3, 2} : Failure{5804, 1, 3, 4}});
    }
}

// Locks a cell, and looks at one byte of it.
void World::lock_cell() {
    ModelBuffer &buffer = any();
    const auto cells = int(word(buffer.handle, field_cell_count));
    const int index = between(random_, -1, cells);
    describe("lock cell " + std::to_string(index) + " of " + name_of(buffer));
    maybe_inject();
    std::vector<Failure> reports;
    const bool refused = buffer.is(BUF32_CALLER_MEMORY);
    const bool valid = index >= 0 && index < cells;
    if (!refused && !valid)
        reports.push_back(buffer.is(BUF32_ONE_COLOUR) ? Failure{5805, 0, 2, 1}
                                                      : Failure{5804, 0, 3, 1});
    void *address = &address;
    BUF32CELL cell{};
    const int result = api().buf32CellLock(buffer.handle, index, &address, &cell);
    if ((address != nullptr) != (result != 0))
        differs("the address does not go with the result");
    if (!called(result, valid && !refused, reports))
        return;
    ++buffer.locks;
    const int x = between(random_, 0, cell.width - 1), y = between(random_, 0, cell.height - 1);
    const auto *const row = static_cast<const uint8_t *>(address) + size_t(y * cell.row_bytes);
    if (Block::read(row, x, buffer.bits) != buffer.image.at(cell.x + x, cell.y + y))
        differs("pixel in the cell");
}

// Writes through the address of a cell, as a program does that has locked the buffer for writing.
void World::poke() {
    ModelBuffer &buffer = any();
    if (buffer.locks == 0 || (buffer.mode != BUF32_WRITE && buffer.mode != BUF32_WRITE_3) ||
        buffer.is(BUF32_ONE_COLOUR) || buffer.is(BUF32_PATTERN))
        return merge_memory();
    const int index = between(random_, 0, int(word(buffer.handle, field_cell_count)) - 1);
    describe("poke into cell " + std::to_string(index) + " of " + name_of(buffer));
    maybe_inject();
    void *address = nullptr;
    BUF32CELL cell{};
    if (!called(api().buf32CellLock(buffer.handle, index, &address, &cell), 1))
        return;
    Block pixel(buffer.bits, 1, 1);
    random_.fill(pixel.bytes());
    Block row(buffer.bits, cell.width, 1);
    const int x = between(random_, 0, cell.width - 1), y = between(random_, 0, cell.height - 1);
    auto *const stored = static_cast<uint8_t *>(address) + size_t(y * cell.row_bytes);
    std::memcpy(row.bytes().data(), stored, row.bytes().size());
    row.set_pixel(x, 0, pixel.pixel(0, 0));
    std::memcpy(stored, row.bytes().data(), row.bytes().size());
    buffer.image.at(cell.x + x, cell.y + y) = pixel.pixel(0, 0);
    injection_.reset();
    called(api().buf32CellUnlock(buffer.handle, index), 1);
}

void World::read_row() {
    ModelBuffer &buffer = any();
    const Image &image = buffer.image;
    const int y = between(random_, -2, image.height + 1);
    describe("read row " + std::to_string(y) + " of " + name_of(buffer));
    maybe_inject();
    const FencedBlock row(size_t((image.width * buffer.bits + 7) / 8));
    const bool locked = buffer.locks > 0;
    if (!called(api().buf32Line(buffer.handle, y, BUF32_LINE_READ, row.data()), locked,
                locked ? std::vector<Failure>{} : std::vector<Failure>{{5804, 1, 3, 3}}))
        return;
    buffer.mode = BUF32_READ;
    for (int x = 0; x < image.width; ++x)
        if (Block::read(row.data(), x, buffer.bits) !=
            image.at(x, std::clamp(y, 0, image.height - 1)))
            differs("pixel " + std::to_string(x) + " of the row");
}

void World::write_row() {
    ModelBuffer &buffer = any();
    Image &image = buffer.image;
    const int y = between(random_, -2, image.height + 1);
    describe("write row " + std::to_string(y) + " of " + name_of(buffer));
    maybe_inject();
    const FencedBlock row(size_t((image.width * buffer.bits + 7) / 8));
    random_.fill({row.data(), row.size()});
    const bool locked = buffer.locks > 0;
    if (!called(api().buf32Line(buffer.handle, y, BUF32_LINE_WRITE, row.data()),
                locked && !buffer.is(BUF32_CALLER_MEMORY),
                locked ? std::vector<Failure>{} : std::vector<Failure>{{5804, 1, 3, 3}}))
        return;
    become_ordinary(buffer);
    buffer.mode = BUF32_WRITE;
    for (int x = 0; x < image.width; ++x)
        image.at(x, std::clamp(y, 0, image.height - 1)) = Block::read(row.data(), x, buffer.bits);
}

} // namespace q32::test
