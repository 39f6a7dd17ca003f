// What the tests of colour filters share: tables in memory that a step too far crashes on.
#pragma once

#include "tests/colours/colour_fixture.h"

namespace q32::test {

// A table as callers build it, which cannot be written.
class Table {
public:
    explicit Table(const Ranges &ranges, Fence fence = Fence::behind)
        : Table(uint32_t(ranges.size()), ranges, fence) {}
    // One that counts otherwise than it should.
    Table(uint32_t count, const Ranges &ranges, Fence fence = Fence::behind)
        : block_(sizeof count + ranges.size() * sizeof(I32COLORRANGE), fence) {
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
