// How cells are worked: what is written of each and in which order, what is fetched, and the memory
// that all paths ask for and stay inside of.
#include "tests/frame/fenced_heap.h"
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResamplePieces : public ResampleTest {};

constexpr Path cell_paths[] = {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells};

// --- what is fetched and written -----------------------------------------------------------------

// What is fetched and written, in order.
class Watch {
public:
    Watch(HBUF32 source, HBUF32 destination)
        : fetch_(source,
                 [this](auto original, HBUF32 buffer, int x, int y, int width, int height,
                        void *memory) {
                     fetched.push_back({x, y, width, height});
                     return original(buffer, x, y, width, height, memory);
                 }),
          write_(destination, [this](auto original, HBUF32 buffer, int x, int y, int width,
                                     int height, const void *memory) {
              written.push_back({x, y, width, height});
              return original(buffer, x, y, width, height, memory);
          }) {}

    std::vector<Area> fetched, written;

private:
    GetMemoryHook fetch_;
    MergeMemoryHook write_;
};

void expect_in_order(const std::vector<Area> &written, const Geometry &cells) {
    auto next = written.begin();
    for (int64_t cell = 0; cell < cells.cell_count(); ++cell) {
        const int64_t left = cells.cell_x(cell), top = cells.cell_y(cell);
        const int64_t width = cells.width_of(cell), height = cells.height_of(cell);
        std::vector<int> times(size_t(width * height));
        for (int64_t pixels = 0; pixels < width * height; ++next) {
            ASSERT_NE(next, written.end());
            ASSERT_GE(next->x, left);
            ASSERT_GE(next->y, top);
            ASSERT_LE(next->x + next->width, left + width);
            ASSERT_LE(next->y + next->height, top + height);
            pixels += next->width * next->height;
            for (int64_t y = next->y - top; y < next->y - top + next->height; ++y)
                for (int64_t x = next->x - left; x < next->x - left + next->width; ++x)
                    ++times[size_t(y * width + x)];
        }
        EXPECT_EQ(times, std::vector<int>(times.size(), 1));
    }
    EXPECT_EQ(next, written.end());
}

constexpr int some_sizes[][4] = {
    {10, 10, 300, 200},   {300, 200, 300, 200}, {300, 200, 299, 199}, {600, 200, 300, 200},
    {900, 450, 300, 200}, {601, 399, 200, 133}, {500, 3, 7, 200},     {3000, 5, 130, 140},
    {400, 500, 1, 1},     {9, 7, 4, 3},         {9, 7, 5, 2},         {1300, 20, 129, 3},
    {20, 1300, 3, 129},   {9000, 2, 130, 2},    {2, 9000, 2, 130},    {700, 2100, 300, 700},
    {9, 3000, 5, 999},
};

// One cell is finished before the next is begun, each from top to bottom, every pixel once; and
// nothing outside the source is asked for.
TEST_F(ResamplePieces, FollowOneAnother) {
    Random random(test_seed(), 1);
    for (Path path : cell_paths)
        for (const auto &[width, height, to_width, to_height] : some_sizes)
            for (const auto &[sort, bits] :
                 {std::pair{Sort::tiled, 8}, {Sort::tiled, 24}, {Sort::linear, 24}}) {
                SCOPED_TRACE(std::string(name_of(path)) + ", " + size_text(bits, width, height) +
                             " to " + size_text(bits, to_width, to_height) + ", " + name_of(sort));
                const Side source(bits, width, height, random);
                Side given(sort, bits, to_width, to_height, random);
                const Geometry cells = given.cells();
                {
                    const Watch watch(source, given);
                    EXPECT_SUCCESS(resample_into(given, manner_of(path), source));
                    for (const Area &area : watch.fetched) {
                        EXPECT_GE(area.x, 0);
                        EXPECT_GE(area.y, 0);
                        EXPECT_LT(area.x, width);
                        EXPECT_LT(area.y, height);
                        EXPECT_GE(area.width, 1);
                        EXPECT_GE(area.height, 1);
                    }
                    expect_in_order(watch.written, cells);
                }
                model::resample(path, source.picture, given.picture, cells);
                given.expect_picture();
                if (HasFailure())
                    return;
            }
}

// However much is passed over: what is held at once is about a cell.
TEST_F(ResamplePieces, KeepMemorySmall) {
    Random random(test_seed(), 3);
    for (Path path : cell_paths)
        for (const auto &[sort, width, height, to_width, to_height] :
             {std::tuple{Sort::tiled, 3000, 2000, 300, 200},
              {Sort::tiled, 2000, 3000, 10, 12},
              {Sort::linear, 600, 400, 300, 2000},
              {Sort::tiled, 30, 20, 600, 500}}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + size_text(24, width, height));
            const Side source(24, width, height, random);
            const Side given(sort, 24, to_width, to_height, random);
            const StripWatch blocks;
            EXPECT_SUCCESS(resample_into(given, manner_of(path), source));
            ASSERT_FALSE(blocks.asked().empty());
            EXPECT_LE(*std::max_element(blocks.asked().begin(), blocks.asked().end()), 200000u);
            EXPECT_LE(blocks.asked().size(), 16u);
        }
}

// --- the memory of the work ------------------------------------------------------------------

constexpr auto ends = frame::PageHeap::ends_at_a_fence, begins = frame::PageHeap::begins_at_a_fence;

class ResampleWorkMemory : public ResampleTest {};

TEST_F(ResampleWorkMemory, IsStayedInside) {
    random_cases(500, [&](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const int depths[] = {1, 2, 4, 8, 12, 16, 20, 24, 32, 40, 48, 56, 64};
        const int from = depths[random.below(std::size(depths))];
        const int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC};
        const Manner manner{true, random.below(3) == 0, methods[random.below(3)]};
        int into = random.below(2) == 0 ? from : depths[random.below(std::size(depths))];
        if (is_of_cells(path_of(manner, from, true)) && !model::cells_take(from, into))
            into = 8;
        const auto side = [&](int most) { return between(random, 1, random.below(2) ? most : 20); };
        const Side source(from, side(300), side(60), random);
        Side given(into, side(300), side(60), random);
        const FencedHeap heap(8, random.below(2) == 0 ? ends : begins);
        check_given(manner, given, source);
        if (from == into)
            check_new(manner, side(300), side(60), source);
        EXPECT_GE(heap.handed_out(), 1);
        return !HasFailure();
    });
}

TEST_F(ResampleWorkMemory, IsStayedInsideByEveryWidth) {
    Random random(test_seed(), 4);
    for (Path path : all_paths)
        for (int bits : {bits_of(path), is_of_cells(path) ? 8 : bits_of(path)})
            for (int width = 1; width <= 70; ++width)
                for (auto side : {begins, ends}) {
                    const Side source(bits, 71 - width, 3, random);
                    Side given(bits, width, 3, random);
                    const FencedHeap heap(8, side);
                    check_given(manner_of(path), given, source);
                    if (HasFailure())
                        return;
                }
}

} // namespace
} // namespace q32::test
