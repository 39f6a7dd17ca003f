// The tables of kernels that this machine can run, by name: the scalar forms and every instruction
// set of the processor.
#pragma once

#include "rows/kernels/row_kernels.h"

#include <ostream>
#include <vector>

namespace q32::test {

struct Level {
    const char *name;
    const rows::RowKernels *kernels;
};

inline void PrintTo(const Level &level, std::ostream *stream) {
    *stream << level.name;
}

inline std::vector<Level> levels_of_this_machine() {
    std::vector<Level> levels{{"scalar", &rows::scalar_row_kernels}};
    const InstructionSet best = best_instruction_set(nullptr);
    for (const InstructionSet set : {InstructionSet::sse2, InstructionSet::sse41,
                                     InstructionSet::avx2, InstructionSet::avx512})
        if (set <= best)
            levels.push_back({instruction_set_name(set), &rows::row_kernels(set)});
    return levels;
}

} // namespace q32::test
