// Decides between memory and swap file and keeps the counters of memory. The swap file itself is
// swap_file.cpp's.
#include "buffer/storage.h"

#include "buffer/failures.h"
#include "buffer/types.h"
#include "library/process/owners.h"

#include <cstring>
#include <utility>

namespace q32::buffer {

MemoryState memory_state;

namespace {

struct VirtualMemoryTraits {
    using Value = void *;
    static Value none() { return nullptr; }
    static void release(Value base) { VirtualFree(base, 0, MEM_RELEASE); }
};
using VirtualMemory = Owner<VirtualMemoryTraits>;

// What an ordinary buffer needs, or null.
std::byte *reserve_and_commit(size_t reserved_bytes, size_t image_bytes) {
    if (reserved_bytes == too_many_bytes)
        return nullptr;
    VirtualMemory memory(VirtualAlloc(nullptr, reserved_bytes, MEM_RESERVE, PAGE_READWRITE));
    if (!memory)
        return nullptr;
    // Counted before the commit and not taken back when that fails, although the reservation is
    // released then. Required: a caller sees memory in use (buf32GetVMDataExt) stay up by the
    // bytes of a buffer that failed or went to a swap file, and later buffers meet the limit that
    // much earlier.
    memory_state.memory_in_use += reserved_bytes;
    if (VirtualAlloc(memory.get(), image_bytes, MEM_COMMIT, PAGE_READWRITE) == nullptr)
        return nullptr;
    return static_cast<std::byte *>(memory.release());
}

// The sum and the comparison are signed, which callers of the 32-bit edition can see: a limit from
// 2 GB up admits nothing, and a sum that reaches 2 GB counts as negative and is admitted by every
// limit.
bool within_memory_limit(size_t reserved_bytes) {
    const MemoryState &state = memory_state;
    const size_t limit =
        state.memory_limit == no_limit ? state.physical_memory : state.memory_limit;
    return ptrdiff_t(reserved_bytes + state.memory_in_use) < ptrdiff_t(limit);
}

bool may_use_memory(const BUF32INFO &info, Storage kind) {
    if (is_small(info) || kind == Storage::memory_only)
        return true;
    if (kind == Storage::file)
        return false;
    if (memory_state.memory_switch == 0)
        return true;
    return memory_state.memory_limit != 0 && within_memory_limit(info.reserved_bytes);
}

} // namespace

bool allocate_storage(Record &record) {
    const BUF32INFO &info = record.info;
    const Storage kind = type_of(record).storage_kind;
    if (kind == Storage::callers)
        return fail(site::bitmap_refused);
    if (may_use_memory(info, kind)) {
        std::byte *const memory = reserve_and_commit(info.reserved_bytes, info.image_bytes);
        if (memory != nullptr) {
            record.storage = memory;
            return true;
        }
        if (kind == Storage::memory_only)
            return fail(site::no_virtual_memory);
    }
    return create_swap_file(record);
}

void release_storage(Record &record, size_t memory_bytes) {
    if (record.is_file_backed())
        delete_swap_file(record);
    else if (record.storage != nullptr)
        release_block(std::exchange(record.storage, nullptr), memory_bytes);
}

void release_storage(Record &record) {
    release_storage(record, type_of(record).memory_bytes(record));
}

void hand_over_storage(Record &from, Record &to) {
    to.info.capacity_rows = from.info.capacity_rows;
    to.info.reserved_bytes = from.info.reserved_bytes;
    to.mapping = from.mapping;
    to.storage = from.storage;
    std::memcpy(to.file_name, from.file_name, sizeof to.file_name);
    to.file = from.file;
    to.record_entry = from.record_entry;
    forget_storage(from);
}

void forget_storage(Record &record) {
    record.mapping = nullptr;
    record.storage = nullptr;
    record.file_name[0] = '\0';
    record.file = nullptr;
    record.record_entry = no_record_entry;
}

std::byte *allocate_block(size_t bytes) {
    if (bytes == too_many_bytes)
        return nullptr;
    void *const block = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (block != nullptr)
        memory_state.memory_in_use += bytes;
    return static_cast<std::byte *>(block);
}

void release_block(std::byte *block, size_t bytes) {
    VirtualFree(block, 0, MEM_RELEASE);
    memory_state.memory_in_use -= bytes;
}

} // namespace q32::buffer
