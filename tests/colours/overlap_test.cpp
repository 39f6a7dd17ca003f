// i32ColorFilter where its mask lies over the pixels: the mask comes as a whole, and then goes
// pixel by pixel, each tested as the bytes cleared before it have left it.
#include "tests/colours/filter_fixture.h"

#include <optional>

namespace q32::test {
namespace {

class FilterOverlap : public FilterTest {};

constexpr int types[] = {I32_FILTER_GREY, I32_FILTER_NONE, I32_FILTER_RGB, I32_FILTER_RGBX};

// Where in the block what begins.
struct Places {
    size_t out;
    std::optional<size_t> in;
    size_t source;
};

void filter_within(Bytes &memory, const Places &at, int type, size_t pixels, const Ranges &ranges,
                   bool inside) {
    if (at.in)
        std::memmove(&memory[at.out], &memory[*at.in], pixels);
    else
        std::memset(&memory[at.out], 255, pixels);
    model::filter(&memory[at.out], memory.data() + at.source, pixels, type, ranges, inside);
}

Bytes filtered_within(const Bytes &memory, const Places &at, int type, size_t pixels,
                      const Ranges &ranges, int inside) {
    Block block(memory);
    EXPECT_SUCCESS(api().i32ColorFilter(
        block.data() + at.out, at.in ? block.data() + *at.in : nullptr, block.data() + at.source,
        type, unsigned(pixels), Table(ranges), inside));
    return block.contents();
}

TEST_F(FilterOverlap, ByHand) {
    const Ranges black{{{0}, {0}}}, white{{{255}, {0}}};
    // A mask one byte behind the pixels: a cleared byte is the next black pixel.
    EXPECT_EQ(filtered_within({0, 9, 9, 9, 9}, {1, 1, 0}, I32_FILTER_GREY, 4, black, 0),
              (Bytes{0, 0, 0, 0, 0}));
    EXPECT_EQ(filtered_within({7, 9, 9, 9, 9}, {1, 1, 0}, I32_FILTER_GREY, 4, black, 0),
              (Bytes{7, 9, 9, 9, 9}));
    // What is not black is cleared, and what is behind it stays.
    EXPECT_EQ(filtered_within({7, 9, 9, 9, 9}, {1, 1, 0}, I32_FILTER_GREY, 4, black, 1),
              (Bytes{7, 0, 9, 0, 9}));
    // The pixels are the full mask.
    EXPECT_EQ(filtered_within({1, 2, 3}, {0, std::nullopt, 0}, I32_FILTER_GREY, 3, white, 1),
              (Bytes{255, 255, 255}));
    EXPECT_EQ(filtered_within({1, 2, 3}, {0, std::nullopt, 0}, I32_FILTER_GREY, 3, white, 0),
              (Bytes{0, 0, 0}));
    // The mask moves as a whole, up and down.
    EXPECT_EQ(filtered_within({1, 2, 3, 4}, {1, 0, 0}, I32_FILTER_NONE, 3, {}, 1),
              (Bytes{1, 1, 2, 3}));
    EXPECT_EQ(filtered_within({1, 2, 3, 4}, {0, 1, 0}, I32_FILTER_NONE, 3, {}, 1),
              (Bytes{2, 3, 4, 4}));
}

Ranges some_ranges(Random &random) {
    Ranges ranges(1 + random.below(4));
    for (I32COLORRANGE &range : ranges) {
        random.fill(range.colour);
        if (random.below(3) == 0)
            std::fill(std::begin(range.colour), std::end(range.colour), uint8_t(0));
        for (int32_t &tolerance : range.tolerance)
            tolerance = between(random, 0, 160);
    }
    return ranges;
}

TEST_F(FilterOverlap, AtRandom) {
    std::printf("seed: %llu\n", static_cast<unsigned long long>(test_seed()));
    random_cases(20000, [](Random &random, uint64_t number) {
        const int type = types[random.below(std::size(types))];
        const size_t pixels = 1 + (random.below(30) == 0 ? random.below(5000) : random.below(300));
        const size_t source_bytes = pixels * size_t(model::pixel_bytes(type));
        const auto place = [&] {
            return random.below(2) == 0 ? random.below(200) : random.below(source_bytes + 1);
        };
        Places at{place(), std::nullopt, place()};
        if (random.below(3) != 0)
            at.in = random.below(3) == 0 ? at.out : place();
        const size_t size =
            std::max({at.out + pixels, at.in.value_or(0) + pixels, at.source + source_bytes});
        Bytes memory = random_bytes(random, size);
        for (uint8_t &byte : memory)
            if (random.below(4) == 0)
                byte = random.below(2) == 0 ? 0 : 255;
        const Ranges ranges = some_ranges(random);
        const bool inside = random.below(2) == 0;
        SCOPED_TRACE(rerun(number) + ": type " + std::to_string(type) + ", " +
                     std::to_string(pixels) + " pixels at " + std::to_string(at.source) +
                     ", mask at " + std::to_string(at.out) + " from " +
                     (at.in ? std::to_string(*at.in) : "nothing"));
        const Bytes made = filtered_within(memory, at, type, pixels, ranges, inside);
        filter_within(memory, at, type, pixels, ranges, inside);
        EXPECT_TRUE(made == memory)
            << "byte "
            << std::mismatch(made.begin(), made.end(), memory.begin()).first - made.begin();
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
