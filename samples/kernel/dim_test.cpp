// The kernel in every form that this machine can run, against a model that was written for the test
// alone: all lengths around the steps, between fences and at all alignments, in place.
#include "samples/kernel/dim_kernels.h"

#include "tests/frame/random.h"
#include "tests/kernels/fenced_run.h"
#include "tests/kernels/levels.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace q32::test {
namespace {

using sample::DimKernels;

constexpr std::size_t longest = 200; // more than three steps of the widest form

class DimKernel : public testing::TestWithParam<Level<DimKernels>> {
protected:
    static Bytes dimmed(const Bytes &source, int amount) {
        Bytes result;
        for (const int s : source)
            result.push_back(static_cast<std::uint8_t>(s > amount ? s - amount : 0));
        return result;
    }

    void dim(std::uint8_t *destination, const std::uint8_t *source, std::size_t samples,
             int amount) const {
        GetParam().kernels->dim(destination, source, samples, static_cast<std::uint8_t>(amount));
    }
};

TEST_P(DimKernel, SubtractsAndStopsAtZero) {
    const Bytes source{0, 9, 10, 11, 200, 255};
    Bytes result(source.size());
    dim(result.data(), source.data(), source.size(), 10);
    EXPECT_EQ(result, (Bytes{0, 0, 0, 1, 190, 245}));
}

TEST_P(DimKernel, GivesTheModelsBytesForEverySampleAndAmount) {
    Bytes all(256);
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<std::uint8_t>(i);
    for (int amount = 0; amount < 256; ++amount) {
        Bytes result(all.size());
        dim(result.data(), all.data(), all.size(), amount);
        ASSERT_EQ(result, dimmed(all, amount)) << "amount " << amount;
    }
}

TEST_P(DimKernel, StaysInsideItsRunsAtAnyLengthAndAlignment) {
    FencedRun run;
    random_cases(longest + 1, [&](Random &random, std::uint64_t number) {
        Bytes source(static_cast<std::size_t>(number));
        random.fill(source);
        const int amount = random.byte();
        const Bytes expected = dimmed(source, amount);
        for (const bool at_end : {false, true})
            for (std::size_t distance = 0; distance < FencedRun::farthest; distance += 7)
                if (const auto given =
                        run.gives(expected, source, {at_end, distance}, {at_end, 3 * distance % 64},
                                  [&](std::uint8_t *destination, const std::uint8_t *from) {
                                      dim(destination, from, source.size(), amount);
                                  });
                    !given) {
                    ADD_FAILURE() << given.message() << "; length " << source.size() << "; "
                                  << rerun(number);
                    return false;
                }
        return true;
    });
}

TEST_P(DimKernel, WorksInPlace) {
    random_cases(longest + 1, [&](Random &random, std::uint64_t number) {
        Bytes row(static_cast<std::size_t>(number));
        random.fill(row);
        const Bytes expected = dimmed(row, 77);
        dim(row.data(), row.data(), row.size(), 77);
        EXPECT_EQ(row, expected) << "length " << row.size() << "; " << rerun(number);
        return row == expected;
    });
}

INSTANTIATE_TEST_SUITE_P(EveryForm, DimKernel,
                         testing::ValuesIn(levels_of_this_machine(sample::scalar_dim_kernels,
                                                                  sample::dim_kernels)),
                         name_of_level);

} // namespace
} // namespace q32::test
