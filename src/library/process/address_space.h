// What a program's memory can be at most: a block that would reach further is nobody's, and was
// named in error.
#pragma once

#include <cstdint>

namespace q32 {

// In 64 bits Windows gives programs the lower 128 terabytes.
inline constexpr std::uintptr_t last_address =
    sizeof(void *) == 8 ? std::uintptr_t(0x7FFFFFFFFFFF) : UINTPTR_MAX;

// How many bytes there are from an address on.
inline std::uintptr_t room_behind(const void *memory) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    return address < last_address ? last_address - address : 0;
}

} // namespace q32
