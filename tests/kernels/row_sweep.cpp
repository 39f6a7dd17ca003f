// The sweep over lengths, alignments and fences. Decides where blocks lie and compares bytes;
// leaves the meaning of the bytes to the conversion it is given.
#include "tests/kernels/row_sweep.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t vector_bytes = 64;
// Up to three vectors of pixels and one more, a length is run at every alignment; beyond, at the
// fences only.
constexpr std::size_t longest_at_all_alignments = 3 * vector_bytes + 1;
// Bytes beside a destination that must stay as they were.
constexpr std::size_t margin = 192;
constexpr std::size_t room = 2 * (margin + vector_bytes);

// Where a block lies: so many bytes behind the fence before it, or before the fence behind it.
struct Place {
    bool at_end;
    std::size_t distance;

    std::uint8_t *address(const FencedMemory &memory, std::size_t bytes) const {
        return at_end ? memory.end() - distance - bytes : memory.begin() + distance;
    }
};

// What is being run, for the message of a failure or a crash.
struct Current {
    const char *name = nullptr; // null: no conversion
    std::size_t pixels = 0;
    Place destination{};
    Place source{};
    bool in_place = false;
} current;

std::string describe(const Current &what) {
    char text[256];
    std::snprintf(
        text, sizeof text,
        "%s: %lu pixels, destination %lu bytes from the %s fence, source %s%lu bytes from "
        "the %s fence",
        what.name, static_cast<unsigned long>(what.pixels),
        static_cast<unsigned long>(what.destination.distance),
        what.destination.at_end ? "rear" : "front", what.in_place ? "the same, " : "",
        static_cast<unsigned long>(what.source.distance), what.source.at_end ? "rear" : "front");
    return text;
}

void say_what_crashed() {
    if (current.name == nullptr)
        return;
    std::fprintf(stderr, "\ncrash in %s\n", describe(current).c_str());
    std::fflush(stderr);
}

#if defined(_WIN32)
LPTOP_LEVEL_EXCEPTION_FILTER next_filter = nullptr;

LONG WINAPI crashed(EXCEPTION_POINTERS *pointers) {
    say_what_crashed();
    return next_filter ? next_filter(pointers) : EXCEPTION_CONTINUE_SEARCH;
}
#else
void crashed(int) {
    say_what_crashed();
    std::_Exit(3);
}
#endif

// Says before the tests which seed they run with, and in a crash what was running.
class Announcer : public testing::Environment {
public:
    void SetUp() override {
        std::printf("seed of the random cases: %llu\n",
                    static_cast<unsigned long long>(test_seed()));
#if defined(_WIN32)
        next_filter = SetUnhandledExceptionFilter(crashed);
#else
        std::signal(SIGSEGV, crashed);
        std::signal(SIGBUS, crashed);
        std::signal(SIGILL, crashed);
#endif
    }
};
[[maybe_unused]] testing::Environment *const announcer =
    testing::AddGlobalTestEnvironment(new Announcer);

// Runs one conversion at given places. Keeps its memory for the next run.
class Stage {
public:
    Stage(const Conversion &conversion, std::size_t longest)
        : conversion_{conversion}, source_memory_{conversion.source_bytes(longest) + room},
          // Wide enough for the source, too: in place it lies here.
          destination_memory_{
              std::max(conversion.source_bytes(longest), conversion.destination_bytes(longest)) +
              room} {
        current.name = conversion_.name.c_str();
    }

    ~Stage() { current = Current{}; }

    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;

    bool run(const Bytes &source, const Bytes &expected, std::size_t pixels, Place destination_at,
             Place source_at) {
        current.pixels = pixels;
        current.destination = destination_at;
        current.source = source_at;
        current.in_place = false;
        std::uint8_t *const from = source_at.address(source_memory_, source.size());
        std::copy(source.begin(), source.end(), from);
        std::uint8_t *const to = prepare(destination_at, expected.size());
        conversion_.run(to, from, pixels);
        if (!std::equal(source.begin(), source.end(), from)) {
            ADD_FAILURE() << describe(current) << ": the source was changed";
            return false;
        }
        return matches(to, expected);
    }

    // The row keeps its own bytes behind the shorter result.
    bool run_in_place(const Bytes &source, const Bytes &expected, std::size_t pixels, Place at) {
        current.pixels = pixels;
        current.destination = current.source = at;
        current.in_place = true;
        std::uint8_t *const row = prepare(at, source.size());
        std::copy(source.begin(), source.end(), row);
        Bytes expected_row = source;
        std::copy(expected.begin(), expected.end(), expected_row.begin());
        conversion_.run(row, row, pixels);
        return matches(row, expected_row);
    }

private:
    // The surroundings of a block: its margins as far as the fences leave room.
    std::size_t margin_before(const std::uint8_t *block) const {
        return std::min(margin, static_cast<std::size_t>(block - destination_memory_.begin()));
    }
    std::size_t margin_after(const std::uint8_t *block_end) const {
        return std::min(margin, static_cast<std::size_t>(destination_memory_.end() - block_end));
    }

    // The surroundings get bytes that differ from run to run: no stray write matches them for long.
    std::uint8_t *prepare(Place at, std::size_t bytes) {
        canary_ = static_cast<std::uint8_t>(canary_ * 5 + 113);
        std::uint8_t *const to = at.address(destination_memory_, bytes);
        const std::size_t before = margin_before(to);
        std::memset(to - before, canary_, before + bytes + margin_after(to + bytes));
        std::memset(canaries_, canary_, margin);
        return to;
    }

    bool matches(const std::uint8_t *to, const Bytes &expected) const {
        const std::uint8_t *const end = to + expected.size();
        const std::size_t before = margin_before(to);
        if (std::memcmp(to - before, canaries_, before) == 0 &&
            std::memcmp(end, canaries_, margin_after(end)) == 0 &&
            std::equal(expected.begin(), expected.end(), to))
            return true;
        for (const std::uint8_t *p = to - before; p != end + margin_after(end); ++p) {
            const bool inside = p >= to && p < end;
            const std::uint8_t want = inside ? expected[static_cast<std::size_t>(p - to)] : canary_;
            if (*p != want) {
                ADD_FAILURE() << describe(current) << ": destination byte " << p - to << " of "
                              << expected.size() << " is " << int{*p} << ", expected " << int{want};
                break;
            }
        }
        return false;
    }

    const Conversion &conversion_;
    FencedMemory source_memory_;
    FencedMemory destination_memory_;
    std::uint8_t canary_ = 7;
    std::uint8_t canaries_[margin] = {};
};

Bytes random_bytes(Random &random, std::size_t count) {
    Bytes bytes(count);
    random.fill(bytes);
    return bytes;
}

// One length at every fence and at every alignment of either block with the other held still, and
// of both together.
bool sweep_one_length(Stage &stage, const Conversion &conversion, const Bytes &source,
                      const Bytes &expected, std::size_t pixels) {
    for (const bool destination_at_end : {true, false})
        for (const bool source_at_end : {true, false}) {
            const Place to{destination_at_end, 0};
            const Place from{source_at_end, 0};
            if (!stage.run(source, expected, pixels, to, from))
                return false;
            if (pixels > longest_at_all_alignments)
                continue;
            for (std::size_t shift = 1; shift < vector_bytes; ++shift) {
                const Place to_shifted{destination_at_end, shift};
                const Place from_shifted{source_at_end, shift};
                if (!stage.run(source, expected, pixels, to_shifted, from) ||
                    !stage.run(source, expected, pixels, to, from_shifted))
                    return false;
            }
        }
    if (!conversion.in_place)
        return true;
    const std::size_t alignments = pixels > longest_at_all_alignments ? 1 : vector_bytes;
    for (const bool at_end : {true, false})
        for (std::size_t shift = 0; shift < alignments; ++shift)
            if (!stage.run_in_place(source, expected, pixels, Place{at_end, shift}))
                return false;
    return true;
}

// Every pair of alignments.
bool sweep_alignment_pairs(Stage &stage, const Bytes &source, const Bytes &expected,
                           std::size_t pixels) {
    for (std::size_t a = 0; a < vector_bytes; ++a)
        for (std::size_t b = 0; b < vector_bytes; ++b)
            if (!stage.run(source, expected, pixels, Place{false, a}, Place{true, b}))
                return false;
    return true;
}

} // namespace

void sweep_lengths_and_alignments(const Conversion &conversion) {
    Stage stage{conversion, longest_swept};
    for (std::size_t pixels = conversion.shortest; pixels <= longest_swept; ++pixels) {
        Random random{test_seed(), pixels};
        const Bytes source = random_bytes(random, conversion.source_bytes(pixels));
        const Bytes expected = conversion.expected(source, pixels);
        ASSERT_EQ(expected.size(), conversion.destination_bytes(pixels));
        if (!sweep_one_length(stage, conversion, source, expected, pixels))
            return;
        const bool pairs = pixels % 31 == 0 && pixels <= longest_at_all_alignments;
        if (pairs && !sweep_alignment_pairs(stage, source, expected, pixels))
            return;
    }
}

void sweep_random_rows(const Conversion &conversion, std::uint64_t cases) {
    constexpr std::size_t longest = 20000;
    Stage stage{conversion, longest};
    random_cases(cases, [&](Random &random, std::uint64_t number) {
        const std::size_t pixels =
            conversion.shortest + random.below(longest - conversion.shortest);
        const Bytes source = random_bytes(random, conversion.source_bytes(pixels));
        const Bytes expected = conversion.expected(source, pixels);
        const Place to{random.below(2) == 0, random.below(vector_bytes)};
        const Place from{random.below(2) == 0, random.below(vector_bytes)};
        if (stage.run(source, expected, pixels, to, from) &&
            (!conversion.in_place || stage.run_in_place(source, expected, pixels, to)))
            return true;
        ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return false;
    });
}

bool runs_exactly(const Conversion &conversion, const std::vector<std::uint8_t> &source,
                  std::size_t pixels) {
    Stage stage{conversion, pixels};
    const Place rear{true, 0};
    return stage.run(source, conversion.expected(source, pixels), pixels, rear, rear);
}

} // namespace q32::test
