// The sweeps over lengths, alignments, fences and shared memory. Decides where runs lie and
// compares bytes; leaves the meaning of the bytes to the call it is given.
#include "tests/kernels/kernel_sweep.h"

#include "tests/kernels/compared.h"
#include "tests/kernels/running.h"

#include <gtest/gtest.h>

#include <numeric>
#include <sstream>

namespace q32::test {
namespace {

constexpr std::size_t alignments = 64; // of the widest vector
using Places = std::vector<Place>;

Call::Sharing no_sharing(const Call &call) {
    Call::Sharing none(call.bytes.size());
    std::iota(none.begin(), none.end(), std::size_t{0});
    return none;
}

// What a length is run with: the runs' bytes before the call, and the destination's block after it.
struct Script {
    std::size_t pixels = 0;
    std::vector<Bytes> before; // one for each run that has a block of its own
    Bytes after;               // the destination's whole block
};

// Runs that share an address hold the same bytes: those of the longest of them.
Script script_of(const Call &call, const Call::Sharing &sharing, std::vector<Bytes> contents,
                 std::size_t pixels) {
    Script script{pixels, contents, {}};
    std::vector<Bytes> &blocks = script.before;
    for (std::size_t i = 0; i < sharing.size(); ++i)
        if (contents[i].size() >= blocks[sharing[i]].size())
            blocks[sharing[i]] = contents[i];
    for (std::size_t i = 0; i < sharing.size(); ++i)
        contents[i].assign(blocks[sharing[i]].begin(),
                           blocks[sharing[i]].begin() + std::ptrdiff_t(contents[i].size()));
    const Bytes result = call.expected(contents, pixels);
    EXPECT_EQ(result.size(), call.bytes[0](pixels));
    script.after = blocks[0];
    std::copy(result.begin(), result.end(), script.after.begin());
    return script;
}

Script random_script(const Call &call, const Call::Sharing &sharing, Random &random,
                     std::size_t pixels) {
    return script_of(call, sharing,
                     call.contents ? call.contents(random, pixels)
                                   : random_contents(random, call.bytes, pixels),
                     pixels);
}

// Runs one call with one way of sharing. Keeps its memory for the next run.
class Stage {
public:
    Stage(const Call &call, const Call::Sharing &sharing)
        : call_{call}, sharing_{sharing}, addresses_(sharing.size()) {
        for (std::size_t i = 0; i < sharing.size(); ++i) // beside what is only read nobody writes
            blocks_.emplace_back(i == 0 ? FencedBlock::usual_margin : 0);
    }

    bool run(const Script &script, const Places &places) {
        pixels_ = script.pixels;
        places_ = &places;
        for (std::size_t i = 0; i < sharing_.size(); ++i)
            addresses_[i] =
                is_home(i) ? blocks_[i].hold(script.before[i], places[i]) : addresses_[sharing_[i]];
        {
            const Running running{[this] { return describe(); }};
            call_.run(addresses_, script.pixels);
        }
        std::string wrong = blocks_[0].difference(script.after);
        if (!wrong.empty())
            wrong = "destination " + wrong;
        for (std::size_t i = 1; i < sharing_.size() && wrong.empty(); ++i)
            if (is_home(i) && !(wrong = blocks_[i].difference(script.before[i])).empty())
                wrong = "run " + std::to_string(i) + " was changed: " + wrong;
        if (wrong.empty()) {
            count_compared(call_.name, pixels_);
            return true;
        }
        ADD_FAILURE() << describe() << ": " << wrong;
        return false;
    }

private:
    bool is_home(std::size_t run) const { return sharing_[run] == run; }

    std::string describe() const {
        std::ostringstream text;
        text << call_.name << ": " << pixels_ << " pixels";
        for (std::size_t i = 0; i < places_->size(); ++i)
            if (is_home(i))
                text << ", run " << i << " " << (*places_)[i];
            else
                text << ", run " << i << " at the address of run " << sharing_[i];
        return text.str();
    }

    const Call &call_;
    const Call::Sharing &sharing_;
    std::vector<FencedBlock> blocks_;
    Addresses addresses_;
    std::size_t pixels_ = 0;
    const Places *places_ = nullptr;
};

Place random_place(Random &random) {
    return {random.below(2) == 0, random.below(alignments)};
}

// --- calls -----------------------------------------------------------------------------------

// More than four of the widest vectors of pixels of one byte.
constexpr std::size_t longest_of_all = 300;
constexpr std::size_t longest_random = 5000;
// At these each run is moved to every alignment: around one and two vectors of each width, and
// around what three vectors of samples hold in pixels.
constexpr std::size_t aligned_lengths[] = {1,  2,   5,   8,   11,  15,  16,  17,  21,  22, 31, 32,
                                           33, 43,  47,  48,  49,  63,  64,  65,  85,  86, 95, 96,
                                           97, 127, 128, 129, 191, 192, 193, 255, 256, 257};

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
    Stage stage{call, sharing};
    for (std::size_t pixels = 0; pixels <= longest_of_all; ++pixels) {
        Random random{test_seed(), pixels};
        const Script script = random_script(call, sharing, random, pixels);
        const bool aligned = std::find(std::begin(aligned_lengths), std::end(aligned_lengths),
                                       pixels) != std::end(aligned_lengths);
        if (!sweep_fences(stage, script, random, runs) ||
            (aligned && !sweep_alignments(stage, script, runs)))
            return false;
    }
    bool all_well = true;
    random_cases(20, [&](Random &random, std::uint64_t number) {
        const std::size_t pixels = random.below(longest_random + 1);
        const Script script = random_script(call, sharing, random, pixels);
        all_well = sweep_fences(stage, script, random, runs);
        if (!all_well)
            ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return all_well;
    });
    return all_well;
}

// --- conversions -----------------------------------------------------------------------------

// Up to three vectors of pixels and one more, a length is run at every alignment; beyond, at the
// fences only.
constexpr std::size_t longest_at_all_alignments = 3 * alignments + 1;

// A conversion apart from its source and, where that is allowed, in place.
class ConversionStage {
public:
    explicit ConversionStage(const Conversion &conversion)
        : call_{
              conversion.name,
              {conversion.destination_bytes, conversion.source_bytes},
              {},
              [run = conversion.run](const Addresses &runs, std::size_t pixels) {
                  run(runs[0], runs[1], pixels);
              },
              [expected = conversion.expected](const std::vector<Bytes> &runs, std::size_t pixels) {
                  return expected(runs[1], pixels);
              },
              {}},
          in_place_{conversion.in_place} {}

    void set(const Bytes &source, std::size_t pixels) {
        const Bytes start(call_.bytes[0](pixels), std::uint8_t(pixels * 5 + 113));
        apart_script_ = script_of(call_, apart_, {start, source}, pixels);
        // The row keeps its own bytes behind the shorter result.
        if (in_place_)
            one_script_ = {pixels, {source, {}}, source};
        if (in_place_)
            std::copy_n(apart_script_.after.begin(), start.size(), one_script_.after.begin());
    }
    void set(Random &random, std::size_t pixels) {
        Bytes source(call_.bytes[1](pixels));
        random.fill(source);
        set(source, pixels);
    }

    bool run(Place to, Place from) { return apart_stage_.run(apart_script_, {to, from}); }
    bool run_in_place(Place at) { return !in_place_ || one_stage_.run(one_script_, {at, at}); }

private:
    Call call_;
    bool in_place_;
    Call::Sharing apart_{0, 1}, one_{0, 0};
    Script apart_script_, one_script_;
    Stage one_stage_{call_, one_}, apart_stage_{call_, apart_};
};

// One length at every fence and at every alignment of either block with the other held still, and
// of both together.
bool sweep_one_length(ConversionStage &stage, std::size_t pixels) {
    const std::size_t shifts = pixels > longest_at_all_alignments ? 1 : alignments;
    for (const bool to_end : {true, false})
        for (const bool from_end : {true, false})
            for (std::size_t shift = 0; shift < shifts; ++shift)
                if (!stage.run({to_end, shift}, {from_end, 0}) ||
                    (shift > 0 && !stage.run({to_end, 0}, {from_end, shift})))
                    return false;
    for (const bool at_end : {true, false})
        for (std::size_t shift = 0; shift < shifts; ++shift)
            if (!stage.run_in_place({at_end, shift}))
                return false;
    return true;
}

// Every pair of alignments.
bool sweep_alignment_pairs(ConversionStage &stage) {
    for (std::size_t a = 0; a < alignments; ++a)
        for (std::size_t b = 0; b < alignments; ++b)
            if (!stage.run({false, a}, {true, b}))
                return false;
    return true;
}

} // namespace

std::vector<Bytes> random_contents(Random &random, const std::vector<RunBytes> &bytes,
                                   std::size_t pixels) {
    std::vector<Bytes> contents;
    for (const RunBytes &of_run : bytes) {
        contents.emplace_back(of_run(pixels));
        random.fill(contents.back());
    }
    return contents;
}

void sweep(const Call &call) {
    if (!sweep_sharing(call, no_sharing(call)))
        return;
    for (const Call::Sharing &sharing : call.sharings)
        if (!sweep_sharing(call, sharing))
            return;
}

void sweep_lengths_and_alignments(const Conversion &conversion) {
    ConversionStage stage{conversion};
    for (std::size_t pixels = conversion.shortest; pixels <= longest_swept; ++pixels) {
        Random random{test_seed(), pixels};
        stage.set(random, pixels);
        const bool pairs = pixels % 31 == 0 && pixels <= longest_at_all_alignments;
        if (!sweep_one_length(stage, pixels) || (pairs && !sweep_alignment_pairs(stage)))
            return;
    }
}

void sweep_random_rows(const Conversion &conversion, std::uint64_t cases) {
    constexpr std::size_t longest = 20000;
    ConversionStage stage{conversion};
    random_cases(cases, [&](Random &random, std::uint64_t number) {
        stage.set(random, conversion.shortest + random.below(longest - conversion.shortest));
        const Place to = random_place(random), from = random_place(random);
        if (stage.run(to, from) && stage.run_in_place(to))
            return true;
        ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return false;
    });
}

bool runs_exactly(const Conversion &conversion, const Bytes &source, std::size_t pixels) {
    ConversionStage stage{conversion};
    stage.set(source, pixels);
    return stage.run({}, {});
}

} // namespace q32::test
