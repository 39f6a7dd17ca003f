// Windows callers align the stack to 4 bytes only: every path at each of the four alignments that a
// caller's stack can have.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResampleOnAMisalignedStack : public ResampleTest,
                                   public testing::WithParamInterface<uint32_t> {};

TEST_P(ResampleOnAMisalignedStack, EveryPath) {
    Random random(test_seed(), 1);
    for (int bits : {1, 4, 8, 16, 24})
        for (const Manner &manner :
             {Manner{false}, {true, 0, 1}, {true, 0, 2}, {true, 0, 4}, {true, 1, 1}}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + text_of(manner));
            const Side source(bits, 150, 40, random);
            Side given(bits, 200, 30, random);
            HBUF32 handle = given;
            const SIZE size{1, 1};
            Listener listener(0, 100);
            EXPECT_EQ(manner.ex
                          ? frame::call_at(GetParam(), api().q32BufferResampleEx, &size, source,
                                           &handle, listener, manner.row_path, manner.method)
                          : frame::call_at(GetParam(), api().q32BufferResample, &size, source,
                                           &handle, listener),
                      1);
            const Path path = path_of(manner, bits, true);
            EXPECT_EQ(listener.heard(), model::messages(path, given.cells(), 0, 100));
            model::resample(path, source.picture, given.picture, given.cells());
            given.expect_picture();
        }
}

INSTANTIATE_TEST_SUITE_P(Offsets, ResampleOnAMisalignedStack, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
