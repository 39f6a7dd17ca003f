// Entries that fill a whole buffer with one colour or a pattern and give up its storage for it.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

int fill_one_colour(Record &record, const void *colour);
int fill_pattern(Record &record, const BUF32PATTERN *pattern);

} // namespace q32::buffer
