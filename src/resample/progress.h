// What the caller of a buffer's resampling is told of it meanwhile: the messages to the callback
// and their values. When they are sent, and which failure it is to be stopped, is the paths' part.
#pragma once

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
    std::int32_t value_after(int done, int total) const {
        const std::uint32_t range = std::uint32_t(record_.end) - std::uint32_t(record_.start);
        const auto part = std::int32_t(range * std::uint32_t(done)) / total;
        return std::int32_t(std::uint32_t(record_.start) + std::uint32_t(part));
    }

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

} // namespace q32::resample
