// Random sequences of everything that can be done with buffers, on the library and on plain images
// side by side: all types, depths and sizes around whole cells, in memory and in swap files, with
// system calls that fail.
#include "tests/sequences/sequences.h"

#include "tests/buffer/buffer_fixture.h"
#include "tests/frame/figures.h"

namespace q32::test {
namespace {

class Sequences : public BufferTest {};

constexpr uint64_t cases = 1400;
constexpr size_t steps_of_a_case = 150;

std::string story(const Steps &steps) {
    const auto difference = play(steps);
    if (!difference)
        return "the shortened sequence shows no difference\n";
    std::string text;
    for (size_t i = 0; i < difference->descriptions.size(); ++i)
        text += "  " + std::to_string(i + 1) + ". " + difference->descriptions[i] + "\n";
    return text + "  " + difference->what + "\n";
}

TEST_F(Sequences, AgreeWithPlainImagesThatShareNothing) {
    size_t played = 0;
    random_cases(cases, [&](Random &random, uint64_t number) {
        Steps steps(steps_of_a_case);
        for (uint64_t &seed : steps)
            seed = random.next();
        played += steps.size();
        const auto difference = play(steps);
        if (!difference)
            return true;
        steps.resize(std::min(steps.size(), difference->step + 1));
        ADD_FAILURE() << rerun(number) << "\nafter step " << difference->step + 1 << ": "
                      << difference->what << "\nshortened:\n"
                      << story(shorten(steps));
        return false;
    });
    figures::count("model operations", played);
}

} // namespace
} // namespace q32::test
