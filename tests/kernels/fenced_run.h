// One run of a function from a source row into a destination row that lie where the test wants them
// between fences: the destination's bytes and what lies about them are compared, and the source.
#pragma once

#include "tests/frame/fenced_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace q32::test {

// So many bytes behind the front fence, or before the rear one.
struct Place {
    bool at_end;
    std::size_t distance = 0;

    std::uint8_t *address(const FencedMemory &memory, std::size_t bytes) const {
        return at_end ? memory.end() - distance - bytes : memory.begin() + distance;
    }
};

inline std::ostream &operator<<(std::ostream &stream, const Place &place) {
    return stream << place.distance << " bytes from the " << (place.at_end ? "rear" : "front")
                  << " fence";
}

class FencedRun {
public:
    using View = std::span<const std::uint8_t>;
    static constexpr std::size_t farthest = 64; // that a place is from its fence

    FencedRun(std::size_t longest_source, std::size_t longest_destination)
        : source_{longest_source + farthest + margin}, destination_{longest_destination + farthest +
                                                                    margin} {}

    // run(destination, source) has to write `expected` and nothing else.
    template <class Run>
    testing::AssertionResult gives(View expected, View source, Place to, Place from, Run run) {
        std::uint8_t *const source_row = from.address(source_, source.size());
        std::copy(source.begin(), source.end(), source_row);
        std::uint8_t *const row = to.address(destination_, expected.size());
        const std::uint8_t *const begin = std::max(row - margin, destination_.begin());
        const std::uint8_t *const end =
            std::min(row + expected.size() + margin, destination_.end());
        canary_ = static_cast<std::uint8_t>(canary_ * 5 + 113); // another one each time
        std::fill(const_cast<std::uint8_t *>(begin), const_cast<std::uint8_t *>(end), canary_);

        run(row, static_cast<const std::uint8_t *>(source_row));
        if (!std::equal(expected.begin(), expected.end(), row) || !untouched(begin, row) ||
            !untouched(row + expected.size(), end))
            return first_difference(begin, end, row, expected)
                   << "; destination " << to << ", source " << from;
        if (!std::equal(source.begin(), source.end(), source_row))
            return testing::AssertionFailure() << "the source has changed";
        return testing::AssertionSuccess();
    }

private:
    bool untouched(const std::uint8_t *begin, const std::uint8_t *end) const {
        return std::all_of(begin, end, [this](std::uint8_t byte) { return byte == canary_; });
    }

    testing::AssertionResult first_difference(const std::uint8_t *begin, const std::uint8_t *end,
                                              const std::uint8_t *row, View expected) const {
        for (const std::uint8_t *p = begin; p != end; ++p) {
            const auto at = static_cast<std::size_t>(p - row);
            const bool inside = p >= row && at < expected.size();
            const std::uint8_t wanted = inside ? expected[at] : canary_;
            if (*p != wanted)
                return testing::AssertionFailure()
                       << "byte " << p - row << " of " << expected.size() << " is " << int{*p}
                       << (inside ? "" : " (outside)") << ", not " << int{wanted};
        }
        return testing::AssertionFailure() << "differs";
    }

    static constexpr std::size_t margin = 128; // about a destination that must stay as it was

    FencedMemory source_, destination_;
    std::uint8_t canary_ = 7;
};

} // namespace q32::test
