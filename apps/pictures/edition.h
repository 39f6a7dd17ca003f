// Which edition of a program this is, and what a user may do where addresses of 32 bits are too
// few.
#pragma once

namespace apps {

inline constexpr bool is_64_bit = sizeof(void *) == 8;

inline constexpr const char *room_remedy =
    is_64_bit ? "use a smaller picture" : "use the 64-bit edition or a smaller picture";

} // namespace apps
