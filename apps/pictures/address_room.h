// How many bytes this process can still have in one piece, whatever the machine's memory.
#pragma once

#include <cstdint>

namespace apps {

// The largest range of addresses that nobody has taken.
uint64_t largest_free_range();

} // namespace apps
