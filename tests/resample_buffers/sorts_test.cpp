// Sources and destinations of every sort; buffers that share pixels with each other; swap files;
// and memory of the caller, which is read to its last byte and no further.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResampleSorts : public ResampleTest {};

TEST_F(ResampleSorts, EverySourceIntoANewBuffer) {
    Random random(test_seed(), 1);
    for (Path path : all_paths)
        for (Sort sort : all_sorts) {
            if (sort == Sort::one_colour || sort == Sort::filled)
                continue;
            SCOPED_TRACE(name_of(sort));
            const Side source(sort, bits_of(path), 190, 150, random);
            check_new(manner_of(path), 140, 210, source);
            check_new(manner_of(path), 300, 90, source);
            check_new(manner_of(path), 19, 13, source); // most rows are passed over
            source.expect_picture();
        }
}

TEST_F(ResampleSorts, EverySourceIntoEveryDestination) {
    Random random(test_seed(), 2);
    for (Path path : all_paths)
        for (Sort from : all_sorts)
            for (Sort into : all_sorts) {
                SCOPED_TRACE(std::string(name_of(from)) + " into " + name_of(into));
                const Side source(from, bits_of(path), 150, 20, random);
                Side given(into, bits_of(path), 170, 33, random);
                check_given(manner_of(path), given, source);
                source.expect_picture();
                if (HasFailure())
                    return;
            }
}

// A destination of one colour or of a pattern becomes an ordinary one.
TEST_F(ResampleSorts, SpecialDestinationsBecomeOrdinary) {
    Random random(test_seed(), 3);
    for (Path path : all_paths)
        for (Sort sort : {Sort::one_colour, Sort::filled, Sort::pattern}) {
            const Side source(bits_of(path), 20, 10, random);
            Side given(sort, bits_of(path), 200, 160, random);
            check_given(manner_of(path), given, source);
            EXPECT_EQ(word(given, field_type), BUF32_TILED);
        }
}

// --- sharing ---------------------------------------------------------------------------------

// Source and destination share their pixels until the destination is written: then the source's
// lie somewhere else, when it is the duplicate.
TEST_F(ResampleSorts, SourceAndDestinationThatShare) {
    Random random(test_seed(), 4);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear, Sort::bitmap, Sort::file})
            for (int relation = 0; relation < 4; ++relation) {
                SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort) + ", relation " +
                             std::to_string(relation));
                const Side first(sort, bits_of(path), 150, 140, random);
                const Buffer second(duplicate_of(first)), third(duplicate_of(second));
                const Picture before = first.picture;
                const HBUF32 source = relation == 0   ? HBUF32(first)
                                      : relation == 1 ? HBUF32(second)
                                      : relation == 2 ? HBUF32(second)
                                                      : HBUF32(third);
                const HBUF32 given = relation == 0   ? HBUF32(second)
                                     : relation == 1 ? HBUF32(first)
                                     : relation == 2 ? HBUF32(third)
                                                     : HBUF32(second);
                const HBUF32 other = relation == 0   ? HBUF32(third)
                                     : relation == 1 ? HBUF32(third)
                                                     : HBUF32(first);
                EXPECT_SUCCESS(resample_into(given, manner_of(path), source));
                Picture expected = before;
                model::resample(path, before, expected, before.geometry);
                expect_rows(given, expected);
                expect_rows(source, before);
                expect_rows(other, before);
                for (HBUF32 buffer : {source, given, other})
                    EXPECT_EQ(word(buffer, field_lock_count), 0u);
            }
}

// The other way of writing into a family: all of its members keep their pixels.
TEST_F(ResampleSorts, SharersOfADestinationKeepTheirPixels) {
    Random random(test_seed(), 5);
    for (Path path : all_paths)
        for (bool into_duplicate : {false, true}) {
            const Side source(bits_of(path), 50, 60, random);
            const Side first(bits_of(path), 150, 140, random);
            const Buffer second(duplicate_of(first)), third(duplicate_of(first));
            EXPECT_SUCCESS(resample_into(into_duplicate ? HBUF32(second) : HBUF32(first),
                                         manner_of(path), source));
            Picture expected = first.picture;
            model::resample(path, source.picture, expected, expected.geometry);
            expect_rows(first, into_duplicate ? first.picture : expected);
            expect_rows(second, into_duplicate ? expected : first.picture);
            expect_rows(third, first.picture);
        }
}

// Reading makes nobody a copy.
TEST_F(ResampleSorts, SourcesGoOnSharing) {
    Random random(test_seed(), 6);
    for (Path path : all_paths)
        for (Sort sort : {Sort::duplicate, Sort::shared, Sort::linear_duplicate,
                          Sort::bitmap_duplicate, Sort::bitmap_shared}) {
            const Side source(sort, bits_of(path), 150, 140, random);
            const auto markers = [&] {
                return std::pair{word(source, field_share_marker),
                                 word(source.partner(), field_share_marker)};
            };
            const auto before = markers();
            check_new(manner_of(path), 70, 80, source);
            EXPECT_EQ(markers(), before);
            source.expect_picture();
        }
}

// --- swap files ------------------------------------------------------------------------------

TEST_F(ResampleSorts, InSwapFiles) {
    Random random(test_seed(), 7);
    set_memory_limit(1, 0);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear, Sort::duplicate, Sort::one_colour}) {
            SCOPED_TRACE(name_of(sort));
            const Side source(bits_of(path), 190, 150, random);
            Side given(sort, bits_of(path), 200, 160, random);
            EXPECT_GT(mapped_bytes(), 0u);
            check_given(manner_of(path), given, source);
            EXPECT_NE(word(given, field_mapping), 0u);
            const size_t mapped = mapped_bytes();
            HBUF32 handle = 0;
            EXPECT_SUCCESS(resample(manner_of(path), 150, 190, source, &handle));
            const Buffer made(handle);
            EXPECT_NE(word(made, field_mapping), 0u);
            EXPECT_EQ(mapped_bytes(), mapped + word(made, field_reserved_bytes));
            Picture expected(Geometry(150, 190, bits_of(path), BUF32_TILED));
            model::resample(path, source.picture, expected, expected.geometry);
            expect_rows(made, expected);
        }
    set_memory_limit(0, 0);
}

// --- memory of the caller --------------------------------------------------------------------

// The memory ends, or begins, at an inaccessible page and cannot be written.
TEST_F(ResampleSorts, CallerMemoryIsReadToItsEdges) {
    random_cases(250, [&](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const Path path = all_paths[random.below(std::size(all_paths))];
        const int depths[] = {8, 16, 24, 32, 40, 48, 56, 64};
        const int few[] = {1, 2, 4, 7};
        const int bits = path == Path::bits           ? few[random.below(4)]
                         : path == Path::nearest_rows ? depths[random.below(8)]
                         : is_of_cells(path)          ? (random.below(2) == 0 ? 8 : 24)
                                                      : 16;
        const Subject source(Kind::caller_memory, bits, between(random, 1, 150),
                             between(random, 1, 60), random);
        check_new(manner_of(path), between(random, 1, 200), between(random, 1, 60), source.picture,
                  source);
        source.expect_picture();
        return !HasFailure();
    });
}

// The first byte of each pixel, resampled into 8 bits: the last pixel is read to its end at most.
TEST_F(ResampleSorts, CallerMemoryOfOtherDepths) {
    random_cases(120, [&](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const int depths[] = {24, 32, 40, 48, 56, 64};
        const Subject source(Kind::caller_memory, depths[random.below(6)], between(random, 1, 150),
                             between(random, 1, 60), random);
        Side given(8, between(random, 1, 200), between(random, 1, 60), random);
        const int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC};
        check_given({true, 0, methods[random.below(3)]}, given, source.picture, source);
        source.expect_picture();
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
