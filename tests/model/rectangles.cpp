// Rectangles between buffers and plain memory.
#include "tests/model/world.h"

namespace q32::test {
namespace {

bool meets(const Image &image, int x, int y, int width, int height) {
    return width > 0 && height > 0 && x < image.width && y < image.height && x + width > 0 &&
           y + height > 0;
}

} // namespace

void World::get_memory() {
    ModelBuffer &buffer = any();
    const auto [x, y, width, height] = rectangle_in(buffer);
    describe("get " + area_text(x, y, width, height) + " of " + name_of(buffer));
    maybe_inject();
    const bool one_colour = buffer.is(BUF32_ONE_COLOUR);
    const bool met = meets(buffer.image, x, y, width, height);
    Block expected(buffer.bits, std::max(width, 1), height);
    random_.fill(expected.bytes());
    const FencedBlock memory(expected.bytes().size());
    std::copy(expected.bytes().begin(), expected.bytes().end(), memory.data());
    std::vector<Failure> reports;
    if (!met)
        reports.push_back(one_colour ? Failure{3200, 0, 2, 10} : Failure{3200, 1, 3, 13});
    const bool done =
        called(api().buf32GetMem(buffer.handle, x, y, width, height, memory.data()), met, reports);
    if (done && one_colour) {
        for (size_t i = 0; i < expected.bytes().size(); ++i)
            expected.bytes()[i] = buffer.colour[buffer.bits < 8 ? 0 : i % size_t(buffer.bits / 8)];
    } else if (done) {
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column)
                if (buffer.image.contains(x + column, y + row))
                    expected.set_pixel(column, row, buffer.image.at(x + column, y + row));
    }
    if (std::memcmp(expected.bytes().data(), memory.data(), memory.size()) != 0)
        differs("memory");
}

void World::get_memory_with_background() {
    ModelBuffer &buffer = any();
    auto [x, y, width, height] = rectangle_in(buffer);
    width = std::max(width, 1);
    describe("get with background " + area_text(x, y, width, height) + " of " + name_of(buffer));
    maybe_inject();
    uint8_t background[8];
    random_.fill(background);
    Block expected(buffer.bits, width, height);
    if (buffer.bits < 8)
        std::fill(expected.bytes().begin(), expected.bytes().end(), background[0]);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            const bool inside = buffer.image.contains(x + column, y + row);
            expected.set_pixel(column, row,
                               inside ? buffer.image.at(x + column, y + row)
                                      : colour_pixel(background, column, buffer.bits));
        }
    const FencedBlock memory(expected.bytes().size());
    if (!called(
            api().buf32GetMemWithBC(buffer.handle, x, y, width, height, memory.data(), background),
            1))
        return;
    if (std::memcmp(expected.bytes().data(), memory.data(), memory.size()) != 0)
        differs("memory");
    // Under 8 bits a read lock comes and goes.
    if (buffer.bits < 8 && meets(buffer.image, x, y, width, height))
        buffer.mode = BUF32_READ;
}

void World::merge_memory() {
    ModelBuffer &buffer = any();
    const auto [x, y, width, height] = rectangle_in(buffer);
    describe("merge " + area_text(x, y, width, height) + " into " + name_of(buffer));
    maybe_inject();
    Block block(buffer.bits, std::max(width, 1), height);
    const FencedBlock memory(block.bytes().size());
    random_.fill({memory.data(), memory.size()});
    std::copy(memory.data(), memory.data() + memory.size(), block.bytes().begin());
    const bool met = meets(buffer.image, x, y, width, height);
    const bool by_lock = buffer.is(BUF32_ONE_COLOUR) || buffer.is(BUF32_PATTERN);
    std::vector<Failure> reports;
    if (buffer.is(BUF32_CALLER_MEMORY))
        reports.push_back({5800, 0, 50, 64});
    else if (!met)
        reports.push_back({3200, 1, 3, 14});
    const bool done = called(api().buf32MergeMem(buffer.handle, x, y, memory.data(), width, height),
                             reports.empty(), reports);
    // The write lock comes before the rectangle is looked at.
    if (by_lock && (done || !injected())) {
        become_ordinary(buffer);
        buffer.mode = BUF32_WRITE;
    }
    if (!done)
        return;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            if (buffer.image.contains(x + column, y + row))
                buffer.image.at(x + column, y + row) = block.pixel(column, row);
}

} // namespace q32::test
