// What must agree after every step.
#include "tests/model/world.h"

#include <sstream>

namespace q32::test {

void World::compare_pixels(ModelBuffer &buffer) {
    const Image &image = buffer.image;
    Block block(buffer.bits, image.width, image.height);
    if (!called(
            api().buf32GetMem(buffer.handle, 0, 0, image.width, image.height, block.bytes().data()),
            1))
        return;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            if (block.pixel(x, y) != image.at(x, y)) {
                std::ostringstream text;
                text << name_of(buffer) << " pixel " << x << ", " << y << " is " << std::hex
                     << block.pixel(x, y) << ", not " << image.at(x, y);
                differs(text.str());
                return;
            }
}

void World::compare_records() {
    const auto compare = [&](const ModelBuffer &buffer, const char *name, Field field,
                             uint32_t expected) {
        const uint32_t found = word(buffer.handle, field);
        if (found != expected)
            differs(name_of(buffer) + " " + name + " is " + std::to_string(int(found)) + ", not " +
                    std::to_string(int(expected)));
    };
    for (const ModelBuffer &buffer : buffers_) {
        compare(buffer, "type", field_type, buffer.type);
        compare(buffer, "height", field_height, uint32_t(buffer.image.height));
        compare(buffer, "lock count", field_lock_count, buffer.locks);
        compare(buffer, "access mode", field_access_mode, uint32_t(buffer.mode));
        compare(buffer, "self", field_self, uint32_t(buffer.handle));
    }
    std::vector<HBUF32> listed(buffers_.size() + 10);
    const auto count = size_t(api().buf32CountBuf(nullptr));
    if (count != buffers_.size()) {
        differs(std::to_string(count) + " buffers in the list");
        return;
    }
    api().buf32CountBuf(listed.data());
    for (size_t i = 0; i < count; ++i)
        if (listed[i] != buffers_[i].handle)
            differs("the list's order");
}

// Every byte of storage belongs to one buffer, and the counters are the sums over the buffers.
void World::compare_counters() {
    uint32_t memory = 0, mapped = 0;
    int reservations = 0, views = 0;
    for (const ModelBuffer &buffer : buffers_) {
        if (word(buffer.handle, field_storage) == 0 || buffer.memory != nullptr ||
            buffer.is(BUF32_DIB))
            continue;
        const uint32_t row_bytes = word(buffer.handle, field_row_bytes);
        const uint32_t cell_bytes = word(buffer.handle, field_cell_bytes);
        const uint32_t reserved = word(buffer.handle, field_reserved_bytes);
        if (word(buffer.handle, field_file) != 0) {
            mapped += reserved;
            ++views;
            continue;
        }
        ++reservations;
        if (buffer.is(BUF32_ONE_COLOUR))
            memory += std::max(row_bytes, cell_bytes);
        else if (buffer.is(BUF32_PATTERN))
            memory += std::max(row_bytes * (word(buffer.handle, field_colour) >> 16), cell_bytes);
        else
            memory += reserved;
    }
    const auto compare = [&](const char *name, uint32_t found, uint32_t expected) {
        if (found != expected)
            differs(std::string(name) + " " + std::to_string(found) + ", not " +
                    std::to_string(expected));
    };
    compare("memory in use", memory_in_use(), memory);
    compare("mapped bytes", mapped_bytes(), mapped);
    compare("thread priority", uint32_t(GetThreadPriority(GetCurrentThread())),
            uint32_t(THREAD_PRIORITY_NORMAL));
    if (random_.below(20) != 0) // the census looks at the disk, which takes long
        return;
    const frame::Census census = frame::Census::now();
    compare("reservations", uint32_t(census.reservations), uint32_t(reservations));
    compare("views", uint32_t(census.views), uint32_t(views));
    compare("thread priority", uint32_t(census.thread_priority), uint32_t(THREAD_PRIORITY_NORMAL));
}

} // namespace q32::test
