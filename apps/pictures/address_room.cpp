// A walk over the process's addresses.
#include "address_room.h"

#include <windows.h>

#include <algorithm>

namespace apps {

uint64_t largest_free_range() {
    uint64_t most = 0;
    MEMORY_BASIC_INFORMATION range;
    const char *address = nullptr;
    while (VirtualQuery(address, &range, sizeof range) != 0) {
        if (range.State == MEM_FREE)
            most = std::max<uint64_t>(most, range.RegionSize);
        const char *const next = static_cast<const char *>(range.BaseAddress) + range.RegionSize;
        if (next <= address)
            break;
        address = next;
    }
    return most;
}

} // namespace apps
