// Rectangles of plain images, and every entry that reads pixels beside them.
#include "tests/sharing/pictures.h"

#include <ostream>

namespace q32::test {
namespace {

constexpr uint8_t untouched = 0xA5;

struct Clip {
    int left, right, top, bottom;
};

Clip inside(const Geometry &geometry, const Rectangle &rectangle) {
    return {std::max(rectangle.x, 0),
            int(std::min<int64_t>(rectangle.x + rectangle.width, geometry.width)),
            std::max(rectangle.y, 0),
            int(std::min<int64_t>(rectangle.y + rectangle.height, geometry.height))};
}

// Where a pixel begins in its image row: cells begin on whole bytes, units follow from there.
int64_t first_bit(const Geometry &geometry, int64_t x) {
    const int64_t cell = x / geometry.cell_width();
    return geometry.bytes(cell * geometry.cell_width()) * 8 +
           x % geometry.cell_width() * unit_bits(geometry);
}

// Calls run(x, pixels, y) for every stretch of pixels that lie side by side in one cell.
template <class Run>
void each_run(const Geometry &geometry, const Rectangle &rectangle, Run run) {
    const Clip clip = inside(geometry, rectangle);
    for (int y = clip.top; y < clip.bottom; ++y)
        for (int x = clip.left; x < clip.right;) {
            const int cell_end = int((x / geometry.cell_width() + 1) * geometry.cell_width());
            const int end = std::min(cell_end, clip.right);
            run(x, end - x, y);
            x = end;
        }
}

} // namespace

// --- images ----------------------------------------------------------------------------------

void copy_bits(uint8_t *to, int64_t to_bit, const uint8_t *from, int64_t from_bit, int64_t count) {
    if (to_bit % 8 == 0 && from_bit % 8 == 0) {
        std::memcpy(to + to_bit / 8, from + from_bit / 8, size_t(count / 8));
        to_bit += count / 8 * 8;
        from_bit += count / 8 * 8;
        count %= 8;
    }
    for (; count > 0; --count, ++to_bit, ++from_bit) {
        const auto mask = uint8_t(0x80 >> to_bit % 8);
        const bool set = (from[from_bit / 8] << from_bit % 8 & 0x80) != 0;
        to[to_bit / 8] = uint8_t((to[to_bit / 8] & ~mask) | (set ? mask : 0));
    }
}

std::ostream &operator<<(std::ostream &out, const Rectangle &rectangle) {
    return out << "rectangle (" << rectangle.x << ", " << rectangle.y << ", " << rectangle.width
               << ", " << rectangle.height << ")";
}

size_t rectangle_row_bytes(const Geometry &geometry, int width) {
    return size_t((width * unit_bits(geometry) + 7) / 8);
}

size_t rectangle_bytes(const Geometry &geometry, const Rectangle &rectangle) {
    return rectangle_row_bytes(geometry, rectangle.width) * size_t(rectangle.height);
}

void read_rectangle(const Picture &from, const Rectangle &rectangle, uint8_t *memory) {
    const Geometry &geometry = from.geometry;
    const size_t stride = rectangle_row_bytes(geometry, rectangle.width);
    each_run(geometry, rectangle, [&](int x, int pixels, int y) {
        copy_bits(memory + stride * size_t(y - rectangle.y),
                  (x - rectangle.x) * unit_bits(geometry), from.image.row(size_t(y)),
                  first_bit(geometry, x), pixels * unit_bits(geometry));
    });
}

void write_rectangle(Picture &to, const Rectangle &rectangle, const uint8_t *memory) {
    const Geometry &geometry = to.geometry;
    const size_t stride = rectangle_row_bytes(geometry, rectangle.width);
    each_run(geometry, rectangle, [&](int x, int pixels, int y) {
        copy_bits(to.image.row(size_t(y)), first_bit(geometry, x),
                  memory + stride * size_t(y - rectangle.y),
                  (x - rectangle.x) * unit_bits(geometry), pixels * unit_bits(geometry));
    });
}

void paint(Picture &picture, const uint8_t *colour) {
    const size_t unit = unit_bytes(picture.geometry);
    for (size_t y = 0; y < picture.image.rows(); ++y)
        for (size_t i = 0; i < picture.image.row_bytes(); ++i)
            picture.image.row(y)[i] = colour[i % unit];
}

Pattern::Pattern(int width_in, int height_in, int bits_in, Random &random)
    : width(width_in), height(height_in), bits(bits_in), pixels(row_bytes() * size_t(height_in)) {
    random.fill(pixels);
}

void paint(Picture &picture, const Pattern &pattern) {
    const Geometry &geometry = picture.geometry;
    for (int64_t y = 0; y < geometry.height; ++y) {
        const uint8_t *from =
            pattern.pixels.data() + pattern.row_bytes() * size_t(y % pattern.height);
        for (int64_t x = 0; x < geometry.width; ++x)
            copy_bits(picture.image.row(size_t(y)), first_bit(geometry, x), from,
                      x % pattern.width * unit_bits(geometry), unit_bits(geometry));
    }
}

// --- comparison ------------------------------------------------------------------------------

testing::AssertionResult same_bytes(std::span<const uint8_t> expected, const uint8_t *got) {
    return same_rows(expected, got, expected.size(), int64_t(expected.size()) * 8);
}

testing::AssertionResult same_rows(std::span<const uint8_t> expected, const uint8_t *got,
                                   size_t row_bytes, int64_t row_bits) {
    const size_t whole = size_t(row_bits / 8);
    const auto mask = uint8_t(0xFF00 >> row_bits % 8);
    for (size_t at = 0; at < expected.size(); at += row_bytes) {
        const bool tail_differs =
            mask != 0 && ((expected[at + whole] ^ got[at + whole]) & mask) != 0;
        if (std::memcmp(expected.data() + at, got + at, whole) == 0 && !tail_differs)
            continue;
        size_t i = at;
        while (i < at + whole && expected[i] == got[i])
            ++i;
        return testing::AssertionFailure() << "row " << at / row_bytes << ", byte " << i - at
                                           << " is " << int(got[i]) << ", not " << int(expected[i]);
    }
    return testing::AssertionSuccess();
}

void expect_image(const Picture &picture) {
    const Geometry &geometry = picture.geometry;
    const Rectangle all{0, 0, int(geometry.width), int(geometry.height)};
    Bytes expected(rectangle_bytes(geometry, all));
    read_rectangle(picture, all, expected.data());
    FencedBlock memory(expected.size());
    ASSERT_EQ(api().buf32GetMem(picture.buffer, 0, 0, all.width, all.height, memory.data()), 1);
    EXPECT_TRUE(same_rows(expected, memory.data(), rectangle_row_bytes(geometry, all.width),
                          all.width * unit_bits(geometry)));
}

void expect_no_image(const Picture &picture) {
    const int width = int(picture.geometry.width), height = int(picture.geometry.height);
    FencedBlock memory(rectangle_bytes(picture.geometry, {0, 0, width, height}));
    std::memset(memory.data(), untouched, memory.size());
    EXPECT_SILENT_FAILURE(api().buf32GetMem(picture.buffer, 0, 0, width, height, memory.data()));
    const Bytes expected(memory.size(), untouched);
    EXPECT_TRUE(same_bytes(expected, memory.data()));
}

namespace {

// One comparison of a picture through all entries.
class Reader {
public:
    explicit Reader(const Picture &picture)
        : picture_(picture), geometry_(picture.geometry), buffer_(picture.buffer),
          width_(int(geometry_.width)), height_(int(geometry_.height)),
          type_(word(picture.buffer, field_type)) {}

    void read(Through through) {
        const uint32_t locks = word(buffer_, field_lock_count);
        expect_image(picture_);
        for (const Rectangle &piece : pieces()) {
            SCOPED_TRACE(testing::Message() << piece);
            as_memory(piece);
            with_background(piece);
            as_source(piece);
        }
        if (through == Through::everything) {
            whole_lock();
            if (is_dense(geometry_))
                rows();
            if (is_dense(geometry_) || !is_special())
                cells();
        }
        EXPECT_EQ(word(buffer_, field_lock_count), locks);
        if (through == Through::everything) {
            EXPECT_EQ(word(buffer_, field_access_mode), 1u);
        }
    }

private:
    bool is_colour() const { return type_ == BUF32_ONE_COLOUR; }
    bool is_pattern() const { return type_ == BUF32_PATTERN; }
    bool is_special() const { return is_colour() || is_pattern(); }

    // Inside, across each border, and around everything. The byte of a colour under 8 bits starts
    // afresh in every rectangle, which makes a difference unless pieces begin on whole bytes.
    std::vector<Rectangle> pieces() const {
        const int step = is_colour() && geometry_.bits < 8 ? 8 : 1;
        const int x = width_ / 3 / step * step, y = height_ / 3;
        return {{x, y, std::max(width_ / 2, 1), std::max(height_ / 2, 1)},
                {-step * 3, -2, width_ + step * 3, height_ + 2},
                {x, y, width_ + 2, height_ + 3}};
    }

    bool crosses_border(const Rectangle &piece) const {
        return piece.x < 0 || piece.y < 0 || piece.x + piece.width > width_ ||
               piece.y + piece.height > height_;
    }

    void as_memory(const Rectangle &piece) const {
        if (is_colour() && crosses_border(piece))
            return; // fills the whole block
        Bytes expected(rectangle_bytes(geometry_, piece), untouched);
        read_rectangle(picture_, piece, expected.data());
        FencedBlock memory(expected.size());
        std::memset(memory.data(), untouched, memory.size());
        EXPECT_EQ(
            api().buf32GetMem(buffer_, piece.x, piece.y, piece.width, piece.height, memory.data()),
            1);
        if (is_colour()) {
            EXPECT_TRUE(same_rows(expected, memory.data(),
                                  rectangle_row_bytes(geometry_, piece.width),
                                  piece.width * unit_bits(geometry_)));
        } else {
            EXPECT_TRUE(same_bytes(expected, memory.data()));
        }
    }

    void with_background(const Rectangle &piece) const {
        constexpr uint8_t background[8] = {0x6B, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77};
        const size_t unit = unit_bytes(geometry_);
        Bytes expected(rectangle_bytes(geometry_, piece));
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = background[i % unit];
        read_rectangle(picture_, piece, expected.data());
        FencedBlock memory(expected.size());
        EXPECT_EQ(api().buf32GetMemWithBC(buffer_, piece.x, piece.y, piece.width, piece.height,
                                          memory.data(), background),
                  1);
        EXPECT_TRUE(same_rows(expected, memory.data(), rectangle_row_bytes(geometry_, piece.width),
                              piece.width * unit_bits(geometry_)));
    }

    // Into a buffer that is made for it, and into another one. Only what lies inside is copied.
    void as_source(const Rectangle &piece) const {
        const bool whole =
            piece.x == 0 && piece.y == 0 && piece.width == width_ && piece.height == height_;
        if (crosses_border(piece) || whole)
            return; // the whole is not copied but shared
        Bytes expected(rectangle_bytes(geometry_, piece));
        read_rectangle(picture_, piece, expected.data());
        const auto expect_piece = [&](HBUF32 copy, int x, int y) {
            FencedBlock memory(expected.size());
            EXPECT_EQ(api().buf32GetMem(copy, x, y, piece.width, piece.height, memory.data()), 1);
            EXPECT_TRUE(same_rows(expected, memory.data(),
                                  rectangle_row_bytes(geometry_, piece.width),
                                  piece.width * unit_bits(geometry_)));
        };
        HBUF32 made = 0;
        EXPECT_EQ(api().buf32GetBuf(buffer_, piece.x, piece.y, piece.width, piece.height, &made),
                  1);
        if (made != 0) {
            expect_piece(made, 0, 0);
            EXPECT_EQ(api().buf32Free(made), 1);
        }
        Buffer other(int(geometry_.bits), piece.width + 5, piece.height + 5);
        EXPECT_EQ(
            api().buf32MergeBuf(buffer_, piece.x, piece.y, piece.width, piece.height, other, 3, 4),
            1);
        expect_piece(other, 3, 4);
    }

    void whole_lock() const {
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(buffer_, BUF32_READ, &base), 1);
        if (!is_special()) {
            EXPECT_TRUE(
                same_bytes(storage_of(picture_.image, geometry_), static_cast<uint8_t *>(base)));
        } else if (is_dense(geometry_)) {
            const size_t rows = is_colour() ? 1 : word(buffer_, field_colour) >> 16;
            const size_t shown = std::min(rows, picture_.image.rows());
            EXPECT_TRUE(same_rows({picture_.image.row(0), picture_.image.row_bytes() * shown},
                                  static_cast<uint8_t *>(base), picture_.image.row_bytes(),
                                  width_ * geometry_.bits));
        }
        EXPECT_EQ(api().buf32Unlock(buffer_), 1);
    }

    void rows() const {
        ASSERT_EQ(api().buf32Lock(buffer_, BUF32_READ, nullptr), 1);
        const size_t row_bytes = picture_.image.row_bytes();
        FencedBlock memory(row_bytes);
        for (int y = 0; y < height_; ++y) {
            const uint8_t *expected = picture_.image.row(size_t(y));
            ASSERT_EQ(api().buf32Line(buffer_, y, BUF32_LINE_READ, memory.data()), 1);
            ASSERT_TRUE(same_rows({expected, row_bytes}, memory.data(), row_bytes,
                                  is_special() ? width_ * geometry_.bits : int64_t(row_bytes) * 8))
                << "image row " << y;
        }
        using LineSpan = int(HBUF32, void *, int, int, int, int);
        LineSpan *const line_span = entry_of<LineSpan>(buffer_, entry_line_span);
        for (const auto &[start, end] : {std::pair{0, width_}, {width_ / 3, width_}, {0, 1}}) {
            const int from = start / 8 * 8; // spans are cut from whole bytes
            const size_t bytes = size_t(geometry_.bytes(end - from));
            FencedBlock span(bytes);
            const int y = height_ / 2;
            EXPECT_EQ(line_span(buffer_, span.data(), 1, from, end, y), 1);
            EXPECT_TRUE(
                same_rows({picture_.image.row(size_t(y)) + from * geometry_.bits / 8, bytes},
                          span.data(), bytes, (end - from) * geometry_.bits))
                << from << " to " << end;
        }
        EXPECT_EQ(api().buf32Unlock(buffer_), 1);
    }

    void cells() const {
        for (int i = 0; i < int(geometry_.cell_count()); ++i) {
            void *address = nullptr;
            BUF32CELL cell;
            ASSERT_EQ(api().buf32CellLock(buffer_, i, &address, &cell), 1);
            const BUF32CELL described = geometry_.description(i);
            EXPECT_EQ(std::memcmp(&cell, &described, sizeof cell), 0) << "cell " << i;
            const auto row_bytes = size_t(cell.row_bytes);
            for (int y = 0; y < cell.height; ++y) {
                const uint8_t *expected =
                    picture_.image.row(size_t(cell.y + y)) + geometry_.bytes(cell.x);
                EXPECT_TRUE(same_rows({expected, row_bytes},
                                      static_cast<uint8_t *>(address) + size_t(y) * row_bytes,
                                      row_bytes, cell.width * geometry_.bits))
                    << "cell " << i << ", its row " << y;
                if (::testing::Test::HasFailure())
                    break;
            }
            ASSERT_EQ(api().buf32CellUnlock(buffer_, i), 1);
        }
    }

    const Picture &picture_;
    const Geometry &geometry_;
    HBUF32 buffer_;
    int width_, height_;
    uint32_t type_;
};

} // namespace

void expect_read_everywhere(const Picture &picture, Through through) {
    Reader(picture).read(through);
}

} // namespace q32::test
