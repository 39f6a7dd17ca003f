// The converting modes of buf32Line, and the LineSpan entry, against the conversions as they are
// defined.
#include "tests/buffer/buffer_fixture.h"

namespace q32::test {
namespace {

class BufferLineConversions : public BufferTest {};

// --- conversions, as they are defined --------------------------------------------------------

// A row's bytes, with zeros behind them for what the row does not have.
uint8_t byte_at(const Bytes &row, size_t i) {
    return i < row.size() ? row[i] : uint8_t(0);
}
unsigned word_at(const Bytes &row, size_t i) {
    return byte_at(row, 2 * i) | unsigned(byte_at(row, 2 * i + 1)) << 8;
}

Bytes read_converted(const Bytes &stored, int mode, int pixels) {
    Bytes result;
    for (size_t i = 0; i < size_t(pixels); ++i) {
        const unsigned value = word_at(stored, i);
        const auto five = [](unsigned field) { return uint8_t((field & 31) << 3 | 7); };
        switch (mode) {
        case BUF32_LINE_READ_BITS:
            result.push_back((byte_at(stored, i / 8) >> (7 - i % 8) & 1) != 0 ? 255 : 0);
            break;
        case BUF32_LINE_READ_565:
            result.insert(result.end(),
                          {five(value >> 11), uint8_t((value >> 5 & 63) << 2 | 3), five(value)});
            break;
        case BUF32_LINE_READ_555:
            result.insert(result.end(), {five(value >> 10), five(value >> 5), five(value)});
            break;
        default:
            return stored;
        }
    }
    return result;
}

Bytes write_converted(const Bytes &memory, int mode, int pixels) {
    Bytes result;
    if (mode == BUF32_LINE_WRITE_BITS) {
        result.resize(size_t(pixels + 7) / 8);
        for (size_t i = 0; i < size_t(pixels); ++i)
            if (memory[i] > 127)
                result[i / 8] |= uint8_t(0x80 >> i % 8);
        return result;
    }
    for (size_t i = 0; i < size_t(pixels); ++i) {
        const unsigned red = memory[3 * i], green = memory[3 * i + 1], blue = memory[3 * i + 2];
        const unsigned value = mode == BUF32_LINE_WRITE_565
                                   ? red >> 3 << 11 | green >> 2 << 5 | blue >> 3
                                   : red >> 3 << 10 | green >> 3 << 5 | blue >> 3;
        result.push_back(uint8_t(value));
        result.push_back(uint8_t(value >> 8));
    }
    return result;
}

size_t memory_bytes(int mode, const Geometry &model) {
    if (mode <= 2)
        return size_t(model.row_bytes());
    return size_t(model.width) * (mode <= 4 ? 1 : 3);
}

// --- converted -------------------------------------------------------------------------------

TEST_F(BufferLineConversions, ReadConverted) {
    random_cases(200, [](Random &random, uint64_t number) {
        const int mode = 3 + 2 * int(random.below(3));
        const int bits = mode == 3 ? 1 : 16;
        const int width = between(random, 1, 600), height = between(random, 1, 150);
        const uint32_t type = ordinary_types[random.below(std::size(ordinary_types))];
        SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type) + " mode " +
                     std::to_string(mode) + "; " + rerun(number));
        Buffer buffer(bits, width, height, type);
        const PlainImage image = fill(buffer, random);
        const Geometry model(width, height, bits, type);
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        FencedBlock memory(memory_bytes(mode, model));
        for (int y = 0; y < height; y += 1 + int(random.below(9))) {
            const Bytes stored(image.row(size_t(y)), image.row(size_t(y)) + image.row_bytes());
            const Bytes expected = read_converted(stored, mode, width);
            std::memset(memory.data(), 0xCC, memory.size());
            EXPECT_EQ(api().buf32Line(buffer, y, mode, memory.data()), 1);
            EXPECT_EQ(Bytes(memory.data(), memory.data() + memory.size()), expected) << y;
        }
        expect_pixels(buffer, image);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BufferLineConversions, WriteConverted) {
    random_cases(200, [](Random &random, uint64_t number) {
        const int mode = 4 + 2 * int(random.below(3));
        const int bits = mode == 4 ? 1 : 16;
        const int width = between(random, 1, 600), height = between(random, 1, 150);
        const uint32_t type = ordinary_types[random.below(std::size(ordinary_types))];
        SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type) + " mode " +
                     std::to_string(mode) + "; " + rerun(number));
        Buffer buffer(bits, width, height, type);
        PlainImage image = fill(buffer, random);
        const Geometry model(width, height, bits, type);
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        FencedBlock memory(memory_bytes(mode, model));
        for (int y = 0; y < height; y += 1 + int(random.below(9))) {
            Bytes given(memory.size());
            random.fill(given);
            if (mode == 4) // around the threshold
                for (uint8_t &value : given)
                    value = value < 128 ? uint8_t(126 + value % 4) : value;
            std::memcpy(memory.data(), given.data(), given.size());
            EXPECT_EQ(api().buf32Line(buffer, y, mode, memory.data()), 1);
            const Bytes expected = write_converted(given, mode, width);
            EXPECT_EQ(expected.size(), image.row_bytes());
            std::memcpy(image.row(size_t(y)), expected.data(), expected.size());
            EXPECT_EQ(std::memcmp(memory.data(), given.data(), given.size()), 0);
        }
        expect_pixels(buffer, image);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        return !::testing::Test::HasFailure();
    });
}

// All 16-bit pixels through modes 5 and 7, all grey bytes through mode 4.
TEST_F(BufferLineConversions, ConvertEveryValue) {
    Buffer words(16, 4096, 16);
    PlainImage image(Geometry(4096, 16, 16, 0));
    for (size_t i = 0; i < image.bytes().size(); i += 2) {
        image.bytes()[i] = uint8_t(i / 2);
        image.bytes()[i + 1] = uint8_t(i / 2 >> 8);
    }
    store(words, image);
    ASSERT_EQ(api().buf32Lock(words, BUF32_READ, nullptr), 1);
    for (int mode : {5, 7}) {
        for (int y = 0; y < 16; ++y) {
            Bytes memory(4096 * 3);
            ASSERT_EQ(api().buf32Line(words, y, mode, memory.data()), 1);
            const Bytes stored(image.row(size_t(y)), image.row(size_t(y)) + image.row_bytes());
            EXPECT_EQ(memory, read_converted(stored, mode, 4096));
        }
    }
    ASSERT_EQ(api().buf32Unlock(words), 1);

    Buffer flags(1, 256, 1);
    Bytes greys(256), row(32), expected(32);
    for (size_t i = 0; i < 256; ++i) {
        greys[i] = uint8_t(i);
        if (i > 127)
            expected[i / 8] |= uint8_t(0x80 >> i % 8);
    }
    ASSERT_EQ(api().buf32Lock(flags, BUF32_WRITE, nullptr), 1);
    ASSERT_EQ(api().buf32Line(flags, 0, 4, greys.data()), 1);
    ASSERT_EQ(api().buf32Line(flags, 0, 1, row.data()), 1);
    EXPECT_EQ(row, expected);
    ASSERT_EQ(api().buf32Unlock(flags), 1);
}

// The converting modes on depths that they are not meant for: reading converts the bytes that the
// row has, with zeros behind them; nothing outside the row and the memory is touched.
TEST_F(BufferLineConversions, ConvertOtherDepthsWithinTheirBytes) {
    for (int bits : {1, 2, 4, 7, 8, 12, 15, 16, 24, 32, 64}) {
        for (int width : {1, 5, 127, 128, 129, 300}) {
            for (uint32_t type : {BUF32_TILED, BUF32_LINEAR}) {
                const Geometry model(width, 3, bits, type);
                Buffer buffer(bits, width, 3, type);
                PlainImage image = fill_and_check(buffer);
                ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
                for (int mode = 3; mode <= 8; ++mode) {
                    SCOPED_TRACE(size_text(bits, width, 3) + " mode " + std::to_string(mode));
                    FencedBlock memory(memory_bytes(mode, model));
                    std::memset(memory.data(), 0xCC, memory.size());
                    EXPECT_EQ(api().buf32Line(buffer, 1, mode, memory.data()), 1);
                    if (mode % 2 == 1) {
                        const Bytes stored(image.row(1), image.row(1) + image.row_bytes());
                        EXPECT_EQ(Bytes(memory.data(), memory.data() + memory.size()),
                                  read_converted(stored, mode, width));
                    } else { // the first and the last row keep their pixels
                        Bytes row(image.row_bytes());
                        for (int y : {0, 2}) {
                            EXPECT_EQ(api().buf32Line(buffer, y, 1, row.data()), 1);
                            EXPECT_EQ(std::memcmp(row.data(), image.row(size_t(y)), row.size()), 0);
                        }
                        EXPECT_EQ(api().buf32Line(buffer, 1, 2, image.row(1)), 1);
                    }
                }
                ASSERT_EQ(api().buf32Unlock(buffer), 1);
            }
        }
    }
}

// --- spans -----------------------------------------------------------------------------------

using LineSpan = int(HBUF32, void *, int, int, int, int);

int line_span(HBUF32 buffer, void *memory, int mode, int x_start, int x_end, int y) {
    return entry_of<LineSpan>(buffer, entry_line_span)(buffer, memory, mode, x_start, x_end, y);
}

TEST_F(BufferLineConversions, SpansReadAndWriteAPartOfARow) {
    random_cases(250, [](Random &random, uint64_t number) {
        const int bits = int(8 * (1 + random.below(8)));
        const int width = between(random, 1, 600), height = between(random, 1, 150);
        const uint32_t type = ordinary_types[random.below(std::size(ordinary_types))];
        SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type) + "; " +
                     rerun(number));
        Buffer buffer(bits, width, height, type);
        PlainImage image = fill(buffer, random);
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        for (int i = 0; i < 12; ++i) {
            const int start = between(random, 0, width - 1),
                      end = between(random, start + 1, width);
            const int y = between(random, 0, height - 1);
            const size_t offset = size_t(start * bits / 8),
                         bytes = size_t((end - start) * bits / 8);
            FencedBlock memory(bytes);
            EXPECT_EQ(line_span(buffer, memory.data(), 1, start, end, y), 1);
            EXPECT_EQ(std::memcmp(memory.data(), image.row(size_t(y)) + offset, bytes), 0)
                << start << " to " << end << " of row " << y;
            for (size_t k = 0; k < bytes; ++k)
                image.row(size_t(y))[offset + k] = memory.data()[k] = random.byte();
            EXPECT_EQ(line_span(buffer, memory.data(), 2, start, end, y), 1);
            EXPECT_EQ(word(buffer, field_lock_count), 1u);
        }
        expect_pixels(buffer, image);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BufferLineConversions, SpansWithoutPixelsTouchNothing) {
    Buffer buffer(24, 30, 20);
    uint8_t memory[1] = {7};
    for (const auto &[start, end] : {std::pair{5, 5}, {9, 3}, {30, 40}, {-8, 0}})
        for (const int mode : {BUF32_LINE_READ, BUF32_LINE_WRITE, BUF32_LINE_READ_565})
            EXPECT_SUCCESS(line_span(buffer, memory, mode, start, end, 4));
    EXPECT_EQ(memory[0], 7);
}

TEST_F(BufferLineConversions, SpansConvert) {
    random_cases(150, [](Random &random, uint64_t number) {
        const int mode = 3 + int(random.below(4));
        const int bits = mode <= 4 ? 1 : 16;
        const int width = between(random, 1, 400), height = between(random, 1, 140);
        const uint32_t type = ordinary_types[random.below(std::size(ordinary_types))];
        SCOPED_TRACE(size_text(bits, width, height) + " mode " + std::to_string(mode) + "; " +
                     rerun(number));
        Buffer buffer(bits, width, height, type);
        PlainImage image = fill(buffer, random);
        // Bits behind a row's last pixel are no pixels: a span up to the end may clear them.
        if (bits == 1 && width % 8 != 0) {
            for (size_t y = 0; y < image.rows(); ++y)
                image.row(y)[image.row_bytes() - 1] &= uint8_t(0xFF00 >> width % 8);
            store(buffer, image);
        }
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        for (int i = 0; i < 12; ++i) {
            const int start = between(random, 0, width - 1),
                      end = between(random, start + 1, width);
            const int y = between(random, 0, height - 1);
            const int pixels = end - start;
            uint8_t *row = image.row(size_t(y));
            FencedBlock memory(size_t(pixels) * (mode <= 4 ? 1 : 3));
            if (mode % 2 == 1) {
                EXPECT_EQ(line_span(buffer, memory.data(), mode, start, end, y), 1);
                Bytes whole = read_converted(Bytes(row, row + image.row_bytes()), mode, width);
                const size_t unit = mode == 3 ? 1 : 3;
                EXPECT_EQ(
                    std::memcmp(memory.data(), whole.data() + size_t(start) * unit, memory.size()),
                    0)
                    << start << " to " << end << " of row " << y;
            } else {
                Bytes given(memory.size());
                random.fill(given);
                std::memcpy(memory.data(), given.data(), given.size());
                EXPECT_EQ(line_span(buffer, memory.data(), mode, start, end, y), 1);
                const Bytes converted = write_converted(given, mode, pixels);
                for (int x = 0; x < pixels; ++x) {
                    const int at = start + x;
                    if (mode == 4) {
                        const int bit = converted[size_t(x / 8)] >> (7 - x % 8) & 1;
                        row[at / 8] = uint8_t((row[at / 8] & ~(0x80 >> at % 8)) |
                                              (bit != 0 ? 0x80 >> at % 8 : 0));
                    } else {
                        std::memcpy(row + 2 * at, converted.data() + 2 * x, 2);
                    }
                }
            }
            EXPECT_EQ(word(buffer, field_lock_count), 1u);
            Bytes now(image.row_bytes());
            EXPECT_EQ(api().buf32Line(buffer, y, 1, now.data()), 1);
            EXPECT_EQ(now, Bytes(row, row + now.size())) << start << " to " << end;
        }
        expect_pixels(buffer, image);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        return !::testing::Test::HasFailure();
    });
}

} // namespace
} // namespace q32::test
