// The exports that merge plain memory, which may all lie over each other, against the model of
// their rules.
#include "merge/merge.h"
#include "rows/rows.h"
#include "tests/fuzz/forms.h"
#include "tests/fuzz/system/machine.h"
#include "tests/models/merging.h"

#include <q32base/merge.h>

namespace q32::fuzz {
namespace {

namespace model = test::model;

void choose_set(Input &input) {
    static const std::vector<InstructionSet> sets = test::sets_of_this_machine();
    const InstructionSet set = sets[input.below(sets.size())];
    chosen_kernels<merge::BlendKernels> = &merge::blend_kernels(set);
    chosen_kernels<merge::EffectKernels> = &merge::effect_kernels(set);
    chosen_kernels<merge::ColourKernels> = &merge::colour_kernels(set);
    chosen_kernels<rows::RowKernels> = &rows::row_kernels(set);
}

// Memory twice: the library's and the model's. What lies in it ends inside of it, the last of it
// with its last byte.
class Arena {
public:
    Arena(Input &input, std::initializer_list<std::size_t> sizes) {
        const bool apart = input.flag();
        std::size_t end = 0;
        for (const std::size_t size : sizes) {
            places_.push_back(
                apart || end == 0 ? end : input.between(0, int(std::min<std::size_t>(end, 4000))));
            end = std::max(end, places_.back() + size);
        }
        const std::size_t shift = input.below(64);
        before_ = input.content(end);
        library_.emplace_back(before_, shift);
        library_.emplace_back(before_, shift);
    }

    std::uint8_t *library(std::size_t part) const { return library_[0].at() + places_[part]; }
    std::uint8_t *rule(std::size_t part) const { return library_[1].at() + places_[part]; }
    bool are_alike() const { return library_[0].content() == library_[1].content(); }
    bool is_untouched() const { return library_[0].content() == before_; }

private:
    std::vector<std::size_t> places_;
    Bytes before_;
    Blocks library_;
};

model::Call call_of(Input &input) {
    machine().mmx = input.flag();
    const int mode = input.below(16) == 0 ? input.any_int() : input.between(0, 17);
    const int bytes = input.flag() ? 3 : input.between(1, 8);
    const int transparency = input.flag() ? 0 : input.between(-5, 105);
    return {mode, bytes, transparency, machine().mmx};
}

void merge_run(Input &input) {
    const model::Call call = call_of(input);
    const std::size_t pixels = 1 + input.length(2500), bytes = pixels * std::size_t(call.bytes);
    const bool masked = input.flag();
    const Arena arena(input, {bytes, bytes, pixels, bytes});
    const bool is_poor = input.below(32) == 0;
    if (is_poor)
        machine().allocations_left = int(input.below(4));
    const int result =
        i32Merge(arena.library(0), arena.library(1), masked ? arena.library(2) : nullptr,
                 arena.library(3), call.bytes, int(pixels), unsigned(call.mode), call.transparency);
    if (is_poor && result == 0) {
        check(arena.is_untouched(), "a call without memory has changed something");
        return;
    }
    const bool expected = model::merge_run(arena.rule(0), call, arena.rule(1),
                                           masked ? arena.rule(2) : nullptr, arena.rule(3), pixels);
    check(expected == (result != 0), "a run is merged that should not be, or the other way round");
    check(arena.are_alike(), "a run differs from its rule");
}

struct Sides {
    int width, height;

    std::size_t pixels() const { return std::size_t(width) * std::size_t(height); }
};
Sides sides_of(Input &input) {
    return {input.between(1, 70), input.between(1, 20)};
}

// A rectangle of these sides near the image, or far from it.
RECT rectangle_of(Input &input, Sides sides) {
    const int left = input.below(16) == 0 ? input.any_int() : input.between(-40, 80);
    const int top = input.below(16) == 0 ? input.any_int() : input.between(-10, 20);
    return {std::min(left, INT32_MAX - sides.width), std::min(top, INT32_MAX - sides.height),
            std::min(left, INT32_MAX - sides.width) + sides.width,
            std::min(top, INT32_MAX - sides.height) + sides.height};
}
model::Box box_of(const RECT &rectangle) {
    return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
}

void compare_rectangles(const Arena &arena, int result, int missed) {
    check(result == 0 || missed == 0, "rectangles are merged that do not meet");
    check(arena.are_alike(), "rectangles differ from their rule");
}

void merge_rectangles(Input &input) {
    const model::Call call = call_of(input);
    const Sides image = sides_of(input), mask = sides_of(input), overlay = sides_of(input);
    const RECT mask_at = rectangle_of(input, mask), overlay_at = rectangle_of(input, overlay);
    const bool masked = input.flag();
    const auto bytes = std::size_t(call.bytes);
    const Arena arena(input, {image.pixels() * bytes, mask.pixels(), overlay.pixels() * bytes});
    const int result = i32MergeEx(arena.library(0), image.width, image.height,
                                  masked ? arena.library(1) : nullptr, &mask_at, arena.library(2),
                                  &overlay_at, call.bytes, call.mode, call.transparency);
    compare_rectangles(arena, result,
                       model::merge_rectangles(arena.rule(0), image.width, image.height,
                                               masked ? arena.rule(1) : nullptr, box_of(mask_at),
                                               arena.rule(2), box_of(overlay_at), call));
}

void merge_images(Input &input) {
    const model::Call call = call_of(input);
    const Sides image = sides_of(input), overlay = sides_of(input);
    const RECT part = rectangle_of(input, sides_of(input));
    const int x = input.between(-60, 90), y = input.between(-20, 30);
    const bool masked = input.flag();
    const auto bytes = std::size_t(call.bytes);
    const Arena arena(input, {image.pixels() * bytes, overlay.pixels(), overlay.pixels() * bytes});
    const int result =
        i32MergeRamToRam(arena.library(0), image.width, image.height, call.bytes, x, y,
                         arena.library(2), masked ? arena.library(1) : nullptr, overlay.width,
                         overlay.height, part, call.mode, call.transparency);
    compare_rectangles(arena, result,
                       model::merge_images(arena.rule(0), image.width, image.height, x, y,
                                           arena.rule(2), masked ? arena.rule(1) : nullptr,
                                           overlay.width, overlay.height, box_of(part), call));
}

// What hostile counts and ranges make: nothing to compare with, but memory that ends.
void filter_colours(Input &input) {
    const int type = input.between(-1, 6);
    const std::size_t pixels = input.length(), count = input.below(12);
    const std::size_t samples = type == I32_FILTER_GREY ? 1 : type == I32_FILTER_RGB ? 3 : 4;
    const Block filter(input.content(sizeof(std::uint32_t) + count * sizeof(I32COLORRANGE)));
    const auto ranges = std::uint32_t(count);
    std::memcpy(filter.at(), &ranges, sizeof ranges);
    const Arena arena(input, {pixels, pixels * samples});
    const void *const first = filter.at();
    i32ColorFilter(arena.library(0), input.flag() ? nullptr : arena.library(0), arena.library(1),
                   type, unsigned(pixels), static_cast<const I32COLORFILTER *>(first),
                   input.byte() % 2);
}

void convert_colours(Input &input) {
    constexpr std::size_t destination_bytes[] = {1, 3, 12, 3, 12, 3},
                          source_bytes[] = {3, 1, 3, 12, 3, 12};
    const auto conversion = unsigned(input.below(9));
    const std::size_t pixels = input.length(600), known = conversion < 6 ? conversion : 0;
    const Block to(input.content(pixels * destination_bytes[known])),
        from(input.content(pixels * source_bytes[known]));
    check(i32ColorspaceConvert(to.at(), from.at(), int(pixels), conversion) == 1,
          "a conversion fails");
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {merge_run, merge_rectangles, merge_images,
                                             filter_colours, convert_colours};
    Input input(data, size);
    for (int left = runs_of_an_input; left > 0 && !input.is_empty(); --left) {
        restart_machine();
        choose_set(input);
        families[input.below(std::size(families))](input);
        check_nothing_is_held();
    }
    return 0;
}
