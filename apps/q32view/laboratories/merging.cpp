// Rectangles of buffers merge in every mode but mask subtraction, which the library has for runs of
// pixels only.
#include "merging.h"

#include "apps/pictures/library_report.h"
#include "geometry/system_rect.h"

#include <q32base/merge.h>

#include <chrono>
#include <vector>

namespace apps::q32view {
namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

Failure merge_failure(const MergeJob &job) {
    return library_failure(job.base.name, "the pictures cannot be merged");
}

// With pixels of its own, so that the merge is all that is timed.
Picture copy_of(const Picture &picture) {
    HBUF32 copy = 0;
    if (!buf32GetBuf(picture.buffer.get(), 0, 0, picture.size.width, picture.size.height, &copy))
        throw library_failure(picture.name, "no buffer for the result");
    Buffer buffer(copy);
    lock_buffer(copy, BUF32_WRITE_3, picture.name);
    return {.buffer = std::move(buffer), .size = picture.size, .path = {}, .name = picture.name};
}

double merge_buffers(const MergeJob &job, HBUF32 result, const Area &part) {
    const RECT source = q32::as_rect(moved(part, Point{} - job.at));
    const Clock::time_point start = Clock::now();
    if (!i32MergeBufToBuf(result, part.left, part.top, job.mask, job.overlay.buffer.get(), &source,
                          job.mode, job.transparency))
        throw merge_failure(job);
    return since(start);
}

double merge_rows(const MergeJob &job, HBUF32 result, const Area &part) {
    const int width = part.width();
    const Point source = part.corner() - job.at;
    const size_t pixels = static_cast<size_t>(width);
    std::vector<uint8_t> base(pixels * 3), overlay(pixels * 3), mask(pixels);
    double microseconds = 0;
    for (int y = 0; y < part.height(); ++y) {
        if (!buf32GetMem(result, part.left, part.top + y, width, 1, base.data()) ||
            !buf32GetMem(job.overlay.buffer.get(), source.x, source.y + y, width, 1,
                         overlay.data()) ||
            (job.mask != 0 &&
             !buf32GetMem(job.mask, source.x, source.y + y, width, 1, mask.data())))
            throw merge_failure(job);
        const Clock::time_point start = Clock::now();
        if (!i32Merge(base.data(), base.data(), job.mask != 0 ? mask.data() : nullptr,
                      overlay.data(), 3, width, static_cast<unsigned>(job.mode), job.transparency))
            throw merge_failure(job);
        microseconds += since(start);
        if (!buf32MergeMem(result, part.left, part.top + y, base.data(), width, 1))
            throw merge_failure(job);
    }
    return microseconds;
}

} // namespace

Merged merged(const MergeJob &job) {
    Merged result = {copy_of(job.base), {}, 0};
    const Area part = intersect(area_of(job.at, job.overlay.size), area_of({}, job.base.size));
    const HBUF32 buffer = result.picture.buffer.get();
    result.size = part.size();
    result.microseconds = job.mode == MERGE_MASK_SUBTRACT ? merge_rows(job, buffer, part)
                                                          : merge_buffers(job, buffer, part);
    return result;
}

} // namespace apps::q32view
