// The kernels that copy runs of bits and rows of bytes, in the form of every instruction set of
// this machine, against plain models: all positions and lengths up to several vectors, between
// fences, with the destination's surroundings checked.
#include "rows/kernels/row_kernels.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/kernels/compared.h"
#include "tests/kernels/levels.h"
#include "tests/models/scaling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace q32::test {
namespace {

using model::Bytes;

class CopyKernel : public testing::TestWithParam<Level<rows::RowKernels>> {
protected:
    const rows::RowKernels &kernels() const { return *GetParam().kernels; }
};

INSTANTIATE_TEST_SUITE_P(Each, CopyKernel,
                         testing::ValuesIn(levels_of_this_machine(rows::scalar_row_kernels,
                                                                  rows::row_kernels)),
                         name_of_level);

// --- bits, one at a time ------------------------------------------------------------------------

std::size_t bytes_touched(std::size_t first_bit, std::size_t bits) {
    return bits == 0 ? 0 : (first_bit % 8 + bits + 7) / 8;
}

struct BitCase {
    std::size_t destination_bit, source_bit, bits;

    std::string text() const {
        std::ostringstream text;
        text << bits << " bits from position " << source_bit << " to " << destination_bit;
        return text.str();
    }
};

// Runs the copy between two blocks of fenced memory. Each run lies at the end of its block or, when
// `at_front`, at the beginning, so that its first or last byte is the fence's neighbour.
class BitCopier {
public:
    explicit BitCopier(std::size_t bytes) : source_{bytes}, destination_{bytes} {}

    testing::AssertionResult copies(rows::BitRowsCopy *copy, const BitCase &c, Random &random,
                                    bool at_front) {
        random.fill({source_.begin(), source_.size()});
        random.fill({destination_.begin(), destination_.size()});
        std::uint8_t *const from = place(source_, c.source_bit, c.bits, at_front);
        std::uint8_t *const to = place(destination_, c.destination_bit, c.bits, at_front);

        const Bytes source_before(source_.begin(), source_.end());
        Bytes expected(destination_.begin(), destination_.end());
        std::uint8_t *const expected_to = expected.data() + (to - destination_.begin());
        for (std::size_t i = 0; i < c.bits; ++i)
            model::put_bit(expected_to, c.destination_bit % 8 + i,
                           model::bit(from, c.source_bit % 8 + i));

        copy(to - c.destination_bit / 8, 0, c.destination_bit, from - c.source_bit / 8, 0,
             c.source_bit, c.bits, 1);
        if (!std::equal(expected.begin(), expected.end(), destination_.begin()))
            return testing::AssertionFailure() << c.text() << ": destination differs";
        if (!std::equal(source_before.begin(), source_before.end(), source_.begin()))
            return testing::AssertionFailure() << c.text() << ": source has changed";
        count_compared("bits", c.bits);
        return testing::AssertionSuccess();
    }

private:
    static std::uint8_t *place(const FencedMemory &memory, std::size_t first_bit, std::size_t bits,
                               bool at_front) {
        return at_front ? memory.begin() : memory.end() - bytes_touched(first_bit, bits);
    }

    FencedMemory source_, destination_;
};

TEST_P(CopyKernel, BitsAtAllPositionsAndLengths) {
    constexpr std::size_t longest = 70;
    BitCopier copier{1};
    for (std::size_t to = 0; to < 8; ++to)
        for (std::size_t from = 0; from < 8; ++from)
            for (std::size_t bits = 0; bits <= longest; ++bits)
                for (const bool at_front : {false, true}) {
                    Random random{test_seed(), (to * 8 + from) * 128 + bits};
                    ASSERT_TRUE(
                        copier.copies(kernels().copy_bit_rows, {to, from, bits}, random, at_front));
                }
}

// Lengths about whole vectors of 16 and 32 bytes, where steps begin and end.
TEST_P(CopyKernel, BitsAboutWholeVectors) {
    BitCopier copier{1};
    for (const std::size_t vectors : {1, 2, 3, 4, 6})
        for (std::size_t to = 0; to < 8; ++to)
            for (std::size_t from = 0; from < 8; ++from)
                for (std::size_t more = 0; more <= 24; ++more) {
                    const std::size_t bits = vectors * 128 + more - 12;
                    Random random{test_seed(), bits * 64 + to * 8 + from};
                    ASSERT_TRUE(copier.copies(kernels().copy_bit_rows, {to, from, bits}, random,
                                              more % 2 == 0));
                }
}

// Positions beyond the first byte, and long runs.
TEST_P(CopyKernel, BitsOfRandomRuns) {
    BitCopier copier{3 * FencedMemory::page};
    random_cases(1500, [&](Random &random, std::uint64_t number) {
        const BitCase c{random.below(900), random.below(900), random.below(90000)};
        const testing::AssertionResult result =
            copier.copies(kernels().copy_bit_rows, c, random, number % 2 == 0);
        if (!result)
            ADD_FAILURE() << result.message() << ": " << rerun(number);
        return bool(result);
    });
}

// What is there already, repeated behind itself: both runs meet inside a byte.
TEST_P(CopyKernel, BitsBehindThemselves) {
    for (std::size_t bits = 1; bits <= 600; ++bits) {
        Bytes row(2 * bits / 8 + 2);
        Random random{test_seed(), bits};
        random.fill(row);
        Bytes expected = row;
        for (std::size_t i = 0; i < bits; ++i)
            model::put_bit(expected.data(), bits + i, model::bit(row.data(), i));
        kernels().copy_bit_rows(row.data(), 0, bits, row.data(), 0, 0, bits, 1);
        ASSERT_EQ(row, expected) << bits << " bits";
    }
}

// Rows that lie close together: what follows a row's run in its last byte, and between rows, stays.
TEST_P(CopyKernel, BitsOfRandomRectangles) {
    constexpr std::size_t most_rows = 20, widest = 400, widest_gap = 20;
    constexpr std::size_t bytes = most_rows * (widest / 8 + 3 + widest_gap);
    const FencedMemory source{bytes}, destination{bytes};
    random_cases(2000, [&](Random &random, std::uint64_t number) {
        const BitCase c{random.below(8), random.below(8), random.below(widest + 1)};
        const std::size_t rows = random.below(most_rows + 1);
        const std::size_t to_stride = bytes_touched(c.destination_bit, c.bits) + random.below(20);
        const std::size_t from_stride = bytes_touched(c.source_bit, c.bits) + random.below(20);
        random.fill({source.begin(), source.size()});
        random.fill({destination.begin(), destination.size()});
        std::uint8_t *const from =
            source.end() -
            (rows == 0 ? 0 : (rows - 1) * from_stride + bytes_touched(c.source_bit, c.bits));

        Bytes expected(destination.begin(), destination.end());
        for (std::size_t row = 0; row < rows; ++row)
            for (std::size_t i = 0; i < c.bits; ++i)
                model::put_bit(expected.data() + row * to_stride, c.destination_bit + i,
                               model::bit(from + row * from_stride, c.source_bit + i));
        kernels().copy_bit_rows(destination.begin(), to_stride, c.destination_bit, from,
                                from_stride, c.source_bit, c.bits, rows);
        const bool same = std::equal(expected.begin(), expected.end(), destination.begin());
        EXPECT_TRUE(same) << rows << " rows of " << c.text() << ": " << rerun(number);
        count_compared("bits", rows * c.bits);
        return same;
    });
}

// --- rows ---------------------------------------------------------------------------------------

struct RowsCase {
    std::size_t row_bytes, rows, gap_of_destination, gap_of_source;

    std::size_t destination_stride() const { return row_bytes + gap_of_destination; }
    std::size_t source_stride() const { return row_bytes + gap_of_source; }
    std::size_t block_bytes(std::size_t stride) const {
        return rows == 0 ? 0 : (rows - 1) * stride + row_bytes;
    }
    std::string text() const {
        std::ostringstream text;
        text << rows << " rows of " << row_bytes << " bytes, gaps of " << gap_of_source << " to "
             << gap_of_destination;
        return text.str();
    }
};

testing::AssertionResult copies_rows(rows::RowsCopy *copy, const RowsCase &c,
                                     const FencedMemory &from, const FencedMemory &to,
                                     Random &random) {
    const std::size_t source_bytes = c.block_bytes(c.source_stride());
    const std::size_t destination_bytes = c.block_bytes(c.destination_stride());
    std::uint8_t *const source = from.end() - source_bytes;
    std::uint8_t *const destination = to.end() - destination_bytes;
    random.fill({source, source_bytes});
    random.fill({destination, destination_bytes});

    Bytes expected(destination, destination + destination_bytes);
    for (std::size_t row = 0; row < c.rows; ++row)
        std::copy_n(source + row * c.source_stride(), c.row_bytes,
                    expected.data() + row * c.destination_stride());
    copy(destination, c.destination_stride(), source, c.source_stride(), c.row_bytes, c.rows);
    if (!std::equal(expected.begin(), expected.end(), destination))
        return testing::AssertionFailure() << c.text();
    count_compared("rows", c.rows * c.row_bytes);
    return testing::AssertionSuccess();
}

// The last row ends at the fence.
TEST_P(CopyKernel, RowsOfAllLengths) {
    constexpr std::size_t longest = 420;
    const FencedMemory from{16 * longest}, to{16 * longest};
    for (std::size_t row_bytes = 0; row_bytes <= longest; ++row_bytes)
        for (const std::size_t rows : {0, 1, 2, 5})
            for (const std::size_t gap : {0, 1, 29}) {
                Random random{test_seed(), row_bytes * 64 + rows * 8 + gap};
                ASSERT_TRUE(
                    copies_rows(kernels().copy_rows, {row_bytes, rows, gap, 0}, from, to, random));
                ASSERT_TRUE(
                    copies_rows(kernels().copy_rows, {row_bytes, rows, 0, gap}, from, to, random));
                ASSERT_TRUE(copies_rows(kernels().copy_rows, {row_bytes, rows, gap, gap}, from, to,
                                        random));
            }
}

TEST_P(CopyKernel, RowsBeginAtTheFence) {
    const FencedMemory from{1}, to{1};
    for (std::size_t row_bytes = 0; row_bytes <= FencedMemory::page; ++row_bytes) {
        Random random{test_seed(), row_bytes};
        random.fill({from.begin(), from.size()});
        random.fill({to.begin(), to.size()});
        Bytes expected(to.begin(), to.end());
        std::copy_n(from.begin(), row_bytes, expected.begin());
        kernels().copy_rows(to.begin(), row_bytes, from.begin(), row_bytes, row_bytes, 1);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), to.begin())) << row_bytes;
    }
}

TEST_P(CopyKernel, RandomRectangles) {
    constexpr std::size_t most_rows = 40, longest = 13000, widest_gap = 200;
    const FencedMemory from{most_rows * (longest + widest_gap)};
    const FencedMemory to{most_rows * (longest + widest_gap)};
    random_cases(200, [&](Random &random, std::uint64_t number) {
        const std::size_t limit = number % 4 == 0 ? longest : 400;
        const RowsCase c{random.below(limit + 1), random.below(most_rows + 1),
                         random.below(widest_gap + 1), random.below(widest_gap + 1)};
        const testing::AssertionResult result =
            copies_rows(kernels().copy_rows, c, from, to, random);
        if (!result)
            ADD_FAILURE() << result.message() << ": " << rerun(number);
        return bool(result);
    });
}

} // namespace
} // namespace q32::test
