// What callers hand over as memory of no type, as the bytes that pixels are.
#pragma once

#include <cstdint>

namespace q32 {

inline std::uint8_t *bytes(void *memory) {
    return static_cast<std::uint8_t *>(memory);
}

inline const std::uint8_t *bytes(const void *memory) {
    return static_cast<const std::uint8_t *>(memory);
}

} // namespace q32
