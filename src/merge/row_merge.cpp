// i32Merge: a run of pixels. Checks, raises the thread's priority, finds what the mode needs of
// memory and merges; how runs are merged is run.h's part.
#include "library/process/bytes.h"
#include "library/process/thread_priority.h"
#include "merge/failures.h"
#include "merge/full_mask.h"
#include "merge/run.h"

#include <q32base/merge.h>

#include <algorithm>
#include <limits>

namespace q32::merge {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// In 64 bits: a run may be named that no memory can hold.
std::uint64_t size_of(const Run &run, int bytes_per_pixel) {
    return std::uint64_t(run.pixels) * unsigned(bytes_per_pixel);
}

bool is_too_large(std::uint64_t size) {
    return size > std::numeric_limits<std::size_t>::max();
}

// --- drivers ------------------------------------------------------------------------------------

int copy_base(const Run &run, int bytes_per_pixel) {
    const std::uint64_t size = size_of(run, bytes_per_pixel);
    if (run.result == run.base)
        return 1;
    if (run.result == nullptr || run.base == nullptr || is_too_large(size))
        return 0;
    std::memmove(run.result, run.base, std::size_t(size));
    return 1;
}

int merge(const Mode &mode, const Run &run, int bytes_per_pixel, int transparency,
          std::uint8_t *work_row = nullptr) {
    if (is_too_large(size_of(run, bytes_per_pixel)))
        return 0;
    const Recipe recipe = settle({.mode = mode,
                                  .form = Form::run,
                                  .bytes_per_pixel = bytes_per_pixel,
                                  .transparency = transparency,
                                  .mask = run.mask,
                                  .mask_is_full = false});
    if (order_shows(recipe, run))
        merge_run_in_order(recipe, run, work_row);
    else
        merge_run(recipe, run);
    return 1;
}

// The result may be the overlay: a base brought into it would overwrite what is still to be read.
int merge_with_copy(const Mode &mode, Run run, int bytes_per_pixel, int transparency) {
    GlobalBlock copy;
    if (run.overlay == run.result) {
        const std::uint64_t size = size_of(run, bytes_per_pixel);
        copy = make_global_block(GMEM_ZEROINIT, size);
        if (!copy)
            return fail(*mode.no_overlay_copy);
        std::memcpy(copy.get(), run.overlay, std::size_t(size));
        run.overlay = bytes(copy.get());
    }
    return merge(mode, run, bytes_per_pixel, transparency);
}

// Mostly the three blocks hold nothing: the run passes through the kernels in pieces. They are made
// because callers know the reports of there being no memory for them, and the silence about the
// first.
int transfer(const Mode &mode, const Run &run, int bytes_per_pixel, int transparency) {
    if (bytes_per_pixel != 3)
        return 0;
    const std::uint64_t pixels = run.pixels;
    const GlobalBlock base_records = make_global_block(0, pixels * record_bytes);
    if (!base_records)
        return 0;
    const GlobalBlock merged_records = make_global_block(0, pixels * record_bytes);
    if (!merged_records)
        return fail(site::no_run_work_rows);
    const GlobalBlock merged = make_global_block(0, pixels * 3 + 2);
    if (!merged)
        return fail(site::no_run_work_rows);
    return merge(mode, run, bytes_per_pixel, transparency, bytes(base_records.get()));
}

int dispatch(const Mode &mode, Run run, FullMask &full_mask, ThreadPriority &priority,
             int bytes_per_pixel, int transparency) {
    switch (mode.action) {
    case Action::transfer:
        return transfer(mode, run, bytes_per_pixel, transparency);
    case Action::selection:
        if (run.mask == nullptr) {
            // Quirk: the thread is left with the raised priority, where a caller finds it.
            if (!full_mask.make(run.pixels, run.pixels)) {
                priority.leave_raised();
                return 0;
            }
            run.mask = full_mask.row();
        }
        break;
    case Action::relief:
        if (run.mask == nullptr)
            return 0;
        run.base = run.result; // relief is applied to what is there
        break;
    case Action::blend:
    case Action::mask_subtraction:
        break;
    }
    return merge_with_copy(mode, run, bytes_per_pixel, transparency);
}

} // namespace
} // namespace q32::merge

// --- exports ------------------------------------------------------------------------------------

using q32::bytes;
using namespace q32::merge;

int Q32_CALL i32Merge(void *result, const void *base, const void *mask, const void *overlay,
                      int bytes_per_pixel, int pixels, unsigned mode_number, int transparency) {
    FullMask full_mask; // goes after the priority has gone back
    q32::ThreadPriority priority;
    if (pixels < 1 || bytes_per_pixel < 1)
        return 0;
    const Run run{bytes(result), bytes(base), bytes(mask), bytes(overlay), std::size_t(pixels)};
    if (transparency >= 100)
        return copy_base(run, bytes_per_pixel);
    const bool needs_base = mode_number != MERGE_RELIEF;
    if (result == nullptr || overlay == nullptr || (needs_base && base == nullptr) ||
        bytes_per_pixel > max_bytes_per_pixel)
        return 0;
    priority.raise();
    const Mode *const mode = find_mode(Form::run, mode_number);
    return mode != nullptr
               ? dispatch(*mode, run, full_mask, priority, bytes_per_pixel, transparency)
               : 0;
}
