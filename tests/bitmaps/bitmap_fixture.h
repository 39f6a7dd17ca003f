// What the bitmap tests share: bitmaps as their owners make them, in blocks of the global heap and
// between fences; the two layouts, as plainly as their definitions read; buffers over bitmaps that
// give themselves back.
#pragma once

#include "tests/buffer/buffer_fixture.h"

#include <optional>
#include <string>
#include <vector>

namespace q32::test {

// --- failures --------------------------------------------------------------------------------

inline constexpr Failure no_bitmap_record{1001, 1, 4, 14}, not_a_bitmap{1001, 1, 4, 15};
inline constexpr Failure too_wide{5402, 0, 4, 71}, too_high{5403, 0, 4, 72};
inline constexpr Failure not_a_bitmap_buffer{3200, 0, 4, 16}, freed_meanwhile{3200, 0, 4, 6};
inline constexpr Failure no_private_block{1001, 0, 1, 5};
inline constexpr Failure null_argument{3200, 0, 4, 6};

// The call returns 0 with this report alone, which is then forgotten.
#define EXPECT_FAILURE(call, message, severity, module, point)                                     \
    do {                                                                                           \
        EXPECT_REPORT(call, message, severity, module, point);                                     \
        ::q32::test::forget_reports();                                                             \
    } while (false)

// --- layouts ---------------------------------------------------------------------------------

// Size of an image, and its bytes in both layouts.
struct Shape {
    int bits, width, height;

    size_t row_bytes() const { return (size_t(bits) * size_t(width) + 7) / 8; }
    size_t padded_row_bytes() const { return (row_bytes() + 3) / 4 * 4; }
    size_t unit() const { return size_t(bits) / 8; }
    size_t packed_bytes() const { return row_bytes() * size_t(height); }
    // Rows padded to 4 bytes; the last one's padding may be missing.
    size_t bitmap_bytes(bool padded_to_the_end = true) const {
        return padded_row_bytes() * size_t(height - 1) +
               (padded_to_the_end ? padded_row_bytes() : row_bytes());
    }
    std::string text() const { return size_text(bits, width, height); }
};

// What a block of pixels holds after it has been rearranged, from what it held before. Bytes that
// belong to no pixel of the new layout stay.
Bytes in_buffer_layout(const Bytes &bitmap, const Shape &shape);
Bytes in_bitmap_layout(const Bytes &buffer, const Shape &shape);

// The pixels of a block in bitmap layout: packed rows, top row first.
Bytes packed_pixels(const Bytes &bitmap, const Shape &shape);

Bytes random_bytes(Random &random, size_t count);
Bytes bytes_at(const void *from, size_t count);

// Pixel (x, y) of packed rows, as a number: whole bytes from 8 bits on, the leftmost pixel highest
// under 8.
uint64_t pixel_at(const Bytes &packed, const Shape &shape, int x, int y);

// --- bitmaps ---------------------------------------------------------------------------------

inline constexpr uint32_t rgb = 0, code_r565 = 0x35363552;

// What a packed bitmap says of itself.
struct Header {
    Shape shape;
    uint32_t size = 40;
    uint32_t compression = rgb;
    uint32_t colours_used = 0; // in the block only when the header reaches so far

    // Header and colour table: as a bitmap is opened, and as a duplicate's own block is laid out.
    uint64_t pixels_at() const;
    uint64_t own_pixels_at() const;
    std::string text() const;
};

// The whole block: header, random table, and the given pixels.
Bytes block_of(const Header &header, const Bytes &pixels);
// With random pixels (and padding), which may end with the last row's last pixel.
Bytes block_of(const Header &header, Random &random, bool padded_to_the_end = true);

// A block of the global heap. It is the test's until it is opened, and when it has been closed.
class Bitmap {
public:
    explicit Bitmap(const Bytes &bytes, UINT flags = GMEM_MOVEABLE);
    ~Bitmap();
    Bitmap(const Bitmap &) = delete;
    Bitmap &operator=(const Bitmap &) = delete;
    operator HGLOBAL() const { return handle_; }

    Bytes bytes() const;
    uintptr_t address() const;
    uint32_t locks() const { return GlobalFlags(handle_) & GMEM_LOCKCOUNT; }
    // The library has freed it.
    void gone() { handle_ = nullptr; }

private:
    HGLOBAL handle_;
    size_t size_;
};

// A block whose memory lies between fences, exactly as long as its bytes: the library gets it by
// standing between it and the global heap. Ends at a fence, or begins at one.
class FencedBitmap {
public:
    enum Side { ends_at_fence, begins_at_fence };
    explicit FencedBitmap(const Bytes &bytes, Side side = ends_at_fence);
    ~FencedBitmap();
    FencedBitmap(const FencedBitmap &) = delete;
    FencedBitmap &operator=(const FencedBitmap &) = delete;
    operator HGLOBAL() const { return handle_; }

    uint8_t *data() const { return data_; }
    Bytes bytes() const { return bytes_at(data_, size_); }
    int locks() const { return locks_; }
    bool freed() const { return freed_; }

private:
    struct Gates; // those of the global heap, which know fenced blocks by their handles
    HGLOBAL handle_;
    size_t size_;
    FencedMemory memory_;
    uint8_t *data_;
    int locks_ = 0;
    bool freed_ = false;
};

// --- buffers ---------------------------------------------------------------------------------

// A buffer that gives itself back at the end of its scope: with buf32DIBBufFree when it has been
// opened over a block, which must come back, and with buf32Free otherwise.
class Opened {
public:
    explicit Opened(HGLOBAL bitmap);
    Opened(const Shape &shape, void *pixels); // over a bare block
    explicit Opened(HBUF32 buffer) : handle_(buffer) {}
    ~Opened();
    Opened(const Opened &) = delete;
    Opened &operator=(const Opened &) = delete;
    operator HBUF32() const { return handle_; }

    // buf32DIBBufFree and buf32Free, which must succeed without a report.
    HGLOBAL close();
    void free();
    // Somebody else has freed it.
    void gone() { handle_ = 0; }

private:
    HBUF32 handle_ = 0;
    std::optional<HGLOBAL> over_; // what closing must give
};

// Frees a block that the library has given away.
void free_block(HGLOBAL block);

Shape shape_of(HBUF32 buffer);
// The pixels of a linear buffer or of a duplicate, through a read lock.
Bytes pixels_of(HBUF32 buffer);
// The same through buf32GetMem, for every type.
Bytes read_pixels(HBUF32 buffer);
// Overwrites all pixels, through a write lock.
void write_pixels(HBUF32 buffer, const Bytes &packed);

bool is_duplicate(HBUF32 buffer);
HBUF32 source_of(HBUF32 buffer);

// A new duplicate.
HBUF32 duplicate_of(HBUF32 source);

class BitmapTest : public BufferTest {};

} // namespace q32::test
