// Kernels of all instruction sets of the machine on the same memory: what each of them leaves there
// is what the scalar form leaves.
#pragma once

#include "tests/fuzz/input.h"
#include "tests/kernels/levels.h"

#include <utility>

namespace q32::fuzz {

// A run of memory that a kernel is given, and where it begins.
struct Place {
    Bytes content;
    std::size_t shift = 0;
};

inline Place place(Input &input, std::size_t size) {
    const std::size_t shift = input.byte() % 64; // first: the content may use the input up
    return {input.content(size), shift};
}

using Blocks = std::vector<Block>;

// run(kernel, blocks) for every form of the kernel that pick(table) names, each on blocks of its
// own.
template <class Kernels, class Pick, class Run>
void compare_forms(const std::vector<test::Level<Kernels>> &levels, Pick pick,
                   const std::vector<Place> &places, Run run) {
    std::vector<Bytes> expected;
    for (const auto &form : test::forms_of(levels, pick)) {
        Blocks blocks;
        blocks.reserve(places.size());
        for (const Place &place : places)
            blocks.emplace_back(place.content, place.shift);
        run(form.run, blocks);
        std::vector<Bytes> after;
        for (const Block &block : blocks)
            after.push_back(block.content());
        if (expected.empty())
            expected = std::move(after);
        else if (after != expected)
            found(std::string("the scalar form and that of ") + form.level + " differ");
    }
}

} // namespace q32::fuzz
