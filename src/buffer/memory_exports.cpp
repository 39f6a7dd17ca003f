// What callers may know and change of the memory policy, and staging blocks for them. The policy
// itself is storage.cpp's.
#include "buffer/failures.h"
#include "buffer/storage.h"
#include "library/process/owners.h"

#include <q32base/buffers.h>

namespace q32::buffer {
namespace {

// Moves one setting in or out through a pointer that may be null.
template <typename T>
void exchange(bool set, T &setting, T *value) {
    if (!set)
        store(value, setting);
    else if (value != nullptr)
        setting = *value;
}

void terminate_paths(BUF32DIRECTORIES &directories) {
    for (char(&path)[max_path] : directories.path)
        path[max_path - 1] = '\0';
}

void *allocate_moveable(SIZE_T bytes) {
    GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE, bytes));
    void *const address = block ? GlobalLock(block.get()) : nullptr;
    if (address != nullptr)
        block.release();
    return address;
}

// count units and four bytes more, or null.
void *allocate_staging(int count, size_t unit_bytes, bool moveable) {
    size_t bytes;
    if (__builtin_mul_overflow(size_t(count), unit_bytes, &bytes) ||
        __builtin_add_overflow(bytes, size_t(4), &bytes))
        return nullptr;
    return moveable ? allocate_moveable(bytes) : GlobalAlloc(GPTR, bytes);
}

} // namespace
} // namespace q32::buffer

using namespace q32;
using namespace q32::buffer;

int Q32_CALL buf32VMData(int set, size_t *memory_limit, size_t *file_limit,
                         BUF32DIRECTORIES *directories, uint32_t *memory_switch,
                         uint32_t *file_switch) {
    MemoryState &state = memory_state;
    exchange(set != 0, state.memory_limit, memory_limit);
    exchange(set != 0, state.file_limit, file_limit);
    exchange(set != 0, state.directories, directories);
    exchange(set != 0, state.memory_switch, memory_switch);
    exchange(set != 0, state.file_switch, file_switch);
    terminate_paths(state.directories); // the caller's may fill all 260 characters
    return 1;
}

size_t *Q32_CALL buf32GetVMDataExt(size_t *memory_in_use, size_t *mapped_bytes) {
    store(memory_in_use, memory_state.memory_in_use);
    store(mapped_bytes, memory_state.mapped_bytes);
    return mapped_bytes;
}

int Q32_CALL buf32GetMemSpace(HBUF32 buffer, int kind, int count, int moveable, void **block,
                              size_t *unit) {
    constexpr int cells = 1, rows = 2;
    if (buffer == 0)
        return 0;
    if (kind != cells && kind != rows)
        return 1;
    const Record &record = *record_of(buffer);
    const size_t unit_bytes = kind == cells ? record.info.cell_bytes : record.row_bytes;
    store(unit, unit_bytes);
    if (block == nullptr || count < 1)
        return 1;
    *block = allocate_staging(count, unit_bytes, moveable != 0);
    return *block != nullptr ? 1 : fail(site::no_staging_block);
}
