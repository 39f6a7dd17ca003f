// Locks, cells and rows.
#include "tests/sequences/world.h"

namespace q32::test {
namespace {

bool is_write(int mode) {
    return mode >= 2 && mode <= 4;
}

} // namespace

void World::lock() {
    ModelBuffer &buffer = any();
    const int mode = random_.below(8) == 0 ? between(random_, -3, 9) : between(random_, 1, 4);
    describe("lock " + name_of(buffer) + " mode " + std::to_string(mode));
    maybe_inject();
    const bool refused = buffer.is(BUF32_CALLER_MEMORY) && is_write(mode);
    const bool was_special = buffer.is_special();
    void *base = &base;
    const int result = api().buf32Lock(buffer.handle, mode, &base);
    if ((base != nullptr) != (result != 0))
        differs("the base does not go with the result");
    if (!called(result, !refused))
        return;
    ++buffer.locks;
    buffer.mode = mode;
    if (is_write(mode))
        become_ordinary(buffer);
    injection_.reset();
    if (was_special && mode == BUF32_OVERWRITE)
        overwrite(buffer);
    if (!buffer.is_duplicate() && buffer.memory == nullptr && !buffer.is(BUF32_DIB) &&
        uintptr_t(base) != word(buffer.handle, field_storage))
        differs("another base");
    if (random_.below(3) == 0)
        compare_storage(buffer);
}

void World::unlock() {
    ModelBuffer &buffer = any();
    const bool cell = random_.below(2) == 0;
    describe("unlock " + name_of(buffer) + (cell ? " as a cell" : ""));
    const int result = cell ? api().buf32CellUnlock(buffer.handle, between(random_, -5, 14))
                            : api().buf32Unlock(buffer.handle);
    if (buffer.locks > 0) {
        called(result, 1);
        --buffer.locks;
    } else if (buffer.is(BUF32_ONE_COLOUR)) {
        called(result, 0, {{5804, 0, 2, cell ? 3 : 6}});
    } else {
        called(result, 0, {cell ? Failure{5804, 0, 3, 2} : Failure{5804, 1, 3, 4}});
    }
}

// Locks a cell, and looks at it.
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
    const BUF32CELL described = buffer.picture.geometry.description(index);
    if (!same_cell(cell, described))
        differs("the cell's description");
    compare_cell(buffer, index, address);
}

// Writes through the address of a cell, as a program does that has locked the buffer for writing.
void World::poke() {
    ModelBuffer &buffer = any();
    if (buffer.locks == 0 || (buffer.mode != BUF32_WRITE && buffer.mode != BUF32_WRITE_3) ||
        buffer.is_special())
        return merge_memory();
    const int index = between(random_, 0, int(word(buffer.handle, field_cell_count)) - 1);
    describe("poke into cell " + std::to_string(index) + " of " + name_of(buffer));
    maybe_inject();
    void *address = nullptr;
    BUF32CELL cell{};
    if (!called(api().buf32CellLock(buffer.handle, index, &address, &cell), 1))
        return;
    uint8_t pixel[8];
    random_.fill(pixel);
    const int x = between(random_, 0, cell.width - 1), y = between(random_, 0, cell.height - 1);
    move_pixel(buffer.picture.bits(), static_cast<uint8_t *>(address) + y * cell.row_bytes,
               x * buffer.picture.geometry.unit_bits(), pixel, 0);
    buffer.picture.merge({cell.x + x, cell.y + y, 1, 1}, pixel);
    injection_.reset();
    called(api().buf32CellUnlock(buffer.handle, index), 1);
}

void World::read_row() {
    ModelBuffer &buffer = any();
    const PlainImage &image = buffer.picture.image;
    const int y = between(random_, -3, buffer.picture.height() + 2);
    describe("read row " + std::to_string(y) + " of " + name_of(buffer));
    maybe_inject();
    const FencedBlock row(image.row_bytes());
    const bool locked = buffer.locks > 0;
    if (!called(api().buf32Line(buffer.handle, y, BUF32_LINE_READ, row.data()), locked,
                locked ? std::vector<Failure>{} : std::vector<Failure>{{5804, 1, 3, 3}}))
        return;
    buffer.mode = BUF32_READ;
    const auto clamped = size_t(std::clamp(y, 0, buffer.picture.height() - 1));
    const auto same = same_rows({image.row(clamped), row.size()}, row.data(), row.size(),
                                buffer.picture.geometry.width * buffer.picture.geometry.bits);
    if (!same)
        differs(same.message());
}

void World::write_row() {
    ModelBuffer &buffer = any();
    PlainImage &image = buffer.picture.image;
    const int y = between(random_, -3, buffer.picture.height() + 2);
    describe("write row " + std::to_string(y) + " of " + name_of(buffer));
    maybe_inject();
    const FencedBlock row(image.row_bytes());
    random_.fill({row.data(), row.size()});
    const bool locked = buffer.locks > 0;
    if (!called(api().buf32Line(buffer.handle, y, BUF32_LINE_WRITE, row.data()),
                locked && !buffer.is(BUF32_CALLER_MEMORY),
                locked ? std::vector<Failure>{} : std::vector<Failure>{{5804, 1, 3, 3}}))
        return;
    become_ordinary(buffer);
    buffer.mode = BUF32_WRITE;
    std::memcpy(image.row(size_t(std::clamp(y, 0, buffer.picture.height() - 1))), row.data(),
                row.size());
}

} // namespace q32::test
