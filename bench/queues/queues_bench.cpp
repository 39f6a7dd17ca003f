// The queues of the DLL: messages beside the allocations that they need, steps beside their bare
// callback.
#include "bench/buffers/printing.h"
#include "bench/timing.h"

#include <q32base.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

using namespace q32::bench;

constexpr std::uint32_t message_bytes = 64;
constexpr std::uint32_t owner = 1;
constexpr double budget = 1; // seconds of a measurement

char text[message_bytes + 2];

void push_and_pop() {
    require(AddQueue(text, message_bytes), "AddQueue");
    require(GetFromQueue(text, message_bytes) == int(message_bytes), "GetFromQueue");
}

// What a message takes of the system: two blocks, their bytes, and the lock of the array that each
// of the two calls needs.
void bare_allocations(HGLOBAL array, CRITICAL_SECTION &lock) {
    EnterCriticalSection(&lock);
    const HGLOBAL record = GlobalAlloc(GPTR, 8), data = GlobalAlloc(GPTR, message_bytes + 4);
    std::memcpy(data, text, message_bytes);
    GlobalLock(array);
    GlobalUnlock(array);
    LeaveCriticalSection(&lock);
    EnterCriticalSection(&lock);
    GlobalLock(array);
    std::memcpy(text, data, message_bytes);
    GlobalUnlock(array);
    GlobalFree(data);
    GlobalFree(record);
    LeaveCriticalSection(&lock);
}

void measure_messages() {
    require(CreateQueue(owner), "CreateQueue");
    CRITICAL_SECTION lock;
    InitializeCriticalSection(&lock);
    const HGLOBAL array = GlobalAlloc(GMEM_MOVEABLE, 64);
    const PairedTime time = time_paired(
        push_and_pop, [&] { bare_allocations(array, lock); }, budget);
    print("AddQueue and GetFromQueue of 64 bytes", time.job * 1e9, "ns",
          "its allocations and locks", time.ratio());
    GlobalFree(array);
    DeleteCriticalSection(&lock);
    DeleteQueue(owner);
}

int steps_seen = 0;

int Q32_CALL on_message(int, std::uint32_t, std::intptr_t, std::intptr_t) {
    ++steps_seen;
    return 1;
}

// A job without an end that matters, dispatched a step at a time.
void measure_steps(int mode, const char *name) {
    const RECT rectangle = {0, 0, 1 << 20, 1 << 20};
    const DispatchDesc description = {
        .value = 0, .callback = on_message, .user_data = 0, .first = 1, .last = 0x7FFFFFFF};
    DispatchDesc tiles = description;
    tiles.last = 1;
    require(
        d32AddQueue(owner, &rectangle, 0, 0, 0, mode, mode == D32_STEPS ? &description : &tiles),
        "d32AddQueue");
    D32CALLBACK *volatile bare = on_message;
    const PairedTime time = time_paired([] { require(d32DispatchQueue(), "d32DispatchQueue"); },
                                        [&] { bare(D32_STEP, owner, 0, 0); }, budget);
    print(name, (time.job - time.reference) * 1e9, "ns beside its callback", "the callback",
          time.ratio());
    d32DeleteQueue(owner);
}

} // namespace

int main() {
    std::printf("The least of many samples taken in turns\n\n");
    measure_messages();
    measure_steps(D32_TILES, "d32DispatchQueue, a tile");
    measure_steps(D32_STEPS, "d32DispatchQueue, a numbered step");
    return steps_seen > 0 ? 0 : 1;
}
