// The program's window: menu, canvas and status bar, and what the user may ask for.
#pragma once

#include "canvas.h"
#include "full_screen.h"
#include "laboratories/laboratories.h"
#include "neighbours.h"
#include "options.h"
#include "recent_files.h"
#include "status_bar.h"

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace apps::q32view {

class MainWindow final : public TopWindow, private CanvasOwner {
public:
    explicit MainWindow(const Options &options);

    // Makes the window, not visible yet. Throws Failure.
    void create();

    // Shows a picture file. Throws Failure, Cancelled; the previous picture stays then.
    void open(const std::string &path);
    // The same; a failure is said in the window. False: there was one.
    bool try_to_open(const std::string &path);
    void show_test_card();
    // Saves what is shown. Throws Failure.
    void save_view(const std::string &path);
    // Zoom, scrolling and full screen that the command line asked for.
    void apply_view_options();

    void say_failure(const std::exception &failure) override;

private:
    LRESULT handle_message(UINT message, WPARAM wide, LPARAM param) override;
    void view_changed() override;

    void lay_out();
    void give_size(Size canvas);
    void take_new_resolution(const RECT &suggested);
    void toggle_full_screen();
    void forget_failure();

    // main_window_pictures.cpp
    void take_dropped_file(HDROP drop);
    void show_title();
    void go_to(Step step);
    void turn_picture(int orientation);

    // main_window_menu.cpp
    void handle_command(int id);
    void handle_choice(int id);
    bool handle_picture_command(int id);
    bool handle_zoom_command(int id);
    void show_choices();
    void open_laboratory_of(const LaboratoryKind &kind);
    void show_recent_files();
    void show_last_failure();
    void copy_view();
    void ask_and_open();
    void ask_and_save();

    const Options &options_;
    Show show_;
    StatusBar status_;
    Canvas canvas_;
    FullScreen full_screen_;
    RecentFiles recent_;
    bool alt_was_used_ = false; // for a command's key
    std::string place_; // the file from which the next one in its folder is counted; empty: none
};

} // namespace apps::q32view
