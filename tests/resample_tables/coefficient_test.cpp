// The bicubic coefficient table of the process: when it is made, what it holds, how it ends, and
// what comes after.
#include "tests/resample_tables/table_fixture.h"

namespace q32::test {
namespace {

class CoefficientTable : public ResampleTest {};

constexpr int frame_tables = 4;

TEST_F(CoefficientTable, IsMadeOnceForTheProcess) {
    const GlobalAllocations allocations;
    EXPECT_SUCCESS(resample_bicubic_frame());
    EXPECT_SUCCESS(resample_bicubic_frame());
    EXPECT_EQ(allocations.of_bytes(coefficient_bytes), 1);
    for (const auto &block : allocations.all())
        EXPECT_TRUE(block.bytes != coefficient_bytes || (block.flags & GMEM_MOVEABLE) != 0);
    expect_kept(frame_tables + 1);
}

TEST_F(CoefficientTable, HoldsEverySampleTimesEveryWeight) {
    const GlobalAllocations allocations;
    EXPECT_SUCCESS(resample_bicubic_frame());
    for (const auto &block : allocations.all()) {
        if (block.bytes != coefficient_bytes)
            continue;
        EXPECT_EQ(GlobalFlags(block.handle) & GMEM_LOCKCOUNT, 1u);
        const auto *const entries = static_cast<const int32_t *>(GlobalLock(block.handle));
        for (int phase = 0; phase < 16; ++phase)
            for (int i = 0; i < 4; ++i)
                for (int v = 0; v < 256; ++v)
                    ASSERT_EQ(entries[phase * 1024 + i * 256 + v],
                              model::cubic_weights(phase)[std::size_t(i)] * v)
                        << phase << " " << i << " " << v;
        // Phase 8: t = 136.
        EXPECT_EQ(entries[8 * 1024 + 255], -956 * 255);
        EXPECT_EQ(entries[8 * 1024 + 256 + 1], 8509);
        EXPECT_EQ(entries[8 * 1024 + 512 + 2], 9915 * 2);
        EXPECT_EQ(entries[8 * 1024 + 768 + 255], -1084 * 255);
        GlobalUnlock(block.handle);
        expect_kept(frame_tables + 1);
        return;
    }
    FAIL() << "no block of its size";
}

TEST_F(CoefficientTable, IsNotMadeByOtherMethods) {
    const CoefficientTableWatch table;
    BITMAPINFOHEADER header{};
    header.biWidth = header.biHeight = 1;
    header.biBitCount = 8;
    const std::uint8_t source[4] = {};
    std::uint8_t destination[4];
    for (const int method : {0, 1, 2, 3, 5, 6, 8, -1, 0x104, INT_MAX, INT_MIN})
        EXPECT_SUCCESS(api().vcResample(0, source, &header, destination, 1, 1, method));
    EXPECT_SUCCESS(api().vcResample(1, source, &header, destination, 1, 1, RESAMPLE_BICUBIC));
    EXPECT_EQ(table.made(), 0);
    expect_kept(frame_tables);
}

TEST_F(CoefficientTable, MayBeFreedBeforeItIsMade) {
    const FailingCall frees("GlobalFree", 0);
    EXPECT_SUCCESS(api().q32FreeBiCubicTable());
    EXPECT_EQ(frees.calls(), 0);
    EXPECT_SUCCESS(api().q32FreeBiCubicTable());
    const CoefficientTableWatch table;
    EXPECT_SUCCESS(resample_bicubic_frame());
    EXPECT_EQ(table.made(), 1);
    expect_kept(frame_tables + 1);
}

// Required: the table is not made again, and yet bicubic calls go on as before.
TEST_F(CoefficientTable, IsNotMadeAgainAfterItsEnd) {
    EXPECT_SUCCESS(resample_bicubic_frame());
    expect_kept(frame_tables + 1);
    EXPECT_SUCCESS(api().q32FreeBiCubicTable());
    expect_kept(frame_tables);
    {
        const CoefficientTableWatch table;
        for (int i = 0; i < 3; ++i)
            EXPECT_SUCCESS(resample_bicubic_frame());
        EXPECT_EQ(table.made(), 0);
    }
    const FailingCall frees("GlobalFree", 0), unlocks("GlobalUnlock", 0);
    EXPECT_SUCCESS(api().q32FreeBiCubicTable()); // frees nothing again
    EXPECT_EQ(frees.calls(), 0);
    EXPECT_EQ(unlocks.calls(), 0);
    expect_kept(frame_tables);
}

TEST_F(CoefficientTable, IsTriedAgainWhenItCouldNotBeMade) {
    for (int i = 0; i < 2; ++i) {
        const Replaced<frame::call::GlobalAlloc> no_table([](UINT flags, SIZE_T bytes) {
            return bytes == coefficient_bytes ? nullptr : ::GlobalAlloc(flags, bytes);
        });
        EXPECT_REPORT(resample_bicubic_frame(), 1001, 0, 8, 17);
    }
    const CoefficientTableWatch table;
    EXPECT_SUCCESS(resample_bicubic_frame());
    EXPECT_EQ(table.made(), 1);
    expect_kept(frame_tables + 1);
}

// Where the block is had but cannot be locked.
TEST_F(CoefficientTable, ThatCannotBeLockedIsGivenBack) {
    {
        HGLOBAL table = nullptr;
        const Replaced<frame::call::GlobalAlloc> watch([&](UINT flags, SIZE_T bytes) {
            const HGLOBAL block = ::GlobalAlloc(flags, bytes);
            if (bytes == coefficient_bytes)
                table = block;
            return block;
        });
        const Replaced<frame::call::GlobalLock> no_lock([&](HGLOBAL block) -> LPVOID {
            return block == table ? nullptr : ::GlobalLock(block);
        });
        EXPECT_REPORT(resample_bicubic_frame(), 1001, 0, 8, 17);
        EXPECT_NE(table, nullptr);
    }
    expect_kept(frame_tables);
    EXPECT_SUCCESS(resample_bicubic_frame());
    expect_kept(frame_tables + 1);
}

// A library of its own, from loading to unloading.
class ResamplingLibrary : public testing::Test {
protected:
    void SetUp() override {
        frame::drop_shared_library();
        frame::reset_comm();
    }
    static Census census_after(void (*use)()) {
        frame::shared_library();
        use();
        frame::shared_library().detach();
        const Census census = Census::now();
        frame::drop_shared_library();
        return census;
    }
};

TEST_F(ResamplingLibrary, GivesEverythingBackWhenItEnds) {
    const Census unused = census_after([] {});
    EXPECT_EQ(census_after([] { EXPECT_SUCCESS(resample_bicubic_frame()); }), unused);
    EXPECT_EQ(census_after([] {
                  EXPECT_SUCCESS(resample_bicubic_frame());
                  EXPECT_SUCCESS(api().q32FreeBiCubicTable());
              }),
              unused);
    EXPECT_EQ(census_after([] {
                  EXPECT_SUCCESS(resample_bicubic_frame());
                  EXPECT_SUCCESS(api().q32FreeBiCubicTable());
                  EXPECT_SUCCESS(resample_bicubic_frame());
              }),
              unused);
}

// After its end by the export the table is not freed once more.
TEST_F(ResamplingLibrary, DoesNotFreeTheCoefficientTableTwice) {
    static std::vector<HGLOBAL> freed;
    static HGLOBAL table;
    freed.clear();
    table = nullptr;
    const Replaced<frame::call::GlobalAlloc> watch([](UINT flags, SIZE_T bytes) {
        const HGLOBAL block = ::GlobalAlloc(flags, bytes);
        if (bytes == coefficient_bytes)
            table = block;
        return block;
    });
    const Replaced<frame::call::GlobalFree> frees([](HGLOBAL block) {
        freed.push_back(block);
        // Never handed out again, so that a second free would be seen.
        return block == table ? nullptr : ::GlobalFree(block);
    });
    frame::shared_library();
    EXPECT_SUCCESS(resample_bicubic_frame());
    EXPECT_SUCCESS(api().q32FreeBiCubicTable());
    frame::shared_library().detach();
    frame::drop_shared_library();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(std::count(freed.begin(), freed.end(), table), 1);
    ::GlobalFree(table);
}

} // namespace
} // namespace q32::test
