// The master record file: 100 slots of 260 bytes and a signature of 12. Several processes share it,
// so it is never kept open, and every open is tried again for a while.
#include "buffer/bookkeeping.h"

#include "buffer/buffer_manager.h"
#include "buffer/failures.h"

#include <q32comm.h>

#include <cstring>

namespace q32::buffer {
namespace {

constexpr uint32_t slot_count = 100;
constexpr uint32_t slots_bytes = slot_count * entry_bytes;
constexpr char signature[] = "QuillTempRec";
constexpr uint32_t signature_bytes = sizeof signature - 1; // stored without its terminator
constexpr int open_attempts = 501;

struct MasterPath {
    // A directory too long for the name makes a path that no file can be opened by.
    char path[max_path + sizeof "Q32BASE.CFG"] = {};

    MasterPath() {
        const BookkeepingDirectory directory;
        if (!directory)
            return;
        std::strcpy(path, directory.path);
        std::strcat(path, "Q32BASE.CFG");
    }
};

File open_shared(const MasterPath &master, DWORD disposition) {
    for (int attempt = 1;; ++attempt) {
        File file = open_file(master.path, disposition, FILE_SHARE_READ | FILE_SHARE_WRITE);
        if (file || attempt == open_attempts)
            return file;
        Sleep(0);
    }
}

// What a full disk keeps from being written is not reported: the file then lacks its signature and
// is made anew at the next start.
bool create_master_file(const MasterPath &path) {
    const File master = open_shared(path, CREATE_ALWAYS);
    if (!master)
        return fail(site::master_file_not_created);
    const GlobalBlock empty_slots(GlobalAlloc(GPTR, slots_bytes));
    if (!empty_slots)
        return fail(site::no_empty_slots);
    write_at(master.get(), 0, empty_slots.get(), slots_bytes);
    write_at(master.get(), slots_bytes, signature, signature_bytes);
    return true;
}

bool is_valid(const File &master) {
    char found[signature_bytes];
    return read_at(master.get(), slots_bytes, found, signature_bytes) &&
           std::memcmp(found, signature, signature_bytes) == 0;
}

// Somebody may have deleted the file since the start, and OPEN_ALWAYS made an empty one. Without
// its signature the next process to start would throw it away, and with it our slot. Slots that are
// missing become zero, that is free.
void complete_if_cut(const File &master) {
    char found[signature_bytes];
    if (!read_at(master.get(), slots_bytes, found, signature_bytes))
        write_at(master.get(), slots_bytes, signature, signature_bytes);
}

// Deletes the swap files that a record file lists and then the record file itself. Its owner keeps
// it open unshared, so a record file that cannot be opened belongs to a living process: false.
bool delete_left_behind(const char *record_path, char *swap_path) {
    File record = open_file(record_path, OPEN_EXISTING);
    if (!record)
        return false;
    for (uint32_t i = 0; read_entry(record.get(), i, swap_path); ++i)
        if (swap_path[0] != '\0')
            DeleteFileA(swap_path);
    record.reset();
    DeleteFileA(record_path);
    return true;
}

bool clean_up_after_the_dead(const File &master) {
    const GlobalBlock record_block(GlobalAlloc(GMEM_FIXED, entry_bytes));
    const GlobalBlock swap_block(GlobalAlloc(GMEM_FIXED, entry_bytes));
    if (!record_block || !swap_block)
        return fail(site::no_clean_up_blocks);
    char *const record_path = static_cast<char *>(record_block.get());
    char *const swap_path = static_cast<char *>(swap_block.get());
    for (uint32_t slot = 0; slot < slot_count; ++slot)
        if (read_entry(master.get(), slot, record_path) && record_path[0] != '\0' &&
            delete_left_behind(record_path, swap_path))
            clear_entry(master.get(), slot);
    return true;
}

// The first free slot, or slot_count. A slot that cannot be read counts as free.
uint32_t find_free_slot(const File &master) {
    char path[entry_bytes];
    uint32_t slot = 0;
    while (slot < slot_count && read_entry(master.get(), slot, path) && path[0] != '\0')
        ++slot;
    return slot;
}

} // namespace

BookkeepingDirectory::BookkeepingDirectory() {
    q32GetQuillTempDir(path, int(sizeof path));
    path[sizeof path - 1] = '\0';
}

bool examine_master_file() {
    const MasterPath path;
    if (!open_shared(path, OPEN_EXISTING))
        return create_master_file(path);

    File master = open_shared(path, OPEN_EXISTING);
    if (!master)
        fail(site::master_file_not_reopened); // reported, and then as any invalid file
    else if (is_valid(master))
        return clean_up_after_the_dead(master);
    master.reset();
    DeleteFileA(path.path);
    return create_master_file(path);
}

bool enter_in_master_file(const char *record_path, uint32_t *slot) {
    const File master = open_shared(MasterPath(), OPEN_ALWAYS);
    if (!master)
        return fail(site::master_file_not_opened);
    complete_if_cut(master);
    const uint32_t free_slot = find_free_slot(master);
    if (free_slot == slot_count)
        return fail(site::master_file_full);
    if (!write_entry(master.get(), free_slot, record_path))
        return fail(site::master_file_not_opened);
    *slot = free_slot;
    return true;
}

void leave_master_file(uint32_t slot) {
    if (const File master = open_shared(MasterPath(), OPEN_EXISTING))
        clear_entry(master.get(), slot);
}

} // namespace q32::buffer
