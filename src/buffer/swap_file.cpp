// Swap files: which directory, creation, mapping, release. The list of swap files that outlives the
// process is record_file.cpp's.
//
// A swap file has the buffer's reserved bytes, as they lie in memory, and ten bytes more: the first
// ten characters of its own path. They only extend the file to its size; nobody reads them.
#include "buffer/storage.h"

#include "buffer/bookkeeping.h"
#include "buffer/failures.h"

#include <q32comm.h>

#include <cstring>

namespace q32::buffer {
namespace {

constexpr DWORD tail_bytes = 10;
constexpr double spare_bytes = 256; // what a volume must have free beyond the reserved bytes

bool within_file_limit(const BUF32INFO &info) {
    const MemoryState &state = memory_state;
    if (state.file_switch == 0 || state.file_limit == no_limit || is_small(info))
        return true;
    return state.file_limit != 0 &&
           uint64_t(info.reserved_bytes) + state.mapped_bytes < state.file_limit;
}

struct VolumeRoot {
    char path[max_path + 2] = {};

    explicit VolumeRoot(const char *directory) {
        qfdSplitPathname(directory, path, nullptr, nullptr, nullptr);
        path[max_path] = '\0';
        std::strcat(path, "\\");
    }
};

// Compressed volumes are passed over: mapping a file there would compress every page swapped out.
bool is_uncompressed(const VolumeRoot &root) {
    DWORD flags = 0;
    return GetVolumeInformationA(root.path, nullptr, 0, nullptr, nullptr, &flags, nullptr, 0) &&
           (flags & FILE_VOLUME_IS_COMPRESSED) == 0;
}

// In floating point: the product of a large volume needs more than 32 bits.
double free_bytes(const VolumeRoot &root) {
    DWORD sectors_per_cluster = 0, bytes_per_sector = 0, free_clusters = 0, clusters = 0;
    if (!GetDiskFreeSpaceA(root.path, &sectors_per_cluster, &bytes_per_sector, &free_clusters,
                           &clusters))
        return 0;
    return double(free_clusters) * bytes_per_sector * sectors_per_cluster;
}

bool can_hold(const char *directory, size_t bytes) {
    const VolumeRoot root(directory);
    return is_uncompressed(root) && double(bytes) + spare_bytes <= free_bytes(root);
}

// The first directory in use that can hold a swap file of so many bytes, or null.
const char *choose_directory(size_t bytes) {
    const BUF32DIRECTORIES &directories = memory_state.directories;
    if (bytes == too_many_bytes)
        return nullptr;
    for (int i = 0; i < 4; ++i) {
        const char *const path = directories.path[i];
        if (directories.enabled[i] != 0 && path[0] != '\0' && can_hold(path, bytes))
            return path;
    }
    return nullptr;
}

// The distance is signed and as wide as an address: in 32 bits 2 GB and more, which no view could
// show in one piece, end here before the disk is filled.
bool seek(HANDLE file, size_t bytes) {
    LARGE_INTEGER place;
    place.QuadPart = ptrdiff_t(bytes);
    const DWORD low = place.LowPart;
    return SetFilePointer(file, LONG(low), &place.HighPart, FILE_BEGIN) == low &&
           place.HighPart == LONG(int64_t(ptrdiff_t(bytes)) >> 32);
}

bool create_sized_file(const char *path, size_t bytes) {
    const File file = open_file(path, CREATE_ALWAYS);
    if (!file || !seek(file.get(), bytes))
        return false;
    DWORD written = 0;
    return WriteFile(file.get(), path, tail_bytes, &written, nullptr) && written == tail_bytes;
}

struct MappedFile {
    File file;
    Mapping mapping;
    View view;

    bool open(const char *path, size_t bytes) {
        file = open_file(path, OPEN_ALWAYS);
        if (file)
            mapping.reset(CreateFileMappingA(file.get(), nullptr, PAGE_READWRITE,
                                             DWORD(uint64_t(bytes) >> 32), DWORD(bytes), nullptr));
        if (mapping)
            view.reset(MapViewOfFile(mapping.get(), FILE_MAP_WRITE, 0, 0, 0));
        return bool(view);
    }
};

} // namespace

bool create_swap_file(Record &record) {
    const size_t bytes = record.info.reserved_bytes;
    const char *const directory =
        within_file_limit(record.info) ? choose_directory(bytes) : nullptr;
    if (directory == nullptr)
        return fail(site::swap_file_refused);

    char path[max_path] = {};
    if (GetTempFileNameA(directory, "~QT", 0, path) == 0)
        return fail(site::swap_file_not_made);
    // Stands before the owners of the file, so that it is deleted when they have closed it.
    ScopeGuard delete_file([&path] { DeleteFileA(path); });
    MappedFile mapped;
    if (!create_sized_file(path, bytes) || !mapped.open(path, bytes))
        return fail(site::swap_file_not_made);
    uint32_t entry = no_record_entry;
    if (!register_swap_file(path, &entry))
        return false;

    delete_file.dismiss();
    record.storage = static_cast<std::byte *>(mapped.view.release());
    record.mapping = mapped.mapping.release();
    record.file = mapped.file.release();
    record.record_entry = entry;
    std::memcpy(record.file_name, path, sizeof path);
    memory_state.mapped_bytes += bytes;
    return true;
}

// The order is behaviour: the entry goes last, so that a file is found by it as long as there is
// one, however the process ends.
void delete_swap_file(Record &record) {
    UnmapViewOfFile(record.storage);
    memory_state.mapped_bytes -= record.info.reserved_bytes;
    CloseHandle(record.mapping);
    CloseHandle(record.file);
    DeleteFileA(record.file_name);
    deregister_swap_file(record.record_entry);
    forget_storage(record);
}

} // namespace q32::buffer
