// The table of merge modes. A further mode is one more row.
#include "merge/modes.h"

#include "merge/failures.h"

#include <q32base/merge.h>

#include <iterator>

namespace q32::merge {
namespace {

constexpr Mode blend(Rule rule, ShiftedIn shifted_in, const FailureSite &no_overlay_copy) {
    return {.action = Action::blend,
            .rule = rule,
            .shifted_in = shifted_in,
            .no_overlay_copy = &no_overlay_copy};
}

constexpr Mode transfer(HsvFields fields) {
    return {
        .action = Action::transfer, .shifted_in = ShiftedIn::runs_and_rectangles, .fields = fields};
}

constexpr Mode select(Comparison comparison, Comparison mmx_rectangle_comparison,
                      const FailureSite &no_overlay_copy) {
    return {.action = Action::selection,
            .comparison = comparison,
            .mmx_rectangle_comparison = mmx_rectangle_comparison,
            .no_overlay_copy = &no_overlay_copy};
}

constexpr Mode act(Action action, const FailureSite &no_overlay_copy) {
    return {.action = action, .no_overlay_copy = &no_overlay_copy};
}

// In the order of the modes' numbers, from MERGE_NORMAL on. Quirk: only i32Merge rounds
// differences, sums, products and the like by shifting; the rectangle forms divide in all modes but
// the normal one, and of the two selections only lightening compares in another way there.
constexpr Mode modes[] = {
    blend(Rule::normal, ShiftedIn::runs_and_rectangles, site::no_copy_normal),
    transfer(HsvFields::hue_and_saturation),
    transfer(HsvFields::hue),
    transfer(HsvFields::saturation),
    transfer(HsvFields::value),
    select(Comparison::lighter, Comparison::lighter_by_sums, site::no_copy_lighten),
    select(Comparison::darker, Comparison::darker, site::no_copy_darken),
    act(Action::relief, site::no_copy_relief),
    blend(Rule::difference, ShiftedIn::runs, site::no_copy_difference),
    blend(Rule::add, ShiftedIn::runs, site::no_copy_add),
    blend(Rule::subtract, ShiftedIn::runs, site::no_copy_subtract),
    blend(Rule::multiply, ShiftedIn::runs, site::no_copy_multiply),
    blend(Rule::screen, ShiftedIn::runs, site::no_copy_screen),
    blend(Rule::premultiplied_black, ShiftedIn::none, site::no_copy_premultiplied_black),
    blend(Rule::premultiplied_white, ShiftedIn::none, site::no_copy_premultiplied_white),
    act(Action::mask_subtraction, site::no_copy_mask_subtract),
};
static_assert(std::size(modes) == MERGE_MASK_SUBTRACT - MERGE_NORMAL + 1);

} // namespace

const Mode *find_mode(Form form, unsigned mode) {
    const unsigned index = mode - MERGE_NORMAL;
    if (index >= std::size(modes))
        return nullptr;
    // Mask subtraction exists for runs only.
    if (form == Form::rectangle && modes[index].action == Action::mask_subtraction)
        return nullptr;
    return &modes[index];
}

} // namespace q32::merge
