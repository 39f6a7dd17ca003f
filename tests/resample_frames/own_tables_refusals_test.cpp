// Frames by tables of the caller's own that cannot be made, or need not be: without a table that is
// read, without pixels, without memory.
#include "tests/frame/small_memory.h"
#include "tests/resample_frames/own_tables.h"

#include <algorithm>
#include <optional>

namespace q32::test {
namespace {

class FramesNotMade : public FrameTest {};

// --- refused ---------------------------------------------------------------------------------

// A table that is read must be there.
TEST_F(FramesNotMade, WithoutATableThatIsRead) {
    const Axis columns = mirrored(20), rows = mirrored(30);
    for (const int bits : frame_depths)
        for (const int method : {1, 2, 4, 0, 3})
            for (const int nearest : {0, 1})
                for (int missing = 1; missing < 16; ++missing) {
                    OwnTables own(columns, rows);
                    VCRESAMPLE &record = own.record;
                    if ((missing & 1) != 0)
                        record.column_index = nullptr;
                    if ((missing & 2) != 0)
                        record.row_index = nullptr;
                    if ((missing & 4) != 0)
                        record.column_fraction = nullptr;
                    if ((missing & 8) != 0)
                        record.row_fraction = nullptr;
                    const bool fractions = method != RESAMPLE_NEAREST && nearest != 1;
                    if (!fractions && (missing & 3) == 0)
                        continue;
                    BITMAPINFOHEADER header = header_of(20, 30, bits);
                    const BITMAPINFOHEADER before = header;
                    const Bytes source(frame_bytes(20, 30, bits), 9);
                    const Bytes start(source.size(), 0x77);
                    Bytes result = start;
                    EXPECT_SILENT_FAILURE(api().vcResampleEx(
                        nearest, source.data(), &header, result.data(), 20, 30, method, &record));
                    EXPECT_EQ(result, start);
                    EXPECT_EQ(std::memcmp(&header, &before, sizeof header), 0);
                    ASSERT_EQ(blocks_held(), 0);
                }
}

// --- frames without pixels ---------------------------------------------------------------------

// Nothing to do is done: no pixel, no table and no memory is touched.
TEST_F(FramesNotMade, WithoutPixels) {
    OwnTables own(mirrored(20), mirrored(30));
    OwnTables none({}, {});
    OwnTables unread({}, {});
    unread.record.column_index = unread.record.row_index = static_cast<std::int32_t *>(nowhere());
    unread.record.column_fraction = unread.record.row_fraction = unread.record.row_index;
    const FailingCall memory("GlobalAlloc", 1, FailingCall::from_there_on);
    for (const int bits : frame_depths)
        for (const int method : {1, 2, 4, 0, 3})
            for (const int nearest : {0, 1})
                for (VCRESAMPLE *const record : {&own.record, &none.record, &unread.record})
                    for (const SIZE to : {SIZE{0, 30}, SIZE{20, 0}, SIZE{0, 0}, SIZE{-1, 30},
                                          SIZE{20, -1}, SIZE{-20, -30}, SIZE{INT_MIN, INT_MAX},
                                          SIZE{INT_MAX, INT_MIN}, SIZE{INT_MIN, INT_MIN}}) {
                        BITMAPINFOHEADER header = header_of(20, 30, bits);
                        const BITMAPINFOHEADER before = header;
                        EXPECT_SUCCESS(api().vcResampleEx(nearest, nowhere(), &header, nowhere(),
                                                          to.cx, to.cy, method, record));
                        EXPECT_EQ(std::memcmp(&header, &before, sizeof header), 0);
                    }
    EXPECT_EQ(memory.calls(), 0);
}

// Depths that are refused are refused before.
TEST_F(FramesNotMade, WithoutPixelsOfOtherBitCounts) {
    OwnTables own(mirrored(20), mirrored(30));
    for (const int bits : {0, 1, 4, 7})
        for (const int method : methods)
            for (const SIZE to : {SIZE{0, 30}, SIZE{20, -1}}) {
                BITMAPINFOHEADER header = header_of(20, 30, bits);
                EXPECT_SILENT_FAILURE(api().vcResampleEx(0, nowhere(), &header, nowhere(), to.cx,
                                                         to.cy, method, &own.record));
            }
}

// There is no pixel to read.
TEST_F(FramesNotMade, OfSourcesWithoutPixels) {
    OwnTables own(mirrored(20), mirrored(30));
    const Bytes start(frame_bytes(20, 30, 32), 0x77);
    for (const int bits : frame_depths)
        for (const int method : methods)
            for (const int nearest : {0, 1})
                for (const SIZE from : {SIZE{0, 30}, SIZE{20, 0}, SIZE{-1, 30}, SIZE{20, -1},
                                        SIZE{INT_MIN, 30}, SIZE{20, INT_MIN}, SIZE{0, 0}}) {
                    BITMAPINFOHEADER header = header_of(from.cx, from.cy, bits);
                    const BITMAPINFOHEADER before = header;
                    Bytes result = start;
                    EXPECT_SILENT_FAILURE(api().vcResampleEx(
                        nearest, nowhere(), &header, result.data(), 20, 30, method, &own.record));
                    EXPECT_EQ(result, start);
                    EXPECT_EQ(std::memcmp(&header, &before, sizeof header), 0);
                    ASSERT_EQ(blocks_held(), 0);
                }
}

// No memory holds them.
TEST_F(FramesNotMade, TooLarge) {
    const frame::SmallMemory small;
    OwnTables own(mirrored(20), mirrored(30));
    // More than 4 GB, and than 128 TB, at 8 bits.
    constexpr SIZE least_too_large =
        frame::by_edition(SIZE{0x10000, 0x10001}, SIZE{0x800000, 0x1000001});
    for (const int bits : frame_depths)
        for (const int method : methods)
            for (const int nearest : {0, 1})
                for (const SIZE to :
                     {SIZE{INT_MAX, INT_MAX}, SIZE{INT_MAX - 1, 0x40000000}, least_too_large}) {
                    BITMAPINFOHEADER header = header_of(20, 30, bits);
                    const Bytes source(frame_bytes(20, 30, bits), 9);
                    EXPECT_SILENT_FAILURE(api().vcResampleEx(nearest, source.data(), &header,
                                                             nowhere(), to.cx, to.cy, method,
                                                             &own.record));
                    EXPECT_EQ(header.biBitCount, bits);
                    ASSERT_EQ(blocks_held(), 0);
                }
}

TEST_F(FramesNotMade, OfSourcesTooLarge) {
    OwnTables own(mirrored(20), mirrored(30));
    Bytes result(frame_bytes(20, 30, 24), 9);
    for (const int bits : frame_depths)
        for (const int method : methods)
            for (const int nearest : {0, 1}) {
                BITMAPINFOHEADER header = header_of(INT_MAX, 0x10000, bits);
                EXPECT_SILENT_FAILURE(api().vcResampleEx(nearest, nowhere(), &header, result.data(),
                                                         20, 30, method, &own.record));
                EXPECT_EQ(header.biBitCount, bits);
                ASSERT_EQ(blocks_held(), 0);
            }
}

// One row of so many pixels may be there, but what the work takes beside it is not.
TEST_F(FramesNotMade, RowsTooLongToWorkOn) {
    const frame::SmallMemory small;
    constexpr int columns = frame::by_edition(0x1000000, 0x20000000);
    const OwnTables own(mirrored(20), mirrored(30));
    VCRESAMPLE record = own.record;
    for (const int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR}) {
        BITMAPINFOHEADER header = header_of(20, 30, 24);
        EXPECT_REPORT(
            api().vcResampleEx(0, nowhere(), &header, nowhere(), columns, 1, method, &record), 1001,
            0, 8, 18);
        EXPECT_EQ(blocks_held(), 0);
    }
}

// Without a record sides below 1 are reported as ever.
TEST_F(FramesNotMade, WithoutARecordReportTheirSides) {
    for (const int method : methods)
        for (const SIZE to : {SIZE{0, 30}, SIZE{20, 0}, SIZE{-1, -1}}) {
            BITMAPINFOHEADER header = header_of(20, 30, 24);
            EXPECT_REPORT(
                api().vcResampleEx(0, nowhere(), &header, nowhere(), to.cx, to.cy, method, nullptr),
                3200, 1, 8, 15);
            EXPECT_REPORT(api().vcResample(0, nowhere(), &header, nowhere(), to.cx, to.cy, method),
                          3200, 1, 8, 15);
        }
}

// --- memory ------------------------------------------------------------------------------------

// The first allocation fails, then the second and so on: the frame stays, and nothing is left.
TEST_F(FramesNotMade, WithoutMemory) {
    const Failure coefficients{1001, 0, 8, 17}, work{1001, 0, 8, 18};
    using All = std::vector<std::vector<Failure>>;
    for (const int bits : frame_depths)
        for (const int method : methods)
            for (const int nearest : {0, 1}) {
                const bool interpolates = method != RESAMPLE_NEAREST && nearest == 0;
                const bool through_colours = bits == 16 && method != RESAMPLE_NEAREST;
                OwnTables own(interpolates ? mirrored(33) : without_fractions(mirrored(33)),
                              interpolates ? mirrored(37) : without_fractions(mirrored(37)));
                All all;
                for (int n = 1;; ++n) {
                    ASSERT_LE(n, 20);
                    SetUp(); // without the coefficient table
                    BITMAPINFOHEADER header = header_of(33, 37, bits);
                    const BITMAPINFOHEADER before = header;
                    const Bytes source(frame_bytes(33, 37, bits), 0x21);
                    const Bytes start(source.size(), 0x77);
                    Bytes made = start;
                    frame::forget_reports();
                    std::optional<FailingCall> failing(std::in_place, "GlobalAlloc", n);
                    const int result = api().vcResampleEx(nearest, source.data(), &header,
                                                          made.data(), 33, 37, method, &own.record);
                    const bool happened = failing->happened();
                    failing.reset();
                    EXPECT_EQ(result, happened ? 0 : 1);
                    EXPECT_EQ(made == start, happened);
                    EXPECT_EQ(std::memcmp(&header, &before, sizeof header), 0);
                    const bool built = method == RESAMPLE_BICUBIC && nearest == 0 &&
                                       (!happened || frame::reports() == std::vector{work});
                    expect_kept_tables(false, built);
                    if (!happened)
                        break;
                    all.push_back(frame::reports());
                }
                // Work rows belong to every method; only words need others first.
                All wanted;
                const auto silent = std::ranges::count(all, std::vector<Failure>{});
                EXPECT_EQ(silent > 0, through_colours);
                wanted.resize(std::size_t(silent));
                if (method == RESAMPLE_BICUBIC && nearest == 0)
                    wanted.push_back({coefficients});
                if (std::ranges::count(all, std::vector{work}) != 0 || interpolates)
                    wanted.push_back({work});
                EXPECT_EQ(all, wanted)
                    << bits << " bits, method " << method << ", nearest " << nearest;
            }
}

} // namespace
} // namespace q32::test
