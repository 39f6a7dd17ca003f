// Files of 260-byte entries, the shape that the record files and the master record file share. An
// entry holds a zero-terminated path; one that is free starts with a zero byte.
#pragma once

#include "buffer/record.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace q32::buffer {

inline constexpr uint32_t entry_bytes = max_path;

bool write_at(HANDLE file, uint32_t offset, const void *data, uint32_t bytes);
bool read_at(HANDLE file, uint32_t offset, void *data, uint32_t bytes);

// Reads a whole entry into path, which has entry_bytes and is always terminated. False past the
// end of the file, when path is unspecified.
bool read_entry(HANDLE file, uint32_t index, char *path);

bool write_entry(HANDLE file, uint32_t index, const char *path);

// Frees an entry: four zero bytes at its start. The rest of the old path stays and means nothing.
bool clear_entry(HANDLE file, uint32_t index);

} // namespace q32::buffer
