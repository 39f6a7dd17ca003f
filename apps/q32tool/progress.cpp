// Drawing of the progress bar: one line, redrawn in place ten times a second at most.
#include "progress.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "interrupt.h"

#include <string>

namespace apps::q32tool {
namespace {

using namespace std::chrono_literals;

constexpr size_t bar_width = 40;

ShowProgress progress_is_shown = ShowProgress::on_console;
size_t drawn_width = 0; // of the bar that stands on the error stream now

} // namespace

void set_progress(ShowProgress show) {
    progress_is_shown = show;
}

bool shows_progress() {
    return progress_is_shown == ShowProgress::always ||
           (progress_is_shown == ShowProgress::on_console && error_stream_is_console());
}

void draw_progress(const std::string &line) {
    const size_t spaces = drawn_width > line.size() ? drawn_width - line.size() : 0;
    print_error("\r" + line + std::string(spaces, ' '));
    drawn_width = line.size();
}

Progress::Progress(std::string_view what, int steps)
    : what_(what), steps_(steps), next_draw_(Clock::time_point::max()) {
    if (shows_progress())
        next_draw_ = Clock::now() + (progress_is_shown == ShowProgress::always ? 0ms : 500ms);
}

void clear_progress() {
    if (drawn_width > 0)
        print_error("\r" + std::string(drawn_width, ' ') + "\r");
    drawn_width = 0;
}

Progress::~Progress() {
    clear_progress();
}

void Progress::advance(int steps) {
    if (!reach(done_ + steps))
        throw Cancelled();
}

bool Progress::reach(int done) {
    done_ = done;
    if (is_cancelled())
        return false;
    if (next_draw_ != Clock::time_point::max() && Clock::now() >= next_draw_)
        draw();
    return true;
}

void Progress::draw() {
    const size_t percent = static_cast<size_t>(done_) * 100 / static_cast<size_t>(steps_);
    const size_t filled = bar_width * percent / 100;
    draw_progress(std::string(what_) + " [" + std::string(filled, '#') +
                  std::string(bar_width - filled, '.') + "] " + std::to_string(percent) + "%");
    next_draw_ = Clock::now() + 100ms;
}

} // namespace apps::q32tool
