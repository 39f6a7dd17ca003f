// The words, and the library's curve of gamma.
#include "display_words.h"

#include <algorithm>
#include <cmath>

namespace apps::q32view {

int level_given(int level, int gamma) {
    const int percent = std::max(gamma * 100 / 180, 1);
    return static_cast<int>(255 * std::pow(level / 255.0, 100.0 / percent));
}

std::string displays_in_words(int gamma, bool is_dithered, const Area &detail) {
    std::string words = "Dithered by a matrix: of 8 x 8 up to 256 colours; high colour ";
    words += is_dithered ? "of 4 x 4" : "is cut";
    words += ".\nGamma " + std::to_string(gamma / 100) + "." + std::to_string(gamma % 100 / 10) +
             std::to_string(gamma % 10);
    words += gamma == 180 ? " corrects nothing."
                          : ": level 128 becomes " + std::to_string(level_given(128, gamma)) +
                                " on 256 colours and more.";
    return words + "\nBelow each: " + std::to_string(detail.width()) + " x " +
           std::to_string(detail.height()) + " pixels from " + std::to_string(detail.left) + "," +
           std::to_string(detail.top) + ", eight times enlarged.";
}

} // namespace apps::q32view
