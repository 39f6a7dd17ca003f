// Shortening takes out ever smaller pieces, as long as what is left still shows a difference.
#include "tests/sequences/sequences.h"

#include "tests/sequences/world.h"

namespace q32::test {

std::optional<Difference> play(const Steps &steps) {
    World world;
    std::vector<std::string> descriptions;
    for (size_t i = 0; i < steps.size(); ++i) {
        const auto what = world.step(steps[i]);
        descriptions.push_back(world.description());
        if (what)
            return Difference{i, *what, descriptions};
    }
    if (const auto what = world.finish())
        return Difference{steps.size(), *what, descriptions};
    return std::nullopt;
}

Steps shorten(Steps steps) {
    for (size_t piece = std::max<size_t>(steps.size() / 2, 1);; piece /= 2) {
        for (size_t at = 0; at < steps.size();) {
            Steps rest = steps;
            rest.erase(rest.begin() + ptrdiff_t(at),
                       rest.begin() + ptrdiff_t(std::min(at + piece, rest.size())));
            if (const auto difference = play(rest)) {
                rest.resize(std::min(rest.size(), difference->step + 1));
                steps = rest;
            } else {
                at += piece;
            }
        }
        if (piece == 1)
            return steps;
    }
}

} // namespace q32::test
