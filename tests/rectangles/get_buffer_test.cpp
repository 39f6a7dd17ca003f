// buf32GetBuf: a rectangle of a buffer into another one, which is made where there is none.
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class GetBuffer : public RectangleTest {};

int get_buffer(HBUF32 source, const Area &area, HBUF32 *destination) {
    return api().buf32GetBuf(source, area.x, area.y, area.width, area.height, destination);
}

// A new buffer of the rectangle, which must be of this type; what of it lies in the source shows
// the source's pixels.
void check_new_buffer(const Subject &source, const Area &area, uint32_t type) {
    SCOPED_TRACE(text_of(area));
    HBUF32 handle = 0;
    EXPECT_SUCCESS(get_buffer(source, area, &handle));
    ASSERT_NE(handle, 0u);
    const Buffer made(handle);
    EXPECT_EQ(word(made, field_type), type);
    EXPECT_EQ(word(made, field_bits_per_pixel), uint32_t(source.bits()));
    EXPECT_EQ(word(made, field_width), uint32_t(area.width));
    EXPECT_EQ(word(made, field_height), uint32_t(area.height));
    EXPECT_EQ(word(made, field_lock_count), 0u);
    const Picture shown = picture_of(made);
    Picture expected = shown;
    expected.merge(source.picture, area, 0, 0);
    expect_same_pixels(shown, expected);
}

void check_existing_buffer(const Subject &source, const Area &area, Subject &destination) {
    SCOPED_TRACE(text_of(area));
    HBUF32 handle = destination;
    destination.picture.merge(source.picture, area, 0, 0);
    EXPECT_SUCCESS(get_buffer(source, area, &handle));
    EXPECT_EQ(handle, HBUF32(destination));
}

// --- a new buffer ----------------------------------------------------------------------------

TEST_F(GetBuffer, MakesABufferOfTheSourcesType) {
    Random random(test_seed(), 1);
    for (Kind kind : all_kinds) {
        SCOPED_TRACE(name_of(kind));
        const uint32_t type = kind == Kind::caller_memory ? BUF32_TILED : type_of(kind);
        Subject source(kind, 24, 300, 200, random);
        const Area areas[] = {{0, 0, 299, 200},  {0, 0, 300, 199},    {0, 0, 301, 200},
                              {1, 0, 300, 200},  {0, 1, 300, 200},    {-1, 0, 300, 200},
                              {0, -1, 300, 200}, {10, 20, 30, 40},    {120, 120, 20, 20},
                              {299, 199, 1, 1},  {-50, -60, 100, 70}, {290, 190, 400, 300}};
        for (const Area &area : areas)
            check_new_buffer(source, area, type);
        source.expect_picture();
    }
}

TEST_F(GetBuffer, MakesBuffersOfAllDepths) {
    Random random(test_seed(), 2);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Subject source(Kind::tiled, bits, 270, 140, random);
        for (int i = 0; i < 8; ++i)
            check_new_buffer(source, random_area(random, 270, 140), BUF32_TILED);
        if (HasFailure())
            return;
    }
}

// A type that no constant names is laid out in cells, but is nothing to make another one of.
TEST_F(GetBuffer, MakesATiledOneOfAnUnknownType) {
    Random random(test_seed(), 3);
    Buffer odd(8, 300, 200, 0x100);
    const PlainImage image = fill(odd, random);
    HBUF32 handle = 0;
    EXPECT_SUCCESS(api().buf32GetBuf(odd, 1, 2, 100, 50, &handle));
    const Buffer made(handle);
    ASSERT_TRUE(made);
    EXPECT_EQ(word(made, field_type), BUF32_TILED);
    Bytes row(100);
    EXPECT_SUCCESS(api().buf32GetMem(made, 0, 49, 100, 1, row.data()));
    EXPECT_EQ(std::memcmp(row.data(), image.row(51) + 1, 100), 0);
}

TEST_F(GetBuffer, OfTheWholeSourceIsADuplicate) {
    Random random(test_seed(), 4);
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Buffer source(24, 300, 200, type);
        const PlainImage image = fill(source, random);
        const size_t in_use = memory_in_use(), mapped = mapped_bytes();
        HBUF32 first = 0, second = 0;
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &first));
        EXPECT_SUCCESS(api().buf32GetBuf(first, 0, 0, 300, 200, &second)); // shares with the source
        const Buffer made(first), again(second);
        ASSERT_TRUE(made && again);
        EXPECT_NE(first, second);
        for (HBUF32 duplicate : {first, second}) {
            EXPECT_EQ(word(duplicate, field_type), type);
            EXPECT_EQ(word(duplicate, field_share_marker), 64u);
            EXPECT_EQ(word(duplicate, field_source), uintptr_t(source));
            EXPECT_EQ(word(duplicate, field_storage), 0u);
        }
        EXPECT_EQ(memory_in_use(), in_use);
        EXPECT_EQ(mapped_bytes(), mapped);
        // Written, each has its own.
        uint8_t pixel[3] = {9, 8, 7};
        EXPECT_SUCCESS(api().buf32MergeMem(made, 299, 199, pixel, 1, 1));
        EXPECT_EQ(word(made, field_share_marker), 0u);
        pixel[0] = 1;
        EXPECT_SUCCESS(api().buf32MergeMem(source, 299, 199, pixel, 1, 1));
        EXPECT_EQ(word(again, field_share_marker), 0u);
        for (HBUF32 buffer : {first, second, HBUF32(source)}) {
            PlainImage expected = image;
            uint8_t *const last = expected.row(199) + 897;
            if (buffer != second) {
                last[0] = buffer == first ? 9 : 1;
                last[1] = 8;
                last[2] = 7;
            }
            EXPECT_EQ(read_rows(buffer).bytes(), expected.bytes());
        }
    }
}

// Whoever cannot have a duplicate still gets a copy; the duplicate's report tells.
TEST_F(GetBuffer, OfTheWholeSourceIsACopyWhenNoDuplicateCanBeHad) {
    Random random(test_seed(), 5);
    Subject source(Kind::tiled, 24, 300, 200, random);
    HBUF32 handle = 0;
    {
        FailingCall record("GlobalAlloc", 1);
        EXPECT_EQ(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), 1);
        expect_report(1001, 1, 3, 8);
    }
    const Buffer made(handle);
    ASSERT_TRUE(made);
    EXPECT_EQ(word(made, field_share_marker), 0u);
    expect_rows(made, source.picture);
    EXPECT_EQ(memory_in_use(), 360000u);
}

// Nothing of the source: the buffer is made all the same, and success.
TEST_F(GetBuffer, OutsideTheSourceMakesAnUnfilledBuffer) {
    Random random(test_seed(), 6);
    for (Kind kind : all_kinds) {
        SCOPED_TRACE(name_of(kind));
        Subject source(kind, 8, 300, 200, random);
        const Area areas[] = {{300, 0, 20, 10},     {-20, 0, 20, 10},    {0, 200, 20, 10},
                              {0, -10, 20, 10},     {5000, 0, 300, 200}, {INT_MIN, INT_MIN, 20, 10},
                              {INT_MAX, 0, 20, 10}, {0, INT_MAX, 20, 10}};
        for (const Area &area : areas) {
            StripWatch watch;
            check_new_buffer(source, area,
                             kind == Kind::caller_memory ? BUF32_TILED : type_of(kind));
        }
    }
}

TEST_F(GetBuffer, ThatCannotBeMadeLeavesTheHandle) {
    Random random(test_seed(), 7);
    for (Kind kind : all_kinds) {
        SCOPED_TRACE(name_of(kind));
        Subject source(kind, 8, 300, 200, random);
        const int live = api().buf32CountBuf(nullptr);
        HBUF32 handle = 0;
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 0, 200, &handle), 3200, 0, 4, 7);
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 0, &handle), 3200, 0, 4, 7);
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, -300, -200, &handle), 3200, 0, 4, 7);
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 32001, 200, &handle), 5402, 0, 4, 71);
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 32001, &handle), 5403, 0, 4, 72);
        EXPECT_REPORT(api().buf32GetBuf(source, INT_MIN, INT_MIN, INT_MAX, INT_MAX, &handle), 5402,
                      0, 4, 71);
        {
            FailingCall probe("GlobalAlloc", 1);
            EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 299, 200, &handle), 1001, 0, 4, 9);
        }
        const NoStorage none;
        if (kind == Kind::linear_memory) {
            FailingCall memory("VirtualAlloc", 1);
            EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 299, 200, &handle), 1001, 0, 4, 4);
        } else {
            EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 299, 200, &handle), 1001, 0, 4, 3);
        }
        EXPECT_EQ(handle, 0u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), live);
    }
}

// The strip is all that fails: the buffer that was made for it goes again.
TEST_F(GetBuffer, WithoutAStripFreesWhatItMade) {
    Random random(test_seed(), 8);
    for (Kind kind : all_kinds) {
        SCOPED_TRACE(name_of(kind));
        Subject source(kind, 8, 100, 100, random);
        const int live = api().buf32CountBuf(nullptr);
        const size_t in_use = memory_in_use();
        HBUF32 handle = 0;
        int calls;
        {
            // A rectangle outside the image takes all calls but the strip's.
            FailingCall count("GlobalAlloc", 0);
            EXPECT_SUCCESS(api().buf32GetBuf(source, 500, 0, 90, 70, &handle));
            calls = count.calls();
            Buffer(handle).free();
            handle = 0;
        }
        FailingCall strips("GlobalAlloc", calls + 1, FailingCall::from_there_on);
        EXPECT_REPORT(api().buf32GetBuf(source, 5, 0, 90, 70, &handle), 1001, 1, 4, 19);
        EXPECT_EQ(strips.calls(), calls + 7); // 70, 35, 17, 8, 4, 2 and 1 rows
        EXPECT_EQ(handle, 0u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), live);
        EXPECT_EQ(memory_in_use(), in_use);
    }
}

// --- an existing buffer ----------------------------------------------------------------------

TEST_F(GetBuffer, IntoEveryKindFromEveryKind) {
    Random random(test_seed(), 9);
    for (Kind from : all_kinds)
        for (Kind into : writable_kinds) {
            SCOPED_TRACE(std::string(name_of(from)) + " into " + name_of(into));
            const int depths[] = {1, 2, 4, 8, 16, 24, 32, 48, 64};
            const int bits = depths[random.below(std::size(depths))];
            Subject source(from, bits, 260, 150, random);
            Subject destination(into, bits, 150, 260, random);
            for (int i = 0; i < 4; ++i) {
                check_existing_buffer(source, random_area(random, 260, 150), destination);
                destination.expect_picture();
            }
            source.expect_picture();
            if (HasFailure())
                return;
        }
}

TEST_F(GetBuffer, IntoExistingBuffersOfAllDepths) {
    Random random(test_seed(), 10);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Subject source(Kind::tiled, bits, 270, 140, random);
        Subject destination(Kind::tiled, bits, 140, 135, random);
        for (int i = 0; i < 12; ++i) {
            check_existing_buffer(source, random_area(random, 270, 140), destination);
            destination.expect_picture();
        }
        if (HasFailure())
            return;
    }
}

// (0, 0) of the destination stands for (x, y), also where that lies outside the source.
TEST_F(GetBuffer, PutsPixelsWhereTheRectangleHasThem) {
    Buffer source(8, 4, 3), destination(8, 6, 5);
    Picture from(geometry_of(source)), into(geometry_of(destination));
    for (size_t i = 0; i < 12; ++i)
        from.image.bytes()[i] = uint8_t(i + 1);
    store(source, from.image);
    store(destination, into.image);
    HBUF32 handle = destination;
    EXPECT_SUCCESS(api().buf32GetBuf(source, -1, -2, 4, 4, &handle));
    const Bytes expected = {0, 0, 0, 0, 0, 0, //
                            0, 0, 0, 0, 0, 0, //
                            0, 1, 2, 3, 0, 0, //
                            0, 5, 6, 7, 0, 0, //
                            0, 0, 0, 0, 0, 0};
    EXPECT_EQ(read_rows(destination).bytes(), expected);
}

TEST_F(GetBuffer, OfTheWholeSourceIntoItsLikeIsADuplicate) {
    Random random(test_seed(), 11);
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Buffer source(24, 300, 200, type), destination(24, 300, 200, type);
        const PlainImage image = fill(source, random);
        fill(destination, random);
        HBUF32 handle = destination;
        {
            StripWatch watch;
            EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle));
            EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{}); // nothing is copied
        }
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(word(destination, field_share_marker), 64u);
        EXPECT_EQ(word(destination, field_source), uintptr_t(source));
        EXPECT_EQ(read_rows(destination).bytes(), image.bytes());
        {
            // It reads the same pixels already.
            StripWatch watch;
            EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle));
            EXPECT_SUCCESS(api().buf32GetBuf(destination, 0, 0, 300, 200, &handle));
            handle = source;
            EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle));
            EXPECT_SUCCESS(api().buf32GetBuf(destination, 0, 0, 300, 200, &handle));
            EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{});
        }
        EXPECT_EQ(handle, HBUF32(source));
        EXPECT_EQ(word(destination, field_source), uintptr_t(source));
        EXPECT_EQ(read_rows(source).bytes(), image.bytes());
        EXPECT_EQ(read_rows(destination).bytes(), image.bytes());
    }
}

// Another type or size, or a part of the source, is copied and shares nothing.
TEST_F(GetBuffer, OfOtherTypesAndSizesIsACopy) {
    Random random(test_seed(), 12);
    Subject source(Kind::tiled, 24, 300, 200, random);
    Subject linear(Kind::linear, 24, 300, 200, random), file(Kind::file, 24, 300, 200, random),
        narrow(Kind::tiled, 24, 299, 200, random), high(Kind::tiled, 24, 300, 201, random),
        same(Kind::tiled, 24, 300, 200, random);
    for (Subject *destination : {&linear, &file, &narrow, &high}) {
        check_existing_buffer(source, {0, 0, 300, 200}, *destination);
        EXPECT_EQ(word(*destination, field_share_marker), 0u);
        destination->expect_picture();
    }
    for (const Area &area : {Area{0, 0, 300, 199},
                             {0, 0, 299, 200},
                             {1, 0, 300, 200},
                             {0, -1, 300, 200},
                             {0, 0, 301, 201}}) {
        check_existing_buffer(source, area, same);
        EXPECT_EQ(word(same, field_share_marker), 0u);
        same.expect_picture();
    }
    EXPECT_EQ(word(source, field_first_sharer), 0u);
    source.expect_picture();
}

TEST_F(GetBuffer, OutsideEitherImageCopiesNothing) {
    Random random(test_seed(), 13);
    Subject source(Kind::tiled, 8, 300, 200, random);
    Subject destination(Kind::duplicate, 8, 100, 50, random);
    const Area areas[] = {{300, 0, 20, 10},
                          {-20, 0, 20, 10},
                          {0, 200, 20, 10},
                          {0, -10, 20, 10},
                          {0, 0, 0, 10},
                          {0, 0, 10, 0},
                          {0, 0, -10, -10},
                          {-100, 0, 400, 200}, // meets the source, but not the destination
                          {0, -50, 300, 200},
                          {-120, -60, 400, 300},
                          {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
                          {INT_MAX, INT_MAX, INT_MAX, INT_MAX},
                          {-INT_MAX, 0, INT_MAX, 200},
                          {-2147483000, 0, INT_MAX, 200},
                          {0, -2147483000, 300, INT_MAX},
                          {INT_MIN, INT_MIN, INT_MIN, INT_MIN}};
    for (const Area &area : areas) {
        SCOPED_TRACE(text_of(area));
        HBUF32 handle = destination;
        StripWatch watch;
        EXPECT_SUCCESS(get_buffer(source, area, &handle));
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{});
    }
    EXPECT_EQ(word(destination, field_share_marker), 64u); // nothing was written
    destination.expect_picture();
}

TEST_F(GetBuffer, OfEndlessRectangles) {
    Random random(test_seed(), 14);
    Subject source(Kind::tiled, 24, 300, 200, random);
    Subject destination(Kind::tiled, 24, 280, 190, random);
    for (const Area &area : {Area{0, 0, INT_MAX, INT_MAX},
                             {7, 9, INT_MAX, INT_MAX},
                             {-7, -9, INT_MAX, INT_MAX},
                             {299, 199, INT_MAX, 1}}) {
        check_existing_buffer(source, area, destination);
        destination.expect_picture();
    }
}

TEST_F(GetBuffer, OfAnotherDepthIsReported) {
    Random random(test_seed(), 15);
    Subject source(Kind::tiled, 24, 300, 200, random);
    Subject destination(Kind::tiled, 32, 300, 200, random), bits(Kind::linear, 1, 300, 200, random);
    for (const Subject *into : {&destination, &bits}) {
        HBUF32 handle = *into;
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), 3200, 1, 4, 18);
        EXPECT_REPORT(api().buf32GetBuf(source, 5, 5, 10, 10, &handle), 3200, 1, 4, 18);
        // With nothing to copy the depths are not looked at.
        EXPECT_SUCCESS(api().buf32GetBuf(source, 300, 0, 10, 10, &handle));
        EXPECT_EQ(handle, HBUF32(*into));
        into->expect_picture();
    }
}

// The whole is tried as a duplicate only where the depths agree as well: one report, of the copy.
TEST_F(GetBuffer, TheWholeOfAnotherDepthIsReportedOnce) {
    const BUF32PATTERN pattern{2, 1, some_colour};
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK,
                          BUF32_PATTERN, BUF32_TILED_FILE})
        for (const auto &[from, into] : {std::pair{24, 32}, {8, 1}, {8, 12}, {1, 8}}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", " + std::to_string(from) +
                         " bits into " + std::to_string(into));
            const Buffer source(from, 300, 200, type, &pattern),
                destination(into, 300, 200, type, &pattern);
            HBUF32 handle = destination;
            EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), 3200, 1, 4, 18);
            EXPECT_EQ(handle, HBUF32(destination));
            EXPECT_EQ(word(destination, field_type), type);
            EXPECT_EQ(word(destination, field_share_marker), 0u);
        }
}

TEST_F(GetBuffer, WithoutAStripLeavesTheDestination) {
    Random random(test_seed(), 16);
    Subject source(Kind::tiled, 24, 300, 200, random);
    for (Kind kind : writable_kinds) {
        SCOPED_TRACE(name_of(kind));
        Subject destination(kind, 24, 200, 100, random);
        HBUF32 handle = destination;
        FailingCall strips("GlobalAlloc", 1, FailingCall::from_there_on);
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), 1001, 1, 4, 19);
        EXPECT_EQ(handle, HBUF32(destination));
        destination.expect_picture();
    }
}

TEST_F(GetBuffer, FromItself) {
    Random random(test_seed(), 17);
    for (Kind kind : {Kind::tiled, Kind::linear, Kind::file, Kind::duplicate, Kind::shared}) {
        for (int bits : {1, 4, 24, 64}) {
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 300, 200));
            Subject subject(kind, bits, 300, 200, random);
            for (const Area &area :
                 {Area{10, 20, 200, 150}, {-10, -20, 200, 150}, {0, 0, 299, 200}}) {
                check_existing_buffer(subject, area, subject);
                subject.expect_picture();
            }
        }
    }
}

TEST_F(GetBuffer, NullsFailInSilence) {
    Buffer buffer(8, 30, 20);
    HBUF32 handle = 0;
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(0, 0, 0, 10, 10, &handle));
    EXPECT_EQ(handle, 0u);
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(buffer, 0, 0, 10, 10, nullptr));
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(0, 0, 0, 10, 10, nullptr));
    handle = buffer;
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(0, 0, 0, 10, 10, &handle));
    EXPECT_EQ(handle, HBUF32(buffer));
}

TEST_F(GetBuffer, KeepsLocks) {
    Random random(test_seed(), 18);
    Subject source(Kind::tiled, 24, 300, 200, random),
        destination(Kind::tiled, 24, 300, 199, random);
    ASSERT_EQ(api().buf32Lock(source, 77, nullptr), 1);
    ASSERT_EQ(api().buf32Lock(destination, 78, nullptr), 1);
    check_existing_buffer(source, {10, 10, 300, 200}, destination);
    for (HBUF32 buffer : {HBUF32(source), HBUF32(destination)}) {
        EXPECT_EQ(word(buffer, field_lock_count), 1u);
        EXPECT_EQ(word(buffer, field_access_mode), buffer == HBUF32(source) ? 77u : 78u);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

} // namespace
} // namespace q32::test
