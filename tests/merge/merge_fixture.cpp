// The library in either setting, the pixels, the memory and the checked calls of the merge tests.
#include "tests/merge/merge_fixture.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace q32::test {
namespace {

std::optional<bool> loaded_with;

constexpr std::uint8_t boundaries[] = {0, 1, 2, 126, 127, 128, 129, 253, 254, 255};

std::uint8_t some_byte(Random &random) {
    const std::size_t choice = random.below(3 * std::size(boundaries));
    return choice < std::size(boundaries) ? boundaries[choice] : random.byte();
}

std::uint8_t nudged(std::uint8_t value, Random &random) {
    const int moved = value + int(random.below(5)) - 2;
    return std::uint8_t(std::clamp(moved, 0, 255));
}

const char *name_of(Sharing sharing) {
    switch (sharing) {
    case Sharing::nothing:
        return "four blocks";
    case Sharing::result_and_base:
        return "result and base one";
    case Sharing::result_and_overlay:
        return "result and overlay one";
    case Sharing::base_and_overlay:
        return "base and overlay one";
    case Sharing::all:
        return "result, base and overlay one";
    }
    return "?";
}

Bytes first(const Bytes &bytes, std::size_t count) {
    return Bytes(bytes.begin(), bytes.begin() + std::ptrdiff_t(count));
}

} // namespace

MergeTest::MergeTest(bool mmx) : mmx_(mmx) {
    frame::reset_comm();
    if (!loaded_with || *loaded_with != mmx) {
        frame::drop_shared_library();
        loaded_with = mmx;
    }
    frame::comm().mmx = mmx;
    frame::shared_library();
    frame::forget_reports();
    before_ = Census::now();
}

void MergeTest::TearDown() {
    EXPECT_EQ(frame::reports(), std::vector<frame::Failure>{});
    frame::forget_reports();
    EXPECT_EQ(Census::now(), before_);
}

// --- pixels ----------------------------------------------------------------------------------

Bytes some_bytes(Random &random, std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t &value : bytes)
        value = some_byte(random);
    return bytes;
}

Bytes pixels_near(Random &random, const Bytes &others, std::size_t bytes) {
    Bytes pixels(others.size());
    for (std::size_t at = 0; at < pixels.size(); at += bytes) {
        const std::size_t kind = random.below(8);
        const std::uint8_t grey = some_byte(random);
        for (std::size_t i = at; i < std::min(at + bytes, pixels.size()); ++i)
            pixels[i] = kind == 0   ? others[i]
                        : kind <= 2 ? nudged(others[i], random)
                        : kind == 3 ? grey
                                    : some_byte(random);
    }
    return pixels;
}

Bytes some_mask(Random &random, std::size_t pixels) {
    Bytes mask;
    while (mask.size() < pixels) {
        const std::size_t stretch = std::min(1 + random.below(80), pixels - mask.size());
        const std::size_t kind = random.below(5);
        for (std::size_t i = 0; i < stretch; ++i)
            mask.push_back(kind == 0 ? 0 : kind == 1 ? 255 : some_byte(random));
    }
    return mask;
}

RunPixels some_pixels(Random &random, std::size_t pixels, int bytes) {
    const auto size = std::size_t(bytes);
    RunPixels made;
    made.result = some_bytes(random, pixels * size);
    // Near each other, as mode 8 compares nothing and the others the base.
    made.base = some_bytes(random, pixels * size);
    made.base = pixels_near(random, made.base, size);
    made.overlay = pixels_near(random, made.base, size);
    made.mask = some_mask(random, pixels);
    return made;
}

// --- runs checked against the model ----------------------------------------------------------

std::ostream &operator<<(std::ostream &out, const RunCase &run) {
    return out << "mode " << run.call.mode << ", " << run.pixels << " pixels of " << run.call.bytes
               << " bytes, transparency " << run.call.transparency
               << (run.masked ? ", mask" : ", no mask") << (run.call.mmx ? ", MMX" : ", no MMX")
               << ", " << name_of(run.sharing) << ", " << run.place;
}

testing::AssertionResult RunStage::agrees(const RunCase &run, const RunPixels &pixels) {
    const std::size_t size = run.pixels * std::size_t(run.call.bytes);
    const bool base_is_result =
        run.sharing == Sharing::result_and_base || run.sharing == Sharing::all;
    const bool overlay_is_result =
        run.sharing == Sharing::result_and_overlay || run.sharing == Sharing::all;
    const bool overlay_is_base = run.sharing == Sharing::base_and_overlay;

    const Bytes held = first(pixels.result, size);
    const Bytes base = base_is_result ? held : first(pixels.base, size);
    const Bytes overlay = overlay_is_result ? held
                          : overlay_is_base ? base
                                            : first(pixels.overlay, size);
    const Bytes mask = first(pixels.mask, run.pixels);

    const auto nearer = [&](std::size_t by) {
        return Place{run.place.at_end, run.place.distance / by};
    };
    std::uint8_t *const result_at = result_.hold(held, run.place);
    std::uint8_t *const base_at = base_is_result ? result_at : base_.hold(base, nearer(2));
    std::uint8_t *const overlay_at = overlay_is_result ? result_at
                                     : overlay_is_base ? base_at
                                                       : overlay_.hold(overlay, nearer(3));
    std::uint8_t *const mask_at = mask_.hold(mask, nearer(5));

    Bytes expected = held;
    const bool accepted =
        model::merge_run(expected.data(), run.call, base.data(), run.masked ? mask.data() : nullptr,
                         overlay.data(), run.pixels);
    const int returned = api().i32Merge(result_at, base_at, run.masked ? mask_at : nullptr,
                                        overlay_at, run.call.bytes, int(run.pixels),
                                        unsigned(run.call.mode), run.call.transparency);

    std::ostringstream wrong;
    if (returned != int(accepted))
        wrong << "returns " << returned << "; ";
    if (frame::comm().report_count != 0)
        wrong << "reports " << frame::comm().report_count << " times; ";
    const auto compare = [&](const char *name, const Block &block, const Bytes &wanted) {
        const std::string difference = block.difference(wanted);
        if (!difference.empty())
            wrong << "in the " << name << " " << difference << "; ";
    };
    compare("result", result_, expected);
    if (!base_is_result)
        compare("base", base_, base);
    if (!overlay_is_result && !overlay_is_base)
        compare("overlay", overlay_, overlay);
    compare("mask", mask_, mask);
    const std::string text = wrong.str();
    if (text.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << run << ": " << text;
}

} // namespace q32::test
