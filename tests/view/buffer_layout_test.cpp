// Where the buffer laboratory's parts and cells stand.
#include "apps/q32view/laboratories/buffer_layout.h"

#include <gtest/gtest.h>

namespace apps::q32view {
namespace {

constexpr int dots = 96;

bool lie_apart(const Area &a, const Area &b) {
    return intersect(a, b).is_empty();
}

TEST(BufferLayout, PanelsLieApartAndInside) {
    for (const Size room : {Size{674, 540}, Size{560, 440}, Size{1200, 900}}) {
        const BufferLayout layout = lay_out_buffers(room, dots);
        const Area parts[] = {layout.legend, layout.buffers, layout.curve, layout.script,
                              layout.reports};
        for (const Area &part : parts) {
            EXPECT_FALSE(part.is_empty());
            EXPECT_TRUE(contains({0, 0, room.width, room.height}, part));
            for (const Area &other : parts)
                EXPECT_TRUE(part == other || lie_apart(part, other));
        }
    }
}

TEST(BufferLayout, ThereIsNothingInNoRoom) {
    const BufferLayout layout = lay_out_buffers({0, 0}, dots);
    EXPECT_TRUE(layout.buffers.is_empty() && layout.script.is_empty() && layout.curve.is_empty());
}

TEST(BufferLayout, TilesAreInRowsOfThree) {
    const std::vector<Area> tiles = tiles_of({0, 0, 424, 300}, 7, dots);
    ASSERT_EQ(tiles.size(), 7u);
    EXPECT_EQ(tiles[0].corner(), (Point{8, 8}));
    EXPECT_EQ(tiles[0].size(), (Size{130, 89})); // (424 - 4 x 8) / 3, (300 - 4 x 8) / 3
    EXPECT_EQ(tiles[2].corner(), (Point{8 + 2 * 138, 8}));
    EXPECT_EQ(tiles[6].corner(), (Point{8, 8 + 2 * 97}));
    // One has the room of six.
    EXPECT_EQ(tiles_of({0, 0, 424, 300}, 1, dots)[0].size(), (Size{130, 138}));
}

TEST(CellGrid, CellsFillItInOrder) {
    const Area tile = {10, 20, 140, 200};
    const CellGrid grid(tile, 5, 4, dots);
    const int top = words_of(tile, dots).bottom + 4;
    EXPECT_EQ(grid.cell(0), (Area{10, top, 34, top + 24})); // 24: the largest
    EXPECT_EQ(grid.cell(7), (Area{58, top + 24, 82, top + 48}));
    EXPECT_EQ(grid.cell(19), (Area{106, top + 72, 130, top + 96}));
    EXPECT_EQ(grid.all(), (Area{10, top, 130, top + 96}));
    EXPECT_TRUE(grid.has_letters());
}

TEST(CellGrid, SmallCellsHaveNoLetters) {
    EXPECT_TRUE(CellGrid({0, 0, 120, 400}, 10, 10, dots).has_letters());
    EXPECT_FALSE(CellGrid({0, 0, 119, 400}, 10, 10, dots).has_letters());
}

TEST(CellGrid, MoreCellsThanPixelsStayInside) {
    const Area tile = {0, 0, 100, 160};
    const CellGrid grid(tile, 250, 250, dots);
    EXPECT_EQ(grid.all().width(), 100);
    EXPECT_TRUE(contains(tile, grid.all()));
    EXPECT_EQ(grid.cell(0).corner(), grid.all().corner());
    EXPECT_EQ(grid.cell(250 * 250 - 1).right, grid.all().right);
    EXPECT_EQ(grid.cell(250 * 250 - 1).bottom, grid.all().bottom);
}

} // namespace
} // namespace apps::q32view
