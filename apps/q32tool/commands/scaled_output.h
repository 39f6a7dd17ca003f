// What enlarging and reducing by whole factors have in common: from the command line's picture to
// the one that is written.
#pragma once

#include "apps/q32tool/conversion.h"
#include "apps/q32tool/factor_scaling.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {

// scale: enlarged or reduced of factor_scaling.h, for frames and for images.
template <typename Scale>
void write_scaled(const Arguments &arguments, const Factors &factors, const Scale &scale) {
    const std::string &in = arguments.operand(0), &out = arguments.operand(1);
    if (wants_transparency(arguments)) {
        apply_storage_options(arguments);
        const FileFormat format = check_transparent_output(out);
        Frame frame = scale(read_frame(in, 32), factors);
        write_frame_and_tell(frame, out, format, arguments);
        return;
    }
    const Conversion conversion = conversion_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(in, type).image;
    convert(image, conversion, type);
    image = scale(image, factors, type, out);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace apps::q32tool
