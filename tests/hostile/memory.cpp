// Blocks at the ends of fields that are made once: fences cost too much to be made for a call.
#include "tests/hostile/memory.h"

#include <algorithm>
#include <cstring>

namespace q32::test {
namespace {

constexpr std::size_t most_blocks = 24;
constexpr std::size_t bytes_beside = 64;
constexpr std::uint8_t beside = 0xB5;

void fill(Random &random, std::uint8_t *begin, std::size_t size) {
    const std::size_t kind = random.below(6);
    const auto first = std::uint8_t(random.byte());
    for (std::size_t done = 0; done < size; done += 8) {
        std::uint64_t bytes = random.next();
        if (kind == 0)
            bytes = 0;
        else if (kind == 1)
            bytes = ~std::uint64_t{0};
        else if (kind == 2)
            bytes = first * 0x0101010101010101u;
        std::memcpy(begin + done, &bytes, std::min<std::size_t>(8, size - done));
    }
}

} // namespace

Memory::Memory() {
    for (std::size_t i = 0; i < most_blocks; ++i)
        fields_.push_back(std::make_unique<FencedMemory>(most_bytes + 2 * bytes_beside));
}

std::uint8_t *Memory::take(Random &random, std::size_t size) {
    const FencedMemory &field = *fields_[taken_.size() % most_blocks];
    const bool ends_at_fence = random.below(4) != 0;
    std::uint8_t *const begin = ends_at_fence ? field.end() - size : field.begin();
    std::uint8_t *const kept = ends_at_fence ? begin - bytes_beside : begin + size;
    fill(random, begin, size);
    std::memset(kept, beside, bytes_beside);
    taken_.push_back({begin, size, kept});
    return begin;
}

std::ptrdiff_t Memory::size_at(std::uintptr_t address) const {
    for (const Block &block : taken_)
        if (reinterpret_cast<std::uintptr_t>(block.begin) == address)
            return std::ptrdiff_t(block.size);
    return -1;
}

bool Memory::kept_beside() const {
    return std::all_of(taken_.begin(), taken_.end(), [](const Block &block) {
        return std::all_of(block.beside, block.beside + bytes_beside,
                           [](std::uint8_t byte) { return byte == beside; });
    });
}

} // namespace q32::test
