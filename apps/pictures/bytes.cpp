// Blocks of bytes that grow.
#include "bytes.h"

namespace apps {

void put_big_endian(Bytes &bytes, uint32_t value, size_t count) {
    while (count-- > 0)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * count)));
}

void put_little_endian(Bytes &bytes, uint64_t value, size_t count) {
    for (; count-- > 0; value >>= 8)
        bytes.push_back(static_cast<uint8_t>(value));
}

void put(Bytes &bytes, std::span<const uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void put(Bytes &bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

} // namespace apps
