// Values of the progress messages, and when rows send them.
#include "resample/progress.h"

#include <q32comm.h>

namespace q32::resample {

std::int32_t Progress::value_after(int done, int total) const {
    const std::uint32_t range = std::uint32_t(record_.end) - std::uint32_t(record_.start);
    const auto part = std::int32_t(range * std::uint32_t(done)) / total;
    return std::int32_t(std::uint32_t(record_.start) + std::uint32_t(part));
}

bool RowProgress::before_row(int row) {
    if (!progress_.is_watched())
        return true;
    const std::int32_t value = progress_.value_after(row, rows_);
    if (value == last_sent_)
        return true;
    if (progress_.polls_esc() && q32IsEscPressed())
        return fail(stops_.escaped);
    last_sent_ = value;
    return progress_.report(value) || fail(stops_.refused);
}

} // namespace q32::resample
