// Holdings before and after, and the table of what may stay.
#include "tests/failing_calls/holdings.h"

#include "tests/library/library_fixture.h"

#include <q32base.h>

#include <limits>
#include <set>
#include <string_view>

namespace q32::test {
namespace {

struct Kind {
    const char *name;
    int (*count)(const Holdings &);
    int most = 1; // that may stay, where any may
};

constexpr int any_number = std::numeric_limits<int>::max();

#define Q32_CENSUS(field) [](const Holdings &holdings) { return holdings.census.field; }
constexpr Kind kinds[] = {
    {"blocks", Q32_CENSUS(global_blocks)},
    {"locks", Q32_CENSUS(global_locks)},
    {"reservations", Q32_CENSUS(reservations)},
    {"blocks of the run-time library", Q32_CENSUS(runtime_blocks)},
    {"files", Q32_CENSUS(files)},
    {"mappings", Q32_CENSUS(mappings)},
    {"views", Q32_CENSUS(views)},
    {"device contexts", Q32_CENSUS(device_contexts)},
    {"drawing objects", Q32_CENSUS(drawing_objects)},
    {"critical sections", Q32_CENSUS(critical_sections)},
    {"thread priority", Q32_CENSUS(thread_priority)},
    {"files on disk", Q32_CENSUS(files_on_disk)},
    {"bytes in use", [](const Holdings &holdings) { return int(holdings.memory_in_use); },
     any_number},
    {"mapped bytes", [](const Holdings &holdings) { return int(holdings.mapped_bytes); },
     any_number},
    {"buffers", [](const Holdings &holdings) { return holdings.buffers; }},
};
#undef Q32_CENSUS

// What may stay, and counted, when that function fails once.
struct Unavoidable {
    std::string_view function, kind, reason;
};

constexpr std::string_view keeps = "the system keeps what it does not take back",
                           unknown =
                               "a record that cannot be read is no buffer, not even at the stop";

constexpr Unavoidable unavoidable[] = {
    {"GlobalFree", "blocks", keeps},
    {"GlobalUnlock", "locks", keeps},
    {"CloseHandle", "files", keeps},
    {"CloseHandle", "mappings", keeps},
    {"CloseHandle", "files on disk", "an open file cannot be deleted"},
    {"VirtualFree", "reservations", keeps},
    {"UnmapViewOfFile", "views", keeps},
    {"UnmapViewOfFile", "files on disk", "a mapped file cannot be deleted"},
    {"DeleteFileA", "files on disk", keeps},
    {"SetThreadPriority", "thread priority", "the thread cannot be given its own back"},
    {"DeleteDC", "device contexts", keeps},
    {"DeleteObject", "drawing objects", keeps},
    {"GlobalHandle", "blocks", "nobody knows to which block the address belongs"},
    {"GlobalHandle", "locks", "likewise"},
    {"IsBadReadPtr", "blocks", unknown},
    {"IsBadReadPtr", "reservations", unknown},
    {"IsBadReadPtr", "files", unknown},
    {"IsBadReadPtr", "mappings", unknown},
    {"IsBadReadPtr", "views", unknown},
    {"IsBadReadPtr", "files on disk", unknown},
    {"IsBadWritePtr", "blocks", unknown},
    {"IsBadWritePtr", "reservations", unknown},
    {"IsBadWritePtr", "files", unknown},
    {"IsBadWritePtr", "mappings", unknown},
    {"IsBadWritePtr", "views", unknown},
    {"IsBadWritePtr", "files on disk", unknown},
    {"VirtualAlloc", "bytes in use", "memory that was reserved and not committed counts"},
};

std::set<const Unavoidable *> needed;
int stray = 0;

bool may_stay(const std::string &function, std::string_view kind) {
    for (const Unavoidable &row : unavoidable)
        if (row.function == function && row.kind == kind) {
            needed.insert(&row);
            return true;
        }
    return false;
}

} // namespace

Holdings Holdings::now(bool with_counters) {
    Holdings result{frame::Census::now()};
    if (with_counters) {
        frame::api().buf32GetVMDataExt(&result.memory_in_use, &result.mapped_bytes);
        result.buffers = frame::api().buf32CountBuf(nullptr);
    }
    if (frame::file_exists(master_file()))
        --result.census.files_on_disk; // made by the first start, and kept
    return result;
}

bool expect_balance(const Holdings &before, const Holdings &after, const std::string &function,
                    const std::string &kept) {
    bool balanced = true;
    for (const Kind &kind : kinds) {
        const int more = kind.count(after) - kind.count(before);
        if (more == 0)
            continue;
        balanced = false;
        const bool allowed = may_stay(function, kind.name) || kind.name == kept;
        if (allowed && more > 0 && more <= kind.most)
            continue;
        ++stray;
        ADD_FAILURE() << more << " more " << kind.name;
    }
    return balanced;
}

int stray_things() {
    return stray;
}

std::string unneeded_rows() {
    std::string result;
    for (const Unavoidable &row : unavoidable)
        if (!needed.contains(&row))
            result.append(row.function).append(", ").append(row.kind).append("; ");
    return result;
}

} // namespace q32::test
