// Every export of the row conversions against the plain models: all lengths, alignments and fences,
// in place, and random rows, with and without the MMX flag.
#include "tests/rows/row_fixture.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/kernels/kernel_sweep.h"
#include "tests/models/rows.h"

namespace q32::test {
namespace {

using model::Bytes;

class RowExactness : public RowTestWithMmxFlag {
protected:
    void sweep(Conversion conversion, std::size_t shortest = 1) {
        conversion.shortest = shortest;
        sweep_lengths_and_alignments(conversion);
        sweep_random_rows(conversion, 40);
    }

    void expect_success(int result) {
        if (result != 1)
            ADD_FAILURE() << "returned " << result;
    }
};

INSTANTIATE_TEST_SUITE_P(Mmx, RowExactness, testing::Bool(), mmx_flag_name);

std::size_t bits(std::size_t pixels) {
    return (pixels + 7) / 8;
}

TEST_P(RowExactness, Fill) {
    for (std::size_t pixel_bytes = 1; pixel_bytes <= 4; ++pixel_bytes)
        sweep({std::string{"mem32Fill "} + std::to_string(pixel_bytes),
               [=](std::size_t) { return pixel_bytes; }, pixel_bytes, false,
               [=, this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                   expect_success(rows().mem32Fill(to, from, static_cast<int>(pixel_bytes),
                                                   static_cast<int>(n)));
               },
               [](const Bytes &pattern, std::size_t n) { return model::fill(pattern, n); }});
}

// The second block lies between fences of its own and must come out holding what the first held.
TEST_P(RowExactness, Exchange) {
    FencedMemory other{64 * 1024};
    std::size_t shift = 0;
    const auto exchange_there_and_copy = [&](std::uint8_t *to, const std::uint8_t *from,
                                             std::size_t n) {
        shift = (shift + 1) % 64;
        std::uint8_t *const second =
            shift % 2 == 0 ? other.begin() + shift : other.end() - shift - n;
        std::copy(from, from + n, second);
        const std::uint8_t first = to[0];
        std::fill(to, to + n, first);
        rows().mem32Exchange(shift % 3 == 0 ? second : to, shift % 3 == 0 ? to : second,
                             static_cast<int>(n));
        if (std::any_of(second, second + n, [=](std::uint8_t v) { return v != first; }))
            ADD_FAILURE() << "the second block does not hold the first";
    };
    sweep({"mem32Exchange", 1, 1, false, exchange_there_and_copy,
           [](const Bytes &source, std::size_t) { return source; }});
}

TEST_P(RowExactness, Invert) {
    const auto inverted = [](const Bytes &source, std::size_t) {
        return model::byte_invert(source);
    };
    // mem32ByteInvert takes its source as writable: with a null destination it is written.
    sweep({"mem32ByteInvert", 1, 1, true,
           [this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
               expect_success(rows().mem32ByteInvert(to, const_cast<std::uint8_t *>(from),
                                                     static_cast<int>(n)));
           },
           inverted});
    sweep({"mem32ByteInvert without destination", 1, 1, true,
           [this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
               std::memmove(to, from, n);
               expect_success(rows().mem32ByteInvert(nullptr, to, static_cast<int>(n)));
           },
           inverted});
}

TEST_P(RowExactness, BitToByte) {
    const auto sweep_one = [this](const char *name, auto run, std::uint8_t one) {
        sweep({name, bits, 1, false,
               [=, this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                   expect_success(run(to, from, static_cast<int>(n)));
               },
               [=](const Bytes &source, std::size_t n) {
                   return model::bit_to_bytes(source, n, one);
               }});
    };
    sweep_one("mem32BitToByte", rows().mem32BitToByte, 255);
    sweep_one("mem32BitToByteExt", rows().mem32BitToByteExt, 1);
}

TEST_P(RowExactness, ByteToBit) {
    for (const int threshold : {0, 127, 128, 255})
        sweep({std::string{"mem32ByteToBit "} + std::to_string(threshold), 1, bits, true,
               [=, this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                   expect_success(rows().mem32ByteToBit(to, from, static_cast<int>(n), threshold));
               },
               [=](const Bytes &source, std::size_t n) {
                   return model::byte_to_bit(source, n, static_cast<std::uint8_t>(threshold));
               }});
}

TEST_P(RowExactness, ByteToBitAllThresholdsAndBytes) {
    Bytes bytes(256);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    for (int threshold = 0; threshold < 256; ++threshold) {
        Bytes row(32);
        ASSERT_EQ(rows().mem32ByteToBit(row.data(), bytes.data(), 256, threshold), 1);
        ASSERT_EQ(row, model::byte_to_bit(bytes, 256, static_cast<std::uint8_t>(threshold)));
    }
}

TEST_P(RowExactness, Narrow) {
    const auto sweep_one = [this](const char *name, auto run, const model::Layout16 &layout) {
        sweep(
            {name, 3, 2, true,
             [=, this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                 expect_success(run(to, from, static_cast<int>(n)));
             },
             [&](const Bytes &source, std::size_t n) { return model::narrow(source, n, layout); }});
    };
    sweep_one("mem32_888To555", rows().mem32_888To555, model::layout_555);
    sweep_one("mem32_888To565", rows().mem32_888To565, model::layout_565);
}

TEST_P(RowExactness, Widen) {
    Bytes all_words(2 * 65536);
    for (std::size_t i = 0; i < all_words.size(); ++i)
        all_words[i] = static_cast<std::uint8_t>(i % 2 == 0 ? i / 2 : i / 512);
    const auto sweep_one = [&, this](const char *name, auto run, const model::Layout16 &layout) {
        const Conversion conversion{
            name,
            2,
            3,
            false,
            [=, this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                expect_success(run(to, from, static_cast<int>(n)));
            },
            [&](const Bytes &source, std::size_t n) { return model::widen(source, n, layout); }};
        sweep(conversion);
        EXPECT_TRUE(runs_exactly(conversion, all_words, 65536));
    };
    sweep_one("mem32_555To888", rows().mem32_555To888, model::layout_555);
    sweep_one("mem32_565To888", rows().mem32_565To888, model::layout_565);
}

TEST_P(RowExactness, SwapChannels) {
    sweep({"RGBToBGR", 3, 3, true,
           [this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
               rows().RGBToBGR(to, from, static_cast<int>(n));
           },
           [](const Bytes &source, std::size_t n) { return model::swap_channels(source, n); }});
}

// The tables end at a fence: no type reads more of them than it has channels.
TEST_P(RowExactness, Map) {
    struct Type {
        int number;
        std::size_t channels;
        std::size_t sample_bytes;
    };
    FencedMemory memory{768};
    for (const Type type : {Type{1, 1, 1}, Type{3, 3, 1}, Type{2, 1, 2}, Type{6, 3, 2}}) {
        const std::size_t table_bytes = 256 * type.channels;
        std::uint8_t *const tables = memory.end() - table_bytes;
        Random{test_seed(), table_bytes}.fill({tables, table_bytes});
        const auto bytes = type.channels * type.sample_bytes;
        sweep({std::string{"mem32Map "} + std::to_string(type.number), bytes, bytes, true,
               [=, this](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                   expect_success(
                       rows().mem32Map(to, from, tables, type.number, static_cast<int>(n)));
               },
               [=](const Bytes &source, std::size_t n) {
                   const model::View view{tables, table_bytes};
                   return type.sample_bytes == 1 ? model::map_8(source, view, type.channels, n)
                                                 : model::map_16(source, view, type.channels, n);
               }},
              0);
    }
}

} // namespace
} // namespace q32::test
