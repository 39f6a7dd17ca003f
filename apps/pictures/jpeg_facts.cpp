// JPEG files: the segments before the first scan.
#include "byte_source.h"
#include "format_facts.h"
#include "jpeg_markers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace apps {
namespace {

using namespace std::string_view_literals;

constexpr auto jfif_name = "JFIF\0"sv, exif_name = "Exif\0\0"sv, profile_name = "ICC_PROFILE\0"sv;

bool begins(std::span<const uint8_t> data, std::string_view name) {
    return data.size() >= name.size() && std::memcmp(data.data(), name.data(), name.size()) == 0;
}

// A profile comes in up to 255 parts, each with its number.
class ProfileParts {
public:
    void add(std::span<const uint8_t> part) {
        if (part.size() < 2 || part[0] == 0)
            return;
        count_ = part[1];
        parts_[part[0]].assign(part.begin() + 2, part.end());
    }
    // Empty where one is missing.
    Bytes joined() const {
        Bytes all;
        for (size_t i = 1; i <= count_; ++i) {
            if (parts_[i].empty())
                return {};
            put(all, parts_[i]);
        }
        return all;
    }

private:
    size_t count_ = 0;
    std::array<Bytes, 256> parts_;
};

std::optional<PictureFacts::Resolution> jfif_resolution(std::span<const uint8_t> data) {
    constexpr uint8_t inch = 1, centimetre = 2;
    if (data.size() < 12 || (data[7] != inch && data[7] != centimetre))
        return std::nullopt;
    const double inches = data[7] == centimetre ? 2.54 : 1;
    return checked_resolution(big_endian(&data[8], 2) * inches, big_endian(&data[10], 2) * inches);
}

class Segments {
public:
    void add(uint8_t marker, std::span<const uint8_t> data) {
        using namespace jpeg_marker;
        if (marker == app0 && begins(data, jfif_name) && !facts_.resolution)
            facts_.resolution = jfif_resolution(data);
        else if (marker == app1 && begins(data, exif_name) && exif_.empty())
            exif_.assign(data.begin() + exif_name.size(), data.end());
        else if (marker == app2 && begins(data, profile_name))
            profile_.add(data.subspan(profile_name.size()));
        else if (marker == comment && facts_.comment.size() < most_comment_bytes)
            facts_.comment += (facts_.comment.empty() ? "" : "\n") + text_from(data);
    }
    PictureFacts facts() {
        add_exif(facts_, exif_); // the file's own resolution goes first
        facts_.colour_profile = checked_profile(profile_.joined());
        return facts_;
    }

private:
    PictureFacts facts_;
    Bytes exif_;
    ProfileParts profile_;
};

} // namespace

FileFacts jpeg_facts(const ReadAt &file) {
    using namespace jpeg_marker;
    Segments segments;
    uint8_t head[4];
    for (uint64_t at = 2; file(at, head, sizeof head) == sizeof head && head[0] == 0xff;) {
        const uint8_t marker = head[1];
        if (marker == filler) {
            ++at;
            continue;
        }
        if (marker == 1 || (marker >= first_alone && marker <= last_alone)) {
            at += 2;
            continue;
        }
        const uint32_t length = big_endian(head + 2, 2);
        if (marker == scan || marker == end_of_image || length < 2)
            break;
        if ((marker >= app0 && marker <= last_app) || marker == comment)
            segments.add(marker, read_bytes(file, at + sizeof head, length - 2));
        at += 2 + length;
    }
    return {segments.facts()};
}

} // namespace apps
