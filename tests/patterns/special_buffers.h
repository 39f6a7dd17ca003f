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

// Bytes of a pattern buffer's block.
uint32_t pattern_block_bytes(const Geometry &geometry, const Pattern &pattern);

// The record of a one-colour buffer with a block: every field that says so, the memory in use, the
// content of the block. Nothing else may be in use.
void expect_filled_with(const Picture &picture, const uint8_t *bytes);
// The same for a pattern buffer.
void expect_filled_with(const Picture &picture, const Pattern &pattern);
// An ordinary tiled buffer without a trace of what it was, and nothing else in use.
void expect_ordinary_again(const Picture &picture, bool file);

} // namespace q32::test
