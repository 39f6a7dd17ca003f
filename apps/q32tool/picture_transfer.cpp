// The options of all transfers, and the line that says what was written.
#include "picture_transfer.h"

#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "option_values.h"
#include "output_options.h"
#include "storage_options.h"

#include <utility>

namespace apps::q32tool {

std::string written_line(const std::string &path, Size size, int bits, FileFormat format) {
    return path + ": " + size_in_words(size) + ", " + counted(static_cast<uint64_t>(bits), "bit") +
           ", " + format_name(format) + "\n";
}

Option output_option() {
    return {"--output", "OUT", "the picture to write", once, "-o"};
}

Option keep_orientation_option() {
    return {"--keep-orientation", "", "do not turn pictures as their files want them seen"};
}

std::vector<Option> reading_options() {
    return joined({{keep_orientation_option()}, storage_options()});
}

std::vector<Option> writing_options() {
    return joined({output_options(), storage_options()});
}

std::vector<Option> transfer_options() {
    return joined({output_options(), reading_options()});
}

Turning turning_from(const Arguments &arguments) {
    return arguments.has("--keep-orientation") ? Turning::as_stored : Turning::as_seen;
}

PictureTransfer::PictureTransfer(const Arguments &arguments, std::string out)
    : buffer_type_(apply_storage_options(arguments)), turning_(turning_from(arguments)),
      out_(std::move(out)), format_(check_output(out_)),
      settings_(output_settings(arguments, format_)), quiet_(arguments.has("--quiet")) {}

void PictureTransfer::save(Picture &picture, const std::string &path) const {
    save_picture(picture, path, format_, settings_);
    if (!quiet_)
        print(written_line(path, picture.image.size(),
                           picture.opacity ? 32 : bits_of(picture.image.format()), format_));
}

void change_picture(const Arguments &arguments, const std::function<void(Picture &)> &change) {
    const PictureTransfer transfer(arguments, arguments.last_operand());
    Picture picture = transfer.load(arguments.operand(0));
    change(picture);
    transfer.save(picture);
}

} // namespace apps::q32tool
