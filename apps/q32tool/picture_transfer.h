// Pictures between files and buffers: what a command reads first and writes last.
#pragma once

#include "arguments.h"
#include "picture_loading.h"
#include "picture_saving.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace apps::q32tool {

// "OUT: 640 x 480 pixels, 24 bits, PNG", with its end.
std::string written_line(const std::string &path, Size size, int bits, FileFormat format);

// --output, for commands that name the picture to write so.
Option output_option();

// --keep-orientation, which those have that read pictures without buffers.
Option keep_orientation_option();

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
