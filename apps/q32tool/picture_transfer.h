// Pictures between files and buffers: what a command reads first and writes last.
#pragma once

#include "apps/pictures/picture_writer.h"
#include "arguments.h"
#include "image.h"

#include <functional>
#include <optional>
#include <string>

namespace apps::q32tool {

struct LoadedPicture {
    Image image;        // 24 bits
    std::string format; // of the file: "PNG"
    int file_bits;      // per pixel in the file
};

// Reads a picture file into a buffer of the given type. Throws Failure, Cancelled.
LoadedPicture load_picture(const std::string &path, uint32_t buffer_type);

// The same, but transparency becomes a second picture, of 8 bits: 255 is opaque. The colours are
// then the file's own, not laid over white. A file without transparency gives no second picture.
struct PictureWithAlpha {
    Image image;
    std::optional<Image> alpha;
};
PictureWithAlpha load_picture_with_alpha(const std::string &path, uint32_t buffer_type);

// Writes an image to a file whose name check_output has seen. 1 bit and grey stay what they are (in
// JPEG, 1 bit becomes grey), 5-5-5 stays so in BMP, everything else becomes 24 bits. Throws
// Failure, Cancelled; no file is left then.
void save_picture(Image &image, const std::string &path, FileFormat format,
                  const OutputSettings &settings = {});

// "OUT: 640 x 480 pixels, 24 bits, PNG", with its end.
std::string written_line(const std::string &path, Size size, int bits, FileFormat format);

// --output, for commands that name the picture to write so.
Option output_option();

// What commands that write a picture have in common. Made when all that is their own on the command
// line has been understood: here the storage options come to act, and files are looked at.
class PictureTransfer {
public:
    // out: the picture to write. Throws UsageError, and Failure when it cannot be written.
    PictureTransfer(const Arguments &arguments, std::string out);

    uint32_t buffer_type() const { return buffer_type_; } // of new buffers
    const std::string &out() const { return out_; }

    // Throw Failure, Cancelled. save also names what was written unless the user wants quiet; path:
    // of a further picture beside OUT.
    Image load(const std::string &path) const { return load_picture(path, buffer_type_).image; }
    void save(Image &image) const { save(image, out_); }
    void save(Image &image, const std::string &path) const;

private:
    uint32_t buffer_type_;
    std::string out_;
    FileFormat format_;
    OutputSettings settings_;
    bool quiet_;
};

// Reads the picture that the first operand names, has it changed, and writes it as the last one.
void change_picture(const Arguments &arguments, const std::function<void(Image &)> &change);

} // namespace apps::q32tool
