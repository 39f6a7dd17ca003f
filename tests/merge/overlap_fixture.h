// Calls whose memory lies over itself, as values: made in one fenced block that they fill from end
// to end, and compared with the model in every byte.
#pragma once

#include "tests/merge/rectangle_fixture.h"

#include <optional>

namespace q32::test {

// i32Merge. Places are bytes from the beginning of the result.
struct OverlapRun {
    model::Call call;
    std::size_t pixels;
    int base, overlay;
    std::optional<int> mask = std::nullopt;
};
std::ostream &operator<<(std::ostream &out, const OverlapRun &c);

// i32MergeEx, with places from the beginning of the image.
struct OverlapRectangles {
    model::Call call;
    int width, height;
    RECT mask_rectangle, overlay_rectangle;
    int overlay;
    std::optional<int> mask = std::nullopt;
};
std::ostream &operator<<(std::ostream &out, const OverlapRectangles &c);

// i32MergeRamToRam, likewise.
struct OverlapImages {
    model::Call call;
    int width, height;
    int x, y;
    int overlay_width, overlay_height;
    RECT rectangle;
    int overlay;
    std::optional<int> mask = std::nullopt;
};
std::ostream &operator<<(std::ostream &out, const OverlapImages &c);

// Memory in which merging goes on for long: of any bytes, of small ones, of masks.
Bytes some_memory(Random &random, std::size_t count);

// What the block holds before a call: the first of these bytes.
using Contents = View;

class OverlapStage {
public:
    testing::AssertionResult agrees(const OverlapRun &c, Contents contents, Place place);
    testing::AssertionResult agrees(const OverlapRectangles &c, Contents contents, Place place);
    testing::AssertionResult agrees(const OverlapImages &c, Contents contents, Place place);

private:
    template <class Case, class Model, class Call>
    testing::AssertionResult compare(const Case &c, Contents contents, Place place, Model model,
                                     Call call);

    Block block_;
};

} // namespace q32::test
