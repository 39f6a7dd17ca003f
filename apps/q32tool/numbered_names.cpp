// Reading and writing of the number.
#include "numbered_names.h"

#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"

#include <algorithm>

namespace apps::q32tool {
namespace {

constexpr size_t most_digits = 18;

// %d, %4d and %04d, from the percent sign on; none when it is something else.
std::optional<NumberedName> percent_name(const std::string &path, size_t percent) {
    size_t end = percent + 1;
    while (end < path.size() && is_digit(path[end]))
        ++end;
    if (end == path.size() || path[end] != 'd')
        return std::nullopt;
    const std::string width = path.substr(percent + 1, end - percent - 1);
    const uint64_t digits = width.empty() ? 1 : parse_number(width).value_or(UINT64_MAX);
    return NumberedName{path.substr(0, percent),
                        static_cast<size_t>(std::min<uint64_t>(digits, most_digits + 1)),
                        path.substr(end + 1)};
}

} // namespace

std::string NumberedName::with(uint64_t number) const {
    std::string text = std::to_string(number);
    if (text.size() < digits)
        text.insert(0, digits - text.size(), '0');
    return before + text + after;
}

std::optional<uint64_t> NumberedName::number_in(std::string_view name) const {
    if (name.size() < before.size() + digits + after.size() || !name.starts_with(before) ||
        !name.ends_with(after))
        return std::nullopt;
    name.remove_prefix(before.size());
    name.remove_suffix(after.size());
    const bool padded_too_far = name.size() > std::max<size_t>(digits, 1) && name[0] == '0';
    if (padded_too_far || !std::all_of(name.begin(), name.end(), is_digit))
        return std::nullopt;
    return parse_number(name);
}

std::optional<NumberedName> numbered_name(const std::string &path) {
    const size_t begin = file_name_begin(path);
    const size_t sign = path.find_first_of("#%", begin);
    if (sign == std::string::npos)
        return std::nullopt;
    std::optional<NumberedName> name;
    if (path[sign] == '%') {
        name = percent_name(path, sign);
    } else {
        const size_t end = std::min(path.find_first_not_of('#', sign), path.size());
        name = NumberedName{path.substr(0, sign), end - sign, path.substr(end)};
    }
    if (!name || name->digits > most_digits || name->after.find_first_of("#%") != std::string::npos)
        throw UsageError("'" + path + "': a number in a name is written as #### or %04d, once");
    return name;
}

} // namespace apps::q32tool
