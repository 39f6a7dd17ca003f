// Filters by tables. For each value of each sample, a word of bits says which of a group of ranges
// have it; a pixel lies in a range when the words of its samples share a bit. That costs a few
// loads for a whole group, and nothing that a processor would have to predict.
#include "merge/kernels/filter_kernels.h"
#include "library/process/baseline.h"

#include <algorithm>
#include <cstring>

namespace q32::merge {
namespace {

constexpr std::size_t values = 256;
constexpr std::size_t group = 32; // ranges: bits of a word

// Tables are made anew for each piece and group: a piece is so long that this does not matter, and
// still stays in the first-level cache.
constexpr std::size_t piece = 2048; // pixels

// What of each sample's range counts.
template <std::size_t samples>
SampleRange tested_range(const ColourRange &range, std::size_t sample) {
    const SampleRange &tested = range.samples[sample];
    return sample == 3 ? SampleRange{tested.high, tested.high} : tested;
}

template <std::size_t samples>
class Group {
public:
    // Each range turns its bit on at its low end and off behind its high end; adding up from value
    // to value makes runs of that.
    Group(const ColourRange *ranges, std::size_t count) {
        for (std::size_t bit = 0; bit < count; ++bit)
            for (std::size_t sample = 0; sample < samples; ++sample) {
                const SampleRange range = tested_range<samples>(ranges[bit], sample);
                if (range.high < range.low)
                    continue;
                ranges_with_[range.low][sample] ^= 1u << bit;
                ranges_with_[range.high + 1][sample] ^= 1u << bit;
            }
        for (std::size_t value = 1; value < values; ++value)
            for (std::size_t sample = 0; sample < filter_samples; ++sample)
                ranges_with_[value][sample] ^= ranges_with_[value - 1][sample];
    }

    bool has(const std::uint8_t *pixel) const {
        std::uint32_t shared = ranges_with_[pixel[0]][0];
        for (std::size_t sample = 1; sample < samples; ++sample)
            shared &= ranges_with_[pixel[sample]][sample];
        return shared != 0;
    }

private:
    std::uint32_t ranges_with_[values + 1][filter_samples] = {};
};

// In blocks, so that what a mask leaves out altogether is passed over.
constexpr std::size_t block = 8; // pixels

bool is_clear(const std::uint8_t *mask) {
    std::uint64_t bytes;
    static_assert(sizeof(bytes) == block);
    std::memcpy(&bytes, mask, sizeof(bytes));
    return bytes == 0;
}

// inside: not 0 for the pixels that lie in one of the groups so far.
template <std::size_t samples>
void add_group(std::uint8_t *inside, const std::uint8_t *mask, const std::uint8_t *source,
               std::size_t pixels, const Group<samples> &ranges) {
    const auto add = [&](std::size_t i) { inside[i] |= ranges.has(source + i * samples); };
    std::size_t i = 0;
    for (; i + block <= pixels; i += block) {
        if (is_clear(mask + i))
            continue;
        for (std::size_t k = 0; k < block; ++k)
            add(i + k);
    }
    for (; i < pixels; ++i)
        add(i);
}

void clear(std::uint8_t *mask, const std::uint8_t *inside, std::size_t pixels, Keep keep) {
    const std::uint8_t cleared = keep == Keep::inside ? 0 : 1;
    for (std::size_t i = 0; i < pixels; ++i)
        mask[i] = inside[i] == cleared ? 0 : mask[i];
}

template <std::size_t samples>
void filter(std::uint8_t *mask, const std::uint8_t *source, std::size_t pixels,
            const ColourRanges &ranges, Keep keep) {
    while (pixels > 0) {
        const std::size_t count = std::min(pixels, piece);
        std::uint8_t inside[piece] = {};
        for (std::size_t first = 0; first < ranges.count; first += group)
            add_group<samples>(
                inside, mask, source, count,
                Group<samples>(ranges.first + first, std::min(ranges.count - first, group)));
        clear(mask, inside, count, keep);
        mask += count;
        source += count * samples;
        pixels -= count;
    }
}

} // namespace

constexpr FilterKernels filter_kernels = {
    .grey = filter<1>,
    .colour = filter<3>,
    .colour_and_fourth = filter<4>,
};

} // namespace q32::merge
