// Addresses of source rows, and their widening.
#include "display/runs/source_rows.h"

#include "display/display.h"
#include "display/palettes.h"
#include "rows/rows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <span>

namespace q32::display {
namespace {

// Black are those that the palette does not have; those beyond 256 no pixel can name.
ColourEntries entries_of(HPALETTE palette) {
    std::array<PALETTEENTRY, 256> entries{};
    const int count = std::min(entry_count(palette).value_or(0), int(entries.size()));
    read_entries(palette, std::span(entries).first(std::size_t(count)));
    ColourEntries colours;
    static_assert(sizeof colours == sizeof entries);
    std::memcpy(colours.data(), entries.data(), sizeof colours);
    return colours;
}

ColourEntries greys() {
    ColourEntries colours{};
    for (std::size_t i = 0; i < colours.size(); ++i)
        colours[i] = std::uint8_t(i / 4);
    return colours;
}

void widen_words(std::uint8_t *rgb, const std::uint8_t *source, const ColourEntries &,
                 std::size_t pixels) {
    rows::kernels().rgb555_to_888(rgb, source, pixels);
}

void look_up_colours(std::uint8_t *rgb, const std::uint8_t *source, const ColourEntries &entries,
                     std::size_t pixels) {
    kernels().colours_of_indices(rgb, source, entries, pixels);
}

constexpr std::size_t spare_bytes = 12;

// Bytes of wider rows could not be counted.
constexpr std::size_t widest = (std::numeric_limits<std::size_t>::max() - spare_bytes) / 3;

} // namespace

bool SourceRows::set_up(int depth, SourceForm form, HPALETTE palette, std::size_t width) {
    depth_ = depth;
    width_ = width;
    if (form == SourceForm::as_they_are || depth == 24)
        return true;
    widen_ = depth == 16 ? widen_words : look_up_colours;
    if (depth == 8)
        entries_ = palette != nullptr ? entries_of(palette) : greys();
    if (width <= widest)
        widened_.reset(GlobalAlloc(GMEM_FIXED, width * 3 + spare_bytes));
    return bool(widened_);
}

const std::uint8_t *SourceRows::row(const Picture &picture, std::int64_t index) {
    const std::int64_t bits = std::int64_t(picture.first_column) * depth_;
    const std::int64_t offset = picture.stride * index + (bits >> 3);
    const std::uint8_t *const source = picture.image + std::ptrdiff_t(offset);
    if (widen_ == nullptr)
        return source;
    auto *const rgb = static_cast<std::uint8_t *>(widened_.get());
    widen_(rgb, source, entries_, width_);
    return rgb;
}

} // namespace q32::display
