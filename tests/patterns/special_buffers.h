// What the tests of fills and patterns share: buffers to fill, and what a filled one must look like
// from outside.
#pragma once

#include "tests/sharing/pictures.h"
#include "tests/sharing/write_paths.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace q32::test {

inline constexpr uint8_t colour[8] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6, 0x17, 0x28};

// A buffer in one of the states from which it can be filled.
struct Start {
    const char *name;
    uint32_t type; // at allocation, or of the fill that follows
    bool with_block;
    bool to_files;
    // The buffer, with random pixels where it is an ordinary one.
    std::unique_ptr<Buffer> make(int bits, int width, int height, Random &random) const;
};
const std::vector<Start> &starts();
// Room for the picture of a buffer that has just been made from a start.
inline Picture picture_of(HBUF32 buffer, const Start &start, int bits, int width, int height) {
    return Picture(buffer, Geometry(width, height, bits, start.type));
}

void fill_with(Picture &picture, const Pattern &pattern);

// A pattern buffer: allocated as one, or of another type and then filled.
struct PatternBuffer {
    PatternBuffer(const Pattern &pattern_in, int width, int height, uint32_t origin = BUF32_PATTERN,
                  bool filled = false);
    // With a pattern of its own.
    PatternBuffer(int bits, int width, int height, int pattern_width, int pattern_height,
                  uint32_t origin = BUF32_PATTERN);
    operator HBUF32() const { return buffer; }

    Pattern pattern;
    BUF32PATTERN descriptor;
    Buffer buffer;
    Picture picture;
};

// Blocks of fills and of special buffers cannot be had for the time of its life: all memory that is
// reserved and committed at once. Storage of other buffers can.
class NoBlocks {
public:
    int refused() const { return refused_; }

private:
    int refused_ = 0;
    frame::Replaced<frame::call::VirtualAlloc> refuse_{
        [this](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) -> LPVOID {
            if (kind != (MEM_RESERVE | MEM_COMMIT))
                return VirtualAlloc(at, bytes, kind, protection);
            ++refused_;
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }};
};

// A fill that fails when the storage has been given up.
struct Loss {
    const char *name;
    bool (*take)(HBUF32 buffer); // whether it failed as it must
};
inline constexpr Failure no_block{1001, 1, 4, 21}, no_copy{1001, 1, 70, 23};
// Those that apply to a start: one colour takes no other block for another colour.
std::vector<Loss> losses_of(const Start &start);
// What a special buffer still shows after a loss; nothing has an ordinary one.
void expect_what_is_left(Picture &picture, const Start &start);

// Bytes of a pattern buffer's block.
uint32_t pattern_block_bytes(const Geometry &geometry, const Pattern &pattern);

// The record of a one-colour buffer with a block: every field that says so, the memory in use, the
// content of the block. Nothing else may be in use.
void expect_filled_with(const Picture &picture, const uint8_t *bytes);
// The same for a pattern buffer.
void expect_filled_with(const Picture &picture, const Pattern &pattern);
// A buffer that has lost its storage to a fill that got no block: of the type and layout that it
// had, without block, storage or swap file, and nothing is in use.
void expect_given_up(HBUF32 buffer, const Start &start, const Geometry &geometry);
// An ordinary tiled buffer without a trace of what it was, and nothing else in use.
void expect_ordinary_again(const Picture &picture, bool file);

} // namespace q32::test
