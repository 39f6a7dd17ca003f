// The processor does not look ahead past the end of a row by itself. In long rows it soon catches
// up, and is only hindered by being told. Addresses beyond the memory are harmless.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32::merge {

class RowsAhead {
public:
    explicit RowsAhead(std::size_t row_bytes) : bytes_(row_bytes <= short_row ? row_bytes : 0) {}

    // By force: the compiler holds a function that does nothing else for one without an effect.
    [[gnu::always_inline]] void fetch(const std::uint8_t *row, std::size_t stride) const {
        for (std::size_t at = 0; at < bytes_; at += line)
            __builtin_prefetch(row + rows * stride + at);
    }

private:
    static constexpr std::size_t short_row = 1024, line = 64;
    static constexpr std::size_t rows = 4;
    std::size_t bytes_;
};

} // namespace q32::merge
