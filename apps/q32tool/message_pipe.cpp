// The count of strings, then each with its length in front.
#include "message_pipe.h"

#include <cstdint>

namespace apps::q32tool {
namespace {

bool read_exactly(HANDLE pipe, void *bytes, size_t count) {
    for (char *to = static_cast<char *>(bytes); count > 0;) {
        DWORD read = 0;
        if (!ReadFile(pipe, to, static_cast<DWORD>(count), &read, nullptr) || read == 0)
            return false;
        to += read;
        count -= read;
    }
    return true;
}

std::string packed(size_t number) {
    const uint32_t value = static_cast<uint32_t>(number);
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

} // namespace

bool send(HANDLE pipe, const Message &message) {
    std::string bytes = packed(message.size());
    for (const std::string &part : message)
        bytes += packed(part.size()) + part;
    for (size_t done = 0; done < bytes.size();) {
        DWORD written = 0;
        if (!WriteFile(pipe, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &written,
                       nullptr) ||
            written == 0)
            return false;
        done += written;
    }
    return true;
}

std::optional<Message> receive(HANDLE pipe) {
    uint32_t count = 0;
    if (!read_exactly(pipe, &count, sizeof count))
        return std::nullopt;
    Message message(count);
    for (std::string &part : message) {
        uint32_t size = 0;
        if (!read_exactly(pipe, &size, sizeof size))
            return std::nullopt;
        part.resize(size);
        if (!read_exactly(pipe, part.data(), size))
            return std::nullopt;
    }
    return message;
}

} // namespace apps::q32tool
