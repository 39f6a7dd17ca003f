// Blocks of every method, by every instruction set of this machine and by the scalar forms, against
// the model: all lengths, all ratios, any order of rows and columns, one pixel and many.
#include "tests/resample_kernels/resample_stage.h"

#include <gtest/gtest.h>

#include <climits>

namespace q32::test {
namespace {

using model::Image;
using model::Method;

// A method and the bytes of a pixel.
struct Kind {
    Method method;
    std::size_t pixel_bytes;
};

void PrintTo(const Kind &kind, std::ostream *stream) {
    *stream << name_of(kind.method) << kind.pixel_bytes;
}

class ResampleBlocks : public testing::TestWithParam<Kind> {
protected:
    static Method method() { return GetParam().method; }
    static std::size_t pixel_bytes() { return GetParam().pixel_bytes; }

    static Trial trial(Random &random, const Line &columns, const Line &rows) {
        Image source(columns.count, rows.count, pixel_bytes());
        source.left = columns.first;
        source.top = rows.first;
        paint(random, source);
        return {method(), source, columns.axis, rows.axis};
    }
    static Line line(Random &random, int count) {
        switch (random.below(5)) {
        case 0:
            return line_at_random(random, method(), count);
        case 1:
            return line_in_order(random, method(), count);
        case 2:
            return line_by_two(random, method(), count);
        default:
            return line_by_ratio(random, method(), count);
        }
    }
    static Line one_row(Random &random) {
        Line row = line_at_random(random, method(), 1);
        row.count = 1;
        row.axis.index[0] = row.first;
        return row;
    }
    static bool fits(const Line &columns, const Line &rows) {
        return std::size_t(columns.count) * std::size_t(rows.count) * pixel_bytes() <=
               Stage::most_bytes / 2;
    }
    // So few that the image fits the stage.
    static Line few_rows(Random &random, int most, const Line &columns) {
        for (;;) {
            const Line rows = line(random, between(random, 1, most));
            if (fits(columns, rows))
                return rows;
        }
    }

    Stage stage_;
};

// Three of the widest vectors of samples, and one pixel more.
constexpr int all_lengths = 3 * 64 + 1;

TEST_P(ResampleBlocks, OfEveryLength) {
    Random random{test_seed(), 0};
    for (int length = 0; length <= all_lengths; ++length)
        for (const auto make : {line_by_ratio, line_in_order, line_in_order}) {
            const Line columns = make(random, method(), length);
            ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, few_rows(random, 3, columns)),
                                              random));
        }
}

TEST_P(ResampleBlocks, OfEveryLengthByTwo) {
    Random random{test_seed(), 5};
    for (int length = 0; length <= all_lengths; ++length)
        for (int i = 0; i < 3; ++i) {
            const Line columns = line_by_two(random, method(), length);
            ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, few_rows(random, 5, columns)),
                                              random));
        }
}

// At half the size but for one column, where a further pixel is passed over: at the borders of
// vectors and of blocks, too. Rows are so long that no form passes them over.
TEST_P(ResampleBlocks, OfEveryColumnOutOfStep) {
    Random random{test_seed(), 7};
    constexpr int length = 4 * 64 + 1;
    for (int out_of_step = 1; out_of_step < length; ++out_of_step) {
        Line columns{{}, 0, 2 * length + 2};
        for (int i = 0; i < length; ++i) {
            columns.axis.index.push_back(2 * i + (i < out_of_step ? 0 : 1));
            columns.axis.fraction.push_back(method() == Method::bicubic ? 64 : 16384);
        }
        ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, one_row(random)), random));
    }
}

// To half and to twice the size, as frames and cells are: the last column in step or not.
TEST_P(ResampleBlocks, OfWholeImagesByTwo) {
    Random random{test_seed(), 6};
    for (const int width : {2, 3, 30, 31, 32, 33, 64, 127, 128, 129, 400, 401, 1022, 1023})
        for (const int height : {2, 5, 8})
            for (const bool doubled : {false, true}) {
                const auto line = [&](int side) {
                    const int to = doubled ? 2 * side : (side + 1) / 2;
                    return Line{axis_of(random, method(), to, side), 0, side};
                };
                const Line columns = line(width), rows = line(height);
                ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, rows), random));
            }
}

TEST_P(ResampleBlocks, OfEveryLengthInAnyOrder) {
    Random random{test_seed(), 1};
    for (int length = 1; length <= all_lengths; ++length) {
        const Line columns = line_at_random(random, method(), length);
        ASSERT_TRUE(
            stage_.run_everywhere(trial(random, columns, few_rows(random, 3, columns)), random));
    }
}

// Tables without an entry are not read.
TEST_P(ResampleBlocks, OfNoRows) {
    Random random{test_seed(), 8};
    const Line no_rows = line_by_ratio(random, method(), 0);
    for (int length = 0; length <= all_lengths; ++length) {
        const Line columns = line_by_ratio(random, method(), length);
        ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, no_rows), random));
    }
}

// One row of source: nothing before and behind it but the fences.
TEST_P(ResampleBlocks, OfOneRow) {
    Random random{test_seed(), 2};
    for (int length = 1; length <= all_lengths; ++length)
        for (const bool in_order : {true, false}) {
            const Line columns = in_order ? line_by_ratio(random, method(), length)
                                          : line_at_random(random, method(), length);
            ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, one_row(random)), random));
        }
}

TEST_P(ResampleBlocks, OfTinySources) {
    Random random{test_seed(), 3};
    for (int width = 1; width <= 6; ++width)
        for (int height = 1; height <= 6; ++height)
            for (const int first : {0, 1, 77})
                for (int i = 0; i < 4; ++i) {
                    Line columns = line_at_random(random, method(), between(random, 1, 150));
                    Line rows = line_at_random(random, method(), between(random, 1, 9));
                    columns.first = rows.first = first;
                    columns.count = width;
                    rows.count = height;
                    for (std::int32_t &index : columns.axis.index)
                        index = between(random, first, first + width - 1);
                    for (std::int32_t &index : rows.axis.index)
                        index = between(random, first, first + height - 1);
                    ASSERT_TRUE(stage_.run_everywhere(trial(random, columns, rows), random));
                }
}

TEST_P(ResampleBlocks, OfRandomRatios) {
    random_cases(500, [this](Random &random, std::uint64_t) {
        const Line columns = line(random, between(random, 1, 500));
        const Line rows = few_rows(random, 12, columns);
        return stage_.run(trial(random, columns, rows), random_layout(random));
    });
}

// Many rows of few columns: lines are kept, or not, from one row to the next.
TEST_P(ResampleBlocks, OfManyRows) {
    random_cases(200, [this](Random &random, std::uint64_t) {
        const Line columns = line(random, between(random, 1, 20));
        const Line rows = few_rows(random, 150, columns);
        return stage_.run(trial(random, columns, rows), random_layout(random));
    });
}

// Rows that go down, up, to and fro, and repeat.
TEST_P(ResampleBlocks, OfRowsInOtherOrders) {
    random_cases(200, [this](Random &random, std::uint64_t) {
        const Line columns = line(random, between(random, 1, 40));
        Line rows = line_at_random(random, method(), between(random, 2, 60));
        rows.count = between(random, 1, 12);
        int row = between(random, 0, rows.count - 1);
        const int step = between(random, -2, 2);
        for (std::int32_t &index : rows.axis.index) {
            row += random.below(6) == 0 ? between(random, -4, 4) : step;
            index = rows.first + (row % rows.count + rows.count) % rows.count;
        }
        return stage_.run(trial(random, columns, rows), random_layout(random));
    });
}

// Columns that lie as close, or as far apart, as one load of the source just reaches.
TEST_P(ResampleBlocks, OfColumnsInOrder) {
    random_cases(1500, [this](Random &random, std::uint64_t) {
        const Line columns = line_in_order(random, method(), between(random, 1, 100));
        return stage_.run(trial(random, columns, one_row(random)), random_layout(random));
    });
}

// Columns so far apart that the bytes between a few of them are more than 16 bits can count.
TEST_P(ResampleBlocks, OfDistantColumns) {
    random_cases(60, [this](Random &random, std::uint64_t) {
        const int columns_made = between(random, 2, 40);
        const int row_pixels = int(Stage::most_bytes / 2 / pixel_bytes());
        const bool evenly = random.below(2) == 0;
        const int most = row_pixels / columns_made;
        Line columns = line_at_random(random, method(), columns_made);
        int index = columns.first;
        for (std::int32_t &place : columns.axis.index) {
            place = index;
            index += evenly ? most : between(random, 0, most);
        }
        columns.count = columns.axis.index.back() - columns.first + 1 + between(random, 0, 3);
        return stage_.run(trial(random, columns, one_row(random)), random_layout(random));
    });
}

TEST_P(ResampleBlocks, OfLongRows) {
    Random random{test_seed(), 4};
    for (const int length : {4096, 4097, 9999, 20000}) {
        Line columns = line_at_random(random, method(), length);
        columns.count = 20000;
        for (std::int32_t &index : columns.axis.index)
            index = between(random, columns.first, columns.first + columns.count - 1);
        Line rows = line_at_random(random, method(), 2);
        rows.count = 2;
        for (std::int32_t &index : rows.axis.index)
            index = between(random, rows.first, rows.first + 1);
        ASSERT_TRUE(stage_.run(trial(random, columns, rows), random_layout(random)));
    }
}

// Every kernel's taps end at the edge of what is at hand, wherever tables point.
TEST_P(ResampleBlocks, OfPlacesOutsideTheSource) {
    random_cases(300, [this](Random &random, std::uint64_t) {
        constexpr int distant[] = {INT_MIN,     INT_MIN + 1, INT_MIN + 2, INT_MAX,     INT_MAX - 1,
                                   INT_MAX - 2, -1,          0,           -1000000000, 1000000000};
        const auto spoil = [&](Line &line) {
            for (std::int32_t &index : line.axis.index)
                switch (random.below(4)) {
                case 0:
                    index = distant[random.below(std::size(distant))];
                    break;
                case 1:
                    index = line.first + between(random, -6, line.count + 6);
                    break;
                default:
                    break;
                }
        };
        Line columns = line(random, between(random, 1, 150));
        Line rows = few_rows(random, 10, columns);
        spoil(columns);
        spoil(rows);
        return stage_.run(trial(random, columns, rows), random_layout(random));
    });
}

// Bits of a fraction that its method does not use are ignored.
TEST_P(ResampleBlocks, OfFractionsWithOtherBits) {
    if (method() == Method::nearest)
        return;
    random_cases(150, [this](Random &random, std::uint64_t) {
        Line columns = line(random, between(random, 1, 150));
        Line rows = few_rows(random, 10, columns);
        for (Line *line : {&columns, &rows})
            for (std::int32_t &fraction : line->axis.fraction)
                fraction = std::int32_t(std::uint32_t(random.next()));
        return stage_.run(trial(random, columns, rows), random_layout(random));
    });
}

INSTANTIATE_TEST_SUITE_P(Kinds, ResampleBlocks,
                         testing::Values(Kind{Method::nearest, 1}, Kind{Method::nearest, 2},
                                         Kind{Method::nearest, 3}, Kind{Method::nearest, 4},
                                         Kind{Method::nearest, 5}, Kind{Method::nearest, 6},
                                         Kind{Method::nearest, 7}, Kind{Method::nearest, 8},
                                         Kind{Method::bilinear, 1}, Kind{Method::bilinear, 3},
                                         Kind{Method::bilinear, 4}, Kind{Method::bicubic, 1},
                                         Kind{Method::bicubic, 3}, Kind{Method::bicubic, 4}),
                         [](const auto &kind) { return testing::PrintToString(kind.param); });

} // namespace
} // namespace q32::test
