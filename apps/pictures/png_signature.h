// What every PNG file begins with.
#pragma once

#include <cstdint>

namespace apps {

inline constexpr uint8_t png_signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

} // namespace apps
