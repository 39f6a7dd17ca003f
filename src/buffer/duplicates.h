// The shape that the entries which make duplicates have in common: a destination is checked and
// loses its pixels, or a record is copied; then it is joined to its source.
#pragma once

#include "buffer/record.h"
#include "library/process/failure.h"

namespace q32::buffer {

// How a buffer type reports what can go wrong.
struct DuplicateSites {
    FailureSite types_differ;
    FailureSite sizes_differ; // or bits per pixel
    FailureSite no_record;
    FailureSite no_layout;
};

// Whether the destination is such a buffer as a duplicate of the source would be. Reports.
bool fits(const Record &source, const Record &destination, const DuplicateSites &sites);

// A record with everything that describes the source's pixels and nothing that holds them: no
// storage, bitmap, locks or sharing, in no list. Null after a report.
Record *copy_record(const Record &source, const DuplicateSites &sites);

// The whole entry of a type whose duplicates share their source's pixels.
int duplicate_by_sharing(Record &source, HBUF32 *destination, const DuplicateSites &sites);

} // namespace q32::buffer
