// Rows that are too short for the kernels: cells at odd places to each other leave strips of a few
// columns, which would be merged sample by sample.
#pragma once

#include "merge/run.h"

namespace q32::merge {

// Whether rows are merged faster behind each other than where they lie.
bool are_narrow(const Recipe &recipe, const RunRows &rows);

// The same as merge_rows.
void merge_narrow_rows(const Recipe &recipe, const RunRows &rows);

} // namespace q32::merge
