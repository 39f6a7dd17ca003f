// How the row conversions may be called: from several threads at once, and without the processor
// being left in its multimedia state.
#include "tests/rows/row_fixture.h"

#include "tests/frame/random.h"
#include "tests/models/rows.h"

#include <atomic>
#include <thread>

namespace q32::test {
namespace {

using model::Bytes;

class RowCalls : public RowTestWithMmxFlag {};

INSTANTIATE_TEST_SUITE_P(Mmx, RowCalls, testing::Bool(), mmx_flag_name);

// --- the processor's state ---

// The tag word of the floating-point unit: two bits a register, all set when all are free.
std::uint16_t floating_point_tags() {
    std::uint32_t environment[7];
    asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment));
    return static_cast<std::uint16_t>(environment[2]);
}

TEST_P(RowCalls, LeaveTheFloatingPointRegistersFree) {
    Bytes a(1003);
    Bytes b(1003);
    ASSERT_EQ(floating_point_tags(), 0xFFFF);
    const std::uint8_t pattern[4] = {1, 2, 3, 4};
    for (int pixel_bytes = 1; pixel_bytes <= 4; ++pixel_bytes)
        rows().mem32Fill(a.data(), pattern, pixel_bytes, 250);
    EXPECT_EQ(floating_point_tags(), 0xFFFF);
    rows().mem32Exchange(a.data(), b.data(), 1003);
    EXPECT_EQ(floating_point_tags(), 0xFFFF);
    rows().mem32ByteInvert(nullptr, b.data(), 1003);
    EXPECT_EQ(floating_point_tags(), 0xFFFF);
}

// --- threads ---

TEST_P(RowCalls, FromSeveralThreadsAtOnce) {
    std::atomic<bool> exact{true};
    const auto work = [&](std::uint64_t number) {
        Random random{test_seed(), number};
        Bytes source(3 * 900);
        Bytes words(2 * 900);
        Bytes colours(3 * 900);
        for (int round = 0; round < 100; ++round) {
            random.fill(source);
            rows().mem32_888To565(words.data(), source.data(), 900);
            rows().mem32_565To888(colours.data(), words.data(), 900);
            rows().RGBToBGR(colours.data(), colours.data(), 900);
            const Bytes narrowed = model::narrow(source, 900, model::layout_565);
            const Bytes widened = model::widen(narrowed, 900, model::layout_565);
            if (words != narrowed || colours != model::swap_channels(widened, 900))
                exact = false;
        }
    };
    std::thread first{work, 1};
    std::thread second{work, 2};
    work(3);
    first.join();
    second.join();
    EXPECT_TRUE(exact);
}

} // namespace
} // namespace q32::test
