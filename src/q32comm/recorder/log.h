// The recorder's log: which file it is, and the file as memory (q32comm_log.h).
#pragma once

#include <q32comm_log.h>
#include <windows.h>

namespace q32::comm {

struct Log {
    Q32LOGHEADER header;
    Q32LOGENTRY entries[Q32LOG_ENTRIES];
};

// Maps the log of this process, made anew, or as it was if this process has written it before. Null
// where there can be none.
Log *map_log();
void unmap_log(Log *log);

uint64_t time_now();

// Behind the last separator of a path.
template <typename Character>
const Character *file_name(const Character *path) {
    const Character *name = path;
    for (; *path != 0; ++path)
        if (*path == '\\' || *path == '/' || *path == ':')
            name = path + 1;
    return name;
}

} // namespace q32::comm
