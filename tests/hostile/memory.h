// Memory that calls are given: blocks of exactly the bytes that the header asks for, with an
// inaccessible page at one end and bytes that must stay at the other.
#pragma once

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

class Memory {
public:
    static constexpr std::size_t most_bytes = 512 << 10;

    Memory();

    // What was taken before is given back.
    void give_back() { taken_.clear(); }

    // A block of random bytes, zeros, ones, or few values.
    std::uint8_t *take(Random &random, std::size_t size);
    // The size of the block that begins there; -1 for any other address.
    std::ptrdiff_t size_at(std::uintptr_t address) const;

    // What has been written beside a block.
    bool kept_beside() const;

private:
    struct Block {
        std::uint8_t *begin;
        std::size_t size;
        std::uint8_t *beside; // the bytes that must stay
    };
    std::vector<std::unique_ptr<FencedMemory>> fields_;
    std::vector<Block> taken_;
};

} // namespace q32::test
