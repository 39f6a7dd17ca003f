// What must agree after every step.
#include "tests/sequences/world.h"

#include <sstream>

namespace q32::test {

void World::compare_pixels(const ModelBuffer &buffer) {
    const Area all = buffer.picture.whole();
    Bytes expected(block_bytes(buffer.picture.bits(), all));
    buffer.picture.get(all, expected.data());
    const FencedBlock memory(expected.size());
    if (!called(api().buf32GetMem(buffer.handle, 0, 0, all.width, all.height, memory.data()), 1))
        return;
    const auto same = same_block(buffer.picture.geometry, all, expected, memory.data());
    if (!same)
        differs(name_of(buffer) + " shows other pixels: " + same.message());
}

// What a duplicate shows is its source's; storage that it had before stays, and means nothing.
void World::compare_storage(const ModelBuffer &buffer) {
    // A duplicate that was an image of its own still has its storage, but shows its source's.
    if (buffer.is_duplicate())
        return;
    const uintptr_t storage = word(buffer.handle, field_storage);
    if (storage == 0 || buffer.is_duplicate() || buffer.is_special() || buffer.is(BUF32_DIB) ||
        buffer.memory != nullptr)
        return;
    const Geometry &geometry = buffer.picture.geometry;
    for (int i = 0; i < int(geometry.cell_count()); ++i) {
        const uintptr_t address = cell_address_word(buffer.handle, i);
        if (address != storage + uintptr_t(geometry.offset_of(i)))
            differs("the place of cell " + std::to_string(i));
        compare_cell(buffer, i, reinterpret_cast<const void *>(address));
    }
}

void World::compare_cell(const ModelBuffer &buffer, int index, const void *address) {
    const Geometry &geometry = buffer.picture.geometry;
    const auto row_bytes = size_t(geometry.row_bytes_of(index));
    for (int64_t y = 0; y < geometry.height_of(index); ++y) {
        const uint8_t *const expected =
            buffer.picture.image.row(size_t(geometry.cell_y(index) + y)) +
            geometry.bytes(geometry.cell_x(index));
        const auto same = same_rows({expected, row_bytes},
                                    static_cast<const uint8_t *>(address) + size_t(y) * row_bytes,
                                    row_bytes, geometry.width_of(index) * geometry.bits);
        if (!same)
            differs("cell " + std::to_string(index) + ", its row " + std::to_string(y) + ": " +
                    same.message());
    }
}

// A chain runs forth and back through duplicates of its owner, which is none itself.
void World::compare_sharing(const ModelBuffer &buffer) {
    const HBUF32 handle = buffer.handle;
    uintptr_t previous = 0;
    for (uintptr_t node = word(handle, field_first_sharer); node != 0;) {
        const HBUF32 sharer = node - field_offset(field_share_marker);
        if (by_handle(sharer) == nullptr || word(sharer, field_source) != handle ||
            word(sharer, field_previous_sharer) != previous)
            return differs(name_of(buffer) + " has a torn chain of sharers");
        previous = node;
        node = word(sharer, field_next_sharer);
    }
    if (word(handle, field_last_sharer) != previous)
        differs(name_of(buffer) + " has another last sharer");
    const ModelBuffer *const source = by_handle(word(handle, field_source));
    if (buffer.is_duplicate() != (source != nullptr) ||
        (source != nullptr && (source->is_duplicate() || word(handle, field_first_sharer) != 0)))
        differs(name_of(buffer) + " has another source");
}

void World::compare_records() {
    const auto compare = [&](const ModelBuffer &buffer, const char *name, Field field,
                             uintptr_t expected) {
        const uintptr_t found = word(buffer.handle, field);
        if (found != expected)
            differs(name_of(buffer) + " " + name + " is " + std::to_string(int(found)) + ", not " +
                    std::to_string(int(expected)));
    };
    for (const ModelBuffer &buffer : buffers_) {
        compare(buffer, "type", field_type, buffer.type);
        compare(buffer, "height", field_height, uintptr_t(buffer.picture.height()));
        compare(buffer, "lock count", field_lock_count, buffer.locks);
        compare(buffer, "access mode", field_access_mode, uint32_t(buffer.mode));
        compare(buffer, "self", field_self, uintptr_t(buffer.handle));
        compare(buffer, "capacity", field_capacity_rows, uintptr_t(buffer.capacity));
        compare(buffer, "reserved bytes", field_reserved_bytes,
                uintptr_t(buffer.capacity * buffer.picture.geometry.row_bytes()));
        compare_sharing(buffer);
        if (buffer.bitmap != nullptr && buffer.bitmap->locks() != 1)
            differs(name_of(buffer) + " has its bitmap locked otherwise than once");
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
    uintptr_t memory = 0, mapped = 0;
    int reservations = 0, views = 0;
    for (const ModelBuffer &buffer : buffers_) {
        if (word(buffer.handle, field_storage) == 0 || buffer.memory != nullptr ||
            buffer.is(BUF32_DIB))
            continue;
        const uintptr_t row_bytes = word(buffer.handle, field_row_bytes);
        const uintptr_t cell_bytes = word(buffer.handle, field_cell_bytes);
        const uintptr_t reserved = word(buffer.handle, field_reserved_bytes);
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
    const auto compare = [&](const char *name, uintptr_t found, uintptr_t expected) {
        if (found != expected)
            differs(std::string(name) + " " + std::to_string(found) + ", not " +
                    std::to_string(expected));
    };
    compare("memory in use", memory_in_use(), memory);
    compare("mapped bytes", mapped_bytes(), mapped);
    compare("thread priority", uintptr_t(GetThreadPriority(GetCurrentThread())),
            uintptr_t(THREAD_PRIORITY_NORMAL));
    if (random_.below(20) != 0) // the census looks at the disk, which takes long
        return;
    const frame::Census census = frame::Census::now();
    compare("reservations", uintptr_t(census.reservations), uintptr_t(reservations));
    compare("views", uintptr_t(census.views), uintptr_t(views));
    compare("thread priority", uintptr_t(census.thread_priority),
            uintptr_t(THREAD_PRIORITY_NORMAL));
}

} // namespace q32::test
