// Random whole calls against the model: any mode, size, weight, length, sharing and place.
#include "tests/merge/rectangle_fixture.h"

#include <cstdio>

namespace q32::test {
namespace {

class RandomMerges : public MergeTestWithMmxFlag {
protected:
    void SetUp() override {
        std::printf("seed of the random cases: %llu\n",
                    static_cast<unsigned long long>(test_seed()));
    }
};
INSTANTIATE_TEST_SUITE_P(Mmx, RandomMerges, testing::Bool(), mmx_flag_name);

int some_size(Random &random) {
    const std::size_t choice = random.below(10);
    return choice < 5 ? 3 : choice < 8 ? 1 : between(random, 1, 8);
}

TEST_P(RandomMerges, OfRuns) {
    RunStage stage;
    random_cases(3000, [&](Random &random, std::uint64_t number) {
        RunCase run{{between(random, 0, 17), some_size(random), between(random, -3, 103), mmx()},
                    1 + (random.below(4) == 0 ? random.below(4000) : random.below(200)),
                    random.below(2) == 0,
                    all_sharings[random.below(std::size(all_sharings))],
                    {random.below(3) != 0, random.below(2) == 0 ? 0 : random.below(64)}};
        const auto result = stage.agrees(run, some_pixels(random, run.pixels, run.call.bytes));
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

TEST_P(RandomMerges, OfRectangles) {
    RectangleStage stage;
    random_cases(2000, [&](Random &random, std::uint64_t number) {
        const int width = between(random, 1, 300), height = between(random, 1, 12);
        const auto about = [&](int w, int h) {
            const int x = between(random, -20, w), y = between(random, -3, h);
            return RECT{x, y, x + between(random, 1, w + 30), y + between(random, 1, h + 4)};
        };
        const model::Call call{between(random, 0, 16), some_size(random), between(random, -3, 103),
                               mmx()};
        const bool masked = random.below(2) == 0;
        const auto first = stage.agrees(
            RectangleCase{call, width, height, masked, about(width, height), about(width, height)},
            random);
        EXPECT_TRUE(first) << rerun(number);
        const int over_width = between(random, 1, 300), over_height = between(random, 1, 12);
        const auto second = stage.agrees(ImageCase{call, width, height, between(random, -20, width),
                                                   between(random, -3, height), masked, over_width,
                                                   over_height, about(over_width, over_height)},
                                         random);
        EXPECT_TRUE(second) << rerun(number);
        return first && second;
    });
}

} // namespace
} // namespace q32::test
