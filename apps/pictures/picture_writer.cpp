// Encoders, pixel formats and palettes of the output, and the unfinished file.
#include "picture_writer.h"

#include "exceptions.h"
#include "files.h"
#include "picture_check.h"
#include "text.h"

#include <shlwapi.h>

#include <algorithm>
#include <cwctype>

namespace apps {
namespace {

constexpr char cannot_be_written[] = "the picture cannot be written";

constexpr struct {
    const wchar_t *text;
    FileFormat format;
} extensions[] = {
    {L".png", FileFormat::png},   {L".bmp", FileFormat::bmp},  {L".jpg", FileFormat::jpeg},
    {L".jpeg", FileFormat::jpeg}, {L".tif", FileFormat::tiff}, {L".tiff", FileFormat::tiff},
};

// In the order of FileFormat.
constexpr struct {
    const GUID &container;
} file_formats[] = {
    {GUID_ContainerFormatPng},
    {GUID_ContainerFormatBmp},
    {GUID_ContainerFormatJpeg},
    {GUID_ContainerFormatTiff},
};

// In the order of RowFormat. BMP knows one bit and grey only as colour tables.
constexpr struct {
    const GUID &pixels;
    const GUID &pixels_in_bmp;
} row_formats[] = {
    {GUID_WICPixelFormatBlackWhite, GUID_WICPixelFormat1bppIndexed},
    {GUID_WICPixelFormat8bppGray, GUID_WICPixelFormat8bppIndexed},
    {GUID_WICPixelFormat16bppBGR555, GUID_WICPixelFormat16bppBGR555},
    {GUID_WICPixelFormat24bppBGR, GUID_WICPixelFormat24bppBGR},
    {GUID_WICPixelFormat32bppBGRA, GUID_WICPixelFormat32bppBGRA},
};

const auto &row_of(FileFormat format) {
    return file_formats[static_cast<size_t>(format)];
}

const auto &row_of(RowFormat rows) {
    return row_formats[static_cast<size_t>(rows)];
}

ComPtr<IWICPalette> grey_palette(RowFormat rows, const std::string &path) {
    ComPtr<IWICPalette> palette;
    check_wic(wic_factory()->CreatePalette(palette.out()), path, cannot_be_written);
    check_wic(palette->InitializePredefined(rows == RowFormat::bits
                                                ? WICBitmapPaletteTypeFixedBW
                                                : WICBitmapPaletteTypeFixedGray256,
                                            FALSE),
              path, cannot_be_written);
    return palette;
}

std::string parent_of(const std::string &path) {
    const size_t name = file_name_begin(path);
    return name == 0 ? "." : path.substr(0, name);
}

// Some BMP encoders leave the colour table out of the size in the file's header, and readers warn.
void set_bmp_size(const std::wstring &path) {
    constexpr LONG size_field = 2;
    const OpenFile file = open_file(path, GENERIC_WRITE, OPEN_EXISTING);
    if (!file)
        return;
    const DWORD size = GetFileSize(file.get(), nullptr);
    DWORD written = 0;
    SetFilePointer(file.get(), size_field, nullptr, FILE_BEGIN);
    WriteFile(file.get(), &size, sizeof size, &written, nullptr);
}

std::wstring extension_of(const std::string &path) {
    std::wstring extension = PathFindExtensionW(to_wide(path).c_str());
    std::transform(extension.begin(), extension.end(), extension.begin(), std::towlower);
    return extension;
}

} // namespace

std::optional<FileFormat> format_of_name(const std::string &path) {
    const std::wstring extension = extension_of(path);
    for (const auto &known : extensions)
        if (extension == known.text)
            return known.format;
    return std::nullopt;
}

FileFormat check_output(const std::string &path) {
    const std::optional<FileFormat> format = format_of_name(path);
    if (!format) {
        const std::string extension = to_utf8(extension_of(path));
        throw Failure(path,
                      extension.empty() ? "the name has no extension that tells the format"
                                        : "unknown extension '" + extension + "'",
                      "use .png, .bmp, .jpg or .tif");
    }
    if (!is_folder(parent_of(path)))
        throw Failure(path, "the directory for the output does not exist", "create it first");
    if (is_folder(path))
        throw Failure(path, "this is a directory", "name a file to write");
    const DWORD own = attributes_of(path);
    if (own != INVALID_FILE_ATTRIBUTES && (own & FILE_ATTRIBUTE_READONLY))
        throw Failure(path, "the file is write-protected",
                      "remove its protection or name another file");
    return *format;
}

PictureWriter::PictureWriter(const std::string &path, FileFormat format, RowFormat rows, int width,
                             int height, const PictureFacts &, const OutputSettings &)
    : path_(path), format_(format), row_bytes_(static_cast<UINT>(row_bytes_of(rows, width))),
      file_(to_wide(native_path(path))) {
    *stream_.out() = new OutputStream(file_.path());
    if (stream_->error() != 0)
        throw creation_failure(path_, stream_->error());
    check(wic_factory()->CreateEncoder(row_of(format).container, nullptr, encoder_.out()));
    check(encoder_->Initialize(stream_.get(), WICBitmapEncoderNoCache));
    start_frame(format, rows, width, height);
}

void PictureWriter::check(HRESULT result) {
    if (stream_->error() != 0)
        throw writing_failure(path_, stream_->error());
    check_wic(result, path_, cannot_be_written);
}

void PictureWriter::start_frame(FileFormat format, RowFormat rows, int width, int height) {
    const WICPixelFormatGUID &wanted =
        format == FileFormat::bmp ? row_of(rows).pixels_in_bmp : row_of(rows).pixels;
    WICPixelFormatGUID pixels = wanted;
    check(encoder_->CreateNewFrame(frame_.out(), nullptr));
    check(frame_->Initialize(nullptr));
    check(frame_->SetSize(static_cast<UINT>(width), static_cast<UINT>(height)));
    check(frame_->SetPixelFormat(&pixels));
    if (!IsEqualGUID(pixels, wanted))
        throw Failure(path_, std::string("the system's ") + format_name(format) +
                                 " encoder does not write this kind of pixels");
    if (format == FileFormat::bmp && (rows == RowFormat::bits || rows == RowFormat::grey))
        check(frame_->SetPalette(grey_palette(rows, path_).get()));
}

void PictureWriter::write_row(const uint8_t *row) {
    check(frame_->WritePixels(1, row_bytes_, row_bytes_, const_cast<BYTE *>(row)));
}

void PictureWriter::commit() {
    check(frame_->Commit());
    check(encoder_->Commit());
    frame_.reset();
    encoder_.reset();
    check(S_OK); // some encoders keep a failed write to themselves
    stream_.reset();
    if (format_ == FileFormat::bmp)
        set_bmp_size(file_.path());
    if (check_completeness(file_.path(), path_) == Completeness::cut_off)
        throw Failure(path_, std::string(cannot_be_written) + " in full");
    if (!file_.finish())
        throw replacing_failure(path_, GetLastError());
}

} // namespace apps
