// PNG files: the chunks, of which texts and others may also follow the pixels.
#include "byte_source.h"
#include "format_facts.h"
#include "inflater.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace apps {
namespace {

using namespace std::string_view_literals;

// What follows a text that ends with a 0; none where it does not end.
std::optional<std::span<const uint8_t>> behind(std::span<const uint8_t> data) {
    const auto end = std::find(data.begin(), data.end(), 0);
    if (end == data.end())
        return std::nullopt;
    return data.subspan(static_cast<size_t>(end - data.begin()) + 1);
}

// The packed rest of a chunk, behind the number of the only way of packing.
Bytes unpacked_rest(std::span<const uint8_t> data, uint64_t most) {
    if (data.empty() || data[0] != 0)
        return {};
    return inflated(data.subspan(1), static_cast<size_t>(most));
}

// Whether the last four bytes are the checksum of the type and the others.
bool is_checksum_of(std::string_view type, const Bytes &data) {
    const size_t count = data.size() - 4;
    uLong checksum = crc32_z(0, reinterpret_cast<const Bytef *>(type.data()), type.size());
    if (count > 0) // zlib takes none for a new beginning
        checksum = crc32_z(checksum, data.data(), count);
    return big_endian(&data[count]) == checksum;
}

class Chunks {
public:
    struct Kind {
        std::string_view type;
        void (Chunks::*add)(std::span<const uint8_t>);
    };
    static const Kind kinds[6];

    PictureFacts facts() {
        add_exif(facts_, exif_); // the file's own resolution goes first
        facts_.comment = comment_.empty() ? description_ : comment_;
        return std::move(facts_);
    }

private:
    void add_profile(std::span<const uint8_t> data) {
        if (const auto rest = behind(data))
            facts_.colour_profile = checked_profile(unpacked_rest(*rest, most_profile_bytes));
    }
    void add_density(std::span<const uint8_t> data) {
        constexpr uint8_t metre = 1;
        if (data.size() >= 9 && data[8] == metre)
            facts_.resolution = resolution_of_metres(big_endian(&data[0]), big_endian(&data[4]));
    }
    void add_exif_data(std::span<const uint8_t> data) { exif_.assign(data.begin(), data.end()); }
    void add_text(std::span<const uint8_t> data) {
        if (const auto rest = behind(data))
            add_text_of(data, *rest);
    }
    void add_packed_text(std::span<const uint8_t> data) {
        if (const auto rest = behind(data))
            add_text_of(data, unpacked_rest(*rest, most_comment_bytes));
    }
    // Behind the keyword: whether it is packed, the way of packing, the language, the keyword in
    // it, the text.
    void add_international_text(std::span<const uint8_t> data) {
        const auto rest = behind(data);
        if (!rest || rest->size() < 2)
            return;
        const auto keyword = behind(rest->subspan(2));
        const auto text = keyword ? behind(*keyword) : std::nullopt;
        if (!text)
            return;
        Bytes packed = {(*rest)[1]};
        put(packed, *text);
        add_text_of(data, (*rest)[0] == 0 ? Bytes(text->begin(), text->end())
                                          : unpacked_rest(packed, most_comment_bytes));
    }
    void add_text_of(std::span<const uint8_t> keyword, std::span<const uint8_t> text) {
        const std::string_view word = reinterpret_cast<const char *>(keyword.data());
        if (word == "Comment" && comment_.empty())
            comment_ = text_from(text);
        if (word == "Description" && description_.empty())
            description_ = text_from(text);
    }

    PictureFacts facts_;
    Bytes exif_;
    std::string comment_, description_;
};

const Chunks::Kind Chunks::kinds[6] = {
    {"iCCP", &Chunks::add_profile},
    {"pHYs", &Chunks::add_density},
    {"eXIf", &Chunks::add_exif_data},
    {"tEXt", &Chunks::add_text},
    {"iTXt", &Chunks::add_international_text},
    {"zTXt", &Chunks::add_packed_text},
};

} // namespace

FileFacts png_facts(const ReadAt &file) {
    constexpr uint64_t signature_bytes = 8, most_bytes = most_profile_bytes;
    Chunks chunks;
    uint8_t head[8];
    for (uint64_t at = signature_bytes; file(at, head, sizeof head) == sizeof head;) {
        const uint64_t length = big_endian(head);
        const std::string_view type(reinterpret_cast<const char *>(head + 4), 4);
        for (const Chunks::Kind &kind : Chunks::kinds)
            if (type == kind.type && length <= most_bytes) {
                const Bytes data = read_bytes(file, at + sizeof head, length + 4);
                if (data.size() == length + 4 && is_checksum_of(type, data))
                    (chunks.*kind.add)(std::span(data).first(static_cast<size_t>(length)));
            }
        at += sizeof head + length + 4;
    }
    return {chunks.facts()};
}

} // namespace apps
