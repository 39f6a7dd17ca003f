// A number that is known when a row is scaled, as a constant for the code that is made for it.
#pragma once

#include <cstddef>

namespace q32::rows {
namespace {

// Calls work<factor>() where the factor is one of first to last; returns whether it is.
template <std::size_t first, std::size_t last, class Work>
inline bool with_factor(std::size_t factor, const Work &work) {
    if constexpr (first <= last) {
        if (factor != first)
            return with_factor<first + 1, last>(factor, work);
        work.template operator()<first>();
        return true;
    }
    return false;
}

} // namespace
} // namespace q32::rows
