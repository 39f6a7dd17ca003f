// The merge modes as a table: what each one does to a pixel, where it rounds the MMX way, and what
// it reports when an overlay cannot be copied. How a run is merged by these facts is run.h's part.
#pragma once

#include "library/process/failure.h"
#include "merge/merge.h"

namespace q32::merge {

// What a mode does. Selections and field transfers begin with a normal blend.
enum class Action : std::uint8_t { blend, transfer, selection, relief, mask_subtraction };

// The exports that round by shifting where the processor has MMX and pixels have three bytes.
enum class ShiftedIn : std::uint8_t { none, runs, runs_and_rectangles };

// A run of i32Merge, or a row of one of the rectangle forms: their rules differ in places.
enum class Form : std::uint8_t { run, rectangle };

struct Mode {
    Action action;
    Rule rule;                           // normal unless a blend
    ShiftedIn shifted_in;                // transfers: their normal blend
    HsvFields fields;                    // of a transfer
    Comparison comparison;               // of a selection
    Comparison mmx_rectangle_comparison; // and in rectangles where the processor has MMX
    const FailureSite *no_overlay_copy;  // null for transfers, which need no copy
};

// Null for a mode that there is not.
const Mode *find_mode(Form form, unsigned mode);

} // namespace q32::merge
