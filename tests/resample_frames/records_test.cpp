// Records: what vcResampleInit puts into them and refuses, what vcResampleEnd takes, and what a
// call reads from one.
#include "tests/frame/small_memory.h"
#include "tests/resample_frames/frame_fixture.h"

namespace q32::test {
namespace {

using model::Axis;
using model::Units;

class FrameRecords : public FrameTest {
protected:
    // A record that is not made yet, with places for tables that show whether they are written.
    VCRESAMPLE unmade(int width, int height, int method) {
        return {&header_, width, height, method, &sentinel_, &sentinel_, &sentinel_, &sentinel_};
    }
    void expect_unmade(const VCRESAMPLE &record) {
        EXPECT_EQ(record.column_index, &sentinel_);
        EXPECT_EQ(record.column_fraction, &sentinel_);
        EXPECT_EQ(record.row_index, &sentinel_);
        EXPECT_EQ(record.row_fraction, &sentinel_);
    }

    BITMAPINFOHEADER header_ = header_of(20, 30, 24);
    std::int32_t sentinel_ = 0;
};

Axis contents(const std::int32_t *index, const std::int32_t *fraction, int count) {
    return {{index, index + count}, {fraction, fraction + count}};
}

// --- making ----------------------------------------------------------------------------------

TEST_F(FrameRecords, HoldTables) {
    header_ = header_of(10, 3, 24);
    const Record made(header_, 4, 8, RESAMPLE_BILINEAR);
    const VCRESAMPLE &record = made.record;
    EXPECT_EQ(contents(record.column_index, record.column_fraction, 4),
              (Axis{{0, 3, 6, 9}, {0, 0, 0, 0}}));
    EXPECT_EQ(
        contents(record.row_index, record.row_fraction, 8),
        (Axis{{0, 0, 0, 1, 1, 1, 2, 2}, {0, 24576, 49152, 8192, 32768, 57344, 16384, 40960}}));
    EXPECT_EQ(record.source, &header_);
    EXPECT_EQ(record.width, 4);
    EXPECT_EQ(record.height, 8);
    EXPECT_EQ(record.method, RESAMPLE_BILINEAR);
}

// Fractions of 8 bits for bicubic interpolation only, on both axes.
TEST_F(FrameRecords, HoldFractionsForTheirMethod) {
    header_ = header_of(3, 3, 0);
    const std::vector<std::int32_t> index{0, 0, 0, 1, 1, 1, 2, 2};
    const Axis eight{index, {0, 96, 192, 32, 128, 224, 64, 160}};
    const Axis sixteen{index, {0, 24576, 49152, 8192, 32768, 57344, 16384, 40960}};
    for (const int method : {0, 1, 2, 3, 4, 5, -1, 8, 0x104, INT_MIN}) {
        const Record made(header_, 8, 8, method);
        const Axis &expected = method == RESAMPLE_BICUBIC ? eight : sixteen;
        EXPECT_EQ(contents(made.record.column_index, made.record.column_fraction, 8), expected);
        EXPECT_EQ(contents(made.record.row_index, made.record.row_fraction, 8), expected);
    }
}

TEST_F(FrameRecords, AreAsTheModelSays) {
    random_cases(300, [this](Random &random, std::uint64_t number) {
        const auto side = [&] { return between(random, 1, 1 << between(random, 1, 15)); };
        header_ = header_of(side(), side(), 0);
        const int method = between(random, 1, 4), width = side(), height = side();
        const Record made(header_, width, height, method);
        const Units units = method == RESAMPLE_BICUBIC ? Units::of_256 : Units::of_65536;
        EXPECT_EQ(contents(made.record.column_index, made.record.column_fraction, width),
                  model::table_axis(width, header_.biWidth, units))
            << rerun(number);
        EXPECT_EQ(contents(made.record.row_index, made.record.row_fraction, height),
                  model::table_axis(height, header_.biHeight, units))
            << rerun(number);
        return !HasFailure();
    });
}

// Places in single precision can be beyond the last pixel of a source as large as can be.
TEST_F(FrameRecords, OfTheLargestSource) {
    for (const int side : {INT_MAX, INT_MAX - 1, INT_MAX - 64, INT_MAX - 128}) {
        header_ = header_of(side, side, 8);
        const Record made(header_, 2, 3, RESAMPLE_BILINEAR);
        EXPECT_EQ(contents(made.record.column_index, made.record.column_fraction, 2),
                  model::table_axis(2, side, Units::of_65536));
        EXPECT_EQ(contents(made.record.row_index, made.record.row_fraction, 3),
                  model::table_axis(3, side, Units::of_65536));
    }
}

TEST_F(FrameRecords, AreLockedMoveableBlocksWithEightBytesMore) {
    VCRESAMPLE record = unmade(33, 5, RESAMPLE_BICUBIC);
    {
        const GlobalAllocations allocations;
        EXPECT_SUCCESS(api().vcResampleInit(&record));
        ASSERT_EQ(allocations.all().size(), 4u);
        for (const auto &block : allocations.all())
            EXPECT_EQ(block.flags, UINT{GMEM_MOVEABLE | GMEM_ZEROINIT});
        EXPECT_EQ(allocations.of_bytes(33 * 4 + 8), 2);
        EXPECT_EQ(allocations.of_bytes(5 * 4 + 8), 2);
    }
    for (const std::int32_t *table :
         {record.column_index, record.column_fraction, record.row_index, record.row_fraction})
        EXPECT_EQ(GlobalFlags(GlobalHandle(table)) & GMEM_LOCKCOUNT, 1u);
    EXPECT_EQ(blocks_held(), 4);
    const VCRESAMPLE before = record;
    EXPECT_NO_REPORT(api().vcResampleEnd(&record));
    EXPECT_EQ(blocks_held(), 0);
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0); // required: not cleared
}

TEST_F(FrameRecords, WithoutARecordOrAHeader) {
    EXPECT_SILENT_FAILURE(api().vcResampleInit(nullptr));
    VCRESAMPLE record = unmade(4, 4, RESAMPLE_BILINEAR);
    record.source = nullptr;
    EXPECT_SILENT_FAILURE(api().vcResampleInit(&record));
    expect_unmade(record);
}

TEST_F(FrameRecords, OfSidesBelowOne) {
    const FailingCall memory("GlobalAlloc", 0);
    for (const int side : {0, -1, -20, INT_MIN})
        for (int which = 0; which < 4; ++which) {
            const auto is = [&](int i, int otherwise) { return i == which ? side : otherwise; };
            header_ = header_of(is(0, 20), is(1, 30), 24);
            VCRESAMPLE record = unmade(is(2, 40), is(3, 50), RESAMPLE_BILINEAR);
            EXPECT_REPORT(api().vcResampleInit(&record), 3200, 1, 8, 15);
            expect_unmade(record);
        }
    EXPECT_EQ(memory.calls(), 0);
}

TEST_F(FrameRecords, WithoutMemory) {
    for (const char *function : {"GlobalAlloc", "GlobalLock"}) {
        int failed = 0;
        for (;; ++failed) {
            VCRESAMPLE record = unmade(40, 50, RESAMPLE_BILINEAR);
            const FailingCall failing(function, failed + 1);
            frame::forget_reports();
            if (api().vcResampleInit(&record) != 0) {
                EXPECT_FALSE(failing.happened());
                api().vcResampleEnd(&record);
                break;
            }
            EXPECT_EQ(frame::reports(), (std::vector<Failure>{{1001, 1, 8, 16}}));
            expect_unmade(record);
            EXPECT_EQ(blocks_held(), 0) << function << " " << failed + 1;
        }
        EXPECT_EQ(failed, 4) << function;
    }
}

// Tables whose bytes do not fit 32 bits, or whatever memory there is.
TEST_F(FrameRecords, TooLargeForMemory) {
    const frame::SmallMemory small;
    for (const int side : {INT_MAX, INT_MAX - 1, 0x40000000, 0x3FFFFFFF, 0x3FFFFFFE, 0x3FFFFFFD,
                           0x40000001, 0x40000100, 0x30000000})
        for (const bool wide : {true, false}) {
            VCRESAMPLE record = unmade(wide ? side : 1, wide ? 1 : side, RESAMPLE_BILINEAR);
            EXPECT_REPORT(api().vcResampleInit(&record), 1001, 1, 8, 16);
            expect_unmade(record);
            EXPECT_EQ(blocks_held(), 0);
        }
}

// --- ending ----------------------------------------------------------------------------------

TEST_F(FrameRecords, EndWithoutTables) {
    EXPECT_NO_REPORT(api().vcResampleEnd(nullptr));
    VCRESAMPLE never{};
    EXPECT_NO_REPORT(api().vcResampleEnd(&never));
    // The first table says whether there are any: the others are not looked at.
    VCRESAMPLE record = unmade(4, 5, RESAMPLE_BILINEAR);
    EXPECT_SUCCESS(api().vcResampleInit(&record));
    std::int32_t *const first = std::exchange(record.column_index, nullptr);
    EXPECT_NO_REPORT(api().vcResampleEnd(&record));
    EXPECT_EQ(blocks_held(), 4);
    record.column_index = first;
    EXPECT_NO_REPORT(api().vcResampleEnd(&record));
    EXPECT_EQ(blocks_held(), 0);
}

// --- use -------------------------------------------------------------------------------------

TEST_F(FrameRecords, ServeManyFrames) {
    Random random(test_seed(), 0);
    header_ = header_of(20, 30, 24);
    Record made(header_, 33, 11, RESAMPLE_BILINEAR);
    const FrameCall call{24, 20, 30, 33, 11, RESAMPLE_BILINEAR, 0, true, RESAMPLE_BILINEAR};
    int allocations = 0;
    for (int i = 0; i < 5; ++i) {
        const Bytes source = some_frame(random, frame_bytes(20, 30, 24));
        const Bytes start(frame_bytes(33, 11, 24), 0x77);
        Bytes to = start;
        const FailingCall memory("GlobalAlloc", 0);
        EXPECT_SUCCESS(api().vcResampleEx(0, source.data(), &header_, to.data(), 33, 11,
                                          RESAMPLE_BILINEAR, &made.record));
        EXPECT_EQ(to, resampled_frame(call, source, start));
        allocations = memory.calls();
        EXPECT_LE(allocations, 1); // the work rows
        EXPECT_EQ(blocks_held(), 4);
    }
}

// A smaller destination than the record's reads the beginning of its tables.
TEST_F(FrameRecords, OfLargerDestinations) {
    Random random(test_seed(), 1);
    Record made(header_, 40, 60, RESAMPLE_BILINEAR);
    for (const SIZE to : {SIZE{40, 60}, SIZE{39, 60}, SIZE{40, 59}, SIZE{1, 1}, SIZE{7, 13}}) {
        const FrameCall call{24, 20, 30, to.cx, to.cy, RESAMPLE_BILINEAR, 0, true};
        const Bytes source = some_frame(random, frame_bytes(20, 30, 24));
        const Bytes start(frame_bytes(to.cx, to.cy, 24), 0x77);
        const FencedFrame result(start);
        EXPECT_SUCCESS(api().vcResampleEx(0, source.data(), &header_, result.data(), to.cx, to.cy,
                                          RESAMPLE_BILINEAR, &made.record));
        const auto beginning = [](Axis axis, int count) {
            axis.index.resize(std::size_t(count));
            axis.fraction.resize(std::size_t(count));
            return axis;
        };
        result.expect(resampled_frame(
            call, beginning(model::table_axis(40, 20, Units::of_65536), to.cx),
            beginning(model::table_axis(60, 30, Units::of_65536), to.cy), source, start));
    }
}

// Tables that point outside the frame at hand read its nearest pixel.
TEST_F(FrameRecords, OfOtherSourcesStayInsideTheFrame) {
    random_cases(300, [this](Random &random, std::uint64_t number) {
        FrameCall call;
        call.bits = 8 * between(random, 1, 4);
        call.width = between(random, 1, 9);
        call.height = between(random, 1, 9);
        call.to_width = between(random, 1, 50);
        call.to_height = between(random, 1, 20);
        call.method = between(random, 1, 5);
        call.nearest = random.below(6) == 0;
        call.record = true;
        call.record_method = between(random, 1, 4);
        header_ = header_of(between(random, 1, 200), between(random, 1, 200), 24);
        Record made(header_, call.to_width, call.to_height, call.record_method);
        const bool hostile = number % 2 != 0;
        if (hostile)
            for (std::int32_t *table : {made.record.column_index, made.record.column_fraction,
                                        made.record.row_index, made.record.row_fraction}) {
                const int count =
                    table == made.record.column_index || table == made.record.column_fraction
                        ? call.to_width
                        : call.to_height;
                for (int i = 0; i < count; ++i)
                    if (random.below(2) == 0)
                        table[i] = std::int32_t(std::uint32_t(random.next()));
                table[0] = random.below(2) == 0 ? INT_MAX : INT_MIN;
            }
        const Axis columns =
            contents(made.record.column_index, made.record.column_fraction, call.to_width);
        const Axis rows = contents(made.record.row_index, made.record.row_fraction, call.to_height);

        BITMAPINFOHEADER header = header_of(call.width, call.height, call.bits);
        const Bytes source = some_frame(random, frame_bytes(call.width, call.height, call.bits));
        FencedFrame from(source, random.below(2) == 0);
        from.protect();
        const Bytes start(frame_bytes(call.to_width, call.to_height, call.bits), 0x3C);
        const FencedFrame to(start, random.below(2) == 0);
        EXPECT_SUCCESS(api().vcResampleEx(call.nearest, from.data(), &header, to.data(),
                                          call.to_width, call.to_height, call.method,
                                          &made.record));
        EXPECT_EQ(to.difference(resampled_frame(call, columns, rows, source, start)), "")
            << call << "; " << rerun(number);
        return !HasFailure();
    });
    expect_kept_tables(false, true);
}

} // namespace
} // namespace q32::test
