// The table of the formats, and the limits of their fields.
#include "picture_format.h"

#include <cstring>

namespace apps {
namespace {

// In the order of FileFormat; 0: the format cannot hold it.
constexpr struct {
    const char *name;
    bool has_orientation;
    size_t most_profile_bytes;
    size_t most_comment_bytes;
} limits[] = {
    {"PNG", true, 1 << 30, 1 << 30},
    {"BMP", false, 0, 0},
    {"JPEG", true, 255 * 65519, 65533}, // 255 segments, and one segment
    {"TIFF", true, 1 << 30, 1 << 30},
};

const auto &row_of(FileFormat format) {
    return limits[static_cast<size_t>(format)];
}

bool holds_profile(FileFormat format, const PictureFacts &facts, RowFormat rows) {
    return facts.colour_profile.size() <= row_of(format).most_profile_bytes &&
           is_profile_for(rows, facts.colour_profile);
}

} // namespace

const char *format_name(FileFormat format) {
    return row_of(format).name;
}

bool is_profile_for(RowFormat rows, const std::vector<uint8_t> &profile) {
    constexpr size_t colour_space_at = 16, header_bytes = 128;
    const bool grey = rows == RowFormat::grey || rows == RowFormat::bits;
    return profile.size() >= header_bytes &&
           std::memcmp(&profile[colour_space_at], grey ? "GRAY" : "RGB ", 4) == 0;
}

std::vector<std::string> what_is_lost(FileFormat format, const PictureFacts &facts,
                                      RowFormat rows) {
    std::vector<std::string> lost;
    if (facts.orientation != 1 && !row_of(format).has_orientation)
        lost.push_back("the orientation");
    if (!facts.colour_profile.empty() && !holds_profile(format, facts, rows))
        lost.push_back("the colour profile");
    if (facts.comment.size() > row_of(format).most_comment_bytes)
        lost.push_back("the comment");
    return lost;
}

PictureFacts what_is_kept(FileFormat format, const PictureFacts &facts, RowFormat rows) {
    PictureFacts kept = facts;
    if (!row_of(format).has_orientation)
        kept.orientation = 1;
    if (!holds_profile(format, facts, rows))
        kept.colour_profile.clear();
    if (facts.comment.size() > row_of(format).most_comment_bytes)
        kept.comment.clear();
    return kept;
}

} // namespace apps
