// Tables between two buffers.
#include "resample/row_walk.h"

#include "resample/failures.h"

namespace q32::resample {
namespace {

bool read_size(HBUF32 buffer, SIZE *size) {
    int width = 0, height = 0;
    if (!buf32GetWHU(buffer, &width, &height, nullptr))
        return false;
    *size = {width, height};
    return true;
}

} // namespace

bool make_tables(const BufferJob &job, int fraction_mode, PositionTables *tables) {
    SIZE destination, source;
    if (!read_size(job.destination, &destination))
        return fail(site::destination_not_live);
    if (!read_size(job.source, &source))
        return fail(site::source_not_live);
    return tables->make(source, destination, fraction_mode);
}

} // namespace q32::resample
