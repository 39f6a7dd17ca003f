// All texts, by number: messages in plain English, and the names in the settings file.
#include "q32comm/copy_text.h"

#include <q32comm.h>
#include <windows.h>

#include <algorithm>
#include <iterator>

namespace {

struct Text {
    int number;
    const char *text;
};

constexpr int first_configuration_name = 10000;

// In ascending order.
constexpr Text texts[] = {
    {1001, "There is not enough memory."},
    {1004, "There is not enough memory to keep track of the swap files."},
    {1005, "A memory block was discarded by the system."},
    {3200, "An argument is invalid."},
    {4010, "A file that keeps track of the swap files could not be created or opened."},
    {4026, "The images or rectangles do not match."},
    {4700, "%s cannot run on a display of 16 colours. Please set the display to 256 colours or "
           "more and start again."},
    {4701, "Display not supported"},
    {5200, "The operation was cancelled."},
    {5206, "Images of this pixel format cannot be scaled."},
    {5402, "The image is too wide."},
    {5403, "The image is too high."},
    {5800, "The operation is not available for this kind of image."},
    {5804, "The image is locked or unlocked out of turn."},
    {5805, "The image has no such cell."},
    {5808, "The operation was cancelled by the program."},

    // Settings file, section and keys of the swap directories. Programs make keys 1 to 3 by writing
    // a digit at position 10 of 10001 and at position 6 of 10003.
    {10000, "Q32BASE.INI"},
    {10001, "SwapFolder"},
    {10003, "UseDir"},
    {10006, "LimitFiles"},
    {10007, "LimitMemory"},
    {10008, "FileLimit"},
    {10009, "MemoryLimit"},

    // Section and keys of the display.
    {12002, "Display"},
    {12003, "GammaRed"},
    {12004, "GammaGreen"},
    {12005, "GammaBlue"},
    {12010, "GammaCorrection"},
    {12011, "HighColourDither"},
};

static_assert(std::is_sorted(std::begin(texts), std::end(texts),
                             [](const Text &a, const Text &b) { return a.number < b.number; }));

const char *text_of(int number) {
    const Text *const found =
        std::lower_bound(std::begin(texts), std::end(texts), number,
                         [](const Text &text, int wanted) { return text.number < wanted; });
    return found != std::end(texts) && found->number == number ? found->text : "";
}

} // namespace

int Q32COMM_CALL c32GetString(int id, char *buffer, int size) {
    return q32comm::copy_text(text_of(id), buffer, size);
}

int Q32COMM_CALL c32GetErrText(int message, char *buffer, int size) {
    const char *const text = message < first_configuration_name ? text_of(message) : "";
    return q32comm::copy_text(text, buffer, size);
}

int Q32COMM_CALL c32ShowMb(const char *text, const char *title) {
    return MessageBoxA(nullptr, text, title, MB_OK | MB_ICONEXCLAMATION);
}
