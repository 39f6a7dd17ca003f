// How every function of the library hands out a text.
#pragma once

#include <algorithm>
#include <cstring>

namespace q32comm {

// Copies at most size - 1 characters and a terminator; returns the number of characters.
inline int copy_text(const char *text, char *buffer, int size) {
    if (buffer == nullptr || size < 1)
        return 0;
    const int length = std::min(int(std::strlen(text)), size - 1);
    std::memcpy(buffer, text, size_t(length));
    buffer[length] = '\0';
    return length;
}

} // namespace q32comm
