// Pixels of every path against the model, byte for byte: sizes around those of cells, depths, sorts
// and destinations at random, and pictures that bring out what is special in the arithmetic.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResamplePixels : public ResampleTest {};

constexpr int some_sides[] = {1, 2, 3, 127, 128, 129, 255, 256, 257};

// Every side to every side, across and down.
TEST_F(ResamplePixels, OfSidesAroundCells) {
    Random random(test_seed(), 1);
    for (Path path : all_paths)
        for (int from : some_sides)
            for (int into : some_sides) {
                const Side wide(bits_of(path), from, 3, random);
                check_new(manner_of(path), into, 5, wide);
                const Side high(bits_of(path), 3, from, random);
                check_new(manner_of(path), 5, into, high);
                if (HasFailure())
                    return;
            }
}

TEST_F(ResamplePixels, OfBytes) {
    Random random(test_seed(), 2);
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int from : some_sides)
            for (int into : {1, 2, 127, 129, 257}) {
                const Side source(8, from, 4, random);
                check_new(manner_of(path), into, 7, source);
                if (HasFailure())
                    return;
            }
}

// Columns that read one cell of the source or several, pixels beside each other or far apart; rows
// that go on from one band of cells to the next.
TEST_F(ResamplePixels, OfSeveralCells) {
    Random random(test_seed(), 6);
    constexpr int from_sides[] = {129, 256, 300, 513, 1500};
    constexpr int into_sides[] = {3, 100, 128, 129, 300, 513};
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (Sort sort : {Sort::tiled, Sort::duplicate})
                for (int from : from_sides)
                    for (int into : into_sides) {
                        const Side wide(sort, bits, from, 5, random);
                        check_new(manner_of(path), into, between(random, 1, 9), wide);
                        const Side high(sort, bits, 5, from, random);
                        check_new(manner_of(path), between(random, 1, 9), into, high);
                        if (HasFailure())
                            return;
                    }
}

// More rows than the source has, of pieces whose columns lie in one cell or in several: rows put
// together of cells, block after block and from one band to the next; twice the size, across alone
// or down as well.
TEST_F(ResamplePixels, OfCellsEnlarged) {
    Random random(test_seed(), 10);
    struct Scaling {
        SIZE from, into;
    };
    constexpr Scaling scalings[] = {
        {{150, 140}, {300, 280}}, {{257, 131}, {514, 262}}, {{200, 150}, {513, 400}},
        {{150, 140}, {300, 190}}, {{130, 145}, {180, 290}}, {{600, 40}, {1300, 300}},
    };
    for (Path path : {Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (const auto &[from, into] : scalings) {
                const Side source(bits, from.cx, from.cy, random);
                check_new(manner_of(path), into.cx, into.cy, source);
                if (HasFailure())
                    return;
            }
}

// A source whose pixels end where its memory does, with a last cell that is narrower than a vector
// reads: nothing lies behind its last row.
TEST_F(ResamplePixels, OfCellsThatEndWithTheirMemory) {
    Random random(test_seed(), 11);
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (const auto &[width, height] : {std::pair{192, 128}, {160, 128}, {136, 512}})
                for (const auto &[into_width, into_height] :
                     {std::pair{2 * width, 2 * height}, {3 * width / 2, 130}, {width - 1, 60}}) {
                    const Side source(bits, width, height, random);
                    check_new(manner_of(path), into_width, into_height, source);
                    if (HasFailure())
                        return;
                }
}

// Both ways at once: the last cells of a band are narrower, and those of the last band lower and
// closer together, or they are like the others. Into cells, and into one.
TEST_F(ResamplePixels, OfSeveralBandsOfCells) {
    Random random(test_seed(), 10);
    constexpr std::pair<int, int> from_sizes[] = {
        {300, 300}, {256, 256}, {513, 140}, {384, 300}, {1300, 1290}};
    constexpr std::pair<int, int> into_sizes[] = {{140, 300}, {600, 260}, {256, 256}, {130, 129}};
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (const auto &[width, height] : from_sizes)
                for (const auto &[into_width, into_height] : into_sizes) {
                    const Side source(bits, width, height, random);
                    check_new(manner_of(path), into_width, into_height, source);
                    Side given(Sort::linear, bits, into_width, into_height, random);
                    check_given(manner_of(path), given, source);
                    if (HasFailure())
                        return;
                }
}

// Whether somebody listens does not show in the pixels, although cells are then made one by one.
TEST_F(ResamplePixels, AreTheSameWhenWatched) {
    Random random(test_seed(), 9);
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (const auto &[from, into] :
                 {std::pair{600, 1200}, {1300, 1300}, {2000, 700}, {3000, 1100}, {9000, 1025}}) {
                const Side source(bits, from, 6, random);
                Side given(bits, into, 5, random);
                Listener listener(0, 100);
                EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                model::resample(path, source.picture, given.picture, given.cells());
                given.expect_picture();
                check_given(manner_of(path), given, source);
                if (HasFailure())
                    return;
            }
}

// Pieces beside each other of a destination of one cell.
TEST_F(ResamplePixels, OfSeveralCellsIntoOne) {
    Random random(test_seed(), 7);
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (const auto &[from, into] :
                 {std::pair{300, 700}, {700, 300}, {1500, 290}, {3000, 131}}) {
                const Side source(bits, from, 140, random);
                Side given(Sort::linear, bits, into, 150, random);
                check_given(manner_of(path), given, source);
                if (HasFailure())
                    return;
            }
}

// Whether memory ends where a buffer's pixels do.
bool has_nothing_behind(HBUF32 buffer) {
    const uintptr_t end = word(buffer, field_storage) + word(buffer, field_image_bytes);
    MEMORY_BASIC_INFORMATION behind;
    return VirtualQuery(reinterpret_cast<const void *>(end), &behind, sizeof behind) != 0 &&
           behind.State != MEM_COMMIT;
}

// Pixels far apart are moved with a byte or more beside them, but not with those behind the last.
TEST_F(ResamplePixels, AreReadToTheEndOfTheStorage) {
    Random random(test_seed(), 8);
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells}) {
        std::vector<std::unique_ptr<Side>> sources; // whole units in which memory is reserved
        do
            sources.push_back(std::make_unique<Side>(24, 1536, 128, random));
        while (!has_nothing_behind(*sources.back()) && sources.size() < 20);
        const Side &source = *sources.back();
        ASSERT_TRUE(has_nothing_behind(source));
        for (int width : {512, 306, 192, 96, 12})
            check_new(manner_of(path), width, 128, source);
    }
}

// --- at random -------------------------------------------------------------------------------

int random_side(Random &random) {
    switch (random.below(8)) {
    case 0:
        return between(random, 1, 4);
    case 1:
        return some_sides[random.below(std::size(some_sides))];
    case 2:
        return between(random, 100, 400);
    default:
        return between(random, 1, 150);
    }
}

Manner random_manner(Random &random) {
    const int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC, 3};
    return {random.below(6) != 0, random.below(4) == 0 ? 1 : 0, methods[random.below(4)]};
}

// Half of the bytes are 0 or 255, so that sums run over and under.
void sharpen(Side &side, Random &random) {
    for (uint8_t &byte : side.picture.image.bytes())
        byte = random.below(4) == 0 ? byte : uint8_t(random.below(2) * 255);
    store(side, side.picture.image);
    set_word(side, field_access_mode, Side::no_mode);
}

Sort random_sort(Random &random) {
    const Sort sorts[] = {
        Sort::tiled,     Sort::linear, Sort::linear_memory,    Sort::linear_shrink,
        Sort::duplicate, Sort::shared, Sort::linear_duplicate, Sort::bitmap};
    return sorts[random.below(std::size(sorts))];
}

TEST_F(ResamplePixels, OfNewBuffersAtRandom) {
    random_cases(1200, [&](Random &random, uint64_t number) {
        const int depths[] = {1, 2, 4, 7, 8, 8, 8, 12, 16, 16, 16, 20, 24, 24, 24, 32, 48, 64};
        const int bits = depths[random.below(std::size(depths))];
        Manner manner = random_manner(random);
        if (is_of_cells(path_of(manner, bits, true)) && !model::cells_take(bits, bits))
            manner = {true, 1, manner.method};
        SCOPED_TRACE(rerun(number));
        Side source(random_sort(random), bits, random_side(random), random_side(random), random);
        if (random.below(2) == 0 && source.partner() == 0)
            sharpen(source, random);
        check_new(manner, random_side(random), random_side(random), source);
        source.expect_picture();
        return !HasFailure();
    });
}

TEST_F(ResamplePixels, OfGivenBuffersAtRandom) {
    random_cases(1000, [&](Random &random, uint64_t number) {
        const int depths[] = {1, 2, 4, 8, 8, 12, 16, 20, 24, 24, 32, 48, 64};
        const int from = depths[random.below(std::size(depths))];
        int into = random.below(3) == 0 ? from : depths[random.below(std::size(depths))];
        const Manner manner = random_manner(random);
        if (is_of_cells(path_of(manner, from, true)) && !model::cells_take(from, into))
            into = 8;
        SCOPED_TRACE(rerun(number));
        const Side source(random_sort(random), from, random_side(random), random_side(random),
                          random);
        Side given(random_sort(random), into, random_side(random), random_side(random), random);
        check_given(manner, given, source);
        source.expect_picture();
        return !HasFailure();
    });
}

// --- special pictures ------------------------------------------------------------------------

// Every word through rows: nearest neighbour keeps bit 15, interpolation drops it.
TEST_F(ResamplePixels, OfEveryWord) {
    Picture picture(Geometry(256, 256, 16, BUF32_TILED));
    for (size_t i = 0; i < picture.image.bytes().size(); i += 2) {
        picture.image.bytes()[i] = uint8_t(i / 2);
        picture.image.bytes()[i + 1] = uint8_t(i / 2 >> 8);
    }
    const Buffer source(16, 256, 256);
    store(source, picture.image);
    for (Path path : {Path::nearest_rows, Path::bilinear_rows, Path::bicubic_rows})
        for (const auto &[width, height] : {std::pair{256, 256}, {255, 257}, {513, 300}})
            check_new({true, 0, manner_of(path).method}, width, height, picture, source);
}

// One pixel is all there is: every place reads it.
TEST_F(ResamplePixels, OfOnePixel) {
    Random random(test_seed(), 3);
    for (Path path : all_paths)
        for (const auto &[width, height] : {std::pair{1, 1}, {1, 2}, {2, 1}, {130, 131}}) {
            const Side source(bits_of(path), 1, 1, random);
            check_new(manner_of(path), width, height, source);
            const Side larger(bits_of(path), width, height, random);
            check_new(manner_of(path), 1, 1, larger);
        }
}

// Equal size is a copy, but for words that are interpolated: they lose bit 15. Cells that
// interpolate divide first and multiply then, which gives back the same places for some sides only.
TEST_F(ResamplePixels, OfEqualSizeAreCopies) {
    Random random(test_seed(), 4);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const bool exact = path == Path::bilinear_cells || path == Path::bicubic_cells;
        const int width = exact ? 256 : 150, height = exact ? 128 : 140;
        const Side source(bits_of(path), width, height, random);
        check_new(manner_of(path), width, height, source);
        HBUF32 handle = 0;
        ASSERT_EQ(resample(manner_of(path), width, height, source, &handle), 1);
        const Buffer made(handle);
        Picture expected = source.picture;
        if (bits_of(path) == 16)
            for (size_t i = 1; i < expected.image.bytes().size(); i += 2)
                expected.image.bytes()[i] &= 0x7F;
        expect_same_pixels(picture_of(made), expected);
    }
}

// The longest sides that a buffer can have.
TEST_F(ResamplePixels, OfTheLongestSides) {
    Random random(test_seed(), 5);
    for (Path path : all_paths)
        for (int side : {1, 31999, 32000}) {
            const Side wide(bits_of(path), 32000, 2, random);
            check_new(manner_of(path), side, 3, wide);
            const Side high(bits_of(path), 2, 32000, random);
            check_new(manner_of(path), 3, side, high);
            const Side narrow(bits_of(path), 7, 2, random);
            check_new(manner_of(path), 32000, 1, narrow);
        }
}

// Literals, so that the model is not the only witness.
class ResampleExamples : public ResampleTest {
protected:
    Bytes resampled_row(const Manner &manner, int bits, const Bytes &row, int into) {
        const int from = int(row.size()) * 8 / bits;
        const Buffer source(bits, from, 1);
        PlainImage image(Geometry(from, 1, bits, BUF32_TILED));
        std::copy_n(row.begin(), image.bytes().size(), image.bytes().begin());
        store(source, image);
        HBUF32 handle = 0;
        EXPECT_SUCCESS(resample(manner, into, 1, source, &handle));
        const Buffer made(handle);
        return made ? read_rows(made).bytes() : Bytes{};
    }
};

TEST_F(ResampleExamples, Nearest) {
    const Manner rows{true, 1, RESAMPLE_NEAREST}, cells{true, 0, RESAMPLE_NEAREST};
    EXPECT_EQ(resampled_row(rows, 8, {10, 20, 30}, 6), (Bytes{10, 10, 20, 20, 30, 30}));
    EXPECT_EQ(resampled_row(cells, 8, {10, 20, 30}, 6), (Bytes{10, 20, 20, 30, 30, 30}));
    // Reducing, the ends meet.
    const Bytes ten{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(resampled_row(rows, 8, ten, 4), (Bytes{0, 3, 6, 9}));
    EXPECT_EQ(resampled_row(cells, 8, ten, 4), (Bytes{0, 3, 6, 9}));
    EXPECT_EQ(resampled_row(rows, 8, ten, 1), (Bytes{0}));
    EXPECT_EQ(resampled_row(cells, 8, ten, 1), (Bytes{0}));
    // Places 0, 4.5, 9 and 0, 2.25, 4.5, 6.75, 9.
    EXPECT_EQ(resampled_row(rows, 8, ten, 3), (Bytes{0, 4, 9}));
    EXPECT_EQ(resampled_row(cells, 8, ten, 3), (Bytes{0, 5, 9}));
    EXPECT_EQ(resampled_row(rows, 8, ten, 5), (Bytes{0, 2, 4, 6, 9}));
    EXPECT_EQ(resampled_row(cells, 8, ten, 5), (Bytes{0, 2, 5, 7, 9}));
    // Words keep their highest bit.
    EXPECT_EQ(resampled_row({true, 0, RESAMPLE_NEAREST}, 16, {0xFF, 0xFF, 0x34, 0x92}, 3),
              (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x34, 0x92}));
}

TEST_F(ResampleExamples, Bilinear) {
    const Manner cells{true, 0, RESAMPLE_BILINEAR};
    // Fractions of a half and of three quarters; the last pixel has no neighbour.
    EXPECT_EQ(resampled_row(cells, 8, {0, 100}, 4), (Bytes{0, 50, 100, 100}));
    EXPECT_EQ(resampled_row(cells, 8, {100, 0}, 4), (Bytes{100, 50, 0, 0}));
    // The difference is halved first: 99 >> 1 is 49, and twice that is 98.
    EXPECT_EQ(resampled_row(cells, 8, {0, 99}, 4), (Bytes{0, 49, 99, 99}));
    EXPECT_EQ(resampled_row(cells, 8, {0, 255}, 8), (Bytes{0, 63, 127, 190, 255, 255, 255, 255}));
    // Cells reduce without meeting the ends.
    EXPECT_EQ(resampled_row(cells, 8, {0, 10, 20, 30, 40, 50}, 3), (Bytes{0, 20, 40}));
    // A word: black and white widened are 7 and 255.
    EXPECT_EQ(resampled_row({false}, 16, {0x00, 0x00, 0xFF, 0x7F}, 4),
              (Bytes{0x00, 0x00, 0x10, 0x42, 0xFF, 0x7F, 0xFF, 0x7F}));
    EXPECT_EQ(resampled_row({false}, 16, {0x00, 0x80, 0xFF, 0xFF}, 2),
              (Bytes{0x00, 0x00, 0xFF, 0x7F}));
}

TEST_F(ResampleExamples, Bits) {
    // Half way and beyond is the next pixel.
    EXPECT_EQ(resampled_row({false}, 1, {0b01100000}, 16), (Bytes{0b01111000, 0}));
    // Places 0, 2.33, 4.67 and 7.
    EXPECT_EQ(resampled_row({false}, 1, {0b01010101}, 4), (Bytes{0b00110000}));
    EXPECT_EQ(resampled_row({false}, 1, {0xFF}, 3), (Bytes{0xE0}));
}

} // namespace
} // namespace q32::test
