// How the pixels are packed into a file, where its format leaves a choice.
#pragma once

namespace apps {

enum class JpegChroma {
    by_quality, // quarter below a quality of 90, else full
    quarter,    // one pair of colour samples for 2 x 2 pixels, 4:2:0
    half,       // one for 2 pixels of a row, 4:2:2
    full,       // one for each pixel, 4:4:4
};

enum class TiffPacking { none, packbits, lzw, deflate };

struct OutputSettings {
    static constexpr int default_quality = 85;
    static constexpr int default_level = 4;

    int jpeg_quality = default_quality; // 1 to 100
    JpegChroma jpeg_chroma = JpegChroma::by_quality;
    int png_level = default_level; // of zlib: 0, packed not at all, to 9
    TiffPacking tiff_packing = TiffPacking::none;
};

} // namespace apps
