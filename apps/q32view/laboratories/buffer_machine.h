// The operations of a script, done by the library on buffers that belong to the laboratory.
#pragma once

#include "apps/pictures/library_report.h"
#include "buffer_script.h"

#include <string>
#include <vector>

namespace apps::q32view {

struct Outcome {
    bool is_done = false;
    LibraryReport report = {}; // the library's, message 0: it made none
    std::string words;         // the laboratory's own, where the library was not asked
};

// What the library counts, as far as it is the laboratory's.
struct Counters {
    size_t memory = 0, files = 0;

    bool operator==(const Counters &) const = default;
};

struct NamedBuffer {
    std::string name;
    HBUF32 handle = 0;
};

class BufferMachine {
public:
    BufferMachine() = default;
    ~BufferMachine() { clear(); }
    BufferMachine(const BufferMachine &) = delete;
    BufferMachine &operator=(const BufferMachine &) = delete;

    // The script's limits hold while the operation runs, and for the laboratory's buffers only.
    Outcome run(const Operation &operation);
    // Frees all buffers, whatever their locks, and forgets limits.
    void clear();

    const std::vector<NamedBuffer> &buffers() const { return buffers_; }
    const Counters &counters() const { return counters_; }

private:
    HBUF32 handle(const std::string &name) const;
    bool call_library(const Operation &operation);
    bool alloc(const Operation &operation);
    bool duplicate(const Operation &operation);
    bool free(const Operation &operation);

    std::vector<NamedBuffer> buffers_; // in the order of their making
    std::optional<size_t> memory_limit_, file_limit_;
    Counters counters_;
};

} // namespace apps::q32view
