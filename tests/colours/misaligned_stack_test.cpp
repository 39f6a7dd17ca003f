// Windows callers align the stack to 4 bytes only: both calls at each of the four alignments that a
// caller's stack can have.
#include "tests/colours/filter_fixture.h"
#include "tests/colours/spaces_fixture.h"

namespace q32::test {
namespace {

class ColoursOnAMisalignedStack : public ColourTest,
                                  public testing::WithParamInterface<uint32_t> {};

TEST_P(ColoursOnAMisalignedStack, Filter) {
    Random random(test_seed(), 1);
    for (int type = 1; type <= 4; ++type) {
        const Bytes source = random_bytes(random, 403 * 4);
        Ranges ranges(40);
        for (I32COLORRANGE &range : ranges) {
            random.fill(range.colour);
            for (int32_t &tolerance : range.tolerance)
                tolerance = between(random, 0, 100);
        }
        Block mask(403);
        EXPECT_EQ(frame::call_at(GetParam(), api().i32ColorFilter, mask.data(), nullptr,
                                 source.data(), type, 403, Table(ranges), 1),
                  1);
        Bytes expected(403, 255);
        model::filter(expected, source, type, ranges, true);
        mask.expect(expected);
    }
}

TEST_P(ColoursOnAMisalignedStack, Spaces) {
    Random random(test_seed(), 2);
    for (const Conversion &conversion : conversions) {
        const Bytes source = random_source(random, conversion, 403);
        Block to(403 * conversion.to_bytes);
        EXPECT_EQ(frame::call_at(GetParam(), api().i32ColorspaceConvert, to.data(), source.data(),
                                 403, conversion.number),
                  1);
        to.expect(model::convert(conversion, source));
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, ColoursOnAMisalignedStack, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
