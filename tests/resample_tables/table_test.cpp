// q32InitResampleTable and q32FreeResampleTable: the tables, the blocks that hold them, and what
// fails.
#include "tests/resample_tables/table_fixture.h"

namespace q32::test {
namespace {

using model::Axis;
using model::Units;

class Buffer {
public:
    Buffer(int width, int height, int bits = 8) {
        EXPECT_EQ(api().buf32Alloc(&handle_, bits, width, height, 0, nullptr), 1);
    }
    ~Buffer() { free(); }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    void free() {
        if (handle_ != 0)
            api().buf32Free(handle_);
        handle_ = 0;
    }
    operator HBUF32() const { return handle_; }

private:
    HBUF32 handle_ = 0;
};

int32_t sentinel;

struct Tables {
    int32_t *column_index = &sentinel;
    int32_t *column_fraction = &sentinel;
    int32_t *row_index = &sentinel;
    int32_t *row_fraction = &sentinel;

    int init(HBUF32 source, HBUF32 destination, int mode) {
        return api().q32InitResampleTable(source, destination, mode, &column_index,
                                          &column_fraction, &row_index, &row_fraction);
    }
    void free() const {
        api().q32FreeResampleTable(column_index, column_fraction, row_index, row_fraction);
    }
    std::vector<int32_t *> all() const {
        return {column_index, column_fraction, row_index, row_fraction};
    }
    void expect_untouched() const { EXPECT_EQ(all(), std::vector<int32_t *>(4, &sentinel)); }
};

Axis contents(const int32_t *index, const int32_t *fraction, int count) {
    return {{index, index + count}, {fraction, fraction + count}};
}

class ResampleTables : public ResampleTest {
protected:
    // Columns and rows from one size to another.
    struct Made {
        Axis columns, rows;
    };
    static Made made(SIZE from, SIZE to, int mode, int bits = 8) {
        const Buffer source(from.cx, from.cy, bits), destination(to.cx, to.cy, bits);
        Tables tables;
        EXPECT_SUCCESS(tables.init(source, destination, mode));
        const Made made{contents(tables.column_index, tables.column_fraction, to.cx),
                        contents(tables.row_index, tables.row_fraction, to.cy)};
        tables.free();
        return made;
    }
};

// --- examples --------------------------------------------------------------------------------

TEST_F(ResampleTables, ReducingMeetsTheEnds) {
    const Made tables = made({10, 7}, {4, 5}, 0);
    EXPECT_EQ(tables.columns, (Axis{{0, 3, 6, 9}, {0, 0, 0, 0}}));
    EXPECT_EQ(tables.rows, (Axis{{0, 1, 3, 4, 6}, {0, 32768, 0, 32768, 0}}));
}

TEST_F(ResampleTables, EnlargingFallsShortOfTheEnd) {
    const Made tables = made({4, 3}, {10, 8}, 0);
    EXPECT_EQ(tables.columns,
              (Axis{{0, 0, 0, 1, 1, 2, 2, 2, 3, 3},
                    {0, 26214, 52428, 13107, 39321, 0, 26214, 52428, 13107, 39321}}));
    EXPECT_EQ(tables.rows, (Axis{{0, 0, 0, 1, 1, 1, 2, 2},
                                 {0, 24576, 49152, 8192, 32768, 57344, 16384, 40960}}));
}

TEST_F(ResampleTables, ToOnePixel) {
    const Made tables = made({10, 1}, {1, 1}, 0);
    EXPECT_EQ(tables.columns, (Axis{{0}, {0}}));
    EXPECT_EQ(tables.rows, (Axis{{0}, {0}}));
}

TEST_F(ResampleTables, FractionModes) {
    const Axis sixteen{{0, 0, 0, 1, 1, 1, 2, 2},
                       {0, 24576, 49152, 8192, 32768, 57344, 16384, 40960}};
    const Axis eight{{0, 0, 0, 1, 1, 1, 2, 2}, {0, 96, 192, 32, 128, 224, 64, 160}};
    const auto both = [](int mode) { return made({3, 3}, {8, 8}, mode); };
    EXPECT_EQ(both(0).columns, sixteen);
    EXPECT_EQ(both(0).rows, sixteen);
    EXPECT_EQ(both(1).columns, eight);
    EXPECT_EQ(both(1).rows, eight);
    // Required: columns have 8 bits in mode 1 only, rows in every mode but 0.
    for (const int mode : {2, 3, 4, -1, 256, 0x101, INT_MAX, INT_MIN}) {
        EXPECT_EQ(both(mode).columns, sixteen) << mode;
        EXPECT_EQ(both(mode).rows, eight) << mode;
    }
}

TEST_F(ResampleTables, BuffersOfEveryDepth) {
    for (const int bits : {1, 2, 4, 8, 12, 16, 20, 24, 32, 48, 64})
        EXPECT_EQ(made({10, 4}, {4, 10}, 0, bits).columns, (Axis{{0, 3, 6, 9}, {0, 0, 0, 0}}))
            << bits;
}

TEST_F(ResampleTables, SourceAndDestinationMayBeTheSame) {
    const Buffer buffer(3, 2);
    Tables tables;
    EXPECT_SUCCESS(tables.init(buffer, buffer, 0));
    EXPECT_EQ(contents(tables.column_index, tables.column_fraction, 3),
              (Axis{{0, 1, 2}, {0, 0, 0}}));
    tables.free();
}

TEST_F(ResampleTables, AreAsTheModelSays) {
    random_cases(300, [this](Random &random, std::uint64_t number) {
        const auto side = [&] { return between(random, 1, 1 << between(random, 1, 11)); };
        SIZE from{side(), side()}, to{side(), side()};
        if (number % 10 == 0) { // long and thin
            from = {between(random, 1, 32000), 2};
            to = {between(random, 1, 32000), 3};
        }
        const int mode = between(random, -1, 3);
        const Made tables = made(from, to, mode, 1);
        const auto units = [](bool eight) { return eight ? Units::of_256 : Units::of_65536; };
        EXPECT_EQ(tables.columns, model::table_axis(to.cx, from.cx, units(mode == 1)))
            << rerun(number);
        EXPECT_EQ(tables.rows, model::table_axis(to.cy, from.cy, units(mode != 0)))
            << rerun(number);
        return !HasFailure();
    });
}

// --- blocks ----------------------------------------------------------------------------------

TEST_F(ResampleTables, AreLockedMoveableBlocksWithEightBytesMore) {
    const Buffer source(7, 9), destination(33, 5);
    Tables tables;
    {
        const GlobalAllocations allocations;
        EXPECT_SUCCESS(tables.init(source, destination, 0));
        ASSERT_EQ(allocations.all().size(), 4u);
        for (const auto &block : allocations.all())
            EXPECT_EQ(block.flags, UINT{GMEM_MOVEABLE | GMEM_ZEROINIT});
        EXPECT_EQ(allocations.of_bytes(33 * 4 + 8), 2);
        EXPECT_EQ(allocations.of_bytes(5 * 4 + 8), 2);
    }
    EXPECT_EQ(blocks_held(), 4 + 2); // and the records of two buffers
    const std::vector<int32_t *> all = tables.all();
    for (std::size_t i = 0; i < 4; ++i) {
        const HGLOBAL handle = GlobalHandle(all[i]);
        ASSERT_NE(handle, nullptr);
        EXPECT_NE(handle, static_cast<HGLOBAL>(all[i])); // moveable
        EXPECT_EQ(GlobalFlags(handle) & GMEM_LOCKCOUNT, 1u);
        const std::size_t entries = i < 2 ? 33 : 5;
        EXPECT_GE(GlobalSize(handle), entries * 4 + 8);
        EXPECT_EQ(all[i][entries], 0);
        EXPECT_EQ(all[i][entries + 1], 0);
    }
    tables.free();
    EXPECT_EQ(blocks_held(), 2);
}

TEST_F(ResampleTables, EachMayBeFreedAlone) {
    const Buffer source(7, 9), destination(33, 5);
    for (unsigned which = 0; which < 16; ++which) {
        Tables tables;
        EXPECT_SUCCESS(tables.init(source, destination, 0));
        const auto choose = [&](bool chosen, int32_t *table) { return chosen ? table : nullptr; };
        const auto free_those = [&](unsigned bits) {
            EXPECT_NO_REPORT(api().q32FreeResampleTable(
                choose(bits & 1, tables.column_index), choose(bits & 2, tables.column_fraction),
                choose(bits & 4, tables.row_index), choose(bits & 8, tables.row_fraction)));
        };
        free_those(which);
        EXPECT_EQ(blocks_held() - 2, 4 - int(__builtin_popcount(which)));
        free_those(~which);
        EXPECT_EQ(blocks_held(), 2);
    }
    EXPECT_NO_REPORT(api().q32FreeResampleTable(nullptr, nullptr, nullptr, nullptr));
}

// --- failures --------------------------------------------------------------------------------

TEST_F(ResampleTables, OfBuffersThatAreNotLive) {
    const Buffer live(10, 10);
    Buffer freed(10, 10);
    const HBUF32 gone = freed;
    freed.free();
    for (const HBUF32 dead : {HBUF32{0}, gone}) {
        Tables tables;
        const FailingCall memory("GlobalAlloc", 0);
        EXPECT_REPORT(tables.init(live, dead, 0), 3200, 1, 8, 13);
        EXPECT_REPORT(tables.init(dead, live, 0), 3200, 1, 8, 14);
        EXPECT_REPORT(tables.init(dead, dead, 0), 3200, 1, 8, 13); // the destination first
        tables.expect_untouched();
        EXPECT_EQ(memory.calls(), 0);
    }
}

TEST_F(ResampleTables, WithoutAPlaceForATable) {
    const Buffer live(10, 10);
    for (int which = 0; which < 4; ++which) {
        Tables tables;
        const auto place = [&](int i, int32_t **table) { return i == which ? nullptr : table; };
        const auto init = [&](HBUF32 source, HBUF32 destination) {
            return api().q32InitResampleTable(
                source, destination, 0, place(0, &tables.column_index),
                place(1, &tables.column_fraction), place(2, &tables.row_index),
                place(3, &tables.row_fraction));
        };
        const FailingCall memory("GlobalAlloc", 0);
        EXPECT_SILENT_FAILURE(init(live, live));
        EXPECT_REPORT(init(live, 0), 3200, 1, 8, 13); // dead buffers come first
        EXPECT_REPORT(init(0, live), 3200, 1, 8, 14);
        tables.expect_untouched();
        EXPECT_EQ(memory.calls(), 0);
    }
}

TEST_F(ResampleTables, WithoutMemory) {
    const Buffer source(20, 30), destination(40, 10);
    for (const char *function : {"GlobalAlloc", "GlobalLock"}) {
        int failed = 0;
        for (;; ++failed) {
            Tables tables;
            const Census before = Census::now();
            const FailingCall failing(function, failed + 1);
            frame::forget_reports();
            if (tables.init(source, destination, 0) != 0) {
                EXPECT_FALSE(failing.happened());
                tables.free();
                break;
            }
            EXPECT_TRUE(failing.happened());
            EXPECT_EQ(frame::reports(), (std::vector<Failure>{{1001, 1, 8, 16}}));
            tables.expect_untouched();
            EXPECT_EQ(Census::now(), before) << function << " " << failed + 1;
        }
        EXPECT_EQ(failed, 4) << function;
    }
}

} // namespace
} // namespace q32::test
