// How texts leave the library: into a caller's buffer of any size. Which text, others decide.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace q32::comm {

// Copies what fits, always terminated; returns the number of characters copied.
inline int copy_out(std::string_view text, char *buffer, int size) {
    if (buffer == nullptr || size <= 0)
        return 0;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = text.size() < room ? text.size() : room;
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<int>(length);
}

} // namespace q32::comm
