// The controls of a laboratory as windows of the system, one below the other.
#pragma once

#include "controls.h"

#include "apps/pictures/areas.h"

#include <windows.h>

#include <optional>
#include <vector>

namespace apps::q32view {

// The system's font for messages, and lengths that are given for a screen of 96 dots an inch.
HFONT message_font();
int on_this_screen(int length);

class ControlColumn {
public:
    // Its controls get the numbers first_id, first_id + 1 ... in this order.
    static constexpr int first_id = 1000;

    void create(HWND parent, std::vector<Control> controls);
    void lay_out(const Area &room);

    std::vector<Control> &controls() { return controls_; }
    const Control &control(std::string_view name) const;
    // Shows values that have changed in controls().
    void show_values();
    // Of a number: its largest value, and in its caption.
    void limit(std::string_view name, int most);
    void enable(std::string_view name, bool on);

    // A message of the parent's. Returns the control that the user has changed or pressed with it.
    std::optional<size_t> take(UINT message, WPARAM wide, LPARAM param);

private:
    struct Windows {
        HWND caption; // null: it stands on the control itself
        HWND control;
    };
    Windows make(HWND parent, const Control &control, int id);
    void show_value(size_t index);
    size_t index_of(std::string_view name) const;

    std::vector<Control> controls_;
    std::vector<Windows> windows_;
};

} // namespace apps::q32view
