// The sweep over lengths, alignments, fences and shared memory. Decides where runs lie and compares
// bytes; leaves the meaning of the bytes to the call it is given.
#include "tests/merge_kernels/kernel_sweep.h"

#include "tests/frame/fenced_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

namespace q32::test {
namespace {

constexpr std::size_t alignments = 64; // of the widest vector
// More than four of the widest vectors of pixels of one byte.
constexpr std::size_t longest_of_all = 300;
constexpr std::size_t longest_random = 5000;
// At these each run is moved to every alignment: around one and two vectors of each width, and
// around what three vectors of samples hold in pixels.
constexpr std::size_t aligned_lengths[] = {1,  2,   5,   8,   11,  15,  16,  17,  21,  22, 31, 32,
                                           33, 43,  47,  48,  49,  63,  64,  65,  85,  86, 95, 96,
                                           97, 127, 128, 129, 191, 192, 193, 255, 256, 257};
constexpr std::size_t margin = 192; // bytes beside a destination that must stay as they were

// Where a run lies: so many bytes behind the fence before it, or before the fence behind it.
struct Place {
    bool at_end = true;
    std::size_t distance = 0;
};
using Places = std::vector<Place>;

// What is being run, for the message of a failure or a crash.
struct Current {
    const char *name = nullptr; // null: no call
    std::size_t pixels = 0;
    const Places *places = nullptr;
    const Call::Sharing *sharing = nullptr;
} current;

std::string describe(const Current &what) {
    std::string text = std::string{what.name} + ": " + std::to_string(what.pixels) + " pixels";
    for (std::size_t i = 0; i < what.places->size(); ++i) {
        const std::size_t home = (*what.sharing)[i];
        const Place &place = (*what.places)[i];
        text += ", run " + std::to_string(i);
        if (home != i)
            text += " at the address of run " + std::to_string(home);
        else
            text += " " + std::to_string(place.distance) + " bytes from the " +
                    (place.at_end ? "rear" : "front") + " fence";
    }
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

// What a length is run with: the runs' bytes before the call, and the destination's block after it.
struct Script {
    std::size_t pixels = 0;
    std::vector<Bytes>
        before;  // one for each run; a run that shares holds what its block begins with
    Bytes after; // the destination's whole block
};

// Runs that share an address hold the same bytes: those of the longest of them.
Script script_of(const Call &call, const Call::Sharing &sharing, Random &random,
                 std::size_t pixels) {
    Script script{pixels, call.contents(random, pixels), {}};
    std::vector<Bytes> blocks = script.before;
    for (std::size_t i = 0; i < sharing.size(); ++i)
        if (script.before[i].size() >= blocks[sharing[i]].size())
            blocks[sharing[i]] = script.before[i];
    for (std::size_t i = 0; i < sharing.size(); ++i) {
        const Bytes &block = blocks[sharing[i]];
        script.before[i].assign(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(
                                                                   pixels * call.pixel_bytes[i]));
    }
    const Bytes result = call.expected(script.before, pixels);
    script.after = blocks[0];
    std::copy(result.begin(), result.end(), script.after.begin());
    // The blocks of those that share are laid down with their homes.
    for (std::size_t i = 0; i < sharing.size(); ++i)
        if (sharing[i] == i)
            script.before[i] = blocks[i];
    return script;
}

// Runs one call with one way of sharing. Keeps its memory for the next run.
class Stage {
public:
    Stage(const Call &call, const Call::Sharing &sharing, std::size_t longest)
        : call_{call}, sharing_{sharing}, addresses_(sharing.size()) {
        const std::size_t widest =
            *std::max_element(call.pixel_bytes.begin(), call.pixel_bytes.end());
        for (std::size_t i = 0; i < sharing.size(); ++i)
            memory_.push_back(
                std::make_unique<FencedMemory>(longest * widest + 2 * (margin + alignments)));
        current = {call_.name.c_str(), 0, nullptr, &sharing_};
    }
    ~Stage() { current = Current{}; }
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;

    bool run(const Script &script, const Places &places) {
        current.pixels = script.pixels;
        current.places = &places;
        for (std::size_t i = 0; i < sharing_.size(); ++i)
            addresses_[i] = sharing_[i] == i ? lay_down(i, script.before[i], places[i])
                                             : addresses_[sharing_[i]];
        call_.run(addresses_, script.pixels);
        return destination_is(script.after) && inputs_are(script.before);
    }

private:
    std::uint8_t *lay_down(std::size_t i, const Bytes &bytes, Place place) {
        const FencedMemory &memory = *memory_[i];
        std::uint8_t *const to = place.at_end ? memory.end() - place.distance - bytes.size()
                                              : memory.begin() + place.distance;
        if (i == 0) { // other surroundings in every run: no stray write matches them for long
            canary_ = static_cast<std::uint8_t>(canary_ * 5 + 113);
            std::memset(to - before(to), canary_, before(to));
            std::memset(to + bytes.size(), canary_, behind(to + bytes.size()));
        }
        std::copy(bytes.begin(), bytes.end(), to);
        return to;
    }

    // The surroundings of the destination as far as the fences leave room.
    std::size_t before(const std::uint8_t *block) const {
        return std::min(margin, static_cast<std::size_t>(block - memory_[0]->begin()));
    }
    std::size_t behind(const std::uint8_t *end) const {
        return std::min(margin, static_cast<std::size_t>(memory_[0]->end() - end));
    }

    bool destination_is(const Bytes &expected) const {
        const std::uint8_t *const to = addresses_[0];
        const std::uint8_t *const end = to + expected.size();
        const std::size_t at = first_difference(to, expected.data(), expected.size());
        if (at != expected.size()) {
            ADD_FAILURE() << describe(current) << ": destination byte " << at << " is "
                          << int{to[at]} << ", expected " << int{expected[at]};
            return false;
        }
        if (stayed(to - before(to), before(to)) && stayed(end, behind(end)))
            return true;
        ADD_FAILURE() << describe(current) << ": bytes beside the destination were written";
        return false;
    }

    bool stayed(const std::uint8_t *bytes, std::size_t count) const {
        return count == 0 || (*bytes == canary_ && std::memcmp(bytes, bytes + 1, count - 1) == 0);
    }

    bool inputs_are(const std::vector<Bytes> &contents) const {
        for (std::size_t i = 1; i < sharing_.size(); ++i)
            if (sharing_[i] == i &&
                !std::equal(contents[i].begin(), contents[i].end(), addresses_[i])) {
                ADD_FAILURE() << describe(current) << ": run " << i << " was changed";
                return false;
            }
        return true;
    }

    const Call &call_;
    const Call::Sharing &sharing_;
    std::vector<std::unique_ptr<FencedMemory>> memory_;
    Addresses addresses_;
    std::uint8_t canary_ = 7;
};

Place random_place(Random &random) {
    return {random.below(2) == 0, random.below(alignments)};
}

// All runs at either fence, and each at a random place.
bool sweep_fences(Stage &stage, const Script &script, Random &random, std::size_t runs) {
    for (const bool at_end : {true, false})
        if (!stage.run(script, Places(runs, Place{at_end, 0})))
            return false;
    for (int i = 0; i < 12; ++i) {
        Places places;
        for (std::size_t run = 0; run < runs; ++run)
            places.push_back(random_place(random));
        if (!stage.run(script, places))
            return false;
    }
    return true;
}

// Each run at every alignment with the others held still, and all together.
bool sweep_alignments(Stage &stage, const Script &script, std::size_t runs) {
    for (const bool at_end : {true, false})
        for (std::size_t distance = 1; distance < alignments; ++distance) {
            for (std::size_t moved = 0; moved < runs; ++moved) {
                Places places(runs, Place{true, 0});
                places[moved] = {at_end, distance};
                if (!stage.run(script, places))
                    return false;
            }
            if (!stage.run(script, Places(runs, Place{at_end, distance})))
                return false;
        }
    return true;
}

bool sweep_sharing(const Call &call, const Call::Sharing &sharing) {
    const std::size_t runs = sharing.size();
    Stage stage{call, sharing, longest_random};
    for (std::size_t pixels = 0; pixels <= longest_of_all; ++pixels) {
        Random random{test_seed(), pixels};
        const Script script = script_of(call, sharing, random, pixels);
        const bool aligned = std::find(std::begin(aligned_lengths), std::end(aligned_lengths),
                                       pixels) != std::end(aligned_lengths);
        if (!sweep_fences(stage, script, random, runs) ||
            (aligned && !sweep_alignments(stage, script, runs)))
            return false;
    }
    bool all_well = true;
    random_cases(20, [&](Random &random, std::uint64_t number) {
        const std::size_t pixels = random.below(longest_random + 1);
        const Script script = script_of(call, sharing, random, pixels);
        all_well = sweep_fences(stage, script, random, runs);
        if (!all_well)
            ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return all_well;
    });
    return all_well;
}

} // namespace

std::vector<Bytes> random_contents(Random &random, const std::vector<std::size_t> &pixel_bytes,
                                   std::size_t pixels) {
    std::vector<Bytes> contents;
    for (const std::size_t bytes : pixel_bytes) {
        contents.emplace_back(bytes * pixels);
        random.fill(contents.back());
    }
    return contents;
}

void sweep(const Call &call) {
    Call::Sharing none(call.pixel_bytes.size());
    for (std::size_t i = 0; i < none.size(); ++i)
        none[i] = i;
    if (!sweep_sharing(call, none))
        return;
    for (const Call::Sharing &sharing : call.sharings)
        if (!sweep_sharing(call, sharing))
            return;
}

std::size_t first_difference(const std::uint8_t *a, const std::uint8_t *b, std::size_t bytes) {
    if (bytes == 0 || std::memcmp(a, b, bytes) == 0)
        return bytes;
    return static_cast<std::size_t>(std::mismatch(a, a + bytes, b).first - a);
}

} // namespace q32::test
