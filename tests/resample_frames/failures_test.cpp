// What calls for frames refuse, and every block of memory that they cannot get: the report or the
// silence, the frame and the header as they were, nothing left behind.
#include "tests/frame/small_memory.h"
#include "tests/resample_frames/frame_fixture.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace q32::test {
namespace {

class FrameFailures : public FrameTest {
protected:
    // A call that would succeed, for a test to spoil.
    static constexpr FrameCall good{24, 20, 30, 33, 11, RESAMPLE_BILINEAR, 0};

    // Makes a call; header and source stay, and unless it succeeds the destination too. Its result.
    static int done_or_refused(const FrameCall &call, VCRESAMPLE *record = nullptr) {
        BITMAPINFOHEADER header = header_of(call.width, call.height, call.bits);
        const BITMAPINFOHEADER before = header;
        Bytes source(64 * 64 * 8, 100);
        Bytes destination(64 * 64 * 8, 0x77);
        const int result =
            record ? api().vcResampleEx(call.nearest, source.data(), &header, destination.data(),
                                        call.to_width, call.to_height, call.method, record)
                   : api().vcResample(call.nearest, source.data(), &header, destination.data(),
                                      call.to_width, call.to_height, call.method);
        EXPECT_EQ(std::memcmp(&header, &before, sizeof header), 0)
            << "bit count " << header.biBitCount;
        EXPECT_TRUE(result != 0 || destination == Bytes(destination.size(), 0x77));
        EXPECT_EQ(source, Bytes(source.size(), 100));
        return result;
    }
};

// --- arguments -------------------------------------------------------------------------------

TEST_F(FrameFailures, OfNullPointers) {
    BITMAPINFOHEADER header = header_of(4, 4, 24);
    const Bytes source(48);
    Bytes destination(48, 0x77);
    const FailingCall memory("GlobalAlloc", 0);
    for (const int method : methods) {
        const auto call = [&](const void *from, BITMAPINFOHEADER *of, void *to) {
            return api().vcResample(0, from, of, to, 4, 4, method);
        };
        EXPECT_SILENT_FAILURE(call(nullptr, &header, destination.data()));
        EXPECT_SILENT_FAILURE(call(source.data(), nullptr, destination.data()));
        EXPECT_SILENT_FAILURE(call(source.data(), &header, nullptr));
        EXPECT_SILENT_FAILURE(
            api().vcResampleEx(0, nullptr, nullptr, nullptr, 4, 4, method, nullptr));
    }
    EXPECT_EQ(destination, Bytes(48, 0x77));
    EXPECT_EQ(memory.calls(), 0);
}

TEST_F(FrameFailures, OfOtherBitCounts) {
    Record made(header_of(20, 30, 24), 33, 11, RESAMPLE_BILINEAR);
    const FailingCall memory("GlobalAlloc", 0);
    for (const int bits : {0,  1,  2,  4,  7,  9,  12,  15,  17,      20,     23,
                           25, 31, 33, 40, 48, 64, 128, 255, 256 + 8, 0x7FFF, 0xFFFF})
        for (const int method : methods)
            for (const int nearest : {0, 1})
                for (VCRESAMPLE *const record :
                     {static_cast<VCRESAMPLE *>(nullptr), &made.record}) {
                    FrameCall call = good;
                    call.bits = bits;
                    call.method = method;
                    call.nearest = nearest;
                    EXPECT_SILENT_FAILURE(done_or_refused(call, record));
                }
    EXPECT_EQ(memory.calls(), 0);
}

TEST_F(FrameFailures, OfSidesBelowOne) {
    for (const int bits : {8, 24, 32})
        for (const int method : methods)
            for (const int side : {0, -1, -20, INT_MIN})
                for (int which = 0; which < 4; ++which) {
                    FrameCall call = good;
                    call.bits = bits;
                    call.method = method;
                    (which == 0   ? call.width
                     : which == 1 ? call.height
                     : which == 2 ? call.to_width
                                  : call.to_height) = side;
                    EXPECT_REPORT(done_or_refused(call), 3200, 1, 8, 15);
                    EXPECT_EQ(blocks_held(), 0);
                }
}

// Frames of 16 bits are copied first; how that fails is not told apart from the tables'.
TEST_F(FrameFailures, OfSidesBelowOneOfWords) {
    for (const int method : methods)
        for (const int side : {0, -1, -20, INT_MIN})
            for (int which = 0; which < 4; ++which) {
                FrameCall call = good;
                call.bits = 16;
                call.method = method;
                (which == 0   ? call.width
                 : which == 1 ? call.height
                 : which == 2 ? call.to_width
                              : call.to_height) = side;
                frame::forget_reports();
                EXPECT_EQ(done_or_refused(call), 0);
                const auto reports = frame::reports();
                EXPECT_TRUE((reports.empty() && method != RESAMPLE_NEAREST) ||
                            reports == (std::vector<Failure>{{3200, 1, 8, 15}}))
                    << call << testing::PrintToString(reports);
                EXPECT_EQ(blocks_held(), 0);
            }
}

// The tables of the last call are gone before new ones are refused.
TEST_F(FrameFailures, OfSidesBelowOneLeaveNoTables) {
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BILINEAR), (Bytes{0, 50, 100, 100}));
    expect_kept_tables(true, false);
    FrameCall call = good;
    call.to_width = 0;
    EXPECT_REPORT(done_or_refused(call), 3200, 1, 8, 15);
    expect_kept_tables(false, false);
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BILINEAR), (Bytes{0, 50, 100, 100}));
    expect_kept_tables(true, false);
}

bool fits_address_space(const FrameCall &call) {
    const std::uint64_t stride =
        (std::uint64_t(call.to_width) * unsigned(call.bits / 8) + 3) / 4 * 4;
    return frame::is_64_bit || stride * std::uint64_t(call.to_height) < (std::uint64_t{1} << 32);
}

// Tables too large for memory, and frames too large for any: those are refused without a report.
TEST_F(FrameFailures, OfSidesTooLarge) {
    const frame::SmallMemory small;
    for (const int bits : frame_depths)
        for (const int method : methods)
            for (const int side : {INT_MAX, INT_MAX - 1, 0x40000000, 0x3FFFFFFF, 0x3FFFFFFE,
                                   0x55555556, 0x40000001, 0x20000000}) {
                FrameCall call = good;
                call.bits = bits;
                call.method = method;
                for (int which = 0; which < 2; ++which) {
                    call.to_width = which == 0 ? side : 1;
                    call.to_height = which == 1 ? side : 1;
                    frame::forget_reports();
                    EXPECT_EQ(done_or_refused(call), 0) << call;
                    const auto reports = frame::reports();
                    const bool silent = bits == 16 || !fits_address_space(call);
                    EXPECT_TRUE((reports.empty() && silent) ||
                                reports == (std::vector<Failure>{{1001, 1, 8, 16}}))
                        << call << testing::PrintToString(reports);
                    EXPECT_EQ(blocks_held(), 0);
                }
            }
}

// --- memory ----------------------------------------------------------------------------------

struct MemoryCase {
    int bits;
    int method;
    int nearest;
    bool record;
};

class FrameMemory : public FrameFailures, public testing::WithParamInterface<MemoryCase> {};

std::vector<MemoryCase> memory_cases() {
    std::vector<MemoryCase> cases;
    for (const int bits : frame_depths)
        for (const int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC, 3})
            for (const bool record : {false, true})
                cases.push_back({bits, method, 0, record});
    cases.push_back({16, RESAMPLE_BICUBIC, 1, false});
    cases.push_back({16, RESAMPLE_BICUBIC, 1, true});
    return cases;
}
INSTANTIATE_TEST_SUITE_P(Calls, FrameMemory, testing::ValuesIn(memory_cases()),
                         [](const auto &each) {
                             const MemoryCase &c = each.param;
                             return "Bits" + std::to_string(c.bits) + "Method" +
                                    std::to_string(c.method) + (c.nearest ? "Nearest" : "") +
                                    (c.record ? "Record" : "Alone");
                         });

// Lets the first allocation fail, then the second and so on until the call succeeds: the reports
// come in the order of the steps.
TEST_P(FrameMemory, FailsAtEveryStep) {
    const MemoryCase &c = GetParam();
    const bool colours = c.bits == 16 && c.method != RESAMPLE_NEAREST;
    const bool coefficients = c.method == RESAMPLE_BICUBIC && c.nearest == 0;
    FrameCall call = good;
    call.bits = c.bits;
    call.method = c.method;
    call.nearest = c.nearest;
    const Failure table{1001, 1, 8, 16}, coefficient{1001, 0, 8, 17}, work{1001, 0, 8, 18};
    for (const char *function : {"GlobalAlloc", "GlobalLock"}) {
        // Each time a library that has made nothing yet.
        std::vector<std::vector<Failure>> all_reports;
        for (int n = 1;; ++n) {
            ASSERT_LE(n, 40);
            SetUp();
            std::optional<Record> record;
            if (c.record)
                record.emplace(header_of(20, 30, 24), 33, 11, c.method);
            const int held = c.record ? 4 : 0;
            bool happened;
            int result;
            frame::forget_reports();
            {
                const FailingCall failing(function, n);
                result = done_or_refused(call, record ? &record->record : nullptr);
                happened = failing.happened();
            }
            const int now = blocks_held() - held;
            EXPECT_EQ(result, happened ? 0 : 1);
            if (!happened) {
                EXPECT_EQ(now, (c.record ? 0 : 4) + (coefficients ? 1 : 0));
                expect_kept(held + now);
                record.reset();
                expect_kept(now);
                break;
            }
            // What is kept are whole sets of tables and the coefficient table, always locked.
            const bool at_work = !frame::reports().empty() && frame::reports().front() == work;
            const bool at_table = frame::reports().empty() || frame::reports().front() == table;
            EXPECT_EQ(now, (at_table || c.record ? 0 : 4) + (at_work && coefficients ? 1 : 0))
                << function << " " << n;
            all_reports.push_back(frame::reports());
            expect_kept(held + now);
            record.reset();
            expect_kept(now);
        }
        // Copies without a report, four tables, the coefficient table, the work rows.
        std::vector<std::vector<Failure>> expected;
        const bool allocations = std::string{function} == "GlobalAlloc";
        const auto silent =
            std::size_t(std::count(all_reports.begin(), all_reports.end(), std::vector<Failure>{}));
        if (allocations) {
            EXPECT_LE(silent, colours ? 2u : 0u);
            EXPECT_EQ(silent > 0, colours);
        }
        expected.resize(silent);
        if (!c.record)
            expected.insert(expected.end(), 4, {table});
        if (coefficients)
            expected.push_back({coefficient});
        if (allocations)
            expected.push_back({work});
        EXPECT_EQ(all_reports, expected) << function;
    }
}

} // namespace
} // namespace q32::test
