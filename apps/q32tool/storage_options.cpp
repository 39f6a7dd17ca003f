// Memory limits and swap directories, by buf32VMData.
#include "storage_options.h"

#include "apps/pictures/edition.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"

#include <q32base/buffers.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace apps::q32tool {
namespace {

// The library compares signed numbers: a limit from here up would admit nothing.
constexpr uint64_t memory_limit_end = uint64_t{PTRDIFF_MAX} + 1;

constexpr const char *memory_limit_in_words = is_64_bit
                                                  ? "bytes, such as 500000, 800K, 64M or 12G"
                                                  : "bytes below 2G, such as 500000, 800K or 64M";

std::optional<size_t> parse_memory_limit(std::string_view text) {
    const auto bytes = parse_bytes(text);
    return bytes && *bytes < memory_limit_end ? std::optional(static_cast<size_t>(*bytes))
                                              : std::nullopt;
}

void set_memory_limit(std::optional<size_t> limit) {
    size_t bytes = limit.value_or(BUF32_NO_LIMIT);
    uint32_t enabled = limit.has_value();
    buf32VMData(1, &bytes, nullptr, nullptr, &enabled, nullptr);
}

// The library keeps drive letters, so the path has to be a full one.
std::string full_path(const std::string &path) {
    if (path.empty())
        throw UsageError("--swap-dir takes a directory, not an empty name");
    wchar_t full[MAX_PATH] = {};
    const DWORD length =
        GetFullPathNameW(to_wide(native_path(path)).c_str(), MAX_PATH, full, nullptr);
    if (length == 0 || length >= MAX_PATH)
        throw Failure(path, "the swap directory's path is too long", "name another --swap-dir");
    return to_utf8(full);
}

// The library takes names in the system's code page. A directory whose name cannot be written in it
// still has a short name.
std::string system_name(const std::string &full_path) {
    std::string name;
    if (to_system_code_page(full_path, name))
        return name;
    wchar_t short_name[MAX_PATH] = {};
    GetShortPathNameW(to_wide(full_path).c_str(), short_name, MAX_PATH);
    return to_system_code_page(to_utf8(short_name), name) ? name : std::string();
}

void set_first_directory(const std::string &name) {
    BUF32DIRECTORIES directories = {};
    std::memcpy(directories.path[0], name.c_str(), name.size() + 1);
    directories.enabled[0] = 1;
    buf32VMData(1, nullptr, nullptr, &directories, nullptr, nullptr);
}

} // namespace

std::string swap_directory(const std::string &path) {
    const std::string full = full_path(path);
    if (attributes_of(full) == INVALID_FILE_ATTRIBUTES)
        throw Failure(path, "the swap directory does not exist", "create it first");
    if (!is_folder(full))
        throw Failure(path, "this is a file", "--swap-dir takes a directory");
    const std::string name = system_name(full);
    if (name.empty() || name.size() >= sizeof BUF32DIRECTORIES::path[0])
        throw Failure(path, "the swap directory's name cannot be said in the system's code page",
                      "name another --swap-dir");
    return name;
}

std::vector<Option> storage_options() {
    return {
        {"--storage", "memory|file", "keep pixels in memory without limit, or in a swap file"},
        {"--memory-limit", "BYTES", "memory for pixels (K, M, G may follow); more go to a file"},
        {"--swap-dir", "DIR", "where swap files go"},
    };
}

uint32_t apply_storage_options(const Arguments &arguments) {
    const std::string_view kind = arguments.choice("--storage", {"memory", "file"}, "");
    if (arguments.has("--memory-limit")) {
        if (kind == "memory")
            throw UsageError("--storage memory has no limit; leave out one of --storage and "
                             "--memory-limit");
        set_memory_limit(
            arguments.parsed("--memory-limit", parse_memory_limit, memory_limit_in_words));
    } else if (kind == "memory") {
        set_memory_limit(std::nullopt);
    }
    if (arguments.has("--swap-dir"))
        set_first_directory(swap_directory(arguments.value("--swap-dir")));
    return kind == "file" ? BUF32_TILED_FILE : BUF32_TILED;
}

uint64_t free_swap_bytes() {
    BUF32DIRECTORIES directories = {};
    buf32VMData(0, nullptr, nullptr, &directories, nullptr, nullptr);
    uint64_t most = 0;
    for (size_t i = 0; i < std::size(directories.path); ++i) {
        ULARGE_INTEGER available;
        if (directories.enabled[i] && directories.path[i][0] != '\0' &&
            GetDiskFreeSpaceExA(directories.path[i], &available, nullptr, nullptr))
            most = std::max<uint64_t>(most, available.QuadPart);
    }
    return most;
}

MemoryUse memory_use() {
    MemoryUse use = {};
    buf32GetVMDataExt(&use.memory, &use.mapped);
    return use;
}

} // namespace apps::q32tool
