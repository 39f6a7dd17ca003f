// How much was compared, for the figures of the program.
#pragma once

#include <cstddef>
#include <string_view>

namespace q32::test {

// A form of this name gave so many pixels, or values where there are no pixels, and each was looked
// at. Counts those of wide forms: the scalar one says its name, or the test does that runs it.
void count_compared(std::string_view form, std::size_t pixels);

} // namespace q32::test
