// Windows callers align the stack to 4 bytes only: every bar in a buffer at each of the four
// alignments that a caller's stack can have.
#include "tests/bars/bar_fixture.h"

namespace q32::test {
namespace {

class BarsOnAMisalignedStack : public BarTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(BarsOnAMisalignedStack, EveryBar) {
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        HBUF32 handle = 0;
        if (bar.kind == Bar::grey)
            EXPECT_EQ(frame::call_at(GetParam(), api().q32CreateGrayBarImage, &handle, 150, 20,
                                     int(bar.from), int(bar.to), bar.horizontal),
                      1);
        else if (bar.kind == Bar::hues)
            EXPECT_EQ(
                frame::call_at(GetParam(), api().q32CreateHSBBarImage, &handle, bar.style, 150, 20),
                1);
        else
            EXPECT_EQ(frame::call_at(GetParam(), api().q32CreateColorBarImage, &handle, 150, 20,
                                     bar.from, bar.to, bar.horizontal, bar.rainbow),
                      1);
        const Buffer buffer(handle);
        EXPECT_TRUE(read_rows(buffer).bytes() == bar.picture(150, 20));
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, BarsOnAMisalignedStack, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
