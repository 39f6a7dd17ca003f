// What a callback may do to the buffers while they are worked: duplicate, fill and write them, give
// up those that share with them, change their height. Pixels that are finished stay with whoever
// holds them, and those to come are right.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResampleMeanwhile : public ResampleTest {};

// Calls `then` before the row or cell of this number, counted from 0.
class Before : public Listener {
public:
    Before(Path path, int part, int parts, std::function<void()> then)
        : Listener(0, parts), then_(std::move(then)) {
        const Message wanted{RESAMPLE_PROGRESS, part};
        also = [this, path, wanted](const Message &message) {
            // With a range of the parts' number the value is the part.
            if (message == wanted ||
                (!is_of_cells(path) && wanted.value == 0 && message.message == RESAMPLE_BEGIN))
                then_();
        };
    }

private:
    std::function<void()> then_;
};

int parts_of(Path path, const Geometry &cells) {
    return int(is_of_cells(path) ? cells.cell_count() : cells.height);
}

// A duplicate shows what was finished when it was taken.
TEST_F(ResampleMeanwhile, DestinationIsDuplicated) {
    Random random(test_seed(), 1);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear, Sort::shared, Sort::bitmap})
            for (int part : {0, 1, 3}) {
                SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort) + ", before part " +
                             std::to_string(part));
                const Side source(bits_of(path), 150, 140, random);
                Side given(sort, bits_of(path), 200, 190, random);
                const int parts = parts_of(path, given.cells());
                if (part >= parts)
                    continue;
                HBUF32 duplicate = 0;
                Before listener(path, part, parts, [&] { duplicate = duplicate_of(given); });
                EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                const Buffer taken(duplicate);
                ASSERT_TRUE(taken);
                Picture then = given.picture;
                model::resample(path, source.picture, then, given.cells(), part);
                model::resample(path, source.picture, given.picture, given.cells());
                expect_rows(taken, then);
                given.expect_picture();
                EXPECT_EQ(given.locks(), 0u);
            }
}

TEST_F(ResampleMeanwhile, DestinationIsDuplicatedAtEveryMessage) {
    Random random(test_seed(), 2);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 50, 40, random);
        HBUF32 handle = 0;
        std::vector<HBUF32> duplicates;
        Listener listener(0, 4);
        listener.also = [&](const Message &message) {
            if (message.message == RESAMPLE_PROGRESS)
                duplicates.push_back(duplicate_of(handle));
        };
        EXPECT_SUCCESS(resample(manner_of(path), 200, 160, source, &handle, listener));
        const Buffer made(handle);
        const Geometry cells(200, 160, bits_of(path), BUF32_TILED);
        Picture picture(cells); // the system has just provided the memory
        EXPECT_EQ(duplicates.size(), is_of_cells(path) ? 4u : 3u);
        for (size_t i = 0; i < duplicates.size(); ++i) {
            const int done = is_of_cells(path) ? int(i) : int(i + 1) * 40;
            const Buffer duplicate(duplicates[i]);
            model::resample(path, source.picture, picture, cells, done);
            expect_rows(duplicate, picture);
        }
        model::resample(path, source.picture, picture, cells);
        expect_rows(made, picture);
    }
}

// Rows or cells of the first `count` parts of a picture become those of another one.
void set_parts(Path path, const Geometry &cells, int count, Picture &picture, const Picture &from) {
    for (int64_t y = 0; y < cells.height; ++y)
        for (int64_t x = 0; x < cells.width; ++x) {
            const int64_t part = !is_of_cells(path) ? y
                                                    : y / cells.cell_height() * cells.columns() +
                                                          x / cells.cell_width();
            if (part < count)
                move_pixel(picture.bits(), picture.image.row(size_t(y)), picture.bit_of(x),
                           from.image.row(size_t(y)), from.bit_of(x));
        }
}

// What was finished is the colour's; what comes after is written over it.
TEST_F(ResampleMeanwhile, DestinationIsFilled) {
    Random random(test_seed(), 3);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::duplicate, Sort::linear})
            for (int part : {0, 2}) {
                SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort) + ", before part " +
                             std::to_string(part));
                const Side source(bits_of(path), 150, 140, random);
                Side given(sort, bits_of(path), 200, 190, random);
                const Geometry cells = given.cells();
                const int parts = parts_of(path, cells);
                if (part >= parts)
                    continue;
                Before listener(path, part, parts,
                                [&] { EXPECT_EQ(api().buf32FillOneColor(given, some_colour), 1); });
                EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                Picture result = given.picture;
                model::resample(path, source.picture, result, cells);
                set_parts(path, cells, part, result,
                          OneColourSubject(bits_of(path), 200, 190).picture);
                expect_same_pixels(picture_of(given), result);
                EXPECT_EQ(given.locks(), 0u);
                given.picture = result;
            }
}

// The destination gives its pixels up to share another buffer's: what was finished is that one's,
// and what comes after is written to pixels that are the destination's own again.
TEST_F(ResampleMeanwhile, DestinationBecomesADuplicate) {
    Random random(test_seed(), 6);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear})
            for (int part : {0, 1, 2}) {
                SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort) + ", before part " +
                             std::to_string(part));
                const Side source(bits_of(path), 150, 140, random);
                Side given(sort, bits_of(path), 200, 190, random);
                const Side other(sort, bits_of(path), 200, 190, random);
                const Geometry cells = given.cells();
                const int parts = parts_of(path, cells);
                if (part >= parts)
                    continue;
                Before listener(path, part, parts, [&] {
                    HBUF32 handle = given;
                    EXPECT_EQ(api().buf32DupBuf(other, &handle), 1);
                });
                EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                model::resample(path, source.picture, given.picture, cells);
                set_parts(path, cells, part, given.picture, other.picture);
                given.expect_picture();
                other.expect_picture();
                EXPECT_EQ(given.locks(), 0u);
                EXPECT_EQ(other.locks(), 0u);
            }
}

// The source is a duplicate, and the one whose pixels it reads is written, filled or freed: it has
// its pixels somewhere else from then on.
TEST_F(ResampleMeanwhile, SourceGetsPixelsOfItsOwn) {
    Random random(test_seed(), 4);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear})
            for (int part : {0, 1, 3})
                for (int what = 0; what < 3; ++what) {
                    SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort) +
                                 ", before part " + std::to_string(part) + ", what " +
                                 std::to_string(what));
                    const Side picture(sort, bits_of(path), 150, 140, random);
                    Buffer first(bits_of(path), 150, 140,
                                 picture.picture.geometry.linear ? BUF32_LINEAR : BUF32_TILED);
                    store(first, picture.picture.image);
                    const Buffer source(duplicate_of(first));
                    Side given(bits_of(path), 200, 190, random);
                    const int parts = parts_of(path, given.cells());
                    Before listener(path, part, parts, [&] {
                        const Bytes zeros(150 * 140 * 3);
                        if (what == 0)
                            EXPECT_EQ(api().buf32MergeMem(first, 0, 0, zeros.data(), 150, 140), 1);
                        else if (what == 1)
                            EXPECT_EQ(api().buf32FillOneColor(first, zeros.data()), 1);
                        else
                            first.free();
                    });
                    EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                    model::resample(path, picture.picture, given.picture, given.cells());
                    given.expect_picture();
                    expect_rows(source, picture.picture);
                    EXPECT_EQ(word(source, field_lock_count), 0u);
                }
}

// The source itself is filled with one colour and then written again: its pixels lie in cells, then
// nowhere, then in cells anew. Each cell is made of what the source is when it is begun.
TEST_F(ResampleMeanwhile, SourceBecomesSomethingElse) {
    Random random(test_seed(), 8);
    for (Path path : {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells})
        for (int bits : {8, 24})
            for (int width : {150, 400, 900, 2000})
                for (Sort sort : {Sort::tiled, Sort::linear, Sort::duplicate}) {
                    SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort) + ", " +
                                 size_text(bits, width, 40));
                    const Side source(sort, bits, width, 40, random);
                    Side given(bits, 290, 200, random); // of six cells
                    const Geometry cells = given.cells();
                    const Picture first = source.picture;
                    const OneColourSubject filled(bits, width, 40);
                    Picture second(Geometry(width, 40, bits, BUF32_TILED));
                    for (uint8_t &byte : second.image.bytes())
                        byte = uint8_t(random.below(256));
                    Listener listener(0, 6);
                    listener.also = [&](const Message &message) {
                        if (message == Message{RESAMPLE_PROGRESS, 1}) {
                            EXPECT_EQ(api().buf32FillOneColor(source, some_colour), 1);
                        }
                        if (message == Message{RESAMPLE_PROGRESS, 4})
                            store(source, second.image);
                    };
                    EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                    Picture colour = given.picture, result = given.picture;
                    model::resample(path, second, result, cells);
                    model::resample(path, filled.picture, colour, cells);
                    set_parts(path, cells, 4, result, colour);
                    model::resample(path, first, colour, cells);
                    set_parts(path, cells, 1, result, colour);
                    given.picture = result;
                    given.expect_picture();
                    EXPECT_EQ(source.locks(), 0u);
                    if (HasFailure())
                        return;
                }
}

// A height that shrinks leaves rows that are no longer there. What then comes out is nobody's
// promise, but nothing outside the image is touched, and the next call is right.
TEST_F(ResampleMeanwhile, HeightsChange) {
    Random random(test_seed(), 5);
    for (Path path : all_paths)
        for (bool source_shrinks : {false, true})
            for (int rows : {1, 30}) {
                SCOPED_TRACE(std::string(name_of(path)) + (source_shrinks ? ", source" : "") +
                             ", to " + std::to_string(rows) + " rows");
                const int bits = bits_of(path);
                const Buffer source(bits, 150, 400, BUF32_LINEAR_MEMORY);
                const Buffer given(bits, 200, 300, BUF32_LINEAR_MEMORY);
                const HBUF32 shrinks = source_shrinks ? source : given;
                const int before = source_shrinks ? 400 : 300;
                fill(source, random);
                const Census census = Census::now();
                const LockBalance lock;
                const int parts = is_of_cells(path) ? 1 : 300;
                Before listener(path, is_of_cells(path) ? 0 : 100, parts,
                                [&] { EXPECT_EQ(api().buf32ReAlloc(shrinks, rows), 1); });
                resample_into(given, manner_of(path), source, listener);
                forget_reports();
                EXPECT_EQ(Census::now(), census);
                EXPECT_TRUE(lock.balanced());
                EXPECT_EQ(word(source, field_lock_count), 0u);
                EXPECT_EQ(word(given, field_lock_count), 0u);
                EXPECT_EQ(word(shrinks, field_height), uint32_t(rows));
                EXPECT_EQ(api().buf32ReAlloc(shrinks, before), 1);
                const PlainImage pixels = fill(source, random);
                Picture from(Geometry(150, 400, bits, BUF32_LINEAR_MEMORY));
                from.image = pixels;
                Picture to(Geometry(200, 300, bits, BUF32_LINEAR_MEMORY));
                EXPECT_SUCCESS(resample_into(given, manner_of(path), source));
                model::resample(path, from, to, to.geometry);
                expect_rows(given, to);
            }
}

// A destination that was smaller when the work began: the rows that come back are left as they are.
TEST_F(ResampleMeanwhile, DestinationGrows) {
    Random random(test_seed(), 7);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const int bits = bits_of(path), rows = 290, all_rows = 300; // of the same pages
        const Side source(bits, 150, 140, random);
        const Buffer given(bits, 20, all_rows, BUF32_LINEAR_MEMORY);
        Picture expected(Geometry(20, all_rows, bits, BUF32_LINEAR_MEMORY));
        expected.image = fill(given, random);
        EXPECT_EQ(api().buf32ReAlloc(given, rows), 1);
        const bool cells = is_of_cells(path);
        Before listener(path, cells ? 0 : 100, cells ? 1 : rows,
                        [&] { EXPECT_EQ(api().buf32ReAlloc(given, all_rows), 1); });
        EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
        Picture made(Geometry(20, rows, bits, BUF32_LINEAR_MEMORY));
        model::resample(path, source.picture, made, made.geometry);
        for (size_t y = 0; y < size_t(rows); ++y)
            std::memcpy(expected.image.row(y), made.image.row(y), made.image.row_bytes());
        EXPECT_EQ(word(given, field_height), uint32_t(all_rows));
        EXPECT_EQ(word(given, field_lock_count), 0u);
        expect_rows(given, expected);
    }
}

} // namespace
} // namespace q32::test
