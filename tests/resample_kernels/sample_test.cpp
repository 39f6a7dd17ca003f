// What interpolation makes of single samples, by every instruction set of this machine and by the
// scalar forms, against the model: extreme samples at every fraction, black and white in every
// arrangement at every phase, all pairs of samples. And worked examples.
#include "tests/kernels/compared.h"
#include "tests/resample_kernels/resample_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace q32::test {
namespace {

using model::Axis;
using model::Method;
using resample::MethodKernels;

// The model is slower with 64-bit products in a 32-bit program, and under the sanitizers: they take
// every so-manieth case.
#if defined(__SANITIZE_ADDRESS__)
constexpr int step = 13;
#else
constexpr int step = sizeof(void *) == 4 ? 3 : 1;
#endif

// Memory where plans and lines may begin.
class WorkMemory {
public:
    explicit WorkMemory(std::size_t bytes) : bytes_(bytes + resample::work_alignment) {}
    void *get() { return resample::first_aligned(bytes_.data()); }

private:
    Bytes bytes_;
};

// One form's plan and lines for given columns.
class Columns {
public:
    Columns(const ResampleLevel &level, Method method, const Axis &axis, int source_pixels,
            std::size_t samples)
        : name_{level.name}, kernels_{kernels_of(*level.kernels, method)},
          columns_{axis.index.size()}, samples_{int(samples)}, plan_{kernels_.plan_bytes(columns_,
                                                                                         samples_)},
          result_(columns_ * samples) {
        kernels_.make_plan(plan_.get(), {axis.index.data(), axis.fraction.data(), columns_},
                           {0, source_pixels}, samples_);
    }
    void add_line(const Bytes &source) {
        lines_.push_back(std::make_unique<WorkMemory>(kernels_.line_bytes(columns_, samples_)));
        kernels_.across(lines_.back()->get(), plan_.get(), source.data());
    }
    // A destination row of the lines with these numbers.
    const Bytes &down(const std::vector<std::size_t> &numbers, int fraction) {
        const void *lines[resample::most_lines];
        for (std::size_t i = 0; i < numbers.size(); ++i)
            lines[i] = lines_[numbers[i]]->get();
        kernels_.down(result_.data(), plan_.get(), lines, fraction);
        return result_;
    }
    // The same straight from two source rows; null where there is no such way.
    const Bytes *straight(const Bytes &above, const Bytes &below, int fraction) {
        const std::uint8_t *const rows[] = {above.data(), below.data()};
        if (kernels_.straight == nullptr ||
            !kernels_.straight(result_.data(), plan_.get(), rows, fraction))
            return nullptr;
        return &result_;
    }
    const char *name() const { return name_; }

private:
    const char *name_;
    const MethodKernels &kernels_;
    std::size_t columns_;
    int samples_;
    WorkMemory plan_;
    std::vector<std::unique_ptr<WorkMemory>> lines_;
    Bytes result_;
};

// The same columns and source rows for all forms.
class AllForms {
public:
    AllForms(Method method, Axis axis, std::vector<Bytes> sources, std::size_t samples)
        : method_{method}, axis_{std::move(axis)}, sources_{std::move(sources)}, samples_{samples},
          expected_(axis_.index.size() * samples) {
        for (const ResampleLevel &level : resample_levels(method)) {
            forms_.push_back(std::make_unique<Columns>(level, method, axis_,
                                                       int(sources_[0].size() / samples), samples));
            for (const Bytes &source : sources_)
                forms_.back()->add_line(source);
        }
    }

    // A destination row of the sources with these numbers, from the first tap's to the last's.
    bool right(const std::vector<std::size_t> &rows, int fraction) {
        for (std::size_t i = 0; i < axis_.index.size(); ++i)
            for (std::size_t k = 0; k < samples_; ++k)
                expected_[i * samples_ + k] = model_of(rows, fraction, i, k);
        for (const auto &form : forms_) {
            if (!is_expected(form->down(rows, fraction), form->name(), rows, fraction))
                return false;
            if (method_ != Method::bilinear)
                continue;
            const Bytes *const made =
                form->straight(sources_[rows[0]], sources_[rows[1]], fraction);
            const std::string name = std::string{form->name()} + " straight";
            if (made != nullptr && !is_expected(*made, name.c_str(), rows, fraction))
                return false;
        }
        return true;
    }

private:
    bool is_expected(const Bytes &made, const char *name, const std::vector<std::size_t> &rows,
                     int fraction) const {
        count_compared(name, axis_.index.size());
        if (made == expected_)
            return true;
        const auto at = std::size_t(
            std::mismatch(made.begin(), made.end(), expected_.begin()).first - made.begin());
        ADD_FAILURE() << name << ", " << name_of(method_) << ", " << samples_ << " samples, rows "
                      << testing::PrintToString(rows) << ", row fraction " << fraction
                      << ": sample " << at % samples_ << " of column " << at / samples_
                      << " (index " << axis_.index[at / samples_] << ", fraction "
                      << axis_.fraction[at / samples_] << ") is " << int{made[at]} << ", expected "
                      << int{expected_[at]};
        return false;
    }

    std::uint8_t model_of(const std::vector<std::size_t> &rows, int fraction, std::size_t i,
                          std::size_t k) const {
        const auto index = std::size_t(axis_.index[i]);
        const auto sample = [&](std::size_t row, std::size_t column) {
            return sources_[rows[row]][column * samples_ + k];
        };
        if (method_ == Method::bilinear)
            return model::bilinear(sample(0, index), sample(0, index + 1), sample(1, index),
                                   sample(1, index + 1), std::uint32_t(axis_.fraction[i]),
                                   std::uint32_t(fraction));
        model::Block block;
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t tap = 0; tap < 4; ++tap)
                block[j][tap] = sample(j, index - 1 + tap);
        return model::bicubic(block, model::cubic_phase(axis_.fraction[i]),
                              model::cubic_phase(fraction));
    }

    Method method_;
    Axis axis_;
    std::vector<Bytes> sources_;
    std::size_t samples_;
    std::vector<std::unique_ptr<Columns>> forms_;
    Bytes expected_;
};

class ResampleSamples : public testing::TestWithParam<std::size_t> {
protected:
    static std::size_t samples() { return GetParam(); }
};
INSTANTIATE_TEST_SUITE_P(PerPixel, ResampleSamples, testing::Values(1, 3, 4));

// --- bilinear --------------------------------------------------------------------------------

constexpr std::uint8_t extremes[] = {0, 1, 254, 255};
constexpr int extreme_fractions[] = {0, 1, 255, 256, 32767, 32768, 43691, 65535};

// Sixteen rows of all pairs of extremes, each row in another order and each channel too: what lies
// in two rows at one place is every pair over every pair.
std::vector<Bytes> rows_of_extremes(std::size_t samples) {
    std::vector<Bytes> rows;
    for (std::size_t row = 0; row < 16; ++row) {
        Bytes bytes;
        for (std::size_t pair = 0; pair < 16; ++pair)
            for (const bool right : {false, true})
                for (std::size_t k = 0; k < samples; ++k) {
                    const std::size_t which = (pair + 5 * k) ^ row;
                    bytes.push_back(extremes[right ? which / 4 % 4 : which % 4]);
                }
        rows.push_back(bytes);
    }
    return rows;
}

TEST_P(ResampleSamples, ExtremesAtAllColumnFractions) {
    const int stride = samples() == 1 ? step : 7 * step;
    Axis axis;
    for (int fraction = 0; fraction < 65536; fraction += stride)
        for (int pair = 0; pair < 16; ++pair) {
            axis.index.push_back(2 * pair);
            axis.fraction.push_back(std::min(fraction, 65535));
        }
    AllForms forms(Method::bilinear, axis, rows_of_extremes(samples()), samples());
    for (std::size_t below = 0; below < 16; ++below)
        for (const int fraction : extreme_fractions)
            ASSERT_TRUE(forms.right({0, below}, fraction));
}

TEST_P(ResampleSamples, ExtremesAtAllRowFractions) {
    const int stride = samples() == 1 ? step : 7 * step;
    Axis axis;
    for (const int fraction : extreme_fractions)
        for (int pair = 0; pair < 16; ++pair) {
            axis.index.push_back(2 * pair);
            axis.fraction.push_back(fraction);
        }
    AllForms forms(Method::bilinear, axis, rows_of_extremes(samples()), samples());
    for (std::size_t below = 0; below < 16; ++below)
        for (int fraction = 0; fraction < 65536; fraction += stride)
            ASSERT_TRUE(forms.right({0, below}, fraction));
}

// Each sample beside, over and across from each other one, at some fractions.
TEST_P(ResampleSamples, AllPairs) {
    Random random{test_seed(), 0};
    Bytes across, upper, lower;
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b)
            for (const int value : {a, b})
                for (std::size_t k = 0; k < samples(); ++k) {
                    across.push_back(std::uint8_t(value + 3 * int(k)));
                    upper.push_back(std::uint8_t(a + 3 * int(k)));
                    lower.push_back(std::uint8_t(b + 3 * int(k)));
                }
    for (int turn = 0; turn < 12; ++turn) {
        Axis axis;
        for (int pair = 0; pair < 65536; pair += step) {
            axis.index.push_back(2 * pair);
            axis.fraction.push_back(between(random, 0, 65535));
        }
        AllForms forms(Method::bilinear, axis, {across, upper, lower}, samples());
        const int fraction = between(random, 0, 65535);
        ASSERT_TRUE(forms.right({0, 0}, fraction));
        ASSERT_TRUE(forms.right({1, 2}, fraction));
        ASSERT_TRUE(forms.right({0, 1}, fraction));
        ASSERT_TRUE(forms.right({2, 0}, fraction));
    }
}

// At half the size: pairs follow one another, and fractions ascend through all there are.
TEST_P(ResampleSamples, AllPairsAtHalfTheSize) {
    Random random{test_seed(), 3};
    Bytes pairs, noise(2 * 65536 * samples());
    random.fill(noise);
    Axis axis;
    for (int pair = 0; pair < 65536; ++pair) {
        for (const int value : {pair / 256, pair % 256})
            for (std::size_t k = 0; k < samples(); ++k)
                pairs.push_back(std::uint8_t(value + 3 * int(k)));
        axis.index.push_back(2 * pair);
        axis.fraction.push_back(pair);
    }
    AllForms forms(Method::bilinear, axis, {pairs, noise}, samples());
    for (int turn = 0; turn < 24 / step; ++turn) {
        const int fraction = turn < int(std::size(extreme_fractions)) ? extreme_fractions[turn]
                                                                      : between(random, 0, 65535);
        ASSERT_TRUE(forms.right({0, 1}, fraction));
        ASSERT_TRUE(forms.right({1, 0}, fraction));
        ASSERT_TRUE(forms.right({0, 0}, fraction));
    }
}

// At twice the size: every pair over pairs of both ends and of the middle, at the fractions that
// rows have there, and at others.
TEST_P(ResampleSamples, AllPairsAtTwiceTheSize) {
    std::vector<Bytes> rows(1);
    const auto append = [&](Bytes &row, int value) {
        for (std::size_t k = 0; k < samples(); ++k)
            row.push_back(std::uint8_t(value + 3 * int(k)));
    };
    for (int a = 0; a < 256; a += samples() == 1 ? 1 : 3)
        for (int b = 0; b < 256; ++b)
            for (const int value : {a, b})
                append(rows[0], value);
    const std::size_t pixels = rows[0].size() / samples();
    constexpr int values[] = {0, 1, 2, 3, 127, 128, 254, 255};
    for (std::size_t other = 0; other < 64; ++other) {
        Bytes row;
        for (std::size_t x = 0; x < pixels; ++x)
            append(row, values[x % 2 == 0 ? other % 8 : other / 8]);
        rows.push_back(row);
    }
    Axis axis;
    for (int column = 0; column < 2 * int(pixels) - 2; ++column) {
        axis.index.push_back(column / 2);
        axis.fraction.push_back(column % 2 * 0x8000);
    }
    AllForms forms(Method::bilinear, axis, rows, samples());
    for (std::size_t other = 1; other <= 64; other += std::size_t(step)) {
        ASSERT_TRUE(forms.right({0, other}, 0x8000));
        ASSERT_TRUE(forms.right({other, 0}, other % 16 == 1 ? 0 : 0x8000));
        if (other % 8 != 1)
            continue;
        for (const int fraction : extreme_fractions)
            ASSERT_TRUE(forms.right({0, other}, fraction));
    }
}

TEST(ResampleSamples, OfBilinearExamples) {
    // 100 + ((32768 x 50) >> 15) and so on, from left to right.
    EXPECT_EQ(model::bilinear(100, 200, 100, 200, 32768, 0), 150);
    EXPECT_EQ(model::bilinear(100, 100, 200, 200, 0, 32768), 150);
    EXPECT_EQ(model::bilinear(0, 100, 100, 200, 32768, 32768), 100);
    // Halved differences lose their last bit: 0 to 1 never gets up to 1, 1 to 0 is at 0 at once.
    EXPECT_EQ(model::bilinear(0, 1, 0, 1, 65535, 0), 0);
    EXPECT_EQ(model::bilinear(1, 0, 1, 0, 1, 0), 0);
    EXPECT_EQ(model::bilinear(0, 255, 255, 0, 32768, 32768), 126);
    EXPECT_EQ(model::bilinear(255, 0, 0, 255, 65535, 65535), 250);
    const Bytes upper{0, 255, 100}, lower{255, 0, 200};
    AllForms forms(Method::bilinear, {{0, 0, 1}, {0, 32768, 65535}}, {upper, lower}, 1);
    EXPECT_TRUE(forms.right({0, 1}, 0));
    EXPECT_TRUE(forms.right({0, 1}, 32768));
    EXPECT_TRUE(forms.right({0, 0}, 65535));
}

// --- bicubic ---------------------------------------------------------------------------------

constexpr int fraction_at(int phase) {
    return 17 * phase;
}

// All 65,536 ways to make a 4 x 4 block of two values, at all 16 x 16 phases: where sums are
// dropped, where they overshoot, and what is limited.
void check_all_blocks(std::uint8_t dark, std::uint8_t light, std::size_t samples, int stride) {
    std::vector<Bytes> rows;
    for (unsigned row = 0; row < 16; ++row) {
        Bytes bytes;
        for (unsigned pattern = 0; pattern < 16; ++pattern)
            for (unsigned tap = 0; tap < 4; ++tap)
                for (unsigned k = 0; k < samples; ++k)
                    bytes.push_back((((pattern + 5 * k) ^ row) >> tap & 1) != 0 ? light : dark);
        rows.push_back(bytes);
    }
    Axis axis;
    for (int phase = 0; phase < 16; ++phase)
        for (int pattern = 0; pattern < 16; ++pattern) {
            axis.index.push_back(4 * pattern + 1);
            axis.fraction.push_back(fraction_at(phase));
        }
    AllForms forms(Method::bicubic, axis, rows, samples);
    for (std::size_t others = 0; others < 16 * 16 * 16; others += std::size_t(stride))
        for (int phase = 0; phase < 16; ++phase)
            ASSERT_TRUE(
                forms.right({0, others % 16, others / 16 % 16, others / 256}, fraction_at(phase)));
}

TEST_P(ResampleSamples, AllBlocksOfBlackAndWhite) {
    check_all_blocks(0, 255, samples(), samples() == 1 ? step : 11 * step);
}

TEST_P(ResampleSamples, AllBlocksOfNearlyTheSame) {
    check_all_blocks(254, 255, samples(), 17 * step);
    check_all_blocks(0, 1, samples(), 17 * step);
    check_all_blocks(127, 128, samples(), 17 * step);
}

TEST_P(ResampleSamples, AllFractionsOfColumnsAndRows) {
    Random random{test_seed(), 1};
    std::vector<Bytes> rows(4, Bytes(260 * samples()));
    for (Bytes &row : rows)
        random.fill(row);
    Axis axis;
    for (int fraction = 0; fraction < 256; ++fraction) {
        axis.index.push_back(1 + fraction);
        axis.fraction.push_back(fraction);
    }
    AllForms forms(Method::bicubic, axis, rows, samples());
    for (int fraction = 0; fraction < 256; ++fraction) {
        ASSERT_TRUE(forms.right({0, 1, 2, 3}, fraction));
        ASSERT_TRUE(forms.right({3, 3, 0, 1}, fraction));
        ASSERT_TRUE(forms.right({2, 2, 2, 2}, fraction));
    }
}

// Edges from each sample to each other one, at all phases; and along all rows the same.
TEST_P(ResampleSamples, AllEdges) {
    std::vector<Bytes> rows(1);
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b)
            for (const int value : {a, a, b, b})
                for (std::size_t k = 0; k < samples(); ++k)
                    rows[0].push_back(std::uint8_t(value + 3 * int(k)));
    for (int phase = 0; phase < 16; ++phase) {
        Axis axis;
        for (int pair = 0; pair < 65536; pair += step) {
            axis.index.push_back(4 * pair + 1);
            axis.fraction.push_back(fraction_at(phase));
        }
        AllForms forms(Method::bicubic, axis, rows, samples());
        ASSERT_TRUE(forms.right({0, 0, 0, 0}, 0));
        ASSERT_TRUE(forms.right({0, 0, 0, 0}, fraction_at(15 - phase)));
    }
}

TEST_P(ResampleSamples, RandomBlocks) {
    Random random{test_seed(), 2};
    std::vector<Bytes> rows(8, Bytes(4000 * samples()));
    for (int turn = 0; turn < 10; ++turn) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            random.fill(rows[i]);
            if (i % 2 == 1)
                for (std::uint8_t &byte : rows[i])
                    byte = std::uint8_t(byte < 100 ? byte % 3 : 255 - byte % 3);
        }
        Axis axis;
        for (int i = 1; i < 3998; ++i) {
            axis.index.push_back(i);
            axis.fraction.push_back(random.byte());
        }
        AllForms forms(Method::bicubic, axis, rows, samples());
        for (int i = 0; i < 20; ++i)
            ASSERT_TRUE(
                forms.right({random.below(8), random.below(8), random.below(8), random.below(8)},
                            random.byte()));
    }
}

TEST(ResampleSamples, OfBicubicExamples) {
    constexpr model::Block flat{
        {{200, 200, 200, 200}, {200, 200, 200, 200}, {200, 200, 200, 200}, {200, 200, 200, 200}}};
    EXPECT_EQ(model::bicubic(flat, 0, 0), 200);
    // In phase 0 the sample itself, whatever surrounds it.
    constexpr model::Block lone{{{255, 0, 255, 0}, {0, 77, 255, 9}, {255, 1, 2, 3}, {9, 9, 9, 9}}};
    EXPECT_EQ(model::bicubic(lone, 0, 0), 77);
    // Between black and white, half-way: 255 x (5519 - 614) / 16384 and 255 x (12693 - 1213) /
    // 16384.
    constexpr model::Block edge{
        {{255, 255, 0, 0}, {255, 255, 0, 0}, {255, 255, 0, 0}, {255, 255, 0, 0}}};
    EXPECT_EQ(model::bicubic(edge, 10, 0), 76);
    constexpr model::Block other_edge{
        {{0, 0, 255, 255}, {0, 0, 255, 255}, {0, 0, 255, 255}, {0, 0, 255, 255}}};
    EXPECT_EQ(model::bicubic(other_edge, 10, 0), 178);
    // Overshoots are limited, undershoots black; a row that is below 0 takes nothing from others.
    constexpr model::Block peak{
        {{0, 255, 255, 0}, {0, 255, 255, 0}, {0, 255, 255, 0}, {0, 255, 255, 0}}};
    EXPECT_EQ(model::bicubic(peak, 8, 8), 255);
    constexpr model::Block pit{
        {{255, 0, 0, 255}, {255, 0, 0, 255}, {255, 0, 0, 255}, {255, 0, 0, 255}}};
    EXPECT_EQ(model::bicubic(pit, 8, 8), 0);
    constexpr model::Block dropped{
        {{255, 0, 0, 255}, {100, 100, 100, 100}, {100, 100, 100, 100}, {255, 0, 0, 255}}};
    EXPECT_EQ(model::bicubic(dropped, 8, 8), 112);
}

} // namespace
} // namespace q32::test
