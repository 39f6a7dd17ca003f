// The second bytes of the markers between which a JPEG file's segments lie.
#pragma once

#include <cstdint>

namespace apps::jpeg_marker {

inline constexpr uint8_t baseline_frame = 0xc0, last_frame = 0xc2, huffman = 0xc4;
inline constexpr uint8_t first_alone = 0xd0, last_alone = 0xd8, end_of_image = 0xd9;
inline constexpr uint8_t scan = 0xda, quantisation = 0xdb;
inline constexpr uint8_t app0 = 0xe0, app1 = 0xe1, app2 = 0xe2, adobe = 0xee, last_app = 0xef;
inline constexpr uint8_t comment = 0xfe, filler = 0xff;

} // namespace apps::jpeg_marker
