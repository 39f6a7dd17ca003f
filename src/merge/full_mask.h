// The mask of full strength that stands in for one that was not given. Of the block only one row is
// filled, which serves every row; a block for all of them is asked for all the same, as callers
// know the call to fail without it.
#pragma once

#include "library/process/owners.h"

#include <cstdint>
#include <cstring>
#include <optional>

namespace q32::merge {

// From the global heap. Owns nothing until it is made.
class FullMask {
public:
    // A block for this many pixels and two, with row_pixels of them filled. False: no memory.
    bool make(std::uint64_t pixels, std::size_t row_pixels) {
        block_ = make_global_block(GMEM_MOVEABLE | GMEM_ZEROINIT, pixels + 2);
        if (!block_ || locked_.emplace(block_.get()).memory() == nullptr)
            return false;
        std::memset(locked_->memory(), 255, row_pixels);
        return true;
    }

    const std::uint8_t *row() const { return static_cast<const std::uint8_t *>(locked_->memory()); }

private:
    GlobalBlock block_;
    std::optional<LockedBlock> locked_;
};

} // namespace q32::merge
