// Edit distances.
#include "suggestions.h"

#include <algorithm>
#include <vector>

namespace apps::q32tool {
namespace {

std::string in_small_letters(std::string_view word) {
    std::string small(word);
    for (char &letter : small)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    return small;
}

// How many letters have to be changed, left out, added or exchanged with their neighbour to make
// one word of the other.
size_t edits_between(std::string_view one, std::string_view other) {
    std::vector<size_t> before_last, last, row(other.size() + 1);
    for (size_t j = 0; j <= other.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= one.size(); ++i) {
        before_last = std::move(last);
        last = std::move(row);
        row.assign(other.size() + 1, i);
        for (size_t j = 1; j <= other.size(); ++j) {
            const bool same = one[i - 1] == other[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                row[j] = std::min(row[j], before_last[j - 2] + 1);
        }
    }
    return row.back();
}

// Of short words a letter matters more: of "--to" nothing is left when two are wrong.
size_t most_edits(std::string_view word) {
    const size_t letters = word.size() - std::min(word.find_first_not_of('-'), word.size());
    return letters < 3 ? 0 : letters < 6 ? 1 : letters < 9 ? 2 : 3;
}

} // namespace

std::string_view nearest_word(std::string_view written, std::span<const std::string_view> words) {
    const std::string small = in_small_letters(written);
    std::string_view nearest, longer;
    size_t fewest = most_edits(small) + 1, longer_words = 0;
    for (const std::string_view word : words) {
        if (const size_t edits = edits_between(small, word); edits < fewest) {
            fewest = edits;
            nearest = word;
        }
        if (most_edits(small) != 0 && word.find(small) != std::string_view::npos) {
            ++longer_words;
            longer = word;
        }
    }
    return fewest != 0 && longer_words == 1 ? longer : nearest;
}

std::string did_you_mean(std::string_view written, std::span<const std::string_view> words) {
    const std::string_view word = nearest_word(written, words);
    return word.empty() ? std::string() : "; did you mean " + std::string(word) + "?";
}

} // namespace apps::q32tool
