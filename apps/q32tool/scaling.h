// Scaling: the sizes and methods of the command line, and pictures averaged where they become
// smaller or scaled through the library.
#pragma once

#include "apps/pictures/light.h"
#include "arguments.h"
#include "picture.h"

#include <string>
#include <string_view>
#include <vector>

namespace apps::q32tool {

// --size, --fit, --percent, --method and --linear. method: what is done without one.
std::vector<Option> scaling_options(std::string_view method_help);

// What these options say. Made before any picture is read, so that mistakes show at once.
class Scaling {
public:
    // usual_method: without --method. Throws UsageError.
    Scaling(const Arguments &arguments, std::string_view usual_method);

    // Of the scaled picture, at least 1 x 1.
    Size size_for(Size picture) const;

    // What a picture of that size is averaged to before the library scales it: as small as the
    // scaled one in each direction in which that is smaller. Without averaging, its own size.
    Size averaged_size_for(Size picture) const;

    bool is_averaging() const { return method_name_ == "average"; }
    Light light() const { return light_; }
    int method() const { return method_; } // RESAMPLE_: the library's
    std::string_view method_name() const { return method_name_; }

private:
    enum class Kind { size, fit, percent };
    Kind kind_;
    Size box_ = {};        // a side of 0: by the picture's proportions
    uint64_t percent_ = 0; // in millionths
    std::string_view method_name_;
    int method_;
    Light light_;
};

// The picture in another size, as a new one in buffers of the same type, with the same facts.
// Colours count as much as they are opaque, but for those that nearest neighbour picks. Only pixels
// of 8 and 24 bits are averaged; others are left to the library. Throws Failure, Cancelled.
Picture scaled(const Picture &picture, const Scaling &scaling, const std::string &named);

} // namespace apps::q32tool
