// Threads that merge runs of their own at once, in every way that there is: the thread sanitizer
// sees whatever two of them touch, in any order that they happen to run in.
#include "merge/run.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace q32 {

// What the library asks the common library once, at its start.
static bool has_mmx = false;
bool mmx_available() {
    return has_mmx;
}

namespace test {
namespace {

using namespace merge;
using Bytes = std::vector<std::uint8_t>;

constexpr int thread_count = 4, repetitions = 3;

std::vector<Mode> all_modes() {
    std::vector<Mode> modes{{.action = Action::relief}, {.action = Action::mask_subtraction}};
    for (std::size_t rule = 0; rule < rule_count; ++rule)
        for (const ShiftedIn shifted : {ShiftedIn::none, ShiftedIn::runs_and_rectangles})
            if (shifted == ShiftedIn::none || Rule(rule) < Rule::premultiplied_black)
                modes.push_back(
                    {.action = Action::blend, .rule = Rule(rule), .shifted_in = shifted});
    for (std::size_t fields = 0; fields < hsv_fields_count; ++fields)
        modes.push_back({.action = Action::transfer,
                         .shifted_in = ShiftedIn::runs_and_rectangles,
                         .fields = HsvFields(fields)});
    for (const Comparison comparison : {Comparison::lighter, Comparison::darker})
        modes.push_back({.action = Action::selection,
                         .comparison = comparison,
                         .mmx_rectangle_comparison = Comparison::lighter_by_sums});
    return modes;
}

// Longer than a piece, and different for each thread.
struct Memory {
    explicit Memory(std::uint64_t number, std::size_t pixel_bytes)
        : pixels(5000 - 70 * number), base(pixels * pixel_bytes), mask(pixels),
          overlay(pixels * pixel_bytes) {
        Random random{test_seed(), number};
        random.fill(base);
        random.fill(mask);
        random.fill(overlay);
    }

    Bytes merged(const Mode &mode, Form form, int pixel_bytes, int transparency) const {
        Bytes result = base;
        const Recipe recipe = settle({mode, form, pixel_bytes, transparency, mask.data(), false});
        merge_run(recipe, {result.data(), base.data(), mask.data(), overlay.data(), pixels});
        return result;
    }

    std::size_t pixels;
    Bytes base, mask, overlay;
};

class MergeRaces : public testing::TestWithParam<bool> {
protected:
    static void SetUpTestSuite() {
        const InstructionSet best = best_instruction_set(nullptr);
        chosen_kernels<BlendKernels> = &blend_kernels(best);
        chosen_kernels<EffectKernels> = &effect_kernels(best);
        chosen_kernels<ColourKernels> = &colour_kernels(best);
    }
    void SetUp() override { has_mmx = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Mmx, MergeRaces, testing::Bool(),
                         [](const auto &flag) { return flag.param ? "On" : "Off"; });

TEST_P(MergeRaces, RunsShareNothing) {
    int made = 0;
    for (const int pixel_bytes : {1, 3, 4})
        for (const Mode &mode : all_modes())
            for (const Form form : {Form::run, Form::rectangle}) {
                if (mode.action == Action::transfer && pixel_bytes != 3)
                    continue;
                if (mode.action == Action::mask_subtraction && form != Form::run)
                    continue;
                int wrong[thread_count] = {};
                std::vector<std::thread> threads;
                for (std::uint64_t i = 0; i < thread_count; ++i)
                    threads.emplace_back([&, i] {
                        const Memory memory(i, std::size_t(pixel_bytes));
                        const Bytes first = memory.merged(mode, form, pixel_bytes, 30);
                        for (int again = 0; again < repetitions; ++again)
                            wrong[i] += memory.merged(mode, form, pixel_bytes, 30) != first;
                    });
                for (std::thread &thread : threads)
                    thread.join();
                for (const int count : wrong)
                    EXPECT_EQ(count, 0) << "action " << int(mode.action) << ", " << pixel_bytes
                                        << " bytes, form " << int(form);
                ++made;
            }
    std::printf("%d ways to merge, %d threads\n", made, thread_count);
}

} // namespace
} // namespace test
} // namespace q32
