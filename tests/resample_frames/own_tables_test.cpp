// Records whose tables the caller has made: of a record only the tables count, and of those only
// what the call's method reads. Everything else is said by the call.
#include "tests/resample_frames/frame_fixture.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

namespace q32::test {
namespace {

using model::Axis;

constexpr int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC};

// Numbers that end at an inaccessible page and cannot be written.
class Table {
public:
    explicit Table(const std::vector<std::int32_t> &numbers)
        : memory_(std::max<std::size_t>(numbers.size() * 4, 1)), count_(numbers.size()) {
        std::copy(numbers.begin(), numbers.end(), data());
        DWORD before;
        VirtualProtect(memory_.begin(), memory_.size(), PAGE_READONLY, &before);
    }
    std::int32_t *data() const { return reinterpret_cast<std::int32_t *>(memory_.end()) - count_; }

private:
    FencedMemory memory_;
    std::size_t count_;
};

// Memory of which no byte can be read.
void *nowhere() {
    static const FencedMemory fence(1);
    return fence.end();
}

// What nobody looks at.
enum class Beside { zeros, nonsense };

// A record of such tables. Where there are no fractions it has none.
class OwnTables {
public:
    OwnTables(const Axis &columns, const Axis &rows, Beside beside = Beside::nonsense) {
        record.column_index = table(columns.index);
        record.column_fraction = table(columns.fraction);
        record.row_index = table(rows.index);
        record.row_fraction = table(rows.fraction);
        if (beside == Beside::zeros)
            return;
        record.source = static_cast<const BITMAPINFOHEADER *>(nowhere());
        record.width = -5;
        record.height = INT_MIN;
        record.method = 0x12345678;
    }

    VCRESAMPLE record{};

private:
    std::int32_t *table(const std::vector<std::int32_t> &numbers) {
        if (numbers.empty())
            return nullptr;
        tables_.push_back(std::make_unique<Table>(numbers));
        return tables_.back()->data();
    }
    std::vector<std::unique_ptr<Table>> tables_;
};

Axis counted(int count, const std::function<int(int)> &index, int fraction = 0) {
    Axis axis;
    for (int i = 0; i < count; ++i) {
        axis.index.push_back(index(i));
        axis.fraction.push_back(fraction);
    }
    return axis;
}
Axis as_it_is(int count) {
    return counted(count, [](int i) { return i; });
}
Axis mirrored(int count) {
    return counted(count, [=](int i) { return count - 1 - i; });
}
Axis constant(int count, int index, int fraction = 0) {
    return counted(
        count, [=](int) { return index; }, fraction);
}
Axis without_fractions(Axis axis) {
    axis.fraction.clear();
    return axis;
}

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
        const auto holds = to.holds(resampled_frame(call, columns, rows, source, start));
        return holds ? holds : failure() << holds.message();
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
    for (const int bits : {8, 16, 24, 32})
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
        for (const int bits : {8, 16, 24, 32})
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
    for (const int bits : {8, 16, 24, 32})
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
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BILINEAR), (Bytes{0, 50, 100, 100}));
    expect_kept_tables(true, false);
    const FailingCall frees("GlobalFree", 0);
    EXPECT_EQ(row_by({10, 20}, mirrored(2), RESAMPLE_NEAREST), (Bytes{20, 10}));
    EXPECT_EQ(frees.calls(), 0);
    expect_kept_tables(true, false);
    EXPECT_EQ(row_by({10, 20}, mirrored(2), RESAMPLE_BILINEAR), (Bytes{20, 10}));
    expect_kept_tables(true, false);
}

// --- tables that are not there -----------------------------------------------------------------

// Nearest neighbour reads no fractions: by its method, or by the flag whatever the method.
TEST_F(OwnTablesOfFrames, OfNearestNeighbourNeedNoFractions) {
    const CoefficientTableWatch table;
    for (const int bits : {8, 16, 24, 32})
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
    for (const int bits : {8, 16, 24, 32})
        for (const auto &[method, nearest] : {std::pair(1, 0), std::pair(2, 1), std::pair(4, 1)}) {
            const Axis columns = mirrored(20), rows = mirrored(30);
            OwnTables own(without_fractions(columns), without_fractions(rows));
            own.record.column_fraction = static_cast<std::int32_t *>(nowhere());
            own.record.row_fraction = static_cast<std::int32_t *>(nowhere());
            EXPECT_TRUE(agrees_with({bits, 20, 30, 20, 30, method, nearest}, columns, rows,
                                    own.record, random));
        }
}

// A table that is read must be there.
TEST_F(OwnTablesOfFrames, WithoutATableThatIsReadAreRefused) {
    const Axis columns = mirrored(20), rows = mirrored(30);
    for (const int bits : {8, 16, 24, 32})
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
TEST_F(OwnTablesOfFrames, OfFramesWithoutPixelsAreDoneAtOnce) {
    OwnTables own(mirrored(20), mirrored(30));
    OwnTables none({}, {});
    OwnTables unread({}, {});
    unread.record.column_index = unread.record.row_index = static_cast<std::int32_t *>(nowhere());
    unread.record.column_fraction = unread.record.row_fraction = unread.record.row_index;
    const FailingCall memory("GlobalAlloc", 1, FailingCall::from_there_on);
    for (const int bits : {8, 16, 24, 32})
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
TEST_F(OwnTablesOfFrames, OfFramesWithoutPixelsOfOtherBitCounts) {
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
TEST_F(OwnTablesOfFrames, OfSourcesWithoutPixelsAreRefused) {
    OwnTables own(mirrored(20), mirrored(30));
    const Bytes start(frame_bytes(20, 30, 32), 0x77);
    for (const int bits : {8, 16, 24, 32})
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

// Without a record sides below 1 are reported as ever.
TEST_F(OwnTablesOfFrames, AreNotNeededToReportSides) {
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
TEST_F(OwnTablesOfFrames, WithoutMemory) {
    const Failure coefficients{1001, 0, 8, 17}, work{1001, 0, 8, 18};
    using All = std::vector<std::vector<Failure>>;
    for (const int bits : {8, 16, 24, 32})
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
