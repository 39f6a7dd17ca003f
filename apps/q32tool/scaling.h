// Scaling: the sizes and methods of the command line, and images scaled through the library.
#pragma once

#include "arguments.h"
#include "image.h"

#include <string>
#include <string_view>
#include <vector>

namespace apps::q32tool {

// --size, --fit, --percent and --method.
std::vector<Option> scaling_options();

// What these options say. Made before any picture is read, so that mistakes show at once.
class Scaling {
public:
    explicit Scaling(const Arguments &arguments); // throws UsageError

    // Of the scaled picture, at least 1 x 1.
    Size size_for(Size picture) const;

    int method() const { return method_; } // RESAMPLE_
    std::string_view method_name() const { return method_name_; }

private:
    enum class Kind { size, fit, percent };
    Kind kind_;
    Size box_ = {};
    uint32_t percent_ = 0;
    std::string_view method_name_;
    int method_;
};

// The image in another size, as a new one in a buffer of the same type. Throws Failure, Cancelled.
Image scaled(const Image &image, Size size, int method, const std::string &named);

} // namespace apps::q32tool
