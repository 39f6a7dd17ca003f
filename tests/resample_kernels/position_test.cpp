// Where destination pixels lie in the source, and the weights of cubic convolution: literal
// examples, and every pair of small sizes, random large ones and extreme ones against the model.
#include "resample/kernels/cubic_weights.h"
#include "resample/kernels/positions.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/models/resampling.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <numeric>

namespace q32::test {
namespace {

using model::Axis;
using model::Units;
using resample::FractionBits;
using Numbers = std::vector<std::int32_t>;

// A table that ends at a fence, or begins at one.
class FencedTable {
public:
    std::int32_t *of(int entries, bool at_end) {
        entries_ = std::size_t(entries);
        const std::size_t bytes = entries_ * sizeof(std::int32_t);
        std::uint8_t *const place = at_end ? memory_.end() - bytes : memory_.begin();
        first_ = reinterpret_cast<std::int32_t *>(place);
        beside_ = at_end ? place - margin : place + bytes;
        std::memset(beside_, 0xC3, margin);
        return first_;
    }
    Numbers contents() const { return {first_, first_ + entries_}; }
    bool nothing_beside_written() const {
        return std::all_of(beside_, beside_ + margin,
                           [](std::uint8_t byte) { return byte == 0xC3; });
    }

private:
    static constexpr std::size_t margin = 256;

    FencedMemory memory_{40000 * sizeof(std::int32_t)};
    std::int32_t *first_ = nullptr;
    std::size_t entries_ = 0;
    std::uint8_t *beside_ = nullptr;
};

class ResamplePositions : public testing::Test {
protected:
    Axis table(int destination, int source, FractionBits bits) {
        resample::table_positions(index_.of(destination, at_end_),
                                  fraction_.of(destination, at_end_), bits, destination, source);
        return contents();
    }
    Axis cells(int destination, int source) {
        resample::cell_positions(index_.of(destination, at_end_),
                                 fraction_.of(destination, at_end_), destination, source);
        return contents();
    }
    Axis nearest_cells(int destination, int source) {
        resample::nearest_cell_positions(index_.of(destination, at_end_), destination, source);
        EXPECT_TRUE(index_.nothing_beside_written());
        return {index_.contents(), {}};
    }

    // All rules for one pair of sizes.
    bool all_as_the_model(int destination, int source) {
        at_end_ = !at_end_;
        const bool same =
            table(destination, source, FractionBits::sixteen) ==
                model::table_axis(destination, source, Units::of_65536) &&
            table(destination, source, FractionBits::eight) ==
                model::table_axis(destination, source, Units::of_256) &&
            cells(destination, source) == model::cell_axis(destination, source) &&
            nearest_cells(destination, source) == model::nearest_cell_axis(destination, source);
        if (!same)
            ADD_FAILURE() << source << " to " << destination;
        return same && !HasFailure();
    }

private:
    Axis contents() {
        EXPECT_TRUE(index_.nothing_beside_written());
        EXPECT_TRUE(fraction_.nothing_beside_written());
        return {index_.contents(), fraction_.contents()};
    }

    FencedTable index_, fraction_;
    bool at_end_ = false;
};

// --- examples --------------------------------------------------------------------------------

constexpr auto sixteen = FractionBits::sixteen;
constexpr auto eight = FractionBits::eight;

TEST_F(ResamplePositions, ReducingMeetsTheEnds) {
    EXPECT_EQ(table(4, 10, sixteen), (Axis{{0, 3, 6, 9}, {0, 0, 0, 0}}));
    EXPECT_EQ(table(5, 7, sixteen), (Axis{{0, 1, 3, 4, 6}, {0, 32768, 0, 32768, 0}}));
    EXPECT_EQ(table(5, 7, eight), (Axis{{0, 1, 3, 4, 6}, {0, 128, 0, 128, 0}}));
    EXPECT_EQ(table(2, 3, sixteen), (Axis{{0, 2}, {0, 0}}));
}

TEST_F(ResamplePositions, ToOnePixelTakesTheFirst) {
    for (const int source : {1, 2, 3, 10, 32000, INT_MAX}) {
        EXPECT_EQ(table(1, source, sixteen), (Axis{{0}, {0}}));
        EXPECT_EQ(table(1, source, eight), (Axis{{0}, {0}}));
        EXPECT_EQ(cells(1, source), (Axis{{0}, {0}}));
        EXPECT_EQ(nearest_cells(1, source), (Axis{{0}, {}}));
    }
}

TEST_F(ResamplePositions, EnlargingFallsShortOfTheEnd) {
    EXPECT_EQ(table(10, 4, sixteen),
              (Axis{{0, 0, 0, 1, 1, 2, 2, 2, 3, 3},
                    {0, 26214, 52428, 13107, 39321, 0, 26214, 52428, 13107, 39321}}));
    EXPECT_EQ(table(10, 4, eight),
              (Axis{{0, 0, 0, 1, 1, 2, 2, 2, 3, 3}, {0, 102, 204, 51, 153, 0, 102, 204, 51, 153}}));
    EXPECT_EQ(table(7, 5, sixteen),
              (Axis{{0, 0, 1, 2, 2, 3, 4}, {0, 46811, 28086, 9362, 56173, 37449, 18724}}));
    EXPECT_EQ(table(8, 3, sixteen), (Axis{{0, 0, 0, 1, 1, 1, 2, 2},
                                          {0, 24576, 49152, 8192, 32768, 57344, 16384, 40960}}));
}

TEST_F(ResamplePositions, AreRoundedToSinglePrecision) {
    const Axis large = table(12345, 32000, sixteen);
    EXPECT_EQ(large.index[1], 2);
    EXPECT_EQ(large.fraction[1], 38815);
    EXPECT_EQ(large.index[6000], 15553);
    EXPECT_EQ(large.fraction[6000], 41216); // 41241 in double precision
    EXPECT_EQ(large.index[12344], 31999);
    EXPECT_EQ(large.fraction[12344], 0);
}

TEST_F(ResamplePositions, EqualSizesAreTheSource) {
    for (const int size : {1, 2, 3, 5, 7, 10, 49, 1000, 32000}) {
        Axis same{Numbers(std::size_t(size)), Numbers(std::size_t(size), 0)};
        std::iota(same.index.begin(), same.index.end(), 0);
        const Axis made = cells(size, size);
        // i / D x D is not always i: a place may fall just short of it.
        for (int i = 0; i < size; ++i)
            ASSERT_TRUE(
                made.index[std::size_t(i)] == i ||
                (made.index[std::size_t(i)] == i - 1 && made.fraction[std::size_t(i)] == 65535));
        ASSERT_EQ(table(size, size, sixteen), same);
        ASSERT_EQ(table(size, size, eight), same);
        ASSERT_EQ(nearest_cells(size, size).index, same.index);
    }
}

TEST_F(ResamplePositions, CellsThatInterpolateReduceLikeTheyEnlarge) {
    EXPECT_EQ(cells(4, 10), (Axis{{0, 2, 5, 7}, {0, 32768, 0, 32768}}));
    EXPECT_EQ(cells(2, 3), (Axis{{0, 1}, {0, 32768}}));
    EXPECT_EQ(cells(8, 3), (Axis{{0, 0, 0, 1, 1, 1, 2, 2},
                                 {0, 24576, 49152, 8192, 32768, 57344, 16384, 40960}}));
}

TEST_F(ResamplePositions, NearestCellsRound) {
    EXPECT_EQ(nearest_cells(6, 3).index, (Numbers{0, 1, 1, 2, 2, 2}));
    EXPECT_EQ(nearest_cells(4, 10).index, (Numbers{0, 3, 6, 9}));
    EXPECT_EQ(nearest_cells(5, 7).index, (Numbers{0, 2, 3, 5, 6}));
    EXPECT_EQ(nearest_cells(2, 1).index, (Numbers{0, 0}));
    EXPECT_EQ(nearest_cells(3, 2).index, (Numbers{0, 1, 1}));
}

// --- the model -------------------------------------------------------------------------------

TEST_F(ResamplePositions, OfAllSmallSizes) {
    for (int destination = 1; destination <= 150; ++destination)
        for (int source = 1; source <= 150; ++source)
            ASSERT_TRUE(all_as_the_model(destination, source));
}

TEST_F(ResamplePositions, OfLargeSizes) {
    constexpr int sizes[] = {1, 2, 3, 127, 128, 129, 1023, 1024, 4097, 31999, 32000};
    for (const int destination : sizes)
        for (const int source : sizes)
            ASSERT_TRUE(all_as_the_model(destination, source));
}

TEST_F(ResamplePositions, OfRandomSizes) {
    random_cases(1000, [this](Random &random, std::uint64_t number) {
        const int destination = 1 + int(random.below(std::size_t{1} << (1 + random.below(15))));
        const int source = 1 + int(random.below(std::size_t{1} << (1 + random.below(31))));
        EXPECT_TRUE(all_as_the_model(destination, source)) << rerun(number);
        return !HasFailure();
    });
}

// The last place in single precision is beyond what a side can count.
TEST_F(ResamplePositions, OfTheLargestSource) {
    for (const int source : {INT_MAX, INT_MAX - 1, INT_MAX - 63, INT_MAX - 64, INT_MAX - 65,
                             INT_MAX - 128, 1 << 30, (1 << 24) + 1})
        for (const int destination : {1, 2, 3, 4, 5, 100, 32768})
            ASSERT_TRUE(all_as_the_model(destination, source));
    EXPECT_EQ(table(2, INT_MAX, sixteen), (Axis{{0, INT_MAX - 1}, {0, 0}}));
    EXPECT_EQ(nearest_cells(2, INT_MAX).index, (Numbers{0, INT_MAX - 1}));
}

// --- weights ---------------------------------------------------------------------------------

TEST(CubicWeights, AtAllPhases) {
    constexpr int expected[16][4] = {
        {0, 16384, 0, 0},           {-474, 16211, 681, -34},    {-818, 15719, 1609, -125},
        {-1047, 14954, 2737, -260}, {-1173, 13954, 4028, -425}, {-1214, 12769, 5432, -603},
        {-1181, 11436, 6912, -782}, {-1091, 10003, 8419, -947}, {-956, 8509, 9915, -1084},
        {-793, 7001, 11353, -1177}, {-614, 5519, 12693, -1213}, {-435, 4108, 13889, -1178},
        {-269, 2810, 14900, -1057}, {-132, 1670, 15681, -835},  {-37, 729, 16191, -498},
        {0, 33, 16383, -32},
    };
    for (int phase = 0; phase < resample::cubic_phases; ++phase)
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(resample::cubic_weights[std::size_t(phase)][i], expected[phase][i]) << phase;
            EXPECT_EQ(model::cubic_weights(phase)[i], expected[phase][i]) << phase;
        }
}

TEST(CubicWeights, PhasesOfAllFractions) {
    EXPECT_EQ(resample::phase_of(0), 0);
    EXPECT_EQ(resample::phase_of(8), 0);
    EXPECT_EQ(resample::phase_of(9), 1);
    EXPECT_EQ(resample::phase_of(25), 1);
    EXPECT_EQ(resample::phase_of(26), 2);
    EXPECT_EQ(resample::phase_of(246), 14);
    EXPECT_EQ(resample::phase_of(247), 15);
    EXPECT_EQ(resample::phase_of(255), 15);
    for (int fraction = 0; fraction < 256; ++fraction) {
        EXPECT_EQ(resample::phase_of(fraction), (fraction + 8) / 17);
        EXPECT_EQ(model::cubic_phase(fraction), (fraction + 8) / 17);
    }
}

} // namespace
} // namespace q32::test
