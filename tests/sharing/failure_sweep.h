// One step on buffers with every call of the system failing in turn: the first call of a kind, the
// second, and so on, alone or with all that follow. Whatever fails, nothing is lost and nothing is
// left: either the step succeeds by another way, or all pixels are as they were and the step works
// once the system does. Only a fill that gets no memory for what it makes has lost the pixels of
// the one buffer that it was to fill.
#pragma once

#include "tests/sharing/family.h"

#include <functional>
#include <string>
#include <vector>

namespace q32::test {

struct Step {
    std::string name;
    bool to_files; // buffers over 128 x 128 go to swap files
    std::function<void(Family &, Random &)> prepare;
    // The step; only its call in question meets failures. Returns whether it succeeded.
    std::function<bool(Family &, Random &)> take;
    // Whether a failure of this call of the system is not reported.
    std::function<bool(const std::string &system_call)> is_silent = [](const std::string &) {
        return false;
    };
};

// One way to write, in one of the buffers.
Step write_step(const WritePath &path, uint32_t type, size_t which, bool to_files,
                std::function<void(Family &, Random &)> prepare);

// Tries what is drawn for the round. Returns how many steps failed.
std::uint64_t sweep(const std::vector<Step> &steps);

class FailureSweep : public BufferTest {
protected:
    void TearDown() override {
        forget_memory_in_use(); // failed commitments stay counted
        BufferTest::TearDown();
    }
};

} // namespace q32::test
