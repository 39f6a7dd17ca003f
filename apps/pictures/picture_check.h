// Whether a picture file is all there. Decoders fill what is missing from a cut-off file with grey
// and say nothing; this looks at the files' own structure instead.
#pragma once

#include <string>

namespace apps {

enum class Completeness {
    complete, // or of a format that is left to its decoder
    cut_off,
};

// PNG: up to its IEND chunk; JPEG: its end-of-image marker; GIF: the end of its first image; BMP:
// as many bytes as its header promises rows; TIFF: the strips or tiles of its first picture.
// Others: complete, their decoders report. Throws Failure when the file cannot be read; named is
// how messages call the file.
Completeness check_completeness(const std::wstring &path, const std::string &named);

} // namespace apps
