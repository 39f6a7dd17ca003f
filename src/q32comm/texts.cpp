// All texts by number, in one table: messages below 10000, names in the settings file from there.
#include "q32comm/text_copy.h"

#include <q32comm.h>

#include <algorithm>
#include <iterator>

namespace q32::comm {
namespace {

constexpr int first_name = 10000;

struct Text {
    int id;
    std::string_view text;
};

constexpr Text texts[] = {
    {1001, "There is not enough memory."},
    {1004, "There is not enough memory to keep track of temporary files."},
    {1005, "A block of memory has been discarded by the system."},
    {3200, "A value is not valid here."},
    {4010, "The record of temporary files cannot be created or opened."},
    {4026, "The images or their areas do not match or do not meet."},
    {4700,
     "%s cannot run on a display with 16 colours. Please choose a display with 256 colours or "
     "more and start again."},
    {4701, "Display with too few colours"},
    {5200, "The operation has been cancelled."},
    {5206, "Images of this pixel format cannot be scaled this way."},
    {5402, "The image is too wide: 32000 pixels are the most."},
    {5403, "The image is too high: 32000 pixels are the most."},
    {5800, "This operation is not available for this kind of image."},
    {5804, "The image is locked, is not locked, or does not have this cell."},
    {5805, "The one-colour image does not have this cell."},
    {5808, "The operation has been cancelled by the program."},
    // The library that reads the settings writes a digit at character position 10 of 10001 and at
    // position 6 of 10003 to name the settings of directories 1 to 3: both texts end there.
    {10000, "Q32BASE.INI"},
    {10001, "SwapFolder"},
    {10003, "UseDir"},
    {10006, "LimitFiles"},
    {10007, "LimitMemory"},
    {10008, "FileLimitKB"},
    {10009, "MemoryLimitKB"},
    {12002, "Display"},
    {12003, "GammaRed"},
    {12004, "GammaGreen"},
    {12005, "GammaBlue"},
    {12010, "UseGamma"},
    {12011, "DitherHighColour"},
};

constexpr bool before(const Text &a, const Text &b) {
    return a.id < b.id;
}
static_assert(std::is_sorted(std::begin(texts), std::end(texts), before), "searched by halving");

constexpr std::string_view find_text(int id) {
    const auto *const found =
        std::lower_bound(std::begin(texts), std::end(texts), Text{id, {}}, before);
    return found != std::end(texts) && found->id == id ? found->text : std::string_view{};
}
static_assert(find_text(10001).size() == 10 && find_text(10003).size() == 6, "room for the digit");

} // namespace
} // namespace q32::comm

using namespace q32::comm;

int Q32COMM_CALL c32GetString(int id, char *buffer, int size) {
    return copy_out(find_text(id), buffer, size);
}

int Q32COMM_CALL c32GetErrText(int message, char *buffer, int size) {
    return copy_out(message < first_name ? find_text(message) : "", buffer, size);
}
