// Memory that is needed again and again in sizes that differ little: kept, and had anew only where
// more is needed.
#pragma once

#include "library/process/owners.h"

#include <cstdint>

namespace q32::resample {

class ReusedBlock {
public:
    explicit ReusedBlock(UINT flags) : flags_(flags) {}

    // What it held is lost where it grows. Null when there is no memory.
    std::uint8_t *of_bytes(SIZE_T bytes) {
        if (!block_ || bytes > bytes_) {
            block_.reset();
            block_.reset(GlobalAlloc(flags_, bytes));
            bytes_ = bytes;
        }
        return static_cast<std::uint8_t *>(block_.get());
    }

private:
    UINT flags_;
    GlobalBlock block_;
    SIZE_T bytes_ = 0;
};

} // namespace q32::resample
