// Rectangles between buffers and plain memory.
#include "tests/sequences/world.h"

namespace q32::test {

void World::get_memory() {
    ModelBuffer &buffer = any();
    const Area area = rectangle_in(buffer);
    const auto &[x, y, width, height] = area;
    describe("get " + text_of(area) + " of " + name_of(buffer));
    maybe_inject();
    const bool one_colour = buffer.is(BUF32_ONE_COLOUR), met = buffer.picture.meets(area);
    const MemoryBlock memory(block_bytes(buffer.picture.bits(), area), random_fence(random_),
                             random_);
    Bytes expected = memory.contents();
    std::vector<Failure> reports;
    if (!met)
        reports.push_back(one_colour ? Failure{3200, 0, 2, 10} : Failure{3200, 1, 3, 13});
    const bool done =
        called(api().buf32GetMem(buffer.handle, x, y, width, height, memory.data()), met, reports);
    if (done && one_colour)
        repeat_colour(buffer.picture.bits(), buffer.colour, expected);
    else if (done)
        buffer.picture.get(area, expected.data());
    if (const auto holds = memory.holds(expected); !holds)
        differs(holds.message());
}

void World::get_memory_with_background() {
    ModelBuffer &buffer = any();
    Area area = rectangle_in(buffer);
    area.width = std::max(area.width, 1);
    describe("get with background " + text_of(area) + " of " + name_of(buffer));
    maybe_inject();
    const int bits = buffer.picture.bits();
    MemoryBlock background(size_t(std::max(bits / 8, 1)), random_fence(random_), random_);
    background.protect();
    const MemoryBlock memory(block_bytes(bits, area), random_fence(random_), random_);
    Bytes expected = memory.contents();
    buffer.picture.get_with_background(area, expected.data(), background.data());
    if (!called(api().buf32GetMemWithBC(buffer.handle, area.x, area.y, area.width, area.height,
                                        memory.data(), background.data()),
                1))
        return;
    if (const auto holds = memory.holds(expected); !holds)
        differs(holds.message());
    // Under 8 bits a read lock comes and goes.
    if (bits < 8 && buffer.picture.meets(area))
        buffer.mode = BUF32_READ;
}

void World::merge_memory() {
    ModelBuffer &buffer = any();
    const Area area = rectangle_in(buffer);
    describe("merge " + text_of(area) + " into " + name_of(buffer));
    maybe_inject();
    MemoryBlock memory(block_bytes(buffer.picture.bits(), area), random_fence(random_), random_);
    memory.protect();
    const bool by_lock = buffer.is_special();
    std::vector<Failure> reports;
    if (buffer.is(BUF32_CALLER_MEMORY))
        reports.push_back({5800, 0, 50, 64});
    else if (!buffer.picture.meets(area))
        reports.push_back({3200, 1, 3, 14});
    const bool done = called(
        api().buf32MergeMem(buffer.handle, area.x, area.y, memory.data(), area.width, area.height),
        reports.empty(), reports);
    // The write lock comes before the rectangle is looked at.
    if (by_lock && (done || !injected())) {
        become_ordinary(buffer);
        buffer.mode = BUF32_WRITE;
    }
    if (done)
        buffer.picture.merge(area, memory.data());
}

} // namespace q32::test
