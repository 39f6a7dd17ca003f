// What every fuzz target is written with: values taken from the input, blocks of memory that end
// where they should, and the end of a run that found something.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace q32::fuzz {

using Bytes = std::vector<std::uint8_t>;

// A run ends here, and the fuzzer keeps the input.
[[noreturn]] inline void found(const std::string &what) {
    std::fprintf(stderr, "found: %s\n", what.c_str());
    std::abort();
}

inline void check(bool holds, const char *what) {
    if (!holds)
        found(what);
}

// The input as a row of values. Where it has ended all are 0.
class Input {
public:
    Input(const std::uint8_t *data, std::size_t size) : at_{data}, end_{data + size} {}

    bool is_empty() const { return at_ == end_; }
    std::size_t left() const { return std::size_t(end_ - at_); }

    template <typename Number>
    Number number() {
        Number value = 0;
        const std::size_t size = std::min(sizeof value, left());
        if (size != 0)
            std::memcpy(&value, at_, size);
        at_ += size;
        return value;
    }
    std::uint8_t byte() { return number<std::uint8_t>(); }
    bool flag() { return (byte() & 1) != 0; }

    // first to last, from as few bytes as will do.
    int between(int first, int last) {
        const std::uint32_t count = std::uint32_t(last) - std::uint32_t(first) + 1;
        const std::uint32_t value = count <= 0x100     ? byte()
                                    : count <= 0x10000 ? number<std::uint16_t>()
                                                       : number<std::uint32_t>();
        return int(std::uint32_t(first) + (count == 0 ? value : value % count));
    }
    std::size_t below(std::size_t count) { return std::size_t(between(0, int(count) - 1)); }

    // Mostly what rows are long, sometimes longer.
    std::size_t length(std::size_t most = 3000) {
        const std::uint8_t kind = byte();
        if (kind < 192)
            return kind;
        return std::min<std::size_t>(number<std::uint16_t>(), most);
    }

    // Any int, those at the edges often.
    int any_int() {
        static constexpr int edges[] = {0,     1,      -1,        2,         255,           256,
                                        32000, -32000, INT32_MAX, INT32_MIN, INT32_MAX - 1, 100};
        const std::uint8_t kind = byte();
        if (kind < std::size(edges))
            return edges[kind];
        if (kind < 128)
            return int(kind) - 64;
        return number<std::int32_t>();
    }

    // The next of the input's own bytes, as many as there are.
    Bytes bytes(std::size_t size) {
        size = std::min(size, left());
        const Bytes taken(at_, at_ + size);
        at_ += size;
        return taken;
    }
    Bytes rest() { return bytes(left()); }
    std::string text(std::size_t size) {
        const Bytes taken = bytes(size);
        return {taken.begin(), taken.end()};
    }
    // Up to the end of a line.
    std::string line() {
        const std::uint8_t *const end = std::find(at_, end_, '\n');
        std::string taken(at_, end);
        at_ = end == end_ ? end_ : end + 1;
        return taken;
    }

    // Many bytes from few: noise, extremes, runs of one value, or the input's own over and over.
    Bytes content(std::size_t size) {
        Bytes made(size);
        const std::uint8_t kind = byte();
        std::uint32_t state = number<std::uint32_t>() | 1;
        const auto next = [&state] {
            state ^= state << 13;
            state ^= state >> 17;
            return state ^= state << 5;
        };
        switch (kind % 4) {
        case 0:
            for (std::uint8_t &value : made)
                value = std::uint8_t(next() >> 8);
            break;
        case 1:
            for (std::uint8_t &value : made)
                value = next() % 2 == 0 ? 0 : 255;
            break;
        case 2:
            for (std::size_t i = 0; i < size;) {
                const std::uint32_t chosen = next();
                const auto value = std::uint8_t(chosen % 4 == 0   ? 0
                                                : chosen % 4 == 1 ? 255
                                                                  : chosen >> 8);
                for (std::size_t run = 1 + (chosen >> 16) % 70; run > 0 && i < size; --run)
                    made[i++] = value;
            }
            break;
        case 3: {
            const Bytes own = bytes(1 + (kind >> 2));
            for (std::size_t i = 0; i < size && !own.empty(); ++i)
                made[i] = own[i % own.size()];
        }
        }
        return made;
    }

private:
    const std::uint8_t *at_;
    const std::uint8_t *end_;
};

// Targets of many small functions call several of them with one input: fewer seeds reach them all.
inline constexpr int runs_of_an_input = 16;

// A block of the heap that ends with its last byte, so that the sanitizer sees every step beyond.
// shift: how far behind an aligned address it begins.
class Block {
public:
    explicit Block(const Bytes &content, std::size_t shift = 0)
        : memory_{static_cast<std::uint8_t *>(std::malloc(content.size() + shift))}, shift_{shift},
          size_{content.size()} {
        if (!content.empty())
            std::memcpy(at(), content.data(), size_);
    }
    explicit Block(std::size_t size) : Block{Bytes(size)} {}
    Block(Block &&other) noexcept
        : memory_{std::exchange(other.memory_, nullptr)}, shift_{other.shift_}, size_{other.size_} {
    }
    Block &operator=(Block &&) = delete;
    ~Block() { std::free(memory_); }

    std::uint8_t *at() const { return memory_ + shift_; }
    std::size_t size() const { return size_; }
    Bytes content() const { return {at(), at() + size_}; }

private:
    std::uint8_t *memory_;
    std::size_t shift_;
    std::size_t size_;
};

} // namespace q32::fuzz
