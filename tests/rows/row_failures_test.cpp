// The reports of the row conversions: every way to be refused, what is reported, and that nothing
// is written. Also what is deliberately not refused.
#include "tests/rows/row_fixture.h"

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int invalid_argument = 3200;

// Rows for the calls below; every call must leave them as they are.
struct RowFailures : RowTest {
    RowFailures() : a(64, 0xAA), b(64, 0xBB) {}

    void expect_refused(const char *what, int result, int point) {
        SCOPED_TRACE(what);
        EXPECT_EQ(result, 0);
        expect_report(invalid_argument, point);
        expect_rows_untouched();
    }

    void expect_accepted(const char *what, int result) {
        SCOPED_TRACE(what);
        EXPECT_EQ(result, 1);
        expect_no_report();
        expect_rows_untouched();
    }

    void expect_rows_untouched() {
        EXPECT_EQ(a, Bytes(64, 0xAA));
        EXPECT_EQ(b, Bytes(64, 0xBB));
    }

    Bytes a;
    Bytes b;
};

TEST_F(RowFailures, Fill) {
    const auto fill = rows().mem32Fill;
    expect_refused("no destination", fill(nullptr, b.data(), 1, 8), 4);
    for (const int pixel_bytes : {5, 6, 8, 256, 257, INT_MAX})
        expect_refused("too many bytes", fill(a.data(), b.data(), pixel_bytes, 4), 4);
    expect_refused("count 0", fill(a.data(), b.data(), 1, 0), 4);
    expect_refused("all at once", fill(nullptr, b.data(), 5, 0), 4);
    expect_refused("bytes 0, no destination", fill(nullptr, b.data(), 0, 8), 4);
    expect_refused("bytes 0, count 0", fill(a.data(), b.data(), 0, 0), 4);
    expect_refused("bytes 5, count negative", fill(a.data(), b.data(), 5, -1), 4);
    expect_refused("no pattern", fill(a.data(), nullptr, 3, 8), 4);
}

TEST_F(RowFailures, Exchange) {
    const auto exchange = rows().mem32Exchange;
    expect_refused("no a", exchange(nullptr, b.data(), 8), 5);
    expect_refused("no b", exchange(a.data(), nullptr, 8), 5);
    expect_refused("neither", exchange(nullptr, nullptr, 8), 5);
    expect_refused("count 0", exchange(a.data(), b.data(), 0), 5);
}

TEST_F(RowFailures, Invert) {
    const auto invert = rows().mem32ByteInvert;
    expect_refused("no source", invert(a.data(), nullptr, 8), 6);
    expect_refused("neither", invert(nullptr, nullptr, 8), 6);
    expect_refused("count 0", invert(a.data(), b.data(), 0), 6);
    expect_refused("in place, count 0", invert(nullptr, b.data(), 0), 6);
}

TEST_F(RowFailures, Conversions) {
    struct Export {
        const char *name;
        int (*run)(const frame::Api &, void *, const void *, int);
        int point;
    };
    using R = const frame::Api &;
    constexpr Export exports[] = {
        {"mem32BitToByte",
         [](R r, void *to, const void *from, int n) { return r.mem32BitToByte(to, from, n); }, 7},
        {"mem32BitToByteExt",
         [](R r, void *to, const void *from, int n) { return r.mem32BitToByteExt(to, from, n); },
         8},
        {"mem32ByteToBit",
         [](R r, void *to, const void *from, int n) { return r.mem32ByteToBit(to, from, n, 9); },
         9},
        {"mem32_888To555",
         [](R r, void *to, const void *from, int n) { return r.mem32_888To555(to, from, n); }, 10},
        {"mem32_555To888",
         [](R r, void *to, const void *from, int n) { return r.mem32_555To888(to, from, n); }, 11},
        {"mem32_888To565",
         [](R r, void *to, const void *from, int n) { return r.mem32_888To565(to, from, n); }, 12},
        {"mem32_565To888",
         [](R r, void *to, const void *from, int n) { return r.mem32_565To888(to, from, n); }, 13}};
    for (const Export &one : exports) {
        SCOPED_TRACE(one.name);
        expect_refused("no destination", one.run(rows(), nullptr, b.data(), 8), one.point);
        expect_refused("no source", one.run(rows(), a.data(), nullptr, 8), one.point);
        expect_refused("count 0", one.run(rows(), a.data(), b.data(), 0), one.point);
        expect_refused("nothing", one.run(rows(), nullptr, nullptr, 0), one.point);
        for (const int count : {-1, -8, INT_MIN})
            expect_accepted("negative count", one.run(rows(), a.data(), b.data(), count));
    }
}

TEST_F(RowFailures, ThresholdZeroIsAThreshold) {
    EXPECT_EQ(rows().mem32ByteToBit(a.data(), b.data(), 8, 0), 1);
    expect_no_report();
    EXPECT_EQ(a[0], 0xFF);
}

TEST_F(RowFailures, NegativeCountsWriteNothing) {
    for (const int count : {-1, -8, -1000, INT_MIN}) {
        for (const int pixel_bytes : {1, 2, 3, 4, 0, -1})
            expect_accepted("fill", rows().mem32Fill(a.data(), b.data(), pixel_bytes, count));
        expect_accepted("invert", rows().mem32ByteInvert(a.data(), b.data(), count));
        expect_accepted("invert in place", rows().mem32ByteInvert(nullptr, b.data(), count));
        rows().mem32Exchange(a.data(), b.data(), count);
        expect_accepted("exchange", 1);
        rows().RGBToBGR(a.data(), b.data(), count);
        expect_accepted("swap", 1);
    }
}

TEST_F(RowFailures, FillOfNothingLooksAtNoPattern) {
    expect_accepted("bytes 0", rows().mem32Fill(a.data(), nullptr, 0, 8));
    expect_accepted("negative count", rows().mem32Fill(a.data(), nullptr, 3, -8));
}

TEST_F(RowFailures, SwapOfNoPixelsDoesNothing) {
    rows().RGBToBGR(a.data(), b.data(), 0);
    rows().RGBToBGR(nullptr, nullptr, 0);
    expect_accepted("swap", 1);
}

// One failed call is one report, and the next success neither adds one nor takes it back.
TEST_F(RowFailures, ASuccessReportsNothing) {
    EXPECT_EQ(rows().mem32Fill(nullptr, b.data(), 1, 8), 0);
    EXPECT_EQ(rows().mem32ByteInvert(nullptr, b.data(), 64), 1);
    EXPECT_EQ(rows().mem32ByteInvert(nullptr, b.data(), 64), 1);
    expect_report(invalid_argument, 4);
}

} // namespace
} // namespace q32::test
