// Decoders, our own and the system's, pixel format conversion and transparency.
#include "picture_reader.h"

#include "bmp_rows.h"
#include "edition.h"
#include "exceptions.h"
#include "files.h"
#include "format_facts.h"
#include "picture_check.h"
#include "png_rows.h"
#include "text.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

namespace apps {
namespace {

constexpr uint64_t least_bytes_by_rows = 500'000'000; // in 32 bits

Failure damage(const std::string &path) {
    return {path, "the picture is damaged, cut off or compressed in an unknown way",
            "try another copy of it"};
}

// Codecs say no more than "failed" of most damage.
void check_decoding(HRESULT result, const std::string &path) {
    if (result == E_FAIL || result == WINCODEC_ERR_BADIMAGE || result == WINCODEC_ERR_BADHEADER ||
        result == WINCODEC_ERR_BADSTREAMDATA)
        throw damage(path);
    check_wic(result, path, "the picture cannot be decoded");
}

std::string format_name(const GUID &container) {
    struct Name {
        const GUID &container;
        const char *text;
    };
    static const Name names[] = {
        {GUID_ContainerFormatPng, "PNG"},   {GUID_ContainerFormatJpeg, "JPEG"},
        {GUID_ContainerFormatTiff, "TIFF"}, {GUID_ContainerFormatBmp, "BMP"},
        {GUID_ContainerFormatGif, "GIF"},   {GUID_ContainerFormatIco, "ICO"},
    };
    for (const Name &name : names)
        if (IsEqualGUID(name.container, container))
            return name.text;
    return "picture";
}

ComPtr<IWICPixelFormatInfo2> pixel_format_info(const WICPixelFormatGUID &format) {
    ComPtr<IWICComponentInfo> component;
    ComPtr<IWICPixelFormatInfo2> info;
    if (SUCCEEDED(wic_factory()->CreateComponentInfo(format, component.out())))
        component->QueryInterface(IID_IWICPixelFormatInfo2, reinterpret_cast<void **>(info.out()));
    return info;
}

int bits_per_pixel(const WICPixelFormatGUID &format) {
    UINT bits = 0;
    if (const auto info = pixel_format_info(format))
        info->GetBitsPerPixel(&bits);
    return static_cast<int>(bits);
}

// Reads nothing where the file cannot be opened.
ReadAt bytes_of(const std::wstring &native) {
    const auto file = std::make_shared<OpenFile>(open_file(native, GENERIC_READ, OPEN_EXISTING));
    return [file](uint64_t at, uint8_t *bytes, size_t count) {
        OVERLAPPED place = {};
        place.Offset = static_cast<DWORD>(at);
        place.OffsetHigh = static_cast<DWORD>(at >> 32);
        DWORD done = 0;
        if (*file)
            ReadFile(file->get(), bytes, static_cast<DWORD>(count), &done, &place);
        return size_t{done};
    };
}

uint8_t over_white(uint32_t sample, uint32_t alpha) {
    return static_cast<uint8_t>((sample * alpha + 255 * (255 - alpha) + 127) / 255);
}

} // namespace

PictureReader::PictureReader(const std::string &path) : path_(path) {
    const std::wstring native = to_wide(native_path(path));
    check_is_readable_file(path, native);
    const bool has_rows = open_rows(native);
    ComPtr<IWICBitmapDecoder> decoder;
    const HRESULT opened = has_rows ? S_OK
                                    : wic_factory()->CreateDecoderFromFilename(
                                          native.c_str(), nullptr, GENERIC_READ,
                                          WICDecodeMetadataCacheOnDemand, decoder.out());
    // A file that is cut off is reported as such, whether its decoder finds fault with it or not.
    const bool cut_off = check_completeness(native, path) == Completeness::cut_off;
    if (cut_off)
        throw Failure(path, "the picture is cut off: the file ends too early",
                      "get the whole file again");
    if (opened == WINCODEC_ERR_COMPONENTNOTFOUND || opened == WINCODEC_ERR_UNKNOWNIMAGEFORMAT)
        throw Failure(path, "this is not a picture that can be read",
                      "PNG, JPEG, TIFF, BMP and GIF are");
    check_decoding(opened, path);
    if (!has_rows)
        describe(decoder.get());
    FileFacts found = read_facts(bytes_of(native));
    facts_ = std::move(found.facts);
    pictures_ = found.pictures;
}

// In 32 bits only for pictures so large that a codec's copy of them would take the addresses away
// that their buffer needs. False for files of other kinds.
bool PictureReader::open_rows(const std::wstring &native) {
    const ReadAt read = bytes_of(native);
    format_ = format_name(GUID_ContainerFormatPng);
    rows_ = PngRows::open(read);
    if (!rows_) {
        format_ = format_name(GUID_ContainerFormatBmp);
        rows_ = BmpRows::open(read);
    }
    if (rows_ && !is_64_bit &&
        row_bytes_of(RowFormat::bgr, rows_->width()) * static_cast<uint64_t>(rows_->height()) <
            least_bytes_by_rows)
        rows_.reset();
    if (!rows_)
        return false;
    width_ = rows_->width();
    height_ = rows_->height();
    bits_ = rows_->bits();
    bgra_ = transparent_ = rows_->has_transparency();
    return true;
}

void PictureReader::describe(IWICBitmapDecoder *decoder) {
    GUID container = {};
    WICPixelFormatGUID pixels = {};
    UINT width = 0, height = 0;
    decoder->GetContainerFormat(&container);
    format_ = format_name(container);
    check_decoding(decoder->GetFrame(0, frame_.out()), path_);
    check_decoding(frame_->GetSize(&width, &height), path_);
    check_decoding(frame_->GetPixelFormat(&pixels), path_);
    if (width > INT_MAX || height > INT_MAX)
        throw Failure(path_, "the picture's size makes no sense");
    width_ = static_cast<int>(width);
    height_ = static_cast<int>(height);
    bits_ = bits_per_pixel(pixels);
    // See row_file.h; the 32-bit edition has no room for so much anyway.
    constexpr uint64_t most_bits = uint64_t{INT32_MAX} * 8;
    if (is_64_bit &&
        uint64_t{width} * height > most_bits / static_cast<uint64_t>(std::max(bits_, 1)))
        throw Failure(path_, "the system's codec gives no more than 2 GB of pixels",
                      "only PNG of 8 bits a sample and BMP of 24 bits may be larger");
    transparent_ = may_be_transparent(pixels);
}

// With the first rows: a codec may unpack the whole picture now, and by then it is known whether
// there is room for what will be made of it.
void PictureReader::set_conversion_up() {
    // Not every system converts every format to 24 bits straight, but all go to BGRA.
    bgra_ = transparent_ || FAILED(convert_to(GUID_WICPixelFormat24bppBGR));
    if (bgra_)
        check_decoding(convert_to(GUID_WICPixelFormat32bppBGRA), path_);
}

bool PictureReader::may_be_transparent(const WICPixelFormatGUID &format) {
    BOOL transparent = FALSE;
    if (const auto info = pixel_format_info(format))
        info->SupportsTransparency(&transparent);
    // Indexed pictures are transparent where their palette says so.
    ComPtr<IWICPalette> palette;
    BOOL palette_transparent = FALSE;
    if (SUCCEEDED(wic_factory()->CreatePalette(palette.out())) &&
        SUCCEEDED(frame_->CopyPalette(palette.get())))
        palette->HasAlpha(&palette_transparent);
    return transparent || palette_transparent;
}

HRESULT PictureReader::convert_to(const WICPixelFormatGUID &format) {
    check_decoding(wic_factory()->CreateFormatConverter(converter_.out()), path_);
    const HRESULT accepted = converter_->Initialize(frame_.get(), format, WICBitmapDitherTypeNone,
                                                    nullptr, 0, WICBitmapPaletteTypeCustom);
    if (FAILED(accepted))
        return accepted;
    // Wine accepts conversions that it does not know; only pixels tell.
    const WICRect first_pixel = {0, 0, 1, 1};
    BYTE pixel[4];
    return converter_->CopyPixels(&first_pixel, sizeof pixel, sizeof pixel, pixel);
}

void PictureReader::copy_pixels(RowFormat rows, int first, int count, uint8_t *pixels) {
    if (rows_) {
        try {
            rows_->read_rows(count, pixels);
        } catch (const DamagedData &) {
            throw damage(path_);
        }
        return;
    }
    const WICRect band = {0, first, width_, count};
    const UINT row_bytes = static_cast<UINT>(row_bytes_of(rows, width_));
    check_decoding(
        converter_->CopyPixels(&band, row_bytes, row_bytes * static_cast<UINT>(count), pixels),
        path_);
}

void PictureReader::read_rows(RowFormat rows, int first, int count, uint8_t *pixels) {
    if (!rows_ && !converter_)
        set_conversion_up();
    if (rows == RowFormat::bgra || !bgra_) {
        copy_pixels(rows, first, count, pixels);
        return;
    }
    const size_t pixel_count = static_cast<size_t>(width_) * static_cast<size_t>(count);
    std::vector<uint8_t> with_alpha(pixel_count * 4);
    copy_pixels(RowFormat::bgra, first, count, with_alpha.data());
    for (size_t i = 0; i < pixel_count; ++i)
        for (size_t channel = 0; channel < 3; ++channel)
            pixels[i * 3 + channel] =
                over_white(with_alpha[i * 4 + channel], with_alpha[i * 4 + 3]);
}

} // namespace apps
