// Weighing colours by opacity, row by row, where the library knows opaque pictures only.
#include "opacity.h"

#include "apps/pictures/exceptions.h"
#include "notes.h"
#include "progress.h"

#include <q32base/merge.h>

#include <algorithm>
#include <vector>

namespace apps::q32tool {
namespace {

// Where an overlay comes to lie: a part of it, and the corner of that part on the base.
struct Place {
    Area source;
    Point to;
};

// The overlay's sample times its opacity, 0 to 255 x 255. The last modes take overlays that have
// been weighed already.
uint32_t weighed(uint32_t sample, uint32_t opacity, int mode) {
    if (mode == MERGE_PREMUL_BLACK)
        return std::min(255 * sample, 255 * opacity);
    if (mode == MERGE_PREMUL_WHITE)
        return 255 * (std::max(sample, 255 - opacity) - (255 - opacity));
    return sample * opacity;
}

// merged: what the library made of a base and an overlay as if the base were opaque. By the part
// that it does not cover, the overlay is seen as it stands.
void blend(uint8_t *merged, uint8_t *base_opacity, const uint8_t *overlay, uint32_t overlay_opacity,
           int mode) {
    const uint32_t below = *base_opacity, above = overlay_opacity;
    const uint32_t both = 255 * (above + below) - above * below; // times 255
    if (both == 0)
        return;
    for (int channel = 0; channel < 3; ++channel) {
        const uint32_t sum =
            255 * below * merged[channel] + (255 - below) * weighed(overlay[channel], above, mode);
        merged[channel] = static_cast<uint8_t>(std::min<uint32_t>((sum + both / 2) / both, 255));
    }
    *base_opacity = static_cast<uint8_t>((both + 127) / 255);
}

void blend_rows(Picture &base, const Image &overlay, const Image *mask, const Place &place,
                const Merge &merge) {
    const int width = place.source.width();
    const size_t pixels = static_cast<size_t>(width);
    std::vector<uint8_t> merged(pixels * 3), above(pixels * 3), below(pixels), acts(pixels, opaque);
    const uint32_t percent = static_cast<uint32_t>(100 - merge.transparency);
    band_by_band("merging", place.source.height(), 1, [&](int y, int) {
        const Area from = area_of(place.source.left, place.source.top + y, width, 1);
        const Area to = area_of(place.to.x, place.to.y + y, width, 1);
        get_pixels(base.image, to, merged.data());
        get_pixels(*base.opacity, to, below.data());
        get_pixels(overlay, from, above.data());
        if (mask != nullptr)
            get_pixels(*mask, from, acts.data());
        for (size_t x = 0; x < pixels; ++x)
            blend(&merged[x * 3], &below[x], &above[x * 3], acts[x] * percent / 100, merge.mode);
        put_pixels(base.image, to, merged.data());
        put_pixels(*base.opacity, to, below.data());
    });
}

void merge_part(Picture &base, const Image &overlay, const Image *mask, const Place &place,
                const Merge &merge) {
    merge_area(canvas_of(base.image), overlay, mask, place.source, place.to, merge);
    if (base.opacity)
        blend_rows(base, overlay, mask, place, merge);
}

constexpr Merge plain = {MERGE_NORMAL, 0};

// Calls use(colours, opacity, place) with a pattern and its opacity repeated over a canvas.
template <typename Use>
void with_repeated(const Canvas &canvas, const Picture &pattern, const std::optional<Area> &area,
                   const Use &use) {
    const Area on = area.value_or(canvas.area());
    const Area part = part_on(canvas, on.corner(), on.size(), "the rectangle");
    use(repeated(pattern.image, canvas), repeated(*pattern.opacity, canvas),
        Place{part, part.corner()});
}

} // namespace

bool is_opaque(Image &opacity) {
    std::vector<uint8_t> row(static_cast<size_t>(opacity.width()));
    const BufferLock lock = opacity.lock(BUF32_READ);
    const Timed timed(Part::library);
    for (int y = 0; y < opacity.height(); ++y) {
        opacity.line(y, BUF32_LINE_READ, row.data());
        if (std::any_of(row.begin(), row.end(), [](uint8_t byte) { return byte != opaque; }))
            return false;
    }
    return true;
}

void lay_over_white(Picture &picture, const std::string &out, const std::string &who) {
    const size_t width = static_cast<size_t>(picture.image.width());
    std::vector<uint8_t> colours(width * 3), opacity(width);
    {
        const BufferLock image_lock = picture.image.lock(BUF32_WRITE);
        const BufferLock opacity_lock = picture.opacity->lock(BUF32_READ);
        row_by_row("converting", picture.image.height(), [&](int y) {
            picture.image.line(y, BUF32_LINE_READ, colours.data());
            picture.opacity->line(y, BUF32_LINE_READ, opacity.data());
            for (size_t i = 0; i < colours.size(); ++i)
                colours[i] = over_white(colours[i], opacity[i / 3]);
            picture.image.line(y, BUF32_LINE_WRITE, colours.data());
        });
    }
    picture.opacity.reset();
    note(out, "the transparency is laid over white, " + who + " none");
}

void make_opaque(Picture &picture, const std::optional<Area> &area) {
    if (!picture.opacity || !area) {
        picture.opacity.reset();
        return;
    }
    const Area part = intersect(*area, picture.image.area());
    const std::vector<uint8_t> row(static_cast<size_t>(part.width()), opaque);
    for (int y = part.top; y < part.bottom; ++y)
        put_pixels(*picture.opacity, area_of(part.left, y, part.width(), 1), row.data());
}

void lay_picture(Picture &base, const Picture &overlay, const Point &at) {
    if (overlay.opacity) {
        merge_picture(base, overlay.image, &*overlay.opacity, at, plain);
        return;
    }
    lay_image(canvas_of(base.image), overlay.image, at);
    if (base.opacity)
        make_opaque(base, area_of(at, overlay.image.size()));
}

void lay_picture(const Canvas &base, const Picture &overlay, const Point &at) {
    if (overlay.opacity)
        merge_image(base, overlay.image, &*overlay.opacity, at, plain);
    else
        lay_image(base, overlay.image, at);
}

void lay_pattern(Picture &base, const Picture &pattern, const std::optional<Area> &area) {
    const Canvas canvas = canvas_of(base.image);
    if (!pattern.opacity) {
        lay_pattern(canvas, pattern.image, area);
        make_opaque(base, area);
        return;
    }
    with_repeated(canvas, pattern, area,
                  [&](const Image &colours, const Image &opacity, const Place &place) {
                      merge_part(base, colours, &opacity, place, plain);
                  });
}

void lay_pattern(const Canvas &base, const Picture &pattern, const std::optional<Area> &area) {
    if (!pattern.opacity) {
        lay_pattern(base, pattern.image, area);
        return;
    }
    with_repeated(base, pattern, area,
                  [&](const Image &colours, const Image &opacity, const Place &place) {
                      merge_area(base, colours, &opacity, place.source, place.to, plain);
                  });
}

void merge_picture(Picture &base, const Image &overlay, const Image *mask, const Point &at,
                   const Merge &merge) {
    const Area part = part_on(canvas_of(base.image), at, overlay.size(), "the overlay of");
    merge_part(base, overlay, mask, {moved(part, Point{} - at), part.corner()}, merge);
}

} // namespace apps::q32tool
