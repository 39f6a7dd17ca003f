// The checked calls within one block of memory.
#include "tests/merge/overlap_fixture.h"

#include <algorithm>
#include <sstream>

namespace q32::test {
namespace {

// The stretches of a call, by their distance from the result, and the block that just holds them.
class Stretches {
public:
    void add(int begin, std::size_t length) {
        begin_ = std::min(begin_, begin);
        end_ = std::max(end_, begin + int(length));
    }
    std::size_t size() const { return std::size_t(end_ - begin_); }
    // Of a block that begins there.
    std::uint8_t *address(std::uint8_t *block, std::optional<int> begin) const {
        return begin ? block + (*begin - begin_) : nullptr;
    }

private:
    int begin_ = 0, end_ = 0;
};

std::size_t area(const RECT &r) {
    return std::size_t(r.right - r.left) * std::size_t(r.bottom - r.top);
}

Stretches stretches_of(const OverlapRun &c) {
    const std::size_t size = c.pixels * std::size_t(c.call.bytes);
    Stretches stretches;
    stretches.add(0, size);
    stretches.add(c.base, size);
    stretches.add(c.overlay, size);
    if (c.mask)
        stretches.add(*c.mask, c.pixels);
    return stretches;
}

Stretches stretches_of(const OverlapRectangles &c) {
    const auto bytes = std::size_t(c.call.bytes);
    Stretches stretches;
    stretches.add(0, std::size_t(c.width) * std::size_t(c.height) * bytes);
    stretches.add(c.overlay, area(c.overlay_rectangle) * bytes);
    if (c.mask)
        stretches.add(*c.mask, area(c.mask_rectangle));
    return stretches;
}

Stretches stretches_of(const OverlapImages &c) {
    const auto bytes = std::size_t(c.call.bytes);
    const std::size_t pixels = std::size_t(c.overlay_width) * std::size_t(c.overlay_height);
    Stretches stretches;
    stretches.add(0, std::size_t(c.width) * std::size_t(c.height) * bytes);
    stretches.add(c.overlay, pixels * bytes);
    if (c.mask)
        stretches.add(*c.mask, pixels);
    return stretches;
}

template <class Case>
std::string texts(const Case &c) {
    std::ostringstream text;
    text << "mode " << c.call.mode << ", transparency " << c.call.transparency
         << (c.call.mmx ? ", MMX" : ", no MMX") << ", pixels of " << c.call.bytes
         << " bytes, from the result on: overlay " << c.overlay;
    if (c.mask)
        text << ", mask " << *c.mask;
    return text.str();
}

} // namespace

std::ostream &operator<<(std::ostream &out, const OverlapRun &c) {
    return out << texts(c) << ", base " << c.base << "; " << c.pixels << " pixels";
}

std::ostream &operator<<(std::ostream &out, const OverlapRectangles &c) {
    return out << texts(c) << "; image of " << c.width << " x " << c.height << ", mask "
               << text_of(c.mask_rectangle) << ", overlay " << text_of(c.overlay_rectangle);
}

std::ostream &operator<<(std::ostream &out, const OverlapImages &c) {
    return out << texts(c) << "; image of " << c.width << " x " << c.height << ", at (" << c.x
               << ", " << c.y << ") overlay of " << c.overlay_width << " x " << c.overlay_height
               << ", rectangle " << text_of(c.rectangle);
}

Bytes some_memory(Random &random, std::size_t count) {
    Bytes memory;
    while (memory.size() < count) {
        const std::size_t stretch = std::min(1 + random.below(300), count - memory.size());
        Bytes part =
            random.below(4) == 0 ? some_mask(random, stretch) : some_bytes(random, stretch);
        if (random.below(4) == 0)
            for (std::uint8_t &byte : part)
                byte &= 7; // takes long to add up to white
        memory.insert(memory.end(), part.begin(), part.end());
    }
    return memory;
}

template <class Case, class Model, class Call>
testing::AssertionResult OverlapStage::compare(const Case &c, Contents contents, Place place,
                                               Model model, Call call) {
    const Stretches held = stretches_of(c);
    Bytes expected(contents.begin(), contents.begin() + std::ptrdiff_t(held.size()));
    block_.hold(expected, place);
    const auto within = [&](std::uint8_t *memory) {
        return [&held, memory](std::optional<int> begin) { return held.address(memory, begin); };
    };
    model(within(expected.data()));
    const int returned = call(within(block_.data()));
    std::ostringstream wrong;
    if (returned == 0)
        wrong << "returns 0; ";
    if (frame::comm().report_count != 0)
        wrong << "reports " << frame::comm().report_count << " times; ";
    wrong << block_.difference(expected);
    const std::string text = wrong.str();
    if (text.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << c << ": " << text;
}

// at(begin) is the address of a stretch.
testing::AssertionResult OverlapStage::agrees(const OverlapRun &c, Contents contents, Place place) {
    return compare(
        c, contents, place,
        [&](auto at) {
            model::merge_run(at(0), c.call, at(c.base), at(c.mask), at(c.overlay), c.pixels);
        },
        [&](auto at) {
            return api().i32Merge(at(0), at(c.base), at(c.mask), at(c.overlay), c.call.bytes,
                                  int(c.pixels), unsigned(c.call.mode), c.call.transparency);
        });
}

testing::AssertionResult OverlapStage::agrees(const OverlapRectangles &c, Contents contents,
                                              Place place) {
    return compare(
        c, contents, place,
        [&](auto at) {
            model::merge_rectangles(at(0), c.width, c.height, at(c.mask), box_of(c.mask_rectangle),
                                    at(c.overlay), box_of(c.overlay_rectangle), c.call);
        },
        [&](auto at) {
            return api().i32MergeEx(at(0), c.width, c.height, at(c.mask), &c.mask_rectangle,
                                    at(c.overlay), &c.overlay_rectangle, c.call.bytes, c.call.mode,
                                    c.call.transparency);
        });
}

testing::AssertionResult OverlapStage::agrees(const OverlapImages &c, Contents contents,
                                              Place place) {
    return compare(
        c, contents, place,
        [&](auto at) {
            model::merge_images(at(0), c.width, c.height, c.x, c.y, at(c.overlay), at(c.mask),
                                c.overlay_width, c.overlay_height, box_of(c.rectangle), c.call);
        },
        [&](auto at) {
            return api().i32MergeRamToRam(
                at(0), c.width, c.height, c.call.bytes, c.x, c.y, at(c.overlay), at(c.mask),
                c.overlay_width, c.overlay_height, c.rectangle, c.call.mode, c.call.transparency);
        });
}

} // namespace q32::test
