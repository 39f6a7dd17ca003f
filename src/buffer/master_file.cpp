// The master record file: 100 slots of 260 bytes and a signature of 12. Several processes share it,
// so it is never kept open, every open is tried again for a while, and slots are read and taken
// under a lock. A process may be killed at any moment: what it was about to do may leave a small
// stray file behind, never a slot or a swap file that nobody finds.
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

// --- the lock of the slots -----------------------------------------------------------------------

// A byte far behind the end of the file, which nobody reads or writes: whoever has locked it has
// the slots to himself, and programs that know of no lock are not disturbed. It ends with its
// scope, and with the process. Not to be taken twice.
class SlotsLock {
public:
    explicit SlotsLock(const File &master) : file_(master.get()), state_(take()) {}
    SlotsLock(const SlotsLock &) = delete;
    SlotsLock &operator=(const SlotsLock &) = delete;
    ~SlotsLock() {
        if (state_ == held)
            UnlockFile(file_, place, 0, 1, 0);
    }

    explicit operator bool() const { return state_ != refused; }

private:
    enum State { held, refused, unknown_here }; // some file systems have no locks: go on without

    State take() const {
        for (int attempt = 1; !LockFile(file_, place, 0, 1, 0); ++attempt) {
            if (GetLastError() != ERROR_LOCK_VIOLATION)
                return unknown_here;
            if (attempt == attempts)
                return refused;
            Sleep(attempt < open_attempts ? 0 : 1);
        }
        return held;
    }

    static constexpr DWORD place = 0x40000000;
    static constexpr int attempts = open_attempts + 3000; // some seconds

    HANDLE file_;
    State state_;
};

// --- making the file -----------------------------------------------------------------------------

// What is there is written over and not deleted: others may have it open already.
// What a full disk keeps from being written is not reported: the file then lacks its signature and
// is made anew at the next start.
bool make_anew(const File &master) {
    const GlobalBlock empty_slots(GlobalAlloc(GPTR, slots_bytes));
    if (!empty_slots)
        return fail(site::no_empty_slots);
    SetFilePointer(master.get(), 0, nullptr, FILE_BEGIN);
    SetEndOfFile(master.get());
    write_at(master.get(), 0, empty_slots.get(), slots_bytes);
    write_at(master.get(), slots_bytes, signature, signature_bytes);
    return true;
}

bool has_signature(const File &master) {
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

// A file that cannot be opened is no missing one: another program may hold it for a moment, and the
// slots of the living are in it. So whether it has to be made is seen when it is open.
File open_for_examination() {
    const MasterPath path;
    if (open_shared(path, OPEN_EXISTING)) {
        if (File again = open_shared(path, OPEN_EXISTING); again)
            return again;
        fail(site::master_file_not_reopened); // reported, and then as if it were not there
    }
    File master = open_shared(path, OPEN_ALWAYS);
    if (!master)
        fail(site::master_file_not_created);
    return master;
}

// --- slots ---------------------------------------------------------------------------------------

// Frees a slot unless it names another record file by now. False when it may still name this one.
bool clear_slot(const File &master, uint32_t slot, const char *record_path) {
    const SlotsLock lock(master);
    char found[entry_bytes];
    return lock && (!read_entry(master.get(), slot, found) ||
                    std::strcmp(found, record_path) != 0 || clear_entry(master.get(), slot));
}

// The first free slot, or slot_count. A slot that cannot be read counts as free.
uint32_t find_free_slot(const File &master) {
    char path[entry_bytes];
    uint32_t slot = 0;
    while (slot < slot_count && read_entry(master.get(), slot, path) && path[0] != '\0')
        ++slot;
    return slot;
}

// --- after the dead ------------------------------------------------------------------------------

constexpr uint32_t block_bytes = 252 * entry_bytes;

// The record file that a slot names, if its owner is gone: the owner keeps it open unshared. As
// long as we do, nobody else takes it for one that was left behind.
File claim_record_file(const File &master, uint32_t slot, char *path) {
    const SlotsLock lock(master);
    if (!lock || !read_entry(master.get(), slot, path) || !is_temporary_name(path))
        return File();
    return open_file(path, OPEN_EXISTING);
}

// The first entry that is not whole ends the list.
void delete_swap_files(const File &record, char *entries) {
    DWORD read = block_bytes;
    while (read == block_bytes && ReadFile(record.get(), entries, block_bytes, &read, nullptr))
        for (uint32_t at = 0; at + entry_bytes <= read; at += entry_bytes)
            if (is_temporary_name(entries + at))
                DeleteFileA(entries + at);
}

// The slot is cleared before the record file is deleted: between the two a death leaves a file of a
// few bytes, the other way round a slot that is used for ever.
void clean_up_slot(const File &master, uint32_t slot, char *record_path, char *entries) {
    if (!read_entry(master.get(), slot, record_path) || record_path[0] == '\0')
        return;
    File record = claim_record_file(master, slot, record_path);
    if (!record)
        return;
    delete_swap_files(record, entries);
    if (!clear_slot(master, slot, record_path))
        return;
    record.reset();
    DeleteFileA(record_path);
}

bool clean_up_after_the_dead(const File &master) {
    const GlobalBlock record_path(GlobalAlloc(GMEM_FIXED, entry_bytes));
    const GlobalBlock entries(GlobalAlloc(GMEM_FIXED, block_bytes));
    if (!record_path || !entries)
        return fail(site::no_clean_up_blocks);
    for (uint32_t slot = 0; slot < slot_count; ++slot)
        clean_up_slot(master, slot, static_cast<char *>(record_path.get()),
                      static_cast<char *>(entries.get()));
    return true;
}

} // namespace

BookkeepingDirectory::BookkeepingDirectory() {
    q32GetQuillTempDir(path, int(sizeof path));
    path[sizeof path - 1] = '\0';
}

bool examine_master_file() {
    const File master = open_for_examination();
    if (!master)
        return false;
    if (const SlotsLock lock(master); !lock)
        return true; // another process has been at it for seconds: the next start looks again
    else if (!has_signature(master))
        return make_anew(master);
    return clean_up_after_the_dead(master);
}

bool enter_in_master_file(const char *record_path, uint32_t *slot) {
    const File master = open_shared(MasterPath(), OPEN_ALWAYS);
    if (!master)
        return fail(site::master_file_not_opened);
    const SlotsLock lock(master);
    if (!lock)
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

bool leave_master_file(uint32_t slot, const char *record_path) {
    if (const File master = open_shared(MasterPath(), OPEN_EXISTING); master)
        return clear_slot(master, slot, record_path);
    return GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND;
}

} // namespace q32::buffer
