// Pictures between files and buffers: what a command reads first and writes last.
#pragma once

#include "apps/pictures/picture_writer.h"
#include "arguments.h"
#include "picture.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace apps::q32tool {

// Whether a picture is turned as its file wants it seen, or left as it stands.
enum class Turning { as_seen, as_stored };

// Of 24 bits. Without opacity when all of it is opaque, whether the file has a place for it or not.
struct LoadedPicture : Picture {
    std::string format; // of the file: "PNG"
    int file_bits;      // per pixel in the file
    bool has_opacity;   // in the file
};

// Reads a picture file into buffers of the given type. Throws Failure, Cancelled.
LoadedPicture load_picture(const std::string &path, uint32_t buffer_type,
                           Turning turning = Turning::as_seen);

// Writes a picture to a file whose name check_output has seen. 1 bit and grey stay what they are
// (in JPEG, 1 bit becomes grey), 5-5-5 stays so in BMP, everything else becomes 24 bits, or 32 with
// opacity. What the format cannot hold is noted; transparency is laid over white then, in the
// picture, too. Throws Failure, Cancelled; no file is left then.
void save_picture(Picture &picture, const std::string &path, FileFormat format,
                  const OutputSettings &settings = {});

// Takes a colour profile away whose colours the pixels are no longer, and notes it of the file OUT.
void drop_profile(PictureFacts &facts, const std::string &out);

// Whether pictures of 24 bits keep their transparency in files of the format.
bool holds_transparency(FileFormat format);

// "OUT: 640 x 480 pixels, 24 bits, PNG", with its end.
std::string written_line(const std::string &path, Size size, int bits, FileFormat format);

// --output, for commands that name the picture to write so.
Option output_option();

// Options of all commands that read pictures, that write them, and that do both.
std::vector<Option> reading_options();
std::vector<Option> writing_options();
std::vector<Option> transfer_options();

// What --keep-orientation says.
Turning turning_from(const Arguments &arguments);

// What commands that write a picture have in common. Made when all that is their own on the command
// line has been understood: here the storage options come to act, and files are looked at.
class PictureTransfer {
public:
    // out: the picture to write. Throws UsageError, and Failure when it cannot be written.
    PictureTransfer(const Arguments &arguments, std::string out);

    uint32_t buffer_type() const { return buffer_type_; } // of new buffers
    const std::string &out() const { return out_; }
    FileFormat format() const { return format_; }
    const OutputSettings &settings() const { return settings_; }

    // Throw Failure, Cancelled. save also names what was written unless the user wants quiet; path:
    // of a further picture beside OUT.
    LoadedPicture load(const std::string &path) const {
        return load_picture(path, buffer_type_, turning_);
    }
    void save(Picture &picture) const { save(picture, out_); }
    void save(Picture &picture, const std::string &path) const;

private:
    uint32_t buffer_type_;
    Turning turning_;
    std::string out_;
    FileFormat format_;
    OutputSettings settings_;
    bool quiet_;
};

// Reads the picture that the first operand names, has it changed, and writes it as the last one.
void change_picture(const Arguments &arguments, const std::function<void(Picture &)> &change);

} // namespace apps::q32tool
