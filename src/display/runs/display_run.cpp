// The life of a run.
#include "display/runs/display_run.h"

#include <limits>
#include <new>

namespace q32::display {
namespace {

constexpr std::uint64_t most_bytes_of_chosen_rows = 49152;

Strip::Fill opposite(Strip::Fill fill) {
    return fill == Strip::Fill::from_end ? Strip::Fill::from_start : Strip::Fill::from_end;
}

} // namespace

DisplayRun::DisplayRun(const Opening &opening, const Path &path)
    : opening_(opening), path_(path), tables_(path.conversion.tables()),
      cursor_(path.conversion.matrix, opening.origin_x, opening.origin_y), top_(opening.place.top),
      bottom_(opening.place.bottom), rows_to_accept_(opening.height()) {}

bool DisplayRun::set_up() {
    if (rows_to_accept_ == 0)
        return true;
    const std::uint32_t width = opening_.width();
    if (width > std::uint32_t(std::numeric_limits<int>::max()))
        return false;
    const Target &target = path_.target;
    means_.palette = path_.palette(opening_);
    means_.force_background = opening_.force_background;
    return source_.set_up(opening_.depth, path_.form, opening_.palette, width) &&
           strip_.allocate(target.row_bytes(width), rows_to_accept_, target.most_bytes, fill()) &&
           target.make(means_, opening_.dc, int(width), rows_to_accept_, strip_.capacity());
}

bool DisplayRun::take_rows(const Picture &picture, int first_row, int rows) {
    // Gamma may have changed since the last call.
    ConvertRow *const convert = path_.conversion.current();
    for (std::int64_t row = first_row; row < std::int64_t(first_row) + rows; ++row) {
        if (rows_to_accept_ == 0)
            return true;
        if (!strip_ || (strip_.is_full() && !draw_held()))
            return false;
        show(picture, row, convert);
    }
    return true;
}

void DisplayRun::show(const Picture &picture, std::int64_t row, ConvertRow *convert) {
    convert(strip_.next_row(), {.source = source_.row(picture, row),
                                .pixels = opening_.width(),
                                .first_bit = source_.first_bit(picture),
                                .thresholds = cursor_.row(),
                                .tables = tables_});
    cursor_.advance();
    strip_.keep_row();
    --rows_to_accept_;
}

Band DisplayRun::band() const {
    const int rows = strip_.held();
    return {opening_.dc, int(opening_.place.left), is_top_down() ? top_ : bottom_ - rows,
            int(opening_.width()), rows};
}

bool DisplayRun::draw_held() {
    const Band drawn = band();
    if (drawn.rows == 0)
        return true;
    if (!path_.target.draw(drawn, strip_, means_))
        return false;
    if (is_top_down())
        top_ += drawn.rows;
    else
        bottom_ -= drawn.rows;
    strip_.forget_rows();
    return true;
}

Strip::Fill DisplayRun::fill() const {
    return is_top_down() ? path_.target.fill : opposite(path_.target.fill);
}

bool DisplayRun::set_direction(int direction) {
    if (direction != 1 && direction != -1)
        return false;
    if (direction == direction_)
        return true;
    direction_ = direction;
    strip_.restart(fill());
    return true;
}

void DisplayRun::set_strip_rows(int rows) {
    if (rows < 1 || rows >= strip_.capacity() ||
        std::uint64_t(rows) * strip_.row_bytes() > most_bytes_of_chosen_rows)
        return;
    strip_.shrink(rows);
    strip_.restart(fill());
}

OwnedRun open_run(const Opening &opening) {
    const Path *const path = path_of(opening, device_type());
    if (path == nullptr)
        return {};
    GlobalBlock record(GlobalAlloc(GPTR, sizeof(DisplayRun)));
    if (!record)
        return {};
    OwnedRun run(new (record.release()) DisplayRun(opening, *path));
    return run.get()->set_up() ? std::move(run) : OwnedRun();
}

} // namespace q32::display
