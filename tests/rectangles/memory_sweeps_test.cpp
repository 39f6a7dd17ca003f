// Rectangles between memory and ordinary buffers, by each of the three calls: of all depths and
// kinds, at all edges of images and cells, beginning and ending at any bit, and outside.
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

// One of the calls. What it reads is expected at once, what it writes in the buffer afterwards.
struct Call {
    const char *name;
    void (*check)(Subject &subject, const Area &area, MemoryBlock::Fence fence, Random &random);
    bool writes;
    std::span<const Kind> kinds;
};
void PrintTo(const Call &call, std::ostream *out) {
    *out << call.name;
}

constexpr Call calls[] = {
    {"buf32GetMem",
     [](Subject &subject, const Area &area, MemoryBlock::Fence fence, Random &random) {
         check_get_memory(subject, area, fence, random);
     },
     false, all_kinds},
    {"buf32GetMemWithBC",
     [](Subject &subject, const Area &area, MemoryBlock::Fence fence, Random &random) {
         check_get_memory_with_background(subject, area, fence, random);
     },
     false, all_kinds},
    {"buf32MergeMem", check_merge_memory, true, writable_kinds},
};

class MemoryRectangles : public RectangleTest, public ::testing::WithParamInterface<Call> {
protected:
    // False when something was wrong.
    bool check(Subject &subject, const Area &area) {
        GetParam().check(subject, area, random_fence(random), random);
        if (GetParam().writes)
            subject.expect_picture();
        if (HasFailure())
            ADD_FAILURE() << text_of(area);
        return !HasFailure();
    }

    Random random{test_seed(), 1};
};
INSTANTIATE_TEST_SUITE_P(Calls, MemoryRectangles, ::testing::ValuesIn(calls));

TEST_P(MemoryRectangles, OfAllDepthsAtAllEdges) {
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Subject subject(Kind::tiled, bits, 300, 141, random);
        for (const Area &area : rectangles_around(300, 141))
            if (!check(subject, area))
                return;
        subject.expect_picture();
    }
}

TEST_P(MemoryRectangles, OfEveryKindOfBuffer) {
    for (Kind kind : GetParam().kinds)
        for (int bits : {1, 2, 4, 5, 7, 8, 12, 16, 24, 64}) {
            // Rows over caller memory have no cells: pixels that are no whole bytes are told apart.
            if (kind == Kind::caller_memory && bits == 12)
                continue;
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 257, 130));
            Subject subject(kind, bits, 257, 130, random);
            for (int i = 0; i < 25; ++i)
                if (!check(subject, random_area(random, 257, 130)))
                    return;
            subject.expect_picture();
        }
}

TEST_P(MemoryRectangles, OfSizesAroundCells) {
    for (int width : sides_around_cells)
        for (int height : sides_around_cells) {
            const int bits = all_depths[random.below(std::size(all_depths))];
            SCOPED_TRACE(size_text(bits, width, height));
            Subject subject(Kind::tiled, bits, width, height, random);
            const Area areas[] = {{-3, -2, width + 7, height + 5},    {width - 1, height - 1, 1, 1},
                                  {width - 1, height - 1, 30, 2},     {0, 0, 1, 1},
                                  random_area(random, width, height), {0, 0, width, height}};
            for (const Area &area : areas)
                if (!check(subject, area))
                    return;
        }
}

// Under 8 bits a rectangle may begin and end at any bit: every begin and every end within a few
// bytes, over the seam between two cells; the bits around it stay.
TEST_P(MemoryRectangles, BeginAndEndAtAnyBit) {
    for (int bits = 1; bits <= 7; ++bits) {
        SCOPED_TRACE(bits);
        Subject subject(Kind::tiled, bits, 150, 3, random);
        for (int x = 110; x < 132; ++x)
            for (int width = 1; width <= 40; ++width)
                if (!check(subject, {x, 1, width, 2}))
                    return;
    }
}

// Rectangles of up to 31 pixels on a side that lie in one cell go another way than all others: as
// many pixels before and behind every seam as one has, and one more.
TEST_P(MemoryRectangles, OfFewPixelsAtSeams) {
    constexpr int sides[] = {1, 2, 5, 16, 30, 31, 32};
    for (Kind kind : GetParam().kinds)
        for (int bits : {7, 8, 24, 64}) {
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 260, 170));
            Subject subject(kind, bits, 260, 170, random);
            for (int side : sides)
                for (int other : {1, 31, 32})
                    for (int from_seam : {-side - 1, -side, -side + 1, -1, 0, 1}) {
                        const int along = int(random.below(170 - 32));
                        if (!check(subject, {128 + from_seam, along, side, other}) ||
                            !check(subject, {along, 128 + from_seam, other, side}) ||
                            !check(subject, {260 + std::min(from_seam, -1), along, side, other}) ||
                            !check(subject, {along, 170 + std::min(from_seam, -1), other, side}))
                            return;
                    }
        }
}

// --- outside -----------------------------------------------------------------------------------

class OutsideTheImage : public RectangleTest, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Writing, OutsideTheImage, ::testing::Bool());

TEST_P(OutsideTheImage, IsReported) {
    constexpr Area areas[] = {
        {-4, 0, 4, 4},
        {300, 0, 4, 4},
        {0, -4, 4, 4},
        {0, 200, 4, 4},
        {0, 0, 0, 4},
        {0, 0, 4, 0},
        {10, 10, -4, 4},
        {10, 10, 4, -4},
        {10, 10, -4, -4},
        {INT_MIN, 0, INT_MAX, 4},
        {0, INT_MIN, 4, INT_MAX},
        {INT_MAX, 0, INT_MAX, 4},
        {0, INT_MAX, 4, INT_MAX},
        {INT_MIN, INT_MIN, INT_MIN, INT_MIN},
        {INT_MAX, INT_MAX, INT_MAX, INT_MAX},
        {0, 0, INT_MIN, INT_MIN},
        {-1, -1, INT_MIN, INT_MIN},
        {299, 199, INT_MIN, 1},
    };
    Random random(test_seed(), 5);
    const bool writing = GetParam();
    const std::span<const Kind> kinds =
        writing ? std::span<const Kind>(writable_kinds) : std::span<const Kind>(all_kinds);
    for (Kind kind : kinds)
        for (int bits : {1, 8, 24}) {
            SCOPED_TRACE(name_of(kind));
            Subject subject(kind, bits, 300, 200, random);
            const size_t in_use = memory_in_use(), mapped = mapped_bytes();
            MemoryBlock block(64, MemoryBlock::fence_behind, random);
            const Bytes before = block.contents();
            for (const Area &area : areas) {
                SCOPED_TRACE(text_of(area));
                const auto &[x, y, width, height] = area;
                if (writing)
                    EXPECT_REPORT(api().buf32MergeMem(subject, x, y, block.data(), width, height),
                                  3200, 1, 3, 14);
                else
                    EXPECT_REPORT(api().buf32GetMem(subject, x, y, width, height, block.data()),
                                  3200, 1, 3, 13);
            }
            block.expect(before);
            // Nothing was written, so nobody got pixels of its own.
            EXPECT_EQ(memory_in_use(), in_use);
            EXPECT_EQ(mapped_bytes(), mapped);
            subject.expect_picture();
        }
}

} // namespace
} // namespace q32::test
