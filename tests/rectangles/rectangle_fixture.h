// What the rectangle tests share: memory blocks fenced on one side and watched on the other,
// buffers of every kind with random pixels, and the calls checked against the model.
#pragma once

#include "tests/buffer/buffer_fixture.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

using frame::Census;
using frame::Replaced;

inline constexpr int all_depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
inline constexpr int sides_around_cells[] = {1, 2, 127, 128, 129, 255, 256, 257, 300};

// A 64-bit pixel's bytes, all different; shorter pixels take the first of them.
inline constexpr uint8_t some_colour[8] = {0xA1, 0x52, 0xC3, 0x34, 0xE5, 0x76, 0x17, 0x98};
inline constexpr uint8_t other_colour[8] = {0x5B, 0xAC, 0x1D, 0xEE, 0x4F, 0x80, 0xD1, 0x62};

// --- buffers of every kind -------------------------------------------------------------------

enum class Kind {
    tiled,
    linear,        // type 2
    linear_memory, // type 4
    linear_shrink, // type 16
    file,          // type 0x80000000: in a swap file where a side is over 128
    duplicate,     // of a tiled buffer
    shared,        // a tiled buffer that has a duplicate
    linear_duplicate,
    caller_memory,
};
inline constexpr Kind writable_kinds[] = {
    Kind::tiled, Kind::linear,    Kind::linear_memory, Kind::linear_shrink,
    Kind::file,  Kind::duplicate, Kind::shared,        Kind::linear_duplicate};
inline constexpr Kind all_kinds[] = {
    Kind::tiled,     Kind::linear, Kind::linear_memory,    Kind::linear_shrink, Kind::file,
    Kind::duplicate, Kind::shared, Kind::linear_duplicate, Kind::caller_memory};

const char *name_of(Kind kind);
uint32_t type_of(Kind kind);

// A buffer of a kind that holds random pixels, and the picture that it must show. What it shares
// its pixels with and the memory that it lies over belong to it.
class Subject {
public:
    Subject(Kind kind, int bits, int width, int height, Random &random);

    operator HBUF32() const { return *buffer_; }
    // 0 when the kind shares with nobody.
    HBUF32 partner() const { return partner_ ? HBUF32(*partner_) : 0; }
    int bits() const { return picture.bits(); }
    void free();

    // The pixels are those of the picture, the partner's what they were at the start, and nothing
    // is written behind the storage.
    void expect_picture() const;

    Picture picture;

private:
    Kind kind_;
    Picture original_;
    std::unique_ptr<MemoryBlock> memory_;
    std::unique_ptr<Buffer> partner_, buffer_;
};

// A one-colour buffer, and the picture that it must show.
class OneColourSubject {
public:
    OneColourSubject(int bits, int width, int height, const uint8_t *colour = some_colour);

    operator HBUF32() const { return buffer_; }
    void expect_picture() const;

    Picture picture;

private:
    Buffer buffer_;
};

// The pixels of any buffer, read by rows; and that they are these.
PlainImage read_rows(HBUF32 buffer);
void expect_rows(HBUF32 buffer, const Picture &picture);

// Bits that pixels of 8 bits and more leave unused belong to no pixel: a copy does not move them.
// Same pixels, looked at one by one.
void expect_same_pixels(const Picture &shown, const Picture &expected);
Picture picture_of(HBUF32 buffer);

// --- calls checked against the model ---------------------------------------------------------

// Each makes one call with a fenced block of just the right size, and expects success, every byte
// of the block and of the buffer, and the lock count as before.
void check_get_memory(const Subject &subject, const Area &area, MemoryBlock::Fence fence,
                      Random &random);
void check_get_memory_with_background(const Subject &subject, const Area &area,
                                      MemoryBlock::Fence fence, Random &random);
void check_merge_memory(Subject &subject, const Area &area, MemoryBlock::Fence fence,
                        Random &random);

// Rectangles that begin and end before, at and behind every edge of the image and of its cells.
std::vector<Area> rectangles_around(int width, int height);
// Any rectangle that meets the image, near it.
Area random_area(Random &random, int width, int height);

// Memory that no program can have: so many bytes before the last address that one could.
inline uint8_t *before_the_end(uintptr_t bytes) {
    constexpr uint64_t last = frame::is_64_bit ? 0x7FFFFFFFFFFF : 0xFFFFFFFF;
    return reinterpret_cast<uint8_t *>(uintptr_t(last) - bytes);
}

// --- what a call asks for --------------------------------------------------------------------

// Sizes of the blocks that the library takes from the global heap; those over a limit are refused.
class StripWatch {
public:
    explicit StripWatch(SIZE_T limit = ~SIZE_T{0}) : limit_(limit) {}
    const std::vector<SIZE_T> &asked() const { return asked_; }
    bool all_fixed() const { return all_fixed_; }

private:
    SIZE_T limit_;
    std::vector<SIZE_T> asked_;
    bool all_fixed_ = true;
    Replaced<frame::call::GlobalAlloc> watch_{[this](UINT flags, SIZE_T bytes) -> HGLOBAL {
        asked_.push_back(bytes);
        all_fixed_ = all_fixed_ && (flags & GMEM_MOVEABLE) == 0;
        if (bytes > limit_)
            return nullptr;
        return GlobalAlloc(flags, bytes);
    }};
};

// While it lives no buffer over 128 x 128 can be made: memory is at its limit, and there is no
// directory for a swap file.
class NoStorage {
public:
    NoStorage();
    ~NoStorage();
    NoStorage(const NoStorage &) = delete;
    NoStorage &operator=(const NoStorage &) = delete;

private:
    BUF32DIRECTORIES directories_{};
};

class RectangleTest : public BufferTest {
protected:
    void TearDown() override {
        forget_reports(); // every call's have been looked at where it was made
        BufferTest::TearDown();
    }
};

} // namespace q32::test
