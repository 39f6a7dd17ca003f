// The kernels of scaling by whole factors, in the form of every instruction set of this machine and
// in the scalar form, against plain models: all lengths, the factors that have forms of their own
// and those between, between fences and at all alignments. What the exports add to them is tested
// with the library.
#include "rows/kernels/scaling_kernels.h"

#include "tests/frame/random.h"
#include "tests/kernels/compared.h"
#include "tests/kernels/fenced_run.h"
#include "tests/kernels/levels.h"
#include "tests/models/scaling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace q32::test {
namespace {

using model::Bytes;
using rows::PixelKind;
using rows::RowScaling;
using rows::ScalingKernels;

// --- each kernel as the tests see it ------------------------------------------------------------

struct Kind {
    PixelKind kind;
    const char *name;
    std::size_t pixel_bytes;
    bool swap;
};
constexpr Kind kinds[] = {{PixelKind::one_byte, "1 byte", 1, false},
                          {PixelKind::two_bytes, "2 bytes", 2, false},
                          {PixelKind::three_bytes, "3 bytes", 3, false},
                          {PixelKind::four_bytes, "4 bytes", 4, false},
                          {PixelKind::three_bytes_swapped, "3 bytes swapped", 3, true}};
static_assert(std::size(kinds) == rows::pixel_kinds);

// pixel: null means bits.
struct Scaling {
    bool enlarges;
    const Kind *pixel;

    RowScaling *kernel(const ScalingKernels &kernels) const {
        if (!pixel)
            return enlarges ? kernels.enlarge_bits : kernels.reduce_bits;
        const auto kind = static_cast<std::size_t>(pixel->kind);
        return enlarges ? kernels.enlarge[kind] : kernels.reduce[kind];
    }

    std::size_t source_bytes(std::size_t pixels, std::size_t factor) const {
        if (!pixel)
            return model::row_of_bits(pixels);
        if (enlarges)
            return pixel->pixel_bytes * pixels;
        return model::bytes_to_reduce(pixels, factor, pixel->pixel_bytes, pixel->swap);
    }

    Bytes expected(model::View source, std::size_t pixels, std::size_t factor) const {
        if (!pixel)
            return enlarges ? model::enlarge_bits(source, pixels, factor)
                            : model::reduce_bits(source, pixels, factor);
        return enlarges ? model::enlarge(source, pixels, factor, pixel->pixel_bytes, pixel->swap)
                        : model::reduce(source, pixels, factor, pixel->pixel_bytes, pixel->swap);
    }

    std::string text(std::size_t pixels, std::size_t factor) const {
        return std::string{enlarges ? "enlarge " : "reduce "} + (pixel ? pixel->name : "bits") +
               ", " + std::to_string(pixels) + " pixels, factor " + std::to_string(factor);
    }
};

// Random bytes are made once: rows are taken from them, each from another place.
const Bytes &random_bytes() {
    static const Bytes bytes = [] {
        Bytes made(1 << 18);
        Random{test_seed(), 0}.fill(made);
        return made;
    }();
    return bytes;
}

class ScalingKernel : public testing::TestWithParam<Level<ScalingKernels>> {
protected:
    // One row of random bytes.
    void prepare(const Scaling &scaling, std::size_t pixels, std::size_t factor, Random &random) {
        scaling_ = scaling;
        pixels_ = pixels;
        factor_ = factor;
        const std::size_t bytes = scaling.source_bytes(pixels, factor);
        const auto at =
            random_bytes().begin() + static_cast<long>(random.below(random_bytes().size() - bytes));
        source_.assign(at, at + static_cast<long>(bytes));
        expected_ = scaling.expected(source_, pixels, factor);
    }

    testing::AssertionResult runs(Place to, Place from) {
        RowScaling *const kernel = scaling_.kernel(*GetParam().kernels);
        const testing::AssertionResult result =
            run_.gives(expected_, source_, to, from, [&](auto *row, auto *source_row) {
                kernel({row, 0, source_row, 0, 1, pixels_, factor_});
            });
        count_compared(GetParam().name,
                       scaling_.enlarges ? pixels_ * factor_ : (pixels_ + factor_ - 1) / factor_);
        if (result)
            return result;
        return testing::AssertionFailure()
               << scaling_.text(pixels_, factor_) << ": " << result.message();
    }

    testing::AssertionResult runs_at_all_fences() {
        for (const bool to_end : {true, false})
            for (const bool from_end : {true, false})
                if (const auto result = runs({to_end}, {from_end}); !result)
                    return result;
        return testing::AssertionSuccess();
    }

private:
    Scaling scaling_{};
    std::size_t pixels_ = 0, factor_ = 1;
    Bytes source_, expected_;
    FencedRun run_;
};

INSTANTIATE_TEST_SUITE_P(Each, ScalingKernel,
                         testing::ValuesIn(levels_of_this_machine(rows::scalar_scaling_kernels,
                                                                  rows::scaling_kernels)),
                         name_of_level);

std::vector<Scaling> all_scalings() {
    std::vector<Scaling> all{{true, nullptr}, {false, nullptr}};
    for (const Kind &kind : kinds) {
        all.push_back({true, &kind});
        all.push_back({false, &kind});
    }
    return all;
}

std::string seed_text() {
    return "seed " + std::to_string(test_seed());
}

// --- lengths and factors ------------------------------------------------------------------------

TEST_P(ScalingKernel, AllLengthsAndSmallFactors) {
    constexpr std::size_t longest = 300, largest = 17;
    for (const Scaling &scaling : all_scalings())
        for (std::size_t factor = 1; factor <= largest; ++factor)
            for (std::size_t pixels = 0; pixels <= longest; ++pixels) {
                Random random{test_seed(), factor * 1024 + pixels};
                prepare(scaling, pixels, factor, random);
                ASSERT_TRUE(runs_at_all_fences()) << seed_text();
                // And somewhere else: each length has another pair of alignments.
                const Place to{true, random.below(64)}, from{true, random.below(64)};
                ASSERT_TRUE(runs(to, from)) << seed_text();
            }
}

TEST_P(ScalingKernel, ShortRowsAndLargeFactors) {
    for (const Scaling &scaling : all_scalings())
        for (const std::size_t factor :
             {18,  19,  20,  23,  24,  25,   31,   32,   33,   40,  47,  48,
              49,  63,  64,  65,  96,  127,  128,  129,  191,  192, 193, 255,
              256, 257, 511, 512, 513, 1000, 1023, 1024, 1025, 5000})
            for (const std::size_t pixels : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 40}) {
                if (factor > 600 && pixels > 9)
                    continue;
                Random random{test_seed(), factor * 1024 + pixels};
                prepare(scaling, pixels, factor, random);
                ASSERT_TRUE(runs_at_all_fences()) << seed_text();
            }
}

// Reduced rows of all lengths up to several vectors, the last group of one pixel or of all.
TEST_P(ScalingKernel, ReducedRowsOfAllLengths) {
    constexpr std::size_t longest = 280, largest = 20;
    for (const Scaling &scaling : all_scalings())
        for (std::size_t factor = 2; !scaling.enlarges && factor <= largest; ++factor)
            for (std::size_t n = 1; n <= longest; ++n)
                for (const std::size_t last : {std::size_t{1}, factor / 2 + 1, factor}) {
                    Random random{test_seed(), (factor * 1024 + n) * 32 + last};
                    prepare(scaling, (n - 1) * factor + last, factor, random);
                    ASSERT_TRUE(runs({true}, {true})) << seed_text();
                    ASSERT_TRUE(runs({false}, {false})) << seed_text();
                }
}

// Rows of bits by every factor that has constants of its own, and the first one without: whole and
// last bytes of the smaller row at all lengths of some steps.
TEST_P(ScalingKernel, BitsByFactorsUpTo41) {
    constexpr std::size_t smallest = 17, largest = 41, longest = 140;
    for (std::size_t factor = smallest; factor <= largest; ++factor)
        for (std::size_t n = 1; n <= longest; ++n) {
            Random random{test_seed(), factor * 1024 + n};
            prepare({true, nullptr}, n, factor, random);
            ASSERT_TRUE(runs({true}, {true})) << seed_text();
            ASSERT_TRUE(runs({false, random.below(64)}, {false})) << seed_text();
            for (const std::size_t last : {std::size_t{1}, factor}) {
                prepare({false, nullptr}, (n - 1) * factor + last, factor, random);
                ASSERT_TRUE(runs({true}, {true})) << seed_text();
                ASSERT_TRUE(runs({false}, {false, random.below(64)})) << seed_text();
            }
        }
}

// A single bit or byte at every place of a row: nothing comes from a neighbour.
TEST_P(ScalingKernel, OnePixelAtEachPlace) {
    constexpr std::size_t pixels = 150, largest = 12, largest_of_bits = 41;
    for (const Scaling &scaling : all_scalings())
        for (std::size_t factor = 1; factor <= (scaling.pixel ? largest : largest_of_bits);
             ++factor)
            for (std::size_t place = 0; place < pixels; ++place) {
                Bytes source(scaling.source_bytes(pixels, factor));
                if (!scaling.pixel)
                    model::put_bit(source.data(), place, true);
                else
                    for (std::size_t byte = 0; byte < scaling.pixel->pixel_bytes; ++byte)
                        source[place * scaling.pixel->pixel_bytes + byte] =
                            static_cast<std::uint8_t>(101 + 50 * byte);
                const Bytes expected = scaling.expected(source, pixels, factor);
                Bytes row(expected.size(), 0xEE);
                scaling.kernel (*GetParam().kernels)(
                    {row.data(), 0, source.data(), 0, 1, pixels, factor});
                ASSERT_EQ(row, expected) << scaling.text(pixels, factor) << ", place " << place;
            }
}

// --- several rows -------------------------------------------------------------------------------

// Rows between two strides, close together and apart: each as if it were alone, and nothing between
// them is touched.
TEST_P(ScalingKernel, SeveralRows) {
    constexpr std::size_t most_rows = 7, widest_gap = 40;
    FencedRun run;
    random_cases(3000, [&](Random &random, std::uint64_t number) {
        const std::vector<Scaling> all = all_scalings();
        const Scaling &scaling = all[random.below(all.size())];
        const std::size_t factor = 1 + random.below(random.below(3) == 0 ? 60 : 9);
        const std::size_t pixels = random.below(random.below(3) == 0 ? 400 : 70);
        const std::size_t rows = random.below(most_rows + 1);

        const std::size_t row_bytes = scaling.source_bytes(pixels, factor);
        const std::size_t stride = row_bytes + random.below(widest_gap);
        Bytes source(rows == 0 ? 0 : (rows - 1) * stride + row_bytes);
        random.fill(source);
        const std::size_t gap = random.below(2) * random.below(widest_gap);
        Bytes expected;
        std::size_t made_bytes = 0;
        for (std::size_t row = 0; row < rows; ++row) {
            const Bytes made = scaling.expected(
                model::View{source}.subspan(row * stride, row_bytes), pixels, factor);
            made_bytes = made.size();
            expected.resize(row * (made_bytes + gap));
            expected.insert(expected.end(), made.begin(), made.end());
        }
        const testing::AssertionResult result =
            run.gives(expected, source, {random.below(2) == 0, random.below(64)},
                      {random.below(2) == 0, random.below(64)}, [&](auto *to, auto *from) {
                          // What lies between the rows is what is expected there.
                          for (std::size_t row = 0; row + 1 < rows; ++row)
                              std::fill_n(to + row * (made_bytes + gap) + made_bytes, gap, 0);
                          scaling.kernel (*GetParam().kernels)(
                              {to, made_bytes + gap, from, stride, rows, pixels, factor});
                      });
        EXPECT_TRUE(result) << rows << " rows, " << scaling.text(pixels, factor) << ": "
                            << rerun(number);
        return bool(result);
    });
}

// Rows of bits that fit a register, in all lengths and some beyond, between fences.
TEST_P(ScalingKernel, SeveralRowsOfFewBits) {
    constexpr std::size_t rows = 3, longest = 140;
    FencedRun run;
    for (const bool enlarges : {true, false})
        for (const std::size_t factor : {2, 3, 4, 8})
            for (std::size_t pixels = 1; pixels <= longest; ++pixels) {
                const Scaling scaling{enlarges, nullptr};
                const std::size_t stride = scaling.source_bytes(pixels, factor);
                Random random{test_seed(), factor * 1024 + pixels};
                Bytes source(rows * stride), expected;
                random.fill(source);
                std::size_t made_bytes = 0;
                for (std::size_t row = 0; row < rows; ++row) {
                    const Bytes made = scaling.expected(
                        model::View{source}.subspan(row * stride, stride), pixels, factor);
                    made_bytes = made.size();
                    expected.insert(expected.end(), made.begin(), made.end());
                }
                for (const bool to_end : {true, false})
                    ASSERT_TRUE(
                        run.gives(expected, source, {to_end}, {to_end},
                                  [&](auto *to, auto *from) {
                                      scaling.kernel (*GetParam().kernels)(
                                          {to, made_bytes, from, stride, rows, pixels, factor});
                                  }))
                        << scaling.text(pixels, factor) << ", " << seed_text();
            }
}

// --- alignments ---------------------------------------------------------------------------------

TEST_P(ScalingKernel, AllAlignments) {
    for (const Scaling &scaling : all_scalings())
        for (const std::size_t factor : {1, 2, 3, 4, 5, 6, 8})
            for (const std::size_t pixels : {5, 67, 300}) {
                Random random{test_seed(), factor * 1024 + pixels};
                prepare(scaling, pixels, factor, random);
                for (std::size_t distance = 0; distance < 64; ++distance) {
                    ASSERT_TRUE(runs({false, distance}, {true}));
                    ASSERT_TRUE(runs({true, distance}, {true}));
                    ASSERT_TRUE(runs({true}, {false, distance}));
                    ASSERT_TRUE(runs({true}, {true, distance}));
                }
            }
}

// --- long rows ----------------------------------------------------------------------------------

TEST_P(ScalingKernel, RandomRows) {
    constexpr std::size_t longest = 20000, most_bytes = 400000;
    random_cases(1200, [&](Random &random, std::uint64_t number) {
        const std::vector<Scaling> all = all_scalings();
        const Scaling &scaling = all[random.below(all.size())];
        const std::size_t factor = 1 + random.below(random.below(4) == 0 ? 1000 : 41);
        const std::size_t widest =
            scaling.enlarges ? std::min(longest, most_bytes / (4 * factor)) : longest;
        prepare(scaling, random.below(widest + 1), factor, random);
        const Place to{random.below(2) == 0, random.below(64)};
        const Place from{random.below(2) == 0, random.below(64)};
        const testing::AssertionResult result = runs(to, from);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

} // namespace
} // namespace q32::test
