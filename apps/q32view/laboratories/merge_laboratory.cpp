// The merge laboratory: two pictures and a mask, and what each mode makes of them.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/merge_modes.h"
#include "built_in_pictures.h"
#include "drawing.h"
#include "frames.h"
#include "makers.h"
#include "merge_words.h"
#include "merging.h"

#include <q32base/bars.h>
#include <q32comm.h>

#include <array>
#include <optional>

namespace apps::q32view {
namespace {

constexpr Size built_in_size = {480, 320};
constexpr int gap = 12;
constexpr int small_height = 150; // of the pictures that are merged, with their captions

enum Place { place_corner, place_centre, place_stretch };

std::string in_words(Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

std::string in_words(const std::array<uint8_t, 3> &colour) {
    return std::to_string(colour[0]) + " " + std::to_string(colour[1]) + " " +
           std::to_string(colour[2]);
}

class MergeLaboratory final : public Laboratory {
public:
    using Laboratory::Laboratory;

private:
    enum Part { part_base, part_overlay, part_mask, part_result, parts };

    std::vector<Control> make_controls() override {
        return {
            choice("mode", "Mode", {merge_modes.begin(), merge_modes.end()}, 0),
            number("opacity", "Opacity", 0, 100, 100, " %"),
            toggle("mask", "Through the mask", true),
            choice("place", "Overlay", {"corner", "centre", "stretch"}, place_centre),
        };
    }
    void take_pictures(const std::vector<std::string> &paths) override;
    void handle_change(const std::string &name) override;
    void handle_pointer(Point at) override;
    void draw(HDC dc, Size room) override;

    void place_overlay();
    void merge();
    std::string caption(Part part) const;
    const Picture &picture(Part part) const;

    std::optional<Picture> base_;
    std::optional<Picture> overlay_; // as it is read
    std::optional<Picture> mask_;    // 8 bits
    std::optional<Picture> placed_overlay_, placed_mask_;
    std::optional<Picture> shown_mask_; // 24 bits
    std::optional<Merged> result_;
    Point at_; // of the overlay in the base
    std::array<FittedPicture, parts> views_;
};

void MergeLaboratory::take_pictures(const std::vector<std::string> &paths) {
    if (paths.size() > 3)
        throw UsageError(paths[3] + ": the merge laboratory takes a base, an overlay and a mask");
    base_ =
        paths.empty() ? hue_field(built_in_size, BAR_HUE_ACROSS) : load_picture(paths[0], status());
    overlay_ =
        paths.size() < 2 ? hue_field(base_->size, BAR_HUE_DOWN) : load_picture(paths[1], status());
    if (paths.size() < 3) {
        mask_ = round_mask(overlay_->size);
    } else {
        const Picture mask = load_picture(paths[2], status());
        if (mask.size != overlay_->size)
            throw Failure(paths[2],
                          "the mask is " + in_words(mask.size) + ", the overlay " +
                              in_words(overlay_->size),
                          "they must be of one size");
        mask_ = mask_of(mask);
    }
    place_overlay();
    merge();
}

void MergeLaboratory::place_overlay() {
    views_[part_overlay].forget();
    views_[part_mask].forget();
    const bool is_stretched = value("place") == place_stretch && overlay_->size != base_->size;
    placed_overlay_.reset();
    placed_mask_.reset();
    if (is_stretched) {
        placed_overlay_ = stretched(*overlay_, base_->size);
        placed_mask_ = stretched(*mask_, base_->size);
    }
    shown_mask_ = greys_of(is_stretched ? *placed_mask_ : *mask_);
    const Size base = base_->size, overlay = picture(part_overlay).size;
    at_ = value("place") == place_corner
              ? Point{}
              : Point{(base.width - overlay.width) / 2, (base.height - overlay.height) / 2};
}

void MergeLaboratory::merge() {
    const bool has_mask = value("mask") != 0;
    const MergeSetting setting = {.mode = value("mode") + 1,
                                  .opacity = value("opacity"),
                                  .has_mask = has_mask,
                                  .has_mmx = IsSupportMMX() != 0};
    const Picture &mask = placed_mask_ ? *placed_mask_ : *mask_;
    Merged result = merged({.base = *base_,
                            .overlay = picture(part_overlay),
                            .mask = has_mask ? mask.buffer.get() : 0,
                            .at = at_,
                            .mode = setting.mode,
                            .transparency = setting.transparency()});
    status().say_picture("base " + in_words(base_->size));
    status().say_device("overlay " + in_words(picture(part_overlay).size));
    views_[part_result].forget();
    result_ = std::move(result);
    explain(merge_in_words(setting) + "\n" +
            merge_time_in_words(result_->size.width, result_->size.height, result_->microseconds));
    repaint();
}

void MergeLaboratory::handle_change(const std::string &name) {
    if (!overlay_ || !mask_)
        return;
    if (name == "place")
        place_overlay();
    merge();
}

const Picture &MergeLaboratory::picture(Part part) const {
    switch (part) {
    case part_base:
        return *base_;
    case part_overlay:
        return placed_overlay_ ? *placed_overlay_ : *overlay_;
    case part_mask:
        return *shown_mask_;
    default:
        return result_->picture;
    }
}

std::string MergeLaboratory::caption(Part part) const {
    static constexpr const char *names[] = {"Base b: ", "Overlay s: ", "Mask m: ", "Result: "};
    if (part == part_result)
        return names[part] + in_words(result_->picture.size);
    return names[part] + picture(part).name;
}

void MergeLaboratory::draw(HDC dc, Size room) {
    if (!result_)
        return;
    const int space = on_this_screen(gap), top = on_this_screen(small_height);
    std::vector<Area> rooms = grid_of({0, 0, room.width, top}, 3, 1, space);
    rooms.push_back({0, top + space, room.width, room.height});
    for (int i = 0; i < parts; ++i) {
        const Part part = static_cast<Part>(i);
        const Frame frame = frame_of(rooms[static_cast<size_t>(i)], caption_height());
        draw_caption(dc, frame.caption, caption(part));
        views_[static_cast<size_t>(i)].draw(dc, frame.picture, picture(part), status());
    }
}

// Says what was merged there, and what came of it.
void MergeLaboratory::handle_pointer(Point at) {
    if (!result_)
        return;
    const Area &shown = views_[part_result].shown();
    if (!contains(shown, area_of(at, {1, 1})))
        return;
    const Point pixel = pixel_at(at, shown, base_->size);
    const auto colour_at = [](const Picture &picture, Point place) {
        std::array<uint8_t, 3> colour = {};
        buf32GetMem(picture.buffer.get(), place.x, place.y, 1, 1, colour.data());
        return colour;
    };
    std::string words = "at " + std::to_string(pixel.x) + "," + std::to_string(pixel.y) + ": b " +
                        in_words(colour_at(*base_, pixel));
    const Point on_overlay = pixel - at_;
    if (contains(area_of({}, picture(part_overlay).size), area_of(on_overlay, {1, 1}))) {
        words += ", s " + in_words(colour_at(picture(part_overlay), on_overlay));
        if (value("mask") != 0)
            words += ", m " + std::to_string(colour_at(*shown_mask_, on_overlay)[0]);
        words += ": " + in_words(colour_at(result_->picture, pixel));
    }
    status().say(words);
}

} // namespace

std::unique_ptr<Laboratory> make_merge_laboratory(std::string title) {
    return std::make_unique<MergeLaboratory>(std::move(title));
}

} // namespace apps::q32view
