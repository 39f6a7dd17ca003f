// Reading ahead, and memory that grows as bytes come.
#include "byte_source.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace apps {
namespace {

constexpr size_t block_bytes = 1 << 16;

struct Block {
    uint64_t at = 0;
    size_t filled = 0;
    Bytes bytes = Bytes(block_bytes);
};

} // namespace

ReadAt in_blocks(ReadAt file) {
    return [file = std::move(file), block = std::make_shared<Block>()](uint64_t at, uint8_t *bytes,
                                                                       size_t count) -> size_t {
        if (count > block_bytes / 2)
            return file(at, bytes, count);
        if (at < block->at || at - block->at > block->filled ||
            block->filled - (at - block->at) < count) {
            block->at = at;
            block->filled = file(at, block->bytes.data(), block_bytes);
            count = std::min(count, block->filled);
        }
        std::memcpy(bytes, block->bytes.data() + (at - block->at), count);
        return count;
    };
}

ReadAt in_memory(std::span<const uint8_t> block) {
    return [block](uint64_t at, uint8_t *bytes, size_t count) -> size_t {
        if (at >= block.size())
            return 0;
        const auto from = block.subspan(static_cast<size_t>(at));
        count = std::min(count, from.size());
        std::copy_n(from.begin(), count, bytes);
        return count;
    };
}

Bytes read_bytes(const ReadAt &file, uint64_t at, uint64_t count) {
    Bytes bytes;
    while (bytes.size() < count) {
        const size_t begin = bytes.size(),
                     wanted = static_cast<size_t>(std::min<uint64_t>(count - begin, block_bytes));
        bytes.resize(begin + wanted);
        const size_t done = file(at + begin, &bytes[begin], wanted);
        if (done < wanted) {
            bytes.resize(begin + done);
            break;
        }
    }
    return bytes;
}

} // namespace apps
