// Frames by tables of the caller's own: of a record only the tables count, and of those only what
// the call's method reads. Everything else is said by the call.
#include "tests/resample_frames/own_tables.h"

#include <algorithm>

namespace q32::test {
namespace {

class OwnTablesOfFrames : public FrameTest {
protected:
    // A frame by these tables, every byte of memory fenced, against the model.
    static testing::AssertionResult agrees_by(const FrameCall &call, const Axis &columns,
                                              const Axis &rows, Random &random,
                                              Beside beside = Beside::nonsense) {
        OwnTables own(columns, rows, beside);
        return agrees_with(call, columns, rows, own.record, random);
    }
    static testing::AssertionResult agrees_with(const FrameCall &call, Axis columns, Axis rows,
                                                VCRESAMPLE &record, Random &random) {
        const VCRESAMPLE record_before = record;
        BITMAPINFOHEADER header = header_of(call.width, call.height, call.bits);
        const BITMAPINFOHEADER header_before = header;
        const Bytes source = some_frame(random, frame_bytes(call.width, call.height, call.bits));
        FencedFrame from(source, random.below(2) != 0);
        from.protect();
        const Bytes start(frame_bytes(call.to_width, call.to_height, call.bits), 0x3C);
        const FencedFrame to(start, random.below(2) != 0);
        frame::forget_reports();
        const int result = api().vcResampleEx(call.nearest, from.data(), &header, to.data(),
                                              call.to_width, call.to_height, call.method, &record);
        const auto failure = [&] { return testing::AssertionFailure() << call << ": "; };
        if (result != 1 || !frame::reports().empty())
            return failure() << "result " << result << ", reported "
                             << testing::PrintToString(frame::reports());
        if (std::memcmp(&header, &header_before, sizeof header) != 0)
            return failure() << "the header has changed, bit count " << header.biBitCount;
        if (std::memcmp(&record, &record_before, sizeof record) != 0)
            return failure() << "the record has changed";
        columns.fraction.resize(columns.index.size());
        rows.fraction.resize(rows.index.size());
        const std::string difference =
            to.difference(resampled_frame(call, columns, rows, source, start));
        return difference.empty() ? testing::AssertionSuccess() : failure() << difference;
    }

    // One row of samples by a table of columns.
    static Bytes row_by(const Bytes &samples, const Axis &columns, int method, int nearest = 0) {
        BITMAPINFOHEADER header = header_of(int(samples.size()), 1, 8);
        Bytes source = samples;
        source.resize(frame_stride(header.biWidth, 8));
        Bytes made(frame_stride(columns.count(), 8), 0xEE);
        OwnTables own(columns, as_it_is(1));
        EXPECT_SUCCESS(api().vcResampleEx(nearest, source.data(), &header, made.data(),
                                          columns.count(), 1, method, &own.record));
        made.resize(std::size_t(columns.count()));
        return made;
    }
    // A column of samples by a table of rows.
    static Bytes column_by(const Bytes &samples, const Axis &rows, int method) {
        BITMAPINFOHEADER header = header_of(1, int(samples.size()), 8);
        Bytes source(samples.size() * 4, 7), made(rows.index.size() * 4, 0xEE), column;
        for (std::size_t i = 0; i < samples.size(); ++i)
            source[4 * i] = samples[i];
        OwnTables own(as_it_is(1), rows);
        EXPECT_SUCCESS(api().vcResampleEx(0, source.data(), &header, made.data(), 1, rows.count(),
                                          method, &own.record));
        for (std::size_t i = 0; i < made.size(); i += 4)
            column.push_back(made[i]);
        return column;
    }

    Random random{test_seed(), 141};
};

// --- literally -------------------------------------------------------------------------------

TEST_F(OwnTablesOfFrames, Mirror) {
    const Bytes samples{10, 20, 30, 40, 50}, turned{50, 40, 30, 20, 10};
    for (const int method : methods) {
        EXPECT_EQ(row_by(samples, mirrored(5), method), turned) << method;
        EXPECT_EQ(column_by(samples, mirrored(5), method), turned) << method;
    }
    EXPECT_EQ(row_by(samples, without_fractions(mirrored(5)), RESAMPLE_NEAREST), turned);
    EXPECT_EQ(row_by(samples, without_fractions(mirrored(5)), RESAMPLE_BICUBIC, 1), turned);
    expect_kept_tables(false, true);
}

TEST_F(OwnTablesOfFrames, RepeatAColumn) {
    const Bytes samples{10, 20, 30, 50};
    for (const int method : methods) {
        EXPECT_EQ(row_by(samples, constant(6, 2), method), Bytes(6, 30)) << method;
        EXPECT_EQ(column_by(samples, constant(6, 2), method), Bytes(6, 30)) << method;
    }
    // Half-way to the next one, in each method's own units.
    EXPECT_EQ(row_by(samples, constant(3, 2, 32768), RESAMPLE_BILINEAR), Bytes(3, 40));
    EXPECT_EQ(column_by(samples, constant(3, 2, 32768), RESAMPLE_BILINEAR), Bytes(3, 40));
    EXPECT_EQ(row_by({0, 100}, constant(3, 0, 128), RESAMPLE_BICUBIC), Bytes(3, 53));
    EXPECT_EQ(column_by({0, 100}, constant(3, 0, 128), RESAMPLE_BICUBIC), Bytes(3, 53));
    EXPECT_EQ(row_by(samples, constant(3, 2, 65535), RESAMPLE_NEAREST), Bytes(3, 30));
    expect_kept_tables(false, true);
}

// Rows in any order, the same ones again and again.
TEST_F(OwnTablesOfFrames, JumpBetweenRows) {
    const Bytes samples{0, 100, 200, 50, 150};
    Axis rows;
    rows.index = {4, 0, 3, 3, 1, 4, 2, 0, 2, 1};
    rows.fraction.assign(10, 0);
    const Bytes picked{150, 0, 50, 50, 100, 150, 200, 0, 200, 100};
    for (const int method : methods)
        EXPECT_EQ(column_by(samples, rows, method), picked) << method;
    rows.fraction = {0, 32768, 32768, 0, 32768, 32768, 32768, 0, 0, 32768};
    EXPECT_EQ(column_by(samples, rows, RESAMPLE_BILINEAR),
              (Bytes{150, 50, 100, 50, 150, 150, 125, 0, 200, 150}));
    expect_kept_tables(false, true);
}

// --- what is not looked at ---------------------------------------------------------------------

// Neither sizes nor method nor source of a record: zeros do as well as nonsense, and pointers that
// cannot be followed.
TEST_F(OwnTablesOfFrames, BesideFieldsThatDoNotCount) {
    for (const int bits : frame_depths)
        for (const int method : {1, 2, 4, 0, 3})
            for (const Beside beside : {Beside::zeros, Beside::nonsense}) {
                const FrameCall call{bits, 20, 30, 33, 11, method};
                const Axis columns = model::table_axis(
                    33, 20,
                    method == RESAMPLE_BICUBIC ? model::Units::of_256 : model::Units::of_65536);
                const Axis rows = constant(11, 7, 99);
                EXPECT_TRUE(agrees_by(call, columns, rows, random, beside));
            }
    expect_kept_tables(false, true);
}

// The frame is as the call's header has it.
TEST_F(OwnTablesOfFrames, BesideAnotherSourceHeader) {
    const BITMAPINFOHEADER others[] = {header_of(1, 1, 8), header_of(500, 400, 32),
                                       header_of(0, -1, 4), header_of(20, 30, 16)};
    for (const BITMAPINFOHEADER &other : others)
        for (const int bits : frame_depths)
            for (const int method : methods) {
                const BITMAPINFOHEADER before = other;
                const FrameCall call{bits, 20, 30, 25, 35, method};
                const Axis columns = constant(25, 19, 128), rows = mirrored(35);
                OwnTables own(columns, rows, Beside::zeros);
                own.record.source = &other;
                EXPECT_TRUE(agrees_with(call, columns, rows, own.record, random));
                EXPECT_EQ(std::memcmp(&other, &before, sizeof other), 0);
            }
    expect_kept_tables(false, true);
}

// A record as vcResampleInit makes it, for other sizes and another method than the call's.
TEST_F(OwnTablesOfFrames, MadeForAnotherCall) {
    for (const int bits : frame_depths)
        for (const int made_for : {1, 2, 3, 4})
            for (const int method : {1, 2, 3, 4})
                for (const int nearest : {0, 1})
                    for (const SIZE from : {SIZE{20, 30}, SIZE{7, 50}, SIZE{60, 2}}) {
                        const BITMAPINFOHEADER header = header_of(20, 30, 24);
                        Record made(header, 40, 50, made_for);
                        VCRESAMPLE &record = made.record;
                        FrameCall call{bits, from.cx, from.cy, 31, 43, method, nearest};
                        const auto beginning = [](const std::int32_t *index,
                                                  const std::int32_t *fraction, int count) {
                            return Axis{{index, index + count}, {fraction, fraction + count}};
                        };
                        EXPECT_TRUE(agrees_with(
                            call, beginning(record.column_index, record.column_fraction, 31),
                            beginning(record.row_index, record.row_fraction, 43), record, random))
                            << "made for " << made_for;
                    }
    expect_kept_tables(false, true);
}

// The record says less than the tables hold.
TEST_F(OwnTablesOfFrames, LargerThanTheirRecordSays) {
    const BITMAPINFOHEADER header = header_of(20, 30, 24);
    for (const int method : methods) {
        Record made(header, 40, 60, method);
        for (const SIZE said : {SIZE{39, 60}, SIZE{40, 59}, SIZE{1, 1}, SIZE{0, 0}, SIZE{-1, -1}}) {
            made.record.width = said.cx;
            made.record.height = said.cy;
            const model::Units units =
                method == RESAMPLE_BICUBIC ? model::Units::of_256 : model::Units::of_65536;
            EXPECT_TRUE(agrees_with({24, 20, 30, 40, 60, method}, model::table_axis(40, 20, units),
                                    model::table_axis(60, 30, units), made.record, random));
        }
    }
    expect_kept_tables(false, true);
}

// A record does not touch the tables of calls without one.
TEST_F(OwnTablesOfFrames, BesideTheTablesOfTheLibrary) {
    std::vector<HGLOBAL> tables;
    {
        const GlobalAllocations allocations;
        EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_NEAREST), (Bytes{0, 0, 100, 100}));
        for (const auto &block : allocations.all())
            if (block.bytes == 4 * 4 + 8 || block.bytes == 1 * 4 + 8)
                tables.push_back(block.handle);
    }
    ASSERT_EQ(tables.size(), 4u);
    expect_kept_tables(true, false);
    for (const int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR}) {
        const Replaced<frame::call::GlobalFree> frees([&](HGLOBAL block) {
            EXPECT_EQ(std::ranges::count(tables, block), 0);
            return ::GlobalFree(block);
        });
        EXPECT_EQ(row_by({10, 20}, mirrored(2), method), (Bytes{20, 10}));
        expect_kept_tables(true, false);
    }
}

// --- tables that are not there -----------------------------------------------------------------

// Nearest neighbour reads no fractions: by its method, or by the flag whatever the method.
TEST_F(OwnTablesOfFrames, OfNearestNeighbourNeedNoFractions) {
    const CoefficientTableWatch table;
    for (const int bits : frame_depths)
        for (const auto &[method, nearest] :
             {std::pair(1, 0), std::pair(1, 1), std::pair(2, 1), std::pair(4, 1), std::pair(0, 1)})
            for (const int which : {1, 2, 3}) {
                const FrameCall call{bits, 20, 30, 33, 37, method, nearest};
                Axis columns = counted(33, [](int i) { return i * 7 % 20; });
                Axis rows = counted(37, [](int i) { return i * 11 % 30; });
                if ((which & 1) != 0)
                    columns = without_fractions(columns);
                if ((which & 2) != 0)
                    rows = without_fractions(rows);
                EXPECT_TRUE(agrees_by(call, columns, rows, random));
            }
    EXPECT_EQ(table.made(), 0);
}

// And where they are there, they may be anything: not a number of them is read.
TEST_F(OwnTablesOfFrames, OfNearestNeighbourHaveUnreadFractions) {
    for (const int bits : frame_depths)
        for (const auto &[method, nearest] : {std::pair(1, 0), std::pair(2, 1), std::pair(4, 1)}) {
            const Axis columns = mirrored(20), rows = mirrored(30);
            OwnTables own(without_fractions(columns), without_fractions(rows));
            own.record.column_fraction = static_cast<std::int32_t *>(nowhere());
            own.record.row_fraction = static_cast<std::int32_t *>(nowhere());
            EXPECT_TRUE(agrees_with({bits, 20, 30, 20, 30, method, nearest}, columns, rows,
                                    own.record, random));
        }
}

// --- at random ---------------------------------------------------------------------------------

// Any index in any order, in frames of any size; fractions within their units, or missing where
// they are not read.
TEST_F(OwnTablesOfFrames, AtRandom) {
    bool coefficients = false;
    random_cases(600, [&](Random &numbers, std::uint64_t number) {
        const auto side = [&] { return between(numbers, 1, 1 << between(numbers, 0, 6)); };
        FrameCall call{8 * between(numbers, 1, 4), side(), side(), side(), side()};
        call.method = numbers.below(8) == 0 ? between(numbers, -1, 9) : 1 << between(numbers, 0, 2);
        call.nearest = int(numbers.below(5) == 0);
        const bool eight = call.method == RESAMPLE_BICUBIC;
        const auto axis = [&](int count, int source) {
            Axis made;
            for (int i = 0; i < count; ++i) {
                made.index.push_back(between(numbers, 0, source - 1));
                made.fraction.push_back(between(numbers, 0, eight ? 255 : 65535));
            }
            if (numbers.below(2) != 0)
                std::ranges::sort(made.index);
            return made;
        };
        Axis columns = axis(call.to_width, call.width), rows = axis(call.to_height, call.height);
        if (call.nearest == 1 || call.method == RESAMPLE_NEAREST) {
            if (numbers.below(2) != 0)
                columns = without_fractions(columns);
            if (numbers.below(2) != 0)
                rows = without_fractions(rows);
        }
        EXPECT_TRUE(agrees_by(call, columns, rows, numbers,
                              numbers.below(2) != 0 ? Beside::nonsense : Beside::zeros))
            << rerun(number);
        coefficients |= eight && call.nearest != 1;
        return !HasFailure();
    });
    expect_kept_tables(false, coefficients);
}

} // namespace
} // namespace q32::test
