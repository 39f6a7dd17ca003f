// The row conversion kernels of every instruction set of this machine, and the scalar forms,
// against the plain models: sweeps over lengths, alignments and fences, and exhaustive loops where
// the domain is small enough. What the exports add to them is tested with the library.
#include "rows/kernels/row_kernels.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/kernels/kernel_sweep.h"
#include "tests/kernels/levels.h"
#include "tests/models/rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

namespace q32::test {
namespace {

using model::Bytes;
using rows::RowKernels;

std::size_t bits(std::size_t pixels) {
    return (pixels + 7) / 8;
}

// --- each kernel as the sweep sees it ---

Conversion fill(const RowKernels &k, std::size_t pixel_bytes) {
    return {std::string{"fill "} + std::to_string(pixel_bytes),
            [=](std::size_t) { return pixel_bytes; },
            pixel_bytes,
            false,
            k.fill[pixel_bytes - 1],
            [](const Bytes &pattern, std::size_t n) { return model::fill(pattern, n); }};
}

Conversion invert(const RowKernels &k) {
    return {"invert", 1,
            1,        true,
            k.invert, [](const Bytes &source, std::size_t) {
                return model::byte_invert(source); }};
}

Conversion bit_to_byte(const RowKernels &k, std::uint8_t one) {
    return {
        std::string{"bit to byte, a set bit is "} + std::to_string(one),
        bits,
        1,
        false,
        [=, run = k.bit_to_byte](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
            run(to, from, n, one);
        },
        [=](const Bytes &source, std::size_t n) { return model::bit_to_bytes(source, n, one); }};
}

Conversion byte_to_bit(const RowKernels &k, std::uint8_t threshold) {
    return {std::string{"byte to bit, threshold "} + std::to_string(threshold),
            1,
            bits,
            true,
            [=, run = k.byte_to_bit](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                run(to, from, n, threshold);
            },
            [=](const Bytes &source, std::size_t n) {
                return model::byte_to_bit(source, n, threshold);
            }};
}

Conversion narrow(const char *name, rows::Conversion *run, const model::Layout16 &layout) {
    return {
        name, 3,
        2,    true,
        run,  [&](const Bytes &source, std::size_t n) {
                return model::narrow(source, n, layout); }};
}

Conversion widen(const char *name, rows::Conversion *run, const model::Layout16 &layout) {
    return {
        name, 2,
        3,    false,
        run,  [&](const Bytes &source, std::size_t n) {
                return model::widen(source, n, layout); }};
}

Conversion to_555(const RowKernels &k) {
    return narrow("888 to 555", k.rgb888_to_555, model::layout_555);
}
Conversion to_565(const RowKernels &k) {
    return narrow("888 to 565", k.rgb888_to_565, model::layout_565);
}
Conversion from_555(const RowKernels &k) {
    return widen("555 to 888", k.rgb555_to_888, model::layout_555);
}
Conversion from_565(const RowKernels &k) {
    return widen("565 to 888", k.rgb565_to_888, model::layout_565);
}

Conversion swap_channels(const RowKernels &k) {
    return {
        "swap red and blue", 3, 3, true, k.swap_red_blue, [](const Bytes &source, std::size_t n) {
            return model::swap_channels(source, n);
        }};
}

// A mapping reads exactly its tables: they may lie at either fence or anywhere.
struct MappingKind {
    const char *name;
    rows::Mapping *RowKernels::*kernel;
    std::size_t channels;
    std::size_t sample_bytes;
};
constexpr MappingKind mapping_kinds[] = {{"map 8", &RowKernels::map_8, 1, 1},
                                         {"map 24", &RowKernels::map_24, 3, 1},
                                         {"map 16", &RowKernels::map_16, 1, 2},
                                         {"map 48", &RowKernels::map_48, 3, 2}};

Conversion mapping(const RowKernels &k, const MappingKind &kind, const std::uint8_t *tables) {
    const std::size_t bytes = kind.channels * kind.sample_bytes;
    return {kind.name,
            bytes,
            bytes,
            true,
            [=, run = k.*kind.kernel](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                run(to, from, tables, n);
            },
            [=](const Bytes &source, std::size_t n) {
                const model::View view{tables, 256 * kind.channels};
                return kind.sample_bytes == 1 ? model::map_8(source, view, kind.channels, n)
                                              : model::map_16(source, view, kind.channels, n);
            }};
}

std::vector<Conversion> conversions_without_tables(const RowKernels &k) {
    std::vector<Conversion> all;
    for (std::size_t pixel_bytes = 1; pixel_bytes <= rows::max_fill_bytes; ++pixel_bytes)
        all.push_back(fill(k, pixel_bytes));
    all.push_back(invert(k));
    for (const std::uint8_t one : {255, 1})
        all.push_back(bit_to_byte(k, one));
    for (const std::uint8_t threshold : {0, 127, 128, 254})
        all.push_back(byte_to_bit(k, threshold));
    all.insert(all.end(), {to_555(k), to_565(k), from_555(k), from_565(k), swap_channels(k)});
    return all;
}

Bytes random_bytes(std::size_t count, std::uint64_t number) {
    Bytes bytes(count);
    Random random{test_seed(), number};
    random.fill(bytes);
    return bytes;
}

class RowKernel : public testing::TestWithParam<Level<RowKernels>> {
protected:
    const RowKernels &kernels() const { return *GetParam().kernels; }
};

INSTANTIATE_TEST_SUITE_P(Each, RowKernel,
                         testing::ValuesIn(levels_of_this_machine(rows::scalar_row_kernels,
                                                                  rows::row_kernels)),
                         name_of_level);

// --- sweeps ---

TEST_P(RowKernel, AllLengthsAlignmentsAndFences) {
    for (const Conversion &conversion : conversions_without_tables(kernels()))
        sweep_lengths_and_alignments(conversion);
}

TEST_P(RowKernel, RandomRows) {
    for (const Conversion &conversion : conversions_without_tables(kernels()))
        sweep_random_rows(conversion, 60);
}

TEST_P(RowKernel, MapAllLengthsAlignmentsAndFences) {
    FencedMemory memory{768};
    for (const MappingKind &kind : mapping_kinds) {
        const std::size_t table_bytes = 256 * kind.channels;
        std::uint8_t *const tables = memory.end() - table_bytes;
        Random random{test_seed(), kind.channels};
        random.fill(std::span{tables, table_bytes});
        sweep_lengths_and_alignments(mapping(kernels(), kind, tables));
        sweep_random_rows(mapping(kernels(), kind, tables), 60);
    }
}

TEST_P(RowKernel, MapTablesAtAllAlignments) {
    FencedMemory memory{768 + 64};
    for (const MappingKind &kind : mapping_kinds)
        for (std::size_t shift = 0; shift < 64; ++shift) {
            std::uint8_t *const tables = memory.begin() + shift;
            Random random{test_seed(), shift};
            random.fill(std::span{tables, 256 * kind.channels});
            const Bytes source = random_bytes(300 * kind.channels * kind.sample_bytes, shift);
            ASSERT_TRUE(runs_exactly(mapping(kernels(), kind, tables), source, 300));
        }
}

// --- exchange: both blocks are written, so it has a sweep of its own ---

bool exchanges(const RowKernels &k, std::uint8_t *a, std::uint8_t *b, std::size_t bytes,
               std::uint64_t number) {
    constexpr std::size_t margin = 128; // beside each block, on the side away from the fence
    const Bytes first = random_bytes(bytes, number);
    const Bytes second = random_bytes(bytes, ~number);
    std::memset(a - margin, 0xA5, bytes + margin);
    std::memset(b, 0x5A, bytes + margin);
    std::copy(first.begin(), first.end(), a);
    std::copy(second.begin(), second.end(), b);
    k.exchange(a, b, bytes);
    const auto is = [](std::uint8_t value) { return [=](std::uint8_t v) { return v == value; }; };
    return std::equal(second.begin(), second.end(), a) &&
           std::equal(first.begin(), first.end(), b) && std::all_of(a - margin, a, is(0xA5)) &&
           std::all_of(b + bytes, b + bytes + margin, is(0x5A));
}

TEST_P(RowKernel, ExchangeAllLengthsAndFences) {
    FencedMemory rear{4096};
    FencedMemory front{4096};
    for (std::size_t bytes = 0; bytes <= longest_swept; ++bytes) {
        ASSERT_TRUE(exchanges(kernels(), rear.end() - bytes, front.begin(), bytes, bytes))
            << bytes << " bytes";
    }
}

TEST_P(RowKernel, ExchangeAllAlignments) {
    FencedMemory rear{4096};
    FencedMemory front{4096};
    for (const std::size_t bytes : {1, 7, 8, 15, 16, 31, 63, 64, 65, 127, 128, 193, 511})
        for (std::size_t a = 0; a < 64; ++a)
            for (std::size_t b = 0; b < 64; ++b)
                ASSERT_TRUE(exchanges(kernels(), rear.begin() + 128 + a, front.begin() + b, bytes,
                                      a * 64 + b))
                    << bytes << " bytes, first block shifted by " << a << ", second by " << b;
}

TEST_P(RowKernel, ExchangeOfABlockWithItselfChangesNothing) {
    FencedMemory memory{4096};
    for (std::size_t bytes = 0; bytes <= longest_swept; ++bytes) {
        std::uint8_t *const block = memory.end() - bytes;
        const Bytes before = random_bytes(bytes, bytes);
        std::copy(before.begin(), before.end(), block);
        kernels().exchange(block, block, bytes);
        ASSERT_TRUE(std::equal(before.begin(), before.end(), block)) << bytes << " bytes";
    }
}

TEST_P(RowKernel, ExchangeOfNeighboursTouchesNeitherTwice) {
    FencedMemory memory{4096};
    for (std::size_t bytes = 1; bytes <= 600; ++bytes) {
        const Bytes both = random_bytes(2 * bytes, bytes);
        std::uint8_t *const low = memory.end() - 2 * bytes;
        std::uint8_t *const high = memory.end() - bytes;
        Bytes swapped{both.begin() + static_cast<std::ptrdiff_t>(bytes), both.end()};
        swapped.insert(swapped.end(), both.begin(),
                       both.begin() + static_cast<std::ptrdiff_t>(bytes));
        std::copy(both.begin(), both.end(), low);
        if (bytes % 2 == 0)
            kernels().exchange(low, high, bytes);
        else
            kernels().exchange(high, low, bytes);
        ASSERT_TRUE(std::equal(swapped.begin(), swapped.end(), low)) << bytes << " bytes";
    }
}

TEST_P(RowKernel, ExchangeRandomBlocks) {
    FencedMemory rear{64 * 1024};
    FencedMemory front{64 * 1024};
    random_cases(200, [&](Random &random, std::uint64_t number) {
        const std::size_t bytes = random.below(60000);
        if (exchanges(kernels(), rear.end() - bytes - random.below(64),
                      front.begin() + random.below(64), bytes, number))
            return true;
        ADD_FAILURE() << "exchange, case " << number << ": " << rerun(number);
        return false;
    });
}

// --- exhaustive ---

TEST_P(RowKernel, NarrowAllColours) {
    constexpr std::size_t row = 65536;
    Bytes colours(3 * row);
    for (std::size_t first = 0; first < 256; ++first) {
        for (std::size_t i = 0; i < row; ++i) {
            colours[3 * i] = static_cast<std::uint8_t>(first);
            colours[3 * i + 1] = static_cast<std::uint8_t>(i / 256);
            colours[3 * i + 2] = static_cast<std::uint8_t>(i % 256);
        }
        ASSERT_TRUE(runs_exactly(to_555(kernels()), colours, row));
        ASSERT_TRUE(runs_exactly(to_565(kernels()), colours, row));
    }
}

// Starting the words at any of 64 places puts each word into every lane of a vector.
TEST_P(RowKernel, WidenAllWordsInEveryLane) {
    for (unsigned start = 0; start < 64; ++start) {
        Bytes words;
        for (unsigned i = 0; i < 65536 + start; ++i) {
            words.push_back(static_cast<std::uint8_t>((i - start) % 256));
            words.push_back(static_cast<std::uint8_t>((i - start) / 256 % 256));
        }
        ASSERT_TRUE(runs_exactly(from_555(kernels()), words, words.size() / 2));
        ASSERT_TRUE(runs_exactly(from_565(kernels()), words, words.size() / 2));
    }
}

TEST_P(RowKernel, AllThresholdsAndBytesInEveryLane) {
    Bytes bytes;
    for (unsigned start = 0; start < 64; ++start)
        for (unsigned i = 0; i < 257; ++i) // 257: one lane further in every round
            bytes.push_back(static_cast<std::uint8_t>(i));
    for (unsigned threshold = 0; threshold < 256; ++threshold)
        ASSERT_TRUE(runs_exactly(byte_to_bit(kernels(), static_cast<std::uint8_t>(threshold)),
                                 bytes, bytes.size()));
}

TEST_P(RowKernel, AllBitPatterns) {
    Bytes patterns;
    for (unsigned i = 0; i < 65536; ++i) {
        patterns.push_back(static_cast<std::uint8_t>(i / 256));
        patterns.push_back(static_cast<std::uint8_t>(i % 256));
    }
    for (const std::uint8_t one : {255, 1, 0x5A})
        ASSERT_TRUE(runs_exactly(bit_to_byte(kernels(), one), patterns, 8 * patterns.size()));
}

// The first pixel is the pattern, each other one is as the one before, and nothing lies before and
// behind.
void fill_exactly(rows::Filling *fill, FencedMemory &memory, const Bytes &pattern,
                  std::size_t pixels, std::size_t distance) {
    const std::size_t others = (pixels - 1) * pattern.size();
    std::uint8_t *const run = memory.end() - distance - others - pattern.size();
    std::memset(memory.begin(), 0xEE, static_cast<std::size_t>(memory.end() - memory.begin()));
    fill(run, pattern.data(), pixels);
    ASSERT_TRUE(std::equal(pattern.begin(), pattern.end(), run) &&
                std::memcmp(run, run + pattern.size(), others) == 0)
        << pixels << " pixels of " << pattern.size() << " bytes, " << distance;
    ASSERT_EQ(std::count(memory.begin(), run, 0xEE), run - memory.begin());
    ASSERT_EQ(std::count(memory.end() - distance, memory.end(), 0xEE),
              static_cast<std::ptrdiff_t>(distance));
}

// Runs that are longer than the caches of a core are filled in another way, and those that are
// longer than nearly all caches in a third.
TEST_P(RowKernel, FillLongRuns) {
    struct Length {
        std::size_t about;
        std::vector<std::size_t> pixels_more, distances;
    };
    const Length lengths[] = {
        {1 << 20, {0, 1, 2, 3, 5, 31, 64, 97}, {0, 1, 2, 3, 13, 62}},
        {24 << 20, {0, 1, 95}, {0, 29}},
    };
    for (const Length &length : lengths) {
        FencedMemory memory{length.about + 4096};
        for (std::size_t bytes_per_pixel = 1; bytes_per_pixel <= 4; ++bytes_per_pixel)
            for (const std::size_t more : length.pixels_more)
                for (const std::size_t distance : length.distances)
                    ASSERT_NO_FATAL_FAILURE(
                        fill_exactly(kernels().fill[bytes_per_pixel - 1], memory,
                                     random_bytes(bytes_per_pixel, 8 * more + distance),
                                     length.about / bytes_per_pixel + more, distance));
    }
}

TEST_P(RowKernel, FillAllPatternsOfTwoBytes) {
    for (unsigned i = 0; i < 65536; ++i) {
        const Bytes pattern{static_cast<std::uint8_t>(i / 256), static_cast<std::uint8_t>(i % 256)};
        Bytes out(2 * 37);
        kernels().fill[1](out.data(), pattern.data(), 37);
        ASSERT_EQ(out, model::fill(pattern, 37)) << i;
    }
}

TEST_P(RowKernel, InvertAllBytes) {
    Bytes bytes(256 * 3);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    ASSERT_TRUE(runs_exactly(invert(kernels()), bytes, bytes.size()));
}

// A cyclic sequence in which every pair of bytes occurs as neighbours exactly once: the Lyndon
// words "a" and "ab" (a < b) in order.
Bytes every_pair_of_neighbours() {
    Bytes sequence;
    for (unsigned a = 0; a < 256; ++a) {
        sequence.push_back(static_cast<std::uint8_t>(a));
        for (unsigned b = a + 1; b < 256; ++b) {
            sequence.push_back(static_cast<std::uint8_t>(a));
            sequence.push_back(static_cast<std::uint8_t>(b));
        }
    }
    return sequence;
}

// Cut into tables that overlap by one entry, the sequence runs the interpolation over all 2^24
// combinations of two entries and a low byte; each table meets all 2^16 samples.
TEST_P(RowKernel, MapAllEntriesAndSamples) {
    const Bytes sequence = every_pair_of_neighbours();
    ASSERT_EQ(sequence.size(), 65536u);
    Bytes samples;
    for (unsigned i = 0; i < 65536; ++i) {
        samples.push_back(static_cast<std::uint8_t>(i % 256));
        samples.push_back(static_cast<std::uint8_t>(i / 256));
    }
    Bytes tables(256);
    for (std::size_t start = 0; start < sequence.size(); start += 255) {
        for (std::size_t i = 0; i < 256; ++i)
            tables[i] = sequence[(start + i) % sequence.size()];
        ASSERT_TRUE(runs_exactly(mapping(kernels(), mapping_kinds[2], tables.data()), samples,
                                 samples.size() / 2));
    }
}

TEST_P(RowKernel, MapAllSamplesOfEveryChannel) {
    const Bytes tables = random_bytes(768, 48);
    Bytes triples;
    for (unsigned i = 0; i < 65536; ++i)
        for (const unsigned sample : {i, i * 40503 % 65536, 65535 - i}) {
            triples.push_back(static_cast<std::uint8_t>(sample % 256));
            triples.push_back(static_cast<std::uint8_t>(sample / 256));
        }
    ASSERT_TRUE(runs_exactly(mapping(kernels(), mapping_kinds[3], tables.data()), triples, 65536));
}

TEST_P(RowKernel, EveryKernelIsThere) {
    const RowKernels &k = kernels();
    for (rows::Filling *const one : k.fill)
        EXPECT_NE(one, nullptr);
    EXPECT_NE(k.exchange, nullptr);
    EXPECT_TRUE(k.invert && k.rgb888_to_555 && k.rgb888_to_565 && k.rgb555_to_888 &&
                k.rgb565_to_888 && k.swap_red_blue);
    EXPECT_TRUE(k.bit_to_byte && k.byte_to_bit);
    EXPECT_TRUE(k.map_8 && k.map_24 && k.map_16 && k.map_48);
}

} // namespace
} // namespace q32::test
