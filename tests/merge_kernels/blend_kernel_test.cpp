// The blend kernels of every instruction set of this machine, and the scalar forms, against the
// plain model: every triple of base, overlay and weight for every rule and rounding, all weights,
// worked examples, and the sweeps over memory. What the exports add is tested with the library.
#include "merge/kernels/blend_kernels.h"

#include "tests/kernels/kernel_sweep.h"
#include "tests/kernels/levels.h"
#include "tests/merge_kernels/domains.h"
#include "tests/models/merge_rules.h"

#include <gtest/gtest.h>

#include <array>

namespace q32::test {
namespace {

using merge::BlendKernels;
using merge::Rounding;
using merge::Rule;

const std::vector<Level<BlendKernels>> &levels() {
    static const auto all =
        levels_of_this_machine(merge::scalar_blend_kernels, merge::blend_kernels);
    return all;
}

struct RoundedRule {
    Rounding rounding;
    Rule rule;

    // As the model has them.
    int mode() const {
        constexpr int modes[merge::rule_count] = {1, 9, 10, 11, 12, 13, 14, 15};
        return modes[std::size_t(rule)];
    }
    model::Rounding way() const { return model::all_roundings[std::size_t(rounding)]; }
    bool reads_mask() const { return model::is_premultiplied(mode()); }
};

constexpr const char *rule_names[merge::rule_count] = {"normal",
                                                       "difference",
                                                       "add",
                                                       "subtract",
                                                       "multiply",
                                                       "screen",
                                                       "premultiplied_black",
                                                       "premultiplied_white"};

std::string name_of(RoundedRule which) {
    return std::string{which.rounding == Rounding::divided ? "divided_" : "shifted_"} +
           rule_names[std::size_t(which.rule)];
}

void PrintTo(RoundedRule which, std::ostream *stream) {
    *stream << name_of(which);
}

std::vector<RoundedRule> rounded_rules() {
    std::vector<RoundedRule> all;
    for (const Rounding rounding : {Rounding::divided, Rounding::shifted})
        for (std::size_t rule = 0; rule < merge::rule_count; ++rule)
            if (const RoundedRule which{rounding, Rule(rule)};
                rounding == Rounding::divided || !which.reads_mask())
                all.push_back(which);
    return all;
}

// Rules that do not divide by the mask do not read it either: theirs cannot be read.
const std::uint8_t *unreadable() {
    static const FencedMemory memory{1};
    return memory.end();
}

// What a rule makes of two samples, or of overlay and mask byte where it divides by that.
class Results {
public:
    explicit Results(RoundedRule which) : by_mask_{which.reads_mask()} {
        for (int s = 0; s < 256; ++s)
            for (int other = by_mask_ ? 1 : 0; other < 256; ++other)
                table_[std::size_t(s * 256 + other)] = std::uint8_t(model::mode_result(
                    which.mode(), which.way(), by_mask_ ? 0 : other, s, by_mask_ ? other : 1));
    }
    int operator()(std::uint8_t b, std::uint8_t s, std::uint8_t m) const {
        return table_[s * 256u + (by_mask_ ? m : b)];
    }

private:
    bool by_mask_;
    std::array<std::uint8_t, pair_count> table_{};
};

// A run of all pairs with its weights, and what is to come of it.
struct Turn {
    Bytes weights;
    Bytes mask;
    Bytes expected;

    explicit Turn(std::size_t pixels) : weights(pixels), mask(pixels) {}

    // Over 256 turns each pair meets each mask byte.
    void set_mask(std::size_t number, int percent) {
        for (std::size_t i = 0; i < mask.size(); ++i)
            mask[i] = value_of_turn(number, i);
        set_weights(percent);
    }

    void set_weights(int percent) {
        for (std::size_t i = 0; i < mask.size(); ++i)
            weights[i] = static_cast<std::uint8_t>(model::percent_weight(mask[i], percent));
    }

    template <std::size_t samples>
    void expect(RoundedRule which, const Results &results) {
        const SamplePairs &pairs = all_pairs();
        expected.resize(mask.size() * samples);
        for (std::size_t i = 0; i < mask.size(); ++i)
            for (std::size_t k = i * samples; k < (i + 1) * samples; ++k)
                expected[k] = static_cast<std::uint8_t>(
                    model::weigh(which.way(), results(pairs.base[k], pairs.overlay[k], mask[i]),
                                 pairs.base[k], weights[i]));
    }
};

bool is_as_expected(RoundedRule which, const char *level, const Turn &turn, const Bytes &got,
                    std::size_t samples) {
    const std::size_t at = first_difference(got.data(), turn.expected.data(), got.size());
    count_compared(level, got.size() / samples);
    if (at == got.size())
        return true;
    const std::size_t pixel = at / samples;
    ADD_FAILURE() << name_of(which) << ", " << samples << " per pixel, " << level << ": base "
                  << int{all_pairs().base[at]} << ", overlay " << int{all_pairs().overlay[at]}
                  << ", weight " << int{turn.weights[pixel]} << ", mask " << int{turn.mask[pixel]}
                  << " gives " << int{got[at]} << ", expected " << int{turn.expected[at]};
    return false;
}

template <std::size_t samples>
class Triples {
public:
    explicit Triples(RoundedRule which)
        : which_{which}, results_{which}, forms_{forms_of(levels(), [=](const BlendKernels &all) {
              const merge::Blend &blend = all(which.rounding, which.rule);
              return samples == 1 ? blend.grey : blend.colour;
          })} {}

    // Every pair under every mask byte.
    bool all_blend(int percent) {
        for (std::size_t number = 0; number < 256; number += next_turn) {
            turn_.set_mask(number, percent);
            if (!turn_blends(percent))
                return false;
        }
        return true;
    }

    // Mask bytes that are the same for whole vectors, then for stretches of all lengths.
    bool like_masks_blend(int percent) {
        for (const std::uint8_t mask : {0, 1, 128, 254, 255}) {
            std::fill(turn_.mask.begin(), turn_.mask.end(), mask);
            turn_.set_weights(percent);
            if (!turn_blends(percent))
                return false;
        }
        for (std::uint64_t number = 0; number < 4; ++number) {
            Random random{test_seed(), number};
            fill_in_stretches(random, turn_.mask);
            turn_.set_weights(percent);
            if (!turn_blends(percent))
                return false;
        }
        return true;
    }

private:
    bool turn_blends(int percent) {
        turn_.template expect<samples>(which_, results_);
        // At full opacity the mask itself holds the weights.
        const Bytes &weights = percent == 100 ? turn_.mask : turn_.weights;
        const std::uint8_t *const mask = which_.reads_mask() ? turn_.mask.data() : unreadable();
        const SamplePairs &pairs = all_pairs();
        for (const auto &form : forms_) {
            destination_.assign(pairs.base.begin(),
                                pairs.base.begin() +
                                    static_cast<std::ptrdiff_t>(turn_.expected.size()));
            form.run(destination_.data(), pairs.overlay.data(), weights.data(), mask,
                     turn_.mask.size());
            if (!is_as_expected(which_, form.level, turn_, destination_, samples))
                return false;
        }
        return true;
    }

    RoundedRule which_;
    Results results_;
    std::vector<Form<merge::MaskedBlend>> forms_;
    Turn turn_{samples == 1 ? pair_count : colour_pair_pixels};
    Bytes destination_;
};

class BlendRule : public testing::TestWithParam<RoundedRule> {};

INSTANTIATE_TEST_SUITE_P(Each, BlendRule, testing::ValuesIn(rounded_rules()),
                         [](const auto &rule) { return name_of(rule.param); });

// --- everything ---

TEST_P(BlendRule, AllTriplesOfGreyPixels) {
    if (GetParam().rounding == Rounding::shifted) // grey pixels never are
        return;
    Triples<1> triples{GetParam()};
    EXPECT_TRUE(triples.all_blend(100) && triples.like_masks_blend(100));
}

TEST_P(BlendRule, AllTriplesOfColourPixels) {
    Triples<3> triples{GetParam()};
    EXPECT_TRUE(triples.all_blend(100) && triples.like_masks_blend(100));
}

TEST_P(BlendRule, AllTriplesOfUniformRuns) {
    const RoundedRule which = GetParam();
    if (which.reads_mask()) // without a mask they are normal
        return;
    const auto forms = forms_of(levels(), [&](const BlendKernels &kernels) {
        return kernels(which.rounding, which.rule).uniform;
    });
    const Results results{which};
    Turn turn{pair_count};
    Bytes destination(pair_count);
    for (int weight = 0; weight < 256; weight += int(next_turn)) {
        std::fill(turn.weights.begin(), turn.weights.end(), static_cast<std::uint8_t>(weight));
        turn.expect<1>(which, results);
        for (const auto &form : forms) {
            std::copy_n(all_pairs().base.begin(), pair_count, destination.begin());
            form.run(destination.data(), all_pairs().overlay.data(),
                     static_cast<std::uint8_t>(weight), pair_count);
            if (!is_as_expected(which, form.level, turn, destination, 1))
                return;
        }
    }
}

// The mask byte divides, the weight made from it weighs.
TEST_P(BlendRule, AllPremultipliedUnderReducedWeights) {
    if (!GetParam().reads_mask())
        return;
    Triples<1> grey{GetParam()};
    Triples<3> colour{GetParam()};
    for (const int percent : {1, 2, 40, 50, 99}) {
        ASSERT_TRUE(grey.all_blend(percent) && grey.like_masks_blend(percent));
        ASSERT_TRUE(colour.all_blend(percent) && colour.like_masks_blend(percent));
    }
}

// --- weights ---

// Calls one of the two kernels of weights with its argument.
template <class Kernel>
void make_weights(Kernel *kernel, std::uint8_t *weights, const std::uint8_t *mask, int argument,
                  std::size_t pixels) {
    if constexpr (std::is_same_v<Kernel, merge::ScaledWeights>)
        kernel(weights, mask, std::uint8_t(argument), pixels);
    else
        kernel(weights, mask, argument, pixels);
}

template <class Kernel, class Model>
void all_weights(const std::vector<Form<Kernel>> &forms, int last, Model weight_of) {
    Bytes mask(3 * 257); // each mask byte in several lanes
    for (std::size_t i = 0; i < mask.size(); ++i)
        mask[i] = static_cast<std::uint8_t>(i);
    Bytes weights(mask.size());
    for (int argument = 0; argument <= last; ++argument)
        for (const auto &form : forms) {
            std::fill(weights.begin(), weights.end(), std::uint8_t{0xA5});
            make_weights(form.run, weights.data(), mask.data(), argument, mask.size());
            for (std::size_t i = 0; i < mask.size(); ++i)
                ASSERT_EQ(weights[i], weight_of(mask[i], argument))
                    << form.level << ": mask " << int{mask[i]} << ", argument " << argument;
            count_compared(form.level, mask.size());
        }
}

auto percent_weights() {
    return forms_of(levels(), [](const BlendKernels &kernels) { return kernels.percent_weights; });
}
auto scaled_weights() {
    return forms_of(levels(), [](const BlendKernels &kernels) { return kernels.scaled_weights; });
}

TEST(BlendWeights, AllPercents) {
    all_weights(percent_weights(), 100, model::percent_weight);
}

TEST(BlendWeights, AllScales) {
    all_weights(scaled_weights(), 255, model::scaled_weight);
}

// --- every level ---

class BlendLevel : public testing::TestWithParam<Level<BlendKernels>> {
protected:
    const BlendKernels &kernels() const { return *GetParam().kernels; }

    // Every form of a rule gives this for one sample.
    void expect(Rounding rounding, Rule rule, int b, int s, int w, int expected) const {
        const merge::Blend &blend = kernels()(rounding, rule);
        const auto weight = static_cast<std::uint8_t>(w);
        // Enough for whole vectors and a rest.
        constexpr std::size_t pixels = 150;
        const Bytes overlay(3 * pixels, static_cast<std::uint8_t>(s));
        const Bytes weights(pixels, weight);
        const Bytes grey(pixels, static_cast<std::uint8_t>(expected));
        const Bytes colour(3 * pixels, static_cast<std::uint8_t>(expected));
        if (blend.grey != nullptr) {
            Bytes run(pixels, static_cast<std::uint8_t>(b));
            blend.grey(run.data(), overlay.data(), weights.data(), weights.data(), pixels);
            EXPECT_EQ(run, grey);
        }
        Bytes run(3 * pixels, static_cast<std::uint8_t>(b));
        blend.colour(run.data(), overlay.data(), weights.data(), weights.data(), pixels);
        EXPECT_EQ(run, colour);
        if (blend.uniform != nullptr) {
            Bytes samples(3 * pixels, static_cast<std::uint8_t>(b));
            blend.uniform(samples.data(), overlay.data(), weight, samples.size());
            EXPECT_EQ(samples, colour);
        }
    }

    void expect_both(Rule rule, int b, int s, int w, int expected) const {
        expect(Rounding::divided, rule, b, s, w, expected);
        expect(Rounding::shifted, rule, b, s, w, expected);
    }
};

INSTANTIATE_TEST_SUITE_P(Each, BlendLevel, testing::ValuesIn(levels()), name_of_level);

TEST_P(BlendLevel, HasTheFormsThatItSays) {
    for (std::size_t rule = 0; rule < merge::rule_count; ++rule) {
        const bool premultiplied = RoundedRule{Rounding::divided, Rule(rule)}.reads_mask();
        const merge::Blend &divided = kernels()(Rounding::divided, Rule(rule));
        EXPECT_NE(divided.grey, nullptr) << rule_names[rule];
        EXPECT_NE(divided.colour, nullptr) << rule_names[rule];
        EXPECT_EQ(divided.uniform == nullptr, premultiplied) << rule_names[rule];
        const merge::Blend &shifted = kernels()(Rounding::shifted, Rule(rule));
        EXPECT_EQ(shifted.grey, nullptr) << rule_names[rule];
        EXPECT_EQ(shifted.colour == nullptr, premultiplied) << rule_names[rule];
        EXPECT_EQ(shifted.uniform == nullptr, premultiplied) << rule_names[rule];
        const bool has_rows =
            Rule(rule) == Rule::normal && (&kernels() == &merge::avx2_blend_kernels ||
                                           &kernels() == &merge::avx512_blend_kernels);
        EXPECT_EQ(divided.colour_rows != nullptr, has_rows) << rule_names[rule];
        EXPECT_EQ(shifted.colour_rows != nullptr, has_rows) << rule_names[rule];
    }
    EXPECT_NE(kernels().percent_weights, nullptr);
    EXPECT_NE(kernels().scaled_weights, nullptr);
}

TEST_P(BlendLevel, HalfAMaskAtHalfTheOpacity) {
    const std::uint8_t mask = 128;
    std::uint8_t weight = 0;
    kernels().percent_weights(&weight, &mask, 50, 1);
    EXPECT_EQ(weight, 64);
    expect(Rounding::divided, Rule::normal, 200, 100, 64, 174); // 44600 / 255 = 174.9
    expect(Rounding::shifted, Rule::normal, 200, 100, 64, 175); // 44600 >> 8 = 174
    kernels().scaled_weights(&weight, &mask, 127, 1);
    EXPECT_EQ(weight, 63);
    kernels().scaled_weights(&weight, &mask, 128, 1);
    EXPECT_EQ(weight, 64);
}

TEST_P(BlendLevel, WeightsAtTheirEnds) {
    const std::uint8_t masks[] = {0, 1, 2, 254, 255};
    std::uint8_t weights[5];
    kernels().percent_weights(weights, masks, 100, 5);
    EXPECT_EQ(Bytes(weights, weights + 5), Bytes({0, 1, 2, 254, 255}));
    kernels().percent_weights(weights, masks, 99, 5);
    EXPECT_EQ(Bytes(weights, weights + 5), Bytes({0, 0, 1, 251, 252}));
    kernels().percent_weights(weights, masks, 0, 5);
    EXPECT_EQ(Bytes(weights, weights + 5), Bytes({0, 0, 0, 0, 0}));
    kernels().scaled_weights(weights, masks, 255, 5);
    EXPECT_EQ(Bytes(weights, weights + 5), Bytes({0, 0, 1, 253, 254}));
}

// Shifting adds one to all but 0, and so keeps the base and takes the overlay exactly.
TEST_P(BlendLevel, NoWeightKeepsTheBaseAndFullWeightTakesTheResult) {
    for (const int b : {0, 1, 127, 128, 254, 255})
        for (const int s : {0, 1, 2, 128, 255}) {
            expect_both(Rule::normal, b, s, 0, b);
            expect_both(Rule::normal, b, s, 255, s);
            expect_both(Rule::difference, b, s, 0, b);
            expect_both(Rule::multiply, b, s, 0, b);
        }
}

TEST_P(BlendLevel, RoundingsDiffer) {
    expect(Rounding::divided, Rule::normal, 0, 1, 128, 0); // X = 128
    expect(Rounding::shifted, Rule::normal, 0, 1, 128, 1);
    expect(Rounding::divided, Rule::normal, 0, 2, 128, 1); // X = 256
    expect(Rounding::shifted, Rule::normal, 0, 2, 128, 2);
    expect(Rounding::divided, Rule::normal, 0, 0, 128, 0); // X = 0
    expect(Rounding::shifted, Rule::normal, 0, 0, 128, 0);
    expect(Rounding::divided, Rule::normal, 255, 255, 1, 255); // X = 65025
    expect(Rounding::shifted, Rule::normal, 255, 255, 1, 255);
    expect(Rounding::divided, Rule::normal, 17, 17, 100, 17); // X = 4335
    expect(Rounding::shifted, Rule::normal, 17, 17, 100, 17);
}

TEST_P(BlendLevel, DifferenceAddAndSubtract) {
    expect_both(Rule::difference, 200, 100, 255, 100);
    expect_both(Rule::difference, 100, 200, 255, 100);
    expect_both(Rule::difference, 0, 255, 255, 255);
    expect_both(Rule::difference, 77, 77, 255, 0);
    expect_both(Rule::add, 200, 55, 255, 255);
    expect_both(Rule::add, 200, 54, 255, 254);
    expect_both(Rule::add, 200, 56, 255, 255);
    expect_both(Rule::add, 255, 255, 255, 255);
    expect_both(Rule::subtract, 100, 200, 255, 100); // the base from the overlay
    expect_both(Rule::subtract, 200, 100, 255, 0);
    expect_both(Rule::subtract, 100, 101, 255, 1);
    expect_both(Rule::subtract, 100, 100, 255, 0);
}

TEST_P(BlendLevel, MultiplyAndScreen) {
    expect_both(Rule::multiply, 255, 255, 255, 255);
    expect_both(Rule::multiply, 2, 128, 255, 1); // 256 = 1 x 255 + 1
    expect_both(Rule::multiply, 0, 255, 255, 0);
    expect_both(Rule::screen, 0, 0, 255, 0);
    expect_both(Rule::screen, 255, 3, 255, 255);
    expect_both(Rule::screen, 253, 127, 255, 254); // 2 x 128 = 256, as above
    // 126 and 127 on either side of where a remainder rounds up.
    expect_both(Rule::multiply, 1, 126, 255, 0);
    expect(Rounding::divided, Rule::multiply, 1, 127, 255, 1);
    expect(Rounding::shifted, Rule::multiply, 1, 127, 255, 0);
    expect_both(Rule::screen, 254, 129, 255, 255);
    expect(Rounding::divided, Rule::screen, 254, 128, 255, 254);
    expect(Rounding::shifted, Rule::screen, 254, 128, 255, 255);
}

TEST_P(BlendLevel, Premultiplied) {
    // The same byte is mask and weight; the base is black.
    const auto over_black = [&](Rule rule, int s, int m, int expected) {
        expect(Rounding::divided, rule, 0, s, m, expected);
    };
    over_black(Rule::premultiplied_black, 100, 255, 100);
    over_black(Rule::premultiplied_black, 64, 128, 63); // 127 x 128 / 255
    over_black(Rule::premultiplied_black, 1, 1, 1);
    over_black(Rule::premultiplied_black, 200, 100, 100); // cut to 255
    over_black(Rule::premultiplied_white, 100, 255, 100);
    over_black(Rule::premultiplied_white, 127, 128, 0); // 127 + 128 = 255: nothing left
    over_black(Rule::premultiplied_white, 128, 128, 0); // 1 x 255 / 128 = 1, 1 x 128 / 255 = 0
    over_black(Rule::premultiplied_white, 255, 128, 128);
    over_black(Rule::premultiplied_white, 255, 1, 1);
    for (const Rule rule : {Rule::premultiplied_black, Rule::premultiplied_white})
        expect(Rounding::divided, rule, 99, 50, 0, 99); // no mask: the base
}

TEST_P(BlendLevel, NoMaskKeepsTheBaseWhateverTheWeight) {
    for (const Rule rule : {Rule::premultiplied_black, Rule::premultiplied_white}) {
        const merge::Blend &blend = kernels()(Rounding::divided, rule);
        const Bytes before(3 * 150, 99);
        const Bytes overlay(before.size(), 200);
        const Bytes mask(before.size(), 0);
        for (const std::uint8_t weight : {0, 1, 128, 255}) {
            const Bytes weights(before.size(), weight);
            Bytes grey = before;
            blend.grey(grey.data(), overlay.data(), weights.data(), mask.data(), grey.size());
            EXPECT_EQ(grey, before) << int{weight};
            Bytes colour = before;
            blend.colour(colour.data(), overlay.data(), weights.data(), mask.data(), 150);
            EXPECT_EQ(colour, before) << int{weight};
        }
    }
}

// --- memory ---

// Weights and, where there are four runs, mask bytes in stretches, and in all combinations.
std::vector<Bytes> blend_contents(Random &random, const std::vector<RunBytes> &bytes,
                                  std::size_t pixels) {
    std::vector<Bytes> contents = random_contents(random, bytes, pixels);
    for (std::size_t run = 2; run < contents.size(); ++run)
        fill_in_stretches(random, contents[run]);
    return contents;
}

Call masked_call(RoundedRule which, const char *level, merge::MaskedBlend *kernel,
                 std::size_t samples) {
    const bool reads_mask = which.reads_mask();
    Call call;
    call.name = name_of(which) + (samples == 1 ? " grey, " : " colour, ") + level;
    call.bytes = {samples, samples, 1};
    if (reads_mask)
        call.bytes.push_back(1);
    call.contents = [bytes = call.bytes](Random &random, std::size_t pixels) {
        return blend_contents(random, bytes, pixels);
    };
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        kernel(runs[0], runs[1], runs[2], reads_mask ? runs[3] : unreadable(), pixels);
    };
    call.expected = [=](const std::vector<Bytes> &runs, std::size_t pixels) {
        Bytes out(pixels * samples);
        for (std::size_t k = 0; k < out.size(); ++k)
            out[k] = static_cast<std::uint8_t>(
                model::blend(which.way(), which.mode(), runs[0][k], runs[1][k],
                             runs[2][k / samples], reads_mask ? runs[3][k / samples] : 255));
        return out;
    };
    if (reads_mask) {
        call.sharings = {{0, 0, 2, 3}, {0, 1, 2, 2}, {0, 0, 2, 2}};
        if (samples == 1)
            call.sharings.insert(call.sharings.end(), {{0, 1, 2, 0}, {0, 1, 0, 3}, {0, 1, 0, 0}});
    } else {
        call.sharings = {{0, 0, 2}};
        if (samples == 1)
            call.sharings.push_back({0, 1, 0});
    }
    return call;
}

Call uniform_call(RoundedRule which, const char *level, merge::UniformBlend *kernel,
                  std::uint8_t weight) {
    Call call;
    call.name = name_of(which) + " uniform " + std::to_string(weight) + ", " + level;
    call.bytes = {1, 1};
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        kernel(runs[0], runs[1], weight, pixels);
    };
    call.expected = [=](const std::vector<Bytes> &runs, std::size_t pixels) {
        Bytes out(pixels);
        for (std::size_t i = 0; i < pixels; ++i)
            out[i] = static_cast<std::uint8_t>(
                model::blend(which.way(), which.mode(), runs[0][i], runs[1][i], weight, 255));
        return out;
    };
    call.sharings = {{0, 0}};
    return call;
}

TEST_P(BlendRule, GreyPixelsInMemory) {
    const RoundedRule which = GetParam();
    if (which.rounding == Rounding::shifted)
        return;
    const auto pick = [&](const BlendKernels &k) { return k(which.rounding, which.rule).grey; };
    for (const auto &form : forms_of(levels(), pick))
        sweep(masked_call(which, form.level, form.run, 1));
}

TEST_P(BlendRule, ColourPixelsInMemory) {
    const RoundedRule which = GetParam();
    const auto pick = [&](const BlendKernels &k) { return k(which.rounding, which.rule).colour; };
    for (const auto &form : forms_of(levels(), pick))
        sweep(masked_call(which, form.level, form.run, 3));
}

TEST_P(BlendRule, UniformRunsInMemory) {
    const RoundedRule which = GetParam();
    if (which.reads_mask())
        return;
    const auto pick = [&](const BlendKernels &k) { return k(which.rounding, which.rule).uniform; };
    for (const auto &form : forms_of(levels(), pick))
        for (const std::uint8_t weight : {0, 100, 255})
            sweep(uniform_call(which, form.level, form.run, weight));
}

// --- rows in memory ---

// Two steps of several rows each, and a rest.
constexpr std::size_t row_count = 11;

// From row to row: what a row has and so many bytes more or, at the destination, as many as it
// takes to whole lines of the cache.
struct Gaps {
    std::size_t destination, overlay, weights;
    bool to_lines = false;

    std::size_t destination_stride(std::size_t pixels) const {
        constexpr std::size_t line = 64;
        const std::size_t bytes = 3 * pixels + destination;
        return to_lines ? (bytes + line - 1) / line * line : bytes;
    }
    std::size_t overlay_stride(std::size_t pixels) const { return 3 * pixels + overlay; }
    std::size_t weights_stride(std::size_t pixels) const { return pixels + weights; }

    bool are_alike() const { return destination == overlay && !to_lines; }
};

RunBytes bytes_of_rows(std::size_t samples, const Gaps &gaps,
                       std::size_t (Gaps::*stride)(std::size_t) const) {
    return [=](std::size_t pixels) {
        return samples * pixels + (row_count - 1) * (gaps.*stride)(pixels);
    };
}

// What the model makes of rows. What lies between them stays as it is.
Bytes merged_rows(RoundedRule which, const std::vector<Bytes> &runs, std::size_t pixels,
                  const Gaps &gaps) {
    Bytes out = runs[0];
    for (std::size_t row = 0; row < row_count; ++row)
        for (std::size_t k = 0; k < 3 * pixels; ++k) {
            std::uint8_t &sample = out[row * gaps.destination_stride(pixels) + k];
            sample = static_cast<std::uint8_t>(model::blend(
                which.way(), which.mode(), sample, runs[1][row * gaps.overlay_stride(pixels) + k],
                runs[2][row * gaps.weights_stride(pixels) + k / 3], 255));
        }
    return out;
}

Call rows_call(RoundedRule which, const char *level, merge::MaskedRowsBlend *kernel,
               const Gaps &gaps) {
    Call call;
    call.name = name_of(which) + " rows, " + level;
    call.bytes = {bytes_of_rows(3, gaps, &Gaps::destination_stride),
                  bytes_of_rows(3, gaps, &Gaps::overlay_stride),
                  bytes_of_rows(1, gaps, &Gaps::weights_stride)};
    call.contents = [bytes = call.bytes](Random &random, std::size_t pixels) {
        return blend_contents(random, bytes, pixels);
    };
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        kernel({runs[0], runs[1], runs[2], gaps.destination_stride(pixels),
                gaps.overlay_stride(pixels), gaps.weights_stride(pixels), pixels, row_count});
    };
    call.expected = [=](const std::vector<Bytes> &runs, std::size_t pixels) {
        return merged_rows(which, runs, pixels, gaps);
    };
    if (gaps.are_alike())
        call.sharings = {{0, 0, 2}};
    return call;
}

TEST_P(BlendRule, RowsOfColourPixelsInMemory) {
    const RoundedRule which = GetParam();
    const auto pick = [&](const BlendKernels &k) {
        return k(which.rounding, which.rule).colour_rows;
    };
    for (const auto &form : forms_of(levels(), pick))
        if (form.run != nullptr)
            for (const Gaps &gaps :
                 {Gaps{0, 0, 0}, Gaps{7, 7, 7}, Gaps{100, 1, 3}, Gaps{0, 5, 2, true}})
                sweep(rows_call(which, form.level, form.run, gaps));
}

template <class Kernel, class Model>
void sweep_weights(const char *name, const Form<Kernel> &form, int argument, Model weight_of) {
    Call call;
    call.name = std::string{name} + " " + std::to_string(argument) + ", " + form.level;
    call.bytes = {1, 1};
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        make_weights(form.run, runs[0], runs[1], argument, pixels);
    };
    call.expected = [=](const std::vector<Bytes> &runs, std::size_t) {
        Bytes out;
        for (const std::uint8_t m : runs[1])
            out.push_back(static_cast<std::uint8_t>(weight_of(m, argument)));
        return out;
    };
    call.sharings = {{0, 0}};
    sweep(call);
}

TEST(BlendWeights, InMemory) {
    for (const auto &form : percent_weights())
        for (const int percent : {0, 1, 50, 99, 100})
            sweep_weights("percent weights", form, percent, model::percent_weight);
    for (const auto &form : scaled_weights())
        for (const int scale : {0, 2, 127, 255})
            sweep_weights("scaled weights", form, scale, model::scaled_weight);
}

} // namespace
} // namespace q32::test
