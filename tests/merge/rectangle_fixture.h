// A call of a rectangle function as a value: made in fenced memory of just the right size, and
// compared with the model in every byte.
#pragma once

#include "tests/merge/merge_fixture.h"

namespace q32::test {

// i32MergeEx.
struct RectangleCase {
    model::Call call;
    int width, height;
    bool masked;
    RECT mask, overlay;
};
std::ostream &operator<<(std::ostream &out, const RectangleCase &c);

// i32MergeRamToRam.
struct ImageCase {
    model::Call call;
    int width, height;
    int x, y;
    bool masked;
    int overlay_width, overlay_height;
    RECT rectangle;
};
std::ostream &operator<<(std::ostream &out, const ImageCase &c);

// The blocks of a call, kept for the next.
class RectangleStage {
public:
    // Fills the blocks at random, calls, and compares.
    testing::AssertionResult agrees(const RectangleCase &c, Random &random);
    testing::AssertionResult agrees(const ImageCase &c, Random &random);

    // Bytes that an overlay or mask of these pixels must have, up to the last that can be read;
    // nothing when no memory is that large.
    static std::optional<std::size_t> bytes_of(const RECT &rectangle, int width, int height,
                                               int bytes);

private:
    void fill(std::size_t image, std::size_t overlay, std::size_t mask, int bytes, Random &random);
    std::string difference(int returned, int point, const model::Call &call,
                           const Bytes &expected) const;

    Block image_, overlay_, mask_;
    Bytes overlay_bytes_, mask_bytes_;
};

inline model::Box box_of(const RECT &r) {
    return {r.left, r.top, r.right, r.bottom};
}

inline std::string text_of(const RECT &r) {
    return "(" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " +
           std::to_string(r.right) + ", " + std::to_string(r.bottom) + ")";
}

} // namespace q32::test
