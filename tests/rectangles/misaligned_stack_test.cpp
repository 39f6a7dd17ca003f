// Windows callers align the stack to 4 bytes only: every rectangle call is made at each of the four
// alignments that a caller's stack can have.
#include "tests/rectangles/rectangle_fixture.h"

namespace q32::test {
namespace {

class RectanglesOnAMisalignedStack : public RectangleTest,
                                     public ::testing::WithParamInterface<uint32_t> {
protected:
    template <typename Result, typename... Parameters>
    Result call(Result (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return frame::call_at(GetParam(), function, arguments...);
    }
};

TEST_P(RectanglesOnAMisalignedStack, EveryExport) {
    Random random(test_seed(), 1);
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        for (int bits : {1, 4, 8, 24, 64}) {
            SCOPED_TRACE(std::to_string(type) + ", " + std::to_string(bits) + " bits");
            Buffer buffer(bits, 300, 200, type, some_colour);
            Subject other(Kind::tiled, bits, 300, 200, random);
            const Area area{100, 110, 90, 40};
            MemoryBlock block(block_bytes(bits, area), MemoryBlock::fence_behind, random);
            HBUF32 made = 0, duplicate = 0, got = other;
            EXPECT_EQ(call(api().buf32GetMem, buffer, 100, 110, 90, 40, block.data()), 1);
            EXPECT_EQ(
                call(api().buf32GetMemWithBC, buffer, -10, -10, 90, 40, block.data(), some_colour),
                1);
            EXPECT_EQ(call(api().buf32DupBuf, buffer, &duplicate), 1);
            EXPECT_EQ(call(api().buf32MergeMem, buffer, 100, 110, block.data(), 90, 40), 1);
            EXPECT_EQ(call(api().buf32GetBuf, buffer, 10, 10, 200, 150, &made), 1);
            EXPECT_EQ(call(api().buf32GetBuf, buffer, 10, 10, 200, 150, &got), 1);
            EXPECT_EQ(call(api().buf32MergeBuf, buffer, 10, 10, 200, 150, other, 77, 33), 1);
            const BUF32PATTERN pattern{5, 3, block.data()};
            EXPECT_EQ(call(api().buf32FillOneColor, buffer, some_colour), 1);
            EXPECT_EQ(call(api().buf32FillPattern, buffer, &pattern), 1);
            EXPECT_EQ(call(api().buf32GetMem, buffer, 100, 110, 90, 40, block.data()), 1);
            const Buffer free_made(made), free_duplicate(duplicate);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, RectanglesOnAMisalignedStack, ::testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
