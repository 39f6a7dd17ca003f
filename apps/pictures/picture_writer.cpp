// Names of outputs, what their formats hold, and the unfinished file.
#include "picture_writer.h"

#include "bmp_encoder.h"
#include "exceptions.h"
#include "files.h"
#include "jpeg_encoder.h"
#include "picture_check.h"
#include "png_encoder.h"
#include "text.h"
#include "tiff_encoder.h"

#include <algorithm>
#include <cwctype>

namespace apps {
namespace {

constexpr struct {
    const wchar_t *text;
    FileFormat format;
} extensions[] = {
    {L".png", FileFormat::png},   {L".bmp", FileFormat::bmp},  {L".jpg", FileFormat::jpeg},
    {L".jpeg", FileFormat::jpeg}, {L".tif", FileFormat::tiff}, {L".tiff", FileFormat::tiff},
};

std::string parent_of(const std::string &path) {
    const size_t name = file_name_begin(path);
    return name == 0 ? "." : path.substr(0, name);
}

std::wstring extension_of(const std::string &path) {
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot < file_name_begin(path))
        return {};
    std::wstring extension = to_wide(path.substr(dot));
    std::transform(extension.begin(), extension.end(), extension.begin(), std::towlower);
    return extension;
}

void check_holds(const std::string &path, FileFormat format, RowFormat rows, int width,
                 int height) {
    const bool bmp = format == FileFormat::bmp, jpeg = format == FileFormat::jpeg,
               png = format == FileFormat::png;
    const std::string files = std::string(format_name(format)) + " files";
    if ((rows == RowFormat::words555 && !bmp) || (rows == RowFormat::bgra && (bmp || jpeg)) ||
        (rows == RowFormat::bits && jpeg))
        throw Failure(path, files + " do not hold this kind of pixels");
    if (jpeg && std::max(width, height) > JpegEncoder::most_pixels)
        throw Failure(path, files + " hold no more than 65535 pixels a side",
                      "use .png, .tif or .bmp");
    constexpr uint64_t most_bytes = 4'200'000'000; // places have 32 bits, and there is more
    if (!png && (row_bytes_of(rows, width) + 3) * static_cast<uint64_t>(height) > most_bytes)
        throw Failure(path, files + " hold no more than 4 GB of pixels", "use .png");
}

std::unique_ptr<RowEncoder> encoder_for(ByteSink &sink, FileFormat format,
                                        const PictureToWrite &picture) {
    switch (format) {
    case FileFormat::png:
        return std::make_unique<PngEncoder>(sink, picture);
    case FileFormat::bmp:
        return std::make_unique<BmpEncoder>(sink, picture);
    case FileFormat::jpeg:
        return std::make_unique<JpegEncoder>(sink, picture);
    case FileFormat::tiff:
        break;
    }
    return std::make_unique<TiffEncoder>(sink, picture);
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
    check_is_no_device(path);
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
                             int height, const PictureFacts &facts, const OutputSettings &settings)
    : path_(path), file_(to_wide(native_path(path))) {
    check_holds(path, format, rows, width, height);
    sink_ = std::make_unique<FileSink>(file_.path(), path);
    encoder_ = encoder_for(*sink_, format,
                           {rows, width, height, what_is_kept(format, facts, rows), settings});
}

void PictureWriter::commit() {
    encoder_->finish();
    sink_->close();
    if (check_completeness(file_.path(), path_) == Completeness::cut_off)
        throw Failure(path_, "the picture cannot be written in full");
    if (!file_.finish())
        throw replacing_failure(path_, GetLastError());
}

} // namespace apps
