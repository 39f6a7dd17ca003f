// Enlarging and reducing rows and blocks by whole factors against plain models: all lengths between
// fences, random rows and blocks, any stack, and the processor's state.
#include "tests/rows/row_fixture.h"

#include "tests/frame/random.h"
#include "tests/kernels/fenced_run.h"
#include "tests/models/scaling.h"

namespace q32::test {
namespace {

constexpr std::size_t whole(int count) {
    return static_cast<std::size_t>(count);
}

Bytes random_bytes(std::size_t count, Random &random) {
    Bytes bytes(count);
    random.fill(bytes);
    return bytes;
}

// --- what the exports write, from the plain models ----------------------------------------------

// The row, and a zero byte where its last one is full.
Bytes enlarged_bits(View source, int count, unsigned factor) {
    if (factor < 2)
        return {source.begin(), source.begin() + whole(count + 7) / 8};
    Bytes row = model::enlarge_bits(source, whole(count), factor);
    if (whole(count) * factor % 8 == 0)
        row.push_back(0);
    return row;
}

Bytes reduced_bits(View source, int count, int factor) {
    if (factor < 2)
        return {source.begin(), source.begin() + whole(count + 7) / 8};
    return model::reduce_bits(source, whole(count), whole(factor));
}

struct Pixels {
    int bytes;
    int swap;

    std::size_t size() const { return whole(bytes); }
    bool swaps() const { return bytes == 3 && swap != 0; }
    std::string text() const {
        return std::to_string(bytes) + (swap != 0 ? " bytes, swap" : " bytes");
    }
};
constexpr Pixels all_pixels[] = {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {1, 1}, {2, 1}, {3, 1}, {4, 1}};

Bytes enlarged(View source, int count, int factor, Pixels pixels) {
    return model::enlarge(source, whole(count), whole(factor), pixels.size(), pixels.swaps());
}

Bytes reduced(View source, int count, int factor, Pixels pixels) {
    return model::reduce(source, whole(count), whole(factor), pixels.size(), pixels.swaps());
}

std::size_t bytes_to_reduce(int count, int factor, Pixels pixels) {
    return model::bytes_to_reduce(whole(count), whole(factor), pixels.size(), pixels.swaps());
}

void append(Bytes &bytes, View more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

class WholeFactorRows : public RowTest {
protected:
    template <class Run>
    testing::AssertionResult at_fences(FencedRun &stage, View expected, View source, Run run) {
        for (const bool to_end : {true, false})
            for (const bool from_end : {true, false})
                if (const auto result = stage.gives(expected, source, {to_end}, {from_end}, run);
                    !result)
                    return result;
        return testing::AssertionSuccess();
    }
};

// --- all lengths between fences -----------------------------------------------------------------

constexpr int longest = 300;
constexpr int factors[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 16, 17, 33};

TEST_F(WholeFactorRows, BitsEnlarged) {
    FencedRun stage;
    for (const int factor : factors)
        for (int count = 1; count <= longest; ++count) {
            Random random{test_seed(), whole(factor * 1024 + count)};
            const Bytes source = random_bytes(model::row_of_bits(whole(count)), random);
            const auto f = static_cast<unsigned>(factor == 1 ? count % 2 : factor);
            ASSERT_TRUE(at_fences(
                stage, enlarged_bits(source, count, f), source,
                [&](auto *to, auto *from) { rows().mem32BitEnlarge(to, from, count, f); }))
                << count << " bits, factor " << f << ", seed " << test_seed();
        }
}

TEST_F(WholeFactorRows, BitsReduced) {
    FencedRun stage;
    for (const int factor : factors)
        for (int count = 1; count <= longest; ++count) {
            Random random{test_seed(), whole(factor * 1024 + count)};
            const Bytes source = random_bytes(model::row_of_bits(whole(count)), random);
            ASSERT_TRUE(at_fences(
                stage, reduced_bits(source, count, factor), source,
                [&](auto *to, auto *from) { rows().mem32BitReduce(to, from, count, factor); }))
                << count << " bits, factor " << factor << ", seed " << test_seed();
        }
}

TEST_F(WholeFactorRows, PixelsEnlarged) {
    FencedRun stage;
    for (const Pixels pixels : all_pixels)
        for (const int factor : factors)
            for (int count = 1; count <= longest; ++count) {
                Random random{test_seed(), whole(factor * 1024 + count)};
                const Bytes source = random_bytes(pixels.size() * whole(count), random);
                ASSERT_TRUE(at_fences(stage, enlarged(source, count, factor, pixels), source,
                                      [&](auto *to, auto *from) {
                                          rows().mem32Enlarge(to, from, count, factor, pixels.bytes,
                                                              pixels.swap);
                                      }))
                    << count << " pixels of " << pixels.text() << ", factor " << factor << ", seed "
                    << test_seed();
            }
}

TEST_F(WholeFactorRows, PixelsReduced) {
    FencedRun stage;
    for (const Pixels pixels : all_pixels)
        for (const int factor : factors)
            for (int count = 1; count <= longest; ++count) {
                Random random{test_seed(), whole(factor * 1024 + count)};
                const Bytes source = random_bytes(bytes_to_reduce(count, factor, pixels), random);
                ASSERT_TRUE(at_fences(stage, reduced(source, count, factor, pixels), source,
                                      [&](auto *to, auto *from) {
                                          rows().mem32Reduce(to, from, count, factor, pixels.bytes,
                                                             pixels.swap);
                                      }))
                    << count << " pixels of " << pixels.text() << ", factor " << factor << ", seed "
                    << test_seed();
            }
}

// --- random blocks ------------------------------------------------------------------------------

// A small number mostly, now and then a larger one.
int some(Random &random, int small, int large) {
    return 1 + static_cast<int>(random.below(whole(random.below(6) == 0 ? large : small)));
}

struct BlockCase {
    int width, rows, factor, step; // step: also the vertical factor

    explicit BlockCase(Random &random)
        : width{some(random, 70, 700)}, rows{some(random, 6, 30)}, factor{some(random, 9, 40)},
          step{some(random, 4, 9)} {}

    std::string text() const {
        return std::to_string(rows) + " rows of " + std::to_string(width) + ", factors " +
               std::to_string(factor) + " and " + std::to_string(step);
    }
    // The first row number not taken.
    int end() const { return (rows + step - 1) / step * step; }
};

class WholeFactorBlocks : public WholeFactorRows {
protected:
    // Makes a case, which says whether it went well.
    template <class Body>
    void blocks(std::uint64_t count, Body body) {
        random_cases(count, [&](Random &random, std::uint64_t number) {
            const BlockCase c{random};
            const bool passed = body(random, c);
            if (!passed)
                ADD_FAILURE() << c.text() << ": " << rerun(number);
            return passed;
        });
    }

    template <class Run>
    bool exact(const Bytes &expected, const Bytes &source, Random &random, Run run) {
        const Place to{random.below(2) == 0, random.below(2) * random.below(64)};
        const Place from{random.below(2) == 0, random.below(2) * random.below(64)};
        const testing::AssertionResult result = stage_.gives(expected, source, to, from, run);
        EXPECT_TRUE(result);
        return bool(result);
    }

private:
    FencedRun stage_;
};

TEST_F(WholeFactorBlocks, BitsEnlarged) {
    blocks(400, [&](Random &random, const BlockCase &c) {
        const std::size_t row_bytes = model::row_of_bits(whole(c.width));
        const Bytes source = random_bytes(row_bytes * whole(c.rows), random);
        Bytes expected;
        for (int row = 0; row < c.rows; ++row) {
            const View line = View{source}.subspan(row_bytes * whole(row), row_bytes);
            Bytes made = enlarged_bits(line, c.width, static_cast<unsigned>(c.factor));
            const bool last = row == c.rows - 1 && c.step == 1; // its byte beyond stays
            if (!last)
                made.resize(model::row_of_bits(whole(c.width) * whole(c.factor)));
            for (int copy = 0; copy < c.step; ++copy)
                append(expected, made);
        }
        int result = 0;
        const bool same = exact(expected, source, random, [&](auto *to, auto *from) {
            result = rows().mem32BitEnlargeExt(to, from, c.width, c.rows,
                                               static_cast<unsigned>(c.factor),
                                               static_cast<unsigned>(c.step));
        });
        EXPECT_EQ(result, (c.width + 7) / 8);
        return same;
    });
}

TEST_F(WholeFactorBlocks, BitsReduced) {
    blocks(1500, [&](Random &random, const BlockCase &c) {
        const std::size_t row_bytes = model::row_of_bits(whole(c.width));
        const Bytes source = random_bytes(row_bytes * whole(c.rows), random);
        Bytes expected;
        for (int row = 0; row < c.rows; row += c.step)
            append(expected, reduced_bits(View{source}.subspan(row_bytes * whole(row), row_bytes),
                                          c.width, c.factor));
        int result = 0;
        const bool same = exact(expected, source, random, [&](auto *to, auto *from) {
            result = rows().mem32BitReduceExt(to, from, c.width, c.rows, c.factor, c.step);
        });
        EXPECT_EQ(result, c.end());
        return same && result == c.end();
    });
}

TEST_F(WholeFactorBlocks, PixelsEnlarged) {
    blocks(400, [&](Random &random, const BlockCase &c) {
        const Pixels pixels = all_pixels[random.below(std::size(all_pixels))];
        const std::size_t row_bytes = pixels.size() * whole(c.width);
        const Bytes source = random_bytes(row_bytes * whole(c.rows), random);
        Bytes expected;
        for (int row = 0; row < c.rows; ++row) {
            const View line = View{source}.subspan(row_bytes * whole(row), row_bytes);
            const Bytes made = enlarged(line, c.width, c.factor, pixels);
            for (int copy = 0; copy < c.step; ++copy)
                append(expected, made);
        }
        int result = 0;
        const bool same = exact(expected, source, random, [&](auto *to, auto *from) {
            result = rows().mem32EnlargeExt(to, from, c.width, c.rows, c.factor, c.step,
                                            pixels.bytes, pixels.swap);
        });
        EXPECT_EQ(result, pixels.bytes * c.width);
        return same;
    });
}

// With swap the last group of the last row taken may end behind the block.
TEST_F(WholeFactorBlocks, PixelsReduced) {
    blocks(1500, [&](Random &random, const BlockCase &c) {
        const Pixels pixels = all_pixels[random.below(std::size(all_pixels))];
        const std::size_t row_bytes = pixels.size() * whole(c.width);
        const std::size_t last_row = row_bytes * whole(c.end() - c.step);
        const std::size_t last_group_end = last_row + bytes_to_reduce(c.width, c.factor, pixels);
        const Bytes source =
            random_bytes(std::max(row_bytes * whole(c.rows), last_group_end), random);
        Bytes expected;
        for (int row = 0; row < c.rows; row += c.step)
            append(expected, reduced(View{source}.subspan(row_bytes * whole(row)), c.width,
                                     c.factor, pixels));
        int result = 0;
        const bool same = exact(expected, source, random, [&](auto *to, auto *from) {
            result = rows().mem32ReduceExt(to, from, c.width, c.rows, c.factor, c.step,
                                           pixels.bytes, pixels.swap);
        });
        EXPECT_EQ(result, c.end());
        return same && result == c.end();
    });
}

} // namespace
} // namespace q32::test
