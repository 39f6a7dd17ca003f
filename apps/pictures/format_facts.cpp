// Which format a file has, and what formats have in common.
#include "format_facts.h"

#include "byte_source.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

namespace apps {
namespace {

using namespace std::string_view_literals;

constexpr struct {
    std::string_view signature;
    FileFacts (*read)(const ReadAt &);
} formats[] = {
    {"\x89PNG\r\n\x1a\n", png_facts},
    {"\xff\xd8\xff", jpeg_facts},
    {"GIF8", gif_facts},
    {"BM", bmp_facts},
    {"II*\0"sv, tiff_facts},
    {"MM\0*"sv, tiff_facts},
    {"II+\0"sv, tiff_facts},
    {"MM\0+"sv, tiff_facts},
};

// The bytes of the letter that begins there; 0 where none does.
size_t letter_bytes(std::span<const uint8_t> text) {
    const uint8_t first = text[0];
    const size_t count = first < 0x80   ? 1
                         : first < 0xc2 ? 0
                         : first < 0xe0 ? 2
                         : first < 0xf0 ? 3
                                        : 4;
    if (count == 0 || first > 0xf4 || text.size() < count)
        return 0;
    for (size_t i = 1; i < count; ++i)
        if ((text[i] & 0xc0) != 0x80)
            return 0;
    // Written too long, half of a pair, or beyond the last letter.
    const uint8_t second = count > 1 ? text[1] : 0;
    if ((first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
        (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f))
        return 0;
    return count;
}

bool is_utf8(std::span<const uint8_t> text) {
    while (!text.empty()) {
        const size_t count = letter_bytes(text);
        if (count == 0)
            return false;
        text = text.subspan(count);
    }
    return true;
}

} // namespace

FileFacts read_facts(const ReadAt &file) {
    uint8_t start[8] = {};
    const size_t size = file(0, start, sizeof start);
    const std::string_view text(reinterpret_cast<const char *>(start), size);
    for (const auto &format : formats)
        if (text.starts_with(format.signature))
            return format.read(in_blocks(file));
    return {};
}

std::vector<uint8_t> checked_profile(std::vector<uint8_t> profile) {
    constexpr size_t header_bytes = 128, mark_at = 36;
    if (profile.size() < header_bytes || std::memcmp(&profile[mark_at], "acsp", 4) != 0)
        return {};
    const size_t size = big_endian(profile.data());
    if (size < header_bytes || size > profile.size())
        return {};
    profile.resize(size);
    return profile;
}

std::optional<PictureFacts::Resolution> checked_resolution(double x, double y) {
    constexpr double least = 0.01, most = 1e6;
    if (!(x >= least && x <= most && y >= least && y <= most))
        return std::nullopt;
    return PictureFacts::Resolution{x, y};
}

std::optional<PictureFacts::Resolution> resolution_of_metres(uint32_t x, uint32_t y) {
    constexpr double inch = 0.0254;
    const auto per_inch = [](double per_metre) {
        const double whole = std::round(per_metre * inch);
        return std::round(whole / inch) == per_metre ? whole : per_metre * inch;
    };
    return checked_resolution(per_inch(x), per_inch(y));
}

std::string text_from(std::span<const uint8_t> bytes) {
    bytes =
        bytes.first(static_cast<size_t>(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin()));
    if (is_utf8(bytes))
        return {bytes.begin(), bytes.end()};
    std::string text;
    for (const uint8_t letter : bytes) {
        if (letter < 0x80) {
            text.push_back(static_cast<char>(letter));
            continue;
        }
        text.push_back(static_cast<char>(0xc0 | letter >> 6));
        text.push_back(static_cast<char>(0x80 | (letter & 0x3f)));
    }
    return text;
}

} // namespace apps
