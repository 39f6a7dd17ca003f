// Nearest neighbour out of cells, by every instruction set of this machine and by the scalar form:
// all lengths of rows, cells of any width, columns near each other and far apart, rows that are
// alike, and bands whose cells lie closer together than those of the bands before.
#include "tests/resample_kernels/resample_stage.h"

#include "tests/kernels/compared.h"
#include "tests/kernels/running.h"

#include <gtest/gtest.h>

namespace q32::test {
namespace {

using resample::AlikeRows;
using resample::CellKernels;

// The cells of a source beside each other, in memory that cannot be left.
struct Cells {
    int pixels, rows, count;
    std::size_t pixel_bytes;
    std::size_t gap = 0; // bytes from the end of a cell to the next

    int width() const { return pixels * count; }
    std::size_t row_bytes() const { return std::size_t(pixels) * pixel_bytes; }
    std::size_t stride() const { return std::size_t(rows) * row_bytes() + gap; }
    std::size_t bytes() const { return std::size_t(count) * stride() - gap; }
    std::size_t place_of(int x, int y) const {
        return std::size_t(x / pixels) * stride() + std::size_t(y) * row_bytes() +
               std::size_t(x % pixels) * pixel_bytes;
    }
};

// Destination rows one below the other: the source row, and how many are alike.
struct Some {
    int row;
    std::size_t count;
};

struct CellTrial {
    Cells cells;
    std::vector<std::int32_t> columns;
    std::vector<Some> rows;
    bool source_at_end, destination_at_end;
    std::size_t padding; // between rows of the destination

    std::size_t row_bytes() const { return columns.size() * cells.pixel_bytes; }
    std::string text() const {
        return std::to_string(columns.size()) + " columns of " + std::to_string(cells.pixel_bytes) +
               " bytes out of " + std::to_string(cells.count) + " cells of " +
               std::to_string(cells.pixels) + " x " + std::to_string(cells.rows) + " pixels";
    }
};

class ResampleCells : public testing::Test {
protected:
    // With the levels that have the form; each of them keeps its plan for all of the trials, which
    // differ in their rows and in what lies between cells.
    static void run(const std::vector<CellTrial> &trials, Random &random) {
        for (const auto &level :
             levels_of_this_machine(resample::scalar_resample_kernels, resample::resample_kernels))
            if (const CellKernels *const kernels = level.kernels->nearest->in_cells)
                run_form(level.name, *kernels, trials, random);
    }

    static CellTrial trial(Random &random, std::size_t pixel_bytes, int columns, int cell_pixels) {
        CellTrial trial;
        trial.cells = {cell_pixels, between(random, 1, 5), between(random, 1, 6), pixel_bytes};
        trial.columns = random.below(4) == 0 ? any_columns(random, columns, trial.cells.width())
                                             : columns_in_order(random, columns, trial.cells);
        arrange(random, trial);
        return trial;
    }
    // All but cells and columns.
    static void arrange(Random &random, CellTrial &trial) {
        trial.cells.rows = between(random, 1, 5);
        trial.cells.gap = random.below(3) == 0 ? random.below(100) : 0;
        trial.rows.clear();
        const int last = trial.cells.rows - 1;
        const int most_alike = random.below(8) == 0 ? 70 : 4;
        for (int i = random.below(4) == 0 ? between(random, 1, 80) : between(random, 1, 4); i > 0;
             --i)
            trial.rows.push_back(
                {between(random, 0, last), std::size_t(between(random, 1, most_alike))});
        if (random.below(2) == 0) // what lies at the fences
            trial.rows.push_back({0, 1}), trial.rows.push_back({last, 2});
        trial.source_at_end = random.below(2) == 0;
        trial.destination_at_end = random.below(2) == 0;
        trial.padding = random.below(2) == 0 ? 0 : random.below(90);
    }

private:
    static std::vector<std::int32_t> any_columns(Random &random, int count, int width) {
        std::vector<std::int32_t> columns;
        for (int i = 0; i < count; ++i)
            columns.push_back(between(random, 0, width - 1));
        return columns;
    }
    // Up to the last pixel, at a ratio that the cells allow.
    static std::vector<std::int32_t> columns_in_order(Random &random, int count,
                                                      const Cells &cells) {
        const int first = between(random, 0, cells.width() - 1);
        const int most = cells.width() - first;
        const int used = random.below(3) == 0   ? most
                         : random.below(2) == 0 ? std::min(most, std::max(1, 2 * count))
                                                : between(random, 1, most);
        std::vector<std::int32_t> columns;
        for (int i = 0; i < count; ++i)
            columns.push_back(first + int(std::int64_t(i) * used / count));
        return columns;
    }

    static void run_form(const char *name, const CellKernels &kernels,
                         const std::vector<CellTrial> &trials, Random &random) {
        const CellTrial &first = trials.front();
        const auto pixel_bytes = int(first.cells.pixel_bytes);
        const Bytes noise(kernels.plan_bytes(first.columns.size(), pixel_bytes) +
                              2 * resample::work_alignment,
                          random.byte());
        FencedBlock plan_memory(noise, {true, 0});
        // Plans end where their memory does.
        const std::size_t plan_bytes = kernels.plan_bytes(first.columns.size(), pixel_bytes);
        std::uint8_t *const rear = plan_memory.data() + plan_memory.size() - plan_bytes;
        void *const plan = rear - reinterpret_cast<std::uintptr_t>(rear) % resample::work_alignment;
        FencedBlock columns(View(reinterpret_cast<const std::uint8_t *>(first.columns.data()),
                                 first.columns.size() * sizeof(std::int32_t)),
                            {true, 0});
        const Running running{[&] { return std::string{name} + ", " + first.text(); }};
        kernels.make_plan(plan, reinterpret_cast<const std::int32_t *>(columns.data()),
                          first.columns.size(), std::size_t(first.cells.pixels), pixel_bytes);
        for (const CellTrial &trial : trials) {
            run_rows(name, kernels, plan, trial, random);
            if (HasFailure())
                return;
        }
    }

    static void run_rows(const char *name, const CellKernels &kernels, void *plan,
                         const CellTrial &trial, Random &random) {
        const Cells &cells = trial.cells;
        Bytes pixels(cells.bytes());
        random.fill(pixels);
        FencedBlock source(pixels, {trial.source_at_end, 0}, 0);
        std::size_t count = 0;
        std::vector<AlikeRows> rows;
        for (const Some &some : trial.rows) {
            rows.push_back({source.data() + cells.place_of(0, some.row), some.count});
            count += some.count;
        }
        const std::size_t stride = trial.row_bytes() + trial.padding;
        Bytes expected(count * stride - trial.padding, random.byte());
        FencedBlock destination(expected, {trial.destination_at_end, 0});
        auto row = expected.begin();
        for (const Some &some : trial.rows)
            for (std::size_t i = 0; i < some.count; ++i, row += std::ptrdiff_t(stride)) {
                auto to = row;
                for (const std::int32_t column : trial.columns)
                    to = std::copy_n(pixels.begin() +
                                         std::ptrdiff_t(cells.place_of(column, some.row)),
                                     cells.pixel_bytes, to);
                if (std::size_t(expected.end() - row) < stride)
                    break;
            }
        kernels.make_rows(destination.data(), stride, plan, cells.stride(), rows.data(),
                          rows.size());
        const std::string wrong = destination.difference(expected) + source.difference(pixels);
        count_compared(name, count * trial.columns.size());
        if (!wrong.empty())
            ADD_FAILURE() << name << ", " << trial.text() << ": " << wrong
                          << (running_case == no_case ? "" : "; " + rerun(running_case));
    }
};

// As the buffers have them: of 128 pixels.
TEST_F(ResampleCells, OfEveryLength) {
    Random random{test_seed(), 0};
    for (const std::size_t pixel_bytes : {1, 3})
        for (int length = 1; length <= 3 * 64 + 1; ++length)
            for (int i = 0; i < 3; ++i) {
                run({trial(random, pixel_bytes, length, 128)}, random);
                if (HasFailure())
                    return;
            }
}

// At half the size: columns that lie two apart, from every pixel on, across the borders of cells,
// and with a column that lies further away.
TEST_F(ResampleCells, OfEverySecondPixel) {
    Random random{test_seed(), 1};
    for (int first = 0; first < 130; ++first)
        for (const int out_of_step : {0, 1, 31, 32, 40, 63, 64, 100, 127, 128}) {
            CellTrial every_second = trial(random, 1, 128, 128);
            every_second.cells.count = 4;
            for (int i = 0; i < 128; ++i)
                every_second.columns[std::size_t(i)] = first + 2 * i - (i < out_of_step ? 0 : 1);
            every_second.columns[0] = first;
            run({every_second}, random);
            if (HasFailure())
                return;
        }
}

TEST_F(ResampleCells, OfOtherCells) {
    random_cases(1500, [](Random &random, std::uint64_t) {
        const auto pixel_bytes = std::size_t(between(random, 1, 8));
        const int cell_pixels = random.below(2) == 0 ? between(random, 1, 300) : 128;
        const int columns = random.below(4) == 0 ? between(random, 1, 20) : between(random, 1, 400);
        run({trial(random, pixel_bytes, columns, cell_pixels)}, random);
        return !HasFailure();
    });
}

// A plan serves bands whose cells are lower, and others again.
TEST_F(ResampleCells, OfOneBandAfterAnother) {
    random_cases(300, [](Random &random, std::uint64_t) {
        std::vector<CellTrial> trials = {
            trial(random, random.below(3) == 0 ? 3 : 1, between(random, 1, 150), 128)};
        for (int i = 0; i < 3; ++i) {
            trials.push_back(trials.back());
            arrange(random, trials.back());
        }
        run(trials, random);
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
