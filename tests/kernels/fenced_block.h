// A block of memory of exactly so many bytes at an inaccessible page or near one: what lies beside
// it is looked after too. The one way in which tests lay bytes down for whoever reads and writes
// them.
#pragma once

#include "tests/frame/fenced_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

// So many bytes behind the front fence, or before the rear one.
struct Place {
    bool at_end = true;
    std::size_t distance = 0;
};

inline std::ostream &operator<<(std::ostream &stream, const Place &place) {
    return stream << place.distance << " bytes from the " << (place.at_end ? "rear" : "front")
                  << " fence";
}

// The first place where two runs differ, or their length.
inline std::size_t first_difference(const std::uint8_t *a, const std::uint8_t *b,
                                    std::size_t bytes) {
    if (bytes == 0 || std::memcmp(a, b, bytes) == 0)
        return bytes;
    return std::size_t(std::mismatch(a, a + bytes, b).first - a);
}

// Keeps its memory from one content to the next.
class FencedBlock {
public:
    static constexpr std::size_t usual_margin = 192, all_of_it = ~std::size_t{0};

    // Up to so many bytes beside the block must stay as they were.
    explicit FencedBlock(std::size_t margin = usual_margin) : margin_{margin} {}
    explicit FencedBlock(View bytes, Place place = {}, std::size_t margin = usual_margin)
        : margin_{margin} {
        hold(bytes, place);
    }

    std::uint8_t *hold(View bytes, Place place = {}) {
        if (!memory_ || memory_->size() < bytes.size() + place.distance)
            memory_ = std::make_unique<FencedMemory>(
                std::max<std::size_t>(2 * (bytes.size() + place.distance), 1));
        size_ = bytes.size();
        data_ = place.at_end ? memory_->end() - place.distance - size_
                             : memory_->begin() + place.distance;
        // Other bytes every time: no stray write matches them for long.
        beside_ = std::uint8_t(beside_ * 5 + 113);
        std::memset(data_ - before(), beside_, before());
        std::memset(data_ + size_, beside_, behind());
        std::copy(bytes.begin(), bytes.end(), data_);
        return data_;
    }

    std::uint8_t *data() const { return data_; }
    std::size_t size() const { return size_; }
    Bytes contents() const { return Bytes(data_, data_ + size_); }
    // Empty when the block holds these bytes and its neighbourhood what it held.
    std::string difference(View expected) const {
        if (expected.size() != size_)
            return "the block has " + std::to_string(size_) + " bytes, not " +
                   std::to_string(expected.size());
        const std::size_t at = first_difference(data_, expected.data(), size_);
        if (at != size_)
            return said(data_ + at, expected[at]);
        for (const auto &[from, count] :
             {std::pair{data_ - before(), before()}, std::pair{data_ + size_, behind()}})
            for (std::size_t i = 0; !stayed(from, count) && i < count; ++i)
                if (from[i] != beside_)
                    return "outside, " + said(from + i, beside_);
        return "";
    }

    void expect(const Bytes &expected) const { EXPECT_EQ(difference(expected), ""); }

#if defined(_WIN32)
    // Makes any write to the block a crash.
    void protect() {
        DWORD former;
        VirtualProtect(memory_->begin(), memory_->size(), PAGE_READONLY, &former);
    }
#endif

private:
    // What is looked after, as far as the fences leave room.
    std::size_t before() const {
        return std::min(margin_, std::size_t(data_ - memory_->begin()));
    }
    std::size_t behind() const {
        return std::min(margin_, std::size_t(memory_->end() - data_ - size_));
    }
    bool stayed(const std::uint8_t *bytes, std::size_t count) const {
        return count == 0 || (*bytes == beside_ && std::memcmp(bytes, bytes + 1, count - 1) == 0);
    }
    std::string said(const std::uint8_t *at, int wanted) const {
        return "byte " + std::to_string(at - data_) + " of " + std::to_string(size_) + " is " +
               std::to_string(*at) + ", not " + std::to_string(wanted);
    }

    std::size_t margin_;
    std::unique_ptr<FencedMemory> memory_;
    std::uint8_t *data_ = nullptr;
    std::size_t size_ = 0;
    std::uint8_t beside_ = 7;
};

} // namespace q32::test
