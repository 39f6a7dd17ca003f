// Ranges of colours from the command line, as the library's colour filter takes them.
#pragma once

#include "arguments.h"

#include <q32base/merge.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace apps::q32tool {

// A filter's count and its ranges, in one block.
class ColourRanges {
public:
    explicit ColourRanges(const std::vector<I32COLORRANGE> &ranges);
    const I32COLORFILTER *filter() const {
        return reinterpret_cast<const I32COLORFILTER *>(block_.data());
    }

private:
    std::vector<uint32_t> block_;
};

// The values of an option that was given: "R,G,B", "R,G,B:T" or "R,G,B:TR,TG,TB", and "#rrggbb" for
// the colour. Throws UsageError.
ColourRanges colour_ranges_from(const Arguments &arguments, std::string_view option);

} // namespace apps::q32tool
