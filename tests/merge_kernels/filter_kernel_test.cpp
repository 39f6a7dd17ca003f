// The colour filter's kernels and their scalar forms against a plain model: all ranges of one
// sample, all colours under lists of many ranges, every range of a list on its own, worked
// examples, and the sweeps over memory. How ranges come from colours and tolerances is tested with
// the library.
#include "merge/kernels/filter_kernels.h"

#include "tests/frame/fenced_memory.h"
#include "tests/kernels/kernel_sweep.h"
#include "tests/merge_kernels/domains.h"
#include "tests/models/filter.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace q32::test {
namespace {

using merge::ColourRange;
using merge::ColourRanges;
using merge::Keep;
using merge::MaskFilter;
using Ranges = std::vector<ColourRange>;

struct Form {
    const char *name;
    const merge::FilterKernels *kernels;
};
constexpr Form forms[] = {{"scalar", &merge::scalar_filter_kernels},
                          {"fast", &merge::filter_kernels}};

constexpr Keep keeps[] = {Keep::inside, Keep::outside};

MaskFilter *of_size(const merge::FilterKernels &kernels, std::size_t samples) {
    return samples == 1 ? kernels.grey
                        : (samples == 3 ? kernels.colour : kernels.colour_and_fourth);
}

// --- the model ---

model::ColourRanges model_ranges(const Ranges &ranges) {
    model::ColourRanges all;
    for (const ColourRange &range : ranges) {
        model::ColourRange &ends = all.emplace_back();
        for (std::size_t k = 0; k < ends.size(); ++k)
            ends[k] = {range.samples[k].low, range.samples[k].high};
    }
    return all;
}

Bytes model_filter(const Bytes &mask, const Bytes &source, const Ranges &ranges, Keep keep,
                   std::size_t samples) {
    Bytes out = mask;
    model::filter(out.data(), source.data(), out.size(), samples, model_ranges(ranges),
                  keep == Keep::inside);
    return out;
}

// --- running ---

bool filters_to(const Bytes &expected, const Bytes &mask, const Bytes &source, const Ranges &ranges,
                Keep keep, std::size_t samples) {
    for (const Form &form : forms) {
        Bytes run = mask;
        of_size(*form.kernels, samples)(run.data(), source.data(), run.size(),
                                        {ranges.data(), ranges.size()}, keep);
        const std::size_t at = first_difference(run.data(), expected.data(), run.size());
        count_compared(form.name, run.size());
        if (at == run.size())
            continue;
        ADD_FAILURE() << form.name << ", " << samples << " samples, " << ranges.size()
                      << " ranges, keeps what is " << (keep == Keep::inside ? "inside" : "outside")
                      << ": pixel " << at << " that begins with " << int{source[at * samples]}
                      << " and has mask " << int{mask[at]} << " gives " << int{run[at]}
                      << ", expected " << int{expected[at]};
        return false;
    }
    return true;
}

bool filters_exactly(const Bytes &mask, const Bytes &source, const Ranges &ranges,
                     std::size_t samples) {
    return std::all_of(std::begin(keeps), std::end(keeps), [&](Keep keep) {
        return filters_to(model_filter(mask, source, ranges, keep, samples), mask, source, ranges,
                          keep, samples);
    });
}

ColourRange random_range(Random &random, std::size_t widest) {
    ColourRange range;
    for (merge::SampleRange &sample : range.samples) {
        const std::size_t low = random.below(256);
        sample.low = static_cast<std::uint8_t>(low);
        sample.high =
            static_cast<std::uint8_t>(std::min<std::size_t>(255, low + random.below(widest)));
        if (random.below(32) == 0)
            std::swap(sample.low, sample.high); // empty
    }
    return range;
}

Ranges random_ranges(Random &random, std::size_t count) {
    const std::size_t widest = 1 + random.below(256);
    Ranges ranges;
    for (std::size_t i = 0; i < count; ++i)
        ranges.push_back(random_range(random, widest));
    return ranges;
}

// Pixels at the ends of ranges and one beside them, and others.
Bytes pixels_near(Random &random, const Ranges &ranges, std::size_t pixels, std::size_t samples) {
    Bytes source(pixels * samples);
    random.fill(source);
    for (std::size_t i = 0; i < pixels && !ranges.empty(); ++i) {
        const ColourRange &range = ranges[random.below(ranges.size())];
        if (random.below(8) == 0)
            continue;
        for (std::size_t k = 0; k < samples; ++k) {
            const auto [high, low] = range.samples[k];
            const int choices[] = {low, high, low - 1, high + 1, (low + high) / 2, low, high};
            source[i * samples + k] =
                static_cast<std::uint8_t>(choices[random.below(std::size(choices))]);
        }
    }
    return source;
}

Bytes random_mask(Random &random, std::size_t pixels) {
    Bytes mask(pixels);
    random.fill(mask);
    for (std::uint8_t &value : mask)
        if (random.below(8) == 0)
            value = 0;
    return mask;
}

// --- everything ---

TEST(Filter, AllRangesOfOneSample) {
    Bytes source(256);
    Bytes mask(256);
    for (std::size_t i = 0; i < 256; ++i) {
        source[i] = static_cast<std::uint8_t>(i * 77); // odd: every sample once
        mask[i] = static_cast<std::uint8_t>(i % 5 == 0 ? 0 : i);
    }
    for (unsigned low = 0; low < 256; low += next_turn)
        for (unsigned high = 0; high < 256; ++high) {
            const Ranges ranges{
                {{{static_cast<std::uint8_t>(high), static_cast<std::uint8_t>(low)}}}};
            ASSERT_TRUE(filters_exactly(mask, source, ranges, 1)) << low << " to " << high;
        }
}

TEST(Filter, AllColoursUnderSomeRanges) {
    Random random{test_seed(), 0};
    Ranges ranges = random_ranges(random, 5);
    ranges.push_back({{{200, 100}, {200, 100}, {200, 100}, {9, 0}}});
    Bytes source;
    const Bytes mask = random_mask(random, row_pixels);
    for (std::size_t first = 0; first < 256; first += next_turn) {
        set_colours(source, first);
        ASSERT_TRUE(filters_exactly(mask, source, ranges, 3)) << first;
    }
}

// In a list of ranges of one colour each, every colour finds its own, and only that.
TEST(Filter, EveryRangeOfAListCounts) {
    for (const std::size_t samples : {1, 3, 4})
        for (std::size_t count :
             {1, 2, 7, 8, 9, 31, 32, 33, 63, 64, 65, 127, 128, 129, 256, 1000}) {
            if (samples == 1)
                count = std::min<std::size_t>(count, 128);
            Ranges ranges;
            Bytes source;
            for (std::size_t i = 0; i < 2 * count; ++i) {
                // The second half matches nothing.
                const std::uint8_t colour[] = {static_cast<std::uint8_t>(2 * i + (i >= count)),
                                               static_cast<std::uint8_t>(i % 256),
                                               static_cast<std::uint8_t>(i / 256 * 3 + 1),
                                               static_cast<std::uint8_t>(i % 251)};
                source.insert(source.end(), colour, colour + samples);
                if (i < count)
                    ranges.push_back({{{colour[0], colour[0]},
                                       {colour[1], colour[1]},
                                       {colour[2], colour[2]},
                                       {colour[3], colour[3]}}});
            }
            const Bytes mask(2 * count, 200);
            Bytes inside(count, 200), outside(count, 0);
            inside.resize(2 * count, 0);
            outside.resize(2 * count, 200);
            ASSERT_TRUE(filters_to(inside, mask, source, ranges, Keep::inside, samples));
            ASSERT_TRUE(filters_to(outside, mask, source, ranges, Keep::outside, samples));
        }
}

TEST(Filter, RandomRanges) {
    random_cases(600, [](Random &random, std::uint64_t number) {
        constexpr std::size_t sizes[] = {1, 3, 4};
        const std::size_t samples = sizes[random.below(std::size(sizes))];
        const Ranges ranges = random_ranges(random, random.below(random.below(4) == 0 ? 300 : 12));
        const std::size_t pixels = random.below(3000);
        const Bytes source = pixels_near(random, ranges, pixels, samples);
        if (filters_exactly(random_mask(random, pixels), source, ranges, samples))
            return true;
        ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return false;
    });
}

// --- examples ---

TEST(Filter, NoRangesMatchNothing) {
    const Bytes mask{255, 1, 0, 77};
    const Bytes source(16, 100);
    for (const std::size_t samples : {1, 3, 4}) {
        EXPECT_TRUE(filters_to({0, 0, 0, 0}, mask, source, {}, Keep::inside, samples));
        EXPECT_TRUE(filters_to(mask, mask, source, {}, Keep::outside, samples));
    }
}

TEST(Filter, EndsBelongToTheRange) {
    const Ranges ranges{{{{255, 100}}}, {{{70, 0}}}};
    const Bytes source{0, 70, 71, 99, 100, 255};
    const Bytes mask(6, 9);
    EXPECT_TRUE(filters_to({9, 9, 0, 0, 9, 9}, mask, source, ranges, Keep::inside, 1));
    EXPECT_TRUE(filters_to({0, 0, 9, 9, 0, 0}, mask, source, ranges, Keep::outside, 1));
}

TEST(Filter, OneRangeIsEnough) {
    const Ranges ranges{{{{10, 0}, {10, 0}, {10, 0}}}, {{{60, 50}, {60, 50}, {60, 50}}}};
    // In the second only; red of the first and the rest of the second.
    const Bytes source{55, 55, 55, 5, 55, 55};
    const Bytes mask{255, 255};
    EXPECT_TRUE(filters_to({255, 0}, mask, source, ranges, Keep::inside, 3));
    EXPECT_TRUE(filters_to({0, 255}, mask, source, ranges, Keep::outside, 3));
}

TEST(Filter, FourthSampleIsTheHighEnd) {
    const Ranges ranges{{{{255, 0}, {255, 0}, {255, 0}, {90, 10}}}};
    const Bytes source{1, 2, 3, 90, 1, 2, 3, 89, 1, 2, 3, 10, 1, 2, 3, 91};
    const Bytes mask(4, 255);
    EXPECT_TRUE(filters_to({255, 0, 0, 0}, mask, source, ranges, Keep::inside, 4));
    EXPECT_TRUE(filters_to({0, 255, 255, 255}, mask, source, ranges, Keep::outside, 4));
}

// --- memory ---

TEST(Filter, InMemory) {
    for (const Form &form : forms)
        for (const std::size_t samples : {1, 3, 4})
            for (const Keep keep : keeps)
                for (const std::size_t count : {0, 1, 70}) {
                    Random random{test_seed(), count};
                    const Ranges ranges = random_ranges(random, count);
                    const FencedMemory table{count * sizeof(ColourRange) + 1};
                    auto *const first =
                        reinterpret_cast<ColourRange *>(table.end() - count * sizeof(ColourRange));
                    std::copy(ranges.begin(), ranges.end(), first);
                    Call call;
                    call.name = std::string{"filter, "} + form.name + ", " +
                                std::to_string(samples) + " samples, " + std::to_string(count) +
                                " ranges";
                    call.bytes = {1, samples};
                    call.contents = [&](Random &any, std::size_t pixels) {
                        return std::vector<Bytes>{random_mask(any, pixels),
                                                  pixels_near(any, ranges, pixels, samples)};
                    };
                    call.run = [&](const Addresses &runs, std::size_t pixels) {
                        of_size(*form.kernels, samples)(runs[0], runs[1], pixels, {first, count},
                                                        keep);
                    };
                    call.expected = [&](const std::vector<Bytes> &runs, std::size_t) {
                        return model_filter(runs[0], runs[1], ranges, keep, samples);
                    };
                    sweep(call);
                }
}

} // namespace
} // namespace q32::test
