// Where buffers keep their pixels: the options that choose between memory and swap files.
#pragma once

#include "arguments.h"

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

// The full name of a --swap-dir in the system's code page. Throws UsageError, and Failure for what
// is no directory or cannot be said so.
std::string swap_directory(const std::string &path);

// --storage, --memory-limit, --swap-dir.
std::vector<Option> storage_options();

// Changes the library's settings as the options say; returns the type for new buffers. Throws
// UsageError, and Failure for a swap directory that cannot serve.
uint32_t apply_storage_options(const Arguments &arguments);

// The largest number of bytes that one of the swap directories has free.
uint64_t free_swap_bytes();

struct MemoryUse {
    size_t memory; // bytes of virtual memory that buffers have reserved
    size_t mapped; // bytes of swap files that are mapped
};
MemoryUse memory_use();

} // namespace apps::q32tool
