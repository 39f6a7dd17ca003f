// The mask of full strength that stands in for one that was not given. Of the block only one row is
// filled, which serves every row; a block for all of them is asked for all the same, as callers
// know the call to fail without it.
#pragma once

#include "library/process/owners.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace q32::merge {

// From the global heap. Owns nothing until it is made.
class FullMask {
public:
    FullMask() = default;
    FullMask(const FullMask &) = delete;
    FullMask &operator=(const FullMask &) = delete;
    ~FullMask() {
        if (row_ != nullptr)
            GlobalUnlock(block_.get());
    }

    // A block for this many pixels and two, with row_pixels of them filled. False: no memory.
    bool make(std::uint64_t pixels, std::size_t row_pixels) {
        if (pixels > std::numeric_limits<std::size_t>::max() - 2)
            return false;
        block_.reset(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, std::size_t(pixels) + 2));
        if (!block_)
            return false;
        row_ = GlobalLock(block_.get());
        if (row_ == nullptr)
            return false;
        std::memset(row_, 255, row_pixels);
        return true;
    }

    const std::uint8_t *row() const { return static_cast<const std::uint8_t *>(row_); }

private:
    GlobalBlock block_;
    void *row_ = nullptr;
};

} // namespace q32::merge
