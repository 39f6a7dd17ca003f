// Cutting of texts between characters, which may have several bytes.
#include "failure_words.h"

#include "apps/pictures/files.h"

#include <vector>

namespace apps::q32view {
namespace {

constexpr size_t least_of_folder = 6; // characters beside the dots
constexpr const char *dots = "...";
constexpr const char *rest_is_elsewhere = "... (F2)";

// Where the text's characters begin, and where it ends.
std::vector<size_t> character_places(const std::string &text) {
    std::vector<size_t> places;
    for (size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
            places.push_back(i);
    places.push_back(text.size());
    return places;
}

std::string in_folder(const std::string &words, const std::string &folder) {
    return words + " (in " + folder + ")";
}

} // namespace

std::string FailureWords::whole() const {
    return folder.empty() ? words : in_folder(words, folder);
}

FailureWords failure_words(const std::string &failure, const std::string &path) {
    if (path.empty() || !failure.starts_with(path + ": "))
        return {failure, {}};
    const size_t name = file_name_begin(path);
    std::string folder = path.substr(0, name);
    if (folder.size() > 1 && folder.back() != ':' && folder[folder.size() - 2] != ':')
        folder.pop_back(); // the separator, but for that of a root
    return {failure.substr(name), folder};
}

std::string fitted_words(const FailureWords &failure,
                         const std::function<bool(const std::string &)> &fits) {
    if (fits(failure.whole()))
        return failure.whole();
    const std::string &folder = failure.folder;
    const std::vector<size_t> places = character_places(folder);
    for (size_t kept = places.size() - 1; kept-- > least_of_folder;) {
        const size_t head = places[kept / 2], tail = places[places.size() - 1 - (kept - kept / 2)];
        const std::string shortened =
            in_folder(failure.words, folder.substr(0, head) + dots + folder.substr(tail));
        if (fits(shortened))
            return shortened;
    }
    if (fits(failure.words))
        return failure.words;
    const std::vector<size_t> ends = character_places(failure.words);
    for (size_t kept = ends.size() - 1; kept-- > 0;)
        if (const std::string cut = failure.words.substr(0, ends[kept]) + rest_is_elsewhere;
            fits(cut))
            return cut;
    return rest_is_elsewhere;
}

} // namespace apps::q32view
