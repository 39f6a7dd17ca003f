// The exports that resample buffers: check, provide the destination, lock the source, tell the
// caller's callback, and hand the work to the path that the pixels and the method call for.
#include "buffer/buffer_lock.h"
#include "buffer/provided_buffer.h"
#include "resample/buffer_paths.h"
#include "resample/failures.h"

#include <q32base/buffers.h>
#include <q32base/resample.h>

namespace q32::resample {
namespace {

using buffer::BufferLock;
using buffer::ProvidedBuffer;

// --- paths --------------------------------------------------------------------------------------

bool resample(const BufferJob &job, bool by_rows, int method) {
    constexpr int word = 2; // bytes
    const int pixel_bytes = job.source_info().bytes_per_pixel;
    if (pixel_bytes == 0)
        return resample_bit_rows(job);
    if (by_rows)
        return resample_rows(job, method_of(RESAMPLE_NEAREST));
    return pixel_bytes == word ? resample_rows(job, method_of(method))
                               : resample_cells(job, method_of(method));
}

// --- driver -------------------------------------------------------------------------------------

// What a call asks for, and how it is reported that the callback refuses to begin.
struct Request {
    bool by_rows;
    int method;
    FailureSite begin_refused;
};

bool is_live(HBUF32 buffer) {
    return buf32GetWHU(buffer, nullptr, nullptr, nullptr);
}

bool resample_watched(const BufferJob &job, const Request &request) {
    if (!is_live(job.source)) // a lock would take every handle for a buffer
        return false;
    BufferLock source_lock;
    if (!source_lock.lock(job.source, BUF32_READ))
        return false;
    if (!job.progress.begin())
        return fail(request.begin_refused);
    const bool done = resample(job, request.by_rows, request.method);
    job.progress.end();
    return done;
}

int resample_buffer(const SIZE *size, HBUF32 source, HBUF32 *handle, const RESAMPLEPROGRESS *record,
                    const Request &request) {
    if (size == nullptr || size->cx == 0 || size->cy == 0 || handle == nullptr)
        return fail(site::no_size);
    const Progress progress(record);
    ProvidedBuffer destination(handle);
    if (!destination.is_given()) {
        BUF32INFO info;
        if (!buf32GetInfo(source, &info))
            return 0;
        const bool is_one_colour = info.type == BUF32_ONE_COLOUR;
        if (!destination.make({int(size->cx), int(size->cy)}, info.bits_per_pixel,
                              is_one_colour ? BUF32_ONE_COLOUR : BUF32_TILED,
                              is_one_colour ? info.colour : nullptr))
            return 0;
        if (is_one_colour) {
            destination.keep();
            return 1;
        }
    }
    if (!resample_watched({source, destination.buffer(), progress}, request))
        return 0;
    destination.keep();
    return 1;
}

} // namespace
} // namespace q32::resample

using namespace q32::resample;

int Q32_CALL q32BufferResample(const SIZE *size, HBUF32 source, HBUF32 *destination,
                               const RESAMPLEPROGRESS *progress) {
    return resample_buffer(size, source, destination, progress,
                           {false, RESAMPLE_BILINEAR, site::begin_refused});
}

int Q32_CALL q32BufferResampleEx(const SIZE *size, HBUF32 source, HBUF32 *destination,
                                 const RESAMPLEPROGRESS *progress, int row_path, int method) {
    return resample_buffer(size, source, destination, progress,
                           {row_path != 0, method, site::begin_refused_ex});
}
