// Sizing, locking and filling of strips.
#include "display/runs/strip.h"

#include <cstring>
#include <limits>

namespace q32::display {
namespace {

constexpr std::uint64_t spare_bytes = 4;
constexpr std::uint64_t rows_too_wide_for_the_cap = 2;

} // namespace

bool Strip::allocate(std::uint64_t row_bytes, std::uint64_t rows, std::uint64_t most_bytes,
                     Fill fill) {
    const std::uint64_t fitting = most_bytes / row_bytes;
    if (rows > fitting)
        rows = fitting != 0 ? fitting : rows_too_wide_for_the_cap;
    const std::uint64_t bytes = rows * row_bytes + spare_bytes;
    if (bytes > std::numeric_limits<std::size_t>::max())
        return false;
    block_.reset(GlobalAlloc(GMEM_MOVEABLE, std::size_t(bytes)));
    row_bytes_ = std::size_t(row_bytes);
    capacity_ = int(rows);
    restart(fill);
    // Bitmaps are handed all of it, with padding and with rows that never came.
    if (*this)
        std::memset(this->bytes(), 0, size());
    return bool(*this);
}

std::uint8_t *Strip::next_row() const {
    const int row = fill_ == Fill::from_end ? capacity_ - 1 - held_ : held_;
    return bytes() + std::size_t(row) * row_bytes_;
}

void Strip::restart(Fill fill) {
    fill_ = fill;
    held_ = 0;
    if (block_)
        locked_.emplace(block_.get());
}

std::uint8_t *Strip::bytes() const {
    return locked_ ? static_cast<std::uint8_t *>(locked_->memory()) : nullptr;
}

} // namespace q32::display
