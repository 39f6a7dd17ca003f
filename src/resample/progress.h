// What the caller of a buffer's resampling sees of it meanwhile: the messages to the callback,
// their values, and the Esc key. Which failure it is to be stopped is the paths' part.
#pragma once

#include "library/process/failure.h"

#include <q32base/resample.h>

#include <cstdint>

namespace q32::resample {

// The caller's record as it was at the start. Without a callback nothing is sent and all goes on.
class Progress {
public:
    explicit Progress(const RESAMPLEPROGRESS *record)
        : record_(record != nullptr ? *record : RESAMPLEPROGRESS{}) {}

    bool is_watched() const { return record_.callback != nullptr; }
    bool polls_esc() const { return record_.poll_esc != 0; }
    std::int32_t start() const { return record_.start; }

    // The value when so many of a total of at least 1 are done. A range that does not fit 32 bits
    // wraps.
    std::int32_t value_after(int done, int total) const;

    // False: the callback refuses.
    bool begin() const { return send(RESAMPLE_BEGIN, record_.start); }
    bool report(std::int32_t value) const { return send(RESAMPLE_PROGRESS, value); }
    void end() const { send(RESAMPLE_END, record_.end); }

private:
    bool send(int message, std::int32_t value) const {
        return !is_watched() || record_.callback(message, value, 0, record_.user_data) != 0;
    }

    RESAMPLEPROGRESS record_;
};

// How rows can be stopped.
struct RowStops {
    FailureSite escaped;
    FailureSite refused;
};

// The messages of rows: one before each row whose value has not been sent yet, the Esc key first.
// The start value has gone out with the message that began it all.
class RowProgress {
public:
    RowProgress(const Progress &progress, int rows, const RowStops &stops)
        : progress_(progress), stops_(stops), rows_(rows), last_sent_(progress.start()) {}

    // Reports and returns false when the work is to stop.
    bool before_row(int row);

private:
    const Progress &progress_;
    const RowStops &stops_;
    int rows_;
    std::int32_t last_sent_;
};

} // namespace q32::resample
