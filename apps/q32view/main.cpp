// The program's beginning and end: the command line, the window, and which line and exit code a
// failure gets.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "laboratories/laboratories.h"
#include "main_window.h"
#include "options.h"
#include "resource.h"

#include <q32base/version.h>
#include <windows.h>

#include <new>

namespace apps::q32view {
namespace {

bool has_stream(DWORD number) {
    const HANDLE stream = GetStdHandle(number);
    return stream != nullptr && stream != INVALID_HANDLE_VALUE;
}

// A program with windows has no console of its own, but may have been started from one. Without
// any, a message is a window.
void tell(const std::string &text, bool is_failure) {
    const DWORD number = is_failure ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE;
    if (!has_stream(number))
        AttachConsole(ATTACH_PARENT_PROCESS);
    if (!has_stream(number))
        MessageBoxW(nullptr, to_wide(text).c_str(), L"q32view", is_failure ? MB_ICONERROR : MB_OK);
    else if (is_failure)
        print_error(text);
    else
        print(text);
}

// When a picture cannot be opened the window says so. For a screenshot only, nobody would see that:
// the program fails.
void open_first_picture(MainWindow &main_window, const Options &options) {
    try {
        if (!options.picture.empty() && options.screenshot.empty())
            main_window.try_to_open(options.picture);
        else if (!options.picture.empty())
            main_window.open(options.picture);
        if (options.test_card)
            main_window.show_test_card();
        main_window.apply_view_options();
    } catch (const std::exception &failure) {
        if (!options.screenshot.empty())
            throw;
        main_window.say_failure(failure);
    }
}

// window: the viewer's; null: only laboratories are open, and closing the last one ends the
// program.
int handle_messages(HWND window) {
    const HACCEL keys = LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_KEYS));
    MSG message = {}; // as it stays when every laboratory is closed before the first
    while ((window != nullptr || !are_laboratories_closed()) &&
           GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (take_laboratory_message(message) || TranslateAcceleratorW(window, keys, &message))
            continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    close_laboratories();
    return message.message == WM_QUIT ? static_cast<int>(message.wParam) : exit_success;
}

int run_laboratory(const Options &options) {
    const LaboratoryKind &kind = laboratory_named(options.laboratory);
    apply(options.settings);
    LaboratoryRequest request = {.pictures = options.laboratory_pictures,
                                 .settings = options.laboratory_settings,
                                 .save_to = options.save_to,
                                 .screenshot = options.screenshot};
    request.size = options.size.value_or(request.size);
    Laboratory &laboratory = open_laboratory(kind, request);
    if (options.screenshot.empty())
        return handle_messages(nullptr);
    laboratory.save(options.screenshot);
    close_laboratories();
    return exit_success;
}

int run() {
    const Options options = read_options(command_line_words());
    if (options.help || options.version) {
        tell(options.help ? help_text() : "q32view " Q32BASE_VERSION_STRING "\n", false);
        return exit_success;
    }
    if (!options.laboratory.empty())
        return run_laboratory(options);
    MainWindow main_window(options);
    main_window.create();
    ShowWindow(main_window.window(), SW_SHOWDEFAULT);
    UpdateWindow(main_window.window());
    open_first_picture(main_window, options);
    if (options.screenshot.empty())
        return handle_messages(main_window.window());
    main_window.save_view(options.screenshot);
    return exit_success;
}

int guarded_run() {
    try {
        return run();
    } catch (const UsageError &error) {
        tell("q32view: " + std::string(error.what()) + "\n", true);
        return exit_usage;
    } catch (const Cancelled &cancelled) {
        tell("q32view: " + std::string(cancelled.what()) + "\n", true);
        return exit_cancelled;
    } catch (const std::bad_alloc &) {
        tell("q32view: not enough memory\n", true);
        return exit_failure;
    } catch (const std::exception &failure) {
        tell("q32view: " + std::string(failure.what()) + "\n", true);
        return exit_failure;
    }
}

} // namespace
} // namespace apps::q32view

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    return apps::q32view::guarded_run();
}
