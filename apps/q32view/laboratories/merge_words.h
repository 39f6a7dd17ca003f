// What the merge modes compute, and how they round, in the words of the library's documents.
#pragma once

#include <string>

namespace apps::q32view {

// How the laboratory merges.
struct MergeSetting {
    int mode = 1; // MERGE_
    int opacity = 100;
    bool has_mask = false;
    bool has_mmx = true; // IsSupportMMX

    int transparency() const { return 100 - opacity; }
};

// Three lines: the formula, its rounding, and how its result is weighed. b is a sample of the base,
// s one of the overlay, m the mask's byte, r what the formula gives.
std::string merge_in_words(const MergeSetting &setting);

// "Merged 640 x 480 pixels in 512 microseconds: 1.67 ns a pixel."
std::string merge_time_in_words(int width, int height, double microseconds);

} // namespace apps::q32view
