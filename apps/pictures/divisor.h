// Exact division of many numbers by one: a multiplication, and a correction by one.
#pragma once

#include <cstdint>

namespace apps {

class Divisor {
public:
    // most: the largest number that will be divided, below 2^62 and below 2^17 x divisor.
    Divisor(uint64_t divisor, uint64_t most) : divisor_(divisor) {
        while (most >> shift_ >= 1u << 31)
            ++shift_;
        reciprocal_ = (uint64_t{1} << (32 + shift_)) / divisor;
    }

    // number / divisor, rounded down. What the shift drops, and what the reciprocal lacks, make the
    // estimate less than one too small (by 2^-13 and by a half at most).
    uint64_t quotient(uint64_t number) const {
        const uint64_t estimate = (number >> shift_) * reciprocal_ >> 32;
        return estimate + (number - estimate * divisor_ >= divisor_ ? 1 : 0);
    }

    uint64_t rounded(uint64_t number) const { return quotient(number + divisor_ / 2); } // half up

private:
    uint64_t divisor_;
    uint64_t reciprocal_; // 2^(32 + shift) / divisor: at most 2^32, for divisor 1
    int shift_ = 0;
};

} // namespace apps
