// Windows callers align the stack to 4 bytes only: every merge is made at each of the four
// alignments that a caller's stack can have, and gives the same bytes.
#include "tests/merge/rectangle_fixture.h"

namespace q32::test {
namespace {

class MergeOnAMisalignedStack : public MergeTestWithMmxFlag {};
INSTANTIATE_TEST_SUITE_P(Mmx, MergeOnAMisalignedStack, testing::Bool(), mmx_flag_name);

TEST_P(MergeOnAMisalignedStack, EveryModeOfEveryExport) {
    constexpr int width = 150, height = 3;
    constexpr RECT all{0, 0, width, height};
    Random random(test_seed(), 1);
    for (int mode = 1; mode <= 16; ++mode)
        for (const int bytes : {1, 3})
            for (const bool masked : {true, false}) {
                SCOPED_TRACE("mode " + std::to_string(mode) + ", " + std::to_string(bytes) +
                             " bytes");
                const RunPixels pixels = some_pixels(random, width * height, bytes);
                Block result, base(pixels.base), overlay(pixels.overlay), mask(pixels.mask);
                const std::uint8_t *const mask_at = masked ? mask.data() : nullptr;
                const model::Call call{mode, bytes, 30, mmx()};
                Bytes run = pixels.result, rectangle = pixels.base;
                const bool run_accepted = model::merge_run(
                    run, call, pixels.base, masked ? &pixels.mask : nullptr, pixels.overlay);
                model::merge_rectangles(rectangle, width, height, masked ? &pixels.mask : nullptr,
                                        all, pixels.overlay, all, call);
                const int accepted = model::rectangles_have(call);
                for (const std::uint32_t remainder : {0u, 4u, 8u, 12u}) {
                    result.hold(pixels.result);
                    EXPECT_EQ(frame::call_at(remainder, api().i32Merge, result.data(), base.data(),
                                             mask_at, overlay.data(), bytes, width * height,
                                             unsigned(mode), 30),
                              int(run_accepted));
                    result.expect(run);
                    result.hold(pixels.base);
                    EXPECT_EQ(frame::call_at(remainder, api().i32MergeEx, result.data(), width,
                                             height, mask_at, &all, overlay.data(), &all, bytes,
                                             mode, 30),
                              accepted);
                    result.expect(rectangle);
                    result.hold(pixels.base);
                    EXPECT_EQ(frame::call_at(remainder, api().i32MergeRamToRam, result.data(),
                                             width, height, bytes, 0, 0, overlay.data(), mask_at,
                                             width, height, all, mode, 30),
                              accepted);
                    result.expect(rectangle);
                }
            }
}

} // namespace
} // namespace q32::test
