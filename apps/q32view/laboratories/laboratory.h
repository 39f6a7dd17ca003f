// A laboratory: a window of its own to try one thing of the library in. It has a column of
// controls, an area for pictures, lines of text below it, and a status bar. Esc closes it, Ctrl+S
// saves what it shows. Which there are: laboratories.h.
#pragma once

#include "apps/q32view/long_work.h"
#include "apps/q32view/status_bar.h"
#include "apps/q32view/window.h"
#include "control_column.h"

#include <memory>
#include <string>
#include <vector>

namespace apps::q32view {

// What a laboratory is opened with.
struct LaboratoryRequest {
    std::vector<std::string> pictures; // files
    std::vector<Setting> settings;
    Size size = {900, 650}; // inside its frame
    std::string save_to;    // where Ctrl+S saves without asking; empty: the user is asked
    std::string screenshot; // not empty: what fails is thrown, for nobody would see it
};

class Laboratory : public TopWindow {
public:
    explicit Laboratory(std::string title) : title_(std::move(title)) {}
    virtual ~Laboratory();
    Laboratory(const Laboratory &) = delete;
    Laboratory &operator=(const Laboratory &) = delete;

    // Makes and shows the window. Throws UsageError; for a screenshot Failure and Cancelled, too.
    void open(const LaboratoryRequest &request);
    // Saves what is inside its frame. Throws Failure.
    void save(const std::string &path);
    // A key that goes before the controls' own. False: it means nothing here. For the program's
    // loop of messages.
    bool take_key(WPARAM key);
    bool is_closed() const { return window_ == nullptr; }

protected:
    // --- what a laboratory is -------------------------------------------------------------------

    virtual std::vector<Control> make_controls() = 0;
    // Once, after the controls have the values of the command line. Throws UsageError for more
    // pictures than it takes, Failure, Cancelled.
    virtual void take_pictures(const std::vector<std::string> &paths) = 0;
    // A control has a new value, or is a button that was pressed.
    virtual void handle_change(const std::string &name) = 0;
    // Draws the area of pictures. What is kept out of the context's clipping (keep_drawn) stays;
    // everything else becomes background afterwards.
    virtual void draw(HDC dc, Size room) = 0;
    // The pointer has come to a point of that area.
    virtual void handle_pointer(Point) {}
    // A key, whatever control has the focus. False: it is none of the laboratory's.
    virtual bool handle_key(WPARAM) { return false; }
    virtual void handle_timer() {}
    // Brings what runs to its end, before a screenshot.
    virtual void settle() {}

    // --- what it may use ------------------------------------------------------------------------

    int value(std::string_view name) const { return column_.control(name).value; }
    void set_value(std::string_view name, int value);
    // A number's largest value, where that is known only now.
    void limit(std::string_view name, int most);
    void enable(std::string_view name, bool on) { column_.enable(name, on); }
    // The lines under the pictures; a line that is too long is wrapped.
    void explain(const std::string &text);
    void repaint(); // the area of pictures
    Size room() const;
    StatusBar &status() { return status_; }
    void start_timer(unsigned milliseconds);
    void stop_timer();

private:
    // The area of pictures, a window inside the window.
    class Stage final : public Window {
    public:
        explicit Stage(Laboratory &owner) : owner_(owner) {}
        void create(HWND parent);

    private:
        LRESULT handle(UINT message, WPARAM wide, LPARAM param) override;
        void paint();
        void take_pointer(POINT at);
        Laboratory &owner_;
        POINT pointer_ = {}; // where it was last, on the screen
    };

    LRESULT handle_message(UINT message, WPARAM wide, LPARAM param) override;
    void create(Size size);
    void lay_out();
    void change(size_t control);
    void ask_and_save();
    void say_failure(const std::exception &failure) override;

    std::string title_;
    std::string save_to_;
    ControlColumn column_;
    Stage stage_{*this};
    HWND text_ = nullptr;
    std::string explained_;
    StatusBar status_;
};

} // namespace apps::q32view
