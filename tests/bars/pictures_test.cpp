// Every bar in buffers of every size, sort and depth that goes, against the model.
#include "tests/bars/bar_fixture.h"

namespace q32::test {
namespace {

class BarPictures : public BarTest {};

TEST_F(BarPictures, NewBuffersOfSizesAroundCells) {
    for (const Bar &bar : every_bar())
        for (const int width : sides_around_cells)
            for (const int height : {1, 2, 127, 128, 129, 300})
                check_new(bar, width, height);
}

TEST_F(BarPictures, EverySmallSize) {
    for (const Bar &bar : every_bar())
        for (int width = 1; width <= 9; ++width)
            for (int height = 1; height <= 9; ++height)
                check_new(bar, width, height);
}

// Saturation of 0 comes only with many steps.
TEST_F(BarPictures, WidestAndHighest) {
    for (const Bar &bar : every_bar()) {
        check_new(bar, 32000, 1);
        check_new(bar, 1, 32000);
        check_new(bar, 1400, 3);
        check_new(bar, 3, 1400);
    }
}

TEST_F(BarPictures, EveryRangeOfGreys) {
    for (int from = 0; from < 256; from += 3)
        for (int to = 0; to < 256; to += 5)
            check_new(Bar::of_greys(from, to, 1), 1 + (from * 256 + to) % 777, 1);
    for (int to = 0; to < 256; ++to) {
        check_new(Bar::of_greys(255 - to, to, 0), 2, 1 + to);
        check_new(Bar::of_greys(to, 255, 1), 300 - to, 1);
    }
}

TEST_F(BarPictures, RandomBars) {
    random_cases(300, [&](Random &random, std::uint64_t number) {
        const auto colour = [&] { return COLORREF(random.next()); };
        const int direction = int(random.below(2));
        const Bar bars[] = {Bar::of_greys(int(colour()), int(colour()), direction),
                            Bar::of_colours(colour(), colour(), direction),
                            Bar::of_colours(colour(), colour(), direction, 1),
                            Bar::of_hues(between(random, 1, 4))};
        check_new(bars[random.below(4)], between(random, 1, 700), between(random, 1, 90));
        if (HasFailure())
            ADD_FAILURE() << rerun(number);
        return !HasFailure();
    });
}

// --- given buffers ---------------------------------------------------------------------------

TEST_F(BarPictures, GivenBuffersOfEverySort) {
    Random random(test_seed(), 1);
    for (const Bar &bar : every_bar())
        for (const Sort sort : all_sorts) {
            SCOPED_TRACE(text_of(bar) + " into a buffer " + name_of(sort));
            Side given(sort, bar.bits(), 170, 140, random);
            check_given(bar, given);
            Side small(sort, bar.bits(), 5, 3, random);
            check_given(bar, small);
            if (HasFailure())
                return;
        }
}

TEST_F(BarPictures, GivenBuffersOfSizesAroundCells) {
    Random random(test_seed(), 2);
    for (const Bar &bar : bar_of_every_kind())
        for (const Sort sort : all_sorts)
            for (const int width : {1, 127, 129, 256})
                for (const int height : {1, 128, 257}) {
                    Side given(sort, bar.bits(), width, height, random);
                    check_given(bar, given);
                }
}

// One colour and patterns become ordinary buffers, even where nothing is drawn.
TEST_F(BarPictures, SpecialBuffersBecomeOrdinary) {
    Random random(test_seed(), 3);
    for (const Sort sort : {Sort::one_colour, Sort::filled, Sort::pattern}) {
        for (const Bar &bar : bar_of_every_kind()) {
            Side given(sort, bar.bits(), 150, 140, random);
            check_given(bar, given);
            EXPECT_EQ(word(given, field_type), BUF32_TILED) << name_of(sort);
        }
        const Side given(sort, 24, 150, 140, random);
        HBUF32 handle = given;
        EXPECT_SUCCESS(Bar::of_hues(5).into(api(), &handle, 1, 1));
        EXPECT_EQ(word(given, field_type), BUF32_TILED) << name_of(sort);
        given.expect_picture();
    }
}

TEST_F(BarPictures, ABufferThatIsLockedAlready) {
    Random random(test_seed(), 4);
    for (const Bar &bar : bar_of_every_kind())
        for (const int mode : {BUF32_READ, BUF32_WRITE, BUF32_OVERWRITE}) {
            Side given(bar.bits(), 150, 140, random);
            ASSERT_EQ(api().buf32Lock(given, mode, nullptr), 1);
            check_given(bar, given);
            EXPECT_EQ(given.locks(), 1u);
            ASSERT_EQ(api().buf32Unlock(given), 1);
        }
}

// Rows are written as they are, from the first to the last, each once.
TEST_F(BarPictures, RowsInOrder) {
    Random random(test_seed(), 5);
    for (const Bar &bar : every_bar()) {
        SCOPED_TRACE(text_of(bar));
        const Side given(bar.bits(), 20, 150, random);
        std::vector<int> rows;
        const LineHook hook(given, [&](auto original, HBUF32 buffer, int row, int mode, void *at) {
            EXPECT_EQ(mode, BUF32_LINE_WRITE);
            rows.push_back(row);
            return original(buffer, row, mode, at);
        });
        HBUF32 handle = given;
        EXPECT_SUCCESS(bar.into(api(), &handle, 0, 0));
        ASSERT_EQ(rows.size(), 150u);
        for (int y = 0; y < 150; ++y)
            EXPECT_EQ(rows[size_t(y)], y);
    }
}

// Depths between whole bytes have the pixels of the depth below, and rows that are longer than
// those: what the last bytes of a row become is nobody's affair, but they exist.
TEST_F(BarPictures, DepthsBetweenWholeBytes) {
    Random random(test_seed(), 6);
    for (const Bar &bar : every_bar())
        for (int bits = bar.bits() + 1; bits < bar.bits() + 8; ++bits)
            for (const int width : {1, 2, 100}) {
                SCOPED_TRACE(text_of(bar) + ", " + std::to_string(bits) + " bits");
                const Side given(bits, width, 5, random);
                HBUF32 handle = given;
                {
                    const FencedHeap heap(1);
                    EXPECT_SUCCESS(bar.into(api(), &handle, 0, 0));
                }
                EXPECT_EQ(handle, HBUF32(given));
                EXPECT_EQ(given.locks(), 0u);
                const PlainImage rows = read_rows(given);
                const Bytes wanted = bar.picture(width, 5);
                const size_t row_bytes = size_t(width * bar.bytes());
                for (size_t y = 0; y < 5; ++y)
                    EXPECT_TRUE(std::equal(rows.row(y), rows.row(y) + row_bytes,
                                           wanted.begin() + ptrdiff_t(y * row_bytes)))
                        << y;
            }
}

// Work rows are written to their last byte and no further.
TEST_F(BarPictures, WorkRowsAtAFence) {
    Random random(test_seed(), 7);
    for (const Bar &bar : every_bar())
        for (int width = 1; width <= 70; ++width) {
            Side given(bar.bits(), width, 6, random);
            const FencedHeap heap(1);
            check_given(bar, given);
        }
}

} // namespace
} // namespace q32::test
