// Writing of picture files through WIC, row by row, never half: the rows go to a file beside the
// output, which takes the output's name when it is complete.
#pragma once

#include "output_settings.h"
#include "output_stream.h"
#include "picture_facts.h"
#include "picture_format.h"
#include "unfinished_file.h"
#include "wic.h"

#include <cstdint>
#include <optional>
#include <string>

namespace apps {

// From the name's extension: png, bmp, jpg, jpeg, tif, tiff; none for another one.
std::optional<FileFormat> format_of_name(const std::string &path);

// The same. Throws Failure for another extension, and when the name is a directory's or lies in a
// directory that does not exist.
FileFormat check_output(const std::string &path);

class PictureWriter {
public:
    // facts: those that the format cannot hold are left out, see what_is_lost. Throws Failure, as
    // all functions here.
    PictureWriter(const std::string &path, FileFormat format, RowFormat rows, int width, int height,
                  const PictureFacts &facts = {}, const OutputSettings &settings = {});

    // The next row of the picture, top row first.
    void write_row(const uint8_t *row);

    // After the last row: completes the file and gives it its name. Without it no file is left.
    void commit();

private:
    void check(HRESULT result);
    void start_frame(FileFormat format, RowFormat rows, int width, int height);

    std::string path_;
    FileFormat format_;
    UINT row_bytes_;
    UnfinishedFile file_; // outlives what writes into it
    ComPtr<OutputStream> stream_;
    ComPtr<IWICBitmapEncoder> encoder_;
    ComPtr<IWICBitmapFrameEncode> frame_;
};

} // namespace apps
