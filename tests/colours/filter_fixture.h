// What the tests of colour filters share: tables in memory that a step too far crashes on.
#pragma once

#include "tests/colours/colour_fixture.h"
#include "tests/models/filter.h"

#include <q32base/merge.h>

namespace q32::test {

using Ranges = std::vector<I32COLORRANGE>;

namespace model {

inline int pixel_bytes(int type) {
    return type == I32_FILTER_NONE ? 0 : type;
}

inline SampleRange ends(int colour, int64_t tolerance) {
    return {std::max<int64_t>(colour - tolerance, 0), std::min<int64_t>(colour + tolerance, 255)};
}

// What becomes of a mask.
inline void filter(uint8_t *mask, const uint8_t *source, size_t pixels, int type,
                   const Ranges &ranges, bool inside) {
    ColourRanges all;
    for (const I32COLORRANGE &range : ranges) {
        ColourRange &samples = all.emplace_back();
        for (size_t k = 0; k < samples.size(); ++k)
            samples[k] = ends(range.colour[k], range.tolerance[k]);
    }
    if (type != I32_FILTER_NONE)
        filter(mask, source, pixels, size_t(pixel_bytes(type)), all, inside);
}

} // namespace model

// A table as callers build it, which cannot be written.
class Table {
public:
    explicit Table(const Ranges &ranges, Place place = {})
        : Table(uint32_t(ranges.size()), ranges, place) {}
    // One that counts otherwise than it should.
    Table(uint32_t count, const Ranges &ranges, Place place = {})
        : block_(sizeof count + ranges.size() * sizeof(I32COLORRANGE), place) {
        std::memcpy(block_.data(), &count, sizeof count);
        std::memcpy(block_.data() + sizeof count, ranges.data(),
                    ranges.size() * sizeof(I32COLORRANGE));
        block_.protect();
    }
    operator const I32COLORFILTER *() const {
        return reinterpret_cast<const I32COLORFILTER *>(block_.data());
    }

private:
    Block block_;
};

class FilterTest : public ColourTest {
protected:
    // One call on a mask that begins full, whose result must be 1; gives back the mask.
    static Bytes filtered(int type, const Bytes &source, const Ranges &ranges, int inside) {
        const size_t pixels = source.size() / size_t(model::pixel_bytes(type));
        Block mask(pixels), memory(source);
        memory.protect();
        EXPECT_SUCCESS(api().i32ColorFilter(mask.data(), nullptr, memory.data(), type,
                                            unsigned(pixels), Table(ranges), inside));
        return mask.contents();
    }
};

} // namespace q32::test
