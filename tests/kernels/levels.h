// The forms of a kernel family that this machine can run: the scalar one and those of every
// instruction set of the processor. Knows no kernel by name.
#pragma once

#include "library/process/cpu.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

namespace q32::test {

inline constexpr InstructionSet all_sets[] = {InstructionSet::sse2, InstructionSet::sse41,
                                              InstructionSet::avx2, InstructionSet::avx512};

inline std::vector<InstructionSet> sets_of_this_machine() {
    std::vector<InstructionSet> sets(std::begin(all_sets), std::end(all_sets));
    std::erase_if(sets, [](InstructionSet set) { return set > best_instruction_set(nullptr); });
    return sets;
}

template <class Kernels>
struct Level {
    const char *name;
    const Kernels *kernels;
};

template <class Kernels>
void PrintTo(const Level<Kernels> &level, std::ostream *stream) {
    *stream << level.name;
}

// For INSTANTIATE_TEST_SUITE_P.
inline constexpr auto name_of_level = [](const auto &level) {
    return std::string{level.param.name};
};

template <class Kernels>
std::vector<Level<Kernels>> levels_of_this_machine(const Kernels &scalar,
                                                   const Kernels &(*choose)(InstructionSet)) {
    std::vector<Level<Kernels>> levels{{"scalar", &scalar}};
    for (const InstructionSet set : sets_of_this_machine())
        levels.push_back({instruction_set_name(set), &choose(set)});
    return levels;
}

template <class Kernel>
struct Form {
    const char *level; // the first that has it
    Kernel *run;
};

// The different forms of the kernel that pick(table) names, the scalar one first. A level without a
// form of its own has a lower one's, which is not tested twice.
template <class Kernels, class Pick>
auto forms_of(const std::vector<Level<Kernels>> &levels, Pick pick) {
    using Kernel = std::remove_pointer_t<decltype(pick(*levels.front().kernels))>;
    std::vector<Form<Kernel>> forms;
    for (const Level<Kernels> &level : levels) {
        Kernel *const run = pick(*level.kernels);
        const auto is_run = [&](const Form<Kernel> &form) { return form.run == run; };
        if (std::none_of(forms.begin(), forms.end(), is_run))
            forms.push_back({level.name, run});
    }
    return forms;
}

} // namespace q32::test
