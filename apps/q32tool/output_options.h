// How pictures are packed into their files: --quality, --chroma and --compression.
#pragma once

#include "apps/pictures/output_settings.h"
#include "apps/pictures/picture_format.h"
#include "arguments.h"

#include <vector>

namespace apps::q32tool {

std::vector<Option> output_options();

// What these options say for a file of the format. Throws UsageError, also for an option that the
// format has no use for.
OutputSettings output_settings(const Arguments &arguments, FileFormat format);

} // namespace apps::q32tool
