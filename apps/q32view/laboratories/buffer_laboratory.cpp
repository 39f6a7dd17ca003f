// The buffer laboratory: a script of operations on buffers, step by step, and where each cell lives
// after them.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/owned.h"
#include "apps/pictures/text.h"
#include "buffer_drawing.h"
#include "buffer_words.h"
#include "drawing.h"
#include "makers.h"

namespace apps::q32view {
namespace {

constexpr int most_steps = 9999;      // until the script is known
constexpr int fastest = 20, fast = 4; // steps a second

// Drawn in memory first: there is much in it, and it is drawn several times a second.
class MemoryPicture {
public:
    MemoryPicture(HDC like, Size size)
        : dc_(CreateCompatibleDC(like)),
          bitmap_(CreateCompatibleBitmap(like, size.width, size.height)), size_(size) {
        before_ = SelectObject(dc_.get(), bitmap_.get());
    }
    ~MemoryPicture() { SelectObject(dc_.get(), before_); }
    MemoryPicture(const MemoryPicture &) = delete;
    MemoryPicture &operator=(const MemoryPicture &) = delete;

    bool is_made() const { return dc_ && bitmap_; }
    HDC dc() const { return dc_.get(); }
    void show(HDC dc) const {
        BitBlt(dc, 0, 0, size_.width, size_.height, dc_.get(), 0, 0, SRCCOPY);
    }

private:
    Owned<DeleteDC, HDC> dc_;
    Owned<DeleteObject, HBITMAP> bitmap_;
    HGDIOBJ before_ = nullptr;
    Size size_;
};

class BufferLaboratory final : public Laboratory {
public:
    using Laboratory::Laboratory;

private:
    std::vector<Control> make_controls() override;
    void take_pictures(const std::vector<std::string> &paths) override;
    void handle_change(const std::string &name) override;
    bool handle_key(WPARAM key) override;
    void handle_timer() override;
    void settle() override;
    void draw(HDC dc, Size room) override;

    void try_script(Script script);
    void step();
    void go_to(int operations);
    void run(bool on);
    void show_state();
    void show_operations() const;

    std::unique_ptr<BufferExperiment> experiment_;
};

std::vector<Control> BufferLaboratory::make_controls() {
    return {button("next", "Next step (Space)"),
            toggle("run", "Run (R)", false),
            number("speed", "Speed", 1, fastest, fast, " steps a second"),
            number("step", "Step", 0, most_steps, 0, {}),
            button("again", "From the start (Home)"),
            button("help", "Operations (F1)")};
}

// One script; without one its own.
void BufferLaboratory::take_pictures(const std::vector<std::string> &paths) {
    if (paths.size() > 1)
        throw UsageError(paths[1] + ": the buffer laboratory takes one script");
    const int first = value("step");
    try_script(built_in_script());
    if (!paths.empty())
        try_script(read_script(paths.front()));
    if (first > experiment_->length())
        throw UsageError("--set step=" + std::to_string(first) + ": 0 to " +
                         std::to_string(experiment_->length()) + " is wanted");
    go_to(first);
    run(value("run") != 0);
}

void BufferLaboratory::try_script(Script script) {
    experiment_ = std::make_unique<BufferExperiment>(std::move(script));
    limit("step", experiment_->length());
    show_state();
}

void BufferLaboratory::handle_change(const std::string &name) {
    if (name == "next")
        step();
    else if (name == "step")
        go_to(value("step"));
    else if (name == "again")
        go_to(0);
    else if (name == "help")
        show_operations();
    else
        run(value("run") != 0);
}

bool BufferLaboratory::handle_key(WPARAM key) {
    switch (key) {
    case VK_SPACE:
        step();
        return true;
    case 'R':
        run(value("run") == 0);
        return true;
    case VK_HOME:
        go_to(0);
        return true;
    case VK_F1:
        show_operations();
        return true;
    default:
        return false;
    }
}

void BufferLaboratory::handle_timer() {
    step();
}

void BufferLaboratory::settle() {
    if (value("run") != 0)
        go_to(experiment_->length());
}

void BufferLaboratory::step() {
    experiment_->step();
    show_state();
}

void BufferLaboratory::go_to(int operations) {
    experiment_->go_to(operations);
    show_state();
}

// At the end it begins anew.
void BufferLaboratory::run(bool on) {
    stop_timer();
    if (on && experiment_->next() == nullptr)
        go_to(0);
    set_value("run", on);
    constexpr unsigned second = 1000;
    if (on)
        start_timer(second / static_cast<unsigned>(value("speed")));
}

void BufferLaboratory::show_state() {
    const bool is_at_end = experiment_->next() == nullptr;
    if (is_at_end) {
        stop_timer();
        set_value("run", 0);
    }
    set_value("step", experiment_->done());
    enable("next", !is_at_end);
    explain(state_in_words(*experiment_));
    repaint();
}

void BufferLaboratory::show_operations() const {
    MessageBoxW(window(), to_wide(script_help()).c_str(), L"Operations of scripts", MB_OK);
}

void BufferLaboratory::draw(HDC dc, Size room) {
    const MemoryPicture picture(dc, room);
    if (!experiment_ || !picture.is_made())
        return;
    draw_experiment(picture.dc(), room, *experiment_);
    picture.show(dc);
    keep_drawn(dc, area_of({}, room));
}

} // namespace

std::unique_ptr<Laboratory> make_buffer_laboratory(std::string title) {
    return std::make_unique<BufferLaboratory>(std::move(title));
}

} // namespace apps::q32view
