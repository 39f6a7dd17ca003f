// TIFF files: fields of the first page, and how many pages follow. EXIF data has the same fields.
#include "format_facts.h"
#include "tiff_fields.h"

#include <set>

namespace apps {
namespace {

constexpr uint16_t kind_tag = 254, description_tag = 270, orientation_tag = 274, x_tag = 282,
                   y_tag = 283, unit_tag = 296, profile_tag = 34675;

void add_fields(PictureFacts &facts, const TiffFields &fields) {
    constexpr uint32_t inch = 2, centimetre = 3;
    const uint32_t orientation = fields.number(orientation_tag).value_or(1);
    if (orientation >= 1 && orientation <= 8)
        facts.orientation = static_cast<int>(orientation);
    const uint32_t unit = fields.number(unit_tag).value_or(inch);
    const auto x = fields.ratio(x_tag), y = fields.ratio(y_tag);
    if (x && y && !facts.resolution && (unit == inch || unit == centimetre)) {
        const double inches = unit == centimetre ? 2.54 : 1;
        facts.resolution = checked_resolution(*x * inches, *y * inches);
    }
}

// Small versions and masks of other pages do not count.
int count_pages(TiffFields page) {
    constexpr uint32_t small_version = 1, mask = 4;
    constexpr uint64_t most_entries = 1'000'000;
    int pages = 1;
    std::set<uint64_t> seen = {page.place()};
    uint64_t entries = 0;
    while (entries < most_entries) {
        const auto next = page.next();
        if (!next || !seen.insert(next->place()).second)
            break;
        page = *next;
        entries += page.entries();
        if ((page.number(kind_tag).value_or(0) & (small_version | mask)) == 0)
            ++pages;
    }
    return pages;
}

} // namespace

void add_exif(PictureFacts &facts, std::span<const uint8_t> exif) {
    const ReadAt block = in_memory(exif);
    if (const auto fields = TiffFields::first_of(block))
        add_fields(facts, *fields);
}

FileFacts tiff_facts(const ReadAt &file) {
    FileFacts found;
    const auto page = TiffFields::first_of(file);
    if (!page)
        return found;
    add_fields(found.facts, *page);
    found.facts.colour_profile = checked_profile(page->bytes(profile_tag, most_profile_bytes));
    found.facts.comment = text_from(page->bytes(description_tag, most_comment_bytes));
    found.pictures = count_pages(*page);
    return found;
}

} // namespace apps
