// Every entry that reads pixels, beside the picture.
#include "tests/sharing/pictures.h"

namespace q32::test {
namespace {

constexpr uint8_t untouched = 0xA5;

} // namespace

Picture picture_shown_by(HBUF32 buffer, const Geometry &geometry) {
    Picture picture(buffer, geometry);
    Bytes pixels(block_bytes(geometry.bits, picture.whole()));
    EXPECT_EQ(api().buf32GetMem(buffer, 0, 0, picture.width(), picture.height(), pixels.data()), 1);
    picture.merge(picture.whole(), pixels.data());
    return picture;
}

void expect_image(const Picture &picture) {
    const Area all = picture.whole();
    Bytes expected(block_bytes(picture.bits(), all));
    picture.get(all, expected.data());
    FencedBlock memory(expected.size());
    ASSERT_EQ(api().buf32GetMem(picture.buffer, 0, 0, all.width, all.height, memory.data()), 1);
    EXPECT_TRUE(same_block(picture.geometry, all, expected, memory.data()));
}

void expect_no_image(const Picture &picture) {
    FencedBlock memory(block_bytes(picture.bits(), picture.whole()));
    std::memset(memory.data(), untouched, memory.size());
    EXPECT_SILENT_FAILURE(
        api().buf32GetMem(picture.buffer, 0, 0, picture.width(), picture.height(), memory.data()));
    const Bytes expected(memory.size(), untouched);
    EXPECT_TRUE(same_bytes(expected, memory.data()));
}

namespace {

// One comparison of a picture through all entries.
class Reader {
public:
    explicit Reader(const Picture &picture)
        : picture_(picture), geometry_(picture.geometry), buffer_(picture.buffer),
          width_(picture.width()), height_(picture.height()),
          type_(word(picture.buffer, field_type)) {}

    void read(Through through) {
        const auto locks = word(buffer_, field_lock_count);
        expect_image(picture_);
        for (const Area &piece : pieces()) {
            SCOPED_TRACE(text_of(piece));
            as_memory(piece);
            with_background(piece);
            as_source(piece);
        }
        if (through == Through::everything) {
            whole_lock();
            if (geometry_.is_dense())
                rows();
            if (geometry_.is_dense() || !is_special())
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
    std::vector<Area> pieces() const {
        const int step = is_colour() && geometry_.bits < 8 ? 8 : 1;
        const int x = width_ / 3 / step * step, y = height_ / 3;
        return {{x, y, std::max(width_ / 2, 1), std::max(height_ / 2, 1)},
                {-step * 3, -2, width_ + step * 3, height_ + 2},
                {x, y, width_ + 2, height_ + 3}};
    }

    bool crosses_border(const Area &piece) const {
        return piece.x < 0 || piece.y < 0 || piece.x + piece.width > width_ ||
               piece.y + piece.height > height_;
    }

    void as_memory(const Area &piece) const {
        if (is_colour() && crosses_border(piece))
            return; // fills the whole block
        Bytes expected(block_bytes(geometry_.bits, piece), untouched);
        picture_.get(piece, expected.data());
        FencedBlock memory(expected.size());
        std::memset(memory.data(), untouched, memory.size());
        EXPECT_EQ(
            api().buf32GetMem(buffer_, piece.x, piece.y, piece.width, piece.height, memory.data()),
            1);
        if (is_colour()) {
            EXPECT_TRUE(same_block(geometry_, piece, expected, memory.data()));
        } else {
            EXPECT_TRUE(same_bytes(expected, memory.data()));
        }
    }

    void with_background(const Area &piece) const {
        constexpr uint8_t background[8] = {0x6B, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77};
        Bytes expected(block_bytes(geometry_.bits, piece));
        picture_.get_with_background(piece, expected.data(), background);
        FencedBlock memory(expected.size());
        EXPECT_EQ(api().buf32GetMemWithBC(buffer_, piece.x, piece.y, piece.width, piece.height,
                                          memory.data(), background),
                  1);
        EXPECT_TRUE(same_block(geometry_, piece, expected, memory.data()));
    }

    // Into a buffer that is made for it, and into another one. Only what lies inside is copied.
    void as_source(const Area &piece) const {
        const bool whole =
            piece.x == 0 && piece.y == 0 && piece.width == width_ && piece.height == height_;
        if (crosses_border(piece) || whole)
            return; // the whole is not copied but shared
        Bytes expected(block_bytes(geometry_.bits, piece));
        picture_.get(piece, expected.data());
        const auto expect_piece = [&](HBUF32 copy, int x, int y) {
            FencedBlock memory(expected.size());
            EXPECT_EQ(api().buf32GetMem(copy, x, y, piece.width, piece.height, memory.data()), 1);
            EXPECT_TRUE(same_block(geometry_, piece, expected, memory.data()));
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
        } else if (geometry_.is_dense()) {
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
            EXPECT_TRUE(same_cell(cell, described)) << "cell " << i;
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
