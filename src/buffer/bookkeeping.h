// The books of swap files, by which a later process finds those of one that died: one record file
// per process, held open as long as the process lives, and the master record file that lists them,
// one for all processes. The start's examination of it (examine_master_file) and the end of the
// process's own (close_record_file) are declared in buffer_manager.h.
#pragma once

#include "buffer/record.h"
#include "library/process/owners.h"

namespace q32::buffer {

// --- the process's record file: record_file.cpp -------------------------------------------------

// Enters a swap file's path in the process's record file, which is made on first use. Reports and
// returns false on failure.
bool register_swap_file(const char *path, uint32_t *entry);

// Clears an entry.
void deregister_swap_file(uint32_t entry);

// --- the master record file: master_file.cpp ----------------------------------------------------

// The directory that holds the master record file and the record files; ends with a separator.
// Where the common library has none, no file may be made: an empty path would mean the caller's
// current directory.
struct BookkeepingDirectory {
    char path[max_path] = {};

    BookkeepingDirectory();
    explicit operator bool() const { return path[0] != '\0'; }
};

// Enters a record file's path in the first free slot. Reports and returns false on failure.
bool enter_in_master_file(const char *record_path, uint32_t *slot);

// Frees the slot that names a record file. False when the slot may still name it.
bool leave_master_file(uint32_t slot, const char *record_path);

// --- files of entries, which both are: entry_file.cpp -------------------------------------------
//
// An entry has 260 bytes and holds a zero-terminated path; one that is free starts with a zero
// byte.

inline constexpr uint32_t entry_bytes = max_path;

// Opens a file for reading and writing, for this process alone unless it is shared.
File open_file(const char *path, DWORD disposition, DWORD share = 0);

bool write_at(HANDLE file, uint32_t offset, const void *data, uint32_t bytes);
bool read_at(HANDLE file, uint32_t offset, void *data, uint32_t bytes);

// Reads a whole entry into path, which has entry_bytes and is always terminated. False past the
// end of the file, when path is unspecified.
bool read_entry(HANDLE file, uint32_t index, char *path);

bool write_entry(HANDLE file, uint32_t index, const char *path);

// Whether an entry holds what GetTempFileNameA can have made: a whole path of a drive or a share
// that ends in .tmp. Anybody can write these files, and nothing else is deleted because it stands
// there.
bool is_temporary_name(const char *entry);

// Frees an entry: four zero bytes at its start. The rest of the old path stays and means nothing.
bool clear_entry(HANDLE file, uint32_t index);

} // namespace q32::buffer
