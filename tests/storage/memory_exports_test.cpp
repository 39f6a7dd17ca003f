// buf32VMData, buf32GetVMDataExt and buf32GetMemSpace.
#include "tests/storage/storage_fixture.h"

#include <climits>
#include <cstring>

namespace q32::test {
namespace {

class VMData : public StorageTest {
protected:
    struct Settings {
        size_t memory_limit, file_limit;
        uint32_t memory_switch, file_switch;
        BUF32DIRECTORIES directories;
    };
    // Paths of up to 259 characters, with zeros behind them.
    static Settings pattern(uint32_t seed) {
        Settings settings = {seed + 1, seed + 2, seed + 3, seed + 4, {}};
        for (uint32_t i = 0; i < 4; ++i) {
            for (uint32_t k = 0; k < (seed + i * 111) % 260; ++k)
                settings.directories.path[i][k] = char(1 + (seed + i * 260 + k * 31) % 255);
            settings.directories.enabled[i] = seed + 100 + i;
        }
        return settings;
    }
    // Calls with the pointers whose bit is set in which.
    int exchange(int set, Settings &settings, unsigned which) {
        return api().buf32VMData(set, which & 1 ? &settings.memory_limit : nullptr,
                                 which & 2 ? &settings.file_limit : nullptr,
                                 which & 4 ? &settings.directories : nullptr,
                                 which & 8 ? &settings.memory_switch : nullptr,
                                 which & 16 ? &settings.file_switch : nullptr);
    }
    static Settings mixed(const Settings &chosen, const Settings &other, unsigned which) {
        Settings result = other;
        if (which & 1)
            result.memory_limit = chosen.memory_limit;
        if (which & 2)
            result.file_limit = chosen.file_limit;
        if (which & 4)
            result.directories = chosen.directories;
        if (which & 8)
            result.memory_switch = chosen.memory_switch;
        if (which & 16)
            result.file_switch = chosen.file_switch;
        return result;
    }
    static bool same(const Settings &a, const Settings &b) {
        bool result = a.memory_limit == b.memory_limit && a.file_limit == b.file_limit &&
                      a.memory_switch == b.memory_switch && a.file_switch == b.file_switch;
        for (int i = 0; i < 4; ++i)
            result = result && std::strcmp(a.directories.path[i], b.directories.path[i]) == 0 &&
                     a.directories.enabled[i] == b.directories.enabled[i];
        return result;
    }
};

TEST_F(VMData, EachPointerMayBeNull) {
    for (unsigned which = 0; which < 32; ++which) {
        SCOPED_TRACE(which);
        Settings old = pattern(1000), fresh = pattern(2000);
        ASSERT_EQ(exchange(1, old, 31), 1);
        EXPECT_EQ(exchange(1, fresh, which), 1);
        EXPECT_TRUE(same(fresh, pattern(2000))); // only read

        Settings now = pattern(3000);
        EXPECT_EQ(exchange(0, now, 31), 1);
        EXPECT_TRUE(same(now, mixed(pattern(2000), pattern(1000), which)));

        Settings part = pattern(4000);
        EXPECT_EQ(exchange(0, part, which), 1);
        EXPECT_TRUE(same(part, mixed(now, pattern(4000), which)));
    }
    expect_no_report();
}

TEST_F(VMData, AnyValueButZeroSets) {
    for (int set : {1, 2, -1, INT_MIN, 256}) {
        Settings fresh = pattern(uint32_t(set) * 7), now = pattern(5);
        EXPECT_EQ(exchange(set, fresh, 31), 1);
        EXPECT_EQ(exchange(0, now, 31), 1);
        EXPECT_TRUE(same(now, fresh)) << set;
    }
}

// Paths that fill their 260 characters and have no terminator must do no harm.
TEST_F(VMData, StandsPathsWithoutAnEnd) {
    BUF32DIRECTORIES block;
    std::memset(&block, 'x', sizeof block);
    set_directories(block);
    const BUF32DIRECTORIES now = directories();
    for (int i = 0; i < 4; ++i) {
        EXPECT_LT(strnlen(now.path[i], 260), 260u);
        EXPECT_EQ(now.enabled[i], block.enabled[i]);
    }
    expect_refused(8, 200, 200, BUF32_TILED_FILE, no_file); // no such folder
}

// --- buf32GetVMDataExt ---------------------------------------------------------------------------

TEST_F(VMData, ExtReturnsItsSecondArgument) {
    size_t memory = 7, mapped = 7;
    EXPECT_EQ(api().buf32GetVMDataExt(&memory, &mapped), &mapped);
    EXPECT_EQ(memory, 0u);
    EXPECT_EQ(mapped, 0u);
    EXPECT_EQ(api().buf32GetVMDataExt(nullptr, &mapped), &mapped);
    EXPECT_EQ(api().buf32GetVMDataExt(&memory, nullptr), nullptr);
    EXPECT_EQ(api().buf32GetVMDataExt(nullptr, nullptr), nullptr);

    const HBUF32 in_memory = allocate(8, 200, 200, BUF32_TILED), in_file = swapped(300, 300);
    EXPECT_EQ(api().buf32GetVMDataExt(&memory, nullptr), nullptr);
    EXPECT_EQ(memory, 40000u);
    EXPECT_EQ(api().buf32GetVMDataExt(nullptr, &mapped), &mapped);
    EXPECT_EQ(mapped, 90000u);
    free(in_memory);
    free(in_file);
    expect_no_report();
}

// --- buf32GetMemSpace ----------------------------------------------------------------------------

class MemSpace : public StorageTest {
protected:
    static constexpr Failure no_memory{1001, 1, 4, 17};

    // Cells of 128 x 128 x 3 bytes, rows of 900 bytes.
    void SetUp() override {
        StorageTest::SetUp();
        buffer = allocate(24, 300, 200, BUF32_TILED);
    }
    static uint32_t unit_of(int kind) { return kind == 1 ? 128 * 128 * 3 : 900; }

    HBUF32 buffer = 0;
};

TEST_F(MemSpace, GivesCountUnitsAndFourBytes) {
    for (int kind : {1, 2})
        for (int count : {1, 2, 7})
            for (int moveable : {0, 1, -1}) {
                SCOPED_TRACE(std::to_string(kind) + ", " + std::to_string(count) + ", " +
                             std::to_string(moveable));
                const uint32_t bytes = unit_of(kind) * uint32_t(count) + 4;
                const Census before = Census::now();
                Calls calls;
                void *block = nullptr;
                size_t unit = 0;
                {
                    Watch<call::GlobalAlloc> memory{calls};
                    EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, count, moveable, &block, &unit),
                              1);
                }
                EXPECT_EQ(unit, unit_of(kind));
                ASSERT_NE(block, nullptr);
                const UINT flags = moveable != 0 ? GMEM_MOVEABLE : GMEM_ZEROINIT;
                EXPECT_EQ(calls.text(), "GlobalAlloc(" + std::to_string(flags) + ", " +
                                            std::to_string(bytes) + ")\n");
                if (moveable == 0) {
                    EXPECT_TRUE(std::all_of(static_cast<unsigned char *>(block),
                                            static_cast<unsigned char *>(block) + bytes,
                                            [](unsigned char byte) { return byte == 0; }));
                }
                std::memset(block, 0x5A, bytes);
                const HGLOBAL handle = GlobalHandle(block);
                ASSERT_NE(handle, nullptr);
                EXPECT_GE(GlobalSize(handle), bytes);
                if (moveable != 0) {
                    EXPECT_NE(handle, block);
                    EXPECT_EQ(GlobalFlags(handle) & GMEM_LOCKCOUNT, 1u);
                    GlobalUnlock(handle);
                }
                frame::forget_block(handle);
                EXPECT_EQ(GlobalFree(handle), nullptr);
                EXPECT_EQ(Census::now(), before);
            }
    expect_no_report();
}

TEST_F(MemSpace, AllocatesOnlyWhatIsAskedFor) {
    Calls calls;
    Watch<call::GlobalAlloc> memory{calls};
    size_t unit = 0;
    for (int kind : {1, 2}) {
        for (int count : {0, -1, INT_MIN}) {
            void *block = &unit;
            unit = 0;
            EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, count, 1, &block, &unit), 1);
            EXPECT_EQ(unit, unit_of(kind));
            EXPECT_EQ(block, &unit); // left alone
        }
        unit = 0;
        EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, 3, 0, nullptr, &unit), 1);
        EXPECT_EQ(unit, unit_of(kind));
        EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, 3, 0, nullptr, nullptr), 1);
    }
    EXPECT_EQ(calls.text(), "");
    void *block = nullptr;
    EXPECT_EQ(api().buf32GetMemSpace(buffer, 2, 1, 0, &block, nullptr), 1);
    ASSERT_NE(block, nullptr);
    frame::forget_block(block);
    GlobalFree(block);
    expect_no_report();
}

TEST_F(MemSpace, OtherKindsDoNothing) {
    for (int kind : {0, 3, -1, INT_MAX, INT_MIN, 257}) {
        int there = 0;
        void *block = &there;
        size_t unit = 77;
        EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, 3, 0, &block, &unit), 1);
        EXPECT_EQ(block, &there);
        EXPECT_EQ(unit, 77u);
    }
    expect_no_report();
}

TEST_F(MemSpace, ANullBufferIsRefusedInSilence) {
    int there = 0;
    void *block = &there;
    size_t unit = 77;
    for (int kind : {0, 1, 2, 3})
        EXPECT_EQ(api().buf32GetMemSpace(0, kind, 3, 0, &block, &unit), 0);
    EXPECT_EQ(block, &there);
    EXPECT_EQ(unit, 77u);
    expect_no_report();
}

TEST_F(MemSpace, WithoutMemoryIsReported) {
    const Census before = Census::now();
    for (const char *function : {"GlobalAlloc", "GlobalLock"})
        for (int kind : {1, 2})
            for (int moveable : {0, 1}) {
                if (std::string(function) == "GlobalLock" && moveable == 0)
                    continue;
                FailingCall failing(function);
                void *block = nullptr;
                size_t unit = 0;
                EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, 2, moveable, &block, &unit), 0);
                expect_reports({no_memory});
                EXPECT_EQ(block, nullptr);
                EXPECT_EQ(Census::now(), before);
            }
}

// Counts that do not fit into 32 bits must not give a small block there; in 64 bits they fit.
TEST_F(MemSpace, CountsBeyondMemoryAreReported) {
    Calls calls;
    Watch<call::GlobalAlloc> memory{calls};
    memory.refuse_all();
    for (int kind : {1, 2}) {
        const uint32_t unit = unit_of(kind);
        const uint64_t around = (uint64_t(1) << 32) / unit;
        for (uint64_t count : {around, around + 1, uint64_t(INT_MAX)}) {
            const uint64_t bytes = count * unit + 4;
            if (bytes < 0xFFFFFFFFu)
                continue;
            calls.clear();
            void *block = nullptr;
            EXPECT_EQ(api().buf32GetMemSpace(buffer, kind, int(count), 0, &block, nullptr), 0);
            expect_reports({no_memory});
            EXPECT_EQ(block, nullptr);
            EXPECT_EQ(calls.text(), frame::is_64_bit
                                        ? "GlobalAlloc(" + std::to_string(GPTR) + ", " +
                                              std::to_string(bytes) + ") refused\n"
                                        : "");
        }
    }
}

TEST_F(MemSpace, KnowsEveryTypesUnits) {
    const HBUF32 linear = allocate(24, 300, 200, BUF32_LINEAR);
    const HBUF32 bits = allocate(1, 300, 10, BUF32_TILED_FILE);
    size_t unit = 0;
    EXPECT_EQ(api().buf32GetMemSpace(linear, 1, 0, 0, nullptr, &unit), 1);
    EXPECT_EQ(unit, 180000u);
    EXPECT_EQ(api().buf32GetMemSpace(linear, 2, 0, 0, nullptr, &unit), 1);
    EXPECT_EQ(unit, 900u);
    EXPECT_EQ(api().buf32GetMemSpace(bits, 1, 0, 0, nullptr, &unit), 1);
    EXPECT_EQ(unit, 160u);
    EXPECT_EQ(api().buf32GetMemSpace(bits, 2, 0, 0, nullptr, &unit), 1);
    EXPECT_EQ(unit, 38u);
}

} // namespace
} // namespace q32::test
