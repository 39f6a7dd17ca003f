// Reading of picture files in bands of rows, as 24-bit pixels: through WIC, or through readers of
// our own where a codec would hold the whole picture.
// Where the pixels go is the caller's business.
#pragma once

#include "areas.h"
#include "picture_facts.h"
#include "row_file.h"
#include "wic.h"

#include <cstdint>
#include <memory>
#include <string>

namespace apps {

class PictureReader {
public:
    // Opens the file, its first picture and checks that nothing of it is missing. Throws Failure.
    explicit PictureReader(const std::string &path);

    Size size() const { return {width_, height_}; }
    int width() const { return width_; }                  // pixels
    int height() const { return height_; }                // pixels
    const std::string &format() const { return format_; } // "PNG"
    int bits() const { return bits_; }                    // per pixel, in the file

    // What the file says of the picture that is read, and how many there are in it: pages of a
    // TIFF, images of a GIF.
    const PictureFacts &facts() const { return facts_; }
    int pictures() const { return pictures_; }

    // Whether pixels may be transparent.
    bool has_transparency() const { return transparent_; }

    // Rows first .. first + count - 1, which pixels has room for, packed; each band begins where
    // the one before ended. bgr: transparent parts are laid over white. bgra: colours as they are
    // in the file; only for pictures with transparency. Throws Failure.
    void read_rows(RowFormat rows, int first, int count, uint8_t *pixels);

private:
    bool open_rows(const std::wstring &native);
    void describe(IWICBitmapDecoder *decoder);
    bool may_be_transparent(const WICPixelFormatGUID &format);
    void copy_pixels(RowFormat rows, int first, int count, uint8_t *pixels);
    // Sets the converter up; a failure when pixels do not come through it.
    HRESULT convert_to(const WICPixelFormatGUID &format);

    std::string path_;
    std::string format_;
    int width_ = 0;
    int height_ = 0;
    int bits_ = 0;
    PictureFacts facts_;
    int pictures_ = 1;
    std::unique_ptr<RowFile> rows_; // else the codec's:
    ComPtr<IWICBitmapFrameDecode> frame_;
    ComPtr<IWICFormatConverter> converter_; // gives 24-bit BGR or 32-bit BGRA
    bool bgra_ = false;                     // what rows come as, before they are laid over white
    bool transparent_ = false;
};

} // namespace apps
