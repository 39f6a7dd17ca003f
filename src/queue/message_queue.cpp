// The message queue of the process and its exports.
#include "library/process/owners.h"

#include <q32base/queues.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace q32::queue {
namespace {

// Zero bytes behind each message; the first two are handed out with it, so that texts end.
constexpr std::uint32_t zeros_behind = 4, zeros_handed_out = 2;

constexpr std::uint32_t entries_per_growth = 16;

struct QueueItem {
    std::uint32_t size;
    void *data;
};
using Entry = QueueItem *;
constexpr SIZE_T entry_bytes = sizeof(void *);

struct MessageQueue {
    std::uint32_t owner = 0;
    std::uint32_t capacity = 0; // entries
    std::uint32_t count = 0;
    HGLOBAL entries = nullptr; // null: there is no queue
    CRITICAL_SECTION lock;
};
constinit MessageQueue queue{};

bool exists() {
    return queue.entries != nullptr;
}

EnteredSection lock_queue() {
    return enter(queue.lock);
}

// The array of entries while it stays where it is; false when the system does not let it.
class Entries {
public:
    explicit operator bool() const { return block_.memory() != nullptr; }
    Entry *begin() const { return static_cast<Entry *>(block_.memory()); }
    Entry *end() const { return begin() + queue.count; }

private:
    LockedBlock block_{queue.entries};
};

// --- messages ----------------------------------------------------------------------------------

void free_message(Entry message) {
    GlobalFree(message->data);
    GlobalFree(message);
}

// Null when there is no memory.
Entry message_of(const void *data, std::uint32_t size) {
    if (size > UINT32_MAX - zeros_behind)
        return nullptr;
    GlobalBlock message(GlobalAlloc(GPTR, sizeof(QueueItem)));
    GlobalBlock copy(GlobalAlloc(GPTR, size + zeros_behind));
    if (!message || !copy)
        return nullptr;
    if (size > 0)
        std::memcpy(copy.get(), data, size);
    const auto item = static_cast<Entry>(message.release());
    *item = {size, copy.release()};
    return item;
}

bool make_room() {
    if (queue.count < queue.capacity)
        return true;
    const SIZE_T bytes = SIZE_T{queue.capacity + entries_per_growth} * entry_bytes;
    const HGLOBAL grown = GlobalReAlloc(queue.entries, bytes, GMEM_MOVEABLE | GMEM_ZEROINIT);
    if (grown == nullptr)
        return false;
    queue.entries = grown;
    queue.capacity += entries_per_growth;
    return true;
}

bool append(const void *data, std::uint32_t size) {
    const Entry message = message_of(data, size);
    if (message == nullptr)
        return false;
    if (make_room()) {
        if (const Entries entries; entries) {
            *entries.end() = message;
            ++queue.count;
            return true;
        }
    }
    free_message(message);
    return false;
}

// The buffer has room for the message and the zeros handed out with it.
int take_oldest(const Entries &entries, void *buffer) {
    const Entry oldest = *entries.begin();
    std::move(entries.begin() + 1, entries.end(), entries.begin());
    --queue.count;
    *entries.end() = nullptr;
    const std::uint32_t size = oldest->size;
    std::memcpy(buffer, oldest->data, size + zeros_handed_out);
    free_message(oldest);
    return int(size);
}

// False, with all of them still there, when the system does not let them be got at.
bool discard_messages() {
    if (queue.count == 0)
        return true;
    const Entries entries;
    if (!entries)
        return false;
    for (Entry &entry : entries)
        free_message(std::exchange(entry, nullptr));
    queue.count = 0;
    return true;
}

// --- the queue ---------------------------------------------------------------------------------

bool create(std::uint32_t owner) {
    constexpr SIZE_T bytes = entries_per_growth * entry_bytes;
    const HGLOBAL entries = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    if (entries == nullptr)
        return false;
    InitializeCriticalSection(&queue.lock);
    queue.owner = owner;
    queue.capacity = entries_per_growth;
    queue.count = 0;
    queue.entries = entries;
    return true;
}

// False, and nothing changes, in the same case.
bool destroy() {
    {
        const auto lock = lock_queue();
        if (!discard_messages())
            return false;
    }
    GlobalFree(std::exchange(queue.entries, nullptr));
    queue.owner = 0;
    queue.capacity = 0;
    DeleteCriticalSection(&queue.lock);
    return true;
}

} // namespace
} // namespace q32::queue

// --- exports -----------------------------------------------------------------------------------

using namespace q32::queue;

// A queue made with owner 0 counts as none: it is made again. Programs that do so find an empty
// queue each time.
int Q32_CALL CreateQueue(uint32_t owner) {
    if (queue.owner != 0)
        return 0;
    if (exists() && !destroy())
        return 0;
    return create(owner);
}

int Q32_CALL DeleteQueue(uint32_t owner) {
    if (owner != queue.owner)
        return 0;
    return !exists() || destroy();
}

int Q32_CALL AddQueue(const void *data, uint32_t size) {
    if (!exists() || (data == nullptr && size > 0))
        return 0;
    const auto lock = lock_queue();
    return append(data, size);
}

int Q32_CALL GetFromQueue(void *buffer, int size) {
    constexpr int ask = -1, too_small = -1;
    if (!exists())
        return 0;
    const auto lock = lock_queue();
    if (queue.count == 0)
        return 0;
    const Entries entries;
    if (!entries)
        return 0;
    const std::uint32_t message_size = (*entries.begin())->size;
    if (size == ask)
        return int(message_size);
    if (size < 0 || message_size > std::uint32_t(size))
        return too_small;
    return buffer != nullptr ? take_oldest(entries, buffer) : 0;
}

int Q32_CALL ClearQueue(void) {
    if (!exists())
        return 0;
    const auto lock = lock_queue();
    const auto count = int(queue.count);
    return discard_messages() ? count : 0;
}

int Q32_CALL IsQueueEmpty(void) {
    return queue.count == 0;
}
