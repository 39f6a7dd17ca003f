// An entry of a buffer's operation table that does something else: refuses, counts, or looks at
// what it is given.
#pragma once

#include "tests/buffer/record_words.h"

#include <functional>
#include <utility>

namespace q32::test {

// Puts another function in a buffer's operation table. It gets the original as its first argument.
// One at a time of each entry; not for buffers whose type changes meanwhile.
template <Entry entry, class... Arguments>
class EntryHook {
public:
    using Original = int(HBUF32, Arguments...);
    using Body = std::function<int(Original *, HBUF32, Arguments...)>;

    EntryHook(HBUF32 buffer, Body body)
        : buffer_(buffer), original_(entry_of<Original>(buffer, entry)), body_(std::move(body)) {
        current = this;
        set_word(buffer, field_of(entry), uintptr_t(&call));
    }
    ~EntryHook() {
        set_word(buffer_, field_of(entry), uintptr_t(original_));
        current = nullptr;
    }
    EntryHook(const EntryHook &) = delete;
    EntryHook &operator=(const EntryHook &) = delete;

private:
    static int call(HBUF32 buffer, Arguments... arguments) {
        return current->body_(current->original_, buffer, arguments...);
    }

    static inline EntryHook *current;
    HBUF32 buffer_;
    Original *original_;
    Body body_;
};
using LockHook = EntryHook<entry_lock, int, void **>;
using UnlockHook = EntryHook<entry_unlock>;
using CellLockHook = EntryHook<entry_cell_lock, int, void **, BUF32CELL *>;
using LineHook = EntryHook<entry_line, int, int, void *>;
// x, y, width, height, memory.
using GetMemoryHook = EntryHook<entry_get_memory, int, int, int, int, void *>;
using MergeMemoryHook = EntryHook<entry_merge_memory, int, int, int, int, const void *>;

} // namespace q32::test
