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

struct Extension {
    const wchar_t *text;
    FileFormat format;
};

constexpr Extension extensions[] = {
    {L".png", FileFormat::png},   {L".bmp", FileFormat::bmp},  {L".jpg", FileFormat::jpeg},
    {L".jpeg", FileFormat::jpeg}, {L".tif", FileFormat::tiff}, {L".tiff", FileFormat::tiff},
};

const GUID &container_of(FileFormat format) {
    switch (format) {
    case FileFormat::bmp:
        return GUID_ContainerFormatBmp;
    case FileFormat::jpeg:
        return GUID_ContainerFormatJpeg;
    case FileFormat::tiff:
        return GUID_ContainerFormatTiff;
    case FileFormat::png:
        break;
    }
    return GUID_ContainerFormatPng;
}

// BMP knows one bit and grey only as colour tables.
const GUID &pixels_of(FileFormat format, RowFormat rows) {
    switch (rows) {
    case RowFormat::bits:
        return format == FileFormat::bmp ? GUID_WICPixelFormat1bppIndexed
                                         : GUID_WICPixelFormatBlackWhite;
    case RowFormat::grey:
        return format == FileFormat::bmp ? GUID_WICPixelFormat8bppIndexed
                                         : GUID_WICPixelFormat8bppGray;
    case RowFormat::words555:
        return GUID_WICPixelFormat16bppBGR555;
    case RowFormat::bgra:
        return GUID_WICPixelFormat32bppBGRA;
    case RowFormat::bgr:
        break;
    }
    return GUID_WICPixelFormat24bppBGR;
}

UINT row_bytes_of(RowFormat rows, int width) {
    const UINT pixels = static_cast<UINT>(width);
    switch (rows) {
    case RowFormat::bits:
        return (pixels + 7) / 8;
    case RowFormat::grey:
        return pixels;
    case RowFormat::words555:
        return pixels * 2;
    case RowFormat::bgra:
        return pixels * 4;
    case RowFormat::bgr:
        break;
    }
    return pixels * 3;
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
    const size_t end = path.find_last_of("/\\:");
    return end == std::string::npos ? "." : path.substr(0, end + 1);
}

// Some BMP encoders leave the colour table out of the size in the file's header, and readers warn.
void set_bmp_size(const std::wstring &path) {
    constexpr LONG size_field = 2;
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    const DWORD size = GetFileSize(file, nullptr);
    DWORD written = 0;
    SetFilePointer(file, size_field, nullptr, FILE_BEGIN);
    WriteFile(file, &size, sizeof size, &written, nullptr);
    CloseHandle(file);
}

DWORD attributes_of(const std::string &path) {
    return GetFileAttributesW(to_wide(native_path(path)).c_str());
}

} // namespace

FileFormat check_output(const std::string &path) {
    const std::wstring name = to_wide(path);
    std::wstring extension = PathFindExtensionW(name.c_str());
    std::transform(extension.begin(), extension.end(), extension.begin(), std::towlower);
    const auto found = std::find_if(std::begin(extensions), std::end(extensions),
                                    [&](const Extension &e) { return extension == e.text; });
    if (found == std::end(extensions))
        throw Failure(path,
                      extension.empty() ? "the name has no extension that tells the format"
                                        : "unknown extension '" + to_utf8(extension) + "'",
                      "use .png, .bmp, .jpg or .tif");
    const DWORD parent = attributes_of(parent_of(path));
    if (parent == INVALID_FILE_ATTRIBUTES || !(parent & FILE_ATTRIBUTE_DIRECTORY))
        throw Failure(path, "the directory for the output does not exist", "create it first");
    const DWORD own = attributes_of(path);
    if (own != INVALID_FILE_ATTRIBUTES && (own & FILE_ATTRIBUTE_DIRECTORY))
        throw Failure(path, "this is a directory", "name a file to write");
    if (own != INVALID_FILE_ATTRIBUTES && (own & FILE_ATTRIBUTE_READONLY))
        throw Failure(path, "the file is write-protected",
                      "remove its protection or name another file");
    return found->format;
}

const char *format_name(FileFormat format) {
    switch (format) {
    case FileFormat::bmp:
        return "BMP";
    case FileFormat::jpeg:
        return "JPEG";
    case FileFormat::tiff:
        return "TIFF";
    case FileFormat::png:
        break;
    }
    return "PNG";
}

PictureWriter::PictureWriter(const std::string &path, FileFormat format, RowFormat rows, int width,
                             int height)
    : path_(path), format_(format), row_bytes_(row_bytes_of(rows, width)),
      file_(to_wide(native_path(path))) {
    *stream_.out() = new OutputStream(file_.path());
    if (stream_->error() != 0)
        throw creation_failure(path_, stream_->error());
    check(wic_factory()->CreateEncoder(container_of(format), nullptr, encoder_.out()));
    check(encoder_->Initialize(stream_.get(), WICBitmapEncoderNoCache));
    start_frame(format, rows, width, height);
}

void PictureWriter::check(HRESULT result) {
    if (stream_->error() != 0)
        throw writing_failure(path_, stream_->error());
    check_wic(result, path_, cannot_be_written);
}

void PictureWriter::start_frame(FileFormat format, RowFormat rows, int width, int height) {
    const WICPixelFormatGUID &wanted = pixels_of(format, rows);
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
