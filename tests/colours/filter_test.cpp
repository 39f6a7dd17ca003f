// i32ColorFilter: its ranges and masks by literal examples, and what it refuses.
#include "tests/colours/filter_fixture.h"
#include "tests/frame/small_memory.h"

namespace q32::test {
namespace {

class Filter : public FilterTest {};

Bytes all_samples() {
    Bytes samples(256);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = uint8_t(i);
    return samples;
}

// A mask of 256 bytes that is full from first to last.
Bytes full_between(int first, int last) {
    Bytes mask(256);
    for (int i = first; i <= last; ++i)
        mask[size_t(i)] = 255;
    return mask;
}

I32COLORRANGE grey(int colour, int tolerance) {
    return {{uint8_t(colour), 7, 7, 7}, {tolerance, -1, -1, -1}};
}

// --- ranges ----------------------------------------------------------------------------------

TEST_F(Filter, RangesOfOneSample) {
    const struct {
        int colour, tolerance, first, last; // first > last: none
    } cases[] = {
        {200, 100, 100, 255},
        {20, 50, 0, 70},
        {128, 0, 128, 128},
        {128, 1, 127, 129},
        {0, 0, 0, 0},
        {255, 0, 255, 255},
        {0, 254, 0, 254},
        {0, 255, 0, 255},
        {255, 254, 1, 255},
        {255, 255, 0, 255},
        {1, 255, 0, 255},
        {100, 256, 0, 255},
        {100, INT_MAX, 0, 255},
        {255, INT_MAX, 0, 255},
        {0, INT_MAX, 0, 255},
        {100, -1, 1, 0},
        {0, -1, 1, 0},
        {255, -1, 1, 0},
        {100, -100, 1, 0},
        {100, -256, 1, 0},
        {0, -256, 1, 0},
        {255, -511, 1, 0},
        {100, -65536, 1, 0},
        {100, INT_MIN, 1, 0},
        {0, INT_MIN, 1, 0},
        {255, INT_MIN, 1, 0},
        {100, INT_MIN + 100, 1, 0},
        {255, -256, 1, 0},
        {255, INT_MAX - 254, 0, 255},
    };
    for (const auto &[colour, tolerance, first, last] : cases) {
        SCOPED_TRACE(std::to_string(colour) + " within " + std::to_string(tolerance));
        const Bytes kept = full_between(first, last);
        EXPECT_EQ(filtered(I32_FILTER_GREY, all_samples(), {grey(colour, tolerance)}, 1), kept);
        Bytes removed(256);
        std::transform(kept.begin(), kept.end(), removed.begin(),
                       [](uint8_t byte) { return uint8_t(255 - byte); });
        EXPECT_EQ(filtered(I32_FILTER_GREY, all_samples(), {grey(colour, tolerance)}, 0), removed);
    }
}

TEST_F(Filter, AllThreeSamplesMustLieInTheirRanges) {
    // Red 90 to 110, green 0 to 30, blue 195 to 255.
    const Ranges ranges{{{100, 10, 225, 0}, {10, 20, 30, -1}}};
    const Bytes source{100, 10,  225, 90,  0,   195, 110, 30, 255, 89,  10,  225, 111, 10,
                       225, 100, 31,  225, 100, 10,  194, 10, 100, 225, 225, 10,  100};
    EXPECT_EQ(filtered(I32_FILTER_RGB, source, ranges, 1),
              (Bytes{255, 255, 255, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(filtered(I32_FILTER_RGB, source, ranges, 0),
              (Bytes{0, 0, 0, 255, 255, 255, 255, 255, 255}));
}

TEST_F(Filter, AnyRangeWillDo) {
    const Ranges ranges{grey(10, 2), grey(100, 0), grey(101, 3)};
    const Bytes source{8, 12, 13, 100, 104, 105, 97, 98};
    EXPECT_EQ(filtered(I32_FILTER_GREY, source, ranges, 1),
              (Bytes{255, 255, 0, 255, 255, 0, 0, 255}));
    EXPECT_EQ(filtered(I32_FILTER_GREY, source, ranges, 0), (Bytes{0, 0, 255, 0, 0, 255, 255, 0}));
}

TEST_F(Filter, TheFourthSampleIsNotEnough) {
    const Ranges ranges{{{50, 60, 70, 80}, {1, 1, 1, 1}}};
    const Bytes source{50, 60, 70, 81, 48, 60, 70, 81, 50, 62, 70, 81,
                       50, 60, 68, 81, 51, 61, 71, 81, 50, 60, 70, 80};
    EXPECT_EQ(filtered(I32_FILTER_RGBX, source, ranges, 1), (Bytes{255, 0, 0, 0, 255, 0}));
    EXPECT_EQ(filtered(I32_FILTER_RGBX, source, ranges, 0), (Bytes{0, 255, 255, 255, 0, 255}));
}

// The work block of N x 8 bytes: upper and lower end of each sample. The fourth lower end is taken
// from the first sample's colour.
TEST_F(Filter, TheWorkBlockHoldsTheRanges) {
    const Ranges ranges{{{200, 50, 60, 90}, {100, 60, 5, 30}},
                        {{20, 0, 255, 250}, {7, 1, 2, 50}},
                        {{10, 20, 30, 40}, {0, 0, 0, 0}}};
    // hi0, lo0, hi1, lo1, hi2, lo2, hi3, lo3
    const uint8_t ends[3][8] = {{255, 100, 110, 0, 65, 55, 120, 170},
                                {27, 13, 1, 0, 255, 253, 255, 0},
                                {10, 10, 20, 20, 30, 30, 40, 10}};
    const struct {
        int type, bytes_of_range;
    } types[] = {{I32_FILTER_GREY, 2}, {I32_FILTER_RGB, 6}, {I32_FILTER_RGBX, 8}};
    for (const auto &[type, bytes_of_range] : types) {
        SCOPED_TRACE(type);
        std::vector<std::pair<UINT, SIZE_T>> asked;
        Bytes found;
        {
            Replaced<frame::call::GlobalAlloc> allocating([&](UINT flags, SIZE_T bytes) {
                asked.emplace_back(flags, bytes);
                return GlobalAlloc(flags, bytes);
            });
            Replaced<frame::call::GlobalFree> freeing([&](HGLOBAL block) {
                const auto *const bytes = static_cast<const uint8_t *>(block);
                found.assign(bytes, bytes + GlobalSize(block));
                return GlobalFree(block);
            });
            filtered(type, Bytes(12), ranges, 1);
        }
        EXPECT_EQ(asked, (std::vector<std::pair<UINT, SIZE_T>>{{0, 24}}));
        ASSERT_EQ(found.size(), 24u);
        for (size_t i = 0; i < 3; ++i)
            EXPECT_EQ(Bytes(&found[i * 8], &found[i * 8] + bytes_of_range),
                      Bytes(ends[i], ends[i] + bytes_of_range))
                << "range " << i;
    }
}

// --- masks -----------------------------------------------------------------------------------

TEST_F(Filter, BytesAreClearedAndNeverRaised) {
    for (int inside : {0, 1}) {
        // Every mask byte with a pixel that stays and one that goes.
        Bytes start, source, expected;
        for (int byte = 0; byte < 256; ++byte)
            for (int sample : {10, 20}) {
                start.push_back(uint8_t(byte));
                source.push_back(uint8_t(sample));
                expected.push_back((sample == 10) == (inside != 0) ? uint8_t(byte) : uint8_t(0));
            }
        Block mask_in(start), mask_out(start.size()), pixels(source);
        mask_in.protect();
        pixels.protect();
        EXPECT_SUCCESS(api().i32ColorFilter(mask_out.data(), mask_in.data(), pixels.data(),
                                            I32_FILTER_GREY, unsigned(start.size()),
                                            Table({grey(10, 0)}), inside));
        mask_out.expect(expected);
        mask_in.expect(start);
        Block in_place(start);
        EXPECT_SUCCESS(api().i32ColorFilter(in_place.data(), in_place.data(), pixels.data(),
                                            I32_FILTER_GREY, unsigned(start.size()),
                                            Table({grey(10, 0)}), inside));
        in_place.expect(expected);
    }
}

TEST_F(Filter, AnyValueButZeroMeansInside) {
    for (int inside : {1, -1, 2, 0x100, 0x10000, INT_MAX, INT_MIN})
        EXPECT_EQ(filtered(I32_FILTER_GREY, {10, 20}, {grey(10, 0)}, inside), (Bytes{255, 0}))
            << inside;
    EXPECT_EQ(filtered(I32_FILTER_GREY, {10, 20}, {grey(10, 0)}, 0), (Bytes{0, 255}));
}

// Without a test nothing is left of the filter but the copy or the fill of the mask.
TEST_F(Filter, WithoutATestMasksAreCopiedOrFilled) {
    Random random(test_seed(), 1);
    const Bytes start = random_bytes(random, 77);
    for (int inside : {0, 1})
        for (const Ranges &ranges : {Ranges{}, Ranges{grey(10, 0)}, Ranges(9, grey(0, 255))}) {
            const Table table(ranges);
            for (const uint8_t *source : {static_cast<const uint8_t *>(nullptr), start.data()}) {
                Block mask_in(start), filled(77), copied(77), kept(start);
                mask_in.protect();
                EXPECT_SUCCESS(api().i32ColorFilter(filled.data(), nullptr, source, I32_FILTER_NONE,
                                                    77, table, inside));
                filled.expect(Bytes(77, 255));
                EXPECT_SUCCESS(api().i32ColorFilter(copied.data(), mask_in.data(), source,
                                                    I32_FILTER_NONE, 77, table, inside));
                copied.expect(start);
                EXPECT_SUCCESS(api().i32ColorFilter(kept.data(), kept.data(), source,
                                                    I32_FILTER_NONE, 77, table, inside));
                kept.expect(start);
            }
        }
}

TEST_F(Filter, AnEmptyListMatchesNothing) {
    const FailingCall allocations("GlobalAlloc");
    const Table no_ranges(Ranges{});
    const Bytes start{0, 1, 128, 255};
    Block pixels(Bytes(16, 9));
    pixels.protect();
    for (int type : {I32_FILTER_GREY, I32_FILTER_RGB, I32_FILTER_RGBX}) {
        Block mask(start);
        EXPECT_SUCCESS(
            api().i32ColorFilter(mask.data(), mask.data(), pixels.data(), type, 4, no_ranges, 0));
        mask.expect(start);
        EXPECT_SUCCESS(
            api().i32ColorFilter(mask.data(), mask.data(), pixels.data(), type, 4, no_ranges, 1));
        mask.expect(Bytes(4));
        EXPECT_SUCCESS(
            api().i32ColorFilter(mask.data(), nullptr, pixels.data(), type, 4, no_ranges, 0));
        mask.expect(Bytes(4, 255));
    }
    EXPECT_FALSE(allocations.happened());
}

TEST_F(Filter, NoPixelsAreNoWork) {
    const FailingCall allocations("GlobalAlloc");
    const Table table({grey(10, 0)});
    for (int type = 1; type <= 4; ++type)
        for (int inside : {0, 1}) {
            Block mask(Bytes{1, 2, 3}), other(Bytes{4, 5, 6});
            EXPECT_SUCCESS(
                api().i32ColorFilter(mask.data(), nullptr, other.data(), type, 0, table, inside));
            EXPECT_SUCCESS(api().i32ColorFilter(mask.data(), other.data(), other.data(), type, 0,
                                                table, inside));
            EXPECT_SUCCESS(
                api().i32ColorFilter(mask.data(), nullptr, nullptr, type, 0, table, inside));
            EXPECT_SILENT_FAILURE(
                api().i32ColorFilter(nullptr, nullptr, other.data(), type, 0, table, inside));
            EXPECT_SILENT_FAILURE(
                api().i32ColorFilter(mask.data(), nullptr, other.data(), type, 0, nullptr, inside));
            mask.expect(Bytes{1, 2, 3});
        }
    EXPECT_FALSE(allocations.happened());
}

// --- refusals --------------------------------------------------------------------------------

TEST_F(Filter, OtherTypesAreRefused) {
    const Table table({grey(10, 0)});
    for (int type : {0, 5, -1, 6, 0x101, 0x10004, INT_MAX, INT_MIN})
        for (unsigned pixels : {0u, 3u}) {
            Block mask(Bytes{1, 2, 3}), other(Bytes(12, 9));
            EXPECT_SILENT_FAILURE(
                api().i32ColorFilter(mask.data(), nullptr, other.data(), type, pixels, table, 1));
            EXPECT_SILENT_FAILURE(api().i32ColorFilter(mask.data(), other.data(), other.data(),
                                                       type, pixels, table, 0));
            mask.expect(Bytes{1, 2, 3});
        }
}

TEST_F(Filter, NullPointersAreRefused) {
    const Table table({grey(10, 0)}), empty(Ranges{});
    for (int type = 1; type <= 4; ++type) {
        Block mask(Bytes{1, 2, 3}), other(Bytes(12, 9));
        EXPECT_SILENT_FAILURE(
            api().i32ColorFilter(nullptr, other.data(), other.data(), type, 3, table, 1));
        EXPECT_SILENT_FAILURE(
            api().i32ColorFilter(mask.data(), other.data(), other.data(), type, 3, nullptr, 1));
        if (type != I32_FILTER_NONE) {
            EXPECT_SILENT_FAILURE(
                api().i32ColorFilter(mask.data(), other.data(), nullptr, type, 3, table, 1));
            EXPECT_SILENT_FAILURE(
                api().i32ColorFilter(mask.data(), nullptr, nullptr, type, 3, empty, 0));
        }
        mask.expect(Bytes{1, 2, 3});
    }
    EXPECT_SILENT_FAILURE(api().i32ColorFilter(nullptr, nullptr, nullptr, 1, 1, nullptr, 1));
}

TEST_F(Filter, NoMemoryForTheRanges) {
    const Table table(Ranges(5, grey(10, 0)));
    const Bytes start{0, 1, 128, 255};
    for (int type = 1; type <= 4; ++type)
        for (bool with_mask : {false, true}) {
            Block mask(start), mask_in(Bytes(4, 77)), pixels(Bytes(16, 9));
            {
                FailingCall failing("GlobalAlloc", 1, FailingCall::from_there_on);
                EXPECT_SILENT_FAILURE(api().i32ColorFilter(mask.data(),
                                                           with_mask ? mask_in.data() : nullptr,
                                                           pixels.data(), type, 4, table, 1));
                EXPECT_TRUE(failing.happened());
            }
            mask.expect(start);
        }
}

// Counts whose 8 bytes each do not fit into 32 bits, or into memory. The table is not read first:
// it is not as long as it says.
TEST_F(Filter, TablesThatNoMemoryHolds) {
    const frame::SmallMemory small;
    for (uint32_t count : {0x1FFFFFFFu, 0x20000000u, 0x20000001u, 0x40000001u, 0x7FFFFFFFu,
                           0x80000000u, 0xE0000001u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(count);
        const Table table(count, {grey(10, 0)});
        for (int type = 1; type <= 4; ++type) {
            Block mask(Bytes{1, 2, 3}), pixels(Bytes(12, 9));
            EXPECT_SILENT_FAILURE(
                api().i32ColorFilter(mask.data(), nullptr, pixels.data(), type, 3, table, 1));
            mask.expect(Bytes{1, 2, 3});
        }
    }
}

} // namespace
} // namespace q32::test
