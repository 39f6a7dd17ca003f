// The table of signatures.
#include "file_kind.h"

#include "apps/pictures/files.h"
#include "apps/pictures/text.h"

#include <string_view>

namespace apps::q32tool {
namespace {

using namespace std::string_view_literals;

constexpr struct {
    std::string_view signature;
    FileFormat format;
} signatures[] = {
    {"\x89PNG\r\n\x1a\n"sv, FileFormat::png},
    {"\xff\xd8\xff"sv, FileFormat::jpeg},
    {"BM"sv, FileFormat::bmp},
    {"II*\0"sv, FileFormat::tiff},
    {"MM\0*"sv, FileFormat::tiff},
};

} // namespace

std::optional<FileFormat> kind_of_file(const std::string &path) {
    const OpenFile file = open_file(to_wide(native_path(path)), GENERIC_READ, OPEN_EXISTING);
    char start[8];
    DWORD count = 0;
    if (!file || !ReadFile(file.get(), start, sizeof start, &count, nullptr))
        return std::nullopt;
    for (const auto &known : signatures)
        if (std::string_view(start, count).starts_with(known.signature))
            return known.format;
    return std::nullopt;
}

std::string extension_of(FileFormat format) {
    switch (format) {
    case FileFormat::png:
        return ".png";
    case FileFormat::bmp:
        return ".bmp";
    case FileFormat::jpeg:
        return ".jpg";
    case FileFormat::tiff:
        break;
    }
    return ".tif";
}

std::optional<FileFormat> kind_of_word(const std::string &word) {
    return format_of_name(word.starts_with('.') ? word : "." + word);
}

} // namespace apps::q32tool
