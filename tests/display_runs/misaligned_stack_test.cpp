// Windows callers align the stack to 4 bytes only: every export of display runs is called at each
// of the four alignments that a caller's stack can have, on every path.
#include "tests/display_runs/run_fixture.h"

#include "tests/frame/misaligned.h"

namespace q32::test {
namespace {

class MisalignedRuns : public RunTest, public testing::WithParamInterface<std::uint32_t> {
protected:
    template <typename Result, typename... Parameters>
    Result call(Result (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return frame::call_at(GetParam(), function, arguments...);
    }
};

TEST_P(MisalignedRuns, EveryExport) {
    Random random{test_seed(), 111};
    for (int type = 0; type <= 5; ++type)
        for (int depth : {1, 8, 16, 24})
            for (bool given : {false, true}) {
                RunSetup setup{.type = type, .depth = depth, .left = 3, .top = 4};
                setup.right = 3 + 131;
                setup.bottom = 4 + 9;
                setup.option = 1;
                if (given)
                    setup.palette = some_colours(random, 256);
                prepare(setup);
                std::optional<OwnPalette> own;
                if (given)
                    own.emplace(entries_of(*setup.palette));
                const HPALETTE palette = own ? own->get() : nullptr;
                const Source source(random, depth, 131, 9);
                GdiWatch watch(dc());
                for (bool origin : {false, true}) {
                    HDISPRUN run = 0;
                    if (origin) {
                        setup.origin = {5, 6};
                        EXPECT_EQ(call(api().disp32ShowInitEx, &run, dc(), depth, 3, 4, 134, 13,
                                       palette, 1, 0, 5, 6),
                                  1);
                    } else {
                        EXPECT_EQ(call(api().disp32ShowInit, &run, dc(), depth, 3, 4, 134, 13,
                                       palette, 1, 0),
                                  1);
                    }
                    ASSERT_NE(run, 0u);
                    EXPECT_EQ(call(api().disp32SetAttrib, run, 2, 4), 1);
                    EXPECT_EQ(call(api().disp32SetAttrib, run, 1, 5), 0);
                    EXPECT_EQ(
                        call(api().disp32ShowData, run, source.image(), 0, 0, 9, source.stride), 1);
                    EXPECT_EQ(call(api().disp32ShowEnd, run), 1);
                    model::ModelRun model(setup);
                    model.attribute(2, 4);
                    model.show(source.image(), 0, 0, 9, source.stride);
                    model.end();
                    const auto drawings = watch.take_drawings();
                    ASSERT_EQ(drawings.size(), model.flushes().size());
                    EXPECT_EQ(drawings.back().y, model.flushes().back().y);
                }
                expect_no_report();
            }
}

INSTANTIATE_TEST_SUITE_P(Offsets, MisalignedRuns, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
