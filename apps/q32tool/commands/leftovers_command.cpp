// q32tool leftovers: lists, and removes, what died processes have left of their swap files.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/leftovers.h"
#include "apps/q32tool/storage_options.h"

#include <windows.h>

namespace apps::q32tool {
namespace {

constexpr uint32_t most_minutes = 60 * 24 * 365;

std::string in_utf8(const std::string &in_system_code_page) {
    wchar_t wide[MAX_PATH + 1] = {};
    MultiByteToWideChar(CP_ACP, 0, in_system_code_page.c_str(), -1, wide, MAX_PATH);
    return to_utf8(wide);
}

std::string age_in_words(uint64_t seconds) {
    constexpr uint64_t minute = 60, hour = 60 * minute, day = 24 * hour;
    if (seconds >= 2 * day)
        return counted(seconds / day, "day") + " old";
    if (seconds >= 2 * hour)
        return counted(seconds / hour, "hour") + " old";
    if (seconds >= minute)
        return counted(seconds / minute, "minute") + " old";
    return counted(seconds, "second") + " old";
}

std::string in_words(const Leftover &leftover) {
    const std::string path = in_utf8(leftover.path);
    switch (leftover.kind) {
    case Leftover::swap_file:
        return "swap file " + path + ", " + readable_size(leftover.bytes) + ", " +
               age_in_words(leftover.age);
    case Leftover::record_file:
        return "list of swap files " + path + ", " + age_in_words(leftover.age);
    case Leftover::slot:
        return "slot " + std::to_string(leftover.slot_number + 1) + " of 100, for " + path +
               ", which is not there";
    }
    return {};
}

// Returns how many could not be removed.
size_t remove_all(const BookPlaces &places, const std::vector<Leftover> &leftovers) {
    size_t kept = 0;
    for (const Leftover &leftover : leftovers) {
        const bool gone = remove_leftover(places, leftover);
        kept += !gone;
        print((gone ? "removed: " : "could not be removed: ") + in_words(leftover) + "\n");
    }
    return kept;
}

void list_all(const std::vector<Leftover> &leftovers) {
    for (const Leftover &leftover : leftovers)
        print(in_words(leftover) + "\n");
}

void run(const Arguments &arguments) {
    const uint64_t least_age = 60u * arguments.number("--older", 0, most_minutes, 1);
    BookPlaces places = book_places();
    if (arguments.has("--swap-dir"))
        places.directories.push_back(swap_directory(arguments.value("--swap-dir")));
    const std::vector<Leftover> leftovers = find_leftovers(places, least_age);
    if (leftovers.empty()) {
        print("Nothing is left over.\n");
        return;
    }
    uint64_t bytes = 0;
    for (const Leftover &leftover : leftovers)
        bytes += leftover.bytes;
    const std::string all = counted(leftovers.size(), "leftover") + ", " + readable_size(bytes);
    if (!arguments.has("--remove")) {
        list_all(leftovers);
        print(all + "; q32tool leftovers --remove removes what is listed here.\n");
        return;
    }
    if (const size_t kept = remove_all(places, leftovers))
        throw Failure(counted(kept, "leftover"), "could not be removed",
                      "somebody may be using it, or it is another user's");
    print(all + ", removed.\n");
}

} // namespace

const Command leftovers_command = {
    .name = "leftovers",
    .operands = {},
    .summary = "list and remove swap files of programs that died",
    .description =
        "Programs keep large pictures in swap files, and remove them when they end. One that is\n"
        "killed cannot; the next program that starts does it, as far as it can. This lists what "
        "is\n"
        "there still and belongs to no running program: swap files, lists of swap files, and\n"
        "places in the list of programs (100 slots) that nobody uses any more.",
    .options = {{"--remove", "", "remove what is listed"},
                {"--older", "MINUTES", "only what was not written for so long (1)"},
                {"--swap-dir", "DIR", "look for swap files there too"}},
    .run = run,
};

} // namespace apps::q32tool
