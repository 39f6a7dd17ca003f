// Looking at the keyboard without letting other messages through.
#include "long_work.h"

#include "apps/pictures/exceptions.h"

#include <utility>

namespace apps::q32view {
namespace {

constexpr DWORD patience = 200; // milliseconds until the pointer waits
constexpr DWORD pause = 20;     // between two looks at the keyboard

// Other keys that were typed meanwhile are dropped: they were meant for what is not there yet.
bool was_stop_asked_for() {
    MSG message;
    while (PeekMessageW(&message, nullptr, WM_KEYDOWN, WM_KEYDOWN, PM_REMOVE))
        if (message.wParam == VK_ESCAPE)
            return true;
    return PeekMessageW(&message, nullptr, WM_CLOSE, WM_CLOSE, PM_NOREMOVE) != 0;
}

} // namespace

LongWork::LongWork(StatusBar &status, std::string what)
    : status_(status), what_(std::move(what)), start_(GetTickCount()), last_shown_(start_) {}

LongWork::~LongWork() {
    if (!shown_)
        return;
    SetCursor(cursor_before_);
    status_.say({});
}

bool LongWork::reach(int done, int total) {
    const DWORD now = GetTickCount();
    if (!stopped_ && now - last_shown_ >= pause) {
        last_shown_ = now;
        stopped_ = was_stop_asked_for();
        if (now - start_ >= patience)
            show(done, total);
    }
    return !stopped_;
}

void LongWork::go_on(int done, int total) {
    reach(done, total);
    check();
}

void LongWork::check() const {
    if (stopped_)
        throw Cancelled(what_ + " was stopped");
}

void LongWork::show(int done, int total) {
    if (!std::exchange(shown_, true))
        cursor_before_ = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    const int percent = total > 0 ? static_cast<int>(100LL * done / total) : 0;
    status_.say(what_ + ": " + std::to_string(percent) + " % (Esc stops)");
}

} // namespace apps::q32view
