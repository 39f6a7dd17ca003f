// Directories, entries, and values inside and outside of them.
#include "tiff_fields.h"

#include <algorithm>
#include <cstring>

namespace apps {
namespace {

constexpr uint32_t byte_type = 1, text_type = 2, word_type = 3, number_type = 4, ratio_type = 5,
                   undefined_type = 7;

// 0: of a type that nobody here asks for.
uint64_t bytes_of(uint32_t type) {
    constexpr uint64_t bytes[] = {0, 1, 1, 2, 4, 8, 1, 1};
    return type < std::size(bytes) ? bytes[type] : 0;
}

} // namespace

std::optional<TiffFields> TiffFields::first_of(const ReadAt &file) {
    constexpr uint64_t classic = 42, large = 43;
    uint8_t order[2] = {};
    if (file(0, order, sizeof order) != sizeof order || order[0] != order[1] ||
        (order[0] != 'I' && order[0] != 'M'))
        return std::nullopt;
    TiffFields fields(file, order[0] == 'M', false);
    const uint64_t version = fields.value(2, 2);
    fields.large_ = version == large;
    if (version != classic && !fields.large_)
        return std::nullopt;
    const uint64_t directory = fields.large_ ? fields.value(8, 8) : fields.value(4, 4);
    return fields.read_directory(directory) ? std::optional(fields) : std::nullopt;
}

std::optional<TiffFields> TiffFields::next() const {
    TiffFields fields(*file_, big_endian_, large_);
    return next_at_ != 0 && fields.read_directory(next_at_) ? std::optional(fields) : std::nullopt;
}

uint64_t TiffFields::value(uint64_t at, size_t bytes) const {
    uint8_t raw[8] = {};
    if ((*file_)(at, raw, bytes) != bytes)
        return 0;
    if (big_endian_)
        std::reverse(raw, raw + bytes);
    uint64_t value = 0;
    while (bytes-- > 0)
        value = value << 8 | raw[bytes];
    return value;
}

// False where there is no entry.
bool TiffFields::read_directory(uint64_t at) {
    const uint64_t count_bytes = large_ ? 8 : 2, place_bytes = large_ ? 8 : 4,
                   entry_bytes = large_ ? 20 : 12;
    constexpr uint64_t most_entries = 4096;
    count_ = std::min(value(at, static_cast<size_t>(count_bytes)), most_entries);
    at_ = at;
    uint64_t entry = at + count_bytes;
    for (uint64_t i = 0; i < count_; ++i, entry += entry_bytes) {
        const auto tag = static_cast<uint16_t>(value(entry, 2));
        const auto type = static_cast<uint32_t>(value(entry + 2, 2));
        const uint64_t values = value(entry + 4, static_cast<size_t>(place_bytes));
        uint64_t value_at = entry + 4 + place_bytes;
        if (bytes_of(type) == 0 || values > UINT32_MAX)
            continue;
        if (values * bytes_of(type) > place_bytes)
            value_at = value(value_at, static_cast<size_t>(place_bytes));
        entries_.try_emplace(tag, Entry{type, values, value_at});
    }
    next_at_ = value(entry, static_cast<size_t>(place_bytes));
    return count_ > 0;
}

const TiffFields::Entry *TiffFields::find(uint16_t tag,
                                          std::initializer_list<uint32_t> types) const {
    const auto found = entries_.find(tag);
    if (found == entries_.end() || found->second.count == 0 ||
        std::find(types.begin(), types.end(), found->second.type) == types.end())
        return nullptr;
    return &found->second;
}

std::optional<uint32_t> TiffFields::number(uint16_t tag) const {
    const Entry *const entry = find(tag, {byte_type, word_type, number_type});
    if (entry == nullptr)
        return std::nullopt;
    return static_cast<uint32_t>(
        value(entry->value_at, static_cast<size_t>(bytes_of(entry->type))));
}

std::optional<double> TiffFields::ratio(uint16_t tag) const {
    const Entry *const entry = find(tag, {ratio_type});
    if (entry == nullptr)
        return std::nullopt;
    const uint64_t above = value(entry->value_at, 4), below = value(entry->value_at + 4, 4);
    if (below == 0)
        return std::nullopt;
    return static_cast<double>(above) / static_cast<double>(below);
}

Bytes TiffFields::bytes(uint16_t tag, uint64_t most) const {
    const Entry *const entry = find(tag, {byte_type, text_type, undefined_type});
    return entry == nullptr ? Bytes()
                            : read_bytes(*file_, entry->value_at, std::min(entry->count, most));
}

} // namespace apps
