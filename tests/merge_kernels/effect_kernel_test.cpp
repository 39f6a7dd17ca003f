// The kernels that choose by luminance, raise relief and subtract, of every instruction set of this
// machine, and the scalar forms, against the plain model: everything that a sample, a mask byte and
// a strength can be, all colours against neighbours in luminance, worked examples, and the sweeps
// over memory. What the exports add is tested with the library.
#include "merge/kernels/effect_kernels.h"

#include "tests/kernels/kernel_sweep.h"
#include "tests/kernels/levels.h"
#include "tests/merge_kernels/domains.h"
#include "tests/models/merge_rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace q32::test {
namespace {

using merge::Comparison;
using merge::EffectKernels;

const std::vector<Level<EffectKernels>> &levels() {
    static const auto all =
        levels_of_this_machine(merge::scalar_effect_kernels, merge::effect_kernels);
    return all;
}

constexpr const char *comparison_names[merge::comparison_count] = {"lighter", "darker",
                                                                   "lighter by sums"};
constexpr Comparison comparisons[merge::comparison_count] = {
    Comparison::lighter, Comparison::darker, Comparison::lighter_by_sums};

bool acts(Comparison comparison, int base_sum, int overlay_sum) {
    return model::overlay_acts(comparison == Comparison::darker ? 7 : 6,
                               comparison == Comparison::lighter_by_sums, base_sum, overlay_sum);
}

std::uint8_t byte(int value) {
    return static_cast<std::uint8_t>(value);
}

template <class Kernel>
Kernel *of_size(const merge::BySize<Kernel> &kernels, std::size_t samples) {
    return samples == 1 ? kernels.grey : kernels.colour;
}

auto selections(Comparison comparison, std::size_t samples) {
    return forms_of(levels(), [=](const EffectKernels &kernels) {
        return of_size(kernels.select[std::size_t(comparison)], samples);
    });
}

auto reliefs(std::size_t samples) {
    return forms_of(levels(),
                    [=](const EffectKernels &kernels) { return of_size(kernels.relief, samples); });
}

auto masked_subtractions(std::size_t samples) {
    return forms_of(levels(), [=](const EffectKernels &kernels) {
        return of_size(kernels.subtract_masked, samples);
    });
}

auto portion_subtractions() {
    return forms_of(levels(),
                    [](const EffectKernels &kernels) { return kernels.subtract_portion; });
}

// --- selections: everything ---

TEST(Selection, AllPairsOfGreyPixelsUnderAllWeights) {
    const SamplePairs &pairs = all_pairs();
    Bytes weights(pair_count);
    Bytes expected(pair_count);
    Bytes selected(pair_count);
    for (const Comparison comparison : {Comparison::lighter, Comparison::darker}) {
        const auto forms = selections(comparison, 1);
        for (std::size_t turn = 0; turn < 256; turn += next_turn) {
            for (std::size_t i = 0; i < pair_count; ++i) {
                weights[i] = value_of_turn(turn, i);
                const bool chosen = acts(comparison, model::luminance_sum(&pairs.base[i], 1),
                                         model::luminance_sum(&pairs.overlay[i], 1));
                expected[i] = chosen ? weights[i] : std::uint8_t{0};
            }
            for (const auto &form : forms) {
                std::fill(selected.begin(), selected.end(), std::uint8_t{0xA5});
                form.run(selected.data(), weights.data(), pairs.base.data(), pairs.overlay.data(),
                         pair_count);
                const std::size_t at =
                    first_difference(selected.data(), expected.data(), pair_count);
                count_compared(form.level, pair_count);
                ASSERT_EQ(at, pair_count)
                    << comparison_names[std::size_t(comparison)] << ", " << form.level << ": base "
                    << int{pairs.base[at]} << ", overlay " << int{pairs.overlay[at]} << ", weight "
                    << int{weights[at]} << " gives " << int{selected[at]};
            }
        }
    }
}

// Another colour for each of a row: as a step of each sample, cut to what a sample can be, or as
// the grey of a luminance so many steps from the colour's own. Greys are where the sums reach the
// next hundred: a luminance that is one off makes them compare in another way.
struct Neighbour {
    bool grey;
    int steps[3];
};
constexpr Neighbour neighbours[] = {
    {true, {0}},           {true, {1}},         {true, {-1}},           {false, {1, 1, 1}},
    {false, {-1, -1, -1}}, {false, {2, -1, 0}}, {false, {-2, 1, 0}},    {false, {0, -1, 5}},
    {false, {0, 1, -5}},   {false, {0, 0, 0}},  {false, {97, -31, 59}},
};

void set_neighbours(Bytes &others, const Bytes &colours, const Neighbour &neighbour) {
    others.resize(colours.size());
    for (std::size_t i = 0; i < colours.size(); i += 3)
        for (std::size_t k = 0; k < 3; ++k) {
            const int other = neighbour.grey
                                  ? model::luminance_sum(&colours[i], 3) / 100 + neighbour.steps[0]
                                  : colours[i + k] + neighbour.steps[k];
            others[i + k] = byte(std::clamp(other, 0, 255));
        }
}

// A row of colours with what they are compared by.
struct Colours {
    Bytes bytes;
    std::vector<int> sums;

    void set_sums() {
        sums.resize(bytes.size() / 3);
        for (std::size_t i = 0; i < sums.size(); ++i)
            sums[i] = model::luminance_sum(&bytes[3 * i], 3);
    }
};

bool selects_exactly(Comparison comparison, const Colours &base, const Colours &overlay) {
    static Bytes weights, expected, selected;
    const std::size_t pixels = base.sums.size();
    weights.resize(pixels);
    expected.resize(pixels);
    selected.resize(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        weights[i] = static_cast<std::uint8_t>(i * 73 / 2);
        const bool chosen = acts(comparison, base.sums[i], overlay.sums[i]);
        expected[i] = chosen ? weights[i] : std::uint8_t{0};
    }
    for (const auto &form : selections(comparison, 3)) {
        std::fill(selected.begin(), selected.end(), std::uint8_t{0xA5});
        form.run(selected.data(), weights.data(), base.bytes.data(), overlay.bytes.data(), pixels);
        const std::size_t at = first_difference(selected.data(), expected.data(), pixels);
        count_compared(form.level, pixels);
        if (at == pixels)
            continue;
        const std::uint8_t *const b = &base.bytes[3 * at];
        const std::uint8_t *const s = &overlay.bytes[3 * at];
        ADD_FAILURE() << comparison_names[std::size_t(comparison)] << ", " << form.level
                      << ": base (" << int{b[0]} << ", " << int{b[1]} << ", " << int{b[2]}
                      << "), overlay (" << int{s[0]} << ", " << int{s[1]} << ", " << int{s[2]}
                      << "), weight " << int{weights[at]} << " gives " << int{selected[at]};
        return false;
    }
    return true;
}

bool all_select_exactly(const Colours &base, const Colours &overlay) {
    return std::all_of(std::begin(comparisons), std::end(comparisons), [&](Comparison comparison) {
        return selects_exactly(comparison, base, overlay);
    });
}

TEST(Selection, AllColoursAgainstNeighboursInLuminance) {
    Colours colours, others;
    std::uint64_t number = 0;
    for (std::size_t first = 0; first < 256; first += next_turn) {
        set_colours(colours.bytes, first);
        colours.set_sums();
        for (const Neighbour &neighbour : neighbours) {
            if (!in_this_round(number++))
                continue;
            set_neighbours(others.bytes, colours.bytes, neighbour);
            others.set_sums();
            ASSERT_TRUE(all_select_exactly(colours, others));
            if (neighbour.grey) {
                ASSERT_TRUE(all_select_exactly(others, colours));
            }
        }
    }
}

TEST(Selection, RandomColours) {
    random_cases(20, [](Random &random, std::uint64_t number) {
        Colours runs[2];
        for (Colours &run : runs) {
            run.bytes.resize(3 * row_pixels);
            random.fill(run.bytes);
            run.set_sums();
        }
        if (all_select_exactly(runs[0], runs[1]))
            return true;
        ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return false;
    });
}

// --- relief and subtraction: everything ---

struct Masked {
    std::string what;
    int argument; // the strength
    std::size_t samples;
};

// Runs one form over all pairs under a mask of a byte for each pixel.
template <class Run, class Model>
bool all_pairs_exactly(const Masked &masked, const char *level, const Bytes &mask, Run run,
                       Model model) {
    const SamplePairs &pairs = all_pairs();
    static Bytes expected, destination;
    expected.resize(mask.size() * masked.samples);
    destination.assign(pairs.base.begin(),
                       pairs.base.begin() + static_cast<std::ptrdiff_t>(expected.size()));
    for (std::size_t k = 0; k < expected.size(); ++k)
        expected[k] = byte(model(pairs.base[k], pairs.overlay[k], mask[k / masked.samples]));
    run(destination.data(), pairs.overlay.data(), mask.data(), mask.size());
    const std::size_t at = first_difference(destination.data(), expected.data(), expected.size());
    count_compared(level, mask.size());
    if (at == expected.size())
        return true;
    ADD_FAILURE() << masked.what << " " << masked.argument << ", " << masked.samples
                  << " per pixel, " << level << ": base " << int{pairs.base[at]} << ", overlay "
                  << int{pairs.overlay[at]} << ", mask " << int{mask[at / masked.samples]}
                  << " gives " << int{destination[at]} << ", expected " << int{expected[at]};
    return false;
}

std::size_t pixels_of(std::size_t samples) {
    return samples == 1 ? pair_count : colour_pair_pixels;
}

// The turns after the 256 that make up everything have stretches of mask bytes that are the same.
void set_mask(Bytes &mask, std::size_t turn) {
    if (turn >= 256) {
        Random random{test_seed(), turn};
        fill_in_stretches(random, mask);
        return;
    }
    for (std::size_t i = 0; i < mask.size(); ++i)
        mask[i] = value_of_turn(turn, i);
}

TEST(Relief, AllPairsAtEveryStrength) {
    constexpr std::uint8_t masks[] = {0, 1, 255, 128};
    for (const std::size_t samples : {1, 3}) {
        const auto forms = reliefs(samples);
        Bytes mask(pixels_of(samples));
        for (int strength = 0; strength <= 127; ++strength)
            for (std::size_t turn = 0; turn < 4; ++turn) {
                for (std::size_t i = 0; i < mask.size(); ++i)
                    mask[i] = masks[(i + i / 64 + turn) % 4];
                const auto model = [=](int b, int s, int m) {
                    return m == 0 ? b : model::relief(b, s, strength);
                };
                for (const auto &form : forms) {
                    const auto run = [&](std::uint8_t *to, const std::uint8_t *overlay,
                                         const std::uint8_t *under, std::size_t pixels) {
                        form.run(to, overlay, under, byte(strength), pixels);
                    };
                    ASSERT_TRUE(all_pairs_exactly({"relief", strength, samples}, form.level, mask,
                                                  run, model));
                }
            }
    }
}

// Any mask byte but 0 lets it act in full.
TEST(Relief, EveryMaskByte) {
    for (const std::size_t samples : {1, 3}) {
        const auto forms = reliefs(samples);
        Bytes mask(pixels_of(samples));
        for (std::size_t turn = 0; turn < 261; turn += next_turn) {
            set_mask(mask, turn);
            const auto model = [](int b, int s, int m) {
                return m == 0 ? b : model::relief(b, s, 127);
            };
            for (const auto &form : forms) {
                const auto run = [&](std::uint8_t *to, const std::uint8_t *overlay,
                                     const std::uint8_t *under, std::size_t pixels) {
                    form.run(to, overlay, under, 127, pixels);
                };
                ASSERT_TRUE(
                    all_pairs_exactly({"relief", 127, samples}, form.level, mask, run, model));
            }
        }
    }
}

TEST(MaskedSubtraction, AllTriples) {
    for (const std::size_t samples : {1, 3}) {
        const auto forms = masked_subtractions(samples);
        Bytes mask(pixels_of(samples));
        for (std::size_t turn = 0; turn < 261; turn += next_turn) {
            set_mask(mask, turn);
            for (const auto &form : forms)
                ASSERT_TRUE(all_pairs_exactly({"masked subtraction", 0, samples}, form.level, mask,
                                              form.run, model::subtract_masked));
        }
    }
}

// A base of 255 shows the quotient itself.
TEST(PortionSubtraction, AllPortions) {
    constexpr std::uint8_t bases[] = {255, 0, 1, 100, 254};
    constexpr std::size_t samples = 256 * std::size(bases);
    const auto forms = portion_subtractions();
    Bytes base(samples), overlay(samples), expected(samples), destination(samples);
    for (std::size_t i = 0; i < samples; ++i) {
        base[i] = bases[i % std::size(bases)];
        overlay[i] = static_cast<std::uint8_t>(i / std::size(bases) * 91);
    }
    for (std::uint32_t portion = 0; portion <= merge::whole_portion; portion += next_turn) {
        for (std::size_t i = 0; i < samples; ++i)
            expected[i] = byte(model::subtract_portion(base[i], overlay[i], int(portion)));
        for (const auto &form : forms) {
            destination = base;
            form.run(destination.data(), overlay.data(), portion, samples);
            const std::size_t at = first_difference(destination.data(), expected.data(), samples);
            count_compared(form.level, samples);
            ASSERT_EQ(at, samples) << form.level << ": base " << int{base[at]} << ", overlay "
                                   << int{overlay[at]} << ", portion " << portion << " gives "
                                   << int{destination[at]} << ", expected " << int{expected[at]};
        }
    }
}

// The portions of a mask byte under a percentage, and of a percentage alone.
TEST(PortionSubtraction, AllPairsAtPortionsOfCalls) {
    const auto forms = portion_subtractions();
    const Bytes unread(pair_count);
    for (const int portion : {255, 1 * 255, 50 * 255, 99 * 255, 128 * 90, 255 * 99, 37 * 73, 1}) {
        const auto model = [=](int b, int s, int) {
            return model::subtract_portion(b, s, portion);
        };
        for (const auto &form : forms) {
            const auto run = [&](std::uint8_t *to, const std::uint8_t *overlay,
                                 const std::uint8_t *, std::size_t samples) {
                form.run(to, overlay, std::uint32_t(portion), samples);
            };
            ASSERT_TRUE(all_pairs_exactly({"portion", portion, 1}, form.level, unread, run, model));
        }
    }
}

// --- every level ---

class EffectLevel : public testing::TestWithParam<Level<EffectKernels>> {
protected:
    // Enough for whole vectors and a rest.
    static constexpr std::size_t pixels = 150;

    const EffectKernels &kernels() const { return *GetParam().kernels; }

    using Colour = std::array<std::uint8_t, 3>;
    static Bytes run_of(Colour colour) {
        Bytes run;
        for (std::size_t i = 0; i < pixels; ++i)
            run.insert(run.end(), colour.begin(), colour.end());
        return run;
    }

    void expect_chosen(Comparison comparison, Colour base, Colour overlay, bool chosen) const {
        expect_selected(kernels().select[std::size_t(comparison)].colour, run_of(base),
                        run_of(overlay), chosen);
    }
    void expect_grey_chosen(Comparison comparison, int base, int overlay, bool chosen) const {
        expect_selected(kernels().select[std::size_t(comparison)].grey, Bytes(pixels, byte(base)),
                        Bytes(pixels, byte(overlay)), chosen);
    }
    static void expect_selected(merge::Selection *select, const Bytes &base, const Bytes &overlay,
                                bool chosen) {
        Bytes selected(pixels, 7);
        select(selected.data(), Bytes(pixels, 200).data(), base.data(), overlay.data(), pixels);
        EXPECT_EQ(selected, Bytes(pixels, chosen ? 200 : 0));
    }

    template <class Kernel>
    void expect_both(Kernel run, int b, int s, int expected) const {
        for (const std::size_t samples : {1, 3}) {
            Bytes destination(pixels * samples, byte(b));
            const Bytes overlay(pixels * samples, byte(s));
            run(samples, destination.data(), overlay.data());
            EXPECT_EQ(destination, Bytes(pixels * samples, byte(expected)))
                << "base " << b << ", overlay " << s << ", " << samples << " per pixel";
        }
    }

    void expect_relief(int b, int s, int m, int strength, int expected) const {
        const Bytes mask(pixels, byte(m));
        const auto run = [&](std::size_t samples, std::uint8_t *to, const std::uint8_t *overlay) {
            of_size(kernels().relief, samples)(to, overlay, mask.data(), byte(strength), pixels);
        };
        expect_both(run, b, s, expected);
    }

    void expect_masked(int b, int s, int m, int expected) const {
        const Bytes mask(pixels, byte(m));
        const auto run = [&](std::size_t samples, std::uint8_t *to, const std::uint8_t *overlay) {
            of_size(kernels().subtract_masked, samples)(to, overlay, mask.data(), pixels);
        };
        expect_both(run, b, s, expected);
    }

    void expect_portion(int b, int s, std::uint32_t portion, int expected) const {
        const auto run = [&](std::size_t samples, std::uint8_t *to, const std::uint8_t *overlay) {
            kernels().subtract_portion(to, overlay, portion, pixels * samples);
        };
        expect_both(run, b, s, expected);
    }
};

INSTANTIATE_TEST_SUITE_P(Each, EffectLevel, testing::ValuesIn(levels()), name_of_level);

TEST_P(EffectLevel, HasTheFormsThatItSays) {
    for (const Comparison comparison : comparisons) {
        const auto &select = kernels().select[std::size_t(comparison)];
        EXPECT_EQ(select.grey == nullptr, comparison == Comparison::lighter_by_sums);
        EXPECT_NE(select.colour, nullptr);
    }
    EXPECT_NE(kernels().relief.grey, nullptr);
    EXPECT_NE(kernels().relief.colour, nullptr);
    EXPECT_NE(kernels().subtract_masked.grey, nullptr);
    EXPECT_NE(kernels().subtract_masked.colour, nullptr);
    EXPECT_NE(kernels().subtract_portion, nullptr);
}

// Sums 0, 30, 99 and 100: the first three share a luminance.
TEST_P(EffectLevel, SumsDifferWhereLuminancesDoNot) {
    using enum Comparison;
    expect_chosen(lighter, {0, 0, 0}, {1, 0, 0}, false);
    expect_chosen(lighter_by_sums, {0, 0, 0}, {1, 0, 0}, true);
    expect_chosen(lighter, {0, 0, 0}, {0, 0, 9}, false);
    expect_chosen(lighter_by_sums, {1, 0, 0}, {0, 0, 9}, true);
    expect_chosen(lighter, {0, 0, 9}, {1, 1, 1}, true);
    expect_chosen(darker, {1, 1, 1}, {0, 0, 9}, true);
    expect_chosen(darker, {0, 0, 9}, {0, 0, 0}, false);
    expect_chosen(lighter_by_sums, {0, 0, 9}, {0, 0, 0}, false);
    // 15000 and 15001: (150, 150, 150) and (152, 149, 150).
    expect_chosen(lighter, {150, 150, 150}, {152, 149, 150}, false);
    expect_chosen(lighter_by_sums, {150, 150, 150}, {152, 149, 150}, true);
    expect_chosen(lighter_by_sums, {152, 149, 150}, {150, 150, 150}, false);
    // 15000 and 14999 are not of the same hundred.
    expect_chosen(darker, {150, 150, 150}, {148, 151, 150}, true);
    // Equal sums of unlike colours: 59 x 30.
    for (const Comparison comparison : comparisons)
        expect_chosen(comparison, {59, 0, 0}, {0, 30, 0}, false);
}

TEST_P(EffectLevel, WeightsOfSamplesInOrder) {
    using enum Comparison;
    expect_chosen(lighter, {255, 0, 0}, {0, 255, 0}, true); // 76 and 150
    expect_chosen(lighter, {255, 0, 0}, {0, 0, 255}, false);
    expect_chosen(darker, {255, 0, 0}, {0, 0, 255}, true); // 28
    expect_chosen(darker, {254, 255, 255}, {255, 255, 255}, false);
    expect_chosen(lighter, {254, 255, 255}, {255, 255, 255}, true); // 254.7 and 255
}

TEST_P(EffectLevel, GreyLuminanceIsTheSample) {
    using enum Comparison;
    expect_grey_chosen(lighter, 100, 101, true);
    expect_grey_chosen(lighter, 100, 100, false);
    expect_grey_chosen(lighter, 101, 100, false);
    expect_grey_chosen(darker, 101, 100, true);
    expect_grey_chosen(darker, 100, 100, false);
    expect_grey_chosen(lighter, 127, 128, true); // samples have no sign
    expect_grey_chosen(lighter, 0, 255, true);
    expect_grey_chosen(darker, 0, 255, false);
}

TEST_P(EffectLevel, Relief) {
    for (const int b : {0, 1, 100, 254, 255})
        for (const int middle : {127, 128})
            expect_relief(b, middle, 255, 127, b);
    expect_relief(100, 255, 255, 127, 227);
    expect_relief(200, 255, 255, 127, 255);
    expect_relief(200, 0, 255, 127, 73);
    expect_relief(100, 0, 255, 127, 0);
    expect_relief(100, 0, 1, 127, 0); // any mask byte but 0 is full
    expect_relief(100, 0, 0, 127, 100);
    expect_relief(100, 255, 255, 63, 163); // 127 x 63 / 127
    expect_relief(100, 192, 255, 63, 131); // 64 x 63 / 127 = 31.7
    expect_relief(100, 63, 255, 63, 69);   // the same down
    expect_relief(100, 255, 255, 0, 100);
    expect_relief(100, 129, 255, 126, 100); // 126 / 127 = 0
    expect_relief(100, 126, 255, 126, 100);
    expect_relief(100, 126, 255, 127, 99);
}

TEST_P(EffectLevel, Subtractions) {
    expect_masked(200, 50, 255, 150);
    expect_masked(50, 200, 255, 0);
    expect_masked(200, 50, 0, 200);
    expect_masked(200, 100, 128, 150); // 12800 / 255 = 50.2
    expect_masked(200, 254, 254, 0);   // 253.0
    expect_masked(255, 254, 254, 2);
    expect_masked(255, 1, 254, 255);
    expect_portion(200, 50, 25500, 150);
    expect_portion(50, 200, 25500, 0);
    expect_portion(200, 50, 0, 200);
    expect_portion(200, 99, 90 * 255, 111);  // 89.1
    expect_portion(200, 100, 128 * 90, 155); // 45.2
    expect_portion(255, 255, 25499, 1);      // 254.99
    expect_portion(255, 1, 25499, 255);
}

// --- memory ---

Call selection_call(Comparison comparison, const Form<merge::Selection> &form,
                    std::size_t samples) {
    Call call;
    call.name = std::string{comparison_names[std::size_t(comparison)]} +
                (samples == 1 ? ", grey, " : ", colour, ") + form.level;
    call.bytes = {1, 1, samples, samples};
    // The same pixels for a while, so that whole vectors act or do not.
    call.contents = [=, bytes = call.bytes](Random &random, std::size_t pixels) {
        std::vector<Bytes> contents = random_contents(random, bytes, pixels);
        fill_in_stretches(random, contents[1]);
        if (random.below(2) == 0) {
            fill_in_stretches(random, contents[2]);
            fill_in_stretches(random, contents[3]);
        }
        return contents;
    };
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        form.run(runs[0], runs[1], runs[2], runs[3], pixels);
    };
    call.expected = [=](const std::vector<Bytes> &runs, std::size_t pixels) {
        Bytes out(pixels);
        for (std::size_t i = 0; i < pixels; ++i) {
            const int base = model::luminance_sum(runs[2].data() + i * samples, samples);
            const int overlay = model::luminance_sum(runs[3].data() + i * samples, samples);
            out[i] = acts(comparison, base, overlay) ? runs[1][i] : std::uint8_t{0};
        }
        return out;
    };
    call.sharings = {{0, 0, 2, 3}};
    return call;
}

TEST(Selection, GreyPixelsInMemory) {
    for (const Comparison comparison : {Comparison::lighter, Comparison::darker})
        for (const auto &form : selections(comparison, 1))
            sweep(selection_call(comparison, form, 1));
}

TEST(Selection, ColourPixelsInMemory) {
    for (const Comparison comparison : comparisons)
        for (const auto &form : selections(comparison, 3))
            sweep(selection_call(comparison, form, 3));
}

// Relief and masked subtraction: model(b, s, m).
template <class Run, class Model>
Call masked_call(const std::string &name, std::size_t samples, Run run, Model model) {
    Call call;
    call.name = name + (samples == 1 ? ", grey" : ", colour");
    call.bytes = {samples, samples, 1};
    call.contents = [bytes = call.bytes](Random &random, std::size_t pixels) {
        std::vector<Bytes> contents = random_contents(random, bytes, pixels);
        fill_in_stretches(random, contents[2]);
        return contents;
    };
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        run(runs[0], runs[1], runs[2], pixels);
    };
    call.expected = [=](const std::vector<Bytes> &runs, std::size_t pixels) {
        Bytes out(pixels * samples);
        for (std::size_t k = 0; k < out.size(); ++k)
            out[k] = byte(model(runs[0][k], runs[1][k], runs[2][k / samples]));
        return out;
    };
    call.sharings = {{0, 0, 2}};
    if (samples == 1)
        call.sharings.push_back({0, 1, 0});
    return call;
}

TEST(Relief, InMemory) {
    for (const std::size_t samples : {1, 3})
        for (const auto &form : reliefs(samples))
            for (const std::uint8_t strength : {1, 90, 127})
                sweep(masked_call(
                    "relief " + std::to_string(strength) + ", " + form.level, samples,
                    [=](std::uint8_t *to, const std::uint8_t *overlay, const std::uint8_t *mask,
                        std::size_t pixels) { form.run(to, overlay, mask, strength, pixels); },
                    [=](int b, int s, int m) {
                        return m == 0 ? b : model::relief(b, s, strength);
                    }));
}

TEST(MaskedSubtraction, InMemory) {
    for (const std::size_t samples : {1, 3})
        for (const auto &form : masked_subtractions(samples))
            sweep(masked_call(std::string{"masked subtraction, "} + form.level, samples, form.run,
                              model::subtract_masked));
}

TEST(PortionSubtraction, InMemory) {
    for (const auto &form : portion_subtractions())
        for (const std::uint32_t portion : {std::uint32_t{1}, 9999u, merge::whole_portion}) {
            Call call;
            call.name = "portion " + std::to_string(portion) + ", " + form.level;
            call.bytes = {1, 1};
            call.run = [=](const Addresses &runs, std::size_t samples) {
                form.run(runs[0], runs[1], portion, samples);
            };
            call.expected = [=](const std::vector<Bytes> &runs, std::size_t samples) {
                Bytes out(samples);
                for (std::size_t i = 0; i < samples; ++i)
                    out[i] = byte(model::subtract_portion(runs[0][i], runs[1][i], int(portion)));
                return out;
            };
            call.sharings = {{0, 0}};
            sweep(call);
        }
}

} // namespace
} // namespace q32::test
