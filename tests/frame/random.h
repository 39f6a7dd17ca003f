// Seeded, numbered random cases: a case depends on the seed and its own number only, so that any
// one can be run again alone. Q32BASE_TEST_SEED sets the seed, Q32BASE_TEST_CASE the one case to
// run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

namespace q32::test {

class Random {
public:
    Random(std::uint64_t seed, std::uint64_t number)
        : state_{seed * 0x9E3779B97F4A7C15u ^ number * 0xD1B54A32D192ED03u} {}

    std::uint64_t next() {
        state_ += 0x9E3779B97F4A7C15u;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

    // 0 to bound - 1.
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(next() % bound); }

    std::uint8_t byte() { return static_cast<std::uint8_t>(next() >> 56); }

    void fill(std::span<std::uint8_t> bytes) {
        for (std::uint8_t &value : bytes)
            value = byte();
    }

private:
    std::uint64_t state_;
};

inline std::uint64_t environment_number(const char *name, std::uint64_t otherwise) {
    const char *const text = std::getenv(name);
    return text && *text ? std::strtoull(text, nullptr, 0) : otherwise;
}

inline std::uint64_t test_seed() {
    static const std::uint64_t seed = environment_number("Q32BASE_TEST_SEED", 20240517);
    return seed;
}

inline constexpr std::uint64_t no_case = ~std::uint64_t{0};
inline std::uint64_t running_case = no_case; // for whoever reports a crash

// One in so many cases is tried in this round (tests/CMakeLists.txt): all by hand and in the long
// one, where there is time.
inline std::uint64_t one_in_the_round() {
    const char *const round = std::getenv("Q32BASE_TEST_ROUND");
    if (!round || std::string(round) == "long")
        return 1;
    return std::string(round) == "short" ? 16 : 4;
}

inline std::uint64_t cases_of_the_round(std::uint64_t count) {
    return (count + one_in_the_round() - 1) / one_in_the_round();
}

// Sweeps number what they could try, and try what the seed draws for the round.
inline bool in_this_round(std::uint64_t number) {
    return Random(test_seed(), number).below(one_in_the_round()) == 0;
}

// Sweeps over calls that go on until none fails any more try n = this one, and from there on every
// one_in_the_round()-th: where they end nobody knows before.
inline int first_in_this_round(std::uint64_t number) {
    return 1 + int(Random(test_seed(), number).below(one_in_the_round()));
}

// What the round's draw out of more than `count` has at the least.
inline std::uint64_t least_of_the_round(std::uint64_t count) {
    return one_in_the_round() == 1 ? count : count / (2 * one_in_the_round());
}

// Calls body(random, number) for the numbers 0 to count - 1, or for the one that was asked for.
// body returns false to end the run.
template <class Body>
void random_cases(std::uint64_t count, Body body) {
    constexpr std::uint64_t all = no_case;
    const std::uint64_t only = environment_number("Q32BASE_TEST_CASE", all);
    if (only == all)
        count = cases_of_the_round(count);
    for (std::uint64_t number = 0; number < count; ++number) {
        if (only != all && number != only)
            continue;
        Random random{test_seed(), number};
        running_case = number;
        const bool goes_on = body(random, number);
        running_case = no_case;
        if (!goes_on)
            return;
    }
}

// How to run one case again; goes into every failure message.
inline std::string rerun(std::uint64_t number) {
    return "rerun alone with Q32BASE_TEST_SEED=" + std::to_string(test_seed()) +
           " Q32BASE_TEST_CASE=" + std::to_string(number);
}

} // namespace q32::test
