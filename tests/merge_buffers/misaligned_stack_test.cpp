// Windows callers align the stack to 4 bytes only: every buffer form at each of the four alignments
// that a caller's stack can have.
#include "tests/merge_buffers/merge_fixture.h"

namespace q32::test {
namespace {

class MergeOnAMisalignedStack : public MergeTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(MergeOnAMisalignedStack, EveryExport) {
    Random random(test_seed(), 1);
    for (int mode = 1; mode <= 15; ++mode)
        for (bool masked : {false, true}) {
            Side overlay(24, 200, 180, random), mask(8, 200, 180, random);
            Side destination(24, 190, 210, random);
            make_mask(mask, random);
            Picture image = plain_picture(24, 220, 230, random);
            const Picture *const weights = masked ? &mask.picture : nullptr;
            const Request request{5, -6, {7, 8, 200, 180}, mode, 21};
            const RECT *const area = &request.rectangle;
            Bytes memory = image.image.bytes();
            EXPECT_EQ(frame::call_at(GetParam(), api().i32MergeBufToBuf, destination, 5, -6,
                                     masked ? HBUF32(mask) : 0, overlay, area, mode, 21),
                      1);
            EXPECT_EQ(frame::call_at(GetParam(), api().i32MergeBufToRam, memory.data(), 5, -6, 220,
                                     230, 3, masked ? HBUF32(mask) : 0, overlay, area, mode, 21),
                      1);
            EXPECT_EQ(frame::call_at(GetParam(), api().i32MergeRamToBuf, destination, 5, -6,
                                     nullptr, memory.data(), area, 200, 180, mode, 21),
                      0);
            model::merge_pictures(destination.picture, weights, overlay.picture,
                                  model::place(request, 200, 180, 190, 210), rules_of(request, 3));
            model::merge_pictures(image, weights, overlay.picture,
                                  model::place(request, 200, 180, 220, 230), rules_of(request, 3));
            destination.expect_picture();
            EXPECT_EQ(memory, image.image.bytes());
        }
}

INSTANTIATE_TEST_SUITE_P(Offsets, MergeOnAMisalignedStack, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
