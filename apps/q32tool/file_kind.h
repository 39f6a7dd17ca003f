// What kind of picture a file is by its first bytes, of the kinds that can be written.
#pragma once

#include "apps/pictures/picture_writer.h"

#include <optional>
#include <string>

namespace apps::q32tool {

// None for other kinds, and when the file cannot be read.
std::optional<FileFormat> kind_of_file(const std::string &path);

// ".jpg"
std::string extension_of(FileFormat format);

// From "jpg" or ".JPG".
std::optional<FileFormat> kind_of_word(const std::string &word);

} // namespace apps::q32tool
