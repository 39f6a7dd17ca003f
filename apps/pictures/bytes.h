// Numbers and texts as picture files hold them: the highest byte first in PNG and JPEG, the lowest
// in BMP and GIF, either in TIFF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace apps {

inline uint32_t big_endian(const uint8_t *bytes, size_t count = 4) {
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

inline uint32_t little_endian(const uint8_t *bytes, size_t count = 4) {
    uint32_t value = 0;
    while (count-- > 0)
        value = value << 8 | bytes[count];
    return value;
}

using Bytes = std::vector<uint8_t>;

void put_big_endian(Bytes &bytes, uint32_t value, size_t count = 4);
void put_little_endian(Bytes &bytes, uint64_t value, size_t count = 4);
void put(Bytes &bytes, std::span<const uint8_t> more);
void put(Bytes &bytes, std::string_view text);

} // namespace apps
