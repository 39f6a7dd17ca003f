// The rows that a run holds until they are drawn together: their memory, how many fit, how many
// there are, and from which end it fills. Knows neither pixels nor the graphics interface.
#pragma once

#include "library/process/owners.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace q32::display {

class Strip {
public:
    // The end of its memory at which the first row goes.
    enum class Fill { from_start, from_end };

    // As many of the rows as take `most_bytes`, two where not even one does. False when there is no
    // memory for them.
    bool allocate(std::uint64_t row_bytes, std::uint64_t rows, std::uint64_t most_bytes, Fill fill);

    // False until it is allocated, and when its memory cannot be locked.
    explicit operator bool() const { return bytes() != nullptr; }

    int capacity() const { return capacity_; }
    int held() const { return held_; }
    bool is_full() const { return held_ == capacity_; }
    std::size_t row_bytes() const { return row_bytes_; }

    // Where the next row goes; keep_row makes it one of those held.
    std::uint8_t *next_row() const;
    void keep_row() { ++held_; }

    // What it holds is lost; its memory may have moved.
    void restart(Fill fill);
    void forget_rows() { held_ = 0; }

    // Fewer rows from now on, of those that it holds at most.
    void shrink(int rows) { capacity_ = rows; }

    // In memory: all of it, and the first row of those held.
    std::uint8_t *bytes() const;
    std::size_t size() const { return std::size_t(capacity_) * row_bytes_; }
    int first_held() const { return fill_ == Fill::from_end ? capacity_ - held_ : 0; }
    const std::uint8_t *held_bytes() const {
        return bytes() + std::size_t(first_held()) * row_bytes_;
    }

private:
    GlobalBlock block_;
    std::optional<LockedBlock> locked_;
    std::size_t row_bytes_ = 0;
    int capacity_ = 0;
    int held_ = 0;
    Fill fill_ = Fill::from_start;
};

} // namespace q32::display
