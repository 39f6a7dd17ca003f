// The table of an instruction set: every rule in every form. The forms are a struct with
//   masked<R, rounding, samples>, uniform<R, rounding>, percent_weights, scaled_weights
// and, if it has any, colour_rows<R, rounding>.
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/rules.h"

namespace q32::merge {
namespace {

template <class Forms, Rounding rounding, class R>
constexpr Blend blend_of_rule() {
    Blend blend{};
    if constexpr (rounding == Rounding::divided)
        blend.grey = Forms::template masked<R, rounding, 1>;
    if constexpr (rounding == Rounding::divided || !Premultiplied<R>)
        blend.colour = Forms::template masked<R, rounding, 3>;
    if constexpr (!Premultiplied<R>)
        blend.uniform = Forms::template uniform<R, rounding>;
    if constexpr (requires { Forms::template colour_rows<R, rounding>; })
        blend.colour_rows = Forms::template colour_rows<R, rounding>;
    return blend;
}

template <class Forms, Rounding rounding, class... R>
constexpr void set_rules(BlendKernels &table, RuleList<R...>) {
    static_assert(sizeof...(R) == rule_count);
    Blend *const blends = table.blend[size_t(rounding)];
    ((blends[size_t(R::rule)] = blend_of_rule<Forms, rounding, R>()), ...);
}

template <class Forms>
constexpr BlendKernels blend_table() {
    BlendKernels table{};
    set_rules<Forms, Rounding::divided>(table, Rules<Rounding::divided>());
    set_rules<Forms, Rounding::shifted>(table, Rules<Rounding::shifted>());
    table.percent_weights = Forms::percent_weights;
    table.scaled_weights = Forms::scaled_weights;
    return table;
}

} // namespace
} // namespace q32::merge
