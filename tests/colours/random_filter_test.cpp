// i32ColorFilter against the model: random tables, masks and runs, in memory that cannot be left.
#include "tests/colours/filter_fixture.h"

namespace q32::test {
namespace {

class RandomFilters : public FilterTest, public testing::WithParamInterface<int> {};

int random_tolerance(Random &random) {
    const int extremes[] = {0, -1, 255, 256, -255, -256, 1 << 16, INT_MIN, INT_MAX, INT_MIN + 1};
    switch (random.below(8)) {
    case 0:
        return extremes[random.below(std::size(extremes))];
    case 1:
        return int(uint32_t(random.next()));
    case 2:
        return between(random, -300, 600);
    default:
        return between(random, 0, 60);
    }
}

Ranges random_ranges(Random &random, size_t count) {
    Ranges ranges(count);
    for (I32COLORRANGE &range : ranges) {
        random.fill(range.colour);
        for (int32_t &tolerance : range.tolerance)
            tolerance = random_tolerance(random);
    }
    return ranges;
}

// Samples at the ends of the ranges and right beside them, and any others. Of ends that are no
// samples: those that they would be by mistake, cut to one or what is left of them in a byte.
Bytes random_source(Random &random, int type, size_t pixels, const Ranges &ranges) {
    const auto bytes = size_t(model::pixel_bytes(type));
    Bytes source = random_bytes(random, pixels * bytes);
    for (size_t i = 0; i < source.size(); ++i) {
        const size_t channel = i % bytes;
        const I32COLORRANGE &range = ranges[(i / bytes) % ranges.size()];
        const int colour = range.colour[channel];
        const auto [low, high] = model::ends(colour, range.tolerance[channel]);
        switch (random.below(6)) {
        case 0:
            source[i] = uint8_t(high + between(random, 0, 1));
            break;
        case 1:
            source[i] = uint8_t(low - between(random, 0, 1));
            break;
        case 2:
            source[i] = uint8_t(high);
            break;
        case 3:
            source[i] = uint8_t(colour);
            break;
        case 4:
            source[i] = uint8_t(std::max<int64_t>(high, 0));
            break;
        default:
            break;
        }
    }
    return source;
}

void check(Random &random, int type, size_t pixels, size_t count) {
    const Ranges ranges = random_ranges(random, count);
    const Bytes source = random_source(random, type, pixels, ranges);
    const bool inside = random.below(2) == 0;
    const auto place = [&] { return Place{random.below(2) != 0}; };
    Bytes start = random_bytes(random, pixels);
    for (uint8_t &byte : start)
        if (random.below(3) == 0)
            byte = 0;
    const Table table(ranges, place());
    Block memory(source, place());
    memory.protect();

    enum { from_nothing, from_another, in_place };
    const auto way = random.below(3);
    Bytes expected = way == from_nothing ? Bytes(pixels, 255) : start;
    model::filter(expected.data(), source.data(), pixels, type, ranges, inside);
    Block mask_in(start, place()), mask_out(pixels, place());
    mask_in.protect();
    if (way == in_place)
        mask_out.set(start);
    const uint8_t *const in = way == from_nothing   ? nullptr
                              : way == from_another ? mask_in.data()
                                                    : mask_out.data();
    EXPECT_SUCCESS(api().i32ColorFilter(mask_out.data(), in, memory.data(), type, unsigned(pixels),
                                        table, inside));
    mask_out.expect(expected);
}

TEST_P(RandomFilters, OfOneToFortyRanges) {
    random_cases(3000, [](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        check(random, GetParam(), 1 + random.below(300), 1 + random.below(40));
        return !HasFailure();
    });
}

TEST_P(RandomFilters, OfEveryLength) {
    Random random(test_seed(), 1);
    for (size_t pixels = 1; pixels <= 200 && !HasFailure(); ++pixels)
        for (size_t count : {1, 2, 3, 7}) {
            SCOPED_TRACE(pixels);
            check(random, GetParam(), pixels, count);
        }
}

TEST_P(RandomFilters, OfLongRuns) {
    Random random(test_seed(), 2);
    check(random, GetParam(), 1000003, 1);
    check(random, GetParam(), 300001, 40);
    check(random, GetParam(), 1001, 5000);
}

INSTANTIATE_TEST_SUITE_P(Types, RandomFilters,
                         testing::Values(I32_FILTER_GREY, I32_FILTER_RGB, I32_FILTER_RGBX));

} // namespace
} // namespace q32::test
