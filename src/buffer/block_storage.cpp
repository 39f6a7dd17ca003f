// Changes between storage and block.
#include "buffer/block_storage.h"

#include "buffer/layout.h"
#include "buffer/storage.h"
#include "buffer/types.h"

#include <algorithm>

namespace q32::buffer {
namespace {

void set_type(Record &record, uint32_t type, int one_colour) {
    record.info.type = type;
    record.info.one_colour = one_colour;
    record.operations = *type_of(type).operations;
}

} // namespace

bool provide_block(Record &record) {
    if (record.storage == nullptr)
        record.storage = record.cell_address[0] =
            allocate_block(type_of(record).memory_bytes(record));
    return record.storage != nullptr;
}

void give_up_pixels(Record &record) {
    release_storage(record);
    std::fill_n(record.cell_address, record.info.cell_count, nullptr);
}

void put_block_in_place(Record &record, std::byte *block, uint32_t new_type) {
    record.storage = record.cell_address[0] = block;
    set_type(record, new_type, 1);
}

bool put_storage_in_place(Record &record, void (*fill)(Record &)) {
    std::byte *const block = record.storage;
    const size_t block_bytes = type_of(record).memory_bytes(record);

    record.storage = nullptr;
    if (!allocate_storage(record)) {
        record.storage = block;
        return false;
    }
    set_type(record, BUF32_TILED, 0);
    build_cell_addresses(record); // refuses one-colour types only
    if (block != nullptr)
        release_block(block, block_bytes);
    if (fill != nullptr)
        fill(record);
    return true;
}

} // namespace q32::buffer
