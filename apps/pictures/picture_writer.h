// Writing of picture files, row by row, never half: the rows go to a file beside the
// output, which takes the output's name when it is complete.
#pragma once

#include "file_sink.h"
#include "picture_format.h"
#include "row_encoder.h"
#include "unfinished_file.h"

#include <cstdint>
#include <memory>
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
    void write_row(const uint8_t *row) { encoder_->write_row(row); }

    // After the last row: completes the file and gives it its name. Without it no file is left.
    void commit();

private:
    std::string path_;
    UnfinishedFile file_; // outlives what writes into it
    std::unique_ptr<FileSink> sink_;
    std::unique_ptr<RowEncoder> encoder_;
};

} // namespace apps
