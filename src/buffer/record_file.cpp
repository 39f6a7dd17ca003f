// The process's record file: made at the first swap file, held open and unshared until the process
// ends, which is how other processes know that its owner lives. A slot map in memory says which
// entries are in use.
#include "buffer/bookkeeping.h"

#include "buffer/buffer_manager.h"
#include "buffer/failures.h"

#include <cstring>
#include <utility>

namespace q32::buffer {
namespace {

constexpr uint32_t slots_per_step = 1024;

struct RecordFile {
    HANDLE file; // null: no record file
    char path[max_path];
    uint32_t master_slot;
    HGLOBAL slot_map; // moveable; one byte per entry: 0 free, 1 used
    uint32_t slots;
    uint32_t used_slots;
};
RecordFile own;

// The slot map, locked for the time of use.
class SlotMap {
public:
    SlotMap() : block_(own.slot_map), bytes_(static_cast<char *>(block_.memory())) {}

    explicit operator bool() const { return bytes_ != nullptr; }
    void free(uint32_t entry) { bytes_[entry] = 0; }
    // There must be a free entry.
    uint32_t take_first_free() {
        char *const slot = static_cast<char *>(std::memchr(bytes_, 0, own.slots));
        *slot = 1;
        return uint32_t(slot - bytes_);
    }

private:
    LockedBlock block_;
    char *bytes_;
};

bool grow_slot_map() {
    const HGLOBAL grown =
        GlobalReAlloc(own.slot_map, own.slots + slots_per_step, GMEM_MOVEABLE | GMEM_ZEROINIT);
    if (grown == nullptr)
        return fail(site::slot_map_cannot_grow);
    own.slot_map = grown;
    own.slots += slots_per_step;
    return true;
}

// Takes the first free entry; the map grows when there is none.
bool take_entry(uint32_t *entry) {
    if (own.used_slots == own.slots && !grow_slot_map())
        return false;
    SlotMap map;
    if (!map)
        return fail(site::no_slot_map);
    *entry = map.take_first_free();
    ++own.used_slots;
    return true;
}

void give_entry_back(uint32_t entry) {
    if (SlotMap map; map) {
        map.free(entry);
        --own.used_slots;
    }
}

// Makes the record file and enters it in the master record file. Leaves nothing on failure.
bool create_record_file() {
    GlobalBlock slot_map(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, slots_per_step));
    if (!slot_map)
        return fail(site::no_slot_map);
    const BookkeepingDirectory directory;
    char path[max_path] = {};
    if (!directory || GetTempFileNameA(directory.path, "QTR", 0, path) == 0)
        return fail(site::record_file_not_created);
    // Stands before the owner of the file, so that it is deleted when that has closed it.
    ScopeGuard delete_file([&path] { DeleteFileA(path); });
    File file = open_file(path, CREATE_ALWAYS);
    if (!file)
        return fail(site::record_file_not_created);
    uint32_t master_slot;
    if (!enter_in_master_file(path, &master_slot))
        return false;

    delete_file.dismiss();
    own.file = file.release();
    std::memcpy(own.path, path, sizeof path);
    own.master_slot = master_slot;
    own.slot_map = slot_map.release();
    own.slots = slots_per_step;
    return true;
}

} // namespace

bool register_swap_file(const char *path, uint32_t *entry) {
    if (own.file == nullptr && !create_record_file())
        return false;
    if (!take_entry(entry))
        return false;
    // A swap file that no later process could find is as bad as one without a record file.
    if (!write_entry(own.file, *entry, path)) {
        deregister_swap_file(*entry);
        return fail(site::record_file_not_created);
    }
    FlushFileBuffers(own.file);
    return true;
}

void deregister_swap_file(uint32_t entry) {
    if (own.file == nullptr || entry == no_record_entry)
        return;
    clear_entry(own.file, entry);
    FlushFileBuffers(own.file);
    give_entry_back(entry);
}

// The slot goes first, as long as the file tells that its owner lives. One whose slot cannot be
// cleared is kept, for the next start to find both.
void close_record_file() {
    const RecordFile closing = std::exchange(own, RecordFile{});
    if (closing.file == nullptr)
        return;
    const bool is_forgotten = leave_master_file(closing.master_slot, closing.path);
    CloseHandle(closing.file);
    if (is_forgotten)
        DeleteFileA(closing.path);
    GlobalFree(closing.slot_map);
}

} // namespace q32::buffer
